#pragma once

#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtNumeric>

namespace Zyn {
namespace AppGcp {

// What the footprint rule needs of one photo.
struct PhotoGeo {
    QString path;
    bool hasGps = false;
    double longitude = 0.0;
    double latitude = 0.0;
    double altitude = 0.0;
    bool hasAltitude = false;
    double relativeAltitude = qQNaN();
    double focalLength35mm = 0.0;
    double focalLengthMm = 0.0;
    double sensorWidthMm = 0.0;
    QSize pixelSize;
    double yawDegrees = qQNaN();
    double pitchDegrees = qQNaN(); // -90 = nadir
};

// A point on the ground in WGS 84 degrees; z is its height when known.
struct GroundPoint {
    double longitude = 0.0;
    double latitude = 0.0;
    double z = 0.0;
    bool hasZ = false;
};

// Height of the camera above the point: the photo's altitude minus the
// point's height when both are known and the difference is 5 to 1,500 m;
// else the drone's relative altitude; else 120 m.
double heightAbovePoint(const PhotoGeo& photo, const GroundPoint& point);
// Diagonal field of view in degrees: from the focal length and the sensor's
// width when both are plausible, else from the 35 mm focal length, else 84.
double diagonalFieldOfView(const PhotoGeo& photo);
// Half the diagonal of the photo's nadir footprint on the ground, in metres.
double footprintHalfDiagonal(const PhotoGeo& photo, const GroundPoint& point);
// East and north offsets in metres from (lon1, lat1) to (lon2, lat2).
void groundOffset(double lon1, double lat1, double lon2, double lat2, double* east, double* north);
// Horizontal distance in metres (local flat approximation, fine below a
// few kilometres).
double groundDistance(double lon1, double lat1, double lon2, double lat2);

// Heading of each photo in degrees (0 = north, clockwise): its drone yaw,
// else the direction of the flight track to its nearer neighbour in the
// list (photos in capture order); NaN when neither is known.
QVector<double> photoHeadings(const QVector<PhotoGeo>& photos);

// The photos that can show the point, nearest first. A photo passes when
// its horizontal distance to the point is at most 1.25 x half the nadir
// footprint's diagonal; when its heading is known, the point must also lie
// in the footprint rectangle grown by 10 % (the long side across the
// track). Photos without GPS never pass. photos in capture order.
QStringList photosNearPoint(const QVector<PhotoGeo>& photos, const GroundPoint& point);

} // namespace AppGcp
} // namespace Zyn
