// bench_map: run as `xvfb-run -a bin/bench_map [cameras]`.
#include <gcp/map/GcpMapsVC.h>
#include <utilities/Utilities.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using Zyn::AppGcp::GcpMapsVC;

namespace {

bool waitUntil(const std::function<bool()>& done, int timeoutMs = 60000)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
    }
    return true;
}

QVariant answer(QWebEnginePage* page, const QString& script)
{
    QVariant result;
    bool done = false;
    page->runJavaScript(script, [&](const QVariant& v) { result = v; done = true; });
    waitUntil([&] { return done; });
    return result;
}

Zyn::AppGcp::PhotoGpsMap flight(int n)
{
    Zyn::AppGcp::PhotoGpsMap cams;
    const int side = int(std::ceil(std::sqrt(double(n))));
    for (int i = 0; i < n; ++i)
        cams[QStringLiteral("/flight/IMG_%1.JPG").arg(i, 5, 10, QLatin1Char('0')).toStdWString()] = {
            8.5 + (i % side) * 2e-4, 47.25 + (i / side) * 1.5e-4, 520.0};
    return cams;
}

// The floor: a page with Leaflet only, adding the same canvas markers in one script.
double bareLeafletSeconds(const Zyn::AppGcp::PhotoGpsMap& cams)
{
    QWebEngineView view;
    view.resize(1000, 700);
    view.show();
    bool loaded = false;
    QObject::connect(&view, &QWebEngineView::loadFinished, [&loaded](bool) { loaded = true; });
    const QString dir = QDir(Zyn::Utilities::dataDirectory()).filePath(QStringLiteral("map/"));
    view.setHtml(QStringLiteral("<html><head><link rel='stylesheet' href='leaflet/leaflet.css'>"
                                "<script src='leaflet/leaflet.js'></script></head><body style='margin:0'>"
                                "<div id='map' style='width:100%;height:100%'></div><script>"
                                "var map=L.map('map').setView([47.26,8.51],15);var r=L.canvas();var n=0;"
                                "</script></body></html>"),
                 QUrl::fromLocalFile(dir));
    waitUntil([&] { return loaded; });
    QStringList points;
    for (const auto& c : cams)
        points << QStringLiteral("[%1,%2]").arg(c.second[1], 0, 'f', 8).arg(c.second[0], 0, 'f', 8);
    QElapsedTimer t;
    t.start();
    const QString script = QStringLiteral("var p=[%1];for(var i=0;i<p.length;++i){L.circleMarker(p[i],"
                                          "{renderer:r,radius:5}).addTo(map);++n;}n")
                               .arg(points.join(QLatin1Char(',')));
    const int n = answer(view.page(), script).toInt();
    const double s = t.nsecsElapsed() / 1e9;
    return n == int(cams.size()) ? s : -1;
}

double ourLoadSeconds(GcpMapsVC& maps, const Zyn::AppGcp::PhotoGpsMap& cams)
{
    QElapsedTimer t;
    t.start();
    maps.loadCameras(cams);
    int count = -1;
    bool waiting = false;
    waitUntil([&] {
        if (count == int(cams.size()))
            return true;
        if (!waiting) {
            waiting = true;
            maps.cameraCount([&](int n) { count = n; waiting = false; });
        }
        return false;
    });
    return t.nsecsElapsed() / 1e9;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_DISABLE_SANDBOX"))
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QApplication app(argc, argv);
    const int n = argc > 1 ? std::max(1, atoi(argv[1])) : 10000;
    const auto cams = flight(n);

    GcpMapsVC maps;
    maps.getView()->resize(1000, 700);
    maps.getView()->show();
    if (!waitUntil([&] { return maps.isPageReady() || maps.isPageFailed(); }) || maps.isPageFailed()) {
        std::printf("map page did not load: %s\n", qPrintable(maps.pageError()));
        return 1;
    }
    std::vector<double> ours, bare;
    for (int run = 0; run < 5; ++run) {
        bare.push_back(bareLeafletSeconds(cams));
        ours.push_back(ourLoadSeconds(maps, cams));
        std::printf("run %d: bare Leaflet %.3f s, camera load %.3f s\n", run + 1, bare.back(), ours.back());
    }

    // One pin moved: from the call to the page answering with the new position.
    Zyn::AppGcp::GcpMap gcps;
    Zyn::AppGcp::GcpInfo pin;
    pin.name = QStringLiteral("GCP1");
    pin.coord1 = 8.51;
    pin.coord2 = 47.26;
    gcps.insert(pin.name, pin);
    maps.setGcps(&gcps);
    maps.onSelectedGcpChanged(pin.name);
    maps.onGcpInfoAdded(pin.name);
    std::vector<double> trips;
    for (int i = 1; i <= 50; ++i) {
        gcps[pin.name].coord2 = 47.26 + i * 1e-5;
        const QString expected = QString::number(47.26 + i * 1e-5, 'f', 8);
        QElapsedTimer t;
        t.start();
        maps.onGcpCoordsChanged(gcps[pin.name].coord2, 1);
        QString lat;
        maps.runScript(QStringLiteral("pins['GCP1'].getLatLng().lat.toFixed(8)"),
                       [&lat](const QVariant& v) { lat = v.toString(); });
        waitUntil([&] { return !lat.isEmpty(); });
        trips.push_back(t.nsecsElapsed() / 1e6);
        if (lat != expected) {
            std::printf("pin not moved: %s instead of %s\n", qPrintable(lat), qPrintable(expected));
            return 1;
        }
    }
    const double ratio = median(ours) / median(bare);
    const double trip = median(trips);
    std::printf("\n%d cameras: camera load %.3f s, bare Leaflet %.3f s (medians of 5)\n", n, median(ours), median(bare));
    std::printf("target: camera load vs bare Leaflet %.2fx (limit 2.00x) %s\n", ratio, ratio <= 2.0 ? "ok" : "MISSED");
    std::printf("target: pin move round trip %.1f ms (limit 20 ms) %s\n", trip, trip < 20.0 ? "ok" : "MISSED");
    return 0;
}
