#pragma once

#include <keelcore/SharedObject.h>

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QString>
#include <QWidget>

namespace Zyn {
namespace UiToolkit {

// A round loupe showing the image around one pixel at a higher zoom, with
// a crosshair on that pixel. Dragging its rim moves the loupe; dragging
// inside it moves the pixel (for placing with pixel accuracy); the wheel
// changes its zoom; the small cross at its corner asks to remove the mark.
// It always stays inside its parent.
class LxMagnifyingGlass : public QWidget, public KeelCore::SharedObject<LxMagnifyingGlass> {
    Q_OBJECT
public:
    explicit LxMagnifyingGlass(QWidget* parent = nullptr);
    ~LxMagnifyingGlass() override;

    void SetRadius(int radius);
    int radius() const { return m_radius; }
    void SetBorderColor(const QColor& colour);
    QColor borderColor() const { return m_border; }
    void setCustomText(const QString& text);
    QString customText() const { return m_text; }
    void showCustomText(bool show) { setShowCustomText(show); }
    void setShowCustomText(bool show);
    void setLock(bool locked) { m_locked = locked; }
    bool isLocked() const { return m_locked; }
    // The image shown; the path form decodes the part around the pixel on a
    // worker, for a loupe that previews a photo no view has open.
    void setImage(const QImage& image);
    void setImage(const QString& path);
    // Centres the loupe's view on an image pixel.
    void OnCoordsChanged(const QPoint& pixel);
    QPoint coords() const { return m_pixel; }
    // Screen pixels per image pixel.
    void setZoom(double zoom);
    double zoom() const { return m_zoom; }
    void HideMe();
    // Top-left and size of the round part, in the parent's coordinates.
    QPoint VisualPos() const;
    QSize VisualSize() const;
    // Moves the loupe (its top-left), kept inside the parent.
    void moveInside(const QPoint& topLeft);

signals:
    void Moving(const QPoint& offset);
    void SourceMoving(const QPoint& offset, const QPoint& newCoords);
    void ClickedOutside(const QPoint& pos);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QRect closeBox() const;
    void requestRegion();

    int m_radius = 135;
    QColor m_border = Qt::yellow;
    QString m_text;
    bool m_showText = false;
    bool m_locked = false;
    QImage m_image;      // the whole image, or the decoded region
    QPoint m_imageOrigin; // image pixel of m_image's (0, 0)
    QString m_path;
    int m_request = 0;
    QPoint m_pixel;
    double m_zoom = 4.0;
    enum Drag { None, MoveLoupe, MoveSource } m_drag = None;
    QPoint m_pressGlobal;
    QPoint m_pressPixel;
    QPoint m_pressPos;
};

} // namespace UiToolkit
} // namespace Zyn
