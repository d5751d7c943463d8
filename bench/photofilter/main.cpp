// The photos near one point: the footprint filter over a large survey once
// the positions are cached, against a bare distance pass over the same data.
#include <gcp/model/PhotoFootprint.h>

#include <QElapsedTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace Zyn::AppGcp;

namespace {
// A lawn-mower flight of n photos 100 m up, 25 m apart, rows 50 m apart.
QVector<PhotoGeo> flight(int n)
{
    QVector<PhotoGeo> photos;
    const int perRow = int(std::sqrt(n * 2.0));
    for (int i = 0; i < n; ++i) {
        const int row = i / perRow;
        const int k = row % 2 ? perRow - 1 - i % perRow : i % perRow;
        PhotoGeo p;
        p.path = QStringLiteral("/survey/IMG_%1.JPG").arg(i, 5, 10, QLatin1Char('0'));
        p.hasGps = true;
        p.latitude = 47.0 + k * 25.0 / 110574.0;
        p.longitude = 15.0 + row * 50.0 / 75900.0;
        p.altitude = 500.0;
        p.hasAltitude = true;
        p.pixelSize = QSize(5472, 3648);
        photos << p;
    }
    return photos;
}

template <class F>
double bestMs(F&& f, int runs = 15)
{
    double best = 1e9;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        f();
        best = std::min(best, t.nsecsElapsed() / 1e6);
    }
    return best;
}
} // namespace

int main()
{
    GroundPoint point;
    point.longitude = 15.0 + 20 * 50.0 / 75900.0;
    point.latitude = 47.0 + 30 * 25.0 / 110574.0;
    point.z = 400.0;
    point.hasZ = true;
    double ms[2] = {0, 0};
    const int sizes[2] = {1000, 10000};
    for (int s = 0; s < 2; ++s) {
        const QVector<PhotoGeo> photos = flight(sizes[s]);
        int passing = 0;
        ms[s] = bestMs([&] { passing = photosNearPoint(photos, point).size(); });
        volatile double sink = 0;
        const double bare = bestMs([&] {
            double sum = 0;
            for (const PhotoGeo& p : photos)
                sum += groundDistance(point.longitude, point.latitude, p.longitude, p.latitude);
            sink = sum;
        });
        std::printf("%5d photos: filter %.3f ms (%d pass), bare distance pass %.3f ms, ratio %.1fx\n", sizes[s], ms[s],
                    passing, bare, ms[s] / bare);
    }
    const double growth = ms[1] / ms[0];
    std::printf("target: filter 10,000 photos %.2f ms (limit 20.00 ms) %s\n", ms[1], ms[1] <= 20.0 ? "ok" : "MISSED");
    std::printf("target: 10x the photos costs %.1fx the time (limit 12.0x) %s\n", growth,
                growth <= 12.0 ? "ok" : "MISSED");
    return 0;
}
