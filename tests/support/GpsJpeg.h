#pragma once

#include <QString>

// JPEG photos made at test time, with an EXIF GPS block written by libexif.
namespace GpsJpeg {

struct Gps {
    double latitude = 0;  // south negative
    double longitude = 0; // west negative
    double altitude = 0;  // below sea level negative
};

// A small JPEG carrying gps. False when the file cannot be written.
bool writeWithGps(const QString& path, const Gps& gps, int seed = 0);
// A small JPEG with EXIF but no GPS block.
bool writeWithoutGps(const QString& path, int seed = 0);
// A small JPEG with no EXIF at all.
bool writePlain(const QString& path, int seed = 0);

} // namespace GpsJpeg
