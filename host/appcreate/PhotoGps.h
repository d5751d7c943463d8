#pragma once

#include <QSize>
#include <QString>
#include <QtNumeric>

namespace Zyn {
namespace AppCreate {

// A photo's GPS position from its EXIF block: decimal degrees (west and
// south negative) and metres (below sea level negative).
struct PhotoGpsPosition {
    double longitude = 0.0;
    double latitude = 0.0;
    double altitude = 0.0;
    bool hasAltitude = false;
};

// What a photo says of the camera that took it; NaN or 0 where unknown.
struct PhotoCameraInfo {
    PhotoGpsPosition position;
    bool hasPosition = false;
    double focalLengthMm = 0.0;
    double focalLength35mm = 0.0;
    double sensorWidthMm = 0.0;     // from the focal plane resolution
    QSize pixelSize;                // as stored in EXIF (orientation not applied)
    double relativeAltitude = qQNaN(); // drone XMP: height above take-off
    double yawDegrees = qQNaN();       // drone XMP: gimbal, else flight yaw
    double pitchDegrees = qQNaN();     // drone XMP: gimbal pitch (-90 = nadir)
};

// Reads the position, focal lengths and drone XMP fields of a photo. Reads
// only the metadata at the start of the file.
bool readPhotoCameraInfo(const QString& path, PhotoCameraInfo* info, QString* error = nullptr);

// Reads the GPS position from the EXIF segment of a photo. Answers false (and,
// when error is given, why) for a missing or unreadable file, a file
// without EXIF, or EXIF without latitude and longitude.
bool readPhotoGpsPosition(const QString& path, PhotoGpsPosition* position, QString* error = nullptr);

} // namespace AppCreate
} // namespace Zyn
