// The catalogue dialog against the real coordinate-system catalogue,
// driven through its widgets.
#include <QtTest>
#include <QtWidgets>
#include <support/TestSupport.h>
#include <utilities/Utilities.h>

#include <coordsys/CoordSysDialog.h>
#include <keelcore/Dispatch.h>
#include <utilities/Constants.h>

using namespace Zyn::AppCreate;

namespace {

QTableWidget* tableOf(CoordSysDialog& dialog) { return dialog.findChild<QTableWidget*>("table_coordsys"); }
QLineEdit* searchOf(CoordSysDialog& dialog) { return dialog.findChild<QLineEdit*>("txtbox_search"); }
QPushButton* buttonOf(CoordSysDialog& dialog, const char* name) { return dialog.findChild<QPushButton*>(name); }

// Only the code column holds codes, so an exact match anywhere is its row.
int rowOf(QTableWidget* table, const QString& code)
{
    const QList<QTableWidgetItem*> found = table->findItems(code, Qt::MatchExactly);
    return found.isEmpty() ? -1 : found.first()->row();
}

GcpCoordSysInfo recordAt(QTableWidget* table, int row)
{
    return table->item(row, 0)->data(Qt::UserRole).value<GcpCoordSysInfo>();
}

int visibleRows(QTableWidget* table)
{
    int count = 0;
    for (int row = 0; row < table->rowCount(); ++row)
        count += table->isRowHidden(row) ? 0 : 1;
    return count;
}

void clickRow(QTableWidget* table, int row)
{
    QTableWidgetItem* item = table->item(row, 0);
    table->scrollToItem(item);
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, table->visualItemRect(item).center());
}

QStringList recentOutput()
{
    const QString general = QString::fromLatin1(Zyn::Utilities::CFG_ELEM_GENERAL);
    return QSettings().value(general + '/' + Zyn::Utilities::CFG_ELEM_COORDSYS_OUT_MRU).toStringList();
}

} // namespace

namespace Zyn::AppCreate {

// Friend of the dialog: reads its unit map.
class CoordSysDialogTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_configDir;

    // Starts the load and waits for the table to be filled and usable.
    static bool loadAndWait(CoordSysDialog& dialog)
    {
        QSignalSpy finished(&dialog, &CoordSysDialog::loadFinished);
        dialog.loadCoordSystems();
        return finished.wait(60000) && !dialog.isLoading();
    }

    // Shows the catalogue and waits until it is filled; null when it never is.
    static QTableWidget* showLoaded(CoordSysDialog& dialog, bool input = false)
    {
        dialog.setInput(input);
        dialog.show();
        QTableWidget* table = tableOf(dialog);
        const bool loaded = QTest::qWaitForWindowExposed(&dialog)
                            && QTest::qWaitFor([&] { return !dialog.isLoading() && table->rowCount() > 1000; }, 60000);
        return loaded ? table : nullptr;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_configDir.isValid());
        TestSupport::isolateSettings(QStringLiteral("coordsysdialog"), m_configDir.path());
    }

    void init() { QSettings().clear(); }

    void cleanup() { QVERIFY(KeelCore::waitForIdle()); }

    void targetCatalogueHasNoGeographicSystems()
    {
        CoordSysDialog dialog;
        dialog.setInput(false);
        QSignalSpy progress(&dialog, &CoordSysDialog::progress);
        QVERIFY(loadAndWait(dialog));
        QTableWidget* table = tableOf(dialog);
        QVERIFY2(table->rowCount() > 1000, qPrintable(QString::number(table->rowCount())));

        for (int row = 0; row < table->rowCount(); ++row) {
            const GcpCoordSysInfo info = recordAt(table, row);
            QVERIFY2(info.systemType != 2 && info.systemType != 1, qPrintable(info.code));
            QCOMPARE(table->item(row, 0)->text(), info.code);
        }

        const int utm = rowOf(table, QStringLiteral("EPSG:32633"));
        QVERIFY(utm >= 0);
        QVERIFY(table->item(utm, 1)->text().contains(QStringLiteral("UTM zone 33N")));
        QCOMPARE(recordAt(table, utm).unit, 1);

        // Without recent systems the catalogue is in code order, numbers by value.
        for (int row = 1; row < table->rowCount(); ++row)
            QVERIFY(Zyn::Utilities::naturalCompare(table->item(row - 1, 0)->text(), table->item(row, 0)->text()) <= 0);
        QVERIFY(rowOf(table, QStringLiteral("EPSG:2001")) < rowOf(table, QStringLiteral("EPSG:20004")));

        int last = 0;
        for (const QList<QVariant>& args : qAsConst(progress)) {
            QVERIFY(args.at(0).toInt() >= last);
            last = args.at(0).toInt();
        }
        QCOMPARE(last, 100);
    }

    void inputCatalogueHasBuiltInsFirst()
    {
        CoordSysDialog dialog;
        dialog.setInput(true);
        QVERIFY(loadAndWait(dialog));
        QTableWidget* table = tableOf(dialog);
        // Both built-ins share order 1, so their codes decide.
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("ECEF"));
        QCOMPARE(table->item(1, 0)->text(), QStringLiteral("LL84"));
        QCOMPARE(recordAt(table, 0), GcpCoordSysInfo::ecef());
        const GcpCoordSysInfo ll84 = recordAt(table, 1);
        QCOMPARE(QString("EPSG %1, unit %2, type %3").arg(ll84.epsg).arg(ll84.unit).arg(ll84.systemType),
                 "EPSG 4326, unit 1001, type 2");

        int geographic = 0;
        for (int row = 0; row < table->rowCount(); ++row) {
            const int type = recordAt(table, row).systemType;
            QVERIFY(type != 1);
            geographic += type == 2 ? 1 : 0;
        }
        QVERIFY(geographic > 100);
        QVERIFY(rowOf(table, QStringLiteral("EPSG:4258")) >= 0); // ETRS89

        // Lookups are exact and only codes carry records.
        QVERIFY(dialog.isIdValid(QStringLiteral("EPSG:32633")));
        QVERIFY(!dialog.isIdValid(QStringLiteral("epsg:32633")));
        QVERIFY(!dialog.isIdValid(QStringLiteral("32633")));
        GcpCoordSysInfo found;
        QVERIFY(dialog.getCoordSysFromId(QStringLiteral("ECEF"), found));
        QCOMPARE(found, GcpCoordSysInfo::ecef());
        QVERIFY(!dialog.getCoordSysFromId(QStringLiteral("32633"), found));
        QVERIFY(!dialog.getCoordSysFromId(QStringLiteral("EPSG:0"), found));
        QCOMPARE(found, GcpCoordSysInfo::ecef()); // untouched by failed lookups

        // Unit names met while loading resolve back to their codes.
        SpatialReference::UnitCode unit = SpatialReference::UnitCode::Unknown;
        QVERIFY(dialog.findUnitCode(unit, QStringLiteral("degree")));
        QCOMPARE(unit, SpatialReference::UnitCode::Degree);
        QVERIFY(dialog.findUnitCode(unit, QStringLiteral("Meter")));
        QCOMPARE(unit, SpatialReference::UnitCode::Meter);
        QVERIFY(!dialog.findUnitCode(unit, QStringLiteral("cubit")));
        QCOMPARE(unit, SpatialReference::UnitCode::Meter);
    }

    void keysMouseAndSize()
    {
        QSize wanted;
        {
            CoordSysDialog dialog;
            QTableWidget* table = showLoaded(dialog);
            QVERIFY(table);
            QLineEdit* search = searchOf(dialog);
            QTest::keyClicks(search, QStringLiteral("utm 33n"));
            // Down from the search: the first row it shows, selected.
            QTest::keyClick(search, Qt::Key_Down);
            QVERIFY(table->hasFocus());
            int first = 0;
            while (table->isRowHidden(first))
                ++first;
            QCOMPARE(table->selectedItems().value(0)->row(), first);
            // A double click on a row chooses it.
            const int utm = rowOf(table, QStringLiteral("EPSG:32633"));
            QSignalSpy accepted(&dialog, &QDialog::accepted);
            const QPoint at = table->visualItemRect(table->item(utm, 1)).center();
            QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
            QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
            QCOMPARE(accepted.count(), 1);
            QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false).code, QStringLiteral("EPSG:32633"));
            wanted = dialog.size() + QSize(120, 80);
            dialog.show();
            dialog.resize(wanted);
            // Escape is still the ordinary way out.
            QTest::keyClick(search, Qt::Key_Escape);
            QVERIFY(!dialog.isVisible());
            QCOMPARE(dialog.result(), int(QDialog::Rejected));
        }
        CoordSysDialog again;
        QCOMPARE(again.size(), wanted);
    }

    void searchByWords_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("mustShow"); // empty: nothing matches
        QTest::addColumn<QString>("mustHide");
        QTest::addColumn<QString>("message");
        QTest::newRow("words in any order") << "utm 14" << "EPSG:32614" << "EPSG:32633" << "";
        QTest::newRow("a zone number is a whole number") << "utm 32 wgs" << "EPSG:32632" << "EPSG:32201" << "";
        QTest::newRow("datum and place") << "nad83 texas" << "EPSG:32138" << "EPSG:32633" << "";
        QTest::newRow("the whole text, any case") << "utm zone 33n" << "EPSG:32633" << "EPSG:2154" << "";
        QTest::newRow("a code, any case") << "epsg:3263" << "EPSG:32633" << "EPSG:2154" << "";
        QTest::newRow("the EPSG column") << "2154" << "EPSG:2154" << "EPSG:32633" << "";
        QTest::newRow("nothing") << "qqq zzz" << "" << "" << "No coordinate system matches";
        QTest::newRow("a geographic system as a target") << "4326" << "" << "" << "geographic systems are not offered";
    }
    void searchByWords()
    {
        QFETCH(QString, search);
        QFETCH(QString, mustShow);
        QFETCH(QString, mustHide);
        QFETCH(QString, message);
        CoordSysDialog dialog;
        QTableWidget* table = showLoaded(dialog);
        QVERIFY(table);
        QCOMPARE(visibleRows(table), table->rowCount());
        QTRY_VERIFY(searchOf(dialog)->hasFocus());
        QTest::keyClicks(searchOf(dialog), search);
        auto* label = table->viewport()->findChild<QLabel*>(QStringLiteral("label_no_match"));
        if (mustShow.isEmpty()) {
            QCOMPARE(visibleRows(table), 0);
            QVERIFY(label && label->isVisible());
            QVERIFY2(label->text().contains(message), qPrintable(label->text()));
            return;
        }
        QVERIFY(!table->isRowHidden(rowOf(table, mustShow)));
        QVERIFY(table->isRowHidden(rowOf(table, mustHide)));
        QVERIFY(!label || !label->isVisible());
        // Every word somewhere in every row shown.
        for (int row = 0; row < table->rowCount(); ++row) {
            const QString cells = table->item(row, 0)->text() + ' ' + table->item(row, 1)->text() + ' '
                                  + table->item(row, 2)->text();
            for (const QString& word : search.split(' '))
                QVERIFY(table->isRowHidden(row) || cells.contains(word, Qt::CaseInsensitive));
        }
    }

    void okSavesAndListsTheChoiceFirst()
    {
        CoordSysDialog dialog;
        QTableWidget* table = showLoaded(dialog);
        QVERIFY(table);
        QPushButton* ok = buttonOf(dialog, "button_ok");
        QVERIFY(!ok->isEnabled());

        clickRow(table, rowOf(table, QStringLiteral("EPSG:32633")));
        QVERIFY(ok->isEnabled());
        QTest::mouseClick(ok, Qt::LeftButton);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false).code, QStringLiteral("EPSG:32633"));
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false).epsg, QStringLiteral("32633"));
        QCOMPARE(recentOutput(), QStringList{QStringLiteral("EPSG:32633")});

        dialog.show();
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("EPSG:32633"));
        QVERIFY(!ok->isEnabled()); // the selection starts empty again
        QVERIFY(searchOf(dialog)->text().isEmpty());

        clickRow(table, rowOf(table, QStringLiteral("EPSG:2154")));
        QTest::mouseClick(ok, Qt::LeftButton);
        dialog.show();
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("EPSG:2154"));
        QCOMPARE(table->item(1, 0)->text(), QStringLiteral("EPSG:32633"));
        QCOMPARE(recentOutput(), (QStringList{QStringLiteral("EPSG:32633"), QStringLiteral("EPSG:2154")}));
        dialog.reject();
    }

    void cancelKeepsEverything()
    {
        const GcpCoordSysInfo saved("EPSG:2154", "RGF93", "2154", 1, QString(), 0);
        CoordSysDialog::saveGcpCoordSysInfo(saved, false);
        CoordSysDialog dialog;
        dialog.setSelectedData(saved);
        QTableWidget* table = showLoaded(dialog);
        QVERIFY(table);
        clickRow(table, rowOf(table, QStringLiteral("EPSG:32633")));
        QCOMPARE(dialog.getSelectedCode(), QStringLiteral("EPSG:32633"));
        QTest::mouseClick(buttonOf(dialog, "button_cancel"), Qt::LeftButton);
        QVERIFY(table->selectedItems().isEmpty());
        QCOMPARE(dialog.getSelectedData(), saved);
        QCOMPARE(CoordSysDialog::loadGcpCoordSysInfo(false), saved);
        QVERIFY(recentOutput().isEmpty());
        // A cancelled dialog is complete when shown again.
        dialog.show();
        QVERIFY(table->rowCount() > 1000);
        QVERIFY(!dialog.isLoading());

        // A click on the EPSG header sorts by number; systems without one last.
        QHeaderView* header = table->horizontalHeader();
        const QPoint epsgSection(header->sectionViewportPosition(2) + 5, header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, epsgSection);
        for (int row = 1; row < table->rowCount(); ++row) {
            const QString before = table->item(row - 1, 2)->text(), here = table->item(row, 2)->text();
            QVERIFY(here.isEmpty() || (!before.isEmpty() && before.toLongLong() <= here.toLongLong()));
        }
        // A second click reverses the order.
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, epsgSection);
        QList<qlonglong> numbers;
        for (int row = 0; row < table->rowCount(); ++row)
            if (!table->item(row, 2)->text().isEmpty())
                numbers << table->item(row, 2)->text().toLongLong();
        QVERIFY(numbers.first() > numbers.last());
        // Every row kept its own record.
        const int utm = rowOf(table, QStringLiteral("EPSG:32633"));
        QCOMPARE(table->item(utm, 2)->text(), QStringLiteral("32633"));
        QCOMPARE(recordAt(table, utm).code, QStringLiteral("EPSG:32633"));
        dialog.reject();
    }

    void excludedCodesHideOnlyForTargets()
    {
        for (const bool input : {false, true}) {
            CoordSysDialog dialog;
            dialog.addExcludedCode(QStringLiteral("EPSG:32633"));
            dialog.addExcludedCode(QStringLiteral("EPSG:32633"));
            QCOMPARE(dialog.excludedCodes().size(), 1);
            QTableWidget* table = showLoaded(dialog, input);
            QVERIFY(table);
            const int row = rowOf(table, QStringLiteral("EPSG:32633"));
            QCOMPARE(table->isRowHidden(row), !input);
            QTest::keyClicks(searchOf(dialog), QStringLiteral("32633"));
            QCOMPARE(table->isRowHidden(row), !input);
            dialog.reject();
        }
    }

    void closingWhileLoadingLeavesAnEmptyUsableTable()
    {
        CoordSysDialog dialog;
        dialog.setInput(false);
        dialog.show(); // an empty catalogue starts loading when shown
        QVERIFY(dialog.isLoading());
        QTableWidget* table = tableOf(dialog);
        QVERIFY(!table->isEnabled());
        QSignalSpy progress(&dialog, &CoordSysDialog::progress);
        QVERIFY(progress.wait(60000)); // rows are arriving
        dialog.close();
        QVERIFY(!dialog.isLoading());
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(table->rowCount(), 0);
        QVERIFY(table->isEnabled());
        QVERIFY(searchOf(dialog)->isEnabled());
        SpatialReference::UnitCode unit = SpatialReference::UnitCode::Unknown;
        QVERIFY(!dialog.findUnitCode(unit, QStringLiteral("Meter"))); // the half-read unit map is dropped
        // A target code on display stays valid; a geographic one never was.
        QVERIFY(dialog.isIdValid(QStringLiteral("EPSG:32633")));
        QVERIFY(!dialog.isIdValid(QStringLiteral("EPSG:4326")));
        QVERIFY(!dialog.isIdValid(QStringLiteral("EPSG:999999")));

        // The next showing reads the catalogue afresh.
        QSignalSpy finished(&dialog, &CoordSysDialog::loadFinished);
        dialog.show();
        QVERIFY(finished.wait(60000));
        QVERIFY(table->rowCount() > 1000);
        QCOMPARE(visibleRows(table), table->rowCount());
        dialog.reject();
    }

    void destroyingWhileLoadingIsSafe()
    {
        auto* early = new CoordSysDialog;
        early->loadCoordSystems();
        delete early; // before the worker even started

        auto* midway = new CoordSysDialog;
        midway->setInput(true);
        QSignalSpy progress(midway, &CoordSysDialog::progress);
        midway->loadCoordSystems();
        QVERIFY(progress.wait(60000));
        delete midway;
        QVERIFY(KeelCore::waitForIdle());

        // A load started afterwards is not disturbed by the orphaned jobs, nor
        // by the load it supersedes.
        CoordSysDialog dialog;
        dialog.setInput(true);
        dialog.loadCoordSystems();
        QVERIFY(loadAndWait(dialog));
        QTableWidget* table = tableOf(dialog);
        QVERIFY(table->rowCount() > 1000);
        QCOMPARE(table->findItems("ECEF", Qt::MatchExactly).size(), 1);
    }
};

} // namespace Zyn::AppCreate

QTEST_MAIN(Zyn::AppCreate::CoordSysDialogTest)
#include "tst_coordsysdialog.moc"
