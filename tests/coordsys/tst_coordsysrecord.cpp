// The coordinate-system record, its stored form and the catalogue's row order.
#include <QtTest>
#include <support/TestSupport.h>

#include <coordsys/CoordSysDialog.h>
#include <coordsys/CoordSysSelector.h>
#include <coordsys/GcpCoordSysInfo.h>
#include <coordsys/TableWidgetItem.h>
#include <utilities/Constants.h>
#include <utilities/ResourceStrings.h>

using namespace Zyn::AppCreate;

class CoordSysRecordTest : public QObject {
    Q_OBJECT

private:
    // Where a slot's record is stored.
    static QString slotKey(bool input)
    {
        return QString::fromLatin1(Zyn::Utilities::CFG_ELEM_GENERAL) + '/'
               + (input ? Zyn::Resource::String::SETTINGS_GCP_COORD_SYSTEM_IN
                        : Zyn::Resource::String::SETTINGS_GCP_COORD_SYSTEM_OUT);
    }

private slots:
    void initTestCase()
    {
        Zyn::TestSupport::isolateSettings(QStringLiteral("coordsysrecord"));
    }

    void init() { QSettings().clear(); }

    void onlyTheCodeDecidesValidity()
    {
        QVERIFY(GcpCoordSysInfo(QStringLiteral("X"), {}, {}, 0, {}, 0).isValid());
        QVERIFY(!GcpCoordSysInfo({}, QStringLiteral("described"), QStringLiteral("1"), 1, {}, 0).isValid());
    }

    void parsingOddTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("parsed"); // all six parts
        const QString ll84 = QStringLiteral("LL84##Latitude-Longitude-Altitude##4326##1001##WGS84##2");
        QTest::newRow("two parts become LL84") << "LL84##X" << ll84;
        QTest::newRow("seven parts become LL84") << "A##B##C##1##D##0##E" << ll84;
        QTest::newRow("empty becomes LL84") << "" << ll84;
        QTest::newRow("numbers that do not parse give 0") << "A##B##C##metre##D##geo" << "A##B##C##0##D##0";
        QTest::newRow("negative numbers parse") << "A##B####-3####-1" << "A##B####-3####-1";
        QTest::newRow("single-hash separators do not split") << "A#B#C#1#D#0" << ll84;
    }

    void parsingOddTexts()
    {
        QFETCH(QString, text);
        QFETCH(QString, parsed);
        QCOMPARE(GcpCoordSysInfo::fromText(text).toText(), parsed);
    }

    void saveAndLoadSlotsAreIndependent()
    {
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ll84());
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false), GcpCoordSysInfo::ll84());

        const GcpCoordSysInfo utm("EPSG:32633", "WGS 84 / UTM zone 33N", "32633", 1, "WGS84", 0);
        CoordSysDialog::saveGcpCoordSysInfo(utm, false);
        CoordSysDialog::saveGcpCoordSysInfo(GcpCoordSysInfo::ecef(), true);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false), utm);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ecef());

        QCOMPARE(QSettings().value(slotKey(false)).toString(), "EPSG:32633##WGS 84 / UTM zone 33N##32633##1##WGS84##0");
    }

    void storedValuesThatLoadAsLL84_data()
    {
        QTest::addColumn<bool>("input");
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("description holding the separator")
            << true << QVariant(QStringLiteral("X:1##North ## South####1####0"));
        QTest::newRow("a list") << true << QVariant(QStringList{QStringLiteral("a"), QStringLiteral("b")});
        QTest::newRow("a number") << false << QVariant(42);
    }

    void storedValuesThatLoadAsLL84()
    {
        QFETCH(bool, input);
        QFETCH(QVariant, stored);
        QSettings().setValue(slotKey(input), stored);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(input), GcpCoordSysInfo::ll84());
    }

    void itemOrdering_data()
    {
        // code, built-in, recent rank, built-in order; for both items.
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::newRow("newest recent first") << "AAA,0,2,1" << "ZZZ,0,1,1";
        QTest::newRow("recent before built-in") << "ZZZ,0,1,1" << "LL84,1,0,1";
        QTest::newRow("built-in before the rest") << "LL84,1,0,1" << "EPSG:2000,0,0,1";
        QTest::newRow("built-ins by order, not text") << "LL84,1,0,1" << "ECEF,1,0,2";
        QTest::newRow("the rest by text") << "EPSG:2000,0,0,1" << "EPSG:3000,0,0,1";
        QTest::newRow("letter case ignored") << "abc,0,0,1" << "EPSG:3000,0,0,1";
        QTest::newRow("numbers by value") << "EPSG:3000,0,0,1" << "EPSG:20001,0,0,1";
        QTest::newRow("empty cells last") << "EPSG:20001,0,0,1" << ",0,0,1";
    }

    void itemOrdering()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        const auto item = [](const QString& row) {
            const QStringList f = row.split(',');
            return TableWidgetItem(f.at(0), f.at(1) == "1", f.at(2).toInt(), f.at(3).toInt());
        };
        QVERIFY(item(a) < item(b));
        QVERIFY(!(item(b) < item(a)));
        QVERIFY(!(item(a) < item(a)));
        // Flags travel with copies; the tool tip is the text.
        QScopedPointer<QTableWidgetItem> copy(item(a).clone());
        QCOMPARE(dynamic_cast<TableWidgetItem*>(copy.data())->recentRank(), item(a).recentRank());
        QCOMPARE(copy->toolTip(), item(a).text());
    }

    void againstAPlainItem()
    {
        // Built-in first, otherwise by text.
        const QTableWidgetItem plain(QStringLiteral("AAAA"));
        QVERIFY(TableWidgetItem(QStringLiteral("LL84"), true, 0, 1) < plain);
        QVERIFY(!(TableWidgetItem(QStringLiteral("EPSG:2000")) < plain));
        QVERIFY(TableWidgetItem(QStringLiteral("A")) < plain);
    }

    void dialogPlacement_data()
    {
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<QPoint>("centre");
        QTest::addColumn<QPoint>("topLeft"); // of the 550x600 catalogue, never resized
        const QRect screen(0, 0, 1600, 1000);
        QTest::newRow("fits: centred") << screen << QPoint(800, 500) << QPoint(526, 201);
        QTest::newRow("past the right edge: 70 inside") << screen << QPoint(1500, 500) << QPoint(1599 - 70 - 549, 201);
        QTest::newRow("past the left: left at 70") << screen << QPoint(100, 500) << QPoint(70, 201);
        QTest::newRow("above the top: top at 70") << screen << QPoint(800, 100) << QPoint(526, 70);
        QTest::newRow("near the bottom: bottom 70 inside") << screen << QPoint(800, 850) << QPoint(526, 999 - 70 - 599);
        // Within 70 of the right edge but still on screen: not moved.
        QTest::newRow("right edge is only checked for leaving") << screen << QPoint(1300, 500) << QPoint(1026, 201);
        // A second screen to the right: its own left edge is not a limit.
        QTest::newRow("second screen") << QRect(1600, 0, 1600, 1000) << QPoint(1700, 500) << QPoint(1426, 201);
    }

    void dialogPlacement()
    {
        QFETCH(QRect, screen);
        QFETCH(QPoint, centre);
        QFETCH(QPoint, topLeft);
        QCOMPARE(CoordSysSelector::placeDialog(QRect(0, 0, 550, 600), centre, screen), QRect(topLeft, QSize(550, 600)));
    }
};

QTEST_GUILESS_MAIN(CoordSysRecordTest)
#include "tst_coordsysrecord.moc"
