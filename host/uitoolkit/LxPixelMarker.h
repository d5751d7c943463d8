#pragma once

#include <QColor>
#include <QPoint>
#include <QString>
#include <QWidget>

namespace Zyn {
namespace UiToolkit {

// A crosshair that marks one image pixel, drawn in its point's colour with
// the point's name. It can be grabbed within kGrabRadius screen pixels of
// its centre and dragged; the arrow keys move it by one image pixel. When
// its parent is a ZoomableImgWidget it keeps its image pixel in step with
// its position.
class LxPixelMarker : public QWidget {
    Q_OBJECT
public:
    static constexpr int kGrabRadius = 12;

    explicit LxPixelMarker(QWidget* parent = nullptr);
    ~LxPixelMarker() override;

    void setFilePath(const QString& path) { m_filePath = path; }
    QString filePath() const { return m_filePath; }
    // The image pixel marked.
    void setCoordinates(const QPoint& pixel) { m_pixel = pixel; }
    QPoint coordinates() const { return m_pixel; }
    // The centre, in the parent's coordinates.
    void SetPosition(const QPoint& centre);
    QPoint Position() const;
    void setPlaced(bool placed);
    bool isPlaced() const { return m_placed; }
    void setActive(bool active);
    bool isActive() const { return m_active; }
    void setLock(bool locked);
    bool isLocked() const { return m_locked; }
    void SetColor(const QColor& colour);
    QColor color() const { return m_colour; }
    void setText(const QString& text);
    QString text() const { return m_text; }
    void setShowText(bool show);
    // Long thin guide lines, for centring on a target at close zoom.
    void setGuideLines(bool on);
    bool hasGuideLines() const { return m_guides; }
    // Hollow and dashed: a position offered, not yet a marker.
    void setSuggested(bool suggested);

    // Whether a point in this widget is close enough to the centre to grab.
    bool isGrabPoint(const QPoint& localPoint) const;

signals:
    void PixelSelected();
    void PixelMoving(const QPoint& newPos);
    void PixelStopMoving();
    void PixelDeleting(bool deleting);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void relayout();
    QPoint centreInWidget() const;
    void syncPixelFromPosition();

    QString m_filePath;
    QPoint m_pixel;
    QColor m_colour = Qt::yellow;
    QString m_text;
    bool m_placed = false;
    bool m_active = false;
    bool m_locked = false;
    bool m_showText = true;
    bool m_guides = false;
    bool m_suggested = false;
    bool m_dragging = false;
    QPoint m_grabOffset;
};

} // namespace UiToolkit
} // namespace Zyn
