// The coordinate-system record, its stored form and the catalogue's row order.
#include <QSettings>
#include <QStandardPaths>
#include <QtTest>

#include <coordsys/CoordSysDialog.h>
#include <coordsys/CoordSysSelector.h>
#include <coordsys/GcpCoordSysInfo.h>
#include <coordsys/TableWidgetItem.h>
#include <utilities/Constants.h>
#include <utilities/ResourceStrings.h>

using Zyn::AppCreate::CoordSysDialog;
using Zyn::AppCreate::CoordSysSelector;
using Zyn::AppCreate::GcpCoordSysInfo;
using Zyn::AppCreate::TableWidgetItem;

class CoordSysRecordTest : public QObject {
    Q_OBJECT

private:
    static void writeRaw(const QString& key, const QVariant& value)
    {
        QSettings settings;
        settings.beginGroup(QString::fromLatin1(Zyn::Utilities::CFG_ELEM_GENERAL));
        settings.setValue(key, value);
        settings.endGroup();
    }
    static QString inKey() { return Zyn::Resource::String::SETTINGS_GCP_COORD_SYSTEM_IN; }
    static QString outKey() { return Zyn::Resource::String::SETTINGS_GCP_COORD_SYSTEM_OUT; }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setOrganizationName(QStringLiteral("ZynTest"));
        QCoreApplication::setApplicationName(QStringLiteral("coordsysrecord"));
    }

    void init() { QSettings().clear(); }

    void textFormOfBuiltIns()
    {
        QCOMPARE(GcpCoordSysInfo::ll84().toText(),
                 QStringLiteral("LL84##Latitude-Longitude-Altitude##4326##1001##WGS84##2"));
        QCOMPARE(GcpCoordSysInfo::ecef().toText(), QStringLiteral("ECEF##Earth-Centered Earth-Fixed####1####0"));
        const GcpCoordSysInfo ecef = GcpCoordSysInfo::ecef();
        QVERIFY(ecef.epsg.isEmpty());
        QVERIFY(ecef.datum.isEmpty());
        QCOMPARE(ecef.unit, 1);
        QCOMPARE(ecef.systemType, 0);
        QVERIFY(GcpCoordSysInfo::ll84().isValid());
        QVERIFY(!GcpCoordSysInfo().isValid());
        // Only the code decides validity.
        QVERIFY(GcpCoordSysInfo(QStringLiteral("X"), {}, {}, 0, {}, 0).isValid());
        QVERIFY(!GcpCoordSysInfo({}, QStringLiteral("described"), QStringLiteral("1"), 1, {}, 0).isValid());
    }

    void parsingOddTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("code");
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("type");
        QTest::newRow("two parts become LL84") << "LL84##X" << "LL84" << 1001 << 2;
        QTest::newRow("seven parts become LL84") << "A##B##C##1##D##0##E" << "LL84" << 1001 << 2;
        QTest::newRow("empty becomes LL84") << "" << "LL84" << 1001 << 2;
        QTest::newRow("numbers that do not parse give 0") << "A##B##C##metre##D##geo" << "A" << 0 << 0;
        QTest::newRow("negative numbers parse") << "A##B####-3####-1" << "A" << -3 << -1;
        QTest::newRow("single-hash separators do not split") << "A#B#C#1#D#0" << "LL84" << 1001 << 2;
    }

    void parsingOddTexts()
    {
        QFETCH(QString, text);
        QFETCH(QString, code);
        QFETCH(int, unit);
        QFETCH(int, type);
        const GcpCoordSysInfo info = GcpCoordSysInfo::fromText(text);
        QCOMPARE(info.code, code);
        QCOMPARE(info.unit, unit);
        QCOMPARE(info.systemType, type);
        if (code == QLatin1String("LL84"))
            QCOMPARE(info, GcpCoordSysInfo::ll84()); // the whole default, not a part-filled record
    }

    void saveAndLoadSlotsAreIndependent()
    {
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ll84());
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false), GcpCoordSysInfo::ll84());

        const GcpCoordSysInfo utm(QStringLiteral("EPSG:32633"), QStringLiteral("WGS 84 / UTM zone 33N"),
                                  QStringLiteral("32633"), 1, QStringLiteral("WGS84"), 0);
        CoordSysDialog::saveGcpCoordSysInfo(utm, false);
        CoordSysDialog::saveGcpCoordSysInfo(GcpCoordSysInfo::ecef(), true);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false), utm);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ecef());

        QSettings settings;
        settings.beginGroup(QString::fromLatin1(Zyn::Utilities::CFG_ELEM_GENERAL));
        QCOMPARE(settings.value(outKey()).toString(),
                 QStringLiteral("EPSG:32633##WGS 84 / UTM zone 33N##32633##1##WGS84##0"));
    }

    void descriptionWithSeparatorLoadsAsLL84()
    {
        const GcpCoordSysInfo odd(QStringLiteral("X:1"), QStringLiteral("North ## South"), QString(), 1, QString(), 0);
        CoordSysDialog::saveGcpCoordSysInfo(odd, true);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ll84());
    }

    void foreignStoredValuesLoadAsLL84()
    {
        writeRaw(inKey(), QStringList{QStringLiteral("a"), QStringLiteral("b")});
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ll84());
        writeRaw(outKey(), 42);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false), GcpCoordSysInfo::ll84());
    }

    void itemOrdering()
    {
        const TableWidgetItem recentOld(QStringLiteral("ZZZ"), false, 1, 1);
        const TableWidgetItem recentNew(QStringLiteral("AAA"), false, 2, 1);
        const TableWidgetItem builtIn(QStringLiteral("LL84"), true, 0, 1);
        const TableWidgetItem builtInLater(QStringLiteral("ECEF"), true, 0, 2);
        const TableWidgetItem plainA(QStringLiteral("EPSG:2000"), false, 0, 1);
        const TableWidgetItem plainB(QStringLiteral("EPSG:3000"), false, 0, 1);
        const TableWidgetItem lowerCase(QStringLiteral("abc"), false, 0, 1);
        const TableWidgetItem longNumber(QStringLiteral("EPSG:20001"), false, 0, 1);
        const TableWidgetItem empty(QString(), false, 0, 1);

        // The newest recent system is first, all recent ones before built-ins.
        QVERIFY(recentNew < recentOld);
        QVERIFY(!(recentOld < recentNew));
        QVERIFY(recentOld < builtIn);
        QVERIFY(!(builtIn < recentOld));
        // Built-ins before the rest, among themselves by order, not text.
        QVERIFY(builtIn < plainA);
        QVERIFY(!(plainA < builtIn));
        QVERIFY(builtIn < builtInLater);
        QVERIFY(!(builtInLater < builtIn));
        // The rest by text, numbers by value, empty cells last.
        QVERIFY(plainA < plainB);
        QVERIFY(!(plainB < plainA));
        QVERIFY(lowerCase < plainB);
        QVERIFY(plainB < longNumber);
        QVERIFY(!(longNumber < plainB));
        QVERIFY(longNumber < empty);
        QVERIFY(!(empty < longNumber));
        QVERIFY(!(plainA < plainA));

        // Against a plain item: built-in first, otherwise by text.
        const QTableWidgetItem plainItem(QStringLiteral("AAAA"));
        QVERIFY(builtIn < plainItem);
        QVERIFY(!(plainA < plainItem));
        QVERIFY(TableWidgetItem(QStringLiteral("A"), false, 0, 0) < plainItem);

        // Flags travel with copies; the tool tip is the text.
        QScopedPointer<QTableWidgetItem> copy(recentNew.clone());
        auto* typed = dynamic_cast<TableWidgetItem*>(copy.data());
        QVERIFY(typed);
        QCOMPARE(typed->recentRank(), 2);
        QCOMPARE(typed->toolTip(), QStringLiteral("AAA"));
    }

    void dialogPlacement_data()
    {
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<QPoint>("centre");
        QTest::addColumn<QRect>("expected");
        const QRect screen(0, 0, 1600, 1000);
        const QSize size(550, 600);
        QTest::newRow("fits: centred") << screen << QPoint(800, 500) << QRect(QPoint(526, 201), size);
        QTest::newRow("past the right edge: 70 inside")
            << screen << QPoint(1500, 500) << QRect(QPoint(1599 - 70 - 549, 201), size);
        QTest::newRow("past the left: left at 70") << screen << QPoint(100, 500) << QRect(QPoint(70, 201), size);
        QTest::newRow("above the top: top at 70") << screen << QPoint(800, 100) << QRect(QPoint(526, 70), size);
        QTest::newRow("near the bottom: bottom 70 inside")
            << screen << QPoint(800, 850) << QRect(QPoint(526, 999 - 70 - 599), size);
        // Within 70 of the right edge but still on screen: not moved.
        QTest::newRow("right edge is only checked for leaving")
            << screen << QPoint(1300, 500) << QRect(QPoint(1026, 201), size);
        // A second screen to the right: its own left edge is not a limit.
        QTest::newRow("second screen") << QRect(1600, 0, 1600, 1000) << QPoint(1700, 500)
                                       << QRect(QPoint(1426, 201), size);
    }

    void dialogPlacement()
    {
        QFETCH(QRect, screen);
        QFETCH(QPoint, centre);
        QFETCH(QRect, expected);
        QCOMPARE(CoordSysSelector::placeDialog(QRect(0, 0, 550, 600), centre, screen), expected);
    }
};

QTEST_GUILESS_MAIN(CoordSysRecordTest)
#include "tst_coordsysrecord.moc"
