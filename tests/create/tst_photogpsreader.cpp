#include <TestPhotos.h>
#include <create/PhotoGpsReader.h>
#include <support/TestSupport.h>

#include <QtTest>
#include <QtGui>

#include <functional>

#include <cstdio>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

using namespace Zyn::AppCreate;
using Zyn::TestSupport::readFile;
using Zyn::TestSupport::writeFile;

namespace {

struct Photo
{
    QString file;
    double lat = 0, lon = 0, alt = 0;
    QString kind; // gps, none, zero
};

// What `call` prints to standard output.
QByteArray printedBy(const std::function<void()>& call)
{
    QTemporaryFile file;
    file.open();
    std::fflush(stdout);
    const int saved = ::dup(STDOUT_FILENO);
    ::dup2(file.handle(), STDOUT_FILENO);
    call();
    std::fflush(stdout);
    ::dup2(saved, STDOUT_FILENO);
    ::close(saved);
    return readFile(file.fileName());
}

// Offset just past the APP1 segment holding the EXIF block, or -1.
int exifSegmentEnd(const QByteArray& jpeg)
{
    int pos = 2;
    while (pos + 4 <= jpeg.size() && uchar(jpeg[pos]) == 0xFF) {
        const int length = (uchar(jpeg[pos + 2]) << 8) | uchar(jpeg[pos + 3]);
        if (uchar(jpeg[pos + 1]) == 0xE1 && jpeg.mid(pos + 4, 4) == "Exif")
            return pos + 2 + length;
        pos += 2 + length;
    }
    return -1;
}

int parse(const QByteArray& bytes, int size, ExifGpsRecord& rec)
{
    return parseExifGps(bytes.isNull() ? nullptr : reinterpret_cast<const unsigned char*>(bytes.constData()),
                        std::size_t(size), rec);
}

} // namespace

Q_DECLARE_METATYPE(Photo)

class TestPhotoGpsReader : public QObject
{
    Q_OBJECT

    QTemporaryDir m_tmp;
    QList<Photo> m_photos;
    Photo m_south; // a south-western photo below sea level
    QByteArray m_whole; // its bytes
    int m_exifEnd = -1; // just past its EXIF segment

    QList<Photo> flight(const QString& name, const QString& args)
    {
        const QString dir = m_tmp.filePath(name);
        QList<Photo> photos;
        if (Zyn::TestSupport::makeDronePhotos(dir, args.split(' ')).isEmpty())
            return photos;
        for (const QByteArray& line : readFile(QDir(dir).filePath(QStringLiteral("manifest.csv"))).split('\n').mid(1)) {
            const QList<QByteArray> f = line.split(',');
            if (f.size() >= 6)
                photos << Photo{QDir(dir).filePath(QString::fromUtf8(f[0])), f[1].toDouble(), f[2].toDouble(),
                                f[3].toDouble(), QString::fromUtf8(f[5])};
        }
        return photos;
    }

    // Makes the file of one case of files(); an empty path when it cannot here.
    QString makeCase(const QString& kind)
    {
        const QString path = m_tmp.filePath(QStringLiteral("case-%1.jpg").arg(QString(kind).replace(' ', '-')));
        const QMap<QString, int> cuts{{"empty file", 0}, {"cut inside the EXIF segment", m_exifEnd - 2000},
                                      {"cut after the EXIF segment", m_exifEnd + (m_whole.size() - m_exifEnd) / 2}};
        if (cuts.contains(kind))
            return m_exifEnd > 3000 && writeFile(path, m_whole.left(cuts.value(kind))) ? path : QString();
        if (kind == "missing file")
            return m_tmp.filePath("no-such-photo.jpg");
        if (kind == "directory")
            return m_tmp.path();
        if (kind == "fifo") // opening one would wait for a writer
            return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0 ? path : QString();
        if (kind == "stated size beyond the contents") {
            const QString sys = QStringLiteral("/sys/kernel/mm/transparent_hugepage/enabled");
            return QFileInfo(sys).size() > readFile(sys).size() ? sys : QString();
        }
        if (kind == "no stated size") {
            const QString proc = QStringLiteral("/proc/self/stat");
            return QFileInfo::exists(proc) && QFileInfo(proc).size() == 0 ? proc : QString();
        }
        if (kind == "non-ASCII path") {
            const QString dir = m_tmp.filePath(QStringLiteral("Vôo São João"));
            const QString target = QDir(dir).filePath(QStringLiteral("foto_ü_北.jpg"));
            return QDir().mkpath(dir) && QFile::copy(m_south.file, target) ? target : QString();
        }
        if (kind == "EXIF after a 150 KiB segment") {
            // Longer than the first read: the reader must read on.
            QByteArray filler;
            for (int i = 0; i < 3; ++i)
                filler += QByteArray("\xFF\xE2\xC3\x52", 4) + QByteArray(50000, 'x');
            return writeFile(path, m_whole.left(2) + filler + m_whole.mid(2)) ? path : QString();
        }
        return QString();
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_tmp.isValid());
        const auto north = flight("ne", "--count 6 --lat 47.3769 --lon 8.5417 --alt 520 --no-gps 1 --zero-gps 1");
        const auto south = flight("sw", "--count 3 --lat -22.9519 --lon -43.2105 --alt -380 --agl 60 --seed 7");
        QCOMPARE(north.size(), 6);
        QCOMPARE(south.size(), 3);
        m_photos = north + south;
        m_south = south.first();
        m_whole = readFile(m_south.file);
        m_exifEnd = exifSegmentEnd(m_whole);
        QVERIFY(m_exifEnd > 0);
    }

    void positionsMatchTheFlight_data()
    {
        QTest::addColumn<Photo>("photo");
        for (const Photo& p : qAsConst(m_photos))
            QTest::newRow(qPrintable(QDir(m_tmp.path()).relativeFilePath(p.file))) << p;
    }

    void positionsMatchTheFlight()
    {
        QFETCH(Photo, photo);
        double lon = 999, lat = 999, alt = 999;
        bool ok = false;
        QCOMPARE(printedBy([&] { ok = readPhotoGpsPosition(photo.file.toStdWString(), lon, lat, alt); }), QByteArray());
        QCOMPARE(ok, photo.kind == QLatin1String("gps"));
        if (ok) {
            QVERIFY2(qAbs(lat - photo.lat) < 1e-6 && qAbs(lon - photo.lon) < 1e-6 && qAbs(alt - photo.alt) < 1e-6,
                     qPrintable(QStringLiteral("%1 %2 %3").arg(lat, 0, 'f', 9).arg(lon, 0, 'f', 9).arg(alt)));
        }
        // The record keeps unsigned degrees; the references give the signs.
        ExifGpsRecord rec;
        rec.Latitude = 5; // reset by the reader
        QVERIFY(readExifFromFile(photo.file.toStdWString(), rec));
        const bool block = photo.kind != QLatin1String("none");
        QCOMPARE(rec.LatComponents.direction, !block ? '\0' : ok && photo.lat < 0 ? 'S' : 'N');
        QCOMPARE(rec.LonComponents.direction, !block ? '\0' : ok && photo.lon < 0 ? 'W' : 'E');
        QCOMPARE(rec.LatComponents.degrees, ok ? std::floor(qAbs(photo.lat)) : 0.0);
        QCOMPARE(int(rec.AltitudeRef), ok && photo.alt < 0 ? 1 : 0);
        QCOMPARE(rec.Latitude, ok ? lat : 0.0);
        QCOMPARE(rec.DOP > 0.5, ok);
    }

    void files_data()
    {
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QByteArray>("printed");
        const QByteArray cannotOpen("Can't open file.\n");
        // Files that are not photos with EXIF are parseCodes' rows.
        for (const char* quiet : {"empty path", "missing file", "no stated size", "empty file",
                                  "cut inside the EXIF segment"})
            QTest::newRow(quiet) << false << QByteArray();
        for (const char* unopenable : {"directory", "fifo"})
            QTest::newRow(unopenable) << false << cannotOpen;
        QTest::newRow("stated size beyond the contents") << false << QByteArray("Can't read file.\n");
        for (const char* good : {"cut after the EXIF segment", "non-ASCII path", "EXIF after a 150 KiB segment"})
            QTest::newRow(good) << true << QByteArray();
    }

    void files()
    {
        QFETCH(bool, ok);
        QFETCH(QByteArray, printed);
        const QString kind = QString::fromUtf8(QTest::currentDataTag());
        const QString path = makeCase(kind);
        if (path.isEmpty() && kind != QLatin1String("empty path"))
            QSKIP("this case cannot be made here");
        double lon = 0, lat = 0, alt = 0;
        bool got = false;
        QCOMPARE(printedBy([&] { got = readPhotoGpsPosition(path.toStdWString(), lon, lat, alt); }), printed);
        QCOMPARE(got, ok);
        if (ok)
            QVERIFY(qAbs(lat - m_south.lat) < 1e-6 && qAbs(lon - m_south.lon) < 1e-6);
    }

    void parseCodes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("code");
        const QString plainFile = m_tmp.filePath(QStringLiteral("plain.jpg"));
        const QByteArray plain = TestPhotos::writePlain(plainFile) ? readFile(plainFile) : QByteArray();
        QTest::newRow("nothing") << QByteArray() << int(ExifParseNoJpeg);
        QTest::newRow("text") << QByteArray("file,lat,lon\nnot,a,photo\n") << int(ExifParseNoJpeg);
        QTest::newRow("JPEG without EXIF") << plain << int(ExifParseNoExif);
        QTest::newRow("EXIF header without TIFF header")
            << QByteArray("\xFF\xD8\xFF\xE1\x00\x0A" "Exif\0\0XY", 14) + plain.mid(2) << int(ExifParseCorrupt);
        QTest::newRow("a photo") << readFile(m_south.file) << int(ExifParseSuccess);
    }

    void parseCodes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, code);
        ExifGpsRecord rec;
        QCOMPARE(parse(bytes, bytes.size(), rec), code);
    }

    void everyCutInsideTheExifSegmentIsRejected()
    {
        ExifGpsRecord rec;
        for (int keep = 0; keep < m_exifEnd; ++keep) {
            if (parse(m_whole, keep, rec) == ExifParseSuccess)
                QFAIL(qPrintable(QStringLiteral("a photo cut to %1 bytes parsed").arg(keep)));
        }
        QCOMPARE(parse(m_whole, m_exifEnd, rec), int(ExifParseSuccess));
        QCOMPARE(rec.LatComponents.degrees, 22.0);
    }

    void corruptedBytesNeverCrashTheParser()
    {
        // The sanitizer build turns any out-of-bounds read into a failure here.
        std::mt19937 rng(12345);
        int parsed = 0;
        for (int round = 0; round < 400; ++round) {
            QByteArray damaged = m_whole.left(m_exifEnd);
            for (int k = 0, hits = 1 + int(rng() % 8); k < hits; ++k)
                damaged[int(rng() % unsigned(m_exifEnd))] = char(rng() & 0xFF);
            ExifGpsRecord rec;
            const int code = parse(damaged, damaged.size(), rec);
            QVERIFY(code >= ExifParseSuccess && code <= ExifParseNoMemory);
            parsed += code == ExifParseSuccess ? 1 : 0;
            QVERIFY(!std::isnan(rec.Latitude) && !std::isnan(rec.Longitude) && !std::isnan(rec.Altitude));
        }
        QVERIFY(parsed > 0); // most hits land in the thumbnail or tag values
    }

    // An independent reader sees the positions the manifest claims, so the
    // generator and the reader cannot share one mistake.
    void exiftoolAgreesWithTheManifest()
    {
        const QString exiftool = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
        if (exiftool.isEmpty())
            QSKIP("exiftool is not installed");
        QProcess p;
        QStringList args{"-n", "-csv", "-GPSLatitude", "-GPSLongitude", "-GPSAltitude"};
        for (const Photo& photo : qAsConst(m_photos))
            args << photo.file;
        p.start(exiftool, args);
        QVERIFY(p.waitForFinished(60000));
        const QList<QByteArray> lines = p.readAllStandardOutput().trimmed().split('\n').mid(1);
        QCOMPARE(lines.size(), m_photos.size());
        for (int i = 0; i < lines.size(); ++i) {
            const QList<QByteArray> f = lines[i].split(',');
            const Photo& photo = m_photos[i];
            QVERIFY2(f.size() == 4 && QFileInfo(QString(f[0])) == QFileInfo(photo.file), lines[i].constData());
            const bool gps = photo.kind == QLatin1String("gps");
            QVERIFY2(qAbs(f[1].toDouble() - (gps ? photo.lat : 0)) < 1e-7, lines[i].constData());
            QVERIFY2(qAbs(f[2].toDouble() - (gps ? photo.lon : 0)) < 1e-7, lines[i].constData());
            QVERIFY2(!gps || qAbs(f[3].toDouble() - photo.alt) < 1e-6, lines[i].constData());
        }
    }
};

QTEST_GUILESS_MAIN(TestPhotoGpsReader)
#include "tst_photogpsreader.moc"
