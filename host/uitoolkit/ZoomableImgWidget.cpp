#include "ZoomableImgWidget.h"

#include <keelcore/Dispatch.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <utilities/Utilities.h>

#include <QCache>
#include <QDateTime>
#include <QFileInfo>
#include <QImageReader>
#include <QKeyEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace UiToolkit {

namespace {
const char* const kCacheKey = "ImageView/FullImageCacheMB";
const int kDefaultCacheMB = 768;
const int kPreviewEdge = 640;
const int kSmallestLevelEdge = 256;
const double kMaxScale = 32.0;
const int kPanThreshold = 4;

struct CacheEntry {
    QSharedPointer<ImagePyramid> pyramid;
    qint64 modifiedMs = 0;
    qint64 fileSize = -1;
};

// GUI thread only: full decodes by path, bounded by the configured size.
QCache<QString, CacheEntry>& fullImageCache()
{
    static QCache<QString, CacheEntry> cache;
    return cache;
}

int costOf(qint64 bytes)
{
    return int(std::max<qint64>(1, bytes >> 20));
}

QSize orientedSize(const QString& path, QString* error)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QSize size = reader.size();
    if (!size.isValid()) {
        if (error)
            *error = reader.errorString();
        return {};
    }
    if (reader.transformation() & QImageIOHandler::TransformationRotate90)
        size.transpose();
    return size;
}

// The smaller levels of a pyramid whose first level is set.
void buildLevels(ImagePyramid* pyramid)
{
    while (std::max(pyramid->levels.last().width(), pyramid->levels.last().height()) > 2 * kSmallestLevelEdge) {
        const QImage& last = pyramid->levels.last();
        pyramid->levels << last.scaled(std::max(1, last.width() / 2), std::max(1, last.height() / 2),
                                       Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
}

QSharedPointer<ImagePyramid> decodePyramid(const QString& path, QString* error)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QImage full = reader.read();
    if (full.isNull()) {
        *error = reader.errorString();
        return {};
    }
    if (full.format() != QImage::Format_RGB32 && full.format() != QImage::Format_ARGB32_Premultiplied)
        full = full.convertToFormat(full.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                           : QImage::Format_RGB32);
    auto pyramid = QSharedPointer<ImagePyramid>::create();
    pyramid->levels << full;
    return pyramid;
}

QPair<qint64, qint64> fileStamp(const QString& path)
{
    const QFileInfo info(path);
    return {info.lastModified().toMSecsSinceEpoch(), info.size()};
}
} // namespace

qint64 ImagePyramid::bytes() const
{
    qint64 total = 0;
    for (const QImage& level : levels)
        total += level.sizeInBytes();
    return total;
}

ZoomableImgWidget::ZoomableImgWidget(QWidget* parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(120, 90);
    m_settle.setSingleShot(true);
    m_settle.setInterval(150);
    connect(&m_settle, &QTimer::timeout, this, [this] {
        m_interactive = false;
        update();
    });
}

ZoomableImgWidget::~ZoomableImgWidget() = default;

qint64 ZoomableImgWidget::cacheLimitBytes()
{
    const int mb = Services::ApplicationService::GetInstance()->GetConfigManager()->getInt(
        QString::fromLatin1(kCacheKey), kDefaultCacheMB);
    return qint64(std::max(0, mb)) << 20;
}

void ZoomableImgWidget::clearCache()
{
    fullImageCache().clear();
}

void ZoomableImgWidget::loadImage(const QString& path)
{
    const int generation = ++m_generation;
    m_path = path;
    m_preview = QImage();
    m_pyramid.reset();
    m_error.clear();
    m_imageSize = QSize();
    m_fitted = true;
    if (path.isEmpty()) {
        update();
        return;
    }
    if (!QFileInfo(path).isFile()) {
        setFull({}, tr("The photo \"%1\" cannot be found.").arg(QFileInfo(path).fileName()), generation);
        return;
    }
    QString error;
    m_imageSize = orientedSize(path, &error);
    if (m_imageSize.isEmpty()) {
        setFull({}, tr("The photo \"%1\" cannot be read: %2").arg(QFileInfo(path).fileName(), error), generation);
        return;
    }
    zoomToFit();

    const auto stamp = fileStamp(path);
    if (CacheEntry* cached = fullImageCache().object(path)) {
        if (cached->modifiedMs == stamp.first && cached->fileSize == stamp.second) {
            setFull(cached->pyramid, QString(), generation);
            return;
        }
        fullImageCache().remove(path);
    }

    const auto self = weakRef();
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [self, path, generation] {
        QImage preview = Utilities::loadPreview(path, QSize(kPreviewEdge, kPreviewEdge));
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, preview, generation] {
            if (ZoomableImgWidget* w = self.lock())
                w->setPreview(preview, generation);
        });
    });
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [self, path, generation, stamp] {
        QString why;
        QSharedPointer<ImagePyramid> pyramid = decodePyramid(path, &why);
        // The full photo goes on screen first; its smaller levels follow.
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, pyramid, why, generation] {
            if (ZoomableImgWidget* w = self.lock())
                w->setFull(pyramid, pyramid ? QString() : why, generation);
        });
        if (!pyramid)
            return;
        auto levels = QSharedPointer<ImagePyramid>::create(*pyramid);
        buildLevels(levels.data());
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, path, levels, generation, stamp] {
            QCache<QString, CacheEntry>& cache = fullImageCache();
            cache.setMaxCost(costOf(cacheLimitBytes()));
            cache.insert(path, new CacheEntry{levels, stamp.first, stamp.second}, costOf(levels->bytes()));
            if (ZoomableImgWidget* w = self.lock())
                w->setLevels(levels, generation);
        });
    });
    update();
}

void ZoomableImgWidget::setLevels(const QSharedPointer<ImagePyramid>& pyramid, int generation)
{
    if (generation != m_generation || !m_pyramid)
        return;
    m_pyramid = pyramid;
    m_preview = QImage();
    update();
}

void ZoomableImgWidget::setPreview(const QImage& preview, int generation)
{
    if (generation != m_generation || m_pyramid || preview.isNull())
        return;
    m_preview = preview;
    update();
    emit imageLoaded(false);
}

void ZoomableImgWidget::setFull(const QSharedPointer<ImagePyramid>& pyramid, const QString& error, int generation)
{
    if (generation != m_generation)
        return;
    if (!pyramid) {
        m_error = error.startsWith(tr("The photo")) ? error
                                                     : tr("The photo \"%1\" cannot be read: %2")
                                                           .arg(QFileInfo(m_path).fileName(), error);
        m_preview = QImage();
        m_imageSize = QSize();
        update();
        emit imageFailed(m_error);
        return;
    }
    m_pyramid = pyramid;
    // The preview stands in for the smaller levels until they are built.
    if (pyramid->levels.size() > 1)
        m_preview = QImage();
    const QSize size = pyramid->levels.first().size();
    if (size != m_imageSize) {
        m_imageSize = size;
        zoomToFit();
    }
    update();
    emit imageLoaded(true);
}

QImage ZoomableImgWidget::getOriginalImage() const
{
    return m_pyramid ? m_pyramid->levels.first() : m_preview;
}

double ZoomableImgWidget::fitScale() const
{
    if (m_imageSize.isEmpty() || width() <= 0 || height() <= 0)
        return 1.0;
    return std::min(double(width()) / m_imageSize.width(), double(height()) / m_imageSize.height());
}

double ZoomableImgWidget::closeScale() const
{
    return std::min(kMaxScale, std::max(2.0, fitScale() * 4.0));
}

QPointF ZoomableImgWidget::sourcePointF(const QPointF& widgetPoint) const
{
    return (widgetPoint - m_offset) / m_scale;
}

QPointF ZoomableImgWidget::localPointF(const QPointF& imagePoint) const
{
    return imagePoint * m_scale + m_offset;
}

QPoint ZoomableImgWidget::getSourcePoint(const QPoint& widgetPoint) const
{
    // The widget pixel's centre decides which image pixel it shows.
    const QPointF p = sourcePointF(QPointF(widgetPoint) + QPointF(0.5, 0.5));
    return QPoint(int(std::floor(p.x())), int(std::floor(p.y())));
}

QPoint ZoomableImgWidget::getLocalPoint(const QPoint& imagePixel) const
{
    // The widget pixel whose centre lies in the image pixel's half-open
    // cell, so that getSourcePoint answers the same pixel back.
    const QPointF p = localPointF(QPointF(imagePixel) + QPointF(0.5, 0.5));
    return QPoint(int(std::ceil(p.x())) - 1, int(std::ceil(p.y())) - 1);
}

QRect ZoomableImgWidget::getActualImageBound() const
{
    if (m_imageSize.isEmpty())
        return {};
    const QPointF topLeft = localPointF(QPointF(0, 0));
    const QPointF bottomRight = localPointF(QPointF(m_imageSize.width(), m_imageSize.height()));
    return QRectF(topLeft, bottomRight).toAlignedRect().intersected(rect());
}

bool ZoomableImgWidget::isMouseOnImage(const QPoint& widgetPoint) const
{
    if (m_imageSize.isEmpty() || !m_error.isEmpty())
        return false;
    const QPoint p = getSourcePoint(widgetPoint);
    return p.x() >= 0 && p.y() >= 0 && p.x() < m_imageSize.width() && p.y() < m_imageSize.height();
}

void ZoomableImgWidget::applyView(double scale, const QPointF& offset)
{
    if (isVisible()) {
        m_interactive = true;
        m_settle.start();
    }
    m_scale = scale;
    m_offset = offset;
    clampView();
    update();
    emit viewChanged();
}

void ZoomableImgWidget::clampView()
{
    if (m_imageSize.isEmpty())
        return;
    const double w = m_imageSize.width() * m_scale;
    const double h = m_imageSize.height() * m_scale;
    // Smaller than the widget: centred (the letterbox); larger: no gap.
    m_offset.setX(w <= width() ? (width() - w) / 2.0 : std::clamp(m_offset.x(), width() - w, 0.0));
    m_offset.setY(h <= height() ? (height() - h) / 2.0 : std::clamp(m_offset.y(), height() - h, 0.0));
}

void ZoomableImgWidget::setScaleAt(double scale, const QPointF& widgetPoint)
{
    if (m_imageSize.isEmpty())
        return;
    const double fit = fitScale();
    scale = std::clamp(scale, std::min(fit, 1.0), std::max(kMaxScale, fit));
    scale = std::max(scale, fit);
    const QPointF imagePoint = sourcePointF(widgetPoint);
    m_fitted = std::abs(scale - fit) < 1e-9;
    applyView(scale, widgetPoint - imagePoint * scale);
}

void ZoomableImgWidget::zoomAt(const QPointF& widgetPoint, double factor)
{
    setScaleAt(m_scale * factor, widgetPoint);
}

void ZoomableImgWidget::centreOn(const QPointF& imagePoint, double scale)
{
    if (m_imageSize.isEmpty())
        return;
    scale = std::clamp(scale, fitScale(), std::max(kMaxScale, fitScale()));
    m_fitted = std::abs(scale - fitScale()) < 1e-9;
    applyView(scale, QPointF(width() / 2.0, height() / 2.0) - imagePoint * scale);
}

void ZoomableImgWidget::zoomIn()
{
    zoomAt(QPointF(width() / 2.0, height() / 2.0), 1.25);
}

void ZoomableImgWidget::zoomOut()
{
    zoomAt(QPointF(width() / 2.0, height() / 2.0), 1.0 / 1.25);
}

void ZoomableImgWidget::zoomToFit()
{
    m_fitted = true;
    applyView(fitScale(), QPointF());
}

void ZoomableImgWidget::zoomToActualSize()
{
    setScaleAt(1.0, QPointF(width() / 2.0, height() / 2.0));
}

void ZoomableImgWidget::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (m_fitted)
        applyView(fitScale(), QPointF());
    else
        applyView(std::max(m_scale, fitScale()), m_offset);
}

void ZoomableImgWidget::wheelEvent(QWheelEvent* event)
{
    const double steps = event->angleDelta().y() / 120.0;
    if (steps == 0.0 || m_imageSize.isEmpty()) {
        event->ignore();
        return;
    }
    zoomAt(event->position(), std::pow(1.25, steps));
    event->accept();
}

void ZoomableImgWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton || event->button() == Qt::MiddleButton) {
        m_pressed = true;
        m_panned = false;
        m_pressPos = event->pos();
        m_pressOffset = m_offset;
    }
    QWidget::mousePressEvent(event);
}

void ZoomableImgWidget::mouseMoveEvent(QMouseEvent* event)
{
    if (m_pressed && (event->buttons() & (Qt::LeftButton | Qt::MiddleButton))) {
        const QPoint delta = event->pos() - m_pressPos;
        if (!m_panned && delta.manhattanLength() >= kPanThreshold)
            m_panned = true;
        if (m_panned) {
            setCursor(Qt::ClosedHandCursor);
            applyView(m_scale, m_pressOffset + delta);
        }
    }
    QWidget::mouseMoveEvent(event);
}

void ZoomableImgWidget::mouseReleaseEvent(QMouseEvent* event)
{
    if (m_pressed && !(event->buttons() & (Qt::LeftButton | Qt::MiddleButton))) {
        m_pressed = false;
        if (m_panned)
            unsetCursor();
    }
    QWidget::mouseReleaseEvent(event);
}

void ZoomableImgWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || m_imageSize.isEmpty()) {
        QWidget::mouseDoubleClickEvent(event);
        return;
    }
    if (m_scale < closeScale() * 0.95)
        centreOn(sourcePointF(event->localPos()), closeScale());
    else
        zoomToFit();
    event->accept();
}

void ZoomableImgWidget::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoomIn();
        break;
    case Qt::Key_Minus:
        zoomOut();
        break;
    case Qt::Key_0:
    case Qt::Key_F:
        zoomToFit();
        break;
    case Qt::Key_1:
        zoomToActualSize();
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

void ZoomableImgWidget::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    paintImage(painter, event->rect());
}

void ZoomableImgWidget::paintImage(QPainter& painter, const QRect& exposed)
{
    painter.fillRect(exposed, QColor(0x30, 0x30, 0x30));
    if (!m_error.isEmpty()) {
        painter.setPen(QColor(0xF0, 0xF0, 0xF0));
        painter.drawText(rect().adjusted(20, 20, -20, -20), Qt::AlignCenter | Qt::TextWordWrap, m_error);
        return;
    }
    if (m_imageSize.isEmpty())
        return;
    const QRectF target = QRectF(localPointF(QPointF(0, 0)), localPointF(QPointF(m_imageSize.width(),
                                                                                 m_imageSize.height())));
    const QRectF visible = target.intersected(QRectF(exposed));
    if (visible.isEmpty())
        return;
    // Only the visible part, from the smallest level that still has at least
    // one pixel per screen pixel: panning a 40 MP photo never rescales it whole.
    const QImage* source = nullptr;
    double levelScale = 1.0; // level pixels per image pixel
    const bool previewEnough = !m_preview.isNull() && double(m_preview.width()) / m_imageSize.width() >= m_scale;
    if (m_pyramid && (m_pyramid->levels.size() > 1 || !previewEnough)) {
        int level = 0;
        while (level + 1 < m_pyramid->levels.size() && m_scale <= 0.5 / (1 << level))
            ++level;
        source = &m_pyramid->levels.at(level);
        levelScale = double(source->width()) / m_imageSize.width();
    } else if (!m_preview.isNull()) {
        source = &m_preview;
        levelScale = double(m_preview.width()) / m_imageSize.width();
    }
    if (!source) {
        painter.setPen(QColor(0xC0, 0xC0, 0xC0));
        painter.drawText(rect(), Qt::AlignCenter, tr("Loading %1...").arg(QFileInfo(m_path).fileName()));
        return;
    }
    const QRectF imageRect((visible.topLeft() - m_offset) / m_scale, visible.size() / m_scale);
    const QRectF sourceRect(imageRect.topLeft() * levelScale, imageRect.size() * levelScale);
    // Close up the pixels stay sharp, so a target's centre can be hit exactly.
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !m_interactive && m_scale * levelScale < 2.0);
    painter.drawImage(visible, *source, sourceRect);
}

} // namespace UiToolkit
} // namespace Zyn
