#include "GpsJpeg.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QPainter>

#include <libexif/exif-data.h>
#include <libexif/exif-utils.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace GpsJpeg {

namespace {

QByteArray jpegBytes(int seed)
{
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(QColor::fromHsv((seed * 37) % 360, 120, 200));
    QPainter(&image).fillRect(8 + seed % 20, 8, 16, 16, Qt::darkGreen);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 85);
    return bytes;
}

ExifEntry* addEntry(ExifData* data, ExifIfd ifd, int tag, ExifFormat format, unsigned long components)
{
    ExifEntry* e = exif_entry_new();
    e->tag = static_cast<ExifTag>(tag);
    e->format = format;
    e->components = components;
    e->size = exif_format_get_size(format) * components;
    e->data = static_cast<unsigned char*>(std::calloc(1, e->size));
    exif_content_add_entry(data->ifd[ifd], e);
    exif_entry_unref(e);
    return e;
}

void setRationals(ExifData* data, ExifEntry* e, const double* values, int count)
{
    for (int i = 0; i < count; ++i) {
        ExifRational r;
        r.denominator = 10000;
        r.numerator = static_cast<ExifLong>(std::llround(values[i] * 10000));
        exif_set_rational(e->data + i * 8, exif_data_get_byte_order(data), r);
    }
}

void setDms(ExifData* data, int tag, double value)
{
    const double a = std::fabs(value);
    const double d = std::floor(a);
    const double m = std::floor((a - d) * 60);
    const double s = ((a - d) * 60 - m) * 60;
    const double dms[3] = {d, m, s};
    setRationals(data, addEntry(data, EXIF_IFD_GPS, tag, EXIF_FORMAT_RATIONAL, 3), dms, 3);
}

void setAscii(ExifData* data, int tag, const char* text)
{
    ExifEntry* e = addEntry(data, EXIF_IFD_GPS, tag, EXIF_FORMAT_ASCII, std::strlen(text) + 1);
    std::memcpy(e->data, text, std::strlen(text) + 1);
}

bool writeWithExif(const QString& path, ExifData* data, int seed)
{
    unsigned char* exif = nullptr;
    unsigned int size = 0;
    exif_data_save_data(data, &exif, &size);
    QByteArray jpeg = jpegBytes(seed);
    if (!exif || size + 2 > 0xFFFF || jpeg.size() < 2)
        return false;
    // APP1 right after the start-of-image marker; the block starts with "Exif\0\0".
    QByteArray app1;
    app1.append(char(0xFF)).append(char(0xE1));
    app1.append(char(((size + 2) >> 8) & 0xFF)).append(char((size + 2) & 0xFF));
    app1.append(reinterpret_cast<const char*>(exif), int(size));
    std::free(exif);
    jpeg.insert(2, app1);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(jpeg) == jpeg.size();
}

ExifData* newExif()
{
    ExifData* data = exif_data_new();
    exif_data_set_byte_order(data, EXIF_BYTE_ORDER_INTEL);
    exif_data_set_data_type(data, EXIF_DATA_TYPE_COMPRESSED);
    // Something outside the GPS block, as every camera writes.
    ExifEntry* e = addEntry(data, EXIF_IFD_0, EXIF_TAG_MAKE, EXIF_FORMAT_ASCII, 5);
    std::memcpy(e->data, "Test", 5);
    return data;
}

} // namespace

bool writeWithGps(const QString& path, const Gps& gps, int seed)
{
    ExifData* data = newExif();
    setAscii(data, EXIF_TAG_GPS_LATITUDE_REF, gps.latitude < 0 ? "S" : "N");
    setDms(data, EXIF_TAG_GPS_LATITUDE, gps.latitude);
    setAscii(data, EXIF_TAG_GPS_LONGITUDE_REF, gps.longitude < 0 ? "W" : "E");
    setDms(data, EXIF_TAG_GPS_LONGITUDE, gps.longitude);
    ExifEntry* ref = addEntry(data, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE_REF, EXIF_FORMAT_BYTE, 1);
    ref->data[0] = gps.altitude < 0 ? 1 : 0;
    const double alt = std::fabs(gps.altitude);
    setRationals(data, addEntry(data, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE, EXIF_FORMAT_RATIONAL, 1), &alt, 1);
    const bool ok = writeWithExif(path, data, seed);
    exif_data_unref(data);
    return ok;
}

bool writeWithoutGps(const QString& path, int seed)
{
    ExifData* data = newExif();
    const bool ok = writeWithExif(path, data, seed);
    exif_data_unref(data);
    return ok;
}

bool writePlain(const QString& path, int seed)
{
    const QByteArray jpeg = jpegBytes(seed);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(jpeg) == jpeg.size();
}

} // namespace GpsJpeg
