#pragma once

#include <keelcore/SharedObject.h>

#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QSharedPointer>
#include <QTimer>
#include <QVector>
#include <QWidget>

namespace Zyn {
namespace UiToolkit {

// A decoded photo with its reduced-resolution levels (each half the one
// before), shared between views and the memory cache.
struct ImagePyramid {
    QVector<QImage> levels; // levels[0] is full resolution
    qint64 bytes() const;
};

// Shows one photo at any zoom. The photo appears at once from its EXIF
// thumbnail or a reduced decode; the full decode follows from a worker.
// Image pixel (x, y) covers [x, x + 1) x [y, y + 1) in image coordinates.
class ZoomableImgWidget : public QWidget, public KeelCore::SharedObject<ZoomableImgWidget> {
    Q_OBJECT
public:
    explicit ZoomableImgWidget(QWidget* parent = nullptr);
    ~ZoomableImgWidget() override;

    // Starts showing path; an empty path clears the widget.
    virtual void loadImage(const QString& path);
    QString imagePath() const { return m_path; }
    // The best image decoded so far (the full one once it is there).
    QImage getOriginalImage() const;
    // Size of the photo in pixels, orientation applied (known before the
    // full decode); empty when nothing is shown.
    QSize imageSize() const { return m_imageSize; }
    bool isFullResolution() const { return m_pyramid != nullptr; }
    QString errorText() const { return m_error; }

    // Widget point to image pixel, and image pixel to the widget point at
    // its centre. Exact at every zoom level.
    QPoint getSourcePoint(const QPoint& widgetPoint) const;
    QPoint getLocalPoint(const QPoint& imagePixel) const;
    QPointF sourcePointF(const QPointF& widgetPoint) const;
    QPointF localPointF(const QPointF& imagePoint) const;
    // The image's rectangle in the widget (inside the letterbox when fitted).
    QRect getActualImageBound() const;
    bool isMouseOnImage(const QPoint& widgetPoint) const;
    // Whether the current (or last) press dragged the view.
    bool isPanning() const { return m_panned; }

    // Widget pixels per image pixel.
    double scale() const { return m_scale; }
    double fitScale() const;
    // The close view a double click goes to.
    double closeScale() const;
    void zoomAt(const QPointF& widgetPoint, double factor);
    void setScaleAt(double scale, const QPointF& widgetPoint);
    // Centres the image point at the given scale.
    void centreOn(const QPointF& imagePoint, double scale);
    void zoomIn();
    void zoomOut();
    void zoomToFit();
    void zoomToActualSize();
    bool isFitted() const { return m_fitted; }

    // Bound of the memory cache of decoded photos, from the configuration.
    static qint64 cacheLimitBytes();
    static void clearCache();

signals:
    // A picture is on screen: the preview (full = false) or the full decode.
    void imageLoaded(bool full);
    void imageFailed(const QString& error);
    // Zoom or pan changed: anything drawn over the image must follow.
    void viewChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    // Draws the frame and the surroundings; subclasses add to it.
    virtual void paintImage(QPainter& painter, const QRect& exposed);

private:
    void setPreview(const QImage& preview, int generation);
    void setFull(const QSharedPointer<ImagePyramid>& pyramid, const QString& error, int generation);
    void clampView();
    void applyView(double scale, const QPointF& offset);
    void setLevels(const QSharedPointer<ImagePyramid>& pyramid, int generation);

    QString m_path;
    int m_generation = 0;
    QSize m_imageSize;
    QImage m_preview;
    QSharedPointer<ImagePyramid> m_pyramid;
    QString m_error;
    double m_scale = 1.0;
    QPointF m_offset; // widget position of image point (0, 0)
    bool m_fitted = true;
    bool m_pressed = false;
    bool m_panned = false;
    QPoint m_pressPos;
    QPointF m_pressOffset;
    // While the view moves, frames are drawn without smoothing; a last,
    // smooth frame follows once it rests.
    bool m_interactive = false;
    QTimer m_settle;
};

} // namespace UiToolkit
} // namespace Zyn
