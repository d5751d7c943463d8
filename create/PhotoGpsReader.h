#pragma once

#include <cstddef>
#include <string>

namespace Zyn {
namespace AppCreate {

// One angle of a GPS position as the photo stores it: three rationals and a
// hemisphere letter ('N', 'S', 'E', 'W', or '\0' when absent).
struct ExifGpsComponents
{
    double degrees = 0.0;
    double minutes = 0.0;
    double seconds = 0.0;
    char direction = '\0';
};

// The GPS block of a photo's EXIF data. Missing tags stay zero, which is
// what the all-zero rule of readPhotoGpsPosition relies on.
struct ExifGpsRecord
{
    double Latitude = 0.0;  // decimal degrees, south negative
    double Longitude = 0.0; // decimal degrees, west negative
    double Altitude = 0.0;  // metres, negative when the reference is 1 (below sea level)
    char AltitudeRef = 0;
    double DOP = 0.0;
    ExifGpsComponents LatComponents;
    ExifGpsComponents LonComponents;
};

// Result codes of parseExifGps (those of Utilities::ExifStatus); only
// ExifParseSuccess counts as success.
enum ExifParseCode
{
    ExifParseSuccess = 0,
    ExifParseNoJpeg = 1,    // does not start with a JPEG start-of-image marker
    ExifParseNoExif = 2,    // a JPEG without an EXIF APP1 segment
    ExifParseCorrupt = 3,   // the segment or its TIFF header is cut short or malformed
    ExifParseNoMemory = 4
};

// Parses the EXIF block of the JPEG bytes in [data, data + size). Only the
// APP1 segment is handed to the EXIF library. Resets `out` first.
int parseExifGps(const unsigned char* data, std::size_t size, ExifGpsRecord& out);

// Reads the photo up to the end of its EXIF segment and parses it. Returns
// false silently for an empty path or a file that does not exist; prints
// "Can't open file." or "Can't read file." to standard output when the file
// exists but cannot be opened (anything but a regular file) or read.
bool readExifFromFile(const std::wstring& path, ExifGpsRecord& out);

// Position of a photo: longitude and latitude in decimal degrees (west and
// south negative) rebuilt from degrees/minutes/seconds, altitude in metres.
// False when the EXIF cannot be read or when the GPS fields are all zero.
bool readPhotoGpsPosition(const std::wstring& path, double& lon, double& lat, double& alt);

} // namespace AppCreate
} // namespace Zyn
