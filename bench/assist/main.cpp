// Usage: bench_assist [work folder]  (default: a temporary folder)
#include <gcp/MarkerEditor.h>
#include <gcp/model/CodedTargets.h>
#include <gcp/model/MarkSuggester.h>
#include <gis/Gis.h>
#include <keelcore/Dispatch.h>
#include <make_drone_photos/TargetTruth.h>
#include <utilities/ImageRegion.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QApplication>
#include <QImageReader>
#include <QLineF>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <cmath>
#include <cstdio>

using namespace Zyn::AppGcp;
using Zyn::Tools::TargetTruth;

namespace {
QStringList makeFlight(const QString& dir, QStringList extra)
{
    QProcess tool;
    tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // A work folder given on the command line keeps its flights between runs.
    if (QFileInfo::exists(QDir(dir).filePath(QStringLiteral("gcp_pixels.csv"))))
        extra.clear();
    QStringList args = {QStringLiteral("--out"), dir, QStringLiteral("--lat"), QStringLiteral("47.07"),
                        QStringLiteral("--lon"), QStringLiteral("15.44"), QStringLiteral("--alt"),
                        QStringLiteral("450"), QStringLiteral("--agl"), QStringLiteral("100")};
    if (!extra.isEmpty()) {
        tool.start(QCoreApplication::applicationDirPath() + QStringLiteral("/make_drone_photos"), args + extra);
        if (!tool.waitForFinished(-1) || tool.exitCode() != 0)
            return {};
    }
    QStringList photos;
    for (const QString& name : QDir(dir).entryList({QStringLiteral("*.JPG")}, QDir::Files, QDir::Name))
        photos << QDir(dir).filePath(name);
    return photos;
}

GroundPoint groundOf(const TargetTruth& truth, const Zyn::Tools::TruthPoint& t)
{
    double x = t.x, y = t.y, z = t.z;
    Tarn::GIS::transformCoordToLL84(truth.crs, x, y, z);
    return GroundPoint{x, y, t.z, true};
}

QPointF markerCoords(const QPointF& truth) { return truth - QPointF(0.5, 0.5); }

void line(const char* what, double value, const char* unit, double limit, bool atMost)
{
    const bool ok = atMost ? value <= limit : value >= limit;
    std::printf("target: %s %.3g%s (limit %.3g%s) %s\n", what, value, unit, limit, unit, ok ? "ok" : "MISSED");
}
} // namespace

int main(int argc, char** argv)
{
    // The editor's window is drawn off screen when there is no display.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // The off-screen platform's notes about window hints are not figures.
    static const QtMessageHandler previous = qInstallMessageHandler(nullptr);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (!text.contains(QLatin1String("propagateSizeHints")))
            previous(type, context, text);
    });
    QTemporaryDir temp;
    const QString root = argc > 1 ? QString::fromLocal8Bit(argv[1]) : temp.path();
    const QString flightDir = QDir(root).filePath(QStringLiteral("flight")),
                  codedDir = QDir(root).filePath(QStringLiteral("coded"));
    std::printf("writing two 20 MP flights with targets (a few minutes)...\n");
    std::fflush(stdout);
    const QStringList photos = makeFlight(flightDir, {QStringLiteral("--count"), QStringLiteral("60"),
                                                      QStringLiteral("--gcps"), QStringLiteral("3"),
                                                      QStringLiteral("--front-overlap"), QStringLiteral("0.85"),
                                                      QStringLiteral("--side-overlap"), QStringLiteral("0.8")});
    const QStringList coded = makeFlight(codedDir, {QStringLiteral("--count"), QStringLiteral("16"),
                                                    QStringLiteral("--gcps"), QStringLiteral("4"),
                                                    QStringLiteral("--coded-targets")});
    const TargetTruth truth = Zyn::Tools::readTargetTruth(flightDir);
    const TargetTruth codedTruth = Zyn::Tools::readTargetTruth(codedDir);
    if (photos.isEmpty() || coded.isEmpty() || truth.crs.isEmpty() || codedTruth.crs.isEmpty()) {
        std::fprintf(stderr, "bench_assist: cannot write the flights\n");
        return 1;
    }

    PhotoGeoCache cache;
    cache.request(photos);
    while (cache.isLoading())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    const QVector<PhotoGeo> geo = cache.values(photos);
    MarkPredictor predictor(geo);

    // 1. Predictions before any mark.
    int shown = 0, inside = 0;
    for (const auto& point : truth.points) {
        const auto pixels = truth.pixelsOf(point.name);
        QStringList paths;
        for (const QString& f : pixels.keys())
            paths << QDir(flightDir).filePath(f);
        for (const MarkPrediction& p : predictor.predict(paths, groundOf(truth, point), {}, false))
            inside += QLineF(p.pixel, markerCoords(pixels.value(QFileInfo(p.path).fileName()))).length() <= p.radius;
        shown += pixels.size();
    }
    std::printf("predictions: true pixel inside the circle on %d of %d photos\n", inside, shown);

    // 2. Coded targets. The truth lists a target on a photo when its whole
    // white frame is on it; one found nearer the edge is checked against
    // where the camera geometry puts that id (within a few pixels here).
    PhotoGeoCache codedCache;
    codedCache.request(coded);
    while (codedCache.isLoading())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    MarkPredictor codedGeometry(codedCache.values(coded));
    int codedShown = 0, codedFound = 0, codedWrong = 0, codedFar = 0, codedEdge = 0;
    for (const QString& path : coded) {
        QHash<int, QPointF> expected;
        for (const auto& p : codedTruth.pixels)
            if (p.image == QFileInfo(path).fileName())
                expected.insert(codedTargetIdOfName(p.point), markerCoords(p.pixel));
        codedShown += expected.size();
        for (const CodedTarget& t : detectCodedTargets(Zyn::Utilities::readImageRegion(path, QRect(0, 0, 1 << 16, 1 << 16), true))) {
            if (expected.contains(t.id)) {
                (QLineF(t.centre, expected.value(t.id)).length() <= 1.0 ? codedFound : codedFar)++;
                continue;
            }
            bool near = false;
            QPointF at(-1, -1);
            for (const auto& point : codedTruth.points)
                if (codedTargetIdOfName(point.name) == t.id
                    && codedGeometry.project(codedGeometry.indexOf(path), groundOf(codedTruth, point), 0, 0, &at))
                    near = QLineF(at, t.centre).length() <= 6.0;
            (near ? codedEdge : codedWrong)++;
            if (!near)
                std::printf("  id %d at (%.1f, %.1f) on %s: that id is at (%.1f, %.1f)\n", t.id, t.centre.x(),
                            t.centre.y(), qPrintable(QFileInfo(path).fileName()), at.x(), at.y());
        }
    }
    std::printf("coded targets: %d of %d within 1 px, %d farther, %d more at the photos' edges, %d wrong ids\n",
                codedFound, codedShown, codedFar, codedEdge, codedWrong);

    // 3. One mark, then the search, for the point seen on the most photos,
    // in the editor's photo browser: the badges and circles are drawn as the
    // suggestions arrive, so the stall counts the window's own work too.
    const Zyn::Tools::TruthPoint* best = &truth.points.first();
    for (const auto& p : truth.points)
        if (truth.pixelsOf(p.name).size() > truth.pixelsOf(best->name).size())
            best = &p;
    const auto pixels = truth.pixelsOf(best->name);
    QString first;
    for (const QString& path : photos)
        if (first.isEmpty() && pixels.contains(QFileInfo(path).fileName()))
            first = path;
    const QPointF t = pixels.value(QFileInfo(first).fileName());
    GcpMarker mark;
    mark.image = first;
    mark.pixel = QPoint(int(std::floor(t.x())), int(std::floor(t.y())));

    GcpMap gcps;
    for (const auto& p : truth.points) {
        GcpInfo gcp;
        gcp.name = p.name;
        gcp.coord1 = p.x;
        gcp.coord2 = p.y;
        gcp.coord3 = p.z;
        gcps.insert(p.name, gcp);
    }
    MarkerMap markers;
    MarkerEditor editor;
    editor.setGeoCache(&cache);
    editor.setMarkerMap(&markers);
    editor.setGcpMap(&gcps);
    editor.setFiles(photos);
    editor.setCoordSys(Zyn::AppCreate::GcpCoordSysInfo(truth.crs, truth.crs, truth.crs.mid(5), 1,
                                                       QStringLiteral("WGS 84"), 0));
    editor.resize(1200, 800);
    editor.show();
    // The browser's thumbnails load first, as they would before a surveyor marks.
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 2000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    KeelCore::waitForIdle(120000);
    QCoreApplication::processEvents();
    markers[best->name] << mark;
    MarkSuggester& suggester = *editor.assist();
    QElapsedTimer clock;
    qint64 firstAt = -1, doneAt = -1, lastTick = 0, longestStall = 0;
    int candidates = 0;
    QObject::connect(&suggester, &MarkSuggester::suggestionsChanged, [&] {
        if (firstAt < 0)
            firstAt = clock.elapsed();
    });
    QObject::connect(&suggester, &MarkSuggester::progress, [&](int done, int total) {
        candidates = std::max(candidates, total);
        if (total > 0 && done >= total)
            doneAt = clock.elapsed();
    });
    // The GUI loop's pulse: the longest gap between 5 ms ticks.
    QTimer pulse;
    pulse.setInterval(5);
    QObject::connect(&pulse, &QTimer::timeout, [&] {
        const qint64 now = clock.elapsed();
        longestStall = std::max(longestStall, now - lastTick);
        lastTick = now;
    });
    clock.start();
    pulse.start();
    editor.setSelectedGcp(best->name);
    while (doneAt < 0 && clock.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    pulse.stop();
    KeelCore::waitForIdle();

    int showing = 0, close = 0, found = 0, falseHits = 0, notShowing = 0;
    double worst = 0.0;
    for (const QString& path : suggester.predictions().keys()) {
        if (path == first)
            continue;
        const bool shows = pixels.contains(QFileInfo(path).fileName());
        const bool has = suggester.hasSuggestion(best->name, path);
        showing += shows;
        notShowing += !shows;
        falseHits += has && !shows;
        if (has && shows) {
            ++found;
            const double e = QLineF(suggester.suggestion(best->name, path).pixel,
                                    markerCoords(pixels.value(QFileInfo(path).fileName()))).length();
            worst = std::max(worst, e);
            close += e <= 1.5;
        }
    }
    // The peer: decoding the candidates whole, as a search without region
    // decoding would have to.
    QElapsedTimer decode;
    decode.start();
    int decoded = 0;
    for (const QString& path : suggester.predictions().keys())
        if (path != first && decoded++ < candidates)
            QImageReader(path).read();
    const double fullDecodeS = decode.elapsed() / 1000.0;
    const double searchS = doneAt / 1000.0;
    std::printf("search: %d candidate photos of %dx%d, %d show the point; %d suggestions, %d within 1.5 px "
                "(worst %.2f px), %d on photos without it (of %d)\n",
                candidates, geo.first().pixelSize.width(), geo.first().pixelSize.height(), showing, found, close,
                worst, falseHits, notShowing);
    std::printf("search %.2f s (first suggestion %.2f s) against %.2f s to decode the same photos whole on one "
                "thread: %.2fx\n",
                searchS, firstAt / 1000.0, fullDecodeS, fullDecodeS > 0 ? searchS / fullDecodeS : 0.0);
    const double perPhoto30 = candidates > 0 ? searchS * 30.0 / candidates : 0.0;

    line("prediction circle holds the true pixel", 100.0 * inside / std::max(shown, 1), "%", 95, false);
    line("coded targets found within 1 px", 100.0 * codedFound / std::max(codedShown, 1), "%", 95, false);
    line("coded targets with a wrong id", codedWrong, "", 0, true);
    line("suggestions within 1.5 px after one mark", 100.0 * close / std::max(showing, 1), "%", 90, false);
    line("suggestions on photos without the point", 100.0 * falseHits / std::max(notShowing, 1), "%", 2, true);
    line("search time for 30 candidate 20 MP photos", perPhoto30, " s", 3, true);
    line("first suggestion on screen", firstAt / 1000.0, " s", 0.5, true);
    line("longest GUI stall during the search", double(longestStall), " ms", 50, true);
    return 0;
}
