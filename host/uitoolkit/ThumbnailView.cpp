#include "ThumbnailView.h"

#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailLoader.h>

#include <QKeyEvent>
#include <QSet>

namespace Zyn {
namespace UiToolkit {

namespace {
IThumbnailItem* itemOf(const QModelIndex& index)
{
    return qobject_cast<IThumbnailItem*>(index.data(ThumbnailListModel::ItemRole).value<QObject*>());
}
} // namespace

ThumbnailView::ThumbnailView(QWidget* parent) : QListView(parent)
{
    setViewMode(QListView::IconMode);
    setMovement(QListView::Static);
    setResizeMode(QListView::Adjust);
    setFlow(QListView::LeftToRight);
    setWrapping(true);
    setUniformItemSizes(true);
    setGridSize(ThumbnailDelegate::tileSize());
    setSpacing(0);
    // Lays a thousand tiles out in slices between events rather than in one go.
    setLayoutMode(QListView::Batched);
    setBatchSize(200);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionRectVisible(true);
    // Drops belong to the canvas around the view: the view passes them on.
    setDragEnabled(false);
    setAcceptDrops(false);
    setDragDropMode(QAbstractItemView::NoDragDrop);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setItemDelegate(new ThumbnailDelegate(this));

    // Scrolling produces bursts of events; one pass after they settle is enough.
    m_visibleTimer.setSingleShot(true);
    m_visibleTimer.setInterval(15);
    connect(&m_visibleTimer, &QTimer::timeout, this, &ThumbnailView::requestVisible);
}

ThumbnailView::~ThumbnailView() = default;

void ThumbnailView::setModel(QAbstractItemModel* newModel)
{
    if (QAbstractItemModel* old = model())
        disconnect(old, nullptr, this, nullptr);
    QListView::setModel(newModel);
    if (!newModel)
        return;
    connect(newModel, &QAbstractItemModel::rowsInserted, this, &ThumbnailView::onRowsInserted);
    connect(newModel, &QAbstractItemModel::rowsRemoved, this, &ThumbnailView::scheduleVisiblePass);
    connect(newModel, &QAbstractItemModel::modelReset, this, [this] {
        onRowsInserted(QModelIndex(), 0, model()->rowCount() - 1);
    });
    connect(newModel, &QAbstractItemModel::layoutChanged, this, &ThumbnailView::scheduleVisiblePass);
    if (newModel->rowCount() > 0)
        onRowsInserted(QModelIndex(), 0, newModel->rowCount() - 1);
}

QVector<IThumbnailItem*> ThumbnailView::visibleItems() const
{
    QVector<IThumbnailItem*> items;
    if (!model() || model()->rowCount() == 0)
        return items;
    const QSize grid = gridSize().isValid() ? gridSize() : ThumbnailDelegate::tileSize();
    const QRect area = viewport()->rect();
    QSet<IThumbnailItem*> seen;
    // Probe the middle of every grid cell that overlaps the viewport, so
    // partly visible rows at the top and bottom count too.
    const int offsetY = verticalOffset() % grid.height();
    const int offsetX = horizontalOffset() % grid.width();
    for (int y = -offsetY + grid.height() / 2; y - grid.height() / 2 < area.height(); y += grid.height()) {
        for (int x = -offsetX + grid.width() / 2; x - grid.width() / 2 < area.width(); x += grid.width()) {
            const QPoint probe(qBound(0, x, area.width() - 1), qBound(0, y, area.height() - 1));
            IThumbnailItem* item = itemOf(indexAt(probe));
            if (item && !seen.contains(item)) {
                seen.insert(item);
                items.push_back(item);
            }
        }
    }
    return items;
}

void ThumbnailView::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) && selectionModel() &&
        selectionModel()->hasSelection()) {
        emit removeRequested();
        event->accept();
        return;
    }
    QListView::keyPressEvent(event);
}

void ThumbnailView::resizeEvent(QResizeEvent* event)
{
    QListView::resizeEvent(event);
    scheduleVisiblePass();
}

void ThumbnailView::showEvent(QShowEvent* event)
{
    QListView::showEvent(event);
    scheduleVisiblePass();
}

void ThumbnailView::scrollContentsBy(int dx, int dy)
{
    QListView::scrollContentsBy(dx, dy);
    scheduleVisiblePass();
}

void ThumbnailView::onRowsInserted(const QModelIndex& parent, int first, int last)
{
    if (parent.isValid() || last < first)
        return;
    for (int row = first; row <= last; ++row) {
        if (IThumbnailItem* item = itemOf(model()->index(row, 0)))
            item->requestThumbnail(IThumbnailItem::Background);
    }
    scheduleVisiblePass();
}

void ThumbnailView::scheduleVisiblePass()
{
    if (!m_visibleTimer.isActive())
        m_visibleTimer.start();
}

void ThumbnailView::requestVisible()
{
    if (!isVisible())
        return;
    const QVector<IThumbnailItem*> items = visibleItems();
    ThumbnailLoader::instance()->beginVisiblePass();
    for (IThumbnailItem* item : items)
        item->requestThumbnail(IThumbnailItem::Visible);
}

} // namespace UiToolkit
} // namespace Zyn
