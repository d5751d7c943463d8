// The host with the real aerial plug-in, end to end: loaded from the
// plug-in folder, it gives commands to the dashboard only; its tile opens the
// create view in a panel, photos without GPS are warned about, and Start in
// its flyout lands as a project folder.
#include "GpsJpeg.h"

#include <appcreate/CreateModelFlyout.h>
#include <appcreate/CreateViewController.h>
#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/ProcessingService.h>
#include <dashboard/DashboardVC.h>
#include <keelcore/Dispatch.h>
#include <uibase/CmdsViewController.h>
#include <uibase/IApp.h>
#include <uibase/CommandBase.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/ActionPanelVC.h>
#include <zynphoto/MainWindow.h>
#include <zynphoto/PluginManager.h>

#include <QtTest>
#include <QtWidgets>

using namespace Zyn;

class TestAerialPlugin : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QSettings().clear();
        QVERIFY(m_dir.isValid());
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());
        qputenv("ZYN_CONFIG_FILE", m_dir.filePath(QStringLiteral("zynphoto.ini")).toUtf8());
        UiBase::TaskDialog::setHandler([this](const UiBase::TaskDialog::Request& r) {
            m_dialogs << r;
            return int(UiBase::TaskDialog::IconButtonResult);
        });
        AppCreate::CreateModelFlyout::setTermsHandler([](const QString&) { return true; });
    }

    void cleanupTestCase()
    {
        UiBase::TaskDialog::clearHandler();
        AppCreate::CreateModelFlyout::clearTermsHandler();
    }

    void tileOpensCreateViewAndStartMakesAProject()
    {
        Host::PluginManager plugins;
        plugins.setSearchPaths(Host::PluginManager::defaultSearchPaths());
        plugins.loadAll();
        Host::PluginRecord aerial;
        for (const Host::PluginRecord& r : plugins.plugins()) {
            if (r.className == QLatin1String("AerialCaptureApp"))
                aerial = r;
        }
        QVERIFY2(!aerial.path.isEmpty(), "the aerial plug-in is not in the plug-in folders");
        QVERIFY2(aerial.app, qPrintable(aerial.error));
        UiBase::CmdsViewController other;
        QVERIFY(aerial.app->createCommands(&other).isEmpty());
        QVERIFY(aerial.app->createCommands(nullptr).isEmpty());
        // The plug-in object itself has no dashboard to present on.
        QVERIFY(!qobject_cast<UiBase::CommandBase*>(aerial.instance)->execute());

        Host::MainWindow window;
        window.showPlugins(plugins);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        AppDashboard::DashboardVC* dashboard = window.dashboard();
        auto* tile = dashboard->getView()->findChild<QToolButton*>(QStringLiteral("tile_Zyn::AppCreate::AerialCaptureApp"));
        QVERIFY(tile);
        QVERIFY(tile->findChild<QLabel*>(QStringLiteral("paid_badge")));
        QTest::mouseClick(tile, Qt::LeftButton);

        auto* panel = qobject_cast<UiToolkit::ActionPanelVC*>(dashboard->presentedViewController());
        QVERIFY(panel);
        QVERIFY(!panel->hasBackButton());
        QVERIFY(panel->hasCrossButton());
        auto* create = qobject_cast<AppCreate::CreateViewController*>(panel->getMainViewController());
        QVERIFY(create);
        auto* state = qobject_cast<AppCreate::MainState*>(create->getState());
        QVERIFY(state && state->getPhotoCanvas());
        AppCreate::PhotoPreview* canvas = state->getPhotoCanvas();
        auto* flyout = qobject_cast<AppCreate::CreateModelFlyout*>(canvas->getFlyout());
        QVERIFY(flyout);

        // One photo without GPS: one warning, from the background check.
        QStringList photos;
        for (int i = 0; i < 4; ++i) {
            const QString path = m_dir.filePath(QStringLiteral("photos/DJI_%1.JPG").arg(i));
            QDir().mkpath(QFileInfo(path).path());
            QVERIFY(i % 2 ? GpsJpeg::writeWithoutGps(path, i) : GpsJpeg::writeWithGps(path, {46.548, 7.982, 900}, i));
            photos << path;
        }
        QCOMPARE(canvas->addFiles(photos.mid(0, 3)).size(), 3);
        QTRY_COMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.at(0).kind, UiBase::TaskDialog::Warning);

        // Create shows the flyout; a name and Start make the project.
        auto* createButton = canvas->findChild<QPushButton*>(QStringLiteral("create_button"));
        QVERIFY(createButton);
        QTest::mouseClick(createButton, Qt::LeftButton);
        QTRY_VERIFY(flyout->isVisible());
        // From Create on the user has been told enough.
        QCOMPARE(canvas->addFiles(photos.mid(3)).size(), 1);
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(m_dialogs.size(), 1);
        auto* name = flyout->findChild<QLineEdit*>(QStringLiteral("modelname_lineedit"));
        auto* start = flyout->findChild<QPushButton*>(QStringLiteral("start_button"));
        QVERIFY(name && start);
        QTest::keyClicks(name, QStringLiteral("Valley_1"));
        // The proposed zone may still be loading; Start needs a valid system.
        bool mesh, cloud, ortho;
        float pixel;
        QString code;
        QTRY_VERIFY_WITH_TIMEOUT((flyout->GetSettings(mesh, cloud, ortho, pixel, code), code.startsWith(QLatin1String("EPSG:326"))),
                                 20000);
        QTest::mouseClick(start, Qt::LeftButton);

        const QString manifest = m_dir.filePath(QStringLiteral("projects/Valley_1/project.json"));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(manifest), 20000);
        QFile file(manifest);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QJsonObject m = QJsonDocument::fromJson(file.readAll()).object();
        QCOMPARE(m.value("name").toString(), QStringLiteral("Valley_1"));
        QCOMPARE(code, QStringLiteral("EPSG:32632"));
        QCOMPARE(m.value("coordinateSystem").toObject().value("code").toString(), code);
        QCOMPARE(m.value("outputs").toObject().value("mesh").toBool(), true);
        QCOMPARE(m.value("photos").toArray().size(), 4);
        QCOMPARE(m_dialogs.size(), 1); // no error on the way

        // Back on the dashboard, which lists the project.
        QTRY_VERIFY(!dashboard->presentedViewController());
        QVERIFY(KeelCore::waitForIdle());
    }

private:
    QTemporaryDir m_dir;
    QList<UiBase::TaskDialog::Request> m_dialogs;
};

QTEST_MAIN(TestAerialPlugin)
#include "tst_aerialplugin.moc"
