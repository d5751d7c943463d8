#include "TestPhotos.h"

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QPainter>

#include <make_drone_photos/ExifWriter.h>

namespace TestPhotos {

QByteArray encodeJpeg(const QImage& image, int quality)
{
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", quality);
    return jpeg;
}

namespace {

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return !bytes.isEmpty() && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// The drone tool's EXIF writer puts the segment where cameras do.
bool writeWithExif(const QString& path, const QImage& image, const Zyn::Tools::PhotoExif& exif, int quality = 85)
{
    return writeFile(path, Zyn::Tools::spliceSegment(encodeJpeg(image, quality), Zyn::Tools::buildExifSegment(exif)));
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

QImage makePicture(const QSize& size, int seed, const QColor& tint)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    const int w = size.width();
    const int h = size.height();
    QLinearGradient sky(0, 0, 0, h);
    sky.setColorAt(0, QColor(90 + seed % 60, 140, 210));
    sky.setColorAt(1, QColor(80, 120 + seed % 70, 60));
    painter.fillRect(image.rect(), sky);
    // Fields and roofs seen from above.
    for (int i = 0; i < 12; ++i) {
        const int s = seed * 31 + i * 17;
        painter.fillRect(QRect((s * 37) % std::max(1, w), (s * 53) % std::max(1, h), w / 6 + s % 40, h / 7 + s % 30),
                         QColor((s * 7) % 256, (s * 13) % 256, (s * 29) % 256));
    }
    if (tint.isValid())
        painter.fillRect(image.rect(), tint);
    painter.end();
    return image;
}

bool writeJpeg(const QString& path, const QImage& image, const QImage& thumbnail, int quality)
{
    if (thumbnail.isNull())
        return writeFile(path, encodeJpeg(image, quality));
    Zyn::Tools::PhotoExif exif;
    exif.thumbnailJpeg = encodeJpeg(thumbnail, 80);
    return writeWithExif(path, image, exif, quality);
}

bool writePhoto(const QString& path, const QSize& size, int seed, bool withExifThumbnail)
{
    const QImage picture = makePicture(size, seed);
    const QImage thumbnail = picture.scaled(QSize(160, 120), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return writeJpeg(path, picture, withExifThumbnail ? thumbnail : QImage());
}

bool writeCorrupt(const QString& path)
{
    // A JPEG start-of-image marker followed by garbage.
    return writeFile(path, QByteArray("\xFF\xD8\xFF\xE0 this is not really a photo") + QByteArray(200, 'x'));
}

bool writeWithGps(const QString& path, const Gps& gps, int seed)
{
    Zyn::Tools::PhotoExif exif = cameraExif();
    exif.gps = Zyn::Tools::GpsKind::Position;
    exif.lat = Zyn::Tools::DmsAngle::fromDecimal(gps.latitude, 'N', 'S');
    exif.lon = Zyn::Tools::DmsAngle::fromDecimal(gps.longitude, 'E', 'W');
    exif.altitude = gps.altitude;
    return writeWithExif(path, makePicture(QSize(64, 48), seed), exif);
}

bool writeWithoutGps(const QString& path, int seed)
{
    return writeWithExif(path, makePicture(QSize(64, 48), seed), cameraExif());
}

bool writePlain(const QString& path, int seed)
{
    return writeFile(path, encodeJpeg(makePicture(QSize(64, 48), seed), 85));
}

} // namespace TestPhotos
