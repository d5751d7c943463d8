// Plug-in discovery and loading as the host does it at start-up: good
// plug-ins become dashboard tiles; broken files, other hosts' plug-ins and
// objects that are not applications are reported in the window, and the
// host carries on.
#include <dashboard/DashboardVC.h>
#include <uibase/CommandBase.h>
#include <uibase/IApp.h>
#include <uitoolkit/ActionPanelVC.h>
#include <zynphoto/MainWindow.h>
#include <zynphoto/PluginManager.h>

#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

using Zyn::Host::MainWindow;
using Zyn::Host::PluginManager;

class TestPlugins : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init() { QSettings().clear(); }
    void goodPluginBecomesTiles();
    void brokenLibraryIsReportedNotFatal();
    void otherInterfaceIsReported();
    void objectThatIsNotAnAppIsReported();
    void eachFileIsLoadedOnce();
    void searchPathsComeFromTheAppFolderAndEnvironment();
    void noPluginShowsTheEmptyState();
    void windowRemembersItsSize();

private:
    QLabel* notice(MainWindow& window) const
    {
        return window.dashboard()->getView()->findChild<QLabel*>(QStringLiteral("plugin_notice_label"));
    }
};

void TestPlugins::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qputenv("ZYN_PROJECTS_DIR", QDir::temp().filePath(QStringLiteral("zyn-test-no-projects")).toUtf8());
}

void TestPlugins::goodPluginBecomesTiles()
{
    PluginManager plugins;
    plugins.setSearchPaths({QStringLiteral(GOOD_PLUGIN_DIR)});
    QCOMPARE(plugins.loadAll(), 1);
    QCOMPARE(plugins.apps().size(), 1);
    QVERIFY(plugins.errors().isEmpty());
    QCOMPARE(plugins.plugins().at(0).className, QStringLiteral("TestGoodApp"));
    QCOMPARE(plugins.plugins().at(0).instance->property("initializeCalls").toInt(), 1);

    MainWindow window;
    window.showPlugins(plugins);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QWidget* view = window.dashboard()->getView();
    auto* good = view->findChild<QToolButton*>(QStringLiteral("tile_GoodCommand"));
    auto* paid = view->findChild<QToolButton*>(QStringLiteral("tile_PaidCommand"));
    QVERIFY(good && paid);
    QCOMPARE(good->text(), QStringLiteral("Good"));
    QVERIFY(!good->findChild<QLabel*>(QStringLiteral("paid_badge")));
    QVERIFY(paid->findChild<QLabel*>(QStringLiteral("paid_badge")));
    QVERIFY(!view->findChild<QLabel*>(QStringLiteral("empty_state_label"))->isVisible());
    QVERIFY(!notice(window)->isVisible());

    // A tile is the command: clicking it runs the plug-in's code.
    QTest::mouseClick(good, Qt::LeftButton);
    QVERIFY(qobject_cast<Zyn::UiToolkit::ActionPanelVC*>(window.dashboard()->presentedViewController()));
}

void TestPlugins::brokenLibraryIsReportedNotFatal()
{
    QTemporaryDir dir;
    QFile broken(dir.filePath(QStringLiteral("libbroken.so")));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write(QByteArray(4096, '\x7f'));
    broken.close();
    QFile notes(dir.filePath(QStringLiteral("README.txt"))); // not a library: not looked at
    QVERIFY(notes.open(QIODevice::WriteOnly));
    notes.close();

    PluginManager plugins;
    QSignalSpy failed(&plugins, &PluginManager::pluginFailed);
    plugins.setSearchPaths({dir.path(), QStringLiteral(GOOD_PLUGIN_DIR)});
    QCOMPARE(plugins.loadAll(), 1);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(plugins.errors().size(), 1);
    QVERIFY(plugins.errors().at(0).startsWith(QStringLiteral("libbroken.so: ")));

    MainWindow window;
    window.showPlugins(plugins);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(notice(window)->isVisible());
    QVERIFY(notice(window)->text().contains(QStringLiteral("libbroken.so")));
    // The good one still works beside it.
    QVERIFY(window.dashboard()->getView()->findChild<QToolButton*>(QStringLiteral("tile_GoodCommand")));
}

void TestPlugins::otherInterfaceIsReported()
{
    PluginManager plugins;
    plugins.setSearchPaths({QStringLiteral(WRONGIID_PLUGIN_DIR)});
    QCOMPARE(plugins.loadAll(), 0);
    QCOMPARE(plugins.errors().size(), 1);
    QVERIFY(plugins.errors().at(0).contains(QStringLiteral("org.example.OtherHost.Plugin/2.0")));
    QVERIFY(plugins.errors().at(0).contains(QStringLiteral(ZYN_IAPP_IID)));
    // Never instantiated.
    QVERIFY(!plugins.plugins().at(0).instance);

    MainWindow window;
    window.showPlugins(plugins);
    QVERIFY(notice(window)->text().contains(QStringLiteral("wrongiid")));
}

void TestPlugins::objectThatIsNotAnAppIsReported()
{
    PluginManager plugins;
    plugins.setSearchPaths({QStringLiteral(NOTANAPP_PLUGIN_DIR)});
    QCOMPARE(plugins.loadAll(), 0);
    QCOMPARE(plugins.errors().size(), 1);
    QVERIFY(plugins.errors().at(0).contains(QStringLiteral("not an application")));
    QVERIFY(plugins.apps().isEmpty());
}

void TestPlugins::eachFileIsLoadedOnce()
{
    PluginManager plugins;
    plugins.setSearchPaths({QStringLiteral(GOOD_PLUGIN_DIR), QStringLiteral(GOOD_PLUGIN_DIR "/."),
                            QStringLiteral(GOOD_PLUGIN_DIR "/../plugins_good")});
    QCOMPARE(plugins.loadAll(), 1);
    QCOMPARE(plugins.plugins().size(), 1);
    QCOMPARE(plugins.loadAll(), 0); // already loaded
    QCOMPARE(plugins.plugins().size(), 1);
}

void TestPlugins::searchPathsComeFromTheAppFolderAndEnvironment()
{
    const QByteArray saved = qgetenv("ZYN_PLUGIN_PATH");
    qputenv("ZYN_PLUGIN_PATH", "/opt/one::/opt/two/:/opt/one");
    const QStringList paths = PluginManager::defaultSearchPaths();
    qputenv("ZYN_PLUGIN_PATH", saved);
    QCOMPARE(paths,
             QStringList({QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/zynphoto/plugins")),
                          QStringLiteral("/opt/one"), QStringLiteral("/opt/two")}));

    PluginManager plugins;
    plugins.setSearchPaths({QStringLiteral("/nonexistent/plugins")});
    QCOMPARE(plugins.loadAll(), 0);
    QVERIFY(plugins.errors().isEmpty());
}

void TestPlugins::noPluginShowsTheEmptyState()
{
    PluginManager plugins;
    plugins.setSearchPaths({});
    QCOMPARE(plugins.loadAll(), 0);
    MainWindow window;
    window.showPlugins(plugins);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto* empty = window.dashboard()->getView()->findChild<QLabel*>(QStringLiteral("empty_state_label"));
    QVERIFY(empty->isVisible());
    QVERIFY(empty->text().contains(QStringLiteral("No plug-in is loaded")));
    QVERIFY(window.dashboard()->tileCommands().isEmpty());
    QVERIFY(!notice(window)->isVisible());
}

void TestPlugins::windowRemembersItsSize()
{
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.resize(640, 480);
        QTRY_COMPARE(window.size(), QSize(640, 480));
        window.close();
    }
    MainWindow again;
    QCOMPARE(again.size(), QSize(640, 480));

    // A damaged value: the default size, no complaint.
    QSettings().setValue(QStringLiteral("MainWindow/geometry"), QByteArray("not a geometry"));
    MainWindow fresh;
    QCOMPARE(fresh.size(), QSize(1280, 800));
}

QTEST_MAIN(TestPlugins)
#include "tst_plugins.moc"
