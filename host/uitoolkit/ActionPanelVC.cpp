#include "ActionPanelVC.h"

#include <uibase/BaseView.h>
#include <uibase/QtUiToolkit.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace Zyn {
namespace UiToolkit {

using UiBase::BaseView;
using UiBase::BaseViewController;

ActionPanelVC::ActionPanelVC(BaseViewController* mainController, QObject* parent)
    : BaseViewController(parent)
{
    if (mainController)
        setMainViewController(mainController);
}

ActionPanelVC::~ActionPanelVC() = default;

BaseView* ActionPanelVC::loadView()
{
    auto* view = new BaseView;
    view->setObjectName(QStringLiteral("action_panel"));
    view->setAutoFillBackground(true);

    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* bar = new QWidget;
    bar->setObjectName(QStringLiteral("action_panel_bar"));
    bar->setFixedHeight(40);
    bar->setStyleSheet(QStringLiteral("#action_panel_bar { background: #F4F6F8; border-bottom: 1px solid #D8DDE3; }"
                                      "QToolButton { border: none; padding: 4px; }"
                                      "QToolButton:hover { background: #E1E7EE; border-radius: 4px; }"));
    auto* barLayout = new QHBoxLayout(bar);
    barLayout->setContentsMargins(8, 4, 8, 4);

    auto* toolkit = UiBase::QtUiToolkit::Instance();
    m_back = new QToolButton;
    m_back->setObjectName(QStringLiteral("back_button"));
    m_back->setIcon(toolkit->getIcon(QStringLiteral("panel_back.png")));
    m_back->setIconSize(QSize(20, 20));
    m_back->setToolTip(tr("Back"));
    m_back->setVisible(m_backVisible);
    connect(m_back.data(), &QToolButton::clicked, this, &ActionPanelVC::onBack);

    m_title = new QLabel;
    m_title->setObjectName(QStringLiteral("title_label"));
    m_title->setStyleSheet(QStringLiteral("color: #2F4F6F; font-weight: bold;"));

    m_cross = new QToolButton;
    m_cross->setObjectName(QStringLiteral("cross_button"));
    m_cross->setIcon(toolkit->getIcon(QStringLiteral("panel_close.png")));
    m_cross->setIconSize(QSize(20, 20));
    m_cross->setToolTip(tr("Close"));
    m_cross->setVisible(m_crossVisible);
    connect(m_cross.data(), &QToolButton::clicked, this, &ActionPanelVC::onCross);

    barLayout->addWidget(m_back);
    barLayout->addWidget(m_title, 1);
    barLayout->addWidget(m_cross);

    m_body = new QWidget;
    m_body->setObjectName(QStringLiteral("action_panel_body"));
    auto* bodyLayout = new QVBoxLayout(m_body);
    bodyLayout->setContentsMargins(0, 0, 0, 0);

    layout->addWidget(bar);
    layout->addWidget(m_body, 1);
    view->setContentWidget(content);
    return view;
}

void ActionPanelVC::setMainView(QWidget* view)
{
    if (view == m_mainView)
        return;
    if (m_mainView) {
        m_mainView->hide();
        m_mainView->deleteLater();
    }
    m_mainView = view;
    m_mainController = nullptr;
    if (!view)
        return;
    if (auto* baseView = qobject_cast<BaseView*>(view)) {
        if (BaseViewController* controller = baseView->getViewController()) {
            m_mainController = controller;
            controller->setParent(this);
        }
    }
    // A view placed inside a panel is part of it, not a window of its own.
    view->setAttribute(Qt::WA_DeleteOnClose, false);
    getView();
    if (m_body) {
        m_body->layout()->addWidget(view);
        view->show();
    }
}

void ActionPanelVC::setMainViewController(BaseViewController* controller)
{
    if (!controller)
        return;
    setMainView(controller->getView());
    m_mainController = controller;
    controller->setParent(this);
}

void ActionPanelVC::setBackButton(bool visible)
{
    m_backVisible = visible;
    if (m_back)
        m_back->setVisible(visible);
}

void ActionPanelVC::setCrossButton(bool visible)
{
    m_crossVisible = visible;
    if (m_cross)
        m_cross->setVisible(visible);
}

void ActionPanelVC::setTitle(const QString& title)
{
    getView();
    if (m_title)
        m_title->setText(title);
}

void ActionPanelVC::viewWillAppear()
{
    if (m_mainController)
        m_mainController->viewWillAppear();
}

void ActionPanelVC::viewDidAppear()
{
    if (m_mainController)
        m_mainController->viewDidAppear();
}

void ActionPanelVC::viewWillDisappear()
{
    if (m_mainController)
        m_mainController->viewWillDisappear();
}

void ActionPanelVC::viewDidDisappear()
{
    if (m_mainController)
        m_mainController->viewDidDisappear();
}

void ActionPanelVC::onBack()
{
    if (m_mainController && !m_mainController->viewShouldClose())
        return;
    emit backClicked();
    close();
}

void ActionPanelVC::onCross()
{
    if (m_mainController && !m_mainController->viewShouldClose())
        return;
    emit crossClicked();
    close();
}

void ActionPanelVC::close()
{
    if (presentingViewController()) {
        dismissViewController();
        return;
    }
    // Shown on its own (never presented): closing is leaving as well.
    viewWillDisappear();
    if (QWidget* w = getQtWidget())
        w->hide();
    viewDidDisappear();
}

} // namespace UiToolkit
} // namespace Zyn
