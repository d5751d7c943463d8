#include "MainState.h"

#include "PhotoPreview.h"
#include "PhotoSceneData.h"

namespace Zyn {
namespace AppCreate {

MainState::MainState(QObject* parent)
    : QObject(parent)
    , m_sceneData(new PhotoSceneData)
{
}

MainState::~MainState() = default;

PhotoPreview* MainState::getPhotoCanvas() const
{
    return m_canvas.data();
}

void MainState::setPhotoCanvas(PhotoPreview* canvas)
{
    if (m_canvas == canvas)
        return;
    if (m_canvas)
        disconnect(m_canvas.data(), nullptr, this, nullptr);
    m_canvas = canvas;
    if (!canvas)
        return;
    connect(canvas, &PhotoPreview::filesAdded, this, [this](const QStringList& paths) {
        emit localPhotosAdded(paths);
        emit filesChanged(files());
    });
    connect(canvas, &PhotoPreview::filesRemoved, this, [this](const QStringList& paths) {
        emit localPhotosRemoved(paths);
        emit filesChanged(files());
    });
}

int MainState::selectedFileCount() const
{
    return m_canvas ? m_canvas->selectedFileCount() : 0;
}

QStringList MainState::selectedFiles() const
{
    return m_canvas ? m_canvas->getSelectedFiles() : QStringList();
}

QStringList MainState::files() const
{
    return m_canvas ? m_canvas->getFiles() : QStringList();
}

void MainState::SetStopReloadingPhotos(bool stop)
{
    m_stopReloading = stop;
}

void MainState::SetAutoBrowseForPhotos(bool autoBrowse)
{
    m_autoBrowse = autoBrowse;
}

} // namespace AppCreate
} // namespace Zyn
