#include <make_drone_photos/FlightPlan.h>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace Tools {

namespace {
constexpr double kPi = 3.14159265358979323846;
constexpr double kWgs84A = 6378137.0;
constexpr double kWgs84E2 = 6.69437999014e-3;
} // namespace

double DmsAngle::decimal() const
{
    const double v = degrees + minutes / 60.0 + (microSeconds / 1e6) / 3600.0;
    return (ref == 'S' || ref == 'W') ? -v : v;
}

DmsAngle DmsAngle::fromDecimal(double value, char positiveRef, char negativeRef)
{
    DmsAngle a;
    a.ref = value < 0 ? negativeRef : positiveRef;
    // Work in whole microseconds of arc so the carry from 59.9999995" is exact.
    const double absValue = std::fabs(value);
    auto total = static_cast<std::uint64_t>(std::llround(absValue * 3600.0 * 1e6));
    a.degrees = static_cast<std::uint32_t>(total / 3600000000ULL);
    total %= 3600000000ULL;
    a.minutes = static_cast<std::uint32_t>(total / 60000000ULL);
    a.microSeconds = static_cast<std::uint32_t>(total % 60000000ULL);
    if (a.degrees == 0 && a.minutes == 0 && a.microSeconds == 0)
        a.ref = positiveRef;
    return a;
}

void metresToDegrees(double latDeg, double east, double north, double& dLat, double& dLon)
{
    const double phi = latDeg * kPi / 180.0;
    const double s = std::sin(phi);
    const double w = std::sqrt(1.0 - kWgs84E2 * s * s);
    const double meridian = kWgs84A * (1.0 - kWgs84E2) / (w * w * w);
    const double primeVertical = kWgs84A / w;
    // Keep a usable parallel radius close to the poles.
    const double parallel = std::max(primeVertical * std::cos(phi), 1.0);
    dLat = north / meridian * 180.0 / kPi;
    dLon = east / parallel * 180.0 / kPi;
}

std::vector<int> spreadIndices(int total, int count, bool fromEnd)
{
    std::vector<int> out;
    if (total <= 0 || count <= 0)
        return out;
    count = std::min(count, total);
    for (int i = 0; i < total; ++i) {
        const long long a = fromEnd ? (long long)(i + 1) * count / total : (long long)i * count / total;
        const long long b = fromEnd ? (long long)i * count / total
                                    : (i == 0 ? -1 : (long long)(i - 1) * count / total);
        if (a != b)
            out.push_back(i);
    }
    return out;
}

FlightPlan planLawnMower(const FlightPlanRequest& request, const CameraModel& camera)
{
    FlightPlan plan;
    const double h = request.heightAboveGround;
    plan.footprintWidth = h * camera.sensorWidthMm / camera.focalLengthMm;
    plan.footprintHeight = h * camera.sensorHeightMm / camera.focalLengthMm;
    plan.frontSpacing = (1.0 - request.frontOverlap) * plan.footprintHeight;
    plan.rowSpacing = (1.0 - request.sideOverlap) * plan.footprintWidth;
    plan.groundSampleDistance = plan.footprintWidth / camera.widthPx;
    if (request.count <= 0)
        return plan;

    // A roughly square block: as long along track as it is wide.
    const double perRow = std::sqrt(request.count * plan.rowSpacing / plan.frontSpacing);
    plan.photosPerRow = std::max(1, std::min(request.count, int(std::lround(perRow))));
    plan.rows = (request.count + plan.photosPerRow - 1) / plan.photosPerRow;

    const double rowLength = (plan.photosPerRow - 1) * plan.frontSpacing;
    const double blockWidth = (plan.rows - 1) * plan.rowSpacing;
    // Photos every ~2 s at survey speed, and a turn between rows.
    const int interval = std::max(2, int(std::lround(plan.frontSpacing / 10.0)));
    const int turn = 12;

    plan.stations.reserve(std::size_t(request.count));
    int seconds = 0;
    for (int i = 0; i < request.count; ++i) {
        PhotoStation s;
        s.index = i;
        s.row = i / plan.photosPerRow;
        const int along = i % plan.photosPerRow;
        const bool northbound = s.row % 2 == 0;
        s.headingDeg = northbound ? 0.0 : 180.0;
        s.east = s.row * plan.rowSpacing - blockWidth / 2.0;
        const double fromStart = along * plan.frontSpacing - rowLength / 2.0;
        s.north = northbound ? fromStart : -fromStart;
        if (i > 0)
            seconds += along == 0 ? turn : interval;
        s.secondsFromStart = seconds;

        double dLat = 0.0, dLon = 0.0;
        metresToDegrees(request.centreLat, s.east, s.north, dLat, dLon);
        double lat = std::max(-90.0, std::min(90.0, request.centreLat + dLat));
        double lon = request.centreLon + dLon;
        if (lon > 180.0)
            lon -= 360.0;
        else if (lon < -180.0)
            lon += 360.0;
        s.latDms = DmsAngle::fromDecimal(lat, 'N', 'S');
        s.lonDms = DmsAngle::fromDecimal(lon, 'E', 'W');
        s.lat = s.latDms.decimal();
        s.lon = s.lonDms.decimal();
        plan.stations.push_back(s);
    }
    return plan;
}

} // namespace Tools
} // namespace Zyn
