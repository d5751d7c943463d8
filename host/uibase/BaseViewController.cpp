#include "BaseViewController.h"

#include "BaseView.h"

#include <QPropertyAnimation>

namespace Zyn {
namespace UiBase {

BaseViewController::BaseViewController(QObject* parent)
    : QObject(parent)
{
}

BaseViewController::~BaseViewController()
{
    // The controller owns its view, wherever the view was placed.
    delete m_view.data();
}

BaseView* BaseViewController::getView()
{
    if (!m_view && !m_viewCreated) {
        m_viewCreated = true;
        BaseView* view = loadView();
        if (!view)
            view = new BaseView;
        view->setViewController(this);
        m_view = view;
        if (!m_deferViewDidLoad)
            viewDidLoad();
    }
    return m_view.data();
}

QWidget* BaseViewController::getQtWidget()
{
    return getView();
}

BaseView* BaseViewController::loadView()
{
    return new BaseView;
}

void BaseViewController::viewDidLoad() {}
void BaseViewController::viewWillAppear() {}
void BaseViewController::viewDidAppear() {}
void BaseViewController::viewWillDisappear() {}
void BaseViewController::viewDidDisappear() {}

BaseViewController* BaseViewController::presentedViewController() const
{
    for (int i = m_presented.size() - 1; i >= 0; --i) {
        if (m_presented.at(i))
            return m_presented.at(i).data();
    }
    return nullptr;
}

QList<BaseViewController*> BaseViewController::presentedViewControllers() const
{
    QList<BaseViewController*> result;
    for (const auto& c : m_presented) {
        if (c)
            result << c.data();
    }
    return result;
}

void BaseViewController::presentViewController(BaseViewController* controller, int direction)
{
    if (!controller || controller == this || m_presented.contains(controller))
        return;
    BaseView* host = getView();
    QWidget* view = controller->getQtWidget();
    if (!host || !view)
        return;

    controller->m_parentBeforePresent = controller->parent();
    controller->m_widgetParentBeforePresent = view->parentWidget();
    controller->setParent(this);
    controller->m_presenter = this;
    controller->m_direction = direction;
    m_presented << QPointer<BaseViewController>(controller);
    connect(host, &BaseView::resized, this, &BaseViewController::layoutPresented, Qt::UniqueConnection);

    view->setParent(host);
    view->setGeometry(host->rect());
    view->raise();
    controller->viewWillAppear();
    view->show();

    QPoint from;
    switch (direction) {
    case TransitionFromLeft: from = QPoint(-host->width(), 0); break;
    case TransitionFromTop: from = QPoint(0, -host->height()); break;
    case TransitionFromBottom: from = QPoint(0, host->height()); break;
    case TransitionFromRight: from = QPoint(host->width(), 0); break;
    default: break;
    }
    if (!from.isNull() && host->isVisible()) {
        auto* slide = new QPropertyAnimation(view, "pos", view);
        slide->setDuration(180);
        slide->setStartValue(from);
        slide->setEndValue(QPoint(0, 0));
        slide->setEasingCurve(QEasingCurve::OutCubic);
        slide->start(QAbstractAnimation::DeleteWhenStopped);
    }
    controller->viewDidAppear();
    emit presented(controller);
}

bool BaseViewController::viewShouldClose()
{
    return true;
}

void BaseViewController::dismissViewController()
{
    if (m_presenter) {
        m_presenter->dismissPresented(this);
        return;
    }
    if (BaseViewController* top = presentedViewController())
        dismissPresented(top);
}

void BaseViewController::dismissPresented(BaseViewController* controller)
{
    if (!controller || !m_presented.contains(controller))
        return;
    // Whatever it presented goes first, top down.
    while (BaseViewController* top = controller->presentedViewController())
        controller->dismissPresented(top);

    QPointer<BaseViewController> guard(controller);
    QWidget* view = controller->m_view.data();
    controller->viewWillDisappear();
    if (!guard)
        return;
    if (view)
        view->hide();
    m_presented.removeAll(QPointer<BaseViewController>(controller));
    controller->m_presenter = nullptr;
    controller->viewDidDisappear();
    emit dismissed(controller);
    if (!guard)
        return;

    if (!view || view->testAttribute(Qt::WA_DeleteOnClose)) {
        controller->setParent(nullptr);
        controller->deleteLater();
    } else {
        // Kept alive by its owner: give it back where it came from.
        view->setParent(controller->m_widgetParentBeforePresent.data());
        view->hide();
        controller->setParent(controller->m_parentBeforePresent.data());
    }
}

void BaseViewController::layoutPresented()
{
    if (!m_view)
        return;
    for (const auto& c : m_presented) {
        if (c && c->m_view)
            c->m_view->setGeometry(m_view->rect());
    }
}

void BaseViewController::setViewDidLoadDeferred(bool deferred)
{
    m_deferViewDidLoad = deferred;
}

} // namespace UiBase
} // namespace Zyn
