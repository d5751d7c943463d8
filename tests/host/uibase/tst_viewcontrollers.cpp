// View controllers: lazy views, presentation and dismissal, and the action
// panel driven through its buttons.
#include <support/TestSupport.h>
#include <uibase/BaseView.h>
#include <uibase/BaseViewController.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QtTest>
#include <QtWidgets>

using namespace Zyn::UiBase;
using Zyn::UiToolkit::ActionPanelVC;

namespace {

// Records its lifecycle calls into a shared log.
class LoggingVC : public BaseViewController {
    Q_OBJECT
public:
    LoggingVC(const QString& name, QStringList* log, QObject* parent = nullptr)
        : BaseViewController(parent), m_name(name), m_log(log) {}
    ~LoggingVC() override { add("destroyed"); }
    void viewDidLoad() override { add("didLoad"); }
    void viewWillAppear() override { add("willAppear"); }
    void viewDidAppear() override { add("didAppear"); }
    void viewWillDisappear() override { add("willDisappear"); }
    void viewDidDisappear() override { add("didDisappear"); }

private:
    void add(const char* event) { m_log->append(m_name + ':' + event); }
    QString m_name;
    QStringList* m_log;
};

QToolButton* button(BaseViewController* panel, const char* name)
{
    return panel->getView()->findChild<QToolButton*>(name);
}

} // namespace

class TestViewControllers : public QObject {
    Q_OBJECT
    QStringList m_log;
    QScopedPointer<LoggingVC> m_presenter;

private slots:
    void init()
    {
        m_presenter.reset(new LoggingVC("p", &m_log));
        QVERIFY(Zyn::TestSupport::showExposed(m_presenter->getView(), QSize(640, 480)));
        m_log.clear();
    }
    void cleanup() { m_presenter.reset(); }

    void viewIsCreatedOnceWithViewDidLoad()
    {
        LoggingVC vc("a", &m_log);
        QVERIFY(!vc.isViewLoaded());
        BaseView* view = vc.getView();
        QCOMPARE(vc.getView(), view);
        QCOMPARE(view->getViewController(), &vc);
        QCOMPARE(m_log, QStringList({"a:didLoad"}));
        // A view destroyed by someone else is gone for good, not rebuilt.
        delete view;
        QVERIFY(!vc.getQtWidget());
        QCOMPARE(m_log.count("a:didLoad"), 1);
    }

    void presentFillsPresenterAndFollowsItsSize()
    {
        auto* child = new LoggingVC("c", &m_log);
        QSignalSpy presented(m_presenter.data(), &BaseViewController::presented);
        m_presenter->presentViewController(child, TransitionFromRight);
        QCOMPARE(presented.count(), 1);
        QCOMPARE(m_presenter->presentedViewController(), child);
        QCOMPARE(child->presentingViewController(), m_presenter.data());
        QCOMPARE(child->getView()->parentWidget(), m_presenter->getQtWidget());
        QCOMPARE(child->getView()->size(), QSize(640, 480));
        QVERIFY(child->getView()->isVisible());
        QCOMPARE(m_log, QStringList({"c:didLoad", "c:willAppear", "c:didAppear"}));
        // The slide ends with the view in place.
        QTRY_COMPARE(child->getView()->pos(), QPoint(0, 0));
        // Presenting the same controller twice is ignored.
        m_presenter->presentViewController(child, TransitionNone);
        QCOMPARE(m_presenter->presentedViewControllers().size(), 1);
        m_presenter->getView()->resize(500, 350);
        QCOMPARE(child->getView()->size(), QSize(500, 350));
    }

    void dismissDeletesUnlessDeleteOnCloseCleared()
    {
        QPointer<LoggingVC> temporary = new LoggingVC("t", &m_log);
        QPointer<BaseView> temporaryView = temporary->getView();
        m_presenter->presentViewController(temporary, TransitionNone);
        m_log.clear();
        temporary->dismissViewController();
        QCOMPARE(m_log, QStringList({"t:willDisappear", "t:didDisappear"}));
        QVERIFY(!m_presenter->presentedViewController());
        QTRY_VERIFY(temporary.isNull() && temporaryView.isNull());

        // A view its owner keeps: hidden and given back, controller alive.
        QObject owner;
        QWidget oldParent;
        auto* kept = new LoggingVC("k", &m_log, &owner);
        kept->getView()->setParent(&oldParent);
        kept->getView()->setAttribute(Qt::WA_DeleteOnClose, false);
        m_presenter->presentViewController(kept, TransitionFromRight);
        QCOMPARE(kept->parent(), m_presenter.data());
        m_presenter->dismissViewController();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(kept->parent(), &owner);
        QCOMPARE(kept->getView()->parentWidget(), &oldParent);
        QVERIFY(!kept->getView()->isVisibleTo(&oldParent));
        QVERIFY(!m_log.contains("k:destroyed"));
        // It can be presented again.
        m_presenter->presentViewController(kept, TransitionFromRight);
        QCOMPARE(m_presenter->presentedViewController(), kept);
    }

    void dismissingLowerPanelDismissesTheOneAbove()
    {
        auto* lower = new LoggingVC("lower", &m_log);
        auto* upper = new LoggingVC("upper", &m_log);
        m_presenter->presentViewController(lower, TransitionNone);
        lower->presentViewController(upper, TransitionNone);
        m_log.clear();
        lower->dismissViewController();
        QCOMPARE(m_log.mid(0, 4),
                 QStringList({"upper:willDisappear", "upper:didDisappear", "lower:willDisappear", "lower:didDisappear"}));
        QTRY_VERIFY(m_log.contains("lower:destroyed"));
        QVERIFY(m_log.contains("upper:destroyed"));
    }

    // The panel shows one of its buttons; clicking it tells the main view and closes the panel.
    void panelButtonClosesAndTellsMainView_data()
    {
        QTest::addColumn<bool>("cross");
        QTest::newRow("cross") << true;
        QTest::newRow("back") << false;
    }
    void panelButtonClosesAndTellsMainView()
    {
        QFETCH(bool, cross);
        QPointer<LoggingVC> content = new LoggingVC("m", &m_log);
        content->getView()->setParent(m_presenter->getQtWidget()); // as the plug-in attaches it
        QPointer<ActionPanelVC> panel = new ActionPanelVC;
        panel->setMainView(content->getView());
        panel->setBackButton(!cross);
        panel->setCrossButton(cross);
        panel->setTitle("Survey Points");
        QCOMPARE(panel->getMainViewController(), content.data());
        m_presenter->presentViewController(panel, TransitionFromRight);
        QVERIFY(m_log.contains("m:willAppear") && content->getView()->isVisible());
        QCOMPARE(panel->getView()->findChild<QLabel*>("title_label")->text(), QStringLiteral("Survey Points"));
        QVERIFY(!button(panel, cross ? "back_button" : "cross_button")->isVisible());

        QSignalSpy clicked(panel.data(), cross ? &ActionPanelVC::crossClicked : &ActionPanelVC::backClicked);
        m_log.clear();
        QTest::mouseClick(button(panel, cross ? "cross_button" : "back_button"), Qt::LeftButton);
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(m_log.mid(0, 2), QStringList({"m:willDisappear", "m:didDisappear"}));
        QVERIFY(!m_presenter->presentedViewController());
        QTRY_VERIFY(panel.isNull());
        QVERIFY(content.isNull());
    }

    void panelShownAloneHidesOnCross()
    {
        ActionPanelVC panel(new LoggingVC("m", &m_log));
        QVERIFY(Zyn::TestSupport::showExposed(panel.getView()));
        QTest::mouseClick(button(&panel, "cross_button"), Qt::LeftButton);
        QVERIFY(m_log.contains("m:willDisappear"));
        QVERIFY(!panel.getView()->isVisible());
    }
};

QTEST_MAIN(TestViewControllers)
#include "tst_viewcontrollers.moc"
