// Plug-in discovery and loading as the host does it at start-up: good
// plug-ins become dashboard tiles; broken files, other hosts' plug-ins and
// objects that are not applications are reported in the window, and the
// host carries on. Then the real aerial plug-in, end to end: its tile opens
// the create view in a panel, photos without GPS are warned about, and
// Start in its flyout lands as a project folder.
#include "TestPhotos.h"

#include <appcreate/CreateModelFlyout.h>
#include <appcreate/CreateViewController.h>
#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <dashboard/DashboardVC.h>
#include <keelcore/Dispatch.h>
#include <support/TestSupport.h>
#include <uibase/CmdsViewController.h>
#include <uibase/CommandBase.h>
#include <uibase/IApp.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/ActionPanelVC.h>
#include <zynphoto/MainWindow.h>
#include <zynphoto/PluginManager.h>

#include <QtTest>
#include <QtWidgets>

using namespace Zyn;
using Zyn::Host::MainWindow;
using Zyn::Host::PluginManager;

namespace {
QLabel* label(MainWindow& window, const char* name)
{
    return window.dashboard()->getView()->findChild<QLabel*>(name);
}
} // namespace

class TestPlugins : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    Zyn::TestSupport::DialogRecorder m_dialogs;

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        Zyn::TestSupport::isolateSettings(QStringLiteral("tst_zynphoto_plugins"), m_dir.path());
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());
        m_dialogs.record(UiBase::TaskDialog::IconButtonResult);
        AppCreate::CreateModelFlyout::setTermsHandler([](const QString&) { return true; });
        // A file that only looks like a library, and one that is not looked at.
        QVERIFY(Zyn::TestSupport::writeFile(m_dir.filePath("libbroken.so"), QByteArray(4096, '\x7f')));
        QVERIFY(Zyn::TestSupport::writeFile(m_dir.filePath("README.txt"), QByteArray()));
        QVERIFY(QFile::link(QStringLiteral(GOOD_PLUGIN_DIR), m_dir.filePath("good-link")));
    }
    void cleanupTestCase()
    {
        m_dialogs.stop();
        AppCreate::CreateModelFlyout::clearTermsHandler();
    }
    void init() { QSettings().clear(); }

    // The good plug-in alone, and beside each kind of bad one.
    void goodPluginBecomesATileAndBadOnesAreReported_data()
    {
        QTest::addColumn<QString>("dir");
        QTest::addColumn<QStringList>("says"); // what the one error says; empty when there is none
        QTest::newRow("good alone") << QString() << QStringList();
        QTest::newRow("not a library") << m_dir.path() << QStringList{"libbroken.so: "};
        QTest::newRow("other host") << WRONGIID_PLUGIN_DIR
                                    << QStringList{"wrongiid", "org.example.OtherHost.Plugin/2.0", ZYN_IAPP_IID};
        QTest::newRow("not an application") << NOTANAPP_PLUGIN_DIR << QStringList{"not an application"};
    }
    void goodPluginBecomesATileAndBadOnesAreReported()
    {
        QFETCH(QString, dir);
        QFETCH(QStringList, says);
        PluginManager plugins;
        QSignalSpy failed(&plugins, &PluginManager::pluginFailed);
        // The good plug-in's folder named four ways, one through a link: its file is loaded once.
        const QStringList goodDirs{GOOD_PLUGIN_DIR, GOOD_PLUGIN_DIR "/.", GOOD_PLUGIN_DIR "/../plugins_good",
                                   m_dir.filePath("good-link")};
        plugins.setSearchPaths(dir.isEmpty() ? goodDirs : QStringList{dir} + goodDirs);
        QCOMPARE(plugins.loadAll(), 1);
        QCOMPARE(plugins.loadAll(), 0); // already loaded
        const int bad = says.isEmpty() ? 0 : 1;
        // Failures, errors, files tried and applications.
        QList<int> counts{failed.count(), plugins.errors().size(), plugins.plugins().size(), plugins.apps().size()};
        QCOMPARE(counts, QList<int>({bad, bad, 1 + bad, 1}));
        for (const QString& text : says)
            QVERIFY2(plugins.errors().at(0).contains(text), qPrintable(plugins.errors().at(0)));
        // The plug-in's instance lives as long as the process: the first row loads it first.
        if (!bad)
            QCOMPARE(plugins.plugins().at(0).instance->property("initializeCalls").toInt(), 1);

        MainWindow window;
        window.showPlugins(plugins);
        QVERIFY(Zyn::TestSupport::showExposed(&window));
        QCOMPARE(label(window, "plugin_notice_label")->isVisible(), bool(bad));
        if (bad)
            QVERIFY(label(window, "plugin_notice_label")->text().contains(says.first()));
        // A tile is the command: clicking it runs the plug-in's code.
        auto* good = window.dashboard()->getView()->findChild<QToolButton*>("tile_GoodCommand");
        QVERIFY(good);
        QCOMPARE(good->text(), QStringLiteral("Good"));
        QTest::mouseClick(good, Qt::LeftButton);
        QVERIFY(qobject_cast<Zyn::UiToolkit::ActionPanelVC*>(window.dashboard()->presentedViewController()));
    }

    void searchPathsComeFromTheAppFolderAndEnvironment()
    {
        const QByteArray saved = qgetenv("ZYN_PLUGIN_PATH");
        qputenv("ZYN_PLUGIN_PATH", "/opt/one::/opt/two/:/opt/one");
        const QStringList paths = PluginManager::defaultSearchPaths();
        qputenv("ZYN_PLUGIN_PATH", saved);
        const QString besideApp = QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../lib/zynphoto/plugins");
        QCOMPARE(paths, QStringList({besideApp, "/opt/one", "/opt/two"}));
        // A folder that is not there is no error: the window shows the empty state.
        PluginManager plugins;
        plugins.setSearchPaths({"/nonexistent/plugins"});
        QCOMPARE(plugins.loadAll(), 0);
        QVERIFY(plugins.errors().isEmpty());
        MainWindow window;
        window.showPlugins(plugins);
        QVERIFY(Zyn::TestSupport::showExposed(&window));
        QVERIFY(label(window, "empty_state_label")->text().contains("No plug-in is loaded"));
    }

    void windowRemembersItsSize()
    {
        {
            MainWindow window;
            QVERIFY(Zyn::TestSupport::showExposed(&window));
            window.resize(640, 480);
            QTRY_COMPARE(window.size(), QSize(640, 480));
            window.close();
        }
        QCOMPARE(MainWindow().size(), QSize(640, 480));
        // A damaged value: the default size, no complaint.
        QSettings().setValue("MainWindow/geometry", QByteArray("not a geometry"));
        QCOMPARE(MainWindow().size(), QSize(1280, 800));
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
        QVERIFY(Zyn::TestSupport::showExposed(&window));
        AppDashboard::DashboardVC* dashboard = window.dashboard();
        auto* tile = dashboard->getView()->findChild<QToolButton*>("tile_Zyn::AppCreate::AerialCaptureApp");
        QVERIFY(tile && tile->findChild<QLabel*>("paid_badge"));
        QTest::mouseClick(tile, Qt::LeftButton);

        auto* panel = qobject_cast<UiToolkit::ActionPanelVC*>(dashboard->presentedViewController());
        QVERIFY(panel && !panel->hasBackButton() && panel->hasCrossButton());
        auto* create = qobject_cast<AppCreate::CreateViewController*>(panel->getMainViewController());
        QVERIFY(create);
        auto* state = qobject_cast<AppCreate::MainState*>(create->getState());
        QVERIFY(state && state->getPhotoCanvas());
        AppCreate::PhotoPreview* canvas = state->getPhotoCanvas();
        auto* flyout = qobject_cast<AppCreate::CreateModelFlyout*>(canvas->getFlyout());
        QVERIFY(flyout);

        // One photo without GPS: one warning, from the background check.
        QStringList photos;
        QVERIFY(QDir(m_dir.path()).mkpath("photos"));
        for (int i = 0; i < 4; ++i) {
            photos << m_dir.filePath(QStringLiteral("photos/DJI_%1.JPG").arg(i));
            QVERIFY(i % 2 ? TestPhotos::writeWithoutGps(photos[i], i)
                          : TestPhotos::writeWithGps(photos[i], {46.548, 7.982, 900}, i));
        }
        QCOMPARE(canvas->addFiles(photos.mid(0, 3)).size(), 3);
        QTRY_COMPARE(m_dialogs.size(), 1);

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
        QTRY_VERIFY_WITH_TIMEOUT(
            (flyout->GetSettings(mesh, cloud, ortho, pixel, code), code.startsWith(QLatin1String("EPSG:326"))), 20000);
        QTest::mouseClick(start, Qt::LeftButton);

        const QString manifest = m_dir.filePath(QStringLiteral("projects/Valley_1/project.json"));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(manifest), 20000);
        const QJsonObject m = QJsonDocument::fromJson(Zyn::TestSupport::readFile(manifest)).object();
        QCOMPARE(m.value("outputs").toObject().value("mesh").toBool(), true);
        QCOMPARE(m.value("photos").toArray().size(), 4);
        QCOMPARE(m_dialogs.size(), 1); // no error on the way

        // Back on the dashboard, which lists the project.
        QTRY_VERIFY(!dashboard->presentedViewController());
        QVERIFY(KeelCore::waitForIdle());
    }
};

QTEST_MAIN(TestPlugins)
#include "tst_plugins.moc"
