#pragma once

#include <QStyledItemDelegate>

namespace Zyn {
namespace UiToolkit {

// Draws one photo tile: the thumbnail (or its placeholder), a check box
// that includes or excludes the photo, and the file name.
class ThumbnailDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    explicit ThumbnailDelegate(QObject* parent = nullptr);
    ~ThumbnailDelegate() override;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // The size of every tile.
    static QSize tileSize();
    // Where the check box of a tile at tileRect is.
    static QRect checkBoxRect(const QRect& tileRect);
    // Where the thumbnail of a tile at tileRect is drawn.
    static QRect imageRect(const QRect& tileRect);
    // Browsers that only show photos hide the include/exclude box.
    void setShowCheckBox(bool show) { m_showCheckBox = show; }
    bool showsCheckBox() const { return m_showCheckBox; }

protected:
    // Drawn over the thumbnail (badges of subclasses); nothing by default.
    virtual void paintDecoration(QPainter* painter, const QRect& imageArea, const QModelIndex& index) const;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

private:
    bool m_showCheckBox = true;
};

} // namespace UiToolkit
} // namespace Zyn
