#pragma once

#include <uitoolkit/IThumbnailItem.h>

#include <QCache>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QSize>

#include <deque>

namespace Zyn {
namespace UiToolkit {

class LocalImageFileItem;

// Decodes thumbnails of local photos on the host's workers, a few at a time,
// so that a thousand added photos never queue a thousand decodes ahead of
// the ones on screen. Visible requests go first, then background ones in
// the order they came. Decoded thumbnails are cached by path and checked
// against the file's size and time stamp before reuse. GUI thread only.
class ThumbnailLoader : public QObject {
    Q_OBJECT
public:
    static ThumbnailLoader* instance();
    // The largest thumbnail made; tiles are laid out around it.
    static QSize thumbnailSize();

    void request(LocalImageFileItem* item, IThumbnailItem::Priority priority);
    // Starts a new set of visible requests: those of the previous set that
    // have not started yet fall back to their background place.
    void beginVisiblePass();
    // Drops the cached thumbnail of a path.
    void forget(const QString& path);
    void clearCache();

    int maxInFlight() const { return m_maxInFlight; }
    void setMaxInFlight(int count);
    int inFlight() const { return m_inFlight; }
    // Requests waiting to start (stale entries excluded).
    int pendingCount() const;
    bool isIdle() const { return m_inFlight == 0 && pendingCount() == 0; }

    // While paused nothing new starts; requests keep queueing.
    void setPaused(bool paused);
    bool isPaused() const { return m_paused; }

    int decodeCount() const { return m_decodes; }
    int cacheHitCount() const { return m_cacheHits; }

    // Result of one load, made on a worker.
    struct Result {
        QImage image;
        QString error;
        qint64 modifiedMs = 0;
        qint64 fileSize = -1;
        bool fromCache = false;
    };
    struct CacheEntry {
        QImage image;
        qint64 modifiedMs = 0;
        qint64 fileSize = -1;
    };
    // The work of one job: reuses cached when the file is unchanged, else decodes.
    static Result load(const QString& path, const QSize& maxSize, const CacheEntry& cached);

signals:
    void loadStarted(const QString& path);
    void loadFinished(const QString& path, bool ok);
    // Nothing queued and nothing running.
    void idle();

private:
    explicit ThumbnailLoader(QObject* parent);
    LocalImageFileItem* takeNext();
    void pump();
    void start(LocalImageFileItem* item);
    void finish(const QPointer<LocalImageFileItem>& item, const QString& path, const Result& result);

    std::deque<QPointer<LocalImageFileItem>> m_visible;
    std::deque<QPointer<LocalImageFileItem>> m_background;
    QCache<QString, CacheEntry> m_cache;
    int m_maxInFlight;
    int m_inFlight = 0;
    bool m_paused = false;
    bool m_pumpQueued = false;
    int m_decodes = 0;
    int m_cacheHits = 0;
};

} // namespace UiToolkit
} // namespace Zyn
