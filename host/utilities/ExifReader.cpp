#include "ExifReader.h"

#include <QFile>

#include <libexif/exif-data.h>
#include <libexif/exif-utils.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace Zyn {
namespace Utilities {

namespace {

const unsigned char kExifHeader[6] = {'E', 'x', 'i', 'f', 0, 0};

struct ExifDataDeleter
{
    void operator()(ExifData* d) const { exif_data_unref(d); }
};

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

ExifEntry* entryIn(ExifData* data, ExifIfd ifd, int tag)
{
    ExifContent* content = data->ifd[ifd];
    return content ? exif_content_get_entry(content, static_cast<ExifTag>(tag)) : nullptr;
}

// Camera tags sit in the EXIF IFD, some writers put them in IFD0.
ExifEntry* cameraEntry(ExifData* data, int tag)
{
    ExifEntry* e = entryIn(data, EXIF_IFD_EXIF, tag);
    return e ? e : entryIn(data, EXIF_IFD_0, tag);
}

int rationalCount(const ExifEntry* e)
{
    if (!e || e->format != EXIF_FORMAT_RATIONAL || !e->data)
        return 0;
    return int(std::min<unsigned long>(e->components, e->size / 8));
}

// A zero denominator means "unknown".
bool rationalAt(const ExifEntry* e, int index, ExifByteOrder order, double& value)
{
    if (index >= rationalCount(e))
        return false;
    const ExifRational r = exif_get_rational(e->data + 8 * index, order);
    if (r.denominator == 0)
        return false;
    value = double(r.numerator) / double(r.denominator);
    return true;
}

char firstByte(const ExifEntry* e)
{
    return e && e->data && e->size >= 1 ? char(e->data[0]) : '\0';
}

long long integerOf(const ExifEntry* e, ExifByteOrder order)
{
    if (!e || !e->data)
        return 0;
    if (e->format == EXIF_FORMAT_SHORT && e->size >= 2)
        return exif_get_short(e->data, order);
    if (e->format == EXIF_FORMAT_LONG && e->size >= 4)
        return exif_get_long(e->data, order);
    return 0;
}

void readAngle(ExifData* data, int valueTag, int refTag, ExifByteOrder order, ExifAngle& angle)
{
    const ExifEntry* e = entryIn(data, EXIF_IFD_GPS, valueTag);
    angle.count = std::min(3, rationalCount(e));
    for (int i = 0; i < angle.count; ++i)
        angle.known[i] = rationalAt(e, i, order, angle.parts[i]);
    angle.ref = firstByte(entryIn(data, EXIF_IFD_GPS, refTag));
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

    std::unique_ptr<ExifData, ExifDataDeleter> exif(
        exif_data_new_from_data(payload, static_cast<unsigned int>(payloadSize)));
    if (!exif)
        return ExifStatus::NoMemory;
    ExifData* d = exif.get();
    const ExifByteOrder order = exif_data_get_byte_order(d);

    const ExifEntry* focal = cameraEntry(d, EXIF_TAG_FOCAL_LENGTH);
    rationalAt(focal, 0, order, tags.focalLengthMm);
    tags.focalLength35mm = integerOf(cameraEntry(d, EXIF_TAG_FOCAL_LENGTH_IN_35MM_FILM), order);
    tags.pixelWidth = integerOf(cameraEntry(d, EXIF_TAG_PIXEL_X_DIMENSION), order);
    tags.pixelHeight = integerOf(cameraEntry(d, EXIF_TAG_PIXEL_Y_DIMENSION), order);

    // GPS tags share numbers with tags of other IFDs, so look only in the GPS IFD.
    if (!d->ifd[EXIF_IFD_GPS])
        return ExifStatus::Ok;
    tags.hasGpsBlock = d->ifd[EXIF_IFD_GPS]->count > 0;
    readAngle(d, EXIF_TAG_GPS_LATITUDE, EXIF_TAG_GPS_LATITUDE_REF, order, tags.latitude);
    readAngle(d, EXIF_TAG_GPS_LONGITUDE, EXIF_TAG_GPS_LONGITUDE_REF, order, tags.longitude);
    tags.altitudeRef = static_cast<unsigned char>(firstByte(entryIn(d, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE_REF)));
    tags.altitudeKnown = rationalAt(entryIn(d, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE), 0, order, tags.altitude);
    rationalAt(entryIn(d, EXIF_IFD_GPS, EXIF_TAG_GPS_DOP), 0, order, tags.dop);
    return ExifStatus::Ok;
}

ExifFileStatus readExifHead(const QString& path, QByteArray& head, std::size_t firstRead)
{
    head.clear();
    if (path.isEmpty())
        return ExifFileStatus::Missing;
    const QByteArray name = QFile::encodeName(path);
    struct stat st;
    if (::stat(name.constData(), &st) != 0)
        return ExifFileStatus::Missing;
    // A directory opens for reading on Linux; a FIFO would block the open
    // until something writes to it. Neither is a photo.
    if (!S_ISREG(st.st_mode))
        return ExifFileStatus::NotOpened;
    const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return ExifFileStatus::NotOpened;
    const FdCloser closer{fd};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size < 0)
        return ExifFileStatus::ReadFailed;

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
