#include "GpsJpeg.h"

#include <make_drone_photos/ExifWriter.h>

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QPainter>

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

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return !bytes.isEmpty() && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool writeWithExif(const QString& path, const Zyn::Tools::PhotoExif& exif, int seed)
{
    return writeFile(path, Zyn::Tools::spliceSegment(jpegBytes(seed), Zyn::Tools::buildExifSegment(exif)));
}

Zyn::Tools::PhotoExif cameraExif()
{
    Zyn::Tools::PhotoExif exif;
    exif.make = QStringLiteral("Test"); // something outside the GPS block, as every camera writes
    exif.width = 64;
    exif.height = 48;
    return exif;
}

} // namespace

bool writeWithGps(const QString& path, const Gps& gps, int seed)
{
    Zyn::Tools::PhotoExif exif = cameraExif();
    exif.gps = Zyn::Tools::GpsKind::Position;
    exif.lat = Zyn::Tools::DmsAngle::fromDecimal(gps.latitude, 'N', 'S');
    exif.lon = Zyn::Tools::DmsAngle::fromDecimal(gps.longitude, 'E', 'W');
    exif.altitude = gps.altitude;
    return writeWithExif(path, exif, seed);
}

bool writeWithoutGps(const QString& path, int seed)
{
    return writeWithExif(path, cameraExif(), seed);
}

bool writePlain(const QString& path, int seed)
{
    return writeFile(path, jpegBytes(seed));
}

} // namespace GpsJpeg
