#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

namespace Zyn {
namespace UiToolkit {

class ThumbnailDelegate;
class ThumbnailListModel;
class ThumbnailProxyModel;
class ThumbnailView;

// A browser of photos: the canvas's thumbnail model, proxy, view and
// delegate put together, without the include/exclude boxes. A double click
// or Return on a tile asks to open that photo.
class ThumbnailViewController : public QObject {
    Q_OBJECT
public:
    // Takes ownership of proxy and delegate (defaults are made when null).
    explicit ThumbnailViewController(ThumbnailProxyModel* proxy = nullptr, ThumbnailDelegate* delegate = nullptr,
                                     QObject* parent = nullptr);
    ~ThumbnailViewController() override;

    ThumbnailView* view() const;
    ThumbnailListModel* model() const { return m_model; }
    ThumbnailProxyModel* proxy() const { return m_proxy; }
    ThumbnailDelegate* delegate() const { return m_delegate; }

    // Shows exactly these photos (items already shown are kept).
    void setFiles(const QStringList& files);
    QStringList files() const;
    // The photos shown, in display order.
    QStringList visiblePaths() const;
    int visibleCount() const;
    // Highlights a photo and scrolls to it.
    void setCurrentPath(const QString& path);
    // Repaints the tiles (badges changed).
    void refresh();

signals:
    void imageToOpen(const QString& path);
    // The photos shown changed (added, removed or filtered).
    void imagesChanged();

private:
    ThumbnailListModel* m_model = nullptr;
    ThumbnailProxyModel* m_proxy = nullptr;
    ThumbnailDelegate* m_delegate = nullptr;
    QPointer<ThumbnailView> m_view;
};

} // namespace UiToolkit
} // namespace Zyn
