#include "ThumbnailLoader.h"

#include <uitoolkit/LocalImageFileItem.h>

#include <keelcore/Dispatch.h>
#include <utilities/Utilities.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QThread>

#include <algorithm>

namespace Zyn {
namespace UiToolkit {

namespace {
// Cache cost is in KiB: room for about 1700 thumbnails of 160x120.
constexpr int kCacheKiB = 128 * 1024;

int imageKiB(const QImage& image)
{
    return std::max(1, int(image.sizeInBytes() / 1024));
}
} // namespace

ThumbnailLoader* ThumbnailLoader::instance()
{
    static QPointer<ThumbnailLoader> loader;
    if (!loader)
        loader = new ThumbnailLoader(QCoreApplication::instance());
    return loader;
}

QSize ThumbnailLoader::thumbnailSize()
{
    return QSize(160, 120);
}

ThumbnailLoader::ThumbnailLoader(QObject* parent)
    : QObject(parent),
      m_cache(kCacheKiB),
      // Several jobs per worker, so no worker idles while finished thumbnails
      // wait for the GUI thread (which a busy machine may not schedule for
      // milliseconds); few enough that a newly visible tile waits for at most
      // a handful of decodes.
      m_maxInFlight(std::min(32, 8 * std::max(2, QThread::idealThreadCount())))
{
}

void ThumbnailLoader::request(LocalImageFileItem* item, IThumbnailItem::Priority priority)
{
    if (!item || item->m_inFlight || item->state() != IThumbnailItem::Loading)
        return;
    if (priority == IThumbnailItem::Visible) {
        if (item->m_queuedVisible)
            return;
        item->m_queuedVisible = true;
        m_visible.emplace_back(item);
    } else {
        if (item->m_queuedBackground)
            return;
        item->m_queuedBackground = true;
        m_background.emplace_back(item);
    }
    // Coalesce: a view asks for a whole page in one go, and the first jobs
    // should start only once the visible ones are known.
    if (!m_pumpQueued) {
        m_pumpQueued = true;
        QPointer<ThumbnailLoader> self(this);
        QMetaObject::invokeMethod(
            this,
            [self] {
                if (self) {
                    self->m_pumpQueued = false;
                    self->pump();
                }
            },
            Qt::QueuedConnection);
    }
}

void ThumbnailLoader::beginVisiblePass()
{
    for (const auto& item : m_visible) {
        if (!item)
            continue;
        item->m_queuedVisible = false;
        // A visible request of an item that never had a background one keeps its place.
        if (!item->m_queuedBackground && !item->m_inFlight && item->state() == IThumbnailItem::Loading) {
            item->m_queuedBackground = true;
            m_background.push_back(item);
        }
    }
    m_visible.clear();
}

void ThumbnailLoader::forget(const QString& path)
{
    m_cache.remove(path);
}

void ThumbnailLoader::clearCache()
{
    m_cache.clear();
}

void ThumbnailLoader::setMaxInFlight(int count)
{
    m_maxInFlight = std::max(1, count);
    pump();
}

int ThumbnailLoader::pendingCount() const
{
    auto waiting = [](const QPointer<LocalImageFileItem>& item) {
        return item && !item->m_inFlight && item->state() == IThumbnailItem::Loading;
    };
    QSet<const LocalImageFileItem*> seen;
    for (const auto* queue : {&m_visible, &m_background})
        for (const auto& item : *queue)
            if (waiting(item))
                seen.insert(item.data());
    return seen.size();
}

void ThumbnailLoader::setPaused(bool paused)
{
    m_paused = paused;
    if (!paused)
        pump();
}

LocalImageFileItem* ThumbnailLoader::takeNext()
{
    for (auto* queue : {&m_visible, &m_background}) {
        while (!queue->empty()) {
            QPointer<LocalImageFileItem> item = queue->front();
            queue->pop_front();
            if (!item)
                continue;
            if (queue == &m_visible)
                item->m_queuedVisible = false;
            else
                item->m_queuedBackground = false;
            if (item->m_inFlight || item->state() != IThumbnailItem::Loading)
                continue;
            return item;
        }
    }
    return nullptr;
}

void ThumbnailLoader::pump()
{
    bool startedAny = false;
    while (!m_paused && m_inFlight < m_maxInFlight) {
        LocalImageFileItem* item = takeNext();
        if (!item)
            break;
        start(item);
        startedAny = true;
    }
    if (!startedAny && m_inFlight == 0 && m_visible.empty() && m_background.empty())
        emit idle();
}

void ThumbnailLoader::start(LocalImageFileItem* item)
{
    item->m_inFlight = true;
    ++m_inFlight;
    const QString path = item->path();
    CacheEntry cached;
    if (const CacheEntry* entry = m_cache.object(path))
        cached = *entry;
    // A receiver of loadStarted may delete the item: only the weak reference is used after it.
    QPointer<LocalImageFileItem> weakItem(item);
    emit loadStarted(path);

    QPointer<ThumbnailLoader> self(this);
    const QSize size = thumbnailSize();
    KeelCore::dispatchAsync(KeelCore::QosBackground, [weakItem, self, path, size, cached]() {
        Result result = load(path, size, cached);
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [weakItem, self, path, result]() {
            if (self)
                self->finish(weakItem, path, result);
        });
    });
}

void ThumbnailLoader::finish(const QPointer<LocalImageFileItem>& item, const QString& path, const Result& result)
{
    --m_inFlight;
    if (result.fromCache) {
        ++m_cacheHits;
    } else {
        ++m_decodes;
        if (!result.image.isNull()) {
            auto* entry = new CacheEntry{result.image, result.modifiedMs, result.fileSize};
            m_cache.insert(path, entry, imageKiB(result.image));
        } else {
            m_cache.remove(path);
        }
    }
    if (item)
        item->applyResult(result.image, result.error);
    emit loadFinished(path, !result.image.isNull());
    pump();
}

ThumbnailLoader::Result ThumbnailLoader::load(const QString& path, const QSize& maxSize, const CacheEntry& cached)
{
    Result result;
    const QFileInfo info(path);
    if (!info.exists() || !info.isFile()) {
        result.error = tr("The photo file is missing.");
        return result;
    }
    result.modifiedMs = info.lastModified().toMSecsSinceEpoch();
    result.fileSize = info.size();
    if (!cached.image.isNull() && cached.modifiedMs == result.modifiedMs && cached.fileSize == result.fileSize) {
        result.image = cached.image;
        result.fromCache = true;
        return result;
    }
    QImage image = Zyn::Utilities::loadThumbnail(path, maxSize);
    if (image.isNull()) {
        result.error = info.isReadable() ? tr("The file is not a photo that can be read.")
                                         : tr("The photo file cannot be opened.");
        return result;
    }
    if (image.width() > maxSize.width() || image.height() > maxSize.height())
        image = image.scaled(maxSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // Formats the raster painter draws without converting on every paint.
    if (image.format() != QImage::Format_RGB32 && image.format() != QImage::Format_ARGB32_Premultiplied)
        image = image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                             : QImage::Format_RGB32);
    result.image = image;
    return result;
}

} // namespace UiToolkit
} // namespace Zyn
