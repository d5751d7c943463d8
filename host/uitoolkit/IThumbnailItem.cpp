#include "IThumbnailItem.h"

#include <QPixmapCache>

namespace Zyn {
namespace UiToolkit {

IThumbnailItem::IThumbnailItem(QObject* parent) : QObject(parent) {}

IThumbnailItem::~IThumbnailItem() = default;

QPixmap IThumbnailItem::thumbnailPixmap() const
{
    const QImage image = thumbnail();
    if (image.isNull())
        return QPixmap();
    // Pixmaps live in the shared, bounded pixmap cache rather than in the
    // items: a thousand items would otherwise hold every thumbnail twice.
    // cacheKey changes whenever the image data does, so a stale pixmap is never shown.
    const QString key = QStringLiteral("zyn-thumbnail-%1").arg(image.cacheKey());
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = QPixmap::fromImage(image);
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

} // namespace UiToolkit
} // namespace Zyn
