#include "LxPixelMarker.h"

#include "ZoomableImgWidget.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace Zyn {
namespace UiToolkit {

namespace {
const int kHalf = 14;        // crosshair arm
const int kGuideHalf = 90;   // guide lines at close zoom
const int kTextGap = 6;
} // namespace

LxPixelMarker::LxPixelMarker(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::ClickFocus);
    relayout();
    hide();
}

LxPixelMarker::~LxPixelMarker() = default;

QPoint LxPixelMarker::centreInWidget() const
{
    const int half = m_guides ? kGuideHalf : kHalf;
    return QPoint(half, half);
}

void LxPixelMarker::relayout()
{
    const QPoint centre = isVisible() || m_placed ? Position() : QPoint();
    const int half = m_guides ? kGuideHalf : kHalf;
    int w = 2 * half + 1;
    if (m_showText && !m_text.isEmpty()) {
        QFont f = font();
        f.setBold(true);
        w = std::max(w, half + kHalf + kTextGap + QFontMetrics(f).horizontalAdvance(m_text) + 4);
    }
    resize(w, 2 * half + 1);
    if (m_placed)
        SetPosition(centre);
    update();
}

void LxPixelMarker::SetPosition(const QPoint& centre)
{
    move(centre - centreInWidget());
}

QPoint LxPixelMarker::Position() const
{
    return pos() + centreInWidget();
}

void LxPixelMarker::setPlaced(bool placed)
{
    m_placed = placed;
    setVisible(placed);
}

void LxPixelMarker::setActive(bool active)
{
    m_active = active;
    update();
}

void LxPixelMarker::setLock(bool locked)
{
    m_locked = locked;
    setCursor(locked ? Qt::ArrowCursor : Qt::SizeAllCursor);
    update();
}

void LxPixelMarker::SetColor(const QColor& colour)
{
    m_colour = colour.isValid() ? colour : QColor(Qt::yellow);
    update();
}

void LxPixelMarker::setText(const QString& text)
{
    m_text = text;
    relayout();
}

void LxPixelMarker::setShowText(bool show)
{
    m_showText = show;
    relayout();
}

void LxPixelMarker::setGuideLines(bool on)
{
    if (on == m_guides)
        return;
    const QPoint centre = Position();
    m_guides = on;
    relayout();
    SetPosition(centre);
}

void LxPixelMarker::setSuggested(bool suggested)
{
    m_suggested = suggested;
    update();
}

bool LxPixelMarker::isGrabPoint(const QPoint& localPoint) const
{
    const QPoint d = localPoint - centreInWidget();
    return d.x() * d.x() + d.y() * d.y() <= kGrabRadius * kGrabRadius;
}

void LxPixelMarker::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, false);
    const QPoint c = centreInWidget();
    const QColor dark(0, 0, 0, m_locked ? 120 : 200);
    QColor colour = m_colour;
    if (m_locked)
        colour.setAlpha(170);
    if (m_guides) {
        // Thin, long lines with a gap at the centre so the target stays visible.
        p.setPen(QPen(colour, 1));
        p.drawLine(c.x() - kGuideHalf, c.y(), c.x() - 5, c.y());
        p.drawLine(c.x() + 5, c.y(), c.x() + kGuideHalf, c.y());
        p.drawLine(c.x(), c.y() - kGuideHalf, c.x(), c.y() - 5);
        p.drawLine(c.x(), c.y() + 5, c.x(), c.y() + kGuideHalf);
    }
    const int arm = kHalf;
    const int width = m_active ? 3 : 2;
    for (int pass = 0; pass < 2; ++pass) {
        QPen pen(pass == 0 ? dark : colour, pass == 0 ? width + 2 : width);
        if (m_suggested && pass == 1)
            pen.setStyle(Qt::DashLine);
        p.setPen(pen);
        p.drawLine(c.x() - arm, c.y(), c.x() - 4, c.y());
        p.drawLine(c.x() + 4, c.y(), c.x() + arm, c.y());
        p.drawLine(c.x(), c.y() - arm, c.x(), c.y() - 4);
        p.drawLine(c.x(), c.y() + 4, c.x(), c.y() + arm);
        p.setRenderHint(QPainter::Antialiasing, true);
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QPointF(c) + QPointF(0.5, 0.5), 8.0, 8.0);
        p.setRenderHint(QPainter::Antialiasing, false);
    }
    // The marked pixel itself.
    p.fillRect(QRect(c, QSize(1, 1)), m_suggested ? Qt::transparent : QColor(colour));
    if (m_showText && !m_text.isEmpty()) {
        QFont f = font();
        f.setBold(true);
        p.setFont(f);
        const QPoint at(c.x() + kHalf + kTextGap, c.y() - 4);
        p.setPen(QColor(0, 0, 0, 200));
        p.drawText(at + QPoint(1, 1), m_text);
        p.setPen(colour);
        p.drawText(at, m_text);
    }
}

void LxPixelMarker::mousePressEvent(QMouseEvent* event)
{
    if (m_locked || event->button() != Qt::LeftButton || !isGrabPoint(event->pos())) {
        event->ignore(); // the photo under it gets the click
        return;
    }
    m_dragging = true;
    m_grabOffset = event->pos() - centreInWidget();
    setFocus(Qt::MouseFocusReason);
    emit PixelSelected();
    event->accept();
}

void LxPixelMarker::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_dragging) {
        event->ignore();
        return;
    }
    const QPoint centre = mapToParent(event->pos()) - m_grabOffset;
    SetPosition(centre);
    syncPixelFromPosition();
    emit PixelMoving(Position());
    event->accept();
}

void LxPixelMarker::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_dragging) {
        event->ignore();
        return;
    }
    m_dragging = false;
    emit PixelStopMoving();
    event->accept();
}

void LxPixelMarker::syncPixelFromPosition()
{
    if (auto* image = qobject_cast<ZoomableImgWidget*>(parentWidget()))
        m_pixel = image->getSourcePoint(Position());
}

void LxPixelMarker::keyPressEvent(QKeyEvent* event)
{
    if (m_locked) {
        QWidget::keyPressEvent(event);
        return;
    }
    QPoint step;
    switch (event->key()) {
    case Qt::Key_Left: step = QPoint(-1, 0); break;
    case Qt::Key_Right: step = QPoint(1, 0); break;
    case Qt::Key_Up: step = QPoint(0, -1); break;
    case Qt::Key_Down: step = QPoint(0, 1); break;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        emit PixelDeleting(true);
        event->accept();
        return;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    // One image pixel, whatever the zoom.
    m_pixel += step;
    if (auto* image = qobject_cast<ZoomableImgWidget*>(parentWidget()))
        SetPosition(image->getLocalPoint(m_pixel));
    else
        SetPosition(Position() + step);
    emit PixelMoving(Position());
    emit PixelStopMoving();
    event->accept();
}

} // namespace UiToolkit
} // namespace Zyn
