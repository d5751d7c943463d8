#include "PhotoPreview.h"
#include "ui_PhotoPreview.h"

#include "PhotoTileDelegate.h"

#include <keelcore/Dispatch.h>
#include <uibase/FileDialog.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/LocalImageFileItem.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailProxyModel.h>
#include <uitoolkit/ThumbnailView.h>

#include <QDir>
#include <QDirIterator>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QMimeData>
#include <QPointer>
#include <QSet>
#include <QSettings>
#include <QStandardPaths>
#include <QUrl>

#include <algorithm>
#include <memory>

namespace Zyn {
namespace AppCreate {

namespace {

bool isPhotoFile(const QFileInfo& info)
{
    static const QSet<QString> suffixes{QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("png"),
                                        QStringLiteral("tif"), QStringLiteral("tiff")};
    return suffixes.contains(info.suffix().toLower());
}

QString normalizedPath(const QFileInfo& info)
{
    return QDir::cleanPath(info.absoluteFilePath());
}

PhotoPreview::ItemPtr defaultItem(const QString& path)
{
    return PhotoPreview::ItemPtr(new UiToolkit::LocalImageFileItem(path));
}

bool defaultValidate(const PhotoPreview::ItemPtr& item)
{
    return !item.isNull();
}

} // namespace

PhotoPreview::PhotoPreview(QWidget* parent)
    : QWidget(parent),
      m_ui(new Ui::PhotoPreview),
      m_model(new UiToolkit::ThumbnailListModel(this)),
      m_proxy(new UiToolkit::ThumbnailProxyModel(this)),
      m_create(defaultItem),
      m_validate(defaultValidate)
{
    m_ui->setupUi(this);
    setAcceptDrops(true);
    m_proxy->setSourceModel(m_model);
    m_ui->thumbnail_view->setModel(m_proxy);
    QAbstractItemDelegate* plainTiles = m_ui->thumbnail_view->itemDelegate();
    m_ui->thumbnail_view->setItemDelegate(new PhotoTileDelegate(m_ui->thumbnail_view));
    delete plainTiles;
    m_lastFolder = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);

    connect(m_ui->add_photos_button, &QPushButton::clicked, this, &PhotoPreview::browseForPhotos);
    connect(m_ui->remove_button, &QPushButton::clicked, this, &PhotoPreview::removeHighlighted);
    connect(m_ui->create_button, &QPushButton::clicked, this, &PhotoPreview::createRequested);
    connect(m_ui->thumbnail_view, &UiToolkit::ThumbnailView::removeRequested, this, &PhotoPreview::removeHighlighted);
    connect(m_ui->filter_lineedit, &QLineEdit::textChanged, m_proxy, &UiToolkit::ThumbnailProxyModel::setNameFilter);
    connect(m_ui->thumbnail_view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &PhotoPreview::updateState);
    connect(m_model, &UiToolkit::ThumbnailListModel::checkedChanged, this, [this] {
        updateState();
        emit selectionChanged();
    });
    connect(m_model, &UiToolkit::ThumbnailListModel::dataChanged, this, &PhotoPreview::excludeUnreadable);
    updateState();
}

PhotoPreview::~PhotoPreview() = default;

// What a batch of chosen or dropped paths holds. Pure file-system work, so
// it can run on a worker when the batch names folders.
struct PhotoPreview::PathScan {
    QStringList photos; // folders expanded, each in natural name order
    int missing = 0;
    int notPhotos = 0;
};

PhotoPreview::PathScan PhotoPreview::scanPaths(const QStringList& pathsOrFolders)
{
    PathScan scan;
    for (const QString& entry : pathsOrFolders) {
        if (entry.trimmed().isEmpty())
            continue;
        const QFileInfo info(entry);
        if (info.isDir()) {
            // Symbolic links to folders are not followed, so a link loop cannot
            // trap the search; hidden files (e.g. "._" copies) are not photos.
            QStringList found;
            QDirIterator it(info.absoluteFilePath(), QDir::Files | QDir::NoDotAndDotDot,
                            QDirIterator::Subdirectories);
            while (it.hasNext()) {
                it.next();
                const QFileInfo file = it.fileInfo();
                if (isPhotoFile(file))
                    found << normalizedPath(file);
            }
            std::sort(found.begin(), found.end(), [](const QString& a, const QString& b) {
                return UiToolkit::ThumbnailProxyModel::naturalCompare(a, b) < 0;
            });
            scan.photos << found;
        } else if (!info.exists()) {
            ++scan.missing;
        } else if (!isPhotoFile(info)) {
            ++scan.notPhotos;
        } else {
            scan.photos << normalizedPath(info);
        }
    }
    return scan;
}

QStringList PhotoPreview::addFiles(const QStringList& pathsOrFolders)
{
    return addScanned(scanPaths(pathsOrFolders));
}

void PhotoPreview::addFilesInBackground(const QStringList& pathsOrFolders)
{
    const bool namesFolder = std::any_of(pathsOrFolders.begin(), pathsOrFolders.end(),
                                         [](const QString& path) { return QFileInfo(path).isDir(); });
    if (!namesFolder) {
        addFiles(pathsOrFolders);
        return;
    }
    // A folder may hold a whole disk's worth of files: search it on a worker
    // so the window keeps answering.
    ++m_pendingScans;
    m_ui->notice_label->setText(tr("Searching folders for photos..."));
    m_ui->notice_label->setVisible(true);
    const QPointer<PhotoPreview> self(this);
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [self, pathsOrFolders] {
        auto scan = std::make_shared<PathScan>(scanPaths(pathsOrFolders));
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, scan] {
            if (!self)
                return;
            --self->m_pendingScans;
            self->addScanned(*scan);
        });
    });
}

QStringList PhotoPreview::addScanned(const PathScan& scan)
{
    const int notPhotos = scan.notPhotos;
    const int missing = scan.missing;
    int duplicates = 0;
    int rejected = 0;

    QStringList candidates;
    QSet<QString> seen;
    for (const QString& path : scan.photos) {
        if (seen.contains(path) || m_model->contains(path)) {
            ++duplicates;
            continue;
        }
        seen.insert(path);
        candidates << path;
    }

    QVector<ItemPtr> items;
    items.reserve(candidates.size());
    for (const QString& path : qAsConst(candidates)) {
        ItemPtr item = m_create ? m_create(path) : defaultItem(path);
        // A factory that answers nothing has refused the path; validators only see real items.
        if (!item || !(m_validate ? m_validate(item) : defaultValidate(item))) {
            ++rejected;
            continue;
        }
        items.push_back(item);
    }

    const QVector<ItemPtr> appended = m_model->appendItems(items);
    // A factory may answer an item whose path differs from the one asked
    // for; the model keeps paths unique, so count what it turned away.
    duplicates += items.size() - appended.size();
    QStringList accepted;
    accepted.reserve(appended.size());
    for (const ItemPtr& item : appended)
        accepted << item->path();

    QStringList skipped;
    if (duplicates > 0)
        skipped << tr("%1 already added").arg(duplicates);
    if (notPhotos > 0)
        skipped << tr("%1 not a photo").arg(notPhotos);
    if (missing > 0)
        skipped << tr("%1 not found").arg(missing);
    if (rejected > 0)
        skipped << tr("%1 not accepted").arg(rejected);
    m_notice = skipped.isEmpty() ? QString() : tr("Skipped: %1").arg(skipped.join(QStringLiteral(", ")));
    const QString shown =
        m_notice.isEmpty() && m_pendingScans > 0 ? tr("Searching folders for photos...") : m_notice;
    m_ui->notice_label->setText(shown);
    m_ui->notice_label->setVisible(!shown.isEmpty());

    updateState();
    if (!accepted.isEmpty())
        emit filesAdded(accepted);
    return accepted;
}

QStringList PhotoPreview::removeFiles(const QStringList& paths)
{
    QStringList normalized;
    normalized.reserve(paths.size());
    for (const QString& path : paths)
        normalized << normalizedPath(QFileInfo(path));
    const QStringList removed = m_model->removePaths(normalized);
    updateState();
    if (!removed.isEmpty())
        emit filesRemoved(removed);
    return removed;
}

QStringList PhotoPreview::removeHighlighted()
{
    return removeFiles(highlightedFiles());
}

void PhotoPreview::clear()
{
    removeFiles(m_model->paths());
}

QStringList PhotoPreview::getFiles() const
{
    return m_proxy->pathsInOrder(false);
}

QStringList PhotoPreview::getSelectedFiles() const
{
    return m_proxy->pathsInOrder(true);
}

int PhotoPreview::fileCount() const
{
    return m_model->rowCount();
}

int PhotoPreview::selectedFileCount() const
{
    return m_model->checkedCount();
}

void PhotoPreview::setFileSelected(const QString& path, bool selected)
{
    m_model->setChecked(normalizedPath(QFileInfo(path)), selected);
}

QStringList PhotoPreview::highlightedFiles() const
{
    QModelIndexList rows = m_ui->thumbnail_view->selectionModel()->selectedIndexes();
    std::sort(rows.begin(), rows.end(), [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
    QStringList paths;
    for (const QModelIndex& index : qAsConst(rows))
        paths << index.data(UiToolkit::ThumbnailListModel::PathRole).toString();
    return paths;
}

PhotoPreview::ItemPtr PhotoPreview::item(const QString& path) const
{
    return m_model->itemForPath(normalizedPath(QFileInfo(path)));
}

QHash<QString, QImage> PhotoPreview::getThumbnailData() const
{
    QHash<QString, QImage> data;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const ItemPtr entry = m_model->itemAt(row);
        if (entry->state() == UiToolkit::IThumbnailItem::Ready)
            data.insert(entry->path(), entry->thumbnail());
    }
    return data;
}

QList<PhotoPreview::Unreadable> PhotoPreview::unreadableFiles() const
{
    QList<Unreadable> found;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const ItemPtr entry = m_model->itemAt(row);
        if (entry->state() == UiToolkit::IThumbnailItem::Failed)
            found.append({entry->path(), entry->errorText()});
    }
    return found;
}

void PhotoPreview::excludeUnreadable(const QModelIndex& first, const QModelIndex& last)
{
    bool failed = false;
    for (int row = first.row(); row <= last.row(); ++row) {
        const ItemPtr entry = m_model->itemAt(row);
        if (!entry || entry->state() != UiToolkit::IThumbnailItem::Failed)
            continue;
        failed = true;
        // The decode just failed: the photo leaves the project by itself.
        if (m_model->isChecked(row))
            m_model->setChecked(entry->path(), false);
    }
    if (failed)
        updateCountLabel();
}

void PhotoPreview::setItemFactory(ItemFactory create, ItemValidator validate)
{
    m_create = create ? std::move(create) : ItemFactory(defaultItem);
    m_validate = validate ? std::move(validate) : ItemValidator(defaultValidate);
}

void PhotoPreview::SetFlyout(QDialog* flyout)
{
    m_flyout = flyout;
}

QDialog* PhotoPreview::getFlyout() const
{
    return m_flyout;
}

void PhotoPreview::SetCanDragNDropWidgetBeVisible(bool visible)
{
    m_dropWidgetAllowed = visible;
    updateState();
}

bool PhotoPreview::isDragNDropWidgetVisible() const
{
    return m_ui->canvas_stack->currentWidget() == m_ui->drop_page;
}

UiToolkit::ThumbnailView* PhotoPreview::thumbnailView() const
{
    return m_ui->thumbnail_view;
}

QString PhotoPreview::noticeText() const
{
    return m_notice;
}

void PhotoPreview::browseForPhotos()
{
    // The folder photos were last added from, across sessions; a folder that
    // is gone falls back to its nearest existing parent, then to Pictures.
    QString start = QSettings().value(QStringLiteral("Canvas/LastPhotoFolder"), m_lastFolder).toString();
    while (!start.isEmpty() && !QFileInfo(start).isDir() && QFileInfo(start).absolutePath() != start)
        start = QFileInfo(start).absolutePath();
    if (!QFileInfo(start).isDir())
        start = m_lastFolder;
    const QStringList chosen = UiBase::FileDialog::getOpenFilesAndFolders(
        this, tr("Add photos"), start, tr("Photos (*.jpg *.jpeg *.png *.tif *.tiff);;All files (*)"));
    if (chosen.isEmpty())
        return;
    const QFileInfo first(chosen.first());
    m_lastFolder = first.isDir() ? first.absoluteFilePath() : first.absolutePath();
    QSettings().setValue(QStringLiteral("Canvas/LastPhotoFolder"), m_lastFolder);
    addFilesInBackground(chosen);
}

QStringList PhotoPreview::localPaths(const QMimeData* mime)
{
    QStringList paths;
    if (!mime || !mime->hasUrls())
        return paths;
    const QList<QUrl> urls = mime->urls();
    for (const QUrl& url : urls) {
        if (url.isLocalFile())
            paths << url.toLocalFile();
    }
    return paths;
}

void PhotoPreview::dragEnterEvent(QDragEnterEvent* event)
{
    if (!localPaths(event->mimeData()).isEmpty())
        event->acceptProposedAction();
    else
        event->ignore();
}

void PhotoPreview::dragMoveEvent(QDragMoveEvent* event)
{
    if (!localPaths(event->mimeData()).isEmpty())
        event->acceptProposedAction();
    else
        event->ignore();
}

void PhotoPreview::dropEvent(QDropEvent* event)
{
    const QStringList paths = localPaths(event->mimeData());
    if (paths.isEmpty()) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    addFilesInBackground(paths);
}

void PhotoPreview::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        updateState();
    }
}

void PhotoPreview::updateState()
{
    const bool empty = m_model->rowCount() == 0;
    m_ui->canvas_stack->setCurrentWidget(empty && m_dropWidgetAllowed ? m_ui->drop_page : m_ui->thumbnails_page);
    m_ui->create_button->setEnabled(m_model->checkedCount() > 0);
    m_ui->remove_button->setEnabled(m_ui->thumbnail_view->selectionModel()->hasSelection());
    updateCountLabel();
}

void PhotoPreview::updateCountLabel()
{
    const int total = m_model->rowCount();
    const QString photos = total == 1 ? tr("1 photo") : tr("%1 photos").arg(total);
    QString text = tr("%1, %2 included").arg(photos).arg(m_model->checkedCount());
    const int unreadable = unreadableFiles().size();
    if (unreadable > 0)
        text += tr(", %1 cannot be read").arg(unreadable);
    m_ui->count_label->setText(text);
}

} // namespace AppCreate
} // namespace Zyn
