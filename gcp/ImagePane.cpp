#include "ImagePane.h"

#include <gcp/model/GcpColor.h>
#include <uitoolkit/LxMagnifyingGlass.h>
#include <uitoolkit/LxPixelMarker.h>

#include <QLineF>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace Zyn {
namespace AppGcp {

using UiToolkit::LxMagnifyingGlass;
using UiToolkit::LxPixelMarker;

namespace {
// From this zoom on, the marker gets its long guide lines.
const double kGuideScale = 2.0;
const int kMagnifierGap = 36;
} // namespace

ImagePane::ImagePane(QWidget* parent)
    : ZoomableImgWidget(parent)
    , m_pickCursor(QPixmap(QStringLiteral(":/resources/images/Cursors/SWFacepicker.png")), 15, 15)
{
    setMouseTracking(true);
    setStyleSheet(QStringLiteral("QWidget { background-color: white;}"));
    setCursor(m_pickCursor);

    m_glass = new LxMagnifyingGlass(this);
    m_glass->SetRadius(135);
    m_glass->hide();
    connect(m_glass, &LxMagnifyingGlass::Moving, this, &ImagePane::onMagnifyingGlassMoving);
    connect(m_glass, &LxMagnifyingGlass::SourceMoving, this, &ImagePane::onMagnifyingGlassPanning);
    connect(m_glass, &LxMagnifyingGlass::ClickedOutside, this, &ImagePane::onMagnifyingGlassClickedOutside);

    m_marker = new LxPixelMarker(this);
    connect(m_marker, &LxPixelMarker::PixelSelected, this, &ImagePane::onPixelSelected);
    connect(m_marker, &LxPixelMarker::PixelMoving, this, &ImagePane::onPixelMoving);
    connect(m_marker, &LxPixelMarker::PixelStopMoving, this, &ImagePane::onPixelStopMoving);
    connect(m_marker, &LxPixelMarker::PixelDeleting, this, &ImagePane::onPixelDeleting);

    connect(this, &ZoomableImgWidget::viewChanged, this, &ImagePane::followView);
    connect(this, &ZoomableImgWidget::imageLoaded, this, [this](bool full) {
        if (full && m_glass)
            m_glass->setImage(getOriginalImage());
        followView();
    });
}

ImagePane::~ImagePane() = default;

QColor ImagePane::colourOf(const QString& name) const
{
    if (m_gcps && m_gcps->contains(name))
        return gcpColor(m_gcps->value(name));
    return gcpColorForName(name);
}

void ImagePane::setSelectedGcp(const QString& name)
{
    if (name == m_gcpName)
        return;
    m_gcpName = name;
    m_glass->setCustomText(name);
    if (name.isEmpty()) {
        m_marker->setPlaced(false);
        m_glass->HideMe();
        return;
    }
    m_colour = m_gcps && m_gcps->contains(name) ? colourOf(name) : QColor(Qt::yellow);
    m_glass->SetBorderColor(m_colour);
    refreshMarkers();
}

void ImagePane::showImage(const QString& filePath)
{
    if (!m_imagePath.isEmpty())
        emit imageShowing(m_imagePath, false);
    loadImage(filePath);
    m_imagePath = filePath;
    m_glass->setImage(getOriginalImage());
    m_glass->HideMe();
    m_marker->setPlaced(false);
    refreshMarkers();
    emit imageShowing(filePath, true);
}

void ImagePane::refreshMarkers()
{
    for (const QPointer<LxPixelMarker>& other : qAsConst(m_others))
        delete other.data();
    m_others.clear();
    m_marker->setPlaced(false);
    if (!m_markers || m_imagePath.isEmpty())
        return;
    for (auto it = m_markers->cbegin(); it != m_markers->cend(); ++it) {
        for (const GcpMarker& marker : it.value()) {
            if (marker.image != m_imagePath)
                continue;
            if (it.key() == m_gcpName) {
                placeAt(marker.pixel, false);
                continue;
            }
            auto* other = new LxPixelMarker(this);
            other->setFilePath(m_imagePath);
            other->setCoordinates(marker.pixel);
            other->SetColor(colourOf(it.key()));
            other->setText(it.key());
            other->setShowText(true);
            other->setLock(true);
            other->setActive(false);
            other->setPlaced(true);
            m_others << other;
        }
    }
    // The selected point's marker stays above the others.
    m_marker->raise();
    m_glass->raise();
    followView();
}

QList<LxPixelMarker*> ImagePane::otherMarkers() const
{
    QList<LxPixelMarker*> list;
    for (const QPointer<LxPixelMarker>& other : m_others)
        if (other)
            list << other.data();
    return list;
}

bool ImagePane::hasPlacedMarker() const
{
    return m_marker && m_marker->isPlaced();
}

QPoint ImagePane::markerPixel() const
{
    return m_marker ? m_marker->coordinates() : QPoint();
}

void ImagePane::setLock(bool locked)
{
    m_locked = locked;
    m_glass->setLock(locked);
    m_marker->setLock(locked);
}

void ImagePane::placeAt(const QPoint& pixel, bool storeInMap)
{
    m_marker->setFilePath(m_imagePath);
    m_marker->setCoordinates(pixel);
    m_marker->SetColor(m_colour);
    m_marker->setText(m_gcpName);
    m_marker->setShowText(true);
    m_marker->setActive(true);
    m_marker->setLock(m_locked);
    m_marker->setPlaced(true);
    m_marker->SetPosition(getLocalPoint(pixel));
    m_marker->raise();
    if (storeInMap)
        storeMarker(pixel);
}

void ImagePane::storeMarker(const QPoint& pixel)
{
    if (!m_markers || m_gcpName.isEmpty() || m_imagePath.isEmpty())
        return;
    QList<GcpMarker>& list = (*m_markers)[m_gcpName];
    for (GcpMarker& marker : list) {
        if (marker.image == m_imagePath) {
            marker.pixel = pixel;
            return;
        }
    }
    GcpMarker marker;
    marker.image = m_imagePath;
    marker.pixel = pixel;
    list << marker;
    emit markerAdded(m_imagePath);
}

void ImagePane::removeCurrentMarker()
{
    if (m_markers && m_markers->contains(m_gcpName)) {
        QList<GcpMarker>& list = (*m_markers)[m_gcpName];
        for (int i = list.size() - 1; i >= 0; --i) {
            if (list.at(i).image == m_imagePath) {
                list.removeAt(i);
                break;
            }
        }
        if (list.isEmpty())
            m_markers->remove(m_gcpName);
    }
    m_marker->setPlaced(false);
    m_glass->HideMe();
}

void ImagePane::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    ZoomableImgWidget::mousePressEvent(event);
}

void ImagePane::mouseReleaseEvent(QMouseEvent* event)
{
    if (isPanning())
        m_wasPanning = true;
    ZoomableImgWidget::mouseReleaseEvent(event);
    m_undo.valid = false;
    if (m_wasPanning || m_skipRelease) {
        m_wasPanning = false;
        m_skipRelease = false;
        return;
    }
    if (m_locked || m_gcpName.isEmpty() || event->button() != Qt::LeftButton || !isMouseOnImage(event->pos()))
        return;
    QPoint pixel = getSourcePoint(event->pos());
    // A click on a suggestion takes the suggestion's pixel.
    if (m_hasSuggestion && QLineF(event->pos(), localPointF(QPointF(suggestionPixel()) + QPointF(0.5, 0.5))).length() <= 12.0)
        pixel = suggestionPixel();
    placeByUser(pixel, event->pos());
}

void ImagePane::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && m_undo.valid) {
        if (m_undo.hadMarker) {
            placeAt(m_undo.pixel, true);
        } else {
            removeCurrentMarker();
            emit markerRemoved();
        }
        emit markerChanged();
        m_undo.valid = false;
    }
    m_skipRelease = true;
    ZoomableImgWidget::mouseDoubleClickEvent(event);
}

void ImagePane::followView()
{
    const bool close = scale() >= kGuideScale;
    if (m_marker && m_marker->isPlaced()) {
        m_marker->setGuideLines(close);
        m_marker->SetPosition(getLocalPoint(m_marker->coordinates()));
    }
    for (const QPointer<LxPixelMarker>& other : qAsConst(m_others)) {
        if (!other)
            continue;
        other->setGuideLines(false);
        other->SetPosition(getLocalPoint(other->coordinates()));
    }
    if (m_glass->isVisible())
        placeMagnifier();
}

void ImagePane::placeMagnifier()
{
    if (!m_marker->isPlaced())
        return;
    // Beside the marker, never over it, and inside the pane.
    const QPoint at = m_marker->Position();
    const QSize size = m_glass->size();
    // To the right it also clears the marker's name.
    const int right = m_marker->geometry().right() - at.x() + 8;
    const QList<QPoint> candidates = {
        at + QPoint(right, -size.height() / 2),
        at + QPoint(-kMagnifierGap - size.width(), -size.height() / 2),
        at + QPoint(-size.width() / 2, kMagnifierGap),
        at + QPoint(-size.width() / 2, -kMagnifierGap - size.height()),
    };
    // The first that fits; in a small pane, the one hiding least of the
    // marker and its name once kept inside.
    QPoint chosen = candidates.first();
    qint64 bestHidden = -1;
    for (const QPoint& c : candidates) {
        const QRect inside(QPoint(std::clamp(c.x(), 0, std::max(0, width() - size.width())),
                                  std::clamp(c.y(), 0, std::max(0, height() - size.height()))),
                           size);
        const QRect hidden = QRect(m_glass->VisualPos() - m_glass->pos() + inside.topLeft(), m_glass->VisualSize())
                                 .intersected(m_marker->geometry());
        const qint64 area = hidden.isEmpty() ? 0 : qint64(hidden.width()) * hidden.height();
        if (bestHidden < 0 || area < bestHidden) {
            bestHidden = area;
            chosen = c;
        }
        if (area == 0 && inside.topLeft() == c)
            break;
    }
    m_glass->moveInside(chosen);
    m_glass->show();
    m_glass->raise();
}

void ImagePane::onMagnifyingGlassMoving(const QPoint& offset)
{
    Q_UNUSED(offset)
    update();
}

void ImagePane::onMagnifyingGlassPanning(const QPoint& offset, const QPoint& newCoords)
{
    Q_UNUSED(offset)
    if (m_locked || !m_marker->isPlaced())
        return;
    m_marker->setCoordinates(newCoords);
    m_marker->SetPosition(getLocalPoint(newCoords));
    storeMarker(newCoords);
    emit markerChanged();
    update();
}

void ImagePane::onMagnifyingGlassClickedOutside(const QPoint& pos)
{
    Q_UNUSED(pos)
    if (m_locked)
        return;
    removeCurrentMarker();
    emit markerRemoved();
    emit markerChanged();
}

void ImagePane::onPixelSelected()
{
    m_marker->setFocus(Qt::MouseFocusReason);
    m_glass->setImage(getOriginalImage());
    m_glass->OnCoordsChanged(m_marker->coordinates());
    placeMagnifier();
}

void ImagePane::onPixelMoving(const QPoint& newPos)
{
    Q_UNUSED(newPos)
    // The marker keeps its pixel in step with its position (and with the
    // arrow keys, one pixel at a time at any zoom).
    const QPoint pixel = m_marker->coordinates();
    storeMarker(pixel);
    m_glass->OnCoordsChanged(pixel);
    if (m_glass->isVisible())
        placeMagnifier();
}

void ImagePane::onPixelStopMoving()
{
    emit markerChanged();
}

void ImagePane::onPixelDeleting(bool deleting)
{
    if (!deleting || m_locked)
        return;
    removeCurrentMarker();
    emit markerRemoved();
    emit markerChanged();
}

void ImagePane::resizeEvent(QResizeEvent* event)
{
    ZoomableImgWidget::resizeEvent(event);
    // A third of the pane at most, so the loupe never hides most of the photo.
    m_glass->SetRadius(std::clamp(std::min(width(), height()) / 3, 60, 135));
    followView();
}

void ImagePane::hideEvent(QHideEvent* event)
{
    m_glass->HideMe();
    ZoomableImgWidget::hideEvent(event);
}

void ImagePane::paintImage(QPainter& painter, const QRect& exposed)
{
    ZoomableImgWidget::paintImage(painter, exposed);
    const QRect bound = getActualImageBound();
    if (bound.isEmpty())
        return;
    painter.setPen(QPen(QColor(0x90, 0x90, 0x90), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(bound.adjusted(0, 0, -1, -1));
    paintAssist(painter);
}

void ImagePane::placeByUser(const QPoint& pixel, const QPoint& widgetPos)
{
    m_undo = {true, m_marker->isPlaced(), m_marker->coordinates()};
    placeAt(pixel, true);
    m_marker->SetPosition(widgetPos);
    m_marker->show();
    emit markerPlaced();
    emit markerChanged();
    m_glass->setImage(getOriginalImage());
    m_glass->OnCoordsChanged(pixel);
    placeMagnifier();
}

void ImagePane::setAssistOverlay(const MarkPrediction* prediction, const MarkSuggestion* suggestion)
{
    m_hasPrediction = prediction != nullptr;
    m_hasSuggestion = suggestion != nullptr;
    m_prediction = prediction ? *prediction : MarkPrediction();
    m_suggestion = suggestion ? *suggestion : MarkSuggestion();
    update();
}

QPoint ImagePane::suggestionPixel() const
{
    return QPoint(qRound(m_suggestion.pixel.x()), qRound(m_suggestion.pixel.y()));
}

void ImagePane::acceptSuggestion()
{
    if (!m_hasSuggestion || m_locked || m_gcpName.isEmpty())
        return;
    const QPoint pixel = suggestionPixel();
    placeByUser(pixel, getLocalPoint(pixel));
}

void ImagePane::paintAssist(QPainter& painter) const
{
    // Marker coordinates put a pixel's centre on whole numbers.
    auto toWidget = [this](const QPointF& pixel) { return localPointF(pixel + QPointF(0.5, 0.5)); };
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    if (m_hasPrediction && !m_marker->isPlaced()) {
        const QPointF c = toWidget(m_prediction.pixel);
        const double r = std::max(6.0, m_prediction.radius * scale());
        painter.setPen(QPen(QColor(0, 0, 0, 150), 3));
        painter.drawEllipse(c, r, r);
        painter.setPen(QPen(m_colour, 1.5, Qt::DashLine));
        painter.drawEllipse(c, r, r);
    }
    if (m_hasSuggestion && !m_marker->isPlaced()) {
        const QPointF c = toWidget(m_suggestion.pixel);
        for (const auto& pen : {QPen(QColor(0, 0, 0, 170), 4), QPen(m_colour, 2)}) {
            painter.setPen(pen);
            painter.drawEllipse(c, 10.0, 10.0);
            painter.drawLine(c + QPointF(-16, 0), c + QPointF(-5, 0));
            painter.drawLine(c + QPointF(5, 0), c + QPointF(16, 0));
            painter.drawLine(c + QPointF(0, -16), c + QPointF(0, -5));
            painter.drawLine(c + QPointF(0, 5), c + QPointF(0, 16));
        }
        const QString text = m_suggestion.coded ? tr("%1 suggested (coded target)").arg(m_gcpName)
                                                : tr("%1 suggested, score %2").arg(m_gcpName).arg(m_suggestion.score, 0, 'f', 2);
        QRectF box(c + QPointF(18, -28), QSizeF(painter.fontMetrics().horizontalAdvance(text) + 10, 20));
        if (box.right() > width() - 4)
            box.moveRight(c.x() - 18);
        if (box.top() < 4)
            box.moveTop(c.y() + 12);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, 170));
        painter.drawRoundedRect(box, 3, 3);
        painter.setPen(Qt::white);
        painter.drawText(box, Qt::AlignCenter, text);
    }
    painter.restore();
}

} // namespace AppGcp
} // namespace Zyn
