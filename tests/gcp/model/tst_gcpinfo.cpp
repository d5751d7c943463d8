#include <gcp/model/GcpColor.h>
#include <gcp/model/GcpInfo.h>

#include <QtTest>

using namespace Zyn::AppGcp;

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
        QVERIFY(QRegularExpression(QStringLiteral("^\\{[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\}$"))
                    .match(a.id)
                    .hasMatch());
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
};

QTEST_GUILESS_MAIN(TestGcpInfo)
#include "tst_gcpinfo.moc"
