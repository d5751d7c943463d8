#include "BaseView.h"

#include "BaseViewController.h"

#include <QVBoxLayout>

namespace Zyn {
namespace UiBase {

BaseView::BaseView(QWidget* parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    // Dismissing a presented view deletes it unless its owner clears this.
    setAttribute(Qt::WA_DeleteOnClose, true);
}

BaseView::~BaseView() = default;

void BaseView::setContentWidget(QWidget* content)
{
    if (content == m_content)
        return;
    if (m_content) {
        m_layout->removeWidget(m_content);
        delete m_content.data();
    }
    m_content = content;
    if (content) {
        m_layout->addWidget(content);
        content->show();
    }
}

BaseViewController* BaseView::getViewController() const
{
    return m_controller.data();
}

void BaseView::setViewController(BaseViewController* controller)
{
    m_controller = controller;
}

void BaseView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    emit resized();
}

} // namespace UiBase
} // namespace Zyn
