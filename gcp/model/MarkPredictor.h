#pragma once

#include <gcp/model/PhotoFootprint.h>

#include <QPointF>
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
// the predictions with the markers placed so far: their mean offset on the
// ground (GPS bias between the drone and the survey) is removed from the
// other photos' predictions.
class MarkPredictor {
public:
    // photos in capture order (the headings come from the flight track
    // when the photos carry no yaw).
    explicit MarkPredictor(const QVector<PhotoGeo>& photos);

    int indexOf(const QString& path) const;
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
    QVector<PhotoGeo> m_photos;
    QVector<double> m_headings;
};

} // namespace AppGcp
} // namespace Zyn
