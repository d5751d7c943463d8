#include <gcp/model/GcpListFile.h>

#include <QTest>

using namespace Zyn::AppGcp;
using Zyn::AppCreate::GcpCoordSysInfo;

class GcpListFileTest : public QObject {
    Q_OBJECT
private slots:
    void readsTheEnginesLayout_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("recognized");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<int>("markers");
        const QString rows = QStringLiteral("544256.7 5320919.9 5 3044 2622 IMG_0525.jpg gcp1\n"
                                            "544256.7 5320919.9 5 4193 1552 IMG_0585.jpg gcp1 extra words\n"
                                            "544157.7\t5320899.2\t5\t2937\t2131\tIMG_0525.jpg\tgcp2\n");
        QTest::newRow("EPSG line") << "EPSG:32611\n" + rows << true << "EPSG:32611" << QStringList{"gcp1", "gcp2"} << 3;
        QTest::newRow("PROJ string, south")
            << "+proj=utm +zone=11 +south +datum=WGS84 +units=m +no_defs\n" + rows << true << "EPSG:32711"
            << QStringList{"gcp1", "gcp2"} << 3;
        QTest::newRow("named zone") << "WGS84 UTM 32N\r\n" + rows << true << "EPSG:32632" << QStringList{"gcp1", "gcp2"} << 3;
        QTest::newRow("unknown system kept as text") << "+proj=tmerc +lat_0=0\n" + rows << true << ""
                                                     << QStringList{"gcp1", "gcp2"} << 3;
        QTest::newRow("no names: grouped by coordinates")
            << QStringLiteral("1 2 3 10 20 a.jpg\n1 2 3 11 21 b.jpg\n4 5 6 12 22 a.jpg\n") << true << ""
            << QStringList{"GCP1", "GCP2"} << 3;
        QTest::newRow("a spreadsheet with a header is not this layout")
            << QStringLiteral("Name\tEasting\tNorthing\tElevation\nA\t1\t2\t3\n") << false << "" << QStringList() << 0;
        QTest::newRow("a second text line is not this layout") << "EPSG:32611\n" + rows + "oops\n" << false << ""
                                                                << QStringList() << 0;
        QTest::newRow("five numbers are not enough") << QStringLiteral("1 2 3 4 5\n") << false << "" << QStringList() << 0;
    }
    void readsTheEnginesLayout()
    {
        QFETCH(QString, text);
        QFETCH(bool, recognized);
        QFETCH(QString, code);
        QFETCH(QStringList, names);
        QFETCH(int, markers);
        const GcpListParse list = GcpListFile::parse(text);
        QCOMPARE(list.recognized, recognized);
        if (!recognized)
            return;
        QCOMPARE(list.systemCode, code);
        QStringList got;
        int count = 0;
        for (const GcpInfo& gcp : list.gcps) {
            got << gcp.name;
            count += list.markersByName.value(gcp.name).size();
        }
        QCOMPARE(got, names);
        QCOMPARE(count, markers);
    }

    void writtenListsReadBack()
    {
        const GcpCoordSysInfo utm(QStringLiteral("EPSG:32633"), QStringLiteral("WGS 84 / UTM zone 33N"),
                                  QStringLiteral("32633"), 1, QStringLiteral("WGS 84"), 0);
        GcpList gcps;
        MarkerMap markers;
        for (int i = 0; i < 3; ++i) {
            GcpInfo gcp;
            gcp.name = QStringLiteral("T %1").arg(i); // a space becomes "_"
            gcp.coord1 = 533400.625 + i;
            gcp.coord2 = 5213025.135 - i;
            gcp.coord3 = 350.25;
            gcp.checkpoint = i == 2;
            gcps << gcp;
            markers[gcp.name] << GcpMarker{QString(), QStringLiteral("/flight/AX20_000%1.JPG").arg(i), QPoint(10 * i, 7), 1}
                              << GcpMarker{QString(), QStringLiteral("/flight/AX20_0009.JPG"), QPoint(400, 300 + i), 1};
        }
        const GcpListFiles files = GcpListFile::format(gcps, markers, utm);
        QVERIFY(files.error.isEmpty());
        const GcpListParse control = GcpListFile::parse(QString::fromUtf8(files.controlPoints));
        const GcpListParse checks = GcpListFile::parse(QString::fromUtf8(files.checkpoints));
        QCOMPARE(control.systemCode, utm.code);
        QCOMPARE(control.gcps.size(), 2);
        QCOMPARE(checks.gcps.size(), 1);
        QCOMPARE(control.gcps.at(1).name, QStringLiteral("T_1"));
        QCOMPARE(control.gcps.at(1).coord1, 533401.625);
        QCOMPARE(control.gcps.at(1).coord2, 5213024.135);
        QCOMPARE(control.markersByName.value(QStringLiteral("T_1")).at(1).pixel, QPoint(400, 301));
        QCOMPARE(checks.markersByName.value(QStringLiteral("T_2")).at(0).image, QStringLiteral("AX20_0002.JPG"));
    }
};

QTEST_MAIN(GcpListFileTest)
#include "tst_gcplistfile.moc"
