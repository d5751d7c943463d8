// View controllers: lazy views, presentation and dismissal, and the action
// panel driven through its buttons.
#include <uibase/BaseView.h>
#include <uibase/BaseViewController.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QLabel>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

using namespace Zyn::UiBase;
using Zyn::UiToolkit::ActionPanelVC;

namespace {

// Records its lifecycle calls into a shared log.
class LoggingVC : public BaseViewController {
    Q_OBJECT
public:
    LoggingVC(const QString& name, QStringList* log, QObject* parent = nullptr)
        : BaseViewController(parent)
        , m_name(name)
        , m_log(log)
    {
    }
    ~LoggingVC() override { m_log->append(m_name + QStringLiteral(":destroyed")); }
    void viewDidLoad() override { m_log->append(m_name + QStringLiteral(":didLoad")); }
    void viewWillAppear() override { m_log->append(m_name + QStringLiteral(":willAppear")); }
    void viewDidAppear() override { m_log->append(m_name + QStringLiteral(":didAppear")); }
    void viewWillDisappear() override { m_log->append(m_name + QStringLiteral(":willDisappear")); }
    void viewDidDisappear() override { m_log->append(m_name + QStringLiteral(":didDisappear")); }

    using BaseViewController::setViewDidLoadDeferred;

private:
    QString m_name;
    QStringList* m_log;
};

} // namespace

class TestViewControllers : public QObject {
    Q_OBJECT
private slots:
    void viewIsCreatedOnceWithViewDidLoad();
    void deferredViewDidLoadIsLeftToTheSubclass();
    void presentFillsPresenterAndCallsLifecycle();
    void dismissDeletesUnlessDeleteOnCloseCleared();
    void dismissingLowerPanelDismissesTheOneAbove();
    void presentedViewFollowsPresenterSize();
    void panelCrossClosesAndTellsMainView();
    void panelBackButtonAndButtonVisibility();
    void panelShownAloneHidesOnCross();
};

void TestViewControllers::viewIsCreatedOnceWithViewDidLoad()
{
    QStringList log;
    LoggingVC vc(QStringLiteral("a"), &log);
    QVERIFY(!vc.isViewLoaded());
    BaseView* view = vc.getView();
    QVERIFY(view);
    QCOMPARE(vc.getView(), view);
    QCOMPARE(vc.getQtWidget(), static_cast<QWidget*>(view));
    QCOMPARE(view->getViewController(), &vc);
    QCOMPARE(log, QStringList({"a:didLoad"}));

    // A view destroyed by someone else is gone for good, not rebuilt.
    delete view;
    QVERIFY(!vc.getQtWidget());
    QCOMPARE(log.count(QStringLiteral("a:didLoad")), 1);
}

void TestViewControllers::deferredViewDidLoadIsLeftToTheSubclass()
{
    QStringList log;
    LoggingVC vc(QStringLiteral("a"), &log);
    vc.setViewDidLoadDeferred(true);
    QVERIFY(vc.getView());
    QVERIFY(log.isEmpty());
}

void TestViewControllers::presentFillsPresenterAndCallsLifecycle()
{
    QStringList log;
    LoggingVC presenter(QStringLiteral("p"), &log);
    presenter.getView()->resize(640, 480);
    presenter.getView()->show();
    QVERIFY(QTest::qWaitForWindowExposed(presenter.getView()));

    auto* child = new LoggingVC(QStringLiteral("c"), &log);
    QSignalSpy presented(&presenter, &BaseViewController::presented);
    log.clear();
    presenter.presentViewController(child, TransitionFromRight);

    QCOMPARE(presented.count(), 1);
    QCOMPARE(presenter.presentedViewController(), child);
    QCOMPARE(child->presentingViewController(), &presenter);
    QCOMPARE(child->parent(), &presenter);
    QCOMPARE(child->getView()->parentWidget(), presenter.getQtWidget());
    QCOMPARE(child->getView()->size(), QSize(640, 480));
    QVERIFY(child->getView()->isVisible());
    QCOMPARE(log, QStringList({"c:didLoad", "c:willAppear", "c:didAppear"}));
    // The slide ends with the view in place.
    QTRY_COMPARE(child->getView()->pos(), QPoint(0, 0));

    // Presenting the same controller twice is ignored.
    presenter.presentViewController(child, TransitionNone);
    QCOMPARE(presenter.presentedViewControllers().size(), 1);
}

void TestViewControllers::dismissDeletesUnlessDeleteOnCloseCleared()
{
    QStringList log;
    LoggingVC presenter(QStringLiteral("p"), &log);
    presenter.getView()->resize(300, 200);

    QPointer<LoggingVC> temporary = new LoggingVC(QStringLiteral("t"), &log);
    QPointer<BaseView> temporaryView = temporary->getView();
    presenter.presentViewController(temporary, TransitionNone);
    log.clear();
    temporary->dismissViewController();
    QCOMPARE(log, QStringList({"t:willDisappear", "t:didDisappear"}));
    QVERIFY(!presenter.presentedViewController());
    QTRY_VERIFY(temporary.isNull());
    QTRY_VERIFY(temporaryView.isNull());

    // A view its owner keeps: hidden and given back, controller alive.
    QObject owner;
    QWidget oldParent;
    auto* kept = new LoggingVC(QStringLiteral("k"), &log, &owner);
    kept->getView()->setParent(&oldParent);
    kept->getView()->setAttribute(Qt::WA_DeleteOnClose, false);
    presenter.presentViewController(kept, TransitionFromRight);
    QCOMPARE(kept->parent(), &presenter);
    presenter.dismissViewController();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(kept->parent(), &owner);
    QCOMPARE(kept->getView()->parentWidget(), &oldParent);
    QVERIFY(!kept->getView()->isVisibleTo(&oldParent));
    QVERIFY(!log.contains(QStringLiteral("k:destroyed")));

    // It can be presented again.
    presenter.presentViewController(kept, TransitionFromRight);
    QCOMPARE(presenter.presentedViewController(), kept);
}

void TestViewControllers::dismissingLowerPanelDismissesTheOneAbove()
{
    QStringList log;
    LoggingVC presenter(QStringLiteral("p"), &log);
    presenter.getView()->resize(300, 200);
    auto* lower = new LoggingVC(QStringLiteral("lower"), &log);
    auto* upper = new LoggingVC(QStringLiteral("upper"), &log);
    presenter.presentViewController(lower, TransitionNone);
    lower->presentViewController(upper, TransitionNone);
    log.clear();

    lower->dismissViewController();
    QCOMPARE(log.mid(0, 4),
             QStringList({"upper:willDisappear", "upper:didDisappear", "lower:willDisappear", "lower:didDisappear"}));
    QTRY_VERIFY(log.contains(QStringLiteral("lower:destroyed")));
    QVERIFY(log.contains(QStringLiteral("upper:destroyed")));
}

void TestViewControllers::presentedViewFollowsPresenterSize()
{
    QStringList log;
    LoggingVC presenter(QStringLiteral("p"), &log);
    presenter.getView()->resize(300, 200);
    presenter.getView()->show();
    QVERIFY(QTest::qWaitForWindowExposed(presenter.getView()));
    auto* child = new LoggingVC(QStringLiteral("c"), &log);
    presenter.presentViewController(child, TransitionNone);
    presenter.getView()->resize(500, 350);
    QCOMPARE(child->getView()->size(), QSize(500, 350));
}

void TestViewControllers::panelCrossClosesAndTellsMainView()
{
    QStringList log;
    LoggingVC presenter(QStringLiteral("p"), &log);
    presenter.getView()->resize(800, 600);
    presenter.getView()->show();
    QVERIFY(QTest::qWaitForWindowExposed(presenter.getView()));

    QPointer<LoggingVC> content = new LoggingVC(QStringLiteral("create"), &log);
    content->getView()->setParent(presenter.getQtWidget()); // as the plug-in attaches it
    QPointer<ActionPanelVC> panel = new ActionPanelVC;
    panel->setMainView(content->getView());
    panel->setBackButton(false);
    panel->setCrossButton(true);
    QCOMPARE(panel->getMainViewController(), content.data());
    QCOMPARE(content->parent(), panel.data());

    presenter.presentViewController(panel, TransitionFromRight);
    QVERIFY(log.contains(QStringLiteral("create:willAppear")));
    QVERIFY(content->getView()->isVisible());

    auto* cross = panel->getView()->findChild<QToolButton*>(QStringLiteral("cross_button"));
    QVERIFY(cross);
    QVERIFY(cross->isVisible());
    QSignalSpy crossSpy(panel.data(), &ActionPanelVC::crossClicked);
    log.clear();
    QTest::mouseClick(cross, Qt::LeftButton);

    QCOMPARE(crossSpy.count(), 1);
    QCOMPARE(log.mid(0, 2), QStringList({"create:willDisappear", "create:didDisappear"}));
    QVERIFY(!presenter.presentedViewController());
    QTRY_VERIFY(panel.isNull());
    QVERIFY(content.isNull());
}

void TestViewControllers::panelBackButtonAndButtonVisibility()
{
    QStringList log;
    LoggingVC presenter(QStringLiteral("p"), &log);
    presenter.getView()->resize(400, 300);
    presenter.getView()->show();
    QVERIFY(QTest::qWaitForWindowExposed(presenter.getView()));

    auto* main = new LoggingVC(QStringLiteral("m"), &log);
    QPointer<ActionPanelVC> panel = new ActionPanelVC(main);
    panel->setTitle(QStringLiteral("Survey Points"));
    panel->setCrossButton(false);
    presenter.presentViewController(panel, TransitionFromRight);

    auto* cross = panel->getView()->findChild<QToolButton*>(QStringLiteral("cross_button"));
    auto* back = panel->getView()->findChild<QToolButton*>(QStringLiteral("back_button"));
    auto* title = panel->getView()->findChild<QLabel*>(QStringLiteral("title_label"));
    QVERIFY(cross && back && title);
    QVERIFY(!cross->isVisible());
    QVERIFY(back->isVisible());
    QCOMPARE(title->text(), QStringLiteral("Survey Points"));

    QSignalSpy backSpy(panel.data(), &ActionPanelVC::backClicked);
    QTest::mouseClick(back, Qt::LeftButton);
    QCOMPARE(backSpy.count(), 1);
    QVERIFY(log.contains(QStringLiteral("m:willDisappear")));
    QTRY_VERIFY(panel.isNull());
}

void TestViewControllers::panelShownAloneHidesOnCross()
{
    QStringList log;
    auto* main = new LoggingVC(QStringLiteral("m"), &log);
    ActionPanelVC panel(main);
    panel.getView()->show();
    QVERIFY(QTest::qWaitForWindowExposed(panel.getView()));
    auto* cross = panel.getView()->findChild<QToolButton*>(QStringLiteral("cross_button"));
    QTest::mouseClick(cross, Qt::LeftButton);
    QVERIFY(log.contains(QStringLiteral("m:willDisappear")));
    QVERIFY(!panel.getView()->isVisible());
}

QTEST_MAIN(TestViewControllers)
#include "tst_viewcontrollers.moc"
