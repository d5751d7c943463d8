#include "GcpThumbnailVC.h"

#include "GcpProxyModel.h"

#include <gcp/model/PhotoGeoCache.h>
#include <keelcore/Dispatch.h>
#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>

#include <QPainter>

namespace Zyn {
namespace AppGcp {

namespace {
// Draws the "marked here" badge over the thumbnail.
class BadgeDelegate : public UiToolkit::ThumbnailDelegate {
public:
    std::function<QColor(const QString&)> badge;

protected:
    void paintDecoration(QPainter* painter, const QRect& area, const QModelIndex& index) const override
    {
        const QColor colour = badge ? badge(index.data(UiToolkit::ThumbnailListModel::PathRole).toString()) : QColor();
        if (!colour.isValid())
            return;
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
