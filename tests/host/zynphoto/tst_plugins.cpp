// Plug-in discovery and loading as the host does it at start-up: good
// plug-ins become dashboard tiles; broken files, other hosts' plug-ins and
// objects that are not applications are reported in the window, and the
// host carries on.
#include <dashboard/DashboardVC.h>
#include <support/TestSupport.h>
#include <uibase/IApp.h>
#include <uitoolkit/ActionPanelVC.h>
#include <zynphoto/MainWindow.h>
#include <zynphoto/PluginManager.h>

#include <QtTest>
#include <QtWidgets>

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

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("ZYN_PROJECTS_DIR", QDir::temp().filePath("zyn-test-no-projects").toUtf8());
        // A file that only looks like a library, and one that is not looked at.
        QFile broken(m_dir.filePath("libbroken.so"));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write(QByteArray(4096, '\x7f'));
        QFile notes(m_dir.filePath("README.txt"));
        QVERIFY(notes.open(QIODevice::WriteOnly));
    }
    void init() { QSettings().clear(); }

    void goodPluginBecomesTiles()
    {
        PluginManager plugins;
        plugins.setSearchPaths({GOOD_PLUGIN_DIR});
        QCOMPARE(plugins.loadAll(), 1);
        QVERIFY(plugins.errors().isEmpty());
        QCOMPARE(plugins.plugins().at(0).instance->property("initializeCalls").toInt(), 1);

        MainWindow window;
        window.showPlugins(plugins);
        QVERIFY(Zyn::TestSupport::showExposed(&window));
        auto* good = window.dashboard()->getView()->findChild<QToolButton*>("tile_GoodCommand");
        QVERIFY(good);
        QCOMPARE(good->text(), QStringLiteral("Good"));
        QVERIFY(!label(window, "empty_state_label")->isVisible());
        QVERIFY(!label(window, "plugin_notice_label")->isVisible());
        // A tile is the command: clicking it runs the plug-in's code.
        QTest::mouseClick(good, Qt::LeftButton);
        QVERIFY(qobject_cast<Zyn::UiToolkit::ActionPanelVC*>(window.dashboard()->presentedViewController()));
    }

    void badPluginIsReportedNotFatal_data()
    {
        QTest::addColumn<QString>("dir");
        QTest::addColumn<QStringList>("says");
        QTest::newRow("not a library") << m_dir.path() << QStringList{"libbroken.so: "};
        QTest::newRow("other host") << WRONGIID_PLUGIN_DIR
                                    << QStringList{"wrongiid", "org.example.OtherHost.Plugin/2.0", ZYN_IAPP_IID};
        QTest::newRow("not an application") << NOTANAPP_PLUGIN_DIR << QStringList{"not an application"};
    }
    void badPluginIsReportedNotFatal()
    {
        QFETCH(QString, dir);
        QFETCH(QStringList, says);
        PluginManager plugins;
        QSignalSpy failed(&plugins, &PluginManager::pluginFailed);
        plugins.setSearchPaths({dir, GOOD_PLUGIN_DIR});
        QCOMPARE(plugins.loadAll(), 1);
        QCOMPARE(failed.count(), 1);
        QCOMPARE(plugins.errors().size(), 1);
        for (const QString& text : says)
            QVERIFY2(plugins.errors().at(0).contains(text), qPrintable(plugins.errors().at(0)));
        QCOMPARE(plugins.apps().size(), 1);

        MainWindow window;
        window.showPlugins(plugins);
        QVERIFY(Zyn::TestSupport::showExposed(&window));
        QVERIFY(label(window, "plugin_notice_label")->isVisible());
        QVERIFY(label(window, "plugin_notice_label")->text().contains(says.first()));
        // The good one still works beside it.
        QVERIFY(window.dashboard()->getView()->findChild<QToolButton*>("tile_GoodCommand"));
    }

    void eachFileIsLoadedOnce()
    {
        PluginManager plugins;
        plugins.setSearchPaths({GOOD_PLUGIN_DIR, GOOD_PLUGIN_DIR "/.", GOOD_PLUGIN_DIR "/../plugins_good"});
        QCOMPARE(plugins.loadAll(), 1);
        QCOMPARE(plugins.loadAll(), 0); // already loaded
        QCOMPARE(plugins.plugins().size(), 1);
    }

    void searchPathsComeFromTheAppFolderAndEnvironment()
    {
        const QByteArray saved = qgetenv("ZYN_PLUGIN_PATH");
        qputenv("ZYN_PLUGIN_PATH", "/opt/one::/opt/two/:/opt/one");
        const QStringList paths = PluginManager::defaultSearchPaths();
        qputenv("ZYN_PLUGIN_PATH", saved);
        QCOMPARE(paths, QStringList({QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../lib/zynphoto/plugins"),
                                     "/opt/one", "/opt/two"}));
        // A folder that is not there is no error: the window shows the empty state.
        PluginManager plugins;
        plugins.setSearchPaths({"/nonexistent/plugins"});
        QCOMPARE(plugins.loadAll(), 0);
        QVERIFY(plugins.errors().isEmpty());
        MainWindow window;
        window.showPlugins(plugins);
        QVERIFY(Zyn::TestSupport::showExposed(&window));
        QVERIFY(label(window, "empty_state_label")->isVisible());
        QVERIFY(label(window, "empty_state_label")->text().contains("No plug-in is loaded"));
        QVERIFY(!label(window, "plugin_notice_label")->isVisible());
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
};

QTEST_MAIN(TestPlugins)
#include "tst_plugins.moc"
