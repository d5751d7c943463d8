#pragma once

#include <make_drone_photos/FlightPlan.h>

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace Zyn {
namespace Tools {

enum class GpsKind
{
    None,     // no GPS block at all
    AllZero,  // a GPS block whose values are all zero (a camera without a fix)
    Position
};

struct PhotoExif
{
    QString make;
    QString model;
    QDateTime taken;
    int width = 0;
    int height = 0;
    GpsKind gps = GpsKind::None;
    DmsAngle lat;
    DmsAngle lon;
    double altitude = 0.0; // metres; negative below sea level
    double dop = 0.0;      // 0 leaves the tag out
    int orientation = 1;   // 1..8 as EXIF numbers them
    QByteArray thumbnailJpeg;
    bool bigEndian = false; // most cameras write Intel order; some write Motorola
};

// The whole APP1 segment (marker, length, "Exif\0\0", TIFF data). Returns an
// empty array when the block would not fit in one segment.
QByteArray buildExifSegment(const PhotoExif& exif);

// Inserts the segment right after the start-of-image marker, where cameras
// put it. Returns an empty array when `jpeg` is not a JPEG.
QByteArray spliceSegment(const QByteArray& jpeg, const QByteArray& segment);

} // namespace Tools
} // namespace Zyn
