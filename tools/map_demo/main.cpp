// Draws a synthetic flight's photos, cameras and three GCP pins on the map
// page and saves a screenshot of it.
#include <gcp/map/GcpMapsVC.h>
#include <gcp/model/PhotoGeoCache.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>

using namespace Zyn::AppGcp;

namespace {

bool waitUntil(const std::function<bool()>& done, int timeoutMs = 60000)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

int fail(const QString& message)
{
    std::fprintf(stderr, "map_demo: %s\n", qPrintable(message));
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("map.png");

    QTemporaryDir dir;
    const QString photos = dir.filePath(QStringLiteral("photos"));
    QProcess tool;
    tool.start(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("make_drone_photos")),
               {"--out", photos, "--count", "30", "--lat", "47.25", "--lon", "8.5", "--alt", "120",
                "--width", "1200", "--height", "800", "--quality", "80"});
    if (!tool.waitForFinished(120000) || tool.exitCode() != 0)
        return fail(QStringLiteral("make_drone_photos failed: %1").arg(QString::fromLocal8Bit(tool.readAllStandardError())));
    QStringList paths;
    for (const QString& name : QDir(photos).entryList({"*.JPG", "*.jpg"}, QDir::Files, QDir::Name))
        paths << QDir(photos).filePath(name);

    PhotoGeoCache cache;
    cache.request(paths);
    if (!waitUntil([&] { return !cache.isLoading(); }))
        return fail(QStringLiteral("photos not read"));

    GcpMapsVC maps;
    maps.getView()->resize(1200, 800);
    maps.getView()->show();
    if (!waitUntil([&] { return maps.isPageReady() || maps.isPageFailed(); }) || maps.isPageFailed())
        return fail(maps.pageError());

    // Three points inside the block, around the mean camera position.
    double lon = 0, lat = 0;
    const PhotoGpsMap gps = cache.gpsMap(paths);
    for (const auto& c : gps) {
        lon += c.second[0] / gps.size();
        lat += c.second[1] / gps.size();
    }
    GcpMap gcps;
    const QList<QColor> colours{QColor(0xe6, 0x19, 0x4b), QColor(0xf5, 0x82, 0x31), QColor(0x91, 0x1e, 0xb4)};
    for (int i = 0; i < 3; ++i) {
        GcpInfo g;
        g.name = QStringLiteral("GCP%1").arg(i + 1);
        g.coord1 = lon + (i - 1) * 4e-4;
        g.coord2 = lat + (i == 1 ? 2e-4 : -1.5e-4);
        g.coord3 = 0;
        g.colour = colours.at(i);
        gcps.insert(g.name, g);
    }
    maps.setGcps(&gcps);
    maps.refreshGcpPins();
    maps.loadCameras(gps);
    int drawn = -1;
    QObject::connect(&maps, &GcpMapsVC::photoBackgroundsLoaded, [&drawn](int n) { drawn = n; });
    maps.loadPhotoBackgrounds(cache.values(paths));
    if (!waitUntil([&] { return drawn >= 0; }))
        return fail(QStringLiteral("photo backgrounds not drawn"));
    bool shown = false;
    waitUntil([&] {
        maps.runScript(QStringLiteral("Array.from(document.images).every(function(i){return i.complete;})"),
                       [&shown](const QVariant& v) { shown = v.toBool(); });
        return shown;
    }, 20000);
    maps.autoZoom(0.05);
    waitUntil([] { return false; }, 800);
    maps.popGcpPinTooltip(QStringLiteral("GCP2"));
    waitUntil([] { return false; }, 1500); // let the tooltip and tiles settle

    QWidget* view = maps.getView();
    if (!view->grab().save(out))
        return fail(QStringLiteral("cannot write %1").arg(out));
    std::printf("map_demo: %d cameras, %d photo backgrounds, 3 pins; screenshot: %s\n", int(gps.size()), drawn,
                qPrintable(QFileInfo(out).absoluteFilePath()));
    return 0;
}
