#include <create/PhotoGpsReader.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Zyn::AppCreate;

namespace {

struct ManifestRow
{
    QString file;
    double lat = 0, lon = 0, alt = 0;
    bool hasGps = false;
    QString kind;
};

std::wstring wide(const QString& s)
{
    return s.toStdWString();
}

// Collects what the reader prints to standard output during one call.
class StdoutCapture
{
public:
    StdoutCapture()
    {
        m_file.open();
        std::fflush(stdout);
        m_saved = ::dup(STDOUT_FILENO);
        ::dup2(m_file.handle(), STDOUT_FILENO);
    }
    QByteArray finish()
    {
        std::fflush(stdout);
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        m_saved = -1;
        QFile in(m_file.fileName());
        in.open(QIODevice::ReadOnly);
        return in.readAll();
    }
    ~StdoutCapture()
    {
        if (m_saved >= 0)
            finish();
    }

private:
    QTemporaryFile m_file;
    int m_saved = -1;
};

QByteArray readAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool writeAll(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// Offset just past the APP1 segment holding the EXIF block, or -1.
int exifSegmentEnd(const QByteArray& jpeg)
{
    int pos = 2;
    while (pos + 4 <= jpeg.size() && uchar(jpeg[pos]) == 0xFF) {
        const int marker = uchar(jpeg[pos + 1]);
        const int length = (uchar(jpeg[pos + 2]) << 8) | uchar(jpeg[pos + 3]);
        if (marker == 0xE1 && jpeg.mid(pos + 4, 4) == "Exif")
            return pos + 2 + length;
        pos += 2 + length;
    }
    return -1;
}

} // namespace

class TestPhotoGpsReader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void positionsMatchTheFlight_data();
    void positionsMatchTheFlight();
    void southWestReferencesGiveNegativeDegrees();
    void belowSeaLevelAltitudeIsNegative();
    void recordCarriesComponentsAndDop();
    void photoWithoutGpsBlockHasNoPosition();
    void allZeroGpsTagsCountAsNoGps();

    void missingOrEmptyPathFailsSilently();
    void truncatedPhotosFailWithoutCrash_data();
    void truncatedPhotosFailWithoutCrash();
    void cutAfterTheExifBlockStillReadsGps();
    void everyCutInsideTheExifSegmentIsRejected();
    void corruptedBytesNeverCrashTheParser();
    void nonJpegAndJpegWithoutExif();
    void directoryIsReportedAsUnopenable();
    void fifoIsNotWaitedFor();
    void socketIsReportedAsUnopenable();
    void shortReadIsReported();
    void sizelessProcFileFailsQuietly();
    void nonAsciiPathIsRead();

    void exiftoolAgreesWithTheManifest();

private:
    QString generate(const QString& name, const QStringList& args);
    QList<ManifestRow> manifest(const QString& dir) const;
    ManifestRow firstOfKind(const QString& dir, const QString& kind) const;

    QTemporaryDir m_tmp;
    QString m_northEast;
    QString m_southWest;
    QString m_deadSea;
};

QString TestPhotoGpsReader::generate(const QString& name, const QStringList& args)
{
    const QString tool = QDir(qEnvironmentVariable("ZYN_TOOLS_DIR")).filePath(QStringLiteral("make_drone_photos"));
    const QString out = m_tmp.filePath(name);
    QProcess p;
    p.start(tool, QStringList{QStringLiteral("--out"), out, QStringLiteral("--width"), QStringLiteral("640"),
                              QStringLiteral("--height"), QStringLiteral("480"), QStringLiteral("--jobs"),
                              QStringLiteral("2")}
                      + args);
    if (!p.waitForFinished(120000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
        qWarning() << "generator failed:" << tool << p.errorString() << p.readAllStandardError();
        return QString();
    }
    return out;
}

QList<ManifestRow> TestPhotoGpsReader::manifest(const QString& dir) const
{
    QList<ManifestRow> rows;
    const QList<QByteArray> lines = readAll(QDir(dir).filePath(QStringLiteral("manifest.csv"))).split('\n');
    for (int i = 1; i < lines.size(); ++i) {
        const QList<QByteArray> f = lines[i].split(',');
        if (f.size() < 6)
            continue;
        ManifestRow r;
        r.file = QDir(dir).filePath(QString::fromUtf8(f[0]));
        r.lat = f[1].toDouble();
        r.lon = f[2].toDouble();
        r.alt = f[3].toDouble();
        r.hasGps = f[4] == "1";
        r.kind = QString::fromUtf8(f[5]);
        rows << r;
    }
    return rows;
}

ManifestRow TestPhotoGpsReader::firstOfKind(const QString& dir, const QString& kind) const
{
    for (const ManifestRow& r : manifest(dir))
        if (r.kind == kind)
            return r;
    return ManifestRow();
}

void TestPhotoGpsReader::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_tmp.isValid());
    // The reader keeps no settings; every case works on files in m_tmp.
    m_northEast = generate(QStringLiteral("ne"), {QStringLiteral("--count"), QStringLiteral("9"),
                                                  QStringLiteral("--lat"), QStringLiteral("47.3769"),
                                                  QStringLiteral("--lon"), QStringLiteral("8.5417"),
                                                  QStringLiteral("--alt"), QStringLiteral("520"),
                                                  QStringLiteral("--no-gps"), QStringLiteral("1"),
                                                  QStringLiteral("--zero-gps"), QStringLiteral("1")});
    m_southWest = generate(QStringLiteral("sw"), {QStringLiteral("--count"), QStringLiteral("6"),
                                                  QStringLiteral("--lat"), QStringLiteral("-22.9519"),
                                                  QStringLiteral("--lon"), QStringLiteral("-43.2105"),
                                                  QStringLiteral("--alt"), QStringLiteral("90"),
                                                  QStringLiteral("--seed"), QStringLiteral("7")});
    m_deadSea = generate(QStringLiteral("low"), {QStringLiteral("--count"), QStringLiteral("2"),
                                                 QStringLiteral("--lat"), QStringLiteral("31.5"),
                                                 QStringLiteral("--lon"), QStringLiteral("35.5"),
                                                 QStringLiteral("--alt"), QStringLiteral("-380"),
                                                 QStringLiteral("--agl"), QStringLiteral("60")});
    QVERIFY(!m_northEast.isEmpty());
    QVERIFY(!m_southWest.isEmpty());
    QVERIFY(!m_deadSea.isEmpty());
    QCOMPARE(manifest(m_northEast).size(), 9);
    QCOMPARE(manifest(m_southWest).size(), 6);
}

void TestPhotoGpsReader::positionsMatchTheFlight_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<double>("lat");
    QTest::addColumn<double>("lon");
    QTest::addColumn<double>("alt");
    QTest::addColumn<bool>("hasGps");
    for (const QString& dir : {m_northEast, m_southWest, m_deadSea}) {
        for (const ManifestRow& r : manifest(dir)) {
            QTest::newRow(qPrintable(QDir(dir).dirName() + QLatin1Char('/') + QFileInfo(r.file).fileName()))
                << r.file << r.lat << r.lon << r.alt << r.hasGps;
        }
    }
}

void TestPhotoGpsReader::positionsMatchTheFlight()
{
    QFETCH(QString, file);
    QFETCH(double, lat);
    QFETCH(double, lon);
    QFETCH(double, alt);
    QFETCH(bool, hasGps);

    double gotLon = 999, gotLat = 999, gotAlt = 999;
    StdoutCapture out;
    const bool ok = readPhotoGpsPosition(wide(file), gotLon, gotLat, gotAlt);
    QCOMPARE(out.finish(), QByteArray());
    QCOMPARE(ok, hasGps);
    if (!hasGps)
        return;
    QVERIFY2(qAbs(gotLat - lat) < 1e-6, qPrintable(QString::number(gotLat, 'f', 10)));
    QVERIFY2(qAbs(gotLon - lon) < 1e-6, qPrintable(QString::number(gotLon, 'f', 10)));
    QVERIFY2(qAbs(gotAlt - alt) < 1e-6, qPrintable(QString::number(gotAlt, 'f', 6)));
}

void TestPhotoGpsReader::southWestReferencesGiveNegativeDegrees()
{
    const ManifestRow row = firstOfKind(m_southWest, QStringLiteral("gps"));
    ExifGpsRecord rec;
    QVERIFY(readExifFromFile(wide(row.file), rec));
    QCOMPARE(rec.LatComponents.direction, 'S');
    QCOMPARE(rec.LonComponents.direction, 'W');
    // The components themselves are unsigned; only the reference gives the sign.
    QCOMPARE(rec.LatComponents.degrees, 22.0);
    QCOMPARE(rec.LonComponents.degrees, 43.0);

    double lon = 0, lat = 0, alt = 0;
    QVERIFY(readPhotoGpsPosition(wide(row.file), lon, lat, alt));
    QVERIFY(lat < -22.9 && lat > -23.0);
    QVERIFY(lon < -43.2 && lon > -43.3);
    QCOMPARE(rec.Latitude, lat);
    QCOMPARE(rec.Longitude, lon);
}

void TestPhotoGpsReader::belowSeaLevelAltitudeIsNegative()
{
    const ManifestRow row = firstOfKind(m_deadSea, QStringLiteral("gps"));
    ExifGpsRecord rec;
    QVERIFY(readExifFromFile(wide(row.file), rec));
    QCOMPARE(int(rec.AltitudeRef), 1);
    double lon = 0, lat = 0, alt = 0;
    QVERIFY(readPhotoGpsPosition(wide(row.file), lon, lat, alt));
    QVERIFY(alt < -379 && alt > -381);
    QVERIFY(qAbs(alt - row.alt) < 1e-6);
}

void TestPhotoGpsReader::recordCarriesComponentsAndDop()
{
    const ManifestRow row = firstOfKind(m_northEast, QStringLiteral("gps"));
    ExifGpsRecord rec;
    QVERIFY(readExifFromFile(wide(row.file), rec));
    QCOMPARE(rec.LatComponents.direction, 'N');
    QCOMPARE(rec.LonComponents.direction, 'E');
    QCOMPARE(rec.LatComponents.degrees, 47.0);
    QCOMPARE(rec.LonComponents.degrees, 8.0);
    QVERIFY(rec.LatComponents.minutes >= 0 && rec.LatComponents.minutes < 60);
    QVERIFY(rec.LatComponents.seconds >= 0 && rec.LatComponents.seconds < 60);
    QCOMPARE(rec.LatComponents.minutes, std::floor(rec.LatComponents.minutes));
    QCOMPARE(int(rec.AltitudeRef), 0);
    QVERIFY(rec.DOP >= 0.7 && rec.DOP <= 1.5);
    const double fromComponents = rec.LatComponents.degrees + rec.LatComponents.minutes / 60
                                  + rec.LatComponents.seconds / 3600;
    QVERIFY(qAbs(fromComponents - row.lat) < 1e-9);
}

void TestPhotoGpsReader::photoWithoutGpsBlockHasNoPosition()
{
    const ManifestRow row = firstOfKind(m_northEast, QStringLiteral("none"));
    QVERIFY(!row.file.isEmpty());
    ExifGpsRecord rec;
    rec.Latitude = 5; // must be reset by the reader
    // The EXIF block itself parses; it just has no GPS in it.
    QVERIFY(readExifFromFile(wide(row.file), rec));
    QCOMPARE(rec.Latitude, 0.0);
    QCOMPARE(rec.DOP, 0.0);
    QCOMPARE(rec.LatComponents.direction, '\0');
    double lon = 1, lat = 2, alt = 3;
    QVERIFY(!readPhotoGpsPosition(wide(row.file), lon, lat, alt));
}

void TestPhotoGpsReader::allZeroGpsTagsCountAsNoGps()
{
    const ManifestRow row = firstOfKind(m_northEast, QStringLiteral("zero"));
    QVERIFY(!row.file.isEmpty());
    ExifGpsRecord rec;
    QVERIFY(readExifFromFile(wide(row.file), rec));
    // The block is there, with references, but every value is zero.
    QCOMPARE(rec.LatComponents.direction, 'N');
    double lon = 1, lat = 2, alt = 3;
    QVERIFY(!readPhotoGpsPosition(wide(row.file), lon, lat, alt));
}

void TestPhotoGpsReader::missingOrEmptyPathFailsSilently()
{
    ExifGpsRecord rec;
    double lon = 0, lat = 0, alt = 0;
    const QString link = m_tmp.filePath(QStringLiteral("dangling.jpg"));
    QVERIFY(QFile::link(m_tmp.filePath(QStringLiteral("gone.jpg")), link));
    StdoutCapture out;
    QVERIFY(!readExifFromFile(std::wstring(), rec));
    QVERIFY(!readExifFromFile(wide(m_tmp.filePath(QStringLiteral("no-such-photo.jpg"))), rec));
    QVERIFY(!readPhotoGpsPosition(wide(m_tmp.filePath(QStringLiteral("missing/dir/photo.jpg"))), lon, lat, alt));
    // A dangling link names no file either.
    QVERIFY(!readExifFromFile(wide(link), rec));
    QCOMPARE(out.finish(), QByteArray());
}

void TestPhotoGpsReader::truncatedPhotosFailWithoutCrash_data()
{
    QTest::addColumn<int>("cut"); // bytes kept; negative: relative to the end of the EXIF segment
    QTest::newRow("empty file") << 0;
    QTest::newRow("start marker only") << 2;
    QTest::newRow("inside the segment header") << 5;
    QTest::newRow("first 1000 bytes") << 1000;
    QTest::newRow("mid-way through the EXIF segment") << -2000;
    QTest::newRow("last byte of the segment missing") << -1;
}

void TestPhotoGpsReader::truncatedPhotosFailWithoutCrash()
{
    QFETCH(int, cut);
    const ManifestRow row = firstOfKind(m_southWest, QStringLiteral("gps"));
    const QByteArray whole = readAll(row.file);
    const int end = exifSegmentEnd(whole);
    QVERIFY(end > 3000); // the thumbnail makes the segment a few kilobytes
    const int keep = cut >= 0 ? cut : end + cut;
    const QString path = m_tmp.filePath(QStringLiteral("cut_%1.jpg").arg(keep));
    QVERIFY(writeAll(path, whole.left(keep)));

    ExifGpsRecord rec;
    double lon = 0, lat = 0, alt = 0;
    StdoutCapture out;
    QVERIFY(!readExifFromFile(wide(path), rec));
    QVERIFY(!readPhotoGpsPosition(wide(path), lon, lat, alt));
    // A short file is read whole; it is the parser that refuses it.
    QCOMPARE(out.finish(), QByteArray());
}

void TestPhotoGpsReader::cutAfterTheExifBlockStillReadsGps()
{
    // Half the image data lost: the GPS block is intact and is what is asked for.
    const ManifestRow row = firstOfKind(m_southWest, QStringLiteral("gps"));
    const QByteArray whole = readAll(row.file);
    const int end = exifSegmentEnd(whole);
    QVERIFY(end > 0);
    const QString path = m_tmp.filePath(QStringLiteral("half.jpg"));
    QVERIFY(writeAll(path, whole.left(end + (whole.size() - end) / 2)));
    double lon = 0, lat = 0, alt = 0;
    QVERIFY(readPhotoGpsPosition(wide(path), lon, lat, alt));
    QVERIFY(qAbs(lat - row.lat) < 1e-6);
}

void TestPhotoGpsReader::everyCutInsideTheExifSegmentIsRejected()
{
    const QByteArray whole = readAll(firstOfKind(m_northEast, QStringLiteral("gps")).file);
    const int end = exifSegmentEnd(whole);
    QVERIFY(end > 0);
    const auto* bytes = reinterpret_cast<const unsigned char*>(whole.constData());
    ExifGpsRecord rec;
    for (int keep = 0; keep < end; ++keep) {
        if (parseExifGps(bytes, std::size_t(keep), rec) == ExifParseSuccess)
            QFAIL(qPrintable(QStringLiteral("a photo cut to %1 bytes parsed").arg(keep)));
    }
    QCOMPARE(parseExifGps(bytes, std::size_t(end), rec), int(ExifParseSuccess));
    QCOMPARE(rec.LatComponents.degrees, 47.0);
}

void TestPhotoGpsReader::corruptedBytesNeverCrashTheParser()
{
    // Random damage to the EXIF segment; the sanitizer build turns any
    // out-of-bounds read into a failure here.
    const QByteArray whole = readAll(firstOfKind(m_southWest, QStringLiteral("gps")).file);
    const int end = exifSegmentEnd(whole);
    QVERIFY(end > 0);
    std::mt19937 rng(12345);
    int parsed = 0;
    for (int round = 0; round < 400; ++round) {
        QByteArray damaged = whole.left(end);
        const int hits = 1 + int(rng() % 8);
        for (int k = 0; k < hits; ++k)
            damaged[int(rng() % unsigned(end))] = char(rng() & 0xFF);
        ExifGpsRecord rec;
        const int code = parseExifGps(reinterpret_cast<const unsigned char*>(damaged.constData()),
                                      std::size_t(damaged.size()), rec);
        QVERIFY(code >= ExifParseSuccess && code <= ExifParseNoMemory);
        if (code == ExifParseSuccess) {
            ++parsed;
            QVERIFY(!std::isnan(rec.Latitude) && !std::isnan(rec.Longitude) && !std::isnan(rec.Altitude));
        }
    }
    // Most hits land in the thumbnail or tag values, so the block still parses.
    QVERIFY(parsed > 0);
}

void TestPhotoGpsReader::nonJpegAndJpegWithoutExif()
{
    ExifGpsRecord rec;
    const QByteArray text("file,lat,lon\nnot,a,photo\n");
    QCOMPARE(parseExifGps(reinterpret_cast<const unsigned char*>(text.constData()), std::size_t(text.size()), rec),
             int(ExifParseNoJpeg));
    QCOMPARE(parseExifGps(nullptr, 0, rec), int(ExifParseNoJpeg));

    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    QByteArray plain;
    QBuffer buffer(&plain);
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    QVERIFY(image.save(&buffer, "JPG"));
    QCOMPARE(parseExifGps(reinterpret_cast<const unsigned char*>(plain.constData()), std::size_t(plain.size()), rec),
             int(ExifParseNoExif));

    // An APP1 segment that says "Exif" but holds no TIFF header.
    const QByteArray fake = QByteArray("\xFF\xD8\xFF\xE1\x00\x0A" "Exif\0\0XY", 14) + plain.mid(2);
    QCOMPARE(parseExifGps(reinterpret_cast<const unsigned char*>(fake.constData()), std::size_t(fake.size()), rec),
             int(ExifParseCorrupt));

    const QString textPath = m_tmp.filePath(QStringLiteral("notes.jpg"));
    const QString plainPath = m_tmp.filePath(QStringLiteral("plain.jpg"));
    QVERIFY(writeAll(textPath, text));
    QVERIFY(writeAll(plainPath, plain));
    double lon = 0, lat = 0, alt = 0;
    StdoutCapture out;
    QVERIFY(!readPhotoGpsPosition(wide(textPath), lon, lat, alt));
    QVERIFY(!readPhotoGpsPosition(wide(plainPath), lon, lat, alt));
    QCOMPARE(out.finish(), QByteArray());
}

void TestPhotoGpsReader::directoryIsReportedAsUnopenable()
{
    ExifGpsRecord rec;
    StdoutCapture out;
    QVERIFY(!readExifFromFile(wide(m_northEast), rec));
    QCOMPARE(out.finish(), QByteArray("Can't open file.\n"));
}

void TestPhotoGpsReader::fifoIsNotWaitedFor()
{
    // Opening a FIFO named like a photo would block until someone writes.
    const QByteArray path = QFile::encodeName(m_tmp.filePath(QStringLiteral("x.jpg")));
    QVERIFY(::mkfifo(path.constData(), 0600) == 0);
    ExifGpsRecord rec;
    StdoutCapture out;
    QVERIFY(!readExifFromFile(wide(QString::fromLocal8Bit(path)), rec));
    QCOMPARE(out.finish(), QByteArray("Can't open file.\n"));
}

void TestPhotoGpsReader::socketIsReportedAsUnopenable()
{
    // A socket exists on disk but cannot be opened, not even by root.
    const QString path = m_tmp.filePath(QStringLiteral("photo.sock"));
    const QByteArray native = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    QVERIFY(size_t(native.size()) < sizeof address.sun_path);
    std::memcpy(address.sun_path, native.constData(), size_t(native.size()));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    QVERIFY(fd >= 0);
    const bool bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd); // the socket file stays behind
    QVERIFY(bound);

    ExifGpsRecord rec;
    double lon = 0, lat = 0, alt = 0;
    StdoutCapture out;
    QVERIFY(!readExifFromFile(wide(path), rec));
    QVERIFY(!readPhotoGpsPosition(wide(path), lon, lat, alt));
    QCOMPARE(out.finish(), QByteArray("Can't open file.\nCan't open file.\n"));
}

void TestPhotoGpsReader::shortReadIsReported()
{
    // Kernel attribute files claim a page but hold a line: a real short read.
    const QString path = QStringLiteral("/sys/kernel/mm/transparent_hugepage/enabled");
    if (QFileInfo(path).size() <= readAll(path).size())
        QSKIP("no file here whose stated size exceeds its contents");
    ExifGpsRecord rec;
    StdoutCapture out;
    QVERIFY(!readExifFromFile(wide(path), rec));
    QCOMPARE(out.finish(), QByteArray("Can't read file.\n"));
}

void TestPhotoGpsReader::sizelessProcFileFailsQuietly()
{
    // /proc files state a size of 0 whatever they hold: the reader reads
    // nothing, which is no read error, and nothing parses.
    const QString path = QStringLiteral("/proc/self/stat");
    if (!QFileInfo::exists(path) || QFileInfo(path).size() != 0)
        QSKIP("/proc is not mounted or states sizes");
    ExifGpsRecord rec;
    StdoutCapture out;
    QVERIFY(!readExifFromFile(wide(path), rec));
    QCOMPARE(out.finish(), QByteArray());
}

void TestPhotoGpsReader::nonAsciiPathIsRead()
{
    const ManifestRow row = firstOfKind(m_southWest, QStringLiteral("gps"));
    const QString dir = m_tmp.filePath(QStringLiteral("Vôo São João"));
    QVERIFY(QDir().mkpath(dir));
    const QString path = QDir(dir).filePath(QStringLiteral("foto_ü_北.jpg"));
    QVERIFY(QFile::copy(row.file, path));
    double lon = 0, lat = 0, alt = 0;
    QVERIFY(readPhotoGpsPosition(wide(path), lon, lat, alt));
    QVERIFY(qAbs(lon - row.lon) < 1e-6);
}

void TestPhotoGpsReader::exiftoolAgreesWithTheManifest()
{
    const QString exiftool = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
    if (exiftool.isEmpty())
        QSKIP("exiftool is not installed");
    QProcess p;
    p.start(exiftool, {QStringLiteral("-n"), QStringLiteral("-csv"), QStringLiteral("-GPSLatitude"),
                       QStringLiteral("-GPSLongitude"), QStringLiteral("-GPSAltitude"),
                       QStringLiteral("-ThumbnailLength"), QStringLiteral("-ext"), QStringLiteral("JPG"),
                       m_northEast, m_southWest, m_deadSea});
    QVERIFY(p.waitForFinished(60000));
    QHash<QString, QList<QByteArray>> byFile;
    for (const QByteArray& line : p.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> f = line.split(',');
        if (f.size() == 5)
            byFile.insert(QFileInfo(QString::fromUtf8(f[0])).absoluteFilePath(), f);
    }
    int compared = 0;
    for (const QString& dir : {m_northEast, m_southWest, m_deadSea}) {
        for (const ManifestRow& r : manifest(dir)) {
            const QList<QByteArray> f = byFile.value(QFileInfo(r.file).absoluteFilePath());
            QVERIFY2(f.size() == 5, qPrintable(r.file));
            QVERIFY2(f[4].toInt() > 500, "every photo carries a JPEG thumbnail");
            if (r.kind != QLatin1String("gps")) {
                QVERIFY(f[1].toDouble() == 0.0 && f[2].toDouble() == 0.0);
                continue;
            }
            QVERIFY2(qAbs(f[1].toDouble() - r.lat) < 1e-7, f[1].constData());
            QVERIFY2(qAbs(f[2].toDouble() - r.lon) < 1e-7, f[2].constData());
            QVERIFY2(qAbs(f[3].toDouble() - r.alt) < 1e-6, f[3].constData());
            ++compared;
        }
    }
    QCOMPARE(compared, 7 + 6 + 2);
}

QTEST_GUILESS_MAIN(TestPhotoGpsReader)
#include "tst_photogpsreader.moc"
