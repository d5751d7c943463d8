#include <gcp/model/GcpListFile.h>

#include <QTest>

using namespace Zyn::AppGcp;

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
        QTest::addColumn<QString>("last"); // the last point and its marker: "c1 c2 c3 x,y image"
        const QString rows = QStringLiteral("544256.7 5320919.9 5 3044 2622 IMG_0525.jpg gcp1\n"
                                            "544256.7 5320919.9 5 4193 1552 IMG_0585.jpg gcp1 extra words\n"
                                            "544157.7\t5320899.2\t5\t2937\t2131\tIMG_0525.jpg\tgcp2\n");
        const QString gcp2 = "544157.7 5320899.2 5 2937,2131 IMG_0525.jpg";
        QTest::newRow("EPSG line") << "EPSG:32611\n" + rows << true << "EPSG:32611" << QStringList{"gcp1", "gcp2"} << 3 << gcp2;
        QTest::newRow("PROJ string, south")
            << "+proj=utm +zone=11 +south +datum=WGS84 +units=m +no_defs\n" + rows << true << "EPSG:32711"
            << QStringList{"gcp1", "gcp2"} << 3 << gcp2;
        QTest::newRow("named zone") << "WGS84 UTM 32N\r\n" + rows << true << "EPSG:32632" << QStringList{"gcp1", "gcp2"} << 3 << gcp2;
        QTest::newRow("unknown system kept as text") << "+proj=tmerc +lat_0=0\n" + rows << true << ""
                                                     << QStringList{"gcp1", "gcp2"} << 3 << gcp2;
        QTest::newRow("no names: grouped by coordinates")
            << QStringLiteral("1 2 3 10 20 a.jpg\n1 2 3 11 21 b.jpg\n4 5 6 12 22 a.jpg\n") << true << ""
            << QStringList{"GCP1", "GCP2"} << 3 << "4 5 6 12,22 a.jpg";
        QTest::newRow("a spreadsheet with a header is not this layout")
            << QStringLiteral("Name\tEasting\tNorthing\tElevation\nA\t1\t2\t3\n") << false << "" << QStringList() << 0 << "";
        QTest::newRow("a second text line is not this layout") << "EPSG:32611\n" + rows + "oops\n" << false << ""
                                                                << QStringList() << 0 << "";
        QTest::newRow("five numbers are not enough") << QStringLiteral("1 2 3 4 5\n") << false << "" << QStringList() << 0 << "";
    }
    void readsTheEnginesLayout()
    {
        QFETCH(QString, text);
        QFETCH(bool, recognized);
        QFETCH(QString, code);
        QFETCH(QStringList, names);
        QFETCH(int, markers);
        QFETCH(QString, last);
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
        const GcpInfo& g = list.gcps.last();
        const GcpMarker m = list.markersByName.value(g.name).last();
        QCOMPARE(QStringLiteral("%1 %2 %3 %4,%5 %6").arg(g.coord1, 0, 'g', 12).arg(g.coord2, 0, 'g', 12)
                     .arg(g.coord3).arg(m.pixel.x()).arg(m.pixel.y()).arg(m.image), last);
    }
};

QTEST_MAIN(GcpListFileTest)
#include "tst_gcplistfile.moc"
