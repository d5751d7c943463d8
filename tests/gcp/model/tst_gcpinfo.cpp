#include <gcp/model/GcpColor.h>
#include <gcp/model/GcpInfo.h>
#include <gcp/model/GcpStatus.h>
#include <gis/Gis.h>

#include <QtTest>

#include <cmath>

using namespace Zyn::AppGcp;
using Zyn::AppCreate::GcpCoordSysInfo;

namespace {

// Three control points 100 m apart, each marked on three photos taken right
// above them; the case then changes one thing.
GcpStatusInput baseSurvey(bool geographic)
{
    GcpStatusInput in;
    in.coordSys = geographic ? GcpCoordSysInfo(QStringLiteral("EPSG:4326"), QStringLiteral("WGS 84"),
                                               QStringLiteral("4326"), 1001, QStringLiteral("WGS 84"), 2)
                             : GcpCoordSysInfo(QStringLiteral("EPSG:32632"), QStringLiteral("WGS 84 / UTM zone 32N"),
                                               QStringLiteral("32632"), 1, QStringLiteral("WGS 84"), 0);
    for (int i = 0; i < 3; ++i) {
        GcpInfo gcp;
        gcp.name = QStringLiteral("P%1").arg(i);
        gcp.coord1 = geographic ? 9.0 + i * 0.001 : 500000.0 + i * 100.0;
        gcp.coord2 = geographic ? 47.0 : 5200000.0;
        gcp.coord3 = 400.0;
        in.gcps << gcp;
        double lon = gcp.coord1, lat = gcp.coord2, h = gcp.coord3;
        Tarn::GIS::transformCoordToLL84(in.coordSys.code, lon, lat, h);
        for (int k = 0; k < 3; ++k) {
            const QString photo = QStringLiteral("/flight/P%1_%2.jpg").arg(i).arg(k);
            in.markersByName[gcp.name] << GcpMarker{QString(), photo, QPoint(300, 200), 1};
            in.photoSizes.insert(photo, QSize(600, 400));
            PhotoGeo geo;
            geo.path = photo;
            geo.hasGps = true;
            geo.longitude = lon;
            geo.latitude = lat;
            geo.altitude = 500.0;
            geo.hasAltitude = true;
            in.photoGeo.insert(photo, geo);
        }
    }
    return in;
}
} // namespace

class TestGcpInfo : public QObject {
    Q_OBJECT

private slots:
    void defaultName_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty table") << QStringList{} << "GCP1";
        QTest::newRow("gap at 3, mixed case") << QStringList{"GCP1", "gcp2", "GCP4"} << "GCP3";
        QTest::newRow("only GCP2") << QStringList{"GCP2"} << "GCP1";
        QTest::newRow("leading zero never matches") << QStringList{"GCP01"} << "GCP1";
        QTest::newRow("unordered run") << QStringList{"gcp3", "Gcp1", "GCP2"} << "GCP4";
        QTest::newRow("padded name does not block") << QStringList{" GCP1", "GCP1 "} << "GCP1";
        QTest::newRow("other names ignored") << QStringList{"A", "GCP", "GCP1x"} << "GCP1";
        QTest::newRow("duplicates") << QStringList{"GCP1", "gcp1", "GCP2"} << "GCP3";
    }

    void defaultName()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, expected);
        const QStringList before = names;
        QCOMPARE(makeDefaultGcpName(names), expected);
        QCOMPARE(names, before);
    }

    void generatorRespectsReservedNames()
    {
        DefaultGcpNameGenerator generator({"GCP1"});
        generator.reserve(QStringLiteral("gcp2"));
        QCOMPARE(generator.next(), QStringLiteral("GCP3"));
        QCOMPARE(generator.next(), QStringLiteral("GCP4"));
    }

    void freshRecords()
    {
        const GcpInfo a;
        const GcpInfo b;
        // Equal contents, distinct identities; a copy keeps its identity.
        QVERIFY(a.id != b.id);
        const GcpInfo copy = a;
        QCOMPARE(copy.id, a.id);
        QSet<QString> ids;
        for (int i = 0; i < 20000; ++i)
            ids.insert(GcpInfo().id);
        QCOMPARE(ids.size(), 20000);
    }

    // Points sharing a name are never merged: the later ones are renamed and
    // keep their own markers.
    void sharedNamesAreSeparated()
    {
        GcpList gcps;
        for (const char* name : {"A", "B", "a", "A (2)", "A"}) {
            GcpInfo gcp;
            gcp.name = QString::fromLatin1(name);
            gcps << gcp;
        }
        // A plain lookup by name keeps the last of them.
        QCOMPARE(gcpMapByName(gcps).keys(), (QStringList{"A", "A (2)", "B", "a"}));
        QCOMPARE(gcpMapByName(gcps).value("A").id, gcps.at(4).id);
        MarkerMap byId;
        for (int i = 0; i < gcps.size(); ++i)
            if (i != 1) // B has no marker, so no entry
                byId[gcps.at(i).id] << GcpMarker{QString(), QStringLiteral("IMG_%1.JPG").arg(i), QPoint(i, i), 1};
        const QStringList renamed = makeNamesUnique(gcps);
        QCOMPARE(renamed, (QStringList{"a -> a (3)", "A -> A (4)"}));
        const MarkerMap byName = markersByName(gcps, byId);
        QCOMPARE(byName.keys(), (QStringList{"A", "A (2)", "A (4)", "a (3)"}));
        QCOMPARE(byName.value(QStringLiteral("A (4)")).first().image, QStringLiteral("IMG_4.JPG"));
    }

    // Neighbouring numbers of one survey get hues far apart, whatever the prefix.
    void numberedPointsGetDistinctHues()
    {
        for (const QString& prefix : {QStringLiteral("GCP"), QStringLiteral("CP-"), QString()}) {
            for (int a = 1; a <= 12; ++a) {
                for (int b = a + 1; b <= a + 2; ++b) {
                    const int d = qAbs(gcpColorForName(prefix + QString::number(a)).hue()
                                       - gcpColorForName(prefix + QString::number(b)).hue());
                    QVERIFY2(qMin(d, 360 - d) >= 60, qPrintable(prefix + QString::number(a)));
                }
            }
        }
    }

    void eachRuleAtItsThreshold_data()
    {
        QTest::addColumn<bool>("geographic");
        QTest::addColumn<int>("change");
        QTest::addColumn<double>("amount");
        QTest::addColumn<int>("code"); // the rule's code expected on P1, or -1 for not
        // change 0: P1 keeps only `amount` markers
        QTest::newRow("3 markers") << false << 0 << 3.0 << -1;
        QTest::newRow("2 markers") << false << 0 << 2.0 << 1;
        // change 1: P1's X and Y set `amount` away from P0's
        QTest::newRow("9 mm from another") << false << 1 << 0.009 << 2;
        QTest::newRow("11 mm from another") << false << 1 << 0.011 << -1;
        QTest::newRow("0.9e-7 deg from another") << true << 1 << 0.9e-7 << 2;
        QTest::newRow("1.1e-7 deg from another") << true << 1 << 1.1e-7 << -1;
        // change 2: P1's X (or latitude) set to `amount`
        QTest::newRow("easting outside the zone") << false << 2 << 2000000.0 << 3;
        QTest::newRow("latitude 90") << true << 2 << 90.0 << -1;
        QTest::newRow("latitude 90.5") << true << 2 << 90.5 << 3;
        QTest::newRow("non-numeric text read as 0") << false << 2 << 0.0 << 3;
        // change 3: P1's first marker at x = `amount` on a 600 px wide photo
        QTest::newRow("last pixel column") << false << 3 << 599.0 << -1;
        QTest::newRow("one past it") << false << 3 << 600.0 << 4;
        QTest::newRow("photo not in the project") << false << 4 << 0.0 << 4;
        // change 5: P1's first photo taken `amount` metres east of it, 100 m up
        QTest::newRow("photo 50 m away") << false << 5 << 50.0 << -1;
        QTest::newRow("photo 2 km away") << false << 5 << 2000.0 << 5;
        // change 6: `amount` of the three points are checkpoints
        QTest::newRow("one checkpoint, two control points") << false << 6 << 1.0 << 6;
    }
    void eachRuleAtItsThreshold()
    {
        QFETCH(bool, geographic);
        QFETCH(int, change);
        QFETCH(double, amount);
        QFETCH(int, code);
        GcpStatusInput in = baseSurvey(geographic);
        GcpInfo& p1 = in.gcps[1];
        QList<GcpMarker>& markers = in.markersByName[p1.name];
        switch (change) {
        case 0:
            markers = markers.mid(0, int(amount));
            break;
        case 1:
            p1.coord1 = in.gcps[0].coord1 + amount;
            p1.coord2 = in.gcps[0].coord2 + amount;
            break;
        case 2:
            (geographic ? p1.coord2 : p1.coord1) = amount;
            break;
        case 3:
            markers[0].pixel.setX(int(amount));
            break;
        case 4:
            markers[0].image = QStringLiteral("/elsewhere/IMG_9.jpg");
            break;
        case 5: {
            PhotoGeo& geo = in.photoGeo[markers[0].image];
            geo.longitude += amount / (111320.0 * std::cos(geo.latitude * M_PI / 180.0));
            geo.altitude = p1.coord3 + 100.0;
            break;
        }
        case 6:
            p1.checkpoint = true;
            break;
        }
        const GcpStatusResult result = computeGcpStatus(in);
        const QSet<int> codes = result.codesByName.value(p1.name);
        const int rule[] = {1, 2, 3, 4, 4, 5, 6};
        QCOMPARE(codes.contains(rule[change]), code >= 0);
        // The other points are untouched, except the partner of a duplicate.
        if (change != 1 || code < 0)
            QVERIFY(result.codesByName.value(QStringLiteral("P2")).isEmpty());
    }

    void summaryCountsWhatIsThere()
    {
        GcpStatusInput in = baseSurvey(false);
        in.gcps[2].checkpoint = true;
        in.markersByName[QStringLiteral("P0")].removeLast();
        const GcpStatusResult result = computeGcpStatus(in);
        QCOMPARE(result.summaryText(),
                 QStringLiteral("2 control points \u00B7 1 checkpoint \u00B7 8 markers \u00B7 2 points need attention"));
    }
};

QTEST_GUILESS_MAIN(TestGcpInfo)
#include "tst_gcpinfo.moc"
