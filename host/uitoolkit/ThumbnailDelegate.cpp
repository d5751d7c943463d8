#include "ThumbnailDelegate.h"

#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailLoader.h>
#include <uitoolkit/ThumbnailPlaceholder.h>

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>

namespace Zyn {
namespace UiToolkit {

namespace {
constexpr int kMargin = 8;
constexpr int kTextHeight = 20;
constexpr int kCheckSize = 18;
} // namespace

ThumbnailDelegate::ThumbnailDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

ThumbnailDelegate::~ThumbnailDelegate() = default;

QSize ThumbnailDelegate::tileSize()
{
    const QSize thumb = ThumbnailLoader::thumbnailSize();
    return QSize(thumb.width() + 2 * kMargin, thumb.height() + 2 * kMargin + kTextHeight);
}

QRect ThumbnailDelegate::imageRect(const QRect& tileRect)
{
    return QRect(tileRect.topLeft() + QPoint(kMargin, kMargin), ThumbnailLoader::thumbnailSize());
}

QRect ThumbnailDelegate::checkBoxRect(const QRect& tileRect)
{
    const QRect image = imageRect(tileRect);
    return QRect(image.left() + 4, image.top() + 4, kCheckSize, kCheckSize);
}

QSize ThumbnailDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    return tileSize();
}

void ThumbnailDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    const QRect tile = option.rect;
    const bool selected = option.state & QStyle::State_Selected;
    const QPalette& palette = option.palette;
    if (selected)
        painter->fillRect(tile.adjusted(2, 2, -2, -2), palette.color(QPalette::Highlight).lighter(150));

    const QRect area = imageRect(tile);
    const int state = index.data(ThumbnailListModel::StateRole).toInt();
    QPixmap pixmap;
    if (state != IThumbnailItem::Loading)
        pixmap = index.data(Qt::DecorationRole).value<QPixmap>();
    if (pixmap.isNull()) {
        painter->drawImage(area.topLeft(), ThumbnailPlaceholder::loadingImage(area.size()));
    } else {
        const QSize size = pixmap.size().scaled(area.size(), Qt::KeepAspectRatio).boundedTo(pixmap.size());
        const QRect target(area.left() + (area.width() - size.width()) / 2,
                           area.top() + (area.height() - size.height()) / 2, size.width(), size.height());
        painter->drawPixmap(target, pixmap);
    }

    paintDecoration(painter, area, index);

    // The check box sits on a light backing so it stays readable on any photo.
    const QRect box = checkBoxRect(tile);
    painter->setRenderHint(QPainter::Antialiasing);
    if (m_showCheckBox) {
        painter->setPen(QPen(QColor(70, 70, 70), 1.2));
        const bool checked = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        painter->setBrush(checked ? palette.color(QPalette::Highlight) : QColor(255, 255, 255, 220));
        painter->drawRoundedRect(QRectF(box).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);
        if (checked) {
            painter->setPen(QPen(Qt::white, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            const QPolygonF tick({QPointF(box.left() + 4, box.top() + 9.5), QPointF(box.left() + 7.5, box.top() + 13),
                                  QPointF(box.left() + 14, box.top() + 5)});
            painter->drawPolyline(tick);
        }
    }
    painter->setRenderHint(QPainter::Antialiasing, false);

    const QRect textRect(tile.left() + 4, area.bottom() + 4, tile.width() - 8, kTextHeight);
    const QString name = index.data(Qt::DisplayRole).toString();
    // The highlight is lightened, so the normal text colour stays readable on it.
    painter->setPen(palette.color(QPalette::Text));
    painter->setFont(option.font);
    painter->drawText(textRect, Qt::AlignHCenter | Qt::AlignVCenter,
                      option.fontMetrics.elidedText(name, Qt::ElideMiddle, textRect.width()));
    if (option.state & QStyle::State_HasFocus) {
        painter->setPen(QPen(palette.color(QPalette::Highlight), 1, Qt::DotLine));
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(tile.adjusted(2, 2, -3, -3));
    }
    painter->restore();
}

void ThumbnailDelegate::paintDecoration(QPainter*, const QRect&, const QModelIndex&) const {}

bool ThumbnailDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                    const QModelIndex& index)
{
    if (!m_showCheckBox)
        return false;
    if (!(index.flags() & Qt::ItemIsUserCheckable) || !(index.flags() & Qt::ItemIsEnabled))
        return false;
    const auto toggle = [&] {
        const bool checked = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        return model->setData(index, checked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
    };
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
        // Swallow presses on the box so they do not change the highlight.
        auto* mouse = static_cast<QMouseEvent*>(event);
        return mouse->button() == Qt::LeftButton && checkBoxRect(option.rect).contains(mouse->pos());
    }
    case QEvent::MouseButtonRelease: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton || !checkBoxRect(option.rect).contains(mouse->pos()))
            return false;
        return toggle();
    }
    case QEvent::KeyPress: {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key != Qt::Key_Space && key != Qt::Key_Select)
            return false;
        return toggle();
    }
    default:
        return false;
    }
}

} // namespace UiToolkit
} // namespace Zyn
