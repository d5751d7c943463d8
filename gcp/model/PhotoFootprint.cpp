#include "PhotoFootprint.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Zyn {
namespace AppGcp {

namespace {
const double kPi = 3.14159265358979323846;
const double kFullFrameDiagonalMm = 43.2666; // 36 x 24 mm
const double kDefaultFovDegrees = 84.0;
const double kDefaultHeight = 120.0;
const double kMargin = 1.25;
} // namespace

double heightAbovePoint(const PhotoGeo& photo, const GroundPoint& point)
{
    if (photo.hasAltitude && point.hasZ) {
        const double h = photo.altitude - point.z;
        if (h >= 5.0 && h <= 1500.0)
            return h;
    }
    if (std::isfinite(photo.relativeAltitude) && photo.relativeAltitude > 0.0)
        return photo.relativeAltitude;
    return kDefaultHeight;
}

double diagonalFieldOfView(const PhotoGeo& photo)
{
    if (photo.focalLength35mm > 0.0)
        return 2.0 * std::atan(kFullFrameDiagonalMm / (2.0 * photo.focalLength35mm)) * 180.0 / kPi;
    return kDefaultFovDegrees;
}

double footprintHalfDiagonal(const PhotoGeo& photo, const GroundPoint& point)
{
    return heightAbovePoint(photo, point) * std::tan(diagonalFieldOfView(photo) * kPi / 360.0);
}

double groundDistance(double lon1, double lat1, double lon2, double lat2)
{
    const double latMid = (lat1 + lat2) * 0.5 * kPi / 180.0;
    double dLon = lon2 - lon1;
    if (dLon > 180.0)
        dLon -= 360.0;
    else if (dLon < -180.0)
        dLon += 360.0;
    const double dx = dLon * 111320.0 * std::cos(latMid);
    const double dy = (lat2 - lat1) * 110574.0;
    return std::sqrt(dx * dx + dy * dy);
}

QStringList photosNearPoint(const QVector<PhotoGeo>& photos, const GroundPoint& point)
{
    std::vector<std::pair<double, int>> passing;
    passing.reserve(size_t(photos.size()));
    for (int i = 0; i < photos.size(); ++i) {
        const PhotoGeo& photo = photos.at(i);
        if (!photo.hasGps)
            continue;
        const double distance = groundDistance(point.longitude, point.latitude, photo.longitude, photo.latitude);
        if (distance <= kMargin * footprintHalfDiagonal(photo, point))
            passing.emplace_back(distance, i);
    }
    std::stable_sort(passing.begin(), passing.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    QStringList paths;
    paths.reserve(int(passing.size()));
    for (const auto& p : passing)
        paths << photos.at(p.second).path;
    return paths;
}

} // namespace AppGcp
} // namespace Zyn
