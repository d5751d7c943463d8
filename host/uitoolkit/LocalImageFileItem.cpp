#include "LocalImageFileItem.h"

#include <uitoolkit/ThumbnailLoader.h>
#include <uitoolkit/ThumbnailPlaceholder.h>

#include <QDir>
#include <QFileInfo>

namespace Zyn {
namespace UiToolkit {

LocalImageFileItem::LocalImageFileItem(const QString& path, QObject* parent)
    : IThumbnailItem(parent),
      m_path(path.isEmpty() ? QString() : QDir::cleanPath(QFileInfo(path).absoluteFilePath())),
      m_displayName(QFileInfo(path).fileName())
{
}

LocalImageFileItem::~LocalImageFileItem() = default;

QImage LocalImageFileItem::thumbnail() const
{
    if (m_state == Failed)
        return ThumbnailPlaceholder::failedImage(ThumbnailLoader::thumbnailSize());
    return m_thumbnail;
}

void LocalImageFileItem::requestThumbnail(Priority priority)
{
    if (m_state != Loading || m_inFlight)
        return;
    ThumbnailLoader::instance()->request(this, priority);
}

void LocalImageFileItem::reload()
{
    if (m_inFlight)
        return; // the running load reads the file as it is now anyway
    ThumbnailLoader::instance()->forget(m_path);
    m_state = Loading;
    m_thumbnail = QImage();
    m_error.clear();
    emit thumbnailChanged();
}

void LocalImageFileItem::applyResult(const QImage& image, const QString& error)
{
    m_inFlight = false;
    if (image.isNull()) {
        m_state = Failed;
        m_thumbnail = QImage();
        m_error = error;
    } else {
        m_state = Ready;
        m_thumbnail = image;
        m_error.clear();
    }
    emit thumbnailChanged();
}

} // namespace UiToolkit
} // namespace Zyn
