#include <create/PhotoGpsReader.h>

#include <QFile>
#include <QString>

#include <boost/filesystem/operations.hpp>
#include <boost/system/error_code.hpp>

#include <libexif/exif-data.h>
#include <libexif/exif-utils.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace Zyn {
namespace AppCreate {

namespace {

const unsigned char kExifHeader[6] = {'E', 'x', 'i', 'f', 0, 0};

struct ExifDataDeleter
{
    void operator()(ExifData* d) const { exif_data_unref(d); }
};

struct FileCloser
{
    void operator()(std::FILE* f) const { std::fclose(f); }
};

unsigned readBigEndian16(const unsigned char* p)
{
    return (unsigned(p[0]) << 8) | unsigned(p[1]);
}

// The first read of a photo: the EXIF segment of a camera's JPEG, thumbnail
// included, fits in it (the segment is at most 64 KiB by the JPEG format,
// so only files with several leading segments need more).
constexpr std::size_t kFirstRead = 64 * 1024;

// Finds the payload of the EXIF APP1 segment ("Exif\0\0" + TIFF data) by
// walking the marker segments that precede the image data. Walking the
// segments is cheaper than a byte scan and tells a cut file from one that has
// no EXIF at all.
int locateExifSegment(const unsigned char* data, std::size_t size,
                      const unsigned char*& payload, std::size_t& payloadSize)
{
    if (!data || size < 4 || data[0] != 0xFF || data[1] != 0xD8)
        return ExifParseNoJpeg;

    std::size_t pos = 2;
    for (;;) {
        if (pos >= size)
            return ExifParseCorrupt;
        if (data[pos] != 0xFF)
            return ExifParseCorrupt; // garbage where a marker must be
        while (pos < size && data[pos] == 0xFF)
            ++pos; // fill bytes
        if (pos >= size)
            return ExifParseCorrupt;

        const unsigned char marker = data[pos];
        ++pos;
        if (marker == 0xDA || marker == 0xD9)
            return ExifParseNoExif; // image data or end reached without EXIF
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7))
            continue; // markers without a length field

        if (pos + 2 > size)
            return ExifParseCorrupt;
        const std::size_t length = readBigEndian16(data + pos);
        if (length < 2)
            return ExifParseCorrupt;
        if (pos + length > size)
            return ExifParseCorrupt;

        if (marker == 0xE1 && length >= 2 + sizeof kExifHeader
            && std::memcmp(data + pos + 2, kExifHeader, sizeof kExifHeader) == 0) {
            payload = data + pos + 2;
            payloadSize = length - 2;
            return ExifParseSuccess;
        }
        pos += length;
    }
}

// The EXIF library accepts a broken TIFF header without complaint, so the
// header is checked here to keep "parsed" meaning something.
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

double rationalAt(const ExifEntry* e, unsigned index, ExifByteOrder order)
{
    const ExifRational r = exif_get_rational(e->data + 8 * index, order);
    // A zero denominator means "unknown"; treat it as an absent value.
    return r.denominator ? double(r.numerator) / double(r.denominator) : 0.0;
}

const ExifEntry* rationalEntry(ExifContent* ifd, ExifTag tag, unsigned components)
{
    const ExifEntry* e = exif_content_get_entry(ifd, tag);
    if (!e || e->format != EXIF_FORMAT_RATIONAL || e->components < components
        || !e->data || e->size < 8 * components)
        return nullptr;
    return e;
}

char asciiEntry(ExifContent* ifd, ExifTag tag)
{
    const ExifEntry* e = exif_content_get_entry(ifd, tag);
    if (!e || !e->data || e->size < 1)
        return '\0';
    return char(e->data[0]);
}

void readComponents(ExifContent* gps, ExifTag valueTag, ExifTag refTag, ExifByteOrder order,
                    ExifGpsComponents& out)
{
    if (const ExifEntry* e = rationalEntry(gps, valueTag, 3)) {
        out.degrees = rationalAt(e, 0, order);
        out.minutes = rationalAt(e, 1, order);
        out.seconds = rationalAt(e, 2, order);
    }
    out.direction = asciiEntry(gps, refTag);
}

double toDecimal(const ExifGpsComponents& c, char negativeRef)
{
    const double v = c.degrees + c.minutes / 60.0 + c.seconds / 3600.0;
    return c.direction == negativeRef ? -v : v;
}

std::string encodedPath(const std::wstring& path)
{
    // Same encoding Qt uses for file names, so a path that came from a
    // QString names the same file here.
    return QFile::encodeName(QString::fromStdWString(path)).toStdString();
}

} // namespace

int parseExifGps(const unsigned char* data, std::size_t size, ExifGpsRecord& out)
{
    out = ExifGpsRecord();

    const unsigned char* payload = nullptr;
    std::size_t payloadSize = 0;
    const int located = locateExifSegment(data, size, payload, payloadSize);
    if (located != ExifParseSuccess)
        return located;
    if (!tiffHeaderValid(payload, payloadSize))
        return ExifParseCorrupt;

    std::unique_ptr<ExifData, ExifDataDeleter> exif(
        exif_data_new_from_data(payload, static_cast<unsigned int>(payloadSize)));
    if (!exif)
        return ExifParseNoMemory;

    const ExifByteOrder order = exif_data_get_byte_order(exif.get());
    ExifContent* gps = exif->ifd[EXIF_IFD_GPS];
    if (!gps)
        return ExifParseSuccess;

    readComponents(gps, static_cast<ExifTag>(EXIF_TAG_GPS_LATITUDE), static_cast<ExifTag>(EXIF_TAG_GPS_LATITUDE_REF), order, out.LatComponents);
    readComponents(gps, static_cast<ExifTag>(EXIF_TAG_GPS_LONGITUDE), static_cast<ExifTag>(EXIF_TAG_GPS_LONGITUDE_REF), order, out.LonComponents);
    out.Latitude = toDecimal(out.LatComponents, 'S');
    out.Longitude = toDecimal(out.LonComponents, 'W');

    if (const ExifEntry* e = exif_content_get_entry(gps, static_cast<ExifTag>(EXIF_TAG_GPS_ALTITUDE_REF))) {
        if (e->data && e->size >= 1)
            out.AltitudeRef = char(e->data[0]);
    }
    if (const ExifEntry* e = rationalEntry(gps, static_cast<ExifTag>(EXIF_TAG_GPS_ALTITUDE), 1)) {
        out.Altitude = rationalAt(e, 0, order);
        if (out.AltitudeRef == 1)
            out.Altitude = -out.Altitude;
    }
    if (const ExifEntry* e = rationalEntry(gps, static_cast<ExifTag>(EXIF_TAG_GPS_DOP), 1))
        out.DOP = rationalAt(e, 0, order);

    return ExifParseSuccess;
}

bool readExifFromFile(const std::wstring& path, ExifGpsRecord& out)
{
    if (path.empty())
        return false;

    const std::string name = encodedPath(path);
    boost::system::error_code ec;
    const boost::filesystem::file_status status = boost::filesystem::status(name, ec);
    if (ec || status.type() == boost::filesystem::status_error
        || status.type() == boost::filesystem::file_not_found)
        return false;

    // A directory opens for reading on Linux and seeks to a meaningless size;
    // it is no more a readable photo than a file we may not open.
    // So is anything but a regular file: opening a FIFO named like a photo
    // would block until something writes to it.
    if (status.type() != boost::filesystem::regular_file) {
        std::fputs("Can't open file.\n", stdout);
        return false;
    }

    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(name.c_str(), "rb"));
    if (!file) {
        std::fputs("Can't open file.\n", stdout);
        return false;
    }
    // The whole file goes into our buffer in one read; stdio's own buffer
    // would only add a copy.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);

    long size = -1;
    if (std::fseek(file.get(), 0, SEEK_END) == 0)
        size = std::ftell(file.get());
    if (size < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        std::fputs("Can't read file.\n", stdout);
        return false;
    }

    // Only the start of the file, up to the end of its EXIF segment: the
    // segment sits before the image data, so most of a photo is never read.
    // A first read of 64 KiB holds it in nearly every photo; a longer
    // segment (or a broken one) reads on, at most to the end of the file.
    const std::size_t total = std::size_t(size);
    std::size_t want = std::min<std::size_t>(total, kFirstRead);
    std::unique_ptr<unsigned char[]> buffer;
    std::size_t have = 0;
    for (;;) {
        std::unique_ptr<unsigned char[]> grown(new (std::nothrow) unsigned char[want > 0 ? want : 1]);
        if (!grown) {
            std::fputs("Can't read file.\n", stdout);
            return false;
        }
        if (have > 0)
            std::memcpy(grown.get(), buffer.get(), have);
        buffer = std::move(grown);
        const std::size_t got = want > have ? std::fread(buffer.get() + have, 1, want - have, file.get()) : 0;
        if (got != want - have) {
            std::fputs("Can't read file.\n", stdout);
            return false;
        }
        have = want;
        const unsigned char* payload = nullptr;
        std::size_t payloadSize = 0;
        if (locateExifSegment(buffer.get(), have, payload, payloadSize) != ExifParseCorrupt || have == total)
            break;
        want = std::min<std::size_t>(total, have * 4);
    }
    file.reset();

    return parseExifGps(buffer.get(), have, out) == ExifParseSuccess;
}

bool readPhotoGpsPosition(const std::wstring& path, double& lon, double& lat, double& alt)
{
    ExifGpsRecord record;
    if (!readExifFromFile(path, record))
        return false;

    // A photo without a GPS block parses with every field zero; one really
    // taken at 0 N 0 E at sea level without a DOP is treated the same.
    if (record.Latitude == 0.0 && record.Longitude == 0.0 && record.Altitude == 0.0
        && record.AltitudeRef == 0 && record.DOP == 0.0)
        return false;

    lat = record.LatComponents.degrees + record.LatComponents.minutes / 60.0
          + record.LatComponents.seconds / 3600.0;
    if (record.LatComponents.direction == 'S')
        lat = -lat;
    lon = record.LonComponents.degrees + record.LonComponents.minutes / 60.0
          + record.LonComponents.seconds / 3600.0;
    if (record.LonComponents.direction == 'W')
        lon = -lon;
    alt = record.Altitude;
    return true;
}

} // namespace AppCreate
} // namespace Zyn
