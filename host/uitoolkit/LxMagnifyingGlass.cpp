#include "LxMagnifyingGlass.h"

#include <keelcore/Dispatch.h>
#include <utilities/ImageRegion.h>

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace UiToolkit {

namespace {
const int kMargin = 14; // room for the close box beside the circle
const int kRim = 10;    // a press this close to the edge moves the loupe
} // namespace

LxMagnifyingGlass::LxMagnifyingGlass(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TranslucentBackground);
    SetRadius(m_radius);
}

LxMagnifyingGlass::~LxMagnifyingGlass() = default;

void LxMagnifyingGlass::SetRadius(int radius)
{
    m_radius = std::max(20, radius);
    setFixedSize(2 * m_radius + 2 * kMargin, 2 * m_radius + 2 * kMargin);
    if (!m_path.isEmpty())
        requestRegion();
    update();
}

void LxMagnifyingGlass::SetBorderColor(const QColor& colour)
{
    m_border = colour.isValid() ? colour : QColor(Qt::yellow);
    update();
}

void LxMagnifyingGlass::setCustomText(const QString& text)
{
    m_text = text;
    update();
}

void LxMagnifyingGlass::setShowCustomText(bool show)
{
    m_showText = show;
    update();
}

void LxMagnifyingGlass::setImage(const QImage& image)
{
    m_path.clear();
    ++m_request;
    m_image = image;
    m_imageOrigin = QPoint();
    update();
}

void LxMagnifyingGlass::setImage(const QString& path)
{
    if (path == m_path)
        return;
    m_path = path;
    m_image = QImage();
    requestRegion();
}

void LxMagnifyingGlass::requestRegion()
{
    if (m_path.isEmpty())
        return;
    const int request = ++m_request;
    const int half = int(std::ceil(m_radius / m_zoom)) + 2;
    const QRect region(m_pixel - QPoint(half, half), QSize(2 * half + 1, 2 * half + 1));
    const QString path = m_path;
    const auto self = weakRef();
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [self, path, region, request] {
        QPoint origin;
        const QImage part = Utilities::readImageRegion(path, region, false, &origin);
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, part, origin, request] {
            LxMagnifyingGlass* loupe = self.lock();
            if (!loupe || request != loupe->m_request)
                return;
            loupe->m_image = part;
            loupe->m_imageOrigin = origin;
            loupe->update();
        });
    });
}

void LxMagnifyingGlass::OnCoordsChanged(const QPoint& pixel)
{
    m_pixel = pixel;
    if (!m_path.isEmpty()) {
        const QRect have(m_imageOrigin, m_image.size());
        const int half = int(std::ceil(m_radius / m_zoom));
        if (!have.contains(QRect(pixel - QPoint(half, half), QSize(2 * half, 2 * half))))
            requestRegion();
    }
    update();
}

void LxMagnifyingGlass::setZoom(double zoom)
{
    m_zoom = std::clamp(zoom, 1.0, 32.0);
    if (!m_path.isEmpty())
        requestRegion();
    update();
}

void LxMagnifyingGlass::HideMe()
{
    m_drag = None;
    hide();
}

QPoint LxMagnifyingGlass::VisualPos() const
{
    return pos() + QPoint(kMargin, kMargin);
}

QSize LxMagnifyingGlass::VisualSize() const
{
    return QSize(2 * m_radius, 2 * m_radius);
}

void LxMagnifyingGlass::moveInside(const QPoint& topLeft)
{
    QPoint p = topLeft;
    if (QWidget* parent = parentWidget()) {
        p.setX(std::clamp(p.x(), 0, std::max(0, parent->width() - width())));
        p.setY(std::clamp(p.y(), 0, std::max(0, parent->height() - height())));
    }
    move(p);
}

QRect LxMagnifyingGlass::closeBox() const
{
    const int c = kMargin + m_radius;
    const int d = int(m_radius * 0.7071);
    return QRect(c + d - 2, c - d - 14, 16, 16);
}

void LxMagnifyingGlass::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPointF centre(kMargin + m_radius, kMargin + m_radius);
    QPainterPath circle;
    circle.addEllipse(centre, m_radius, m_radius);
    p.save();
    p.setClipPath(circle);
    p.fillRect(rect(), QColor(0x30, 0x30, 0x30));
    if (!m_image.isNull()) {
        // Image pixel m_pixel's centre lands on the loupe's centre.
        const QPointF pixelCentre = QPointF(m_pixel - m_imageOrigin) + QPointF(0.5, 0.5);
        const QRectF target(centre - pixelCentre * m_zoom, QSizeF(m_image.size()) * m_zoom);
        p.setRenderHint(QPainter::SmoothPixmapTransform, false);
        const QRectF visible = target.intersected(QRectF(rect()));
        const QRectF source((visible.topLeft() - target.topLeft()) / m_zoom, visible.size() / m_zoom);
        p.drawImage(visible, m_image, source);
    }
    // Crosshair with a gap over the pixel itself.
    const double gap = std::max(3.0, m_zoom * 0.75);
    for (int pass = 0; pass < 2; ++pass) {
        p.setPen(QPen(pass == 0 ? QColor(0, 0, 0, 160) : m_border, pass == 0 ? 3 : 1));
        p.drawLine(QPointF(centre.x() - m_radius, centre.y()), QPointF(centre.x() - gap, centre.y()));
        p.drawLine(QPointF(centre.x() + gap, centre.y()), QPointF(centre.x() + m_radius, centre.y()));
        p.drawLine(QPointF(centre.x(), centre.y() - m_radius), QPointF(centre.x(), centre.y() - gap));
        p.drawLine(QPointF(centre.x(), centre.y() + gap), QPointF(centre.x(), centre.y() + m_radius));
    }
    if (m_showText && !m_text.isEmpty()) {
        QFont f = font();
        f.setBold(true);
        p.setFont(f);
        const QRectF box(centre.x() - m_radius, centre.y() + m_radius * 0.55, 2 * m_radius, 22);
        p.fillRect(box.adjusted(m_radius * 0.4, 0, -m_radius * 0.4, 0), QColor(0, 0, 0, 140));
        p.setPen(m_border);
        p.drawText(box, Qt::AlignCenter, m_text);
    }
    p.restore();
    p.setPen(QPen(m_border, 3));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(centre, m_radius, m_radius);
    if (!m_locked) {
        const QRect box = closeBox();
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(0xD0, 0x30, 0x30));
        p.drawEllipse(box);
        p.setPen(QPen(Qt::white, 2));
        p.drawLine(box.topLeft() + QPoint(5, 5), box.bottomRight() - QPoint(4, 4));
        p.drawLine(QPoint(box.right() - 4, box.top() + 5), QPoint(box.left() + 5, box.bottom() - 4));
    }
}

void LxMagnifyingGlass::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const QPointF centre(kMargin + m_radius, kMargin + m_radius);
    const double distance = std::hypot(event->pos().x() - centre.x(), event->pos().y() - centre.y());
    if (!m_locked && closeBox().contains(event->pos())) {
        emit ClickedOutside(event->pos());
        event->accept();
        return;
    }
    if (distance > m_radius) {
        event->ignore();
        return;
    }
    m_pressGlobal = event->globalPos();
    m_pressPixel = m_pixel;
    m_pressPos = pos();
    m_drag = distance >= m_radius - kRim ? MoveLoupe : (m_locked ? None : MoveSource);
    event->accept();
}

void LxMagnifyingGlass::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint delta = event->globalPos() - m_pressGlobal;
    if (m_drag == MoveLoupe) {
        moveInside(m_pressPos + delta);
        emit Moving(pos() - m_pressPos);
    } else if (m_drag == MoveSource) {
        // Dragging the picture under the crosshair: the pixel moves the other way.
        const QPoint pixel = m_pressPixel - QPoint(int(std::lround(delta.x() / m_zoom)),
                                                   int(std::lround(delta.y() / m_zoom)));
        if (pixel != m_pixel) {
            const QPoint offset = pixel - m_pixel;
            OnCoordsChanged(pixel);
            emit SourceMoving(offset, pixel);
        }
    }
    event->accept();
}

void LxMagnifyingGlass::mouseReleaseEvent(QMouseEvent* event)
{
    m_drag = None;
    event->accept();
}

void LxMagnifyingGlass::wheelEvent(QWheelEvent* event)
{
    const double steps = event->angleDelta().y() / 120.0;
    if (steps != 0.0)
        setZoom(m_zoom * std::pow(1.25, steps));
    event->accept();
}

} // namespace UiToolkit
} // namespace Zyn
