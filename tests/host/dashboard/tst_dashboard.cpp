// The dashboard: tiles for the applications' commands, notices, the
// projects list following the processing service, and panels presented
// over it (including what a panel's create view presents).
#include <appcreate/CreateViewController.h>
#include <appcreate/ProcessingService.h>
#include <dashboard/DashboardVC.h>
#include <keelcore/Dispatch.h>
#include <uibase/CommandBase.h>
#include <uibase/IApp.h>
#include <uitoolkit/ActionPanelVC.h>

#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::AppDashboard::DashboardVC;
using namespace Zyn::UiBase;

namespace {

class TileCommand : public CommandBase {
    Q_OBJECT
public:
    TileCommand(CmdsViewController* owner, const QString& name, bool paid) : CommandBase(owner), m_name(name)
    {
        setText(name);
        setIsPaidFeature(paid);
    }
    QString getCommandName() const override { return m_name; }
    bool execute() override
    {
        ++runs;
        return true;
    }
    int runs = 0;

private:
    QString m_name;
};

class FakeApp : public IApp {
public:
    QList<CommandBase*> createCommands(CmdsViewController* owner) override
    {
        owners << owner;
        return {new TileCommand(owner, QStringLiteral("Alpha"), false), nullptr,
                new TileCommand(nullptr, QStringLiteral("Beta"), true)};
    }
    QList<CmdsViewController*> owners;
};

} // namespace

class TestDashboard : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        m_photo = m_dir.filePath(QStringLiteral("photo.jpg"));
        QImage image(32, 24, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        QVERIFY(image.save(m_photo, "JPEG"));
    }

    void init()
    {
        static int n = 0;
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects%1").arg(++n)).toUtf8());
        QSettings().clear();
    }

    void tilesForEveryCommandPaidOnesMarked()
    {
        DashboardVC dashboard;
        QWidget* view = dashboard.getView();
        QVERIFY(Zyn::TestSupport::showExposed(view, QSize(900, 600)));
        auto* empty = view->findChild<QLabel*>(QStringLiteral("empty_state_label"));
        QVERIFY(empty->isVisible());

        FakeApp app;
        QCOMPARE(dashboard.addApp(&app), 2); // the null command is skipped
        QCOMPARE(dashboard.addApp(&app), 0); // an application is added once
        QCOMPARE(app.owners, QList<CmdsViewController*>({&dashboard}));
        QVERIFY(!empty->isVisible());

        const QList<CommandBase*> tiles = dashboard.tileCommands();
        QCOMPARE(tiles.size(), 2);
        // The dashboard owns what it was given, parent or not.
        QCOMPARE(tiles.at(1)->parent(), &dashboard);

        auto* alpha = view->findChild<QToolButton*>(QStringLiteral("tile_Alpha"));
        auto* beta = view->findChild<QToolButton*>(QStringLiteral("tile_Beta"));
        QVERIFY(alpha && beta);
        QVERIFY(!alpha->findChild<QLabel*>(QStringLiteral("paid_badge")));
        QVERIFY(beta->findChild<QLabel*>(QStringLiteral("paid_badge")));

        QTest::mouseClick(beta, Qt::LeftButton);
        QCOMPARE(static_cast<TileCommand*>(tiles.at(1))->runs, 1);
        QCOMPARE(static_cast<TileCommand*>(tiles.at(0))->runs, 0);

        // A command removed from the dashboard loses its tile.
        dashboard.removeCommand(tiles.at(0));
        QTRY_VERIFY(!view->findChild<QToolButton*>(QStringLiteral("tile_Alpha")));
    }

    void noticesAreShownEscaped()
    {
        DashboardVC dashboard;
        dashboard.getView()->show();
        auto* label = dashboard.getView()->findChild<QLabel*>(QStringLiteral("plugin_notice_label"));
        QVERIFY(!label->isVisible());
        dashboard.addNotice(QStringLiteral("libA.so: <not> a plug-in"));
        dashboard.addNotice(QStringLiteral("libB.so: wrong interface"));
        QVERIFY(label->isVisible());
        QVERIFY(label->text().contains(QStringLiteral("&lt;not&gt;")));
        QVERIFY(label->text().contains(QStringLiteral("libB.so")));
        QCOMPARE(dashboard.notices().size(), 2);
    }

    void projectsListFollowsTheService()
    {
        DashboardVC dashboard;
        QWidget* view = dashboard.getView();
        QVERIFY(Zyn::TestSupport::showExposed(view, QSize(900, 600)));
        auto* list = view->findChild<QTreeWidget*>(QStringLiteral("projects_treeWidget"));
        auto* none = view->findChild<QLabel*>(QStringLiteral("no_projects_label"));
        QVERIFY(none->isVisible() && !list->isVisible());

        const Zyn::AppCreate::ProjectRequest request{"Quarry", {m_photo}, true, false, false, 0.01f, "LL84"};
        QString folder, error;
        QVERIFY2(Zyn::AppCreate::ProcessingService::instance()->submitProject(request, &folder, &error),
                 qPrintable(error));
        QCOMPARE(list->topLevelItemCount(), 1);
        QVERIFY(list->isVisible() && !none->isVisible());
        QCOMPARE(list->topLevelItem(0)->text(0), QStringLiteral("Quarry"));
        QCOMPARE(list->topLevelItem(0)->text(1), QStringLiteral("Queued"));
        QCOMPARE(list->topLevelItem(0)->text(2), QStringLiteral("1"));

        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(list->topLevelItem(0)->text(1), QStringLiteral("Ready"));
        QCOMPARE(list->topLevelItem(0)->data(0, Qt::UserRole).toString(), folder);

        // A folder someone damaged is listed, as failed, with the reason.
        QVERIFY(QDir().mkpath(Zyn::AppCreate::ProcessingService::projectsDirectory() + QStringLiteral("/Damaged")));
        dashboard.refreshProjects();
        QCOMPARE(list->topLevelItemCount(), 2);
        QList<QTreeWidgetItem*> damaged = list->findItems(QStringLiteral("Damaged"), Qt::MatchExactly);
        QCOMPARE(damaged.size(), 1);
        QCOMPARE(damaged.at(0)->text(1), QStringLiteral("Failed"));
        QVERIFY(!damaged.at(0)->toolTip(1).isEmpty());
    }

    void panelsOfAPanelArePresentedOnTheDashboard()
    {
        DashboardVC dashboard;
        QWidget* view = dashboard.getView();
        QVERIFY(Zyn::TestSupport::showExposed(view, QSize(900, 600)));
        auto* create = new Zyn::AppCreate::CreateViewController;
        create->getView()->setParent(dashboard.getQtWidget());
        create->Initialize();
        auto* panel = new Zyn::UiToolkit::ActionPanelVC;
        panel->setMainView(create->getView());
        dashboard.presentViewController(panel, TransitionFromRight);

        // What the create view presents lands on the dashboard, above it.
        auto* inner = new Zyn::UiToolkit::ActionPanelVC(new BaseViewController);
        create->presentViewController(inner, TransitionFromRight);
        QCOMPARE(dashboard.presentedViewControllers().size(), 2);
        QCOMPARE(dashboard.presentedViewController(), inner);

        dashboard.dismissView(inner);
        QCOMPARE(dashboard.presentedViewController(), panel);
    }

private:
    QTemporaryDir m_dir;
    QString m_photo;
};

QTEST_MAIN(TestDashboard)
#include "tst_dashboard.moc"
