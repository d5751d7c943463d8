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
const double kRectangleMargin = 1.10;
} // namespace

void groundOffset(double lon1, double lat1, double lon2, double lat2, double* east, double* north)
{
    // The ellipsoid's radii of curvature at the mid latitude: exact to
    // centimetres over a flight, which pixel predictions need.
    const double latMid = (lat1 + lat2) * 0.5 * kPi / 180.0;
    const double e2 = 0.00669437999014, a = 6378137.0;
    const double w = std::sqrt(1.0 - e2 * std::sin(latMid) * std::sin(latMid));
    double dLon = lon2 - lon1;
    if (dLon > 180.0)
        dLon -= 360.0;
    else if (dLon < -180.0)
        dLon += 360.0;
    *east = dLon * kPi / 180.0 * a / w * std::cos(latMid);
    *north = (lat2 - lat1) * kPi / 180.0 * a * (1.0 - e2) / (w * w * w);
}

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
    // Phone to medium-format sensors; outside that the tags are wrong (a
    // photo resized without its focal plane resolution updated).
    if (photo.focalLengthMm > 0.0 && photo.sensorWidthMm >= 1.0 && photo.sensorWidthMm <= 60.0
        && !photo.pixelSize.isEmpty()) {
        const double diagonal = photo.sensorWidthMm * std::hypot(photo.pixelSize.width(), photo.pixelSize.height())
                                / photo.pixelSize.width();
        return 2.0 * std::atan(diagonal / (2.0 * photo.focalLengthMm)) * 180.0 / kPi;
    }
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
    double dx = 0, dy = 0;
    groundOffset(lon1, lat1, lon2, lat2, &dx, &dy);
    return std::sqrt(dx * dx + dy * dy);
}

QVector<double> photoHeadings(const QVector<PhotoGeo>& photos)
{
    QVector<double> headings(photos.size(), qQNaN());
    auto bearing = [&](int a, int b) {
        double east = 0, north = 0;
        groundOffset(photos.at(a).longitude, photos.at(a).latitude, photos.at(b).longitude, photos.at(b).latitude, &east,
                &north);
        return std::hypot(east, north) < 0.5 ? qQNaN() : std::atan2(east, north) * 180.0 / kPi;
    };
    for (int i = 0; i < photos.size(); ++i) {
        if (std::isfinite(photos.at(i).yawDegrees)) {
            headings[i] = photos.at(i).yawDegrees;
            continue;
        }
        if (!photos.at(i).hasGps)
            continue;
        // The nearer neighbour is on the same flight line (turns are longer).
        const bool hasPrev = i > 0 && photos.at(i - 1).hasGps;
        const bool hasNext = i + 1 < photos.size() && photos.at(i + 1).hasGps;
        double prevDistance = hasPrev ? groundDistance(photos.at(i - 1).longitude, photos.at(i - 1).latitude,
                                                       photos.at(i).longitude, photos.at(i).latitude)
                                      : qInf();
        double nextDistance = hasNext ? groundDistance(photos.at(i).longitude, photos.at(i).latitude,
                                                       photos.at(i + 1).longitude, photos.at(i + 1).latitude)
                                      : qInf();
        if (hasPrev && prevDistance <= nextDistance)
            headings[i] = bearing(i - 1, i);
        else if (hasNext)
            headings[i] = bearing(i, i + 1);
    }
    return headings;
}

QStringList photosNearPoint(const QVector<PhotoGeo>& photos, const GroundPoint& point)
{
    const QVector<double> headings = photoHeadings(photos);
    std::vector<std::pair<double, int>> passing;
    passing.reserve(size_t(photos.size()));
    for (int i = 0; i < photos.size(); ++i) {
        const PhotoGeo& photo = photos.at(i);
        if (!photo.hasGps)
            continue;
        double east = 0, north = 0;
        groundOffset(photo.longitude, photo.latitude, point.longitude, point.latitude, &east, &north);
        const double distance = std::hypot(east, north);
        const double halfDiagonal = footprintHalfDiagonal(photo, point);
        if (distance > kMargin * halfDiagonal)
            continue;
        if (std::isfinite(headings.at(i))) {
            const double aspect = photo.pixelSize.isEmpty() ? 1.5
                                                            : double(std::max(photo.pixelSize.width(),
                                                                              photo.pixelSize.height()))
                                                                  / std::min(photo.pixelSize.width(),
                                                                             photo.pixelSize.height());
            const double halfAcross = halfDiagonal * aspect / std::sqrt(1.0 + aspect * aspect);
            const double halfAlong = halfDiagonal / std::sqrt(1.0 + aspect * aspect);
            const double h = headings.at(i) * kPi / 180.0;
            const double along = east * std::sin(h) + north * std::cos(h);
            const double across = east * std::cos(h) - north * std::sin(h);
            if (std::abs(along) > kRectangleMargin * halfAlong || std::abs(across) > kRectangleMargin * halfAcross)
                continue;
        }
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
