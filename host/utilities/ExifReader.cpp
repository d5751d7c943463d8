#include "ExifReader.h"

#include <QFile>

#include <libexif/exif-format.h>
#include <libexif/exif-tag.h>
#include <libexif/exif-utils.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace Zyn {
namespace Utilities {

namespace {

const unsigned char kExifHeader[6] = {'E', 'x', 'i', 'f', 0, 0};

enum class Walk
{
    Found,
    NotJpeg,
    NoExif,
    Malformed, // reading on would not help
    Cut        // ends before the segment walk could finish
};

// Finds the payload of the EXIF APP1 segment ("Exif\0\0" + TIFF data) by
// walking the marker segments that precede the image data. Walking the
// segments is cheaper than a byte scan and tells a cut file from one that has
// no EXIF at all.
Walk walkSegments(const unsigned char* data, std::size_t size, const unsigned char*& payload,
                  std::size_t& payloadSize)
{
    if (!data || size < 4 || data[0] != 0xFF || data[1] != 0xD8)
        return Walk::NotJpeg;
    std::size_t pos = 2;
    for (;;) {
        if (pos >= size)
            return Walk::Cut;
        if (data[pos] != 0xFF)
            return Walk::Malformed; // garbage where a marker must be
        while (pos < size && data[pos] == 0xFF)
            ++pos; // fill bytes
        if (pos >= size)
            return Walk::Cut;
        const unsigned char marker = data[pos++];
        if (marker == 0xDA || marker == 0xD9)
            return Walk::NoExif; // image data or end reached without EXIF
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7))
            continue; // markers without a length field
        if (pos + 2 > size)
            return Walk::Cut;
        const std::size_t length = (std::size_t(data[pos]) << 8) | data[pos + 1];
        if (length < 2)
            return Walk::Malformed;
        if (pos + length > size)
            return Walk::Cut;
        if (marker == 0xE1 && length >= 2 + sizeof kExifHeader
            && std::memcmp(data + pos + 2, kExifHeader, sizeof kExifHeader) == 0) {
            payload = data + pos + 2;
            payloadSize = length - 2;
            return Walk::Found;
        }
        pos += length;
    }
}

// The EXIF library accepts a broken TIFF header without complaint, so the
// header is checked here to keep "decoded" meaning something.
bool tiffHeaderValid(const unsigned char* payload, std::size_t size)
{
    const unsigned char* tiff = payload + sizeof kExifHeader;
    const std::size_t tiffSize = size - sizeof kExifHeader;
    if (tiffSize < 8)
        return false;
    ExifByteOrder order;
    if (tiff[0] == 'I' && tiff[1] == 'I')
        order = EXIF_BYTE_ORDER_INTEL;
    else if (tiff[0] == 'M' && tiff[1] == 'M')
        order = EXIF_BYTE_ORDER_MOTOROLA;
    else
        return false;
    if (exif_get_short(tiff + 2, order) != 0x002A)
        return false;
    const ExifLong ifd0 = exif_get_long(tiff + 4, order);
    return ifd0 >= 8 && std::size_t(ifd0) + 2 <= tiffSize;
}

// One directory entry of the TIFF structure, its value located in the block.
struct Entry
{
    int format = 0; // an ExifFormat value, or whatever a damaged entry holds
    std::size_t components = 0;
    const unsigned char* data = nullptr; // nullptr: absent, or its value lies outside the block
};

// Reads the tags of one image file directory. Only the few tags the photo
// readers need are looked at, so a photo costs little more than its read;
// values that point outside the block count as absent.
class Directory
{
public:
    Directory(const unsigned char* tiff, std::size_t size, ExifByteOrder order, std::size_t offset)
        : m_tiff(tiff), m_size(size), m_order(order)
    {
        if (offset < 8 || offset + 2 > size)
            return;
        m_entries = tiff + offset + 2;
        // A directory cut short keeps the entries that fit.
        m_count = std::min<std::size_t>(exif_get_short(tiff + offset, order), (size - offset - 2) / 12);
    }

    Entry find(int tag) const
    {
        Entry e;
        for (std::size_t i = 0; i < m_count; ++i) {
            const unsigned char* p = m_entries + 12 * i;
            if (exif_get_short(p, m_order) != tag)
                continue;
            e.format = exif_get_short(p + 2, m_order);
            e.components = exif_get_long(p + 4, m_order);
            const std::size_t unit = e.format >= EXIF_FORMAT_BYTE && e.format <= EXIF_FORMAT_DOUBLE
                                         ? exif_format_get_size(ExifFormat(e.format))
                                         : 0;
            if (unit == 0 || e.components == 0 || e.components > (1u << 16) / unit)
                return Entry();
            const std::size_t bytes = unit * e.components;
            if (bytes <= 4) {
                e.data = p + 8;
            } else {
                const std::size_t at = exif_get_long(p + 8, m_order);
                if (at < m_size && bytes <= m_size - at)
                    e.data = m_tiff + at;
            }
            return e.data ? e : Entry();
        }
        return e;
    }

    // The directory another tag's value points at.
    Directory sub(int tag) const
    {
        const Entry e = find(tag);
        const std::size_t at = e.data && (e.format == EXIF_FORMAT_LONG || e.format == EXIF_FORMAT_UNDEFINED)
                                   ? exif_get_long(e.data, m_order)
                                   : 0;
        return Directory(m_tiff, m_size, m_order, at);
    }

    ExifByteOrder order() const { return m_order; }

private:
    const unsigned char* m_tiff;
    std::size_t m_size;
    ExifByteOrder m_order;
    const unsigned char* m_entries = nullptr;
    std::size_t m_count = 0;
};

int rationalCount(const Entry& e)
{
    const bool rational = e.format == EXIF_FORMAT_RATIONAL || e.format == EXIF_FORMAT_SRATIONAL;
    return rational && e.data ? int(std::min<std::size_t>(e.components, 3)) : 0;
}

// A zero denominator means "unknown".
bool rationalAt(const Entry& e, int index, ExifByteOrder order, double& value)
{
    if (index >= rationalCount(e))
        return false;
    const unsigned char* p = e.data + 8 * index;
    double numerator = 0.0, denominator = 0.0;
    if (e.format == EXIF_FORMAT_SRATIONAL) {
        const ExifSRational r = exif_get_srational(p, order);
        numerator = r.numerator;
        denominator = r.denominator;
    } else {
        const ExifRational r = exif_get_rational(p, order);
        numerator = r.numerator;
        denominator = r.denominator;
    }
    if (denominator == 0.0)
        return false;
    value = numerator / denominator;
    return true;
}

char firstByte(const Entry& e)
{
    return e.data ? char(e.data[0]) : '\0';
}

long long integerOf(const Entry& e, ExifByteOrder order)
{
    if (e.format == EXIF_FORMAT_SHORT && e.data)
        return exif_get_short(e.data, order);
    if (e.format == EXIF_FORMAT_LONG && e.data)
        return exif_get_long(e.data, order);
    return 0;
}

// Camera tags sit in the EXIF directory, some writers put them in IFD0.
Entry cameraEntry(const Directory& exif, const Directory& ifd0, int tag)
{
    const Entry e = exif.find(tag);
    return e.data ? e : ifd0.find(tag);
}

void readAngle(const Directory& gps, int valueTag, int refTag, ExifAngle& angle)
{
    const Entry e = gps.find(valueTag);
    angle.count = rationalCount(e);
    for (int i = 0; i < angle.count; ++i)
        angle.known[i] = rationalAt(e, i, gps.order(), angle.parts[i]);
    angle.ref = firstByte(gps.find(refTag));
}

struct FdCloser
{
    int fd;
    ~FdCloser() { ::close(fd); }
};

} // namespace

bool exifSegmentComplete(const unsigned char* data, std::size_t size)
{
    const unsigned char* payload = nullptr;
    std::size_t payloadSize = 0;
    return walkSegments(data, size, payload, payloadSize) != Walk::Cut;
}

ExifStatus decodeExif(const unsigned char* data, std::size_t size, ExifTags& tags)
{
    tags = ExifTags();
    const unsigned char* payload = nullptr;
    std::size_t payloadSize = 0;
    switch (walkSegments(data, size, payload, payloadSize)) {
    case Walk::Found:
        break;
    case Walk::NotJpeg:
        return ExifStatus::NotJpeg;
    case Walk::NoExif:
        return ExifStatus::NoExif;
    case Walk::Malformed:
    case Walk::Cut:
        return ExifStatus::Corrupt;
    }
    if (!tiffHeaderValid(payload, payloadSize))
        return ExifStatus::Corrupt;

    const unsigned char* tiff = payload + sizeof kExifHeader;
    const std::size_t tiffSize = payloadSize - sizeof kExifHeader;
    const ExifByteOrder order = tiff[0] == 'I' ? EXIF_BYTE_ORDER_INTEL : EXIF_BYTE_ORDER_MOTOROLA;
    const Directory ifd0(tiff, tiffSize, order, exif_get_long(tiff + 4, order));
    const Directory exif = ifd0.sub(EXIF_TAG_EXIF_IFD_POINTER);
    rationalAt(cameraEntry(exif, ifd0, EXIF_TAG_FOCAL_LENGTH), 0, order, tags.focalLengthMm);
    tags.focalLength35mm = integerOf(cameraEntry(exif, ifd0, EXIF_TAG_FOCAL_LENGTH_IN_35MM_FILM), order);
    tags.pixelWidth = integerOf(cameraEntry(exif, ifd0, EXIF_TAG_PIXEL_X_DIMENSION), order);
    tags.pixelHeight = integerOf(cameraEntry(exif, ifd0, EXIF_TAG_PIXEL_Y_DIMENSION), order);
    rationalAt(cameraEntry(exif, ifd0, EXIF_TAG_FOCAL_PLANE_X_RESOLUTION), 0, order, tags.focalPlaneXResolution);
    if (const long long unit = integerOf(cameraEntry(exif, ifd0, EXIF_TAG_FOCAL_PLANE_RESOLUTION_UNIT), order))
        tags.focalPlaneResolutionUnit = unit;

    // GPS tags share numbers with tags of other directories, so look only in the GPS one.
    const Directory gps = ifd0.sub(EXIF_TAG_GPS_INFO_IFD_POINTER);
    readAngle(gps, EXIF_TAG_GPS_LATITUDE, EXIF_TAG_GPS_LATITUDE_REF, tags.latitude);
    readAngle(gps, EXIF_TAG_GPS_LONGITUDE, EXIF_TAG_GPS_LONGITUDE_REF, tags.longitude);
    tags.altitudeRef = static_cast<unsigned char>(firstByte(gps.find(EXIF_TAG_GPS_ALTITUDE_REF)));
    tags.altitudeKnown = rationalAt(gps.find(EXIF_TAG_GPS_ALTITUDE), 0, order, tags.altitude);
    rationalAt(gps.find(EXIF_TAG_GPS_DOP), 0, order, tags.dop);
    return ExifStatus::Ok;
}

ExifFileStatus readExifHead(const QString& path, QByteArray& head, std::size_t firstRead)
{
    head.clear();
    if (path.isEmpty())
        return ExifFileStatus::Missing;
    const QByteArray name = QFile::encodeName(path);
    // Opened first and examined after: a separate stat would walk the path
    // twice, about a tenth of the cost of a photo in the page cache.
    // O_NONBLOCK: a FIFO named like a photo must not wait for a writer.
    struct stat st;
    const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) // quiet when nothing is there, or the path cannot be examined
        return ::stat(name.constData(), &st) != 0 ? ExifFileStatus::Missing : ExifFileStatus::NotOpened;
    const FdCloser closer{fd};
    // A directory opens for reading on Linux; neither it nor a FIFO or a
    // device is a photo, and none is read.
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))
        return ExifFileStatus::NotOpened;

    // The EXIF segment sits before the image data, so most of a photo is
    // never read; the first read holds it in nearly every photo.
    const std::size_t total = std::size_t(st.st_size);
    std::size_t want = std::min(total, std::max<std::size_t>(firstRead, 1));
    try {
        for (;;) {
            const std::size_t have = std::size_t(head.size());
            if (want > std::size_t(std::numeric_limits<int>::max()))
                return ExifFileStatus::ReadFailed;
            head.resize(int(want));
            std::size_t got = have;
            while (got < want) {
                const ssize_t n = ::read(fd, head.data() + got, want - got);
                if (n < 0 && errno == EINTR)
                    continue;
                if (n <= 0)
                    break;
                got += std::size_t(n);
            }
            if (got != want)
                return ExifFileStatus::ReadFailed;
            if (want == total
                || exifSegmentComplete(reinterpret_cast<const unsigned char*>(head.constData()), want))
                return ExifFileStatus::Read;
            want = std::min(total, want * 4);
        }
    } catch (const std::bad_alloc&) {
        head.clear();
        return ExifFileStatus::ReadFailed;
    }
}

} // namespace Utilities
} // namespace Zyn
