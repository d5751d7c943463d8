#pragma once

#include <QPoint>
#include <QWidget>

namespace Zyn {
namespace UiToolkit {

// The grip row at the top of a panel; whoever holds the panel moves it by
// the reported drags.
class DragBar : public QWidget {
    Q_OBJECT
public:
    explicit DragBar(QWidget* parent = nullptr);
    ~DragBar() override;
    QSize sizeHint() const override;

signals:
    void dragged(const QPoint& delta);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool m_dragging = false;
    QPoint m_last;
};

} // namespace UiToolkit
} // namespace Zyn
