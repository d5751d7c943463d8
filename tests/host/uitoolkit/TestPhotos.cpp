#include "TestPhotos.h"

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QPainter>

#include <libexif/exif-data.h>

#include <cstdlib>
#include <cstring>

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

namespace {

QByteArray encodeJpeg(const QImage& image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "JPEG", quality))
        return QByteArray();
    return bytes;
}

// The EXIF block (starting "Exif\0\0") carrying thumbnailJpeg in IFD 1.
QByteArray exifBlockWithThumbnail(const QByteArray& thumbnailJpeg)
{
    ExifData* data = exif_data_new();
    if (!data)
        return QByteArray();
    exif_data_set_byte_order(data, EXIF_BYTE_ORDER_INTEL);
    exif_data_set_data_type(data, EXIF_DATA_TYPE_COMPRESSED);
    // An IFD 0 entry, as every camera writes one.
    ExifEntry* entry = exif_entry_new();
    exif_content_add_entry(data->ifd[EXIF_IFD_0], entry);
    exif_entry_initialize(entry, EXIF_TAG_X_RESOLUTION);
    exif_entry_unref(entry);

    // libexif frees data->data with free().
    data->data = static_cast<unsigned char*>(std::malloc(size_t(thumbnailJpeg.size())));
    std::memcpy(data->data, thumbnailJpeg.constData(), size_t(thumbnailJpeg.size()));
    data->size = static_cast<unsigned int>(thumbnailJpeg.size());

    unsigned char* out = nullptr;
    unsigned int length = 0;
    exif_data_save_data(data, &out, &length);
    QByteArray block;
    if (out && length > 0)
        block = QByteArray(reinterpret_cast<const char*>(out), int(length));
    std::free(out);
    exif_data_unref(data);
    return block;
}

} // namespace

bool writeJpeg(const QString& path, const QImage& image, const QImage& thumbnail, int quality)
{
    QByteArray jpeg = encodeJpeg(image, quality);
    if (jpeg.size() < 4)
        return false;
    if (!thumbnail.isNull()) {
        const QByteArray exif = exifBlockWithThumbnail(encodeJpeg(thumbnail, 80));
        if (exif.isEmpty() || exif.size() + 2 > 0xFFFF)
            return false;
        // APP1 right after the start-of-image marker; its length counts itself.
        QByteArray segment;
        segment.append(char(0xFF)).append(char(0xE1));
        const int length = exif.size() + 2;
        segment.append(char((length >> 8) & 0xFF)).append(char(length & 0xFF));
        segment.append(exif);
        jpeg.insert(2, segment);
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(jpeg) == jpeg.size();
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
