#pragma once

#include <gcp/model/PhotoFootprint.h>
#include <gcp/model/PhotoGeoCache.h>

#include <uitoolkit/ThumbnailViewController.h>

#include <QColor>
#include <QPointer>
#include <QSet>

#include <functional>

namespace Zyn {
namespace AppGcp {

class GcpProxyModel;
class MarkSuggester;


// The marker editor's photo browser: a badge in the selected point's colour
// on the photos where it is marked, and the GPS filter (run on a worker).
class GcpThumbnailVC : public UiToolkit::ThumbnailViewController {
    Q_OBJECT
public:
    explicit GcpThumbnailVC(QObject* parent = nullptr);
    ~GcpThumbnailVC() override;

    GcpProxyModel* gcpProxy() const;
    void setGeoCache(PhotoGeoCache* cache);
    // The photos carrying the badge, and its colour.
    void setMarked(const QSet<QString>& paths, const QColor& colour);
    QSet<QString> marked() const { return m_marked; }
    // Draws the point's predicted circle and a "suggested" badge.
    void setAssist(MarkSuggester* suggester, const QString& point);

    // Narrows the photos to those near the point; afterGPSFiltered(count)
    // follows, also when the point has no position (then nothing passes).
    void startGpsFilter(const GroundPoint& point, bool valid);
    void clearGpsFilter();
    bool isFiltering() const { return m_filtering; }
    void cancelFiltering();

signals:
    void afterGPSFiltered(int count);

private:
    void runFilter();
    void finishFilter(const QStringList& passing, int request);

    QPointer<PhotoGeoCache> m_cache;
    QPointer<MarkSuggester> m_assist;
    QString m_assistPoint;
    QSet<QString> m_marked;
    QColor m_colour;
    GroundPoint m_point;
    bool m_pointValid = false;
    bool m_filtering = false;
    bool m_waitingForCache = false;
    int m_request = 0;
};

} // namespace AppGcp
} // namespace Zyn
