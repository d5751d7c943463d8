#include <utilities/Utilities.h>

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <libexif/exif-data.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

using Zyn::Utilities::loadImage;
using Zyn::Utilities::loadThumbnail;

namespace {

QByteArray encodeJpeg(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 90);
    return bytes;
}

QImage solid(int width, int height, Qt::GlobalColor color)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

// An EXIF block (with its "Exif" header) holding an orientation and,
// when given, an embedded thumbnail, made with libexif.
QByteArray exifBlock(const QByteArray& thumbnail, int orientation)
{
    ExifData* data = exif_data_new();
    exif_data_set_byte_order(data, EXIF_BYTE_ORDER_INTEL);
    exif_data_fix(data);
    if (orientation > 0) {
        ExifEntry* entry = exif_entry_new();
        exif_content_add_entry(data->ifd[EXIF_IFD_0], entry);
        exif_entry_initialize(entry, EXIF_TAG_ORIENTATION);
        exif_set_short(entry->data, EXIF_BYTE_ORDER_INTEL, ExifShort(orientation));
        exif_entry_unref(entry);
    }
    if (!thumbnail.isEmpty()) {
        data->data = static_cast<unsigned char*>(malloc(size_t(thumbnail.size())));
        memcpy(data->data, thumbnail.constData(), size_t(thumbnail.size()));
        data->size = unsigned(thumbnail.size());
    }
    unsigned char* out = nullptr;
    unsigned int size = 0;
    exif_data_save_data(data, &out, &size);
    QByteArray block(reinterpret_cast<const char*>(out), int(size));
    free(out);
    exif_data_unref(data);
    return block;
}

// A JPEG of the main image with an APP1 EXIF segment right after SOI.
QByteArray jpegWithExif(const QImage& main, const QByteArray& thumbnail, int orientation)
{
    const QByteArray jpeg = encodeJpeg(main);
    const QByteArray exif = exifBlock(thumbnail, orientation);
    QByteArray segment("\xFF\xE1", 2);
    const int length = exif.size() + 2;
    segment.append(char((length >> 8) & 0xFF));
    segment.append(char(length & 0xFF));
    segment.append(exif);
    return jpeg.left(2) + segment + jpeg.mid(2);
}

bool isMostly(const QImage& image, Qt::GlobalColor color)
{
    const QColor expected(color);
    const QColor centre = image.pixelColor(image.width() / 2, image.height() / 2);
    return qAbs(centre.red() - expected.red()) < 40 && qAbs(centre.green() - expected.green()) < 40
           && qAbs(centre.blue() - expected.blue()) < 40;
}

} // namespace

class TestImages : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    QString write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return {};
        return path;
    }

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void embeddedThumbnailIsUsed()
    {
        const QString path = write("thumb.jpg", jpegWithExif(solid(800, 600, Qt::red),
                                                             encodeJpeg(solid(200, 150, Qt::blue)), 1));
        const QImage thumb = loadThumbnail(path, QSize(256, 256));
        QVERIFY(!thumb.isNull());
        // A decode of the photo would be red and 256 x 192.
        QCOMPARE(thumb.size(), QSize(200, 150));
        QVERIFY(isMostly(thumb, Qt::blue));
        // The full image is still the photo.
        const QImage full = loadImage(path);
        QCOMPARE(full.size(), QSize(800, 600));
        QVERIFY(isMostly(full, Qt::red));
    }

    void largeEmbeddedThumbnailIsFitted()
    {
        const QString path = write("bigthumb.jpg", jpegWithExif(solid(1600, 1200, Qt::red),
                                                                encodeJpeg(solid(320, 240, Qt::blue)), 0));
        const QImage thumb = loadThumbnail(path, QSize(160, 160));
        QCOMPARE(thumb.size(), QSize(160, 120));
        QVERIFY(isMostly(thumb, Qt::blue));
    }

    void tooSmallEmbeddedThumbnailFallsBackToTheImage()
    {
        const QString path = write("tiny.jpg", jpegWithExif(solid(800, 600, Qt::red),
                                                            encodeJpeg(solid(40, 30, Qt::blue)), 0));
        const QImage thumb = loadThumbnail(path, QSize(256, 256));
        QCOMPARE(thumb.size(), QSize(256, 192));
        QVERIFY(isMostly(thumb, Qt::red));
    }

    void photoWithoutThumbnailIsDecodedScaled()
    {
        const QString path = write("plain.jpg", encodeJpeg(solid(800, 600, Qt::green)));
        const QImage thumb = loadThumbnail(path, QSize(256, 256));
        QCOMPARE(thumb.size(), QSize(256, 192));
        QVERIFY(isMostly(thumb, Qt::green));

        // Never enlarged.
        const QString small = write("small.png", QByteArray());
        QVERIFY(solid(100, 50, Qt::green).save(small, "PNG"));
        QCOMPARE(loadThumbnail(small, QSize(256, 256)).size(), QSize(100, 50));
    }

    void orientationIsApplied()
    {
        // Orientation 6: the camera was turned; the picture shows rotated.
        const QString withThumb = write("rotthumb.jpg", jpegWithExif(solid(800, 600, Qt::red),
                                                                     encodeJpeg(solid(200, 150, Qt::blue)), 6));
        QImage thumb = loadThumbnail(withThumb, QSize(256, 256));
        QCOMPARE(thumb.size(), QSize(150, 200));
        QVERIFY(isMostly(thumb, Qt::blue));
        QCOMPARE(loadImage(withThumb).size(), QSize(600, 800));

        const QString noThumb = write("rot.jpg", jpegWithExif(solid(800, 600, Qt::red), QByteArray(), 6));
        thumb = loadThumbnail(noThumb, QSize(300, 200));
        QCOMPARE(thumb.size(), QSize(150, 200));
        QVERIFY(isMostly(thumb, Qt::red));
    }

    void damagedFilesGiveNullImages()
    {
        QCOMPARE(loadThumbnail(m_dir.filePath("missing.jpg"), QSize(256, 256)).isNull(), true);
        QCOMPARE(loadImage(m_dir.filePath("missing.jpg")).isNull(), true);
        QCOMPARE(loadThumbnail(QString(), QSize(256, 256)).isNull(), true);

        QByteArray garbage(4096, '\0');
        for (int i = 0; i < garbage.size(); ++i)
            garbage[i] = char((i * 131 + 7) & 0xFF);
        const QString junk = write("junk.jpg", garbage);
        QVERIFY(loadThumbnail(junk, QSize(256, 256)).isNull());
        QVERIFY(loadImage(junk).isNull());

        QVERIFY(loadThumbnail(write("empty.jpg", QByteArray()), QSize(256, 256)).isNull());
    }

    void damagedEmbeddedThumbnailFallsBackToTheImage()
    {
        const QString path = write("badthumb.jpg",
                                   jpegWithExif(solid(800, 600, Qt::red), QByteArray(5000, '\x5A'), 0));
        const QImage thumb = loadThumbnail(path, QSize(256, 256));
        QCOMPARE(thumb.size(), QSize(256, 192));
        QVERIFY(isMostly(thumb, Qt::red));
    }

    void thumbnailsLoadOnSeveralThreadsAtOnce()
    {
        const QString a = write("ta.jpg", jpegWithExif(solid(640, 480, Qt::red), encodeJpeg(solid(160, 120, Qt::blue)), 0));
        const QString b = write("tb.jpg", encodeJpeg(solid(640, 480, Qt::green)));
        std::atomic<int> good{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&, t] {
                for (int i = 0; i < 10; ++i) {
                    const bool useA = (i + t) % 2 == 0;
                    const QImage img = loadThumbnail(useA ? a : b, QSize(128, 128));
                    if (img.size() == QSize(128, 96) && isMostly(img, useA ? Qt::blue : Qt::green))
                        ++good;
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(good.load(), 40);
    }
};

QTEST_GUILESS_MAIN(TestImages)
#include "tst_images.moc"
