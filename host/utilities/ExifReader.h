#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>

namespace Zyn {
namespace Utilities {

// One GPS angle as a photo stores it: up to three rationals (degrees,
// minutes, seconds) and a hemisphere letter.
struct ExifAngle
{
    double parts[3] = {0.0, 0.0, 0.0}; // 0 where absent or the denominator is 0
    bool known[3] = {false, false, false}; // present with a non-zero denominator
    int count = 0;                     // rationals stored (at most 3 read)
    char ref = '\0';                   // 'N', 'S', 'E', 'W'; '\0' when absent
};

// The tags the photo readers need, decoded from one EXIF block.
struct ExifTags
{
    ExifAngle latitude;
    ExifAngle longitude;
    double altitude = 0.0; // metres, unsigned as stored
    bool altitudeKnown = false;
    unsigned char altitudeRef = 0; // 1: below sea level
    double dop = 0.0;
    double focalLengthMm = 0.0;
    long long focalLength35mm = 0;
    long long pixelWidth = 0;
    long long pixelHeight = 0;
    // Sensor pixels per unit (1 none, 2 inch, 3 cm, 4 mm, 5 micrometre).
    double focalPlaneXResolution = 0.0;
    long long focalPlaneResolutionUnit = 2; // the standard's default
};

// Why a JPEG's EXIF block could not be decoded. The values are stable: the
// plug-in's parse codes are the same numbers.
enum class ExifStatus
{
    Ok = 0,
    NotJpeg = 1,  // no JPEG start-of-image marker
    NoExif = 2,   // a JPEG without an EXIF APP1 segment
    Corrupt = 3,  // the segment or its TIFF header is cut short or malformed
    NoMemory = 4  // kept for the plug-in's codes; decoding allocates nothing
};

// Decodes the EXIF block of the JPEG bytes in [data, data + size), which
// need only reach the end of the EXIF segment. Resets `tags` first.
ExifStatus decodeExif(const unsigned char* data, std::size_t size, ExifTags& tags);

// Whether the EXIF segment of these JPEG bytes ends within them (or they
// show there is none, or are no JPEG): reading further would not change the
// answer of decodeExif.
bool exifSegmentComplete(const unsigned char* data, std::size_t size);

enum class ExifFileStatus
{
    Read,
    Missing,    // empty path, nothing there, or the path cannot be examined
    NotOpened,  // not a regular file, or open refused
    ReadFailed  // size unknown, out of memory, or fewer bytes than stated
};

// Reads the start of a photo up to the end of its EXIF segment: firstRead
// bytes, then four times as much each step while the segment runs on, at
// most to the end of the file. Only regular files are read; nothing opened
// blocks (a FIFO named like a photo).
ExifFileStatus readExifHead(const QString& path, QByteArray& head, std::size_t firstRead = 64 * 1024);

} // namespace Utilities
} // namespace Zyn
