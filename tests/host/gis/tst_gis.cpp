#include <gis/Gis.h>

#include <QtTest>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

using namespace Tarn::GIS;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

struct Point3 {
    double x, y, z;
};
Q_DECLARE_METATYPE(Point3)

class TestGis : public QObject {
    Q_OBJECT

private slots:
    void utmZones_data()
    {
        QTest::addColumn<double>("lon");
        QTest::addColumn<double>("lat");
        QTest::addColumn<QString>("zone");

        QTest::newRow("equator is north") << 15.0 << 0.0 << "EPSG:32633";
        QTest::newRow("just south") << 15.0 << -0.000001 << "EPSG:32733";
        QTest::newRow("zone edge 6E") << 6.0 << 45.0 << "EPSG:32632";
        QTest::newRow("just before 6E") << 5.999999 << 45.0 << "EPSG:32631";
        QTest::newRow("Bergen (Norway rule)") << 5.3 << 60.4 << "EPSG:32632";
        QTest::newRow("Norway rule not south of 56N") << 5.3 << 55.9 << "EPSG:32631";
        QTest::newRow("Norway rule not west of 3E") << 2.9 << 60.0 << "EPSG:32631";
        QTest::newRow("Norway rule ends at 64N") << 5.3 << 64.0 << "EPSG:32631";
        QTest::newRow("Svalbard 31") << 8.9 << 78.0 << "EPSG:32631";
        QTest::newRow("Svalbard 33 from 9E") << 9.0 << 78.0 << "EPSG:32633";
        QTest::newRow("Svalbard 35") << 21.0 << 78.0 << "EPSG:32635";
        QTest::newRow("Svalbard 37") << 35.0 << 80.0 << "EPSG:32637";
        QTest::newRow("Svalbard rule ends at 42E") << 42.0 << 78.0 << "EPSG:32638";
        QTest::newRow("band X starts at 72N") << 20.0 << 71.9 << "EPSG:32634";
        QTest::newRow("84N is still UTM") << 20.0 << 84.0 << "EPSG:32633";
        QTest::newRow("UPS north") << 0.0 << 86.0 << "EPSG:32661";
        QTest::newRow("80S is still UTM") << -70.0 << -80.0 << "EPSG:32719";
        QTest::newRow("UPS south") << -70.0 << -85.0 << "EPSG:32761";
        QTest::newRow("lon 180") << 180.0 << 10.0 << "EPSG:32660";
        QTest::newRow("lon -180") << -180.0 << 10.0 << "EPSG:32601";
        // Refused: no zone, and no stale answer left behind.
        QTest::newRow("lon 181") << 181.0 << 10.0 << "";
    }

    void utmZones()
    {
        QFETCH(double, lon);
        QFETCH(double, lat);
        QFETCH(QString, zone);
        QString code = "stale";
        QCOMPARE(getUTMZoneForGPSCoordinates(lon, lat, code), !zone.isEmpty());
        QCOMPARE(code, zone);
    }

    void knownPoints_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<Point3>("ll"); // longitude, latitude, height
        QTest::addColumn<Point3>("xyz");
        QTest::addColumn<double>("tol");
        using P = Point3;
        // A 2D system has no height of its own: the caller's passes through.
        QTest::newRow("UTM 33N central meridian") << "EPSG:32633" << P{15, 0, 123.25} << P{500000, 0, 123.25} << 1e-3;
        QTest::newRow("UTM 56S central meridian") << "EPSG:32756" << P{153, 0, 0} << P{500000, 10000000, 0} << 1e-3;
        QTest::newRow("web mercator origin") << "EPSG:3857" << P{0, 0, 0} << P{0, 0, 0} << 1e-3;
        QTest::newRow("web mercator edge") << "EPSG:3857" << P{180, 0, 0} << P{20037508.342789244, 0, 0} << 1e-3;
        QTest::newRow("UPS north pole") << "EPSG:32661" << P{0, 90, 0} << P{2000000, 2000000, 0} << 1e-3;
        QTest::newRow("UPS south pole") << "EPSG:32761" << P{0, -90, 0} << P{2000000, 2000000, 0} << 1e-3;
        // Geographic systems are longitude first, even where the authority
        // says latitude first.
        QTest::newRow("EPSG:4326 order") << "EPSG:4326" << P{10, 50, 0} << P{10, 50, 0} << 1e-9;
        QTest::newRow("LL84 identity") << "LL84" << P{-122.5, 37.75, 0} << P{-122.5, 37.75, 0} << 1e-9;
        QTest::newRow("lower-case authority") << "epsg:32633" << P{15, 0, 0} << P{500000, 0, 0} << 1e-3;
        QTest::newRow("ECEF") << "ECEF" << P{0, 0, 100} << P{6378237, 0, 0} << 1e-3;
        QTest::newRow("ECEF pole") << "ECEF" << P{0, 90, 0} << P{0, 0, 6356752.314245179} << 1e-3;
        QTest::newRow("EPSG:4978 is ECEF") << "EPSG:4978" << P{0, 0, 0} << P{6378137, 0, 0} << 1e-3;
        // WGS 84 + EGM96 height: EGM96's undulation at 0N 0E is about +17.2 m.
        QTest::newRow("compound height uses the geoid") << "EPSG:9707" << P{0, 0, 0} << P{0, 0, -17.25} << 0.75;
    }

    void knownPoints()
    {
        QFETCH(QString, code);
        QFETCH(Point3, ll);
        QFETCH(Point3, xyz);
        QFETCH(double, tol);
        Point3 p = ll;
        QVERIFY(transformCoordFromLL84(code, p.x, p.y, p.z));
        QVERIFY2(std::fabs(p.x - xyz.x) < tol && std::fabs(p.y - xyz.y) < tol && std::fabs(p.z - xyz.z) < tol,
                 qPrintable(QString("%1 %2 %3").arg(p.x, 0, 'f', 6).arg(p.y, 0, 'f', 6).arg(p.z, 0, 'f', 6)));
        QVERIFY(transformCoordToLL84(code, p.x, p.y, p.z));
        // Longitude is meaningless at the poles.
        QVERIFY2(std::fabs(ll.y) == 90.0 || std::fabs(p.x - ll.x) < 1e-7, qPrintable(QString::number(p.x, 'f', 10)));
        QVERIFY2(qAbs(p.y - ll.y) < 1e-7 && qAbs(p.z - ll.z) < 1e-3, qPrintable(QString::number(p.z, 'f', 6)));
    }

    void roundTrips_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<double>("lon");
        QTest::addColumn<double>("lat");
        QTest::newRow("Swiss LV95 Bern") << "EPSG:2056" << 7.44 << 46.95;
        QTest::newRow("NY Long Island ftUS") << "EPSG:2263" << -73.98 << 40.75;
        QTest::newRow("ETRS89 geographic") << "EPSG:4258" << 10.0 << 50.0;
        QTest::newRow("NTF Paris grads") << "EPSG:4807" << 2.35 << 48.85;
    }

    void roundTrips()
    {
        QFETCH(QString, code);
        QFETCH(double, lon);
        QFETCH(double, lat);
        double x = lon, y = lat, z = 0;
        QVERIFY(transformCoordFromLL84(code, x, y, z));
        QVERIFY(std::fabs(x - lon) > 1e-12 || std::fabs(y - lat) > 1e-12 || code == "EPSG:4258");
        QVERIFY(transformCoordToLL84(code, x, y, z));
        // Grid-based datum shifts (Swiss, British) invert iteratively: 1e-7
        // degrees is about a centimetre.
        QVERIFY2(std::fabs(x - lon) < 1e-7 && std::fabs(y - lat) < 1e-7,
                 qPrintable(QString("%1 %2").arg(x, 0, 'f', 10).arg(y, 0, 'f', 10)));
    }

    void transformFailuresLeaveValues_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("y");
        QTest::newRow("unknown code") << "EPSG:99999999" << 1.0 << 2.0;
        QTest::newRow("not a code") << "nonsense" << 1.0 << 2.0;
        QTest::newRow("proj string is not a code") << "+proj=longlat" << 1.0 << 2.0;
        QTest::newRow("empty") << "" << 1.0 << 2.0;
        QTest::newRow("NaN") << "EPSG:32633" << kNaN << 2.0;
        QTest::newRow("LL84 latitude 95") << "LL84" << 10.0 << 95.0;
        QTest::newRow("vertical only") << "EPSG:5773" << 1.0 << 2.0;
    }

    void transformFailuresLeaveValues()
    {
        QFETCH(QString, code);
        QFETCH(double, x);
        QFETCH(double, y);
        for (const auto transform : {transformCoordToLL84, transformCoordFromLL84}) {
            double tx = x, ty = y, tz = 7.0;
            QVERIFY(!transform(code, tx, ty, tz));
            QVERIFY(std::isnan(x) ? std::isnan(tx) : tx == x);
            QVERIFY(ty == y && tz == 7.0);
        }
    }

    void polarCoordValidity()
    {
        QVERIFY(isPolarCoordValid(0, 0));
        QVERIFY(!isPolarCoordValid(0, 0, true));
        QVERIFY(isPolarCoordValid(0, 0.0001, true));
        QVERIFY(!isPolarCoordValid(90.0001, 0));
        QVERIFY(!isPolarCoordValid(0, -180.0001));
        // Latitude comes first: 100 is a fine longitude but no latitude.
        QVERIFY(isPolarCoordValid(10, 100));
        QVERIFY(!isPolarCoordValid(100, 10));
        QVERIFY(!isPolarCoordValid(kNaN, 0));
        QVERIFY(!isPolarCoordValid(0, kInf));
    }

    // Whether (x, y) lies in the system's area, and whether the system is longitude/latitude.
    void systems_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("y");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<bool>("polar");
        // UTM 33N is used from 12E to 18E, 0N to 84N.
        QTest::newRow("UTM 33N centre") << "EPSG:32633" << 500000.0 << 5000000.0 << true << false;
        QTest::newRow("UTM 33N east of 18E") << "EPSG:32633" << 800000.0 << 5000000.0 << false << false;
        QTest::newRow("Swiss Bern") << "EPSG:2056" << 2600000.0 << 1200000.0 << true << false;
        QTest::newRow("Swiss far north") << "EPSG:2056" << 2600000.0 << 1600000.0 << false << false;
        QTest::newRow("LL84 anywhere") << "LL84" << -170.0 << -60.0 << true << true;
        QTest::newRow("LL84 out of range") << "LL84" << 200.0 << 0.0 << false << true;
        QTest::newRow("ETRS89 in Europe") << "EPSG:4258" << 10.0 << 50.0 << true << true;
        QTest::newRow("ETRS89 in America") << "EPSG:4258" << -100.0 << 40.0 << false << true;
        QTest::newRow("ECEF finite") << "ECEF" << 6378137.0 << 0.0 << true << false;
        QTest::newRow("ECEF NaN") << "ECEF" << kNaN << 0.0 << false << false;
        QTest::newRow("compound on geographic") << "EPSG:9707" << 10.0 << 50.0 << true << true;
        QTest::newRow("compound on projected, Germany") << "EPSG:5555" << 500000.0 << 5500000.0 << true << false;
        QTest::newRow("vertical") << "EPSG:5773" << 0.0 << 0.0 << false << false;
        QTest::newRow("unknown system") << "EPSG:99999999" << 0.0 << 0.0 << false << false;
        QTest::newRow("NaN") << "EPSG:32633" << 500000.0 << kNaN << false << false;
    }

    void systems()
    {
        QFETCH(QString, code);
        QFETCH(double, x);
        QFETCH(double, y);
        QFETCH(bool, valid);
        QFETCH(bool, polar);
        QCOMPARE(isCoordValid(code, x, y), valid);
        QCOMPARE(isPolarCS(code), polar);
    }

    void antimeridianArea()
    {
        // PDC Mercator is used from 98.69E eastwards across 180 to 68W.
        auto validAt = [](const QString& code, double lon, double lat) {
            double x = lon, y = lat, z = 0;
            return transformCoordFromLL84(code, x, y, z) && isCoordValid(code, x, y);
        };
        QVERIFY(validAt("EPSG:3832", 179.9, 0.0));
        QVERIFY(validAt("EPSG:3832", -179.9, 0.0));
        QVERIFY(!validAt("EPSG:3832", 0.0, 10.0));
        QVERIFY(!validAt("EPSG:3832", -60.0, 10.0));

        // UTM 60N stops at 180: a point just across it is outside.
        QVERIFY(validAt("EPSG:32660", 179.5, 10.0));
        QVERIFY(!validAt("EPSG:32660", -179.5, 10.0));
    }

    void gpsText()
    {
        const QLocale saved;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); // no decimal comma
        const QStringList texts{gpsCoordToString(2.35), gpsCoordToString(-33.123456789), gpsCoordToString(180)};
        QLocale::setDefault(saved);
        QCOMPARE(texts, (QStringList{"2.35000000", "-33.12345679", "180.00000000"}));
    }

    void concurrentTransforms()
    {
        // Two workers transform through their own PROJ contexts, the same
        // system and different ones at once; results must match the GUI
        // thread's, both ways.
        const QStringList codes = {"EPSG:32633", "EPSG:2056", "ECEF", "EPSG:32633"};
        const auto run = [&codes](int first, int step, std::vector<double>& out) {
            for (int c = first; c < codes.size(); c += step) {
                for (int i = 0; i < 200; ++i) {
                    double x = 7.0 + i * 0.01, y = 46.5 + i * 0.001, z = i;
                    const bool from = transformCoordFromLL84(codes[c], x, y, z);
                    out.insert(out.end(), {from ? x : kNaN, y, z, double(isCoordValid(codes[c], x, y))});
                    out.push_back(transformCoordToLL84(codes[c], x, y, z) ? y : kNaN);
                }
            }
        };
        std::vector<double> expected[2], seen[2];
        run(0, 2, expected[0]);
        run(1, 2, expected[1]);
        auto work = [&](int worker) {
            for (int round = 0; round < 5; ++round)
                run(worker, 2, seen[worker]);
        };
        std::thread a(work, 0);
        std::thread b(work, 1);
        a.join();
        b.join();
        for (int worker = 0; worker < 2; ++worker) {
            QCOMPARE(seen[worker].size(), 5 * expected[worker].size());
            for (size_t i = 0; i < seen[worker].size(); ++i)
                QVERIFY2(seen[worker][i] == expected[worker][i % expected[worker].size()],
                         qPrintable(QString::number(i)));
        }
    }
};

QTEST_GUILESS_MAIN(TestGis)
#include "tst_gis.moc"
