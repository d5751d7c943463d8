#pragma once

#include <QString>

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

// Reads the GPS position of a photo with libexif. Answers false (and,
// when error is given, why) for a missing or unreadable file, a file
// without EXIF, or EXIF without latitude and longitude.
bool readPhotoGpsPosition(const QString& path, PhotoGpsPosition* position, QString* error = nullptr);

} // namespace AppCreate
} // namespace Zyn
