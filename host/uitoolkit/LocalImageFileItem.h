#pragma once

#include <uitoolkit/IThumbnailItem.h>

namespace Zyn {
namespace UiToolkit {

class ThumbnailLoader;

// A photo file on the local disk. Its thumbnail is decoded on a worker
// thread by the shared ThumbnailLoader when first requested.
class LocalImageFileItem : public IThumbnailItem {
    Q_OBJECT
public:
    explicit LocalImageFileItem(const QString& path, QObject* parent = nullptr);
    ~LocalImageFileItem() override;

    QString path() const override { return m_path; }
    QString displayName() const override { return m_displayName; }
    State state() const override { return m_state; }
    QImage thumbnail() const override;
    QString errorText() const override { return m_error; }
    void requestThumbnail(Priority priority) override;

    // Forgets the thumbnail and loads it again (e.g. the file was replaced).
    void reload();

private:
    friend class ThumbnailLoader;
    void applyResult(const QImage& image, const QString& error);

    QString m_path;
    QString m_displayName;
    State m_state = Loading;
    QImage m_thumbnail;
    QString m_error;
    // Bookkeeping of the loader, GUI thread only.
    bool m_inFlight = false;
    bool m_queuedBackground = false;
    bool m_queuedVisible = false;
};

} // namespace UiToolkit
} // namespace Zyn
