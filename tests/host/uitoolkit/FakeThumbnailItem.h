#pragma once

#include <uitoolkit/IThumbnailItem.h>

#include <QFileInfo>

// An item whose state the test sets by hand; counts thumbnail requests.
class FakeThumbnailItem : public Zyn::UiToolkit::IThumbnailItem {
    Q_OBJECT
public:
    explicit FakeThumbnailItem(const QString& path) : m_path(path) {}

    QString path() const override { return m_path; }
    QString displayName() const override { return QFileInfo(m_path).fileName(); }
    State state() const override { return m_state; }
    QImage thumbnail() const override { return m_image; }
    void requestThumbnail(Priority priority) override
    {
        ++requests;
        lastPriority = priority;
    }

    void finish(const QImage& image)
    {
        m_image = image;
        m_state = image.isNull() ? Failed : Ready;
        emit thumbnailChanged();
    }

    int requests = 0;
    Priority lastPriority = Background;

private:
    QString m_path;
    State m_state = Loading;
    QImage m_image;
};
