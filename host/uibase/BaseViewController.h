#pragma once

#include <keelcore/SharedObject.h>
#include <uibase/BaseView.h>

#include <QList>
#include <QObject>
#include <QPointer>

class QWidget;

namespace Zyn {
namespace UiBase {

// How a presented view comes in.
enum ETransitionDirection : int {
    TransitionNone = 0,      // appears in place
    TransitionFromLeft = 1,
    TransitionFromTop = 2,
    TransitionFromBottom = 3,
    TransitionFromRight = 4, // slides in from the right edge
};

// Owns one view and its lifecycle. Controllers present other controllers
// over their view; a presented controller is owned by its presenter until
// it is dismissed.
class BaseViewController : public QObject, public KeelCore::SharedObject<BaseViewController> {
    Q_OBJECT
public:
    explicit BaseViewController(QObject* parent = nullptr);
    ~BaseViewController() override;

    // The view, created (loadView, then viewDidLoad) on first use.
    BaseView* getView();
    // The view as a plain widget; nullptr once the view has been destroyed.
    QWidget* getQtWidget();
    bool isViewLoaded() const { return !m_view.isNull(); }

    // Lifecycle, called by the host.
    virtual void viewDidLoad();
    virtual void viewWillAppear();
    virtual void viewDidAppear();
    virtual void viewWillDisappear();
    virtual void viewDidDisappear();
    // Asked before the user closes the view (a panel's back or cross
    // button); false keeps it open. The default lets it close.
    virtual bool viewShouldClose();

    // Shows controller's view over this controller's view, coming in from
    // `direction` (ETransitionDirection), and takes ownership of it.
    virtual void presentViewController(BaseViewController* controller, int direction);
    // A presented controller dismisses itself from its presenter; a
    // presenter dismisses the controller on top of it. The dismissed view
    // is deleted unless Qt::WA_DeleteOnClose was cleared on it, in which
    // case it is only hidden and handed back to its earlier parent.
    virtual void dismissViewController();

    BaseViewController* presentingViewController() const { return m_presenter; }
    BaseViewController* presentedViewController() const;
    QList<BaseViewController*> presentedViewControllers() const;

signals:
    void presented(Zyn::UiBase::BaseViewController* controller);
    void dismissed(Zyn::UiBase::BaseViewController* controller);

protected:
    // Creates the view; the default is an empty BaseView.
    virtual BaseView* loadView();
    // Direction of the last presentation of this controller.
    int transitionDirection() const { return m_direction; }
    // When set before the view is created, getView() does not call
    // viewDidLoad(); the subclass calls it once its own state is built.
    void setViewDidLoadDeferred(bool deferred);

private:
    void dismissPresented(BaseViewController* controller);
    void layoutPresented();

    QPointer<BaseView> m_view;
    bool m_viewCreated = false;
    bool m_deferViewDidLoad = false;
    QPointer<BaseViewController> m_presenter;
    QList<QPointer<BaseViewController>> m_presented;
    QPointer<QObject> m_parentBeforePresent;
    QPointer<QWidget> m_widgetParentBeforePresent;
    int m_direction = TransitionNone;
};

} // namespace UiBase
} // namespace Zyn
