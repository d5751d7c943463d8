#include <make_drone_photos/ExifWriter.h>

#include <libexif/exif-data.h>
#include <libexif/exif-utils.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Zyn {
namespace Tools {

namespace {

struct ExifDataDeleter
{
    void operator()(ExifData* d) const { exif_data_unref(d); }
};

class EntryWriter
{
public:
    EntryWriter(ExifData* data, ExifByteOrder order)
        : m_data(data)
        , m_order(order)
        , m_mem(exif_mem_new_default())
    {
    }
    ~EntryWriter() { exif_mem_unref(m_mem); }
    EntryWriter(const EntryWriter&) = delete;
    EntryWriter& operator=(const EntryWriter&) = delete;

    unsigned char* add(ExifIfd ifd, ExifTag tag, ExifFormat format, unsigned long components)
    {
        ExifEntry* e = exif_entry_new_mem(m_mem);
        const std::size_t size = exif_format_get_size(format) * components;
        e->data = static_cast<unsigned char*>(exif_mem_alloc(m_mem, size));
        e->size = static_cast<unsigned int>(size);
        e->tag = tag;
        e->format = format;
        e->components = components;
        exif_content_add_entry(m_data->ifd[ifd], e);
        exif_entry_unref(e); // the content holds it now
        return e->data;
    }

    void ascii(ExifIfd ifd, ExifTag tag, const QByteArray& text)
    {
        unsigned char* d = add(ifd, tag, EXIF_FORMAT_ASCII, text.size() + 1);
        std::memcpy(d, text.constData(), std::size_t(text.size()) + 1);
    }
    void shortValue(ExifIfd ifd, ExifTag tag, ExifShort v)
    {
        exif_set_short(add(ifd, tag, EXIF_FORMAT_SHORT, 1), m_order, v);
    }
    void longValue(ExifIfd ifd, ExifTag tag, ExifLong v)
    {
        exif_set_long(add(ifd, tag, EXIF_FORMAT_LONG, 1), m_order, v);
    }
    void rationals(ExifIfd ifd, ExifTag tag, std::initializer_list<ExifRational> values)
    {
        unsigned char* d = add(ifd, tag, EXIF_FORMAT_RATIONAL, values.size());
        for (const ExifRational& r : values) {
            exif_set_rational(d, m_order, r);
            d += 8;
        }
    }
    void bytes(ExifIfd ifd, ExifTag tag, ExifFormat format, const QByteArray& raw)
    {
        std::memcpy(add(ifd, tag, format, raw.size()), raw.constData(), std::size_t(raw.size()));
    }

private:
    ExifData* m_data;
    ExifByteOrder m_order;
    ExifMem* m_mem;
};

ExifRational whole(ExifLong v)
{
    return {v, 1};
}

void writeAngle(EntryWriter& w, ExifTag refTag, ExifTag valueTag, const DmsAngle& a)
{
    w.ascii(EXIF_IFD_GPS, refTag, QByteArray(1, a.ref));
    w.rationals(EXIF_IFD_GPS, valueTag, {whole(a.degrees), whole(a.minutes), {a.microSeconds, 1000000}});
}

} // namespace

QByteArray buildExifSegment(const PhotoExif& exif)
{
    std::unique_ptr<ExifData, ExifDataDeleter> data(exif_data_new());
    if (!data)
        return {};
    const ExifByteOrder order = exif.bigEndian ? EXIF_BYTE_ORDER_MOTOROLA : EXIF_BYTE_ORDER_INTEL;
    exif_data_set_byte_order(data.get(), order);
    EntryWriter w(data.get(), order);

    const QByteArray stamp = exif.taken.toString(QStringLiteral("yyyy:MM:dd HH:mm:ss")).toLatin1();
    w.ascii(EXIF_IFD_0, EXIF_TAG_MAKE, exif.make.toLatin1());
    w.ascii(EXIF_IFD_0, EXIF_TAG_MODEL, exif.model.toLatin1());
    w.shortValue(EXIF_IFD_0, EXIF_TAG_ORIENTATION, ExifShort(exif.orientation));
    w.rationals(EXIF_IFD_0, EXIF_TAG_X_RESOLUTION, {whole(72)});
    w.rationals(EXIF_IFD_0, EXIF_TAG_Y_RESOLUTION, {whole(72)});
    w.shortValue(EXIF_IFD_0, EXIF_TAG_RESOLUTION_UNIT, 2);
    w.ascii(EXIF_IFD_0, EXIF_TAG_SOFTWARE, QByteArrayLiteral("make_drone_photos"));
    w.ascii(EXIF_IFD_0, EXIF_TAG_DATE_TIME, stamp);
    w.shortValue(EXIF_IFD_0, EXIF_TAG_YCBCR_POSITIONING, 1);

    w.bytes(EXIF_IFD_EXIF, EXIF_TAG_EXIF_VERSION, EXIF_FORMAT_UNDEFINED, QByteArrayLiteral("0230"));
    w.bytes(EXIF_IFD_EXIF, EXIF_TAG_COMPONENTS_CONFIGURATION, EXIF_FORMAT_UNDEFINED, QByteArray("\x01\x02\x03\x00", 4));
    w.bytes(EXIF_IFD_EXIF, EXIF_TAG_FLASH_PIX_VERSION, EXIF_FORMAT_UNDEFINED, QByteArrayLiteral("0100"));
    w.rationals(EXIF_IFD_EXIF, EXIF_TAG_EXPOSURE_TIME, {{1, 1000}});
    w.rationals(EXIF_IFD_EXIF, EXIF_TAG_FNUMBER, {{56, 10}});
    w.shortValue(EXIF_IFD_EXIF, EXIF_TAG_ISO_SPEED_RATINGS, 100);
    w.ascii(EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, stamp);
    w.ascii(EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED, stamp);
    w.rationals(EXIF_IFD_EXIF, EXIF_TAG_FOCAL_LENGTH, {{88, 10}});
    w.shortValue(EXIF_IFD_EXIF, EXIF_TAG_FOCAL_LENGTH_IN_35MM_FILM, 24);
    // The flight plan's 1-inch sensor, 13.2 x 8.8 mm: 8.8 mm is 24 mm in 35 mm terms.
    w.rationals(EXIF_IFD_EXIF, EXIF_TAG_FOCAL_PLANE_X_RESOLUTION, {{ExifLong(exif.width) * 100, 132}});
    w.rationals(EXIF_IFD_EXIF, EXIF_TAG_FOCAL_PLANE_Y_RESOLUTION, {{ExifLong(exif.height) * 100, 88}});
    w.shortValue(EXIF_IFD_EXIF, EXIF_TAG_FOCAL_PLANE_RESOLUTION_UNIT, 3);
    w.shortValue(EXIF_IFD_EXIF, EXIF_TAG_COLOR_SPACE, 1);
    w.longValue(EXIF_IFD_EXIF, EXIF_TAG_PIXEL_X_DIMENSION, ExifLong(exif.width));
    w.longValue(EXIF_IFD_EXIF, EXIF_TAG_PIXEL_Y_DIMENSION, ExifLong(exif.height));

    if (exif.gps != GpsKind::None) {
        w.bytes(EXIF_IFD_GPS, static_cast<ExifTag>(EXIF_TAG_GPS_VERSION_ID), EXIF_FORMAT_BYTE, QByteArray("\x02\x03\x00\x00", 4));
        if (exif.gps == GpsKind::AllZero) {
            writeAngle(w, static_cast<ExifTag>(EXIF_TAG_GPS_LATITUDE_REF), static_cast<ExifTag>(EXIF_TAG_GPS_LATITUDE), DmsAngle{0, 0, 0, 'N'});
            writeAngle(w, static_cast<ExifTag>(EXIF_TAG_GPS_LONGITUDE_REF), static_cast<ExifTag>(EXIF_TAG_GPS_LONGITUDE), DmsAngle{0, 0, 0, 'E'});
            w.bytes(EXIF_IFD_GPS, static_cast<ExifTag>(EXIF_TAG_GPS_ALTITUDE_REF), EXIF_FORMAT_BYTE, QByteArray(1, '\0'));
            w.rationals(EXIF_IFD_GPS, static_cast<ExifTag>(EXIF_TAG_GPS_ALTITUDE), {whole(0)});
        } else {
            writeAngle(w, static_cast<ExifTag>(EXIF_TAG_GPS_LATITUDE_REF), static_cast<ExifTag>(EXIF_TAG_GPS_LATITUDE), exif.lat);
            writeAngle(w, static_cast<ExifTag>(EXIF_TAG_GPS_LONGITUDE_REF), static_cast<ExifTag>(EXIF_TAG_GPS_LONGITUDE), exif.lon);
            w.bytes(EXIF_IFD_GPS, static_cast<ExifTag>(EXIF_TAG_GPS_ALTITUDE_REF), EXIF_FORMAT_BYTE,
                    QByteArray(1, exif.altitude < 0 ? '\1' : '\0'));
            w.rationals(EXIF_IFD_GPS, static_cast<ExifTag>(EXIF_TAG_GPS_ALTITUDE),
                        {{ExifLong(std::llround(std::fabs(exif.altitude) * 1000.0)), 1000}});
            if (exif.dop > 0)
                w.rationals(EXIF_IFD_GPS, static_cast<ExifTag>(EXIF_TAG_GPS_DOP), {{ExifLong(std::llround(exif.dop * 100.0)), 100}});
        }
    }

    if (!exif.thumbnailJpeg.isEmpty()) {
        w.shortValue(EXIF_IFD_1, EXIF_TAG_COMPRESSION, 6);
        w.rationals(EXIF_IFD_1, EXIF_TAG_X_RESOLUTION, {whole(72)});
        w.rationals(EXIF_IFD_1, EXIF_TAG_Y_RESOLUTION, {whole(72)});
        w.shortValue(EXIF_IFD_1, EXIF_TAG_RESOLUTION_UNIT, 2);
        // The library writes the thumbnail's offset and length tags itself
        // and frees this buffer with the data.
        data->size = static_cast<unsigned int>(exif.thumbnailJpeg.size());
        data->data = static_cast<unsigned char*>(std::malloc(data->size));
        if (!data->data)
            return {};
        std::memcpy(data->data, exif.thumbnailJpeg.constData(), data->size);
    }

    unsigned char* raw = nullptr;
    unsigned int rawSize = 0;
    exif_data_save_data(data.get(), &raw, &rawSize);
    std::unique_ptr<unsigned char, decltype(&std::free)> rawOwner(raw, &std::free);
    if (!raw || rawSize == 0 || rawSize + 2 > 0xFFFF)
        return {};

    QByteArray segment;
    segment.reserve(int(rawSize) + 4);
    segment.append(char(0xFF)).append(char(0xE1));
    segment.append(char((rawSize + 2) >> 8)).append(char((rawSize + 2) & 0xFF));
    segment.append(reinterpret_cast<const char*>(raw), int(rawSize));
    return segment;
}

QByteArray spliceSegment(const QByteArray& jpeg, const QByteArray& segment)
{
    if (jpeg.size() < 4 || uchar(jpeg[0]) != 0xFF || uchar(jpeg[1]) != 0xD8)
        return {};
    QByteArray out;
    out.reserve(jpeg.size() + segment.size());
    out.append(jpeg.constData(), 2).append(segment).append(jpeg.constData() + 2, jpeg.size() - 2);
    return out;
}

} // namespace Tools
} // namespace Zyn
