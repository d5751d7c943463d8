#include "PhotoTileDelegate.h"

#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/ThumbnailListModel.h>

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace Zyn {
namespace AppCreate {

namespace {
bool isUnreadable(const QModelIndex& index)
{
    return index.data(UiToolkit::ThumbnailListModel::StateRole).toInt() == UiToolkit::IThumbnailItem::Failed;
}
} // namespace

PhotoTileDelegate::PhotoTileDelegate(QAbstractItemView* view)
    : ThumbnailDelegate(view)
    , m_view(view)
{
    if (view)
        view->viewport()->installEventFilter(this);
}

PhotoTileDelegate::~PhotoTileDelegate() = default;

QString PhotoTileDelegate::toolTip(const QModelIndex& index)
{
    if (!isUnreadable(index))
        return index.data(UiToolkit::ThumbnailListModel::PathRole).toString();
    return tr("Cannot read this photo: %1\n%2")
        .arg(index.data(UiToolkit::ThumbnailListModel::ErrorRole).toString(),
             index.data(UiToolkit::ThumbnailListModel::PathRole).toString());
}

bool PhotoTileDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                                  const QModelIndex& index)
{
    if (event->type() != QEvent::ToolTip || !index.isValid())
        return ThumbnailDelegate::helpEvent(event, view, option, index);
    QToolTip::showText(event->globalPos(), toolTip(index), view);
    return true;
}

void PhotoTileDelegate::paintDecoration(QPainter* painter, const QRect& imageArea, const QModelIndex& index) const
{
    if (!isUnreadable(index))
        return;
    // A warning triangle in the top right corner, clear of the check box.
    const QRectF badge(imageArea.right() - 24, imageArea.top() + 4, 20, 18);
    QPainterPath triangle;
    triangle.moveTo(badge.center().x(), badge.top());
    triangle.lineTo(badge.right(), badge.bottom());
    triangle.lineTo(badge.left(), badge.bottom());
    triangle.closeSubpath();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(QColor(120, 80, 0), 1));
    painter->setBrush(QColor(255, 190, 0));
    painter->drawPath(triangle);
    QFont font = painter->font();
    font.setBold(true);
    font.setPixelSize(12);
    painter->setFont(font);
    painter->setPen(Qt::black);
    painter->drawText(badge.adjusted(0, 4, 0, 0), Qt::AlignCenter, QStringLiteral("!"));
    painter->restore();
}

bool PhotoTileDelegate::eventFilter(QObject* watched, QEvent* event)
{
    // The event type first: while the view is being destroyed its viewport
    // still sends events here, and the view must not be asked anything then.
    const QEvent::Type type = event->type();
    if ((type != QEvent::MouseButtonPress && type != QEvent::MouseButtonRelease && type != QEvent::MouseButtonDblClick)
        || !m_view || watched != m_view->viewport() || !showsCheckBox())
        return ThumbnailDelegate::eventFilter(watched, event);
    const auto* mouse = static_cast<QMouseEvent*>(event);
    const QModelIndex index = m_view->indexAt(mouse->pos());
    if (mouse->button() != Qt::LeftButton || !index.isValid() || !(index.flags() & Qt::ItemIsUserCheckable)
        || !checkBoxRect(m_view->visualRect(index)).contains(mouse->pos()))
        return ThumbnailDelegate::eventFilter(watched, event);
    if (type == QEvent::MouseButtonRelease)
        toggle(m_view->model(), index);
    return true;
}

bool PhotoTileDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                    const QModelIndex& index)
{
    if (event->type() != QEvent::KeyPress || !showsCheckBox() || !(index.flags() & Qt::ItemIsUserCheckable))
        return ThumbnailDelegate::editorEvent(event, model, option, index);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Space && key != Qt::Key_Select)
        return false;
    toggle(model, index);
    return true;
}

void PhotoTileDelegate::toggle(QAbstractItemModel* model, const QModelIndex& index)
{
    // On a highlighted tile the box speaks for all highlighted tiles.
    QModelIndexList targets{index};
    QItemSelectionModel* selection = m_view ? m_view->selectionModel() : nullptr;
    if (selection && selection->isSelected(index))
        targets = selection->selectedIndexes();
    const bool include = index.data(Qt::CheckStateRole).toInt() != Qt::Checked;
    for (const QModelIndex& target : qAsConst(targets)) {
        // An unreadable photo cannot be part of a project.
        if (include && isUnreadable(target))
            continue;
        model->setData(target, include ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
    }
}

} // namespace AppCreate
} // namespace Zyn
