#include "DragBar.h"

#include <QMouseEvent>
#include <QPainter>

namespace Zyn {
namespace UiToolkit {

DragBar::DragBar(QWidget* parent)
    : QWidget(parent)
{
    setCursor(Qt::OpenHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

DragBar::~DragBar() = default;

QSize DragBar::sizeHint() const
{
    return QSize(120, 14);
}

void DragBar::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xA0, 0xA8, 0xB0));
    // Two rows of dots in the middle: the usual look of a grip.
    const int count = 8;
    const int x0 = width() / 2 - count * 3;
    for (int i = 0; i < count; ++i)
        for (int row = 0; row < 2; ++row)
            p.drawEllipse(QPointF(x0 + i * 6 + 1.5, height() / 2 - 2.5 + row * 5), 1.3, 1.3);
}

void DragBar::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_dragging = true;
    m_last = event->globalPos();
    setCursor(Qt::ClosedHandCursor);
}

void DragBar::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_dragging)
        return;
    const QPoint delta = event->globalPos() - m_last;
    m_last = event->globalPos();
    emit dragged(delta);
}

void DragBar::mouseReleaseEvent(QMouseEvent*)
{
    m_dragging = false;
    setCursor(Qt::OpenHandCursor);
}

} // namespace UiToolkit
} // namespace Zyn
