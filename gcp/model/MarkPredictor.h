#pragma once

#include <gcp/model/PhotoFootprint.h>

#include <QPointF>
#include <QPolygonF>
#include <QSizeF>
#include <QString>
#include <QTransform>
#include <QVector>

namespace Zyn {
namespace AppGcp {

// Where a point should appear on a photo, from the camera geometry alone.
// Pixels are marker coordinates: pixel (i, j)'s centre is at (i, j).
struct MarkPrediction {
    QString path;
    QPointF pixel;
    double radius = 0.0;          // pixels; the true spot lies inside
    double metresPerPixel = 0.0;  // on the ground at the point
    bool inside = false;          // the pixel lies on the photo
    QSizeF imageSize;
};

// One photo's camera as a pinhole: at its GPS position, looking along its
// heading, tilted from nadir by its pitch, focal length from EXIF.
struct PhotoCamera {
    double longitude = 0.0;
    double latitude = 0.0;
    double height = 0.0;      // above the point, metres
    double headingDeg = 0.0;  // image up, 0 = north, clockwise
    double tiltDeg = 0.0;     // 0 = nadir, positive = tilted forward
    double focalPx = 0.0;
    QSizeF size;
    bool valid = false;
};

// Predicts the point's pixel on the photos that can show it, and refines
// the predictions with the markers placed so far: their median offset on
// the ground (GPS bias between the drone and the survey), the flight's
// height and a common heading bias are taken from them.
class MarkPredictor {
public:
    // photos in capture order (the headings come from the flight track
    // when the photos carry no yaw).
    explicit MarkPredictor(const QVector<PhotoGeo>& photos);

    int indexOf(const QString& path) const;

    // The flight height above the point is known only roughly (EXIF
    // altitude against the survey's datum, or the drone's take-off
    // height): every height is taken times this factor.
    void setHeightScale(double scale) { m_heightScale = scale; }
    double heightScale() const { return m_heightScale; }
    // The factors the true height may lie within, by what the height
    // rests on.
    void heightScaleRange(int photo, const GroundPoint& point, double* low, double* high) const;
    // A compass or gimbal mounted off true turns every photo by the same
    // angle: added to every heading, degrees clockwise.
    void setHeadingBias(double degrees) { m_headingBias = degrees; }
    double headingBias() const { return m_headingBias; }
    // Fits the height factor and the heading bias together to markers on
    // two or more photos; each stays as it was when the markers cannot
    // tell it (one marker, photos taken from one spot or facing one way).
    void fitToMarks(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks);
    // Where the point can be on photo `to` as the height runs through
    // [low, high], given the markers: a line of pixels, one per step of
    // the height. With `other`, where that point is at the same steps
    // (the markers' ground bias applies to every point).
    QPolygonF heightPath(int to, const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks, double low,
                         double high, const GroundPoint* other = nullptr) const;
    static constexpr int kHeightSteps = 12;
    PhotoCamera camera(int photo, const GroundPoint& point) const;

    // The point's pixel on a photo, shifted on the ground by (east, north)
    // metres. False when the camera is unknown or looks away from it.
    bool project(int photo, const GroundPoint& point, double east, double north, QPointF* pixel) const;
    // The ground offset (east, north, metres from the point, on the point's
    // height) that a pixel of a photo shows.
    bool unproject(int photo, const GroundPoint& point, const QPointF& pixel, double* east, double* north) const;

    // The ground bias seen by markers (photo index, pixel); (0, 0) without.
    QPointF groundBias(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks) const;
    // Predictions on the photos of `paths` for the point, bias removed.
    // `calibrated`: markers fixed the bias, so the circles are smaller.
    QVector<MarkPrediction> predict(const QStringList& paths, const GroundPoint& point, const QPointF& bias,
                                    bool calibrated) const;

    // The affine map from pixels around the point on photo `to` to pixels
    // on photo `from` (both as offsets from the point's pixel).
    bool localMap(int from, int to, const GroundPoint& point, const QPointF& bias, QTransform* toFrom) const;

private:
    // The factor that best agrees with markers on two or more photos; the
    // current one when they cannot tell.
    double fitHeightScale(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks) const;
    // Sum of the markers' pixel distances from their predictions.
    double markError(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks) const;

    QVector<PhotoGeo> m_photos;
    QVector<double> m_headings;
    double m_heightScale = 1.0;
    double m_headingBias = 0.0;
};

} // namespace AppGcp
} // namespace Zyn
