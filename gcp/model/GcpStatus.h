#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/model/GcpInfo.h>
#include <gcp/model/PhotoFootprint.h>

#include <QCoreApplication>
#include <QHash>
#include <QSet>
#include <QSize>

namespace Zyn {
namespace AppGcp {

// What the checks of the survey points look at.
struct GcpStatusInput {
    GcpList gcps;
    MarkerMap markersByName;
    AppCreate::GcpCoordSysInfo coordSys;
    // The project's photos: pixel size (orientation applied; empty when not
    // known) and, where read, position and camera data.
    QHash<QString, QSize> photoSizes;
    QHash<QString, PhotoGeo> photoGeo;
};

struct GcpStatusResult {
    Q_DECLARE_TR_FUNCTIONS(Zyn::AppGcp::GcpStatusResult)
public:
    QHash<QString, QSet<int>> codesByName; // no entry: valid
    int controlPoints = 0;
    int checkpoints = 0;
    int markers = 0;
    int problems = 0; // points with an error or a warning
    QString summaryText() const;
};

enum GcpStatusCode {
    GcpValid = 0,
    GcpInsufficientMarkers = 1,
    GcpDuplicateCoords = 2,
    GcpInvalidRange = 3,
    GcpBadPixel = 4,
    GcpPhotoProximity = 5,
    GcpCheckpointUnused = 6,
};

// Checks every point: fewer than 3 markers (1); X and Y equal to another
// point's within 1 cm, or 1e-7 degree in a geographic system (2); outside
// the system's area of use, or a latitude beyond 90 degrees (3); a marker
// outside its photo or on a photo not in the project (4); a marker on a
// photo that by the footprint rule cannot show the point (5); a checkpoint
// while fewer than 3 points are control points (6). Pure; no widgets.
GcpStatusResult computeGcpStatus(const GcpStatusInput& input);

} // namespace AppGcp
} // namespace Zyn
