#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <memory>

namespace Zyn {
namespace AppCreate {

class PhotoPreview;
class PhotoSceneData;

// State of a create view: its photo canvas and scene data, and the
// behaviour switches applications may set.
class MainState : public QObject {
    Q_OBJECT
public:
    explicit MainState(QObject* parent = nullptr);
    ~MainState() override;

    PhotoSceneData* getPhotoSceneData() const { return m_sceneData.get(); }

    // The canvas; nullptr when the view has none (or it was destroyed).
    PhotoPreview* getPhotoCanvas() const;
    void setPhotoCanvas(PhotoPreview* canvas);

    int selectedFileCount() const;
    QStringList selectedFiles() const;
    QStringList files() const;

    // When false (default) the view reloads the photos of the previous
    // session on opening; applications that manage their own photos stop it.
    void SetStopReloadingPhotos(bool stop);
    bool stopReloadingPhotos() const { return m_stopReloading; }

    // When true (default) the view opens the photo browser as it appears.
    void SetAutoBrowseForPhotos(bool autoBrowse);
    bool autoBrowseForPhotos() const { return m_autoBrowse; }

signals:
    // Local photos the canvas accepted, once per batch.
    void localPhotosAdded(const QStringList& paths);
    void localPhotosRemoved(const QStringList& paths);
    // The whole file list, after any change.
    void filesChanged(const QStringList& files);

private:
    std::unique_ptr<PhotoSceneData> m_sceneData;
    QPointer<PhotoPreview> m_canvas;
    bool m_stopReloading = false;
    bool m_autoBrowse = true;
};

} // namespace AppCreate
} // namespace Zyn
