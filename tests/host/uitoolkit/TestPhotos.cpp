#include "TestPhotos.h"

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QPainter>

#include <make_drone_photos/ExifWriter.h>

namespace TestPhotos {

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
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "JPEG", quality))
        return false;
    if (!thumbnail.isNull()) {
        // The drone tool's EXIF writer embeds the thumbnail as cameras do.
        Zyn::Tools::PhotoExif exif;
        QBuffer thumbBuffer(&exif.thumbnailJpeg);
        thumbBuffer.open(QIODevice::WriteOnly);
        thumbnail.save(&thumbBuffer, "JPEG", 80);
        jpeg = Zyn::Tools::spliceSegment(jpeg, Zyn::Tools::buildExifSegment(exif));
        if (jpeg.isEmpty())
            return false;
    }
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(jpeg) == jpeg.size();
}

bool writePhoto(const QString& path, const QSize& size, int seed, bool withExifThumbnail)
{
    const QImage picture = makePicture(size, seed);
    QImage thumbnail;
    if (withExifThumbnail)
        thumbnail = picture.scaled(QSize(160, 120), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return writeJpeg(path, picture, thumbnail);
}

bool writeCorrupt(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // A JPEG start-of-image marker followed by garbage.
    static const char start[] = "\xFF\xD8\xFF\xE0 this is not really a photo";
    QByteArray bytes(start, int(sizeof(start) - 1));
    bytes.append(QByteArray(200, 'x'));
    return file.write(bytes) == bytes.size();
}

} // namespace TestPhotos
