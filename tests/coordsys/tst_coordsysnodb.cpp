// The catalogue without a coordinate-system database: a clear error and a
// catalogue that stays usable.
#include <QtTest>
#include <QtWidgets>
#include <support/TestSupport.h>

#include <coordsys/CoordSysDialog.h>
#include <keelcore/Dispatch.h>
#include <uibase/TaskDialog.h>

using namespace Zyn::AppCreate;
using Zyn::UiBase::TaskDialog;

class CoordSysNoDatabaseTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_emptyData;
    QTemporaryDir m_configDir;
    Zyn::TestSupport::DialogRecorder m_requests;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_emptyData.isValid());
        QVERIFY(m_configDir.isValid());
        // Before anything opens the database: PROJ looks only here.
        qputenv("PROJ_DATA", QDir::toNativeSeparators(m_emptyData.path()).toLocal8Bit());
        qputenv("PROJ_LIB", QDir::toNativeSeparators(m_emptyData.path()).toLocal8Bit());
        qputenv("ZYN_CONFIG_FILE", m_configDir.filePath(QStringLiteral("zynphoto.ini")).toLocal8Bit());
    }

    void init() { m_requests.record(); }
    void cleanup() { m_requests.stop(); }

    // The GCP editor's input catalogue loads before it is first shown; the
    // error waits for the user, and the built-in rows stay usable.
    void errorWaitsUntilTheCatalogueIsShown_data()
    {
        QTest::addColumn<bool>("input");
        QTest::addColumn<bool>("loadFirst"); // else showing starts the load
        QTest::newRow("target catalogue, loaded first") << false << true;
        QTest::newRow("input catalogue, loaded first") << true << true;
        QTest::newRow("input catalogue, shown at once") << true << false;
    }
    void errorWaitsUntilTheCatalogueIsShown()
    {
        QFETCH(bool, input);
        QFETCH(bool, loadFirst);
        CoordSysDialog dialog;
        dialog.setInput(input);
        QSignalSpy finished(&dialog, &CoordSysDialog::loadFinished);
        if (loadFirst) {
            dialog.loadCoordSystems();
            QVERIFY(finished.wait(60000));
            QVERIFY(m_requests.isEmpty()); // nobody is looking yet
        }
        dialog.show();
        QTRY_COMPARE(m_requests.size(), 1);
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(m_requests.size(), 1);
        QTableWidget* table = dialog.findChild<QTableWidget*>(QStringLiteral("table_coordsys"));
        QCOMPARE(table->rowCount(), input ? 1 : 0);
        QVERIFY(table->isEnabled());
        const TaskDialog::Request& request = m_requests.first();
        QCOMPARE(int(request.kind), int(TaskDialog::Error));
        QCOMPARE(request.mainText, QStringLiteral("The coordinate system catalogue could not be read."));
        QVERIFY2(request.secondaryText.contains(QLatin1String("database")), qPrintable(request.secondaryText));
        QCOMPARE(request.parent.data(), static_cast<QWidget*>(&dialog));
        QVERIFY(dialog.findChild<QLineEdit*>(QStringLiteral("txtbox_search"))->isEnabled());
        GcpCoordSysInfo ecef;
        QCOMPARE(dialog.getCoordSysFromId(QStringLiteral("ECEF"), ecef), input);
        QVERIFY(!dialog.isLoading());
        // LL84 is built in: without a database it is still an input system,
        // and never a target.
        QCOMPARE(dialog.isIdValid(QStringLiteral("LL84")), input);
        QVERIFY(!dialog.isIdValid(QStringLiteral("EPSG:32633")));
        dialog.reject();
    }
};

QTEST_MAIN(CoordSysNoDatabaseTest)
#include "tst_coordsysnodb.moc"
