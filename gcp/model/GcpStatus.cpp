#include "GcpStatus.h"

#include <gis/Gis.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace Zyn {
namespace AppGcp {

namespace {
const int kMinMarkers = 3;
const int kMinControlPoints = 3;
const double kDuplicateMetres = 0.01;
const double kDuplicateDegrees = 1e-7;

// Points whose X and Y agree within tolerance, found through a grid of
// tolerance-sized cells: linear in the number of points.
QSet<QString> duplicateNames(const GcpList& gcps, double tolerance)
{
    QSet<QString> duplicates;
    std::unordered_map<long long, std::vector<int>> cells;
    auto key = [](long long cx, long long cy) { return cx * 73856093LL ^ cy * 19349663LL; };
    for (int i = 0; i < gcps.size(); ++i) {
        const double x = gcps.at(i).coord1 / tolerance;
        const double y = gcps.at(i).coord2 / tolerance;
        if (!std::isfinite(x) || !std::isfinite(y) || std::abs(x) > 4e18 || std::abs(y) > 4e18)
            continue;
        const auto cx = static_cast<long long>(std::floor(x));
        const auto cy = static_cast<long long>(std::floor(y));
        for (long long dx = -1; dx <= 1; ++dx) {
            for (long long dy = -1; dy <= 1; ++dy) {
                const auto it = cells.find(key(cx + dx, cy + dy));
                if (it == cells.end())
                    continue;
                for (int j : it->second) {
                    const GcpInfo& a = gcps.at(i);
                    const GcpInfo& b = gcps.at(j);
                    if (std::abs(a.coord1 - b.coord1) <= tolerance && std::abs(a.coord2 - b.coord2) <= tolerance) {
                        duplicates.insert(a.name);
                        duplicates.insert(b.name);
                    }
                }
            }
        }
        cells[key(cx, cy)].push_back(i);
    }
    return duplicates;
}
} // namespace

GcpStatusResult computeGcpStatus(const GcpStatusInput& input)
{
    GcpStatusResult result;
    const QString code = input.coordSys.code;
    const bool geographic = Tarn::GIS::isPolarCS(code);
    const QSet<QString> duplicates = duplicateNames(input.gcps, geographic ? kDuplicateDegrees : kDuplicateMetres);

    for (const GcpInfo& gcp : input.gcps)
        (gcp.checkpoint ? result.checkpoints : result.controlPoints)++;

    for (const GcpInfo& gcp : input.gcps) {
        QSet<int> codes;
        const QList<GcpMarker> markers = input.markersByName.value(gcp.name);
        result.markers += markers.size();
        if (markers.size() < kMinMarkers)
            codes.insert(GcpInsufficientMarkers);
        if (duplicates.contains(gcp.name))
            codes.insert(GcpDuplicateCoords);
        if ((geographic && std::abs(gcp.coord2) > 90.0) || !Tarn::GIS::isCoordValid(code, gcp.coord1, gcp.coord2))
            codes.insert(GcpInvalidRange);

        GroundPoint point;
        bool located = false;
        double x = gcp.coord1, y = gcp.coord2, z = gcp.coord3;
        if (!codes.contains(GcpInvalidRange) && Tarn::GIS::transformCoordToLL84(code, x, y, z)
            && Tarn::GIS::isPolarCoordValid(y, x, true)) {
            point.longitude = x;
            point.latitude = y;
            point.z = gcp.coord3;
            point.hasZ = gcp.coord3 != 0.0;
            located = true;
        }
        for (const GcpMarker& marker : markers) {
            if (!input.photoSizes.contains(marker.image)) {
                codes.insert(GcpBadPixel);
                continue;
            }
            const QSize size = input.photoSizes.value(marker.image);
            if (!size.isEmpty()
                && (marker.pixel.x() < 0 || marker.pixel.y() < 0 || marker.pixel.x() >= size.width()
                    || marker.pixel.y() >= size.height()))
                codes.insert(GcpBadPixel);
            const auto geo = input.photoGeo.constFind(marker.image);
            if (located && geo != input.photoGeo.cend() && geo->hasGps
                && photosNearPoint({*geo}, point).isEmpty())
                codes.insert(GcpPhotoProximity);
        }
        if (gcp.checkpoint && result.controlPoints < kMinControlPoints)
            codes.insert(GcpCheckpointUnused);
        if (!codes.isEmpty()) {
            result.codesByName.insert(gcp.name, codes);
            ++result.problems;
        }
    }
    return result;
}

QString GcpStatusResult::summaryText() const
{
    const QString points = controlPoints == 1 ? tr("1 control point") : tr("%1 control points").arg(controlPoints);
    const QString checks = checkpoints == 1 ? tr("1 checkpoint") : tr("%1 checkpoints").arg(checkpoints);
    const QString marks = markers == 1 ? tr("1 marker") : tr("%1 markers").arg(markers);
    const QString issues = problems == 0 ? tr("no problems")
                           : problems == 1 ? tr("1 point needs attention")
                                           : tr("%1 points need attention").arg(problems);
    return QStringList{points, checks, marks, issues}.join(QStringLiteral(" \u00B7 "));
}

} // namespace AppGcp
} // namespace Zyn
