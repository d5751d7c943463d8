// The coordinate-system field: what it shows, when it announces a change,
// and where it opens the catalogue.
#include <QtTest>
#include <QtWidgets>
#include <support/TestSupport.h>

#include <coordsys/CoordSysDialog.h>
#include <coordsys/CoordSysSelector.h>
#include <keelcore/Dispatch.h>

#include <functional>

namespace Zyn::AppCreate {

namespace {

QTableWidget* tableOf(CoordSysDialog* dialog) { return dialog->findChild<QTableWidget*>("table_coordsys"); }
void clickButton(QWidget* w, const char* name) { QTest::mouseClick(w->findChild<QPushButton*>(name), Qt::LeftButton); }

void chooseAndConfirm(CoordSysDialog* dialog, const QString& code)
{
    QTableWidget* table = tableOf(dialog);
    QTableWidgetItem* item = table->findItems(code, Qt::MatchExactly).value(0);
    QVERIFY2(item, qPrintable(code));
    table->scrollToItem(item);
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, table->visualItemRect(item).center());
    clickButton(dialog, "button_ok");
}

} // namespace

class CoordSysSelectorTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_configDir;

    // Triggers a browse and runs act on the catalogue once it is up.
    // Answers how often the catalogue came up.
    static int browse(const std::function<void()>& trigger, CoordSysDialog* dialog,
                      const std::function<void(CoordSysDialog*)>& act)
    {
        int shown = 0;
        QObject guard; // drops the pending act when the catalogue never opened
        QTimer::singleShot(0, &guard, [&]() {
            if (!dialog->isVisible())
                return;
            ++shown;
            act(dialog);
            if (dialog->isVisible())
                dialog->reject();
        });
        trigger();
        return shown;
    }

    static bool loadAndWait(CoordSysSelector& selector)
    {
        QSignalSpy finished(selector.dialog(), &CoordSysDialog::loadFinished);
        selector.loadCoordSystems();
        return finished.wait(60000);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_configDir.isValid());
        TestSupport::isolateSettings(QStringLiteral("coordsysselector"), m_configDir.path());
    }

    void init() { QSettings().clear(); }

    void cleanup() { QVERIFY(KeelCore::waitForIdle()); }

    void defaultGpsSystemUntilTheUserChooses()
    {
        CoordSysSelector selector;
        selector.setInput(false);
        selector.show();
        QVERIFY(loadAndWait(selector));
        QSignalSpy changed(&selector, &CoordSysSelector::coordSysSelectionChanged);

        selector.setDefaultGpsCoordSys(QStringLiteral("EPSG:32633"));
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:32633"));
        // Unknown and empty codes leave the default as it was.
        selector.setDefaultGpsCoordSys(QStringLiteral("EPSG:0"));
        selector.setDefaultGpsCoordSys(QString());
        QCOMPARE(selector.defaultGpsCoordSys().code, QStringLiteral("EPSG:32633"));

        QCOMPARE(browse([&] { selector.on_button_browse_clicked(); }, selector.dialog(),
                        [](CoordSysDialog* d) { chooseAndConfirm(d, "EPSG:2154"); }), 1);
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:2154"));
        QCOMPARE(changed.count(), 1);

        // From now on the saved choice wins over the photos' default.
        selector.reset();
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:2154"));
        selector.setDefaultGpsCoordSys(QStringLiteral("EPSG:32634"));
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:2154"));
        QCOMPARE(changed.count(), 1);

        // Reading the catalogue again keeps the choice.
        QVERIFY(loadAndWait(selector));
        QCOMPARE(selector.getCoordSysData().code, QStringLiteral("EPSG:2154"));
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:2154"));
    }

    void defaultGivenDuringLoadAppliesWhenLoaded()
    {
        CoordSysSelector selector;
        selector.setInput(false);
        QSignalSpy finished(selector.dialog(), &CoordSysDialog::loadFinished);
        selector.loadCoordSystems();
        selector.setDefaultGpsCoordSys(QStringLiteral("EPSG:32634"));
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("LL84"));
        QVERIFY(finished.wait(60000));
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:32634"));
        QCOMPARE(selector.defaultGpsCoordSys().epsg, QStringLiteral("32634"));
    }

    void announcesOnlyRealChanges()
    {
        CoordSysSelector selector;
        selector.show();
        QVERIFY(loadAndWait(selector));
        QSignalSpy changed(&selector, &CoordSysSelector::coordSysSelectionChanged);
        const auto click = [&] { clickButton(&selector, "button_browse"); };

        // Confirming what is already shown.
        QCOMPARE(browse(click, selector.dialog(), [](CoordSysDialog* d) { chooseAndConfirm(d, "LL84"); }), 1);
        QCOMPARE(changed.count(), 0);
        // Cancelling after picking another row.
        const auto pickAndCancel = [](CoordSysDialog* d) {
            tableOf(d)->selectRow(5);
            clickButton(d, "button_cancel");
        };
        QCOMPARE(browse(click, selector.dialog(), pickAndCancel), 1);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("LL84"));
        // A real change, through a click on the text box.
        auto* box = selector.findChild<QLineEdit*>(QStringLiteral("txtbox_coordsys"));
        const auto clickBox = [&] { QTest::mouseClick(box, Qt::LeftButton); };
        QCOMPARE(browse(clickBox, selector.dialog(), [](CoordSysDialog* d) { chooseAndConfirm(d, "ECEF"); }), 1);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).value<GcpCoordSysInfo>(), GcpCoordSysInfo::ecef());
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("ECEF"));
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ecef());

        // A disabled field does not open the catalogue.
        box->setEnabled(false);
        QCOMPARE(browse(click, selector.dialog(), [](CoordSysDialog*) {}), 0);
    }

    void savedSystemAndProgrammaticChoice()
    {
        CoordSysSelector selector;
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("LL84"));
        QCOMPARE(selector.getCoordSysData(), GcpCoordSysInfo::ll84());
        QVERIFY(!selector.findChild<QLabel*>(QStringLiteral("label_tar_coord_sys"))->isVisibleTo(&selector));
        QVERIFY(selector.findChild<QLabel*>(QStringLiteral("label_src_coord_sys"))->isVisibleTo(&selector));

        QVERIFY(loadAndWait(selector));
        QSignalSpy changed(&selector, &CoordSysSelector::coordSysSelectionChanged);
        const GcpCoordSysInfo utm("EPSG:32633", "WGS 84 / UTM zone 33N", "32633", 1, QString(), 0);
        selector.setCoordSysData(utm);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).value<GcpCoordSysInfo>(), utm);
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:32633"));
        selector.setCoordSysData(GcpCoordSysInfo(QStringLiteral("NOT:A:CODE"), {}, {}, 0, {}, 0));
        // Showing the field again does not undo the program's choice.
        selector.show();
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("NOT:A:CODE"));
        // Nothing here was saved: the user never confirmed.
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(true), GcpCoordSysInfo::ll84());

        // A target field shows the saved target system.
        CoordSysDialog::saveGcpCoordSysInfo(utm, false);
        selector.setInput(false);
        QVERIFY(!selector.dialog()->isInput());
        QVERIFY(selector.findChild<QLabel*>(QStringLiteral("label_tar_coord_sys"))->isVisibleTo(&selector));
        QVERIFY(!selector.findChild<QLabel*>(QStringLiteral("label_src_coord_sys"))->isVisibleTo(&selector));
        selector.reset();
        QCOMPARE(selector.getCoordSysId(), QStringLiteral("EPSG:32633"));
        QCOMPARE(selector.getCoordSysData(), utm);
        QCOMPARE(changed.count(), 2); // resetting announces nothing
    }

    void catalogueSizeAndPlacement()
    {
        CoordSysSelector selector;
        selector.resize(300, 40);
        selector.show();
        QVERIFY(QTest::qWaitForWindowExposed(&selector));
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const auto click = [&] { selector.on_button_browse_clicked(); };

        QRect seen;
        QSize size;
        const auto look = [&](CoordSysDialog* d) {
            seen = d->frameGeometry();
            size = d->size();
        };
        // Near the right edge: the catalogue ends 70 pixels inside the screen
        // (the other edges are placeDialog's rows).
        selector.move(screen.right() - selector.width(), screen.center().y() - 20);
        QCOMPARE(browse(click, selector.dialog(), look), 1);
        QCOMPARE(size, QSize(550, 600));
        QCOMPARE(seen.right(), screen.right() - 70);

        // A wide field gives a wide catalogue.
        selector.resize(700, 40);
        selector.move(screen.center().x() - 350, screen.center().y());
        QCOMPARE(browse(click, selector.dialog(), look), 1);
        QCOMPARE(size.width(), 700);
    }
};

} // namespace Zyn::AppCreate

QTEST_MAIN(Zyn::AppCreate::CoordSysSelectorTest)
#include "tst_coordsysselector.moc"
