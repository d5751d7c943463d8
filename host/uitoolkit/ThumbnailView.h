#pragma once

#include <uitoolkit/IThumbnailItem.h>

#include <QListView>
#include <QTimer>
#include <QVector>

namespace Zyn {
namespace UiToolkit {

// Grid of photo tiles. Thumbnails are requested lazily: every photo gets a
// background request when it arrives, and the ones on screen are raised to
// visible priority whenever the view scrolls, resizes or changes.
class ThumbnailView : public QListView {
    Q_OBJECT
public:
    explicit ThumbnailView(QWidget* parent = nullptr);
    ~ThumbnailView() override;

    void setModel(QAbstractItemModel* model) override;

    // The items whose tiles are (at least partly) on screen, in display order.
    QVector<IThumbnailItem*> visibleItems() const;

signals:
    // The user asked to remove the highlighted photos (Delete key).
    void removeRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    void onRowsInserted(const QModelIndex& parent, int first, int last);
    void scheduleVisiblePass();
    void requestVisible();

    QTimer m_visibleTimer;
};

} // namespace UiToolkit
} // namespace Zyn
