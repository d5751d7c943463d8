#include "IThumbnailItem.h"

namespace Zyn {
namespace UiToolkit {

IThumbnailItem::IThumbnailItem(QObject* parent) : QObject(parent) {}

IThumbnailItem::~IThumbnailItem() = default;

QPixmap IThumbnailItem::thumbnailPixmap() const
{
    const QImage image = thumbnail();
    if (image.isNull())
        return QPixmap();
    // cacheKey changes whenever the image data does, so a stale pixmap is never shown.
    if (m_pixmap.isNull() || m_pixmapKey != image.cacheKey()) {
        m_pixmap = QPixmap::fromImage(image);
        m_pixmapKey = image.cacheKey();
    }
    return m_pixmap;
}

} // namespace UiToolkit
} // namespace Zyn
