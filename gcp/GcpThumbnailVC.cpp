#include "GcpThumbnailVC.h"

#include "GcpProxyModel.h"

#include <gcp/model/MarkSuggester.h>
#include <gcp/model/PhotoGeoCache.h>
#include <keelcore/Dispatch.h>
#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>

#include <QPainter>

#include <algorithm>

namespace Zyn {
namespace AppGcp {

namespace {
// Draws the "marked here" badge over the thumbnail.
class BadgeDelegate : public UiToolkit::ThumbnailDelegate {
public:
    std::function<QColor(const QString&)> badge;
    std::function<void(QPainter*, const QRect&, const QString&)> assist;

protected:
    void paintDecoration(QPainter* painter, const QRect& area, const QModelIndex& index) const override
    {
        const QString path = index.data(UiToolkit::ThumbnailListModel::PathRole).toString();
        const QColor colour = badge ? badge(path) : QColor();
        if (!colour.isValid()) {
            if (assist)
                assist(painter, area, path);
            return;
        }
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const QRectF circle(area.right() - 26, area.top() + 6, 20, 20);
        painter->setPen(QPen(QColor(0x20, 0x20, 0x20), 1.5));
        painter->setBrush(colour);
        painter->drawEllipse(circle);
        painter->setPen(QPen(QColor(0x20, 0x20, 0x20), 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->drawPolyline(QPolygonF({circle.topLeft() + QPointF(5, 10.5), circle.topLeft() + QPointF(8.5, 14),
                                         circle.topLeft() + QPointF(15, 6.5)}));
        painter->restore();
    }
};
} // namespace

GcpThumbnailVC::GcpThumbnailVC(QObject* parent)
    : ThumbnailViewController(new GcpProxyModel, new BadgeDelegate, parent)
{
    static_cast<BadgeDelegate*>(delegate())->badge = [this](const QString& path) {
        return m_marked.contains(path) ? m_colour : QColor();
    };
    static_cast<BadgeDelegate*>(delegate())->assist = [this](QPainter* painter, const QRect& area, const QString& path) {
        if (!m_assist || m_assistPoint.isEmpty())
            return;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const MarkPrediction p = m_assist->prediction(path);
        if (m_assist->hasPrediction(path) && p.inside && !p.imageSize.isEmpty()) {
            // Where the photo sits in the tile, as the delegate fits it.
            const QSizeF fitted = p.imageSize.scaled(QSizeF(area.size()), Qt::KeepAspectRatio);
            const QPointF origin(area.left() + (area.width() - fitted.width()) / 2,
                                 area.top() + (area.height() - fitted.height()) / 2);
            const double k = fitted.width() / p.imageSize.width();
            const QPointF c = origin + (p.pixel + QPointF(0.5, 0.5)) * k;
            const double r = std::max(4.0, p.radius * k);
            painter->setPen(QPen(QColor(0, 0, 0, 150), 3));
            painter->drawEllipse(c, r, r);
            painter->setPen(QPen(m_colour, 1.5));
            painter->drawEllipse(c, r, r);
        }
        if (m_assist->hasSuggestion(m_assistPoint, path)) {
            const QString text = tr("suggested");
            const QRectF box(area.right() - painter->fontMetrics().horizontalAdvance(text) - 16, area.top() + 6,
                             painter->fontMetrics().horizontalAdvance(text) + 10, 20);
            painter->setPen(QPen(m_colour, 2));
            painter->setBrush(QColor(0, 0, 0, 170));
            painter->drawRoundedRect(box, 4, 4);
            painter->setPen(Qt::white);
            painter->drawText(box, Qt::AlignCenter, text);
        }
        painter->restore();
    };
}

void GcpThumbnailVC::setAssist(MarkSuggester* suggester, const QString& point)
{
    m_assist = suggester;
    m_assistPoint = point;
    refresh();
}

GcpThumbnailVC::~GcpThumbnailVC() = default;

GcpProxyModel* GcpThumbnailVC::gcpProxy() const
{
    return static_cast<GcpProxyModel*>(proxy());
}

void GcpThumbnailVC::setGeoCache(PhotoGeoCache* cache)
{
    if (m_cache)
        disconnect(m_cache, nullptr, this, nullptr);
    m_cache = cache;
    if (m_cache)
        connect(m_cache, &PhotoGeoCache::loaded, this, [this] {
            if (m_waitingForCache)
                runFilter();
        });
}

void GcpThumbnailVC::setMarked(const QSet<QString>& paths, const QColor& colour)
{
    m_marked = paths;
    m_colour = colour;
    refresh();
}

void GcpThumbnailVC::startGpsFilter(const GroundPoint& point, bool valid)
{
    m_point = point;
    m_pointValid = valid;
    m_filtering = true;
    ++m_request;
    if (m_cache && valid) {
        m_cache->request(files());
        if (m_cache->isLoading()) {
            m_waitingForCache = true;
            return;
        }
    }
    runFilter();
}

void GcpThumbnailVC::runFilter()
{
    m_waitingForCache = false;
    const int request = m_request;
    if (!m_cache || !m_pointValid) {
        // Without a position nothing can be near it: the next step says so.
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self = QPointer<GcpThumbnailVC>(this), request] {
            if (self)
                self->finishFilter({}, request);
        });
        return;
    }
    const QVector<PhotoGeo> photos = m_cache->values(files());
    const GroundPoint point = m_point;
    const QPointer<GcpThumbnailVC> self(this);
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [self, photos, point, request] {
        const QStringList passing = photosNearPoint(photos, point);
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, passing, request] {
            if (self)
                self->finishFilter(passing, request);
        });
    });
}

void GcpThumbnailVC::finishFilter(const QStringList& passing, int request)
{
    if (request != m_request || !m_filtering)
        return;
    m_filtering = false;
    // When nothing passes, every photo stays on show (and is counted).
    if (passing.isEmpty())
        gcpProxy()->clearGpsFilter();
    else
        gcpProxy()->setGpsFilter(passing);
    emit afterGPSFiltered(passing.size());
}

void GcpThumbnailVC::clearGpsFilter()
{
    cancelFiltering();
    gcpProxy()->clearGpsFilter();
}

void GcpThumbnailVC::cancelFiltering()
{
    ++m_request;
    m_filtering = false;
    m_waitingForCache = false;
}

} // namespace AppGcp
} // namespace Zyn
