// The catalogue without a coordinate-system database: a clear error and a
// catalogue that stays usable.
#include <QDir>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

#include <coordsys/CoordSysDialog.h>
#include <keelcore/Dispatch.h>
#include <uibase/TaskDialog.h>

using Zyn::AppCreate::CoordSysDialog;
using Zyn::AppCreate::GcpCoordSysInfo;
using Zyn::UiBase::TaskDialog;

class CoordSysNoDatabaseTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_emptyData;
    QTemporaryDir m_configDir;
    QList<TaskDialog::Request> m_requests;

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
        TaskDialog::setHandler([this](const TaskDialog::Request& request) {
            m_requests.append(request);
            return int(TaskDialog::Ok);
        });
    }

    void cleanupTestCase() { TaskDialog::clearHandler(); }

    void init() { m_requests.clear(); }

    void inputCatalogueKeepsItsOwnRow()
    {
        CoordSysDialog dialog;
        dialog.setInput(true);
        QSignalSpy finished(&dialog, &CoordSysDialog::loadFinished);
        dialog.show();
        QVERIFY(finished.wait(60000));
        QTableWidget* table = dialog.findChild<QTableWidget*>(QStringLiteral("table_coordsys"));
        QVERIFY(table->isEnabled());
        QVERIFY(dialog.findChild<QLineEdit*>(QStringLiteral("txtbox_search"))->isEnabled());
        QCOMPARE(table->rowCount(), 1);
        GcpCoordSysInfo ecef;
        QVERIFY(dialog.getCoordSysFromId(QStringLiteral("ECEF"), ecef));
        QCOMPARE(ecef, GcpCoordSysInfo::ecef());

        QTRY_COMPARE(m_requests.size(), 1);
        const TaskDialog::Request& request = m_requests.first();
        QCOMPARE(int(request.kind), int(TaskDialog::Error));
        QCOMPARE(request.mainText, QStringLiteral("The coordinate system catalogue could not be read."));
        QVERIFY2(request.secondaryText.contains(QLatin1String("database")), qPrintable(request.secondaryText));
        QCOMPARE(request.parent.data(), static_cast<QWidget*>(&dialog));
        dialog.reject();
    }

    void errorWaitsUntilTheCatalogueIsShown()
    {
        CoordSysDialog dialog;
        dialog.setInput(false);
        QSignalSpy finished(&dialog, &CoordSysDialog::loadFinished);
        dialog.loadCoordSystems();
        QVERIFY(finished.wait(60000));
        QVERIFY(m_requests.isEmpty()); // nobody is looking yet
        QTableWidget* table = dialog.findChild<QTableWidget*>(QStringLiteral("table_coordsys"));
        QCOMPARE(table->rowCount(), 0);
        QVERIFY(table->isEnabled());

        dialog.show();
        QTRY_COMPARE(m_requests.size(), 1);
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(m_requests.size(), 1);
        QCOMPARE(table->rowCount(), 0);
        QVERIFY(!dialog.isLoading());
        QVERIFY(!dialog.isIdValid(QStringLiteral("LL84")));
        dialog.reject();
    }
};

QTEST_MAIN(CoordSysNoDatabaseTest)
#include "tst_coordsysnodb.moc"
