#include <utilities/Utilities.h>

#include <QtTest>
#include <QtGui>

#include <make_drone_photos/ExifWriter.h>
#include <support/TestSupport.h>

#include <atomic>
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

// A JPEG of the main image with an EXIF segment holding the orientation
// and, when given, an embedded thumbnail.
QByteArray jpegWithExif(const QImage& main, const QByteArray& thumbnail, int orientation)
{
    Zyn::Tools::PhotoExif exif;
    exif.orientation = orientation;
    exif.thumbnailJpeg = thumbnail;
    return Zyn::Tools::spliceSegment(encodeJpeg(main), Zyn::Tools::buildExifSegment(exif));
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
        return Zyn::TestSupport::writeFile(path, bytes) ? path : QString();
    }

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void thumbnails_data()
    {
        QTest::addColumn<QSize>("photo"); // red, green without EXIF
        QTest::addColumn<QSize>("embedded"); // blue; (1, 1): damaged bytes
        QTest::addColumn<int>("orientation"); // -1: no EXIF at all
        QTest::addColumn<QSize>("box");
        QTest::addColumn<QSize>("expected");
        QTest::addColumn<bool>("fromEmbedded");
        QTest::addColumn<QSize>("fullSize"); // loadImage
        const QSize none;
        QTest::newRow("embedded used") << QSize(800, 600) << QSize(200, 150) << 1 << QSize(256, 256) << QSize(200, 150)
                                       << true << QSize(800, 600);
        QTest::newRow("large embedded fitted") << QSize(1600, 1200) << QSize(320, 240) << 0 << QSize(160, 160)
                                               << QSize(160, 120) << true << QSize(1600, 1200);
        QTest::newRow("too small embedded: decode") << QSize(800, 600) << QSize(40, 30) << 0 << QSize(256, 256)
                                                    << QSize(256, 192) << false << QSize(800, 600);
        QTest::newRow("damaged embedded: decode") << QSize(800, 600) << QSize(1, 1) << 0 << QSize(256, 256)
                                                  << QSize(256, 192) << false << QSize(800, 600);
        QTest::newRow("no EXIF: scaled decode") << QSize(800, 600) << none << -1 << QSize(256, 256) << QSize(256, 192)
                                                << false << QSize(800, 600);
        QTest::newRow("never enlarged") << QSize(100, 50) << none << -1 << QSize(256, 256) << QSize(100, 50) << false
                                        << QSize(100, 50);
        // Orientation 6: the camera was turned; the picture shows rotated.
        QTest::newRow("rotated embedded") << QSize(800, 600) << QSize(200, 150) << 6 << QSize(256, 256)
                                          << QSize(150, 200) << true << QSize(600, 800);
        QTest::newRow("rotated decode") << QSize(800, 600) << none << 6 << QSize(300, 200) << QSize(150, 200) << false
                                        << QSize(600, 800);
    }

    void thumbnails()
    {
        QFETCH(QSize, photo);
        QFETCH(QSize, embedded);
        QFETCH(int, orientation);
        QFETCH(QSize, box);
        QFETCH(QSize, expected);
        QFETCH(bool, fromEmbedded);
        QFETCH(QSize, fullSize);
        const Qt::GlobalColor colour = orientation < 0 ? Qt::green : Qt::red;
        const QImage main = solid(photo.width(), photo.height(), colour);
        const QByteArray thumb = embedded == QSize(1, 1) ? QByteArray(5000, '\x5A')
                                 : embedded.isValid()    ? encodeJpeg(solid(embedded.width(), embedded.height(), Qt::blue))
                                                         : QByteArray();
        const QString path = write(QStringLiteral("%1.jpg").arg(QTest::currentDataTag()),
                                   orientation < 0 ? encodeJpeg(main) : jpegWithExif(main, thumb, orientation));
        const QImage got = loadThumbnail(path, box);
        QCOMPARE(got.size(), expected);
        QVERIFY(isMostly(got, fromEmbedded ? Qt::blue : colour));
        const QImage full = loadImage(path);
        QCOMPARE(full.size(), fullSize);
        QVERIFY(isMostly(full, colour));
    }

    void damagedFilesGiveNullImages()
    {
        QByteArray garbage(4096, '\0');
        for (int i = 0; i < garbage.size(); ++i)
            garbage[i] = char((i * 131 + 7) & 0xFF);
        for (const QString& path : {m_dir.filePath("missing.jpg"), QString(), write("junk.jpg", garbage),
                                    write("empty.jpg", QByteArray())}) {
            QVERIFY2(loadThumbnail(path, QSize(256, 256)).isNull(), qPrintable(path));
            QVERIFY2(loadImage(path).isNull(), qPrintable(path));
        }
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
