// Recently used coordinate systems: the stored lists, their limit and how
// they float rows to the top of the catalogue.
#include <QtTest>
#include <QtWidgets>
#include <support/TestSupport.h>

#include <coordsys/CoordSysDialog.h>
#include <coordsys/TableWidgetItem.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <utilities/Constants.h>

#include "ui_CoordSysDialog.h"

namespace Zyn::AppCreate {

class CoordSysDialogTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_configDir;

    static Services::ConfigManager* config() { return Services::ApplicationService::GetInstance()->GetConfigManager(); }

    static QString recentKey(bool input)
    {
        return QString::fromLatin1(Utilities::CFG_ELEM_GENERAL) + '/'
               + (input ? Utilities::CFG_ELEM_COORDSYS_IN_MRU : Utilities::CFG_ELEM_COORDSYS_OUT_MRU);
    }
    static QStringList recent(bool input) { return QSettings().value(recentKey(input)).toStringList(); }
    static void setRecent(bool input, const QStringList& list) { QSettings().setValue(recentKey(input), list); }

    static QTableWidget* table(CoordSysDialog& dialog) { return dialog.ui->table_coordsys; }

    // Catalogue-like rows, as the loader makes them: code items ordered 1.
    static void addRow(CoordSysDialog& dialog, const QString& code, int rank = 0)
    {
        QTableWidget* t = table(dialog);
        const int row = t->rowCount();
        t->insertRow(row);
        t->setItem(row, 0, new TableWidgetItem(code, false, rank, 1));
        t->setItem(row, 1, new TableWidgetItem(QStringLiteral("System ") + code));
        t->setItem(row, 2, new TableWidgetItem(QString()));
        dialog.setCoordSysInfoData(row, code, QStringLiteral("System ") + code, QString(), 1, QString(), 0);
    }

    // Only the code column holds codes, so an exact match anywhere is its item.
    static int rankOf(CoordSysDialog& dialog, const QString& code)
    {
        const QList<QTableWidgetItem*> found = table(dialog)->findItems(code, Qt::MatchExactly);
        return found.isEmpty() ? -1 : static_cast<TableWidgetItem*>(found.first())->recentRank();
    }

    static QStringList codeColumn(CoordSysDialog& dialog)
    {
        QStringList codes;
        for (int row = 0; row < table(dialog)->rowCount(); ++row)
            codes << table(dialog)->item(row, 0)->text();
        return codes;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_configDir.isValid());
        TestSupport::isolateSettings(QStringLiteral("coordsysrecent"), m_configDir.path());
    }

    void init()
    {
        QSettings().clear();
        config()->remove(QString::fromLatin1(Utilities::CFG_ELEM_WS_COORDSYS_MRU_LIMIT));
    }

    void savedListKeepsTheNewestWithinTheLimit_data()
    {
        QTest::addColumn<QVariant>("limit"); // invalid: the host default
        QTest::addColumn<QString>("before"); // the stored codes, oldest first
        QTest::addColumn<QString>("saved");
        QTest::addColumn<QString>("after");
        QTest::newRow("full list drops the oldest") << QVariant(3) << "A,B,C" << "D" << "B,C,D";
        QTest::newRow("a listed code moves to the end") << QVariant(3) << "A,B,C" << "B" << "A,C,B";
        QTest::newRow("codes compare case-sensitively") << QVariant(3) << "A,C,B" << "b" << "C,B,b";
        QTest::newRow("a lower limit read at once") << QVariant(2) << "A,B,C" << "X" << "C,X";
        QTest::newRow("limit 0 keeps the newest") << QVariant(0) << "A" << "Y" << "Y";
        QTest::newRow("negative limit keeps the newest") << QVariant(-5) << "A" << "Z" << "Z";
        QStringList many;
        for (int i = 0; i < Utilities::CFG_ELEM_WS_COORDSYS_MRU_LIMIT_DEFAULT_VALUE; ++i)
            many << QStringLiteral("S%1").arg(i);
        QTest::newRow("host default limit") << QVariant() << many.join(',') << "N" << (many.mid(1) << "N").join(',');
    }

    void savedListKeepsTheNewestWithinTheLimit()
    {
        QFETCH(QVariant, limit);
        QFETCH(QString, before);
        QFETCH(QString, saved);
        QFETCH(QString, after);
        if (limit.isValid())
            config()->setValue(QString::fromLatin1(Utilities::CFG_ELEM_WS_COORDSYS_MRU_LIMIT), limit);
        CoordSysDialog dialog;
        const QStringList listed = before.split(',');
        for (int i = 0; i < listed.size(); ++i)
            addRow(dialog, listed.at(i), i + 1);
        setRecent(false, listed);
        dialog.saveRecentlyUsedCoordSys(saved, false);
        QCOMPARE(recent(false).join(','), after);
        QVERIFY(recent(true).isEmpty()); // the other slot is untouched
        // Only a code dropped from the list loses its rank.
        for (int i = 0; i < listed.size(); ++i)
            QCOMPARE(rankOf(dialog, listed.at(i)), after.split(',').contains(listed.at(i)) ? i + 1 : 0);
    }

    void recentRowsFloatToTheTop()
    {
        CoordSysDialog dialog;
        dialog.setInput(true);
        for (const char* code : {"EPSG:3000", "EPSG:1000", "EPSG:2000", "LL84"})
            addRow(dialog, code);
        static_cast<TableWidgetItem*>(table(dialog)->item(3, 0))->setBuiltIn(true);
        dialog.addCustomCoordSys(1, CoordSysDialog::ECEF_COORD_SYS_TEXT, QStringLiteral("Earth-Centered Earth-Fixed"),
                                 1, QString(), QString(), 0);
        // A stale rank from an earlier list must not survive a re-rank.
        static_cast<TableWidgetItem*>(table(dialog)->item(1, 0))->setRecentRank(9);

        setRecent(true, {"EPSG:2000", "EPSG:3000", "GONE"});
        dialog.moveRecentToTop();
        QCOMPARE(codeColumn(dialog), (QStringList{"EPSG:3000", "EPSG:2000", "ECEF", "LL84", "EPSG:1000"}));
        QCOMPARE(rankOf(dialog, QStringLiteral("EPSG:3000")), 2);
        // The record travels with its row through the sort.
        GcpCoordSysInfo info;
        QVERIFY(dialog.getCoordSysFromId(QStringLiteral("EPSG:2000"), info));
        QCOMPARE(info.description, QStringLiteral("System EPSG:2000"));
        QCOMPARE(dialog.getCoordSysInfoData(1).code, QStringLiteral("EPSG:2000"));

        // A code listed twice keeps its later (newer) rank.
        setRecent(true, {"EPSG:1000", "EPSG:3000", "EPSG:1000"});
        dialog.moveRecentToTop();
        QCOMPARE(codeColumn(dialog).mid(0, 2), (QStringList{"EPSG:1000", "EPSG:3000"}));
        QCOMPARE(rankOf(dialog, QStringLiteral("EPSG:1000")), 3);

        // The output slot's list does not rank an input dialog.
        setRecent(false, {"EPSG:2000"});
        dialog.moveRecentToTop();
        QCOMPARE(rankOf(dialog, QStringLiteral("EPSG:2000")), 0);
    }
};

} // namespace Zyn::AppCreate

QTEST_MAIN(Zyn::AppCreate::CoordSysDialogTest)
#include "tst_coordsysrecent.moc"
