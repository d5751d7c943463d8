#pragma once

#include <QImage>
#include <QObject>
#include <QPixmap>
#include <QString>

namespace Zyn {
namespace UiToolkit {

// One photo shown on a thumbnail canvas. Items are created and used on the
// GUI thread; how the thumbnail is obtained is the concrete item's business.
class IThumbnailItem : public QObject {
    Q_OBJECT
public:
    enum State { Loading = 0, Ready = 1, Failed = 2 };
    Q_ENUM(State)

    // Visible requests are served before background ones.
    enum Priority { Background = 0, Visible = 1 };
    Q_ENUM(Priority)

    explicit IThumbnailItem(QObject* parent = nullptr);
    ~IThumbnailItem() override;

    // Absolute path of the photo (or the item's own identifier).
    virtual QString path() const = 0;
    virtual QString displayName() const = 0;
    virtual State state() const = 0;
    // The decoded thumbnail when Ready, a placeholder when Failed, null while Loading.
    virtual QImage thumbnail() const = 0;
    // Why the thumbnail could not be made; empty unless Failed.
    virtual QString errorText() const { return QString(); }

    // Asks for the thumbnail; a no-op once it is loading or done. A later
    // Visible request raises the priority of a pending Background one.
    virtual void requestThumbnail(Priority priority) = 0;

    // The thumbnail as a pixmap, converted on demand and cached (GUI thread only).
    QPixmap thumbnailPixmap() const;

signals:
    // The state or the thumbnail changed.
    void thumbnailChanged();
};

} // namespace UiToolkit
} // namespace Zyn
