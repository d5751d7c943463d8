#include <create/PhotoGpsReader.h>
#include <make_drone_photos/AerialTexture.h>
#include <make_drone_photos/ExifWriter.h>
#include <make_drone_photos/FlightPlan.h>
#include <support/TestSupport.h>

#include <QtTest>

#include <libexif/exif-data.h>

#include <cmath>

using namespace Zyn::Tools;
using Zyn::TestSupport::makeDronePhotos;
using Zyn::TestSupport::readFile;

namespace {

QByteArray smallJpeg(int w, int h)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(QColor(90, 120, 60));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", 80);
    return buffer.data();
}

// Distance in metres between two nearby positions, on the local tangent plane.
double metresBetween(double lat1, double lon1, double lat2, double lon2)
{
    double perLat = 0, perLon = 0;
    metresToDegrees((lat1 + lat2) / 2, 1.0, 1.0, perLat, perLon);
    return std::hypot((lat2 - lat1) / perLat, (lon2 - lon1) / perLon);
}

} // namespace

class TestDronePhotos : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_tmp.isValid());
    }

    void degreesPerMetreOnTheEllipsoid()
    {
        // Reference lengths of one degree on WGS 84.
        double dLat = 0, dLon = 0;
        metresToDegrees(0.0, 111319.49, 110574.27, dLat, dLon);
        QVERIFY(qAbs(dLat - 1.0) < 1e-4 && qAbs(dLon - 1.0) < 1e-4);
        metresToDegrees(-45.0, -78846.81, -111131.75, dLat, dLon);
        QVERIFY(qAbs(dLat + 1.0) < 1e-4 && qAbs(dLon + 1.0) < 1e-4);
    }

    void dmsRoundTripAndCarry_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<bool>("latitude");
        QTest::addColumn<QString>("dms"); // degrees, minutes, hemisphere
        QTest::newRow("north") << 47.3769 << true << "47 22 N";
        QTest::newRow("south") << -33.9 << true << "33 54 S";
        QTest::newRow("west") << -122.25 << false << "122 15 W";
        QTest::newRow("east near 180") << 179.999999 << false << "179 59 E";
        QTest::newRow("just below a whole degree") << 10.99999999999 << true << "11 0 N";
        QTest::newRow("negative zero") << -0.0 << true << "0 0 N";
        QTest::newRow("tiny west") << -0.0000001 << false << "0 0 W";
    }

    void dmsRoundTripAndCarry()
    {
        QFETCH(double, value);
        QFETCH(bool, latitude);
        QFETCH(QString, dms);
        const DmsAngle a = latitude ? DmsAngle::fromDecimal(value, 'N', 'S') : DmsAngle::fromDecimal(value, 'E', 'W');
        QCOMPARE(QString("%1 %2 %3").arg(a.degrees).arg(a.minutes).arg(a.ref), dms);
        // Half a microsecond of arc is the rounding limit.
        QVERIFY(qAbs(a.decimal() - value) <= 0.5e-6 / 3600.0 + 1e-15);
    }

    void spreadPicksEvenlyFromEitherEnd()
    {
        QCOMPARE(spreadIndices(10, 1, true), std::vector<int>({9}));
        QCOMPARE(spreadIndices(10, 2, true), std::vector<int>({4, 9}));
        QCOMPARE(spreadIndices(10, 2, false), std::vector<int>({0, 5}));
        QVERIFY(spreadIndices(5, 0, true).empty());
        QVERIFY(spreadIndices(0, 3, false).empty());
        for (int total : {7, 100, 501}) {
            for (int count : {3, 7, 50}) {
                const std::vector<int> picked = spreadIndices(total, count, true);
                QCOMPARE(int(picked.size()), std::min(count, total));
                QCOMPARE(picked.back(), total - 1);
                const int fair = (total + count - 1) / count;
                for (size_t k = 1; k < picked.size(); ++k)
                    QVERIFY(picked[k] > picked[k - 1] && picked[k] - picked[k - 1] <= fair);
            }
        }
    }

    void lawnMowerGivesTheSurveyOverlaps_data()
    {
        QTest::addColumn<double>("lat");
        QTest::addColumn<double>("lon");
        QTest::addColumn<double>("height");
        QTest::addColumn<int>("count");
        QTest::newRow("temperate north-east, 500") << 47.3769 << 8.5417 << 100.0 << 500;
        QTest::newRow("western, 1") << 45.0 << -122.0 << 120.0 << 1;
        QTest::newRow("across the antimeridian") << -17.0 << 179.9999 << 400.0 << 60;
    }

    void lawnMowerGivesTheSurveyOverlaps()
    {
        QFETCH(double, lat);
        QFETCH(double, lon);
        QFETCH(double, height);
        QFETCH(int, count);
        FlightPlanRequest req{lat, lon, height}; // the default overlaps
        req.count = count;
        const FlightPlan plan = planLawnMower(req, CameraModel());
        QCOMPARE(int(plan.stations.size()), count);
        // A 13.2 x 8.8 mm sensor behind 8.8 mm covers 1.5 x 1 times the height.
        QVERIFY(qAbs(plan.footprintWidth - 1.5 * height) < 1e-9);
        QVERIFY(qAbs(1.0 - plan.frontSpacing / plan.footprintHeight - 0.75) < 1e-9);
        QVERIFY(qAbs(1.0 - plan.rowSpacing / plan.footprintWidth - 0.65) < 1e-9);

        double sumLat = 0, sumEast = 0, sumNorth = 0;
        for (size_t i = 0; i < plan.stations.size(); ++i) {
            const PhotoStation& s = plan.stations[i];
            QVERIFY(s.lon >= -180.0 && s.lon <= 180.0);
            QCOMPARE(s.lonDms.ref, s.lon < 0 ? 'W' : 'E');
            QCOMPARE(s.headingDeg, s.row % 2 == 0 ? 0.0 : 180.0);
            sumLat += s.lat;
            sumEast += s.east;
            sumNorth += s.north;
            if (i == 0)
                continue;
            const PhotoStation& prev = plan.stations[i - 1];
            QVERIFY(s.secondsFromStart > prev.secondsFromStart);
            if (s.row == prev.row) {
                // Neighbours on a row are one front spacing apart on the ground,
                // northwards on even rows and southwards on odd ones.
                QVERIFY(qAbs(metresBetween(prev.lat, prev.lon, s.lat, s.lon) - plan.frontSpacing) < 0.01);
                QCOMPARE(s.lat > prev.lat, s.row % 2 == 0);
            } else {
                QCOMPARE(s.row, prev.row + 1);
                QVERIFY(qAbs(s.east - prev.east - plan.rowSpacing) < 1e-9);
            }
        }
        // The block is centred on the requested place.
        QVERIFY(qAbs(sumEast / count) <= plan.rowSpacing);
        QVERIFY(qAbs(sumNorth / count) <= plan.frontSpacing * plan.photosPerRow / 2.0);
        QVERIFY(qAbs(sumLat / count - lat) < 0.01);
        if (count >= 100)
            QVERIFY(plan.rows > 5 && plan.photosPerRow > 5);
    }

    // Cameras write either byte order; the reader must take both.
    void exifSegmentReadsBackInBothByteOrders_data()
    {
        QTest::addColumn<bool>("bigEndian");
        QTest::newRow("Intel") << false;
        QTest::newRow("Motorola") << true;
    }

    void exifSegmentReadsBackInBothByteOrders()
    {
        QFETCH(bool, bigEndian);
        PhotoExif exif;
        exif.taken = QDateTime(QDate(2024, 5, 14), QTime(10, 0));
        exif.gps = GpsKind::Position;
        exif.lat = DmsAngle::fromDecimal(-12.3456789, 'N', 'S');
        exif.lon = DmsAngle::fromDecimal(-76.54321, 'E', 'W');
        exif.altitude = -12.345;
        exif.dop = 1.25;
        exif.bigEndian = bigEndian;
        const QByteArray photo = spliceSegment(smallJpeg(320, 240), buildExifSegment(exif));
        const auto* bytes = reinterpret_cast<const unsigned char*>(photo.constData());

        Zyn::AppCreate::ExifGpsRecord rec;
        QCOMPARE(Zyn::AppCreate::parseExifGps(bytes, size_t(photo.size()), rec), int(Zyn::AppCreate::ExifParseSuccess));
        QVERIFY(qAbs(rec.Latitude - exif.lat.decimal()) < 1e-12);
        QVERIFY(qAbs(rec.Longitude - exif.lon.decimal()) < 1e-12);
        QVERIFY(qAbs(rec.Altitude + 12.345) < 1e-9);
        QVERIFY(qAbs(rec.DOP - 1.25) < 1e-9);

        ExifData* data = exif_data_new_from_data(bytes, unsigned(photo.size()));
        const ExifByteOrder order = exif_data_get_byte_order(data);
        exif_data_unref(data);
        QCOMPARE(order, bigEndian ? EXIF_BYTE_ORDER_MOTOROLA : EXIF_BYTE_ORDER_INTEL);
    }

    // What the segment carries is read back by the photo and GPS readers' tests.
    void exifSegmentRefusesWhatCannotBeOne()
    {
        PhotoExif exif;
        QVERIFY(spliceSegment(QByteArray("GIF89a...."), buildExifSegment(exif)).isEmpty());
        exif.thumbnailJpeg = QByteArray(70000, 'x');
        QVERIFY(buildExifSegment(exif).isEmpty());
    }

    void overlappingPhotosShowTheSameGround()
    {
        // Two photos 40 px apart along track: where they overlap they must
        // agree, or the sets would be useless for matching.
        const AerialTexture texture(3);
        const GroundView a{0, 0, 0, 0.1}; // east, north, heading, metres per pixel
        const GroundView b{0, 40 * a.metresPerPixel, 0, 0.1};
        QImage ia(200, 150, QImage::Format_RGB32), ib(200, 150, QImage::Format_RGB32);
        texture.render(ia, a);
        texture.render(ib, b);
        texture.addGrain(ia, a, 12, 1);
        texture.addGrain(ib, b, 12, 2);
        // B sits further north, so A's ground shows 40 rows lower in B.
        double aligned = 0, unaligned = 0;
        const int n = 110 * 200;
        for (int y = 0; y < 110; ++y) {
            for (int x = 0; x < 200; ++x) {
                aligned += qAbs(qGreen(ia.pixel(x, y)) - qGreen(ib.pixel(x, y + 40)));
                unaligned += qAbs(qGreen(ia.pixel(x, y)) - qGreen(ib.pixel(x, y)));
            }
        }
        aligned /= n;
        unaligned /= n;
        QVERIFY2(aligned < 6.0, qPrintable(QString::number(aligned)));
        QVERIFY2(unaligned > aligned * 2, qPrintable(QStringLiteral("%1 vs %2").arg(unaligned).arg(aligned)));
    }

    void toolRejectsBadArguments_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("message");
        const QStringList valid{"--count", "3", "--lat", "1", "--lon", "2", "--alt", "3"};
        QTest::newRow("no output") << valid << "missing --out";
        QTest::newRow("latitude out of range") << valid + QStringList{"--lat", "95"} << "--lat must be";
        QTest::newRow("count not a number") << valid + QStringList{"--count", "many"} << "--count must be";
        QTest::newRow("too many without GPS")
            << valid + QStringList{"--no-gps", "2", "--zero-gps", "2"} << "exceed --count";
    }

    void toolRejectsBadArguments()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, message);
        const QString dir = m_tmp.filePath(QStringLiteral("bad"));
        if (!message.startsWith(QLatin1String("missing --out")))
            args << QStringLiteral("--out") << dir;
        QProcess p;
        p.start(QDir(qEnvironmentVariable("ZYN_TOOLS_DIR")).filePath("make_drone_photos"), args);
        QVERIFY(p.waitForFinished(30000));
        QCOMPARE(p.exitCode(), 2);
        QVERIFY2(QString::fromUtf8(p.readAllStandardError()).contains(message), qPrintable(message));
        QVERIFY(!QFile::exists(QDir(dir).filePath(QStringLiteral("manifest.csv"))));
    }

    void toolIsDeterministicPerSeed()
    {
        const QStringList flight{"--count", "3", "--lat", "-41.29", "--lon", "174.78", "--alt", "50", "--jobs", "2"};
        QCOMPARE(makeDronePhotos(m_tmp.filePath("a"), flight + QStringList{"--seed", "5"}).size(), 3);
        QCOMPARE(makeDronePhotos(m_tmp.filePath("b"), flight + QStringList{"--seed", "5"}).size(), 3);
        QCOMPARE(makeDronePhotos(m_tmp.filePath("c"), flight + QStringList{"--seed", "6"}).size(), 3);
        const auto load = [this](const QString& file) { return readFile(m_tmp.filePath(file)); };
        const QByteArray first = load("a/AX20_0003.JPG");
        QVERIFY(first.size() > 1000);
        QCOMPARE(load("b/AX20_0003.JPG"), first);
        QVERIFY(load("c/AX20_0003.JPG") != first);
        QCOMPARE(load("a/manifest.csv").count('\n'), 4);
        // The flight does not depend on the seed, only the scene does.
        QCOMPARE(load("a/manifest.csv").split('\n').at(1).left(40), load("c/manifest.csv").split('\n').at(1).left(40));
    }

private:
    QTemporaryDir m_tmp;
};

QTEST_GUILESS_MAIN(TestDronePhotos)
#include "tst_dronephotos.moc"
