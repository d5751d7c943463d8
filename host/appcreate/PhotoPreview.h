#pragma once

#include <QDialog>
#include <QHash>
#include <QImage>
#include <QPointer>
#include <QSharedPointer>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <memory>

class QMimeData;

namespace Ui {
class PhotoPreview;
}

namespace Zyn {
namespace UiToolkit {
class IThumbnailItem;
class ThumbnailListModel;
class ThumbnailProxyModel;
class ThumbnailView;
} // namespace UiToolkit

namespace AppCreate {

// The photo canvas of a create view. Photos come in through "Add photos"
// and by dropping files or folders; each becomes a thumbnail tile. Every
// photo is included in the project when added; its tile's check box
// excludes it, and an unreadable photo is excluded by itself. "Remove"
// takes the highlighted tiles off the canvas.
class PhotoPreview : public QWidget {
    Q_OBJECT
public:
    using ItemPtr = QSharedPointer<UiToolkit::IThumbnailItem>;
    using ItemFactory = std::function<ItemPtr(const QString& path)>;
    using ItemValidator = std::function<bool(ItemPtr)>;

    explicit PhotoPreview(QWidget* parent = nullptr);
    ~PhotoPreview() override;

    // Adds photos: folders are searched recursively for JPEG, PNG and TIFF
    // files. Photos already on the canvas, missing files, files that are not
    // photos and items the validator rejects are skipped (and reported in
    // the canvas's notice line). Answers the accepted paths, which are also
    // announced by one filesAdded signal.
    QStringList addFiles(const QStringList& pathsOrFolders);
    // As addFiles, for what the user chose or dropped: a batch that names a
    // folder is searched on a worker and added when the search is done
    // (filesAdded tells); a batch of files is added at once.
    void addFilesInBackground(const QStringList& pathsOrFolders);
    // Folder searches started by addFilesInBackground that have not finished.
    int pendingFolderSearches() const { return m_pendingScans; }
    // Removes photos by path; answers those removed (filesRemoved is emitted).
    QStringList removeFiles(const QStringList& paths);
    // Removes the highlighted tiles, as the Remove button does.
    QStringList removeHighlighted();
    void clear();

    // Absolute paths of every photo, in display order.
    QStringList getFiles() const;
    // Absolute paths of the photos selected for processing, in display order.
    QStringList getSelectedFiles() const;
    int fileCount() const;
    int selectedFileCount() const;
    // Includes or excludes a photo, as its tile's check box does.
    void setFileSelected(const QString& path, bool selected);
    // Paths of the highlighted tiles, in display order.
    QStringList highlightedFiles() const;

    ItemPtr item(const QString& path) const;
    // Decoded thumbnails by path (photos whose thumbnail is ready).
    QHash<QString, QImage> getThumbnailData() const;

    // Which items the canvas accepts: create makes the item of a path (may
    // answer null to refuse it), validate accepts or rejects it. Null
    // functions restore the defaults (local image items, any non-null item).
    void setItemFactory(ItemFactory create, ItemValidator validate);

    // The settings flyout of the create view; the canvas only keeps it.
    void SetFlyout(QDialog* flyout);
    QDialog* getFlyout() const;

    // Whether the empty canvas may show the drag-and-drop invitation
    // (false until an application allows it).
    void SetCanDragNDropWidgetBeVisible(bool visible);
    bool canDragNDropWidgetBeVisible() const { return m_dropWidgetAllowed; }
    bool isDragNDropWidgetVisible() const;

    UiToolkit::ThumbnailView* thumbnailView() const;
    UiToolkit::ThumbnailListModel* model() const { return m_model; }
    UiToolkit::ThumbnailProxyModel* proxyModel() const { return m_proxy; }

    // Photos whose thumbnail could not be made, with the reason; they are
    // excluded from processing as soon as that is known.
    struct Unreadable {
        QString path;
        QString reason;
    };
    QList<Unreadable> unreadableFiles() const;

    // The "Skipped: ..." line of the last batch; empty when nothing was skipped.
    QString noticeText() const;

public slots:
    // Shows the file dialog and adds what the user chose.
    void browseForPhotos();

signals:
    // Accepted paths of one batch (never empty).
    void filesAdded(const QStringList& acceptedPaths);
    void filesRemoved(const QStringList& paths);
    // The set of photos selected for processing changed.
    void selectionChanged();
    void createRequested();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct PathScan;
    static PathScan scanPaths(const QStringList& pathsOrFolders);
    QStringList addScanned(const PathScan& scan);
    static QStringList localPaths(const QMimeData* mime);
    void updateState();
    void updateCountLabel();
    void excludeUnreadable(const QModelIndex& first, const QModelIndex& last);

    std::unique_ptr<Ui::PhotoPreview> m_ui;
    UiToolkit::ThumbnailListModel* m_model = nullptr;
    UiToolkit::ThumbnailProxyModel* m_proxy = nullptr;
    ItemFactory m_create;
    ItemValidator m_validate;
    QPointer<QDialog> m_flyout;
    QString m_lastFolder;
    QString m_notice;
    bool m_dropWidgetAllowed = false;
    int m_pendingScans = 0;
};

} // namespace AppCreate
} // namespace Zyn
