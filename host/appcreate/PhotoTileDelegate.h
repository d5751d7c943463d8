#pragma once

#include <uitoolkit/ThumbnailDelegate.h>

#include <QPointer>

class QAbstractItemView;

namespace Zyn {
namespace AppCreate {

// Tiles of the photo canvas. A photo that cannot be read carries a warning
// badge and says why in its tool tip. The check box (or Space) of a
// highlighted tile includes or excludes every highlighted photo at once.
class PhotoTileDelegate : public UiToolkit::ThumbnailDelegate {
    Q_OBJECT
public:
    explicit PhotoTileDelegate(QAbstractItemView* view);
    ~PhotoTileDelegate() override;

    // The tile's tool tip: why an unreadable photo cannot be used, else its path.
    static QString toolTip(const QModelIndex& index);

    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

protected:
    // Clicks on check boxes are taken before the view sees them, so they
    // never change the highlight (the view would reset it on release).
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintDecoration(QPainter* painter, const QRect& imageArea, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

private:
    // Includes or excludes index, or every highlighted tile when it is one.
    void toggle(QAbstractItemModel* model, const QModelIndex& index);

    QPointer<QAbstractItemView> m_view;
};

} // namespace AppCreate
} // namespace Zyn
