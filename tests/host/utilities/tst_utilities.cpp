// The utilities library: list separators, elided text, the data folder,
// XML loading and photo decoding.
#include <utilities/Utilities.h>
#include <utilities/Xml.h>

#include <make_drone_photos/ExifWriter.h>
#include <TestPhotos.h>
#include <support/TestSupport.h>

#include <QtGui>
#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace Zyn::Utilities;

namespace {

QImage solid(const QSize& size, Qt::GlobalColor color)
{
    QImage image(size, QImage::Format_RGB32);
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
    return Zyn::Tools::spliceSegment(TestPhotos::encodeJpeg(main), Zyn::Tools::buildExifSegment(exif));
}

bool isMostly(const QImage& image, Qt::GlobalColor color)
{
    const QColor expected(color);
    const QColor centre = image.pixelColor(image.width() / 2, image.height() / 2);
    return qAbs(centre.red() - expected.red()) < 40 && qAbs(centre.green() - expected.green()) < 40
           && qAbs(centre.blue() - expected.blue()) < 40;
}

} // namespace

class TestUtilities : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    QString write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        return Zyn::TestSupport::writeFile(path, bytes) ? path : QString();
    }

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void init()
    {
        qunsetenv("ZYN_LIST_SEPARATOR");
        qunsetenv("ZYN_DATA_PATH");
    }

    void listSeparatorFollowsTheDecimalPoint_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QByteArray>("override"); // ZYN_LIST_SEPARATOR
        QTest::addColumn<QString>("separator");
        const QLocale german(QLocale::German, QLocale::Germany);
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedStates) << QByteArray() << ",";
        QTest::newRow("German") << german << QByteArray() << ";";
        QTest::newRow("French") << QLocale(QLocale::French, QLocale::France) << QByteArray() << ";";
        QTest::newRow("Japanese") << QLocale(QLocale::Japanese, QLocale::Japan) << QByteArray() << ",";
        QTest::newRow("C") << QLocale::c() << QByteArray() << ",";
        QTest::newRow("tab set") << german << QByteArray("\t") << "\t";
        QTest::newRow("comma set") << QLocale(QLocale::French, QLocale::France) << QByteArray(",") << ",";
        QTest::newRow("not one character: ignored") << german << QByteArray("ab") << ";";
    }
    void listSeparatorFollowsTheDecimalPoint()
    {
        QFETCH(QLocale, locale);
        QFETCH(QByteArray, override);
        QFETCH(QString, separator);
        if (!override.isNull())
            qputenv("ZYN_LIST_SEPARATOR", override);
        QCOMPARE(getListSeparatorForLocale(locale), separator);
        if (override.size() == 1)
            QCOMPARE(getListSeparatorInCurrentLocale(), separator);
    }

    void elidedText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("maxChars");
        QTest::addColumn<QString>("expected");
        QTest::newRow("short") << "GCP 1" << 10 << "GCP 1";
        QTest::newRow("exact") << "0123456789" << 10 << "0123456789";
        QTest::newRow("cut") << "Control point north" << 10 << "Control...";
        QTest::newRow("only dots fit") << "abcdef" << 3 << "...";
        QTest::newRow("fewer than dots") << "abcdef" << 2 << "..";
        QTest::newRow("zero") << "abcdef" << 0 << "";
        QTest::newRow("negative") << "abcdef" << -4 << "";
        QTest::newRow("empty") << "" << 5 << "";
        // U+1F4CD is two UTF-16 units; it must not be split.
        QTest::newRow("surrogate pair") << QString::fromUtf8("ab\xF0\x9F\x93\x8D" "cdefgh") << 6 << "ab...";
    }
    void elidedText()
    {
        QFETCH(QString, text);
        QFETCH(int, maxChars);
        QFETCH(QString, expected);
        QCOMPARE(getElidedText(text, maxChars), expected);
    }

    // A failed load says why and where, and leaves the document as it was.
    void failuresSayWhy_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content"); // null: not written
        QTest::addColumn<QStringList>("said");
        QTest::newRow("missing") << "absent.xml" << QByteArray() << QStringList{"absent.xml", "does not exist"};
        QTest::newRow("no name") << "" << QByteArray() << QStringList{};
        QTest::newRow("folder") << "." << QByteArray() << QStringList{"folder"};
        QTest::newRow("broken") << "broken.xml" << QByteArray("<root>\n  <a>\n</root>\n")
                                << QStringList{"broken.xml", "line 3"};
        QTest::newRow("binary") << "binary.xml" << QByteArray("\x00\xff\xfe\x01garbage", 11) << QStringList{};
    }

    void failuresSayWhy()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(QStringList, said);
        const QString path = !content.isNull() ? write(name, content) : name.isEmpty() ? name : m_dir.filePath(name);
        QDomDocument doc;
        QVERIFY(Zyn::Xml::loadXml(write("keep.xml", "<root><a/></root>"), doc));
        QString error;
        QVERIFY(!Zyn::Xml::loadXml(path, doc, &error));
        QVERIFY(!error.isEmpty());
        for (const QString& part : said)
            QVERIFY2(error.contains(part), qPrintable(error));
        QVERIFY(!doc.documentElement().firstChildElement("a").isNull());
    }

    // The data folder, and XML files loaded from it by name.
    void dataFolder()
    {
        QCOMPARE(dataDirectory(), QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../share/zynphoto"));
        QVERIFY(!write("zynphoto_gcp.cfg", "<config/>").isEmpty());
        qputenv("ZYN_DATA_PATH", m_dir.path().toUtf8() + "/");
        QCOMPARE(dataDirectory(), m_dir.path()); // without the trailing slash
        QDomDocument doc;
        QString error = "stale";
        QVERIFY(Zyn::Xml::loadXml("zynphoto_gcp.cfg", doc, &error));
        QVERIFY(error.isEmpty());

        qputenv("ZYN_DATA_PATH", m_dir.filePath("elsewhere").toUtf8());
        QVERIFY(!Zyn::Xml::loadXml("zynphoto_gcp.cfg", doc, &error));
        QVERIFY2(error.contains("elsewhere"), qPrintable(error));
    }

    void thumbnails_data()
    {
        QTest::addColumn<QSize>("photo"); // red, green without EXIF
        QTest::addColumn<QSize>("embedded"); // blue; (1, 1): damaged bytes
        QTest::addColumn<int>("orientation"); // -1: no EXIF at all
        QTest::addColumn<QSize>("box");
        QTest::addColumn<QSize>("expected");
        QTest::addColumn<bool>("fromEmbedded");
        const QSize photo(800, 600), box(256, 256), none;
        QTest::newRow("embedded used") << photo << QSize(200, 150) << 1 << box << QSize(200, 150) << true;
        QTest::newRow("large embedded fitted")
            << QSize(1600, 1200) << QSize(320, 240) << 0 << QSize(160, 160) << QSize(160, 120) << true;
        QTest::newRow("too small embedded: decode") << photo << QSize(40, 30) << 0 << box << QSize(256, 192) << false;
        QTest::newRow("damaged embedded: decode") << photo << QSize(1, 1) << 0 << box << QSize(256, 192) << false;
        QTest::newRow("no EXIF: scaled decode") << photo << none << -1 << box << QSize(256, 192) << false;
        QTest::newRow("never enlarged") << QSize(100, 50) << none << -1 << box << QSize(100, 50) << false;
        // Orientation 6: the camera was turned; the picture shows rotated.
        QTest::newRow("rotated embedded") << photo << QSize(200, 150) << 6 << box << QSize(150, 200) << true;
        QTest::newRow("rotated decode") << photo << none << 6 << QSize(300, 200) << QSize(150, 200) << false;
    }

    void thumbnails()
    {
        QFETCH(QSize, photo);
        QFETCH(QSize, embedded);
        QFETCH(int, orientation);
        QFETCH(QSize, box);
        QFETCH(QSize, expected);
        QFETCH(bool, fromEmbedded);
        const Qt::GlobalColor colour = orientation < 0 ? Qt::green : Qt::red;
        const QImage main = solid(photo, colour);
        const QByteArray thumb = embedded == QSize(1, 1) ? QByteArray(5000, '\x5A')
                                 : embedded.isValid()    ? TestPhotos::encodeJpeg(solid(embedded, Qt::blue))
                                                         : QByteArray();
        const QByteArray jpeg = orientation < 0 ? TestPhotos::encodeJpeg(main) : jpegWithExif(main, thumb, orientation);
        const QString path = write(QStringLiteral("%1.jpg").arg(QTest::currentDataTag()), jpeg);
        const QImage got = loadThumbnail(path, box);
        QCOMPARE(got.size(), expected);
        QVERIFY(isMostly(got, fromEmbedded ? Qt::blue : colour));
        // The full image is the whole photo, turned upright.
        const QImage full = loadImage(path);
        QCOMPARE(full.size(), orientation == 6 ? photo.transposed() : photo);
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
        const QByteArray thumb = TestPhotos::encodeJpeg(solid({160, 120}, Qt::blue));
        const QString a = write("ta.jpg", jpegWithExif(solid({640, 480}, Qt::red), thumb, 0));
        const QString b = write("tb.jpg", TestPhotos::encodeJpeg(solid({640, 480}, Qt::green)));
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

QTEST_GUILESS_MAIN(TestUtilities)
#include "tst_utilities.moc"
