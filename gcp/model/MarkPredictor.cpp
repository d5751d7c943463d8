#include "MarkPredictor.h"

#include <QLineF>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace AppGcp {

namespace {
const double kPi = 3.14159265358979323846;
// Uncertainty of a prediction: consumer GPS puts the camera within a few
// metres; heading and focal length err by a few per cent of the distance
// from the photo's centre. Markers remove the common GPS bias; what stays
// is each photo's own jitter.
const double kGpsErrorMetres = 3.0;
const double kCalibratedErrorMetres = 1.2;
const double kAngularError = 0.08;
const double kCalibratedAngularError = 0.03;
const double kMinRadiusPx = 12.0;
const double kGuessedHeightError = 0.3;

struct Vec3 {
    double x, y, z;
};
double dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

struct Axes {
    Vec3 right, down, view; // image x, image y, optical axis (east, north, up)
};

Axes axesOf(const PhotoCamera& c)
{
    const double h = c.headingDeg * kPi / 180.0, t = c.tiltDeg * kPi / 180.0;
    const Vec3 forward{std::sin(h), std::cos(h), 0.0};
    const Vec3 right{std::cos(h), -std::sin(h), 0.0};
    // Nadir: the image's top looks along the heading; a tilt turns the
    // view forward about the image's x axis.
    const Vec3 view{forward.x * std::sin(t), forward.y * std::sin(t), -std::cos(t)};
    const Vec3 down{-forward.x * std::cos(t), -forward.y * std::cos(t), -std::sin(t)};
    return {right, down, view};
}

QPointF principalPoint(const PhotoCamera& c)
{
    return QPointF(c.size.width() / 2.0 - 0.5, c.size.height() / 2.0 - 0.5);
}
} // namespace

MarkPredictor::MarkPredictor(const QVector<PhotoGeo>& photos)
    : m_photos(photos), m_headings(photoHeadings(photos))
{
}

int MarkPredictor::indexOf(const QString& path) const
{
    for (int i = 0; i < m_photos.size(); ++i)
        if (m_photos.at(i).path == path)
            return i;
    return -1;
}

PhotoCamera MarkPredictor::camera(int photo, const GroundPoint& point) const
{
    PhotoCamera c;
    if (photo < 0 || photo >= m_photos.size())
        return c;
    const PhotoGeo& g = m_photos.at(photo);
    if (!g.hasGps || g.pixelSize.isEmpty() || !std::isfinite(m_headings.at(photo)))
        return c;
    c.longitude = g.longitude;
    c.latitude = g.latitude;
    c.height = heightAbovePoint(g, point) * m_heightScale;
    c.headingDeg = m_headings.at(photo) + m_headingBias;
    c.tiltDeg = std::isfinite(g.pitchDegrees) ? std::clamp(g.pitchDegrees + 90.0, 0.0, 60.0) : 0.0;
    c.size = QSizeF(g.pixelSize);
    const double diagonal = std::hypot(c.size.width(), c.size.height());
    c.focalPx = diagonal / 2.0 / std::tan(diagonalFieldOfView(g) * kPi / 360.0);
    c.valid = c.height > 0.0 && c.focalPx > 0.0;
    return c;
}

bool MarkPredictor::project(int photo, const GroundPoint& point, double east, double north, QPointF* pixel) const
{
    const PhotoCamera c = camera(photo, point);
    if (!c.valid)
        return false;
    double e = 0, n = 0;
    groundOffset(c.longitude, c.latitude, point.longitude, point.latitude, &e, &n);
    const Vec3 d{e + east, n + north, -c.height};
    const Axes axes = axesOf(c);
    const double depth = dot(d, axes.view);
    if (depth < 0.1)
        return false;
    *pixel = principalPoint(c) + QPointF(dot(d, axes.right), dot(d, axes.down)) * (c.focalPx / depth);
    return true;
}

bool MarkPredictor::unproject(int photo, const GroundPoint& point, const QPointF& pixel, double* east,
                              double* north) const
{
    const PhotoCamera c = camera(photo, point);
    if (!c.valid)
        return false;
    const Axes axes = axesOf(c);
    const QPointF p = (pixel - principalPoint(c)) / c.focalPx;
    const Vec3 ray{axes.view.x + p.x() * axes.right.x + p.y() * axes.down.x,
                   axes.view.y + p.x() * axes.right.y + p.y() * axes.down.y,
                   axes.view.z + p.x() * axes.right.z + p.y() * axes.down.z};
    if (ray.z > -1e-6)
        return false; // above the horizon
    const double s = c.height / -ray.z;
    double e = 0, n = 0;
    groundOffset(c.longitude, c.latitude, point.longitude, point.latitude, &e, &n);
    *east = s * ray.x - e;
    *north = s * ray.y - n;
    return true;
}

void MarkPredictor::heightScaleRange(int photo, const GroundPoint& point, double* low, double* high) const
{
    *low = 0.7;
    *high = 1.4;
    if (photo < 0 || photo >= m_photos.size())
        return;
    const PhotoGeo& g = m_photos.at(photo);
    const double h = g.altitude - point.z;
    const bool fromAltitude = g.hasAltitude && point.hasZ && h >= 5.0 && h <= 1500.0;
    // Without either, the height is a guess: allow 40 to 300 m.
    if (!fromAltitude && !(std::isfinite(g.relativeAltitude) && g.relativeAltitude > 0.0)) {
        const double guess = heightAbovePoint(g, point);
        *low = 40.0 / guess;
        *high = 300.0 / guess;
    }
}

double MarkPredictor::markError(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks) const
{
    const QPointF bias = groundBias(point, marks);
    double error = 0.0;
    for (const auto& mark : marks) {
        QPointF p;
        error += project(mark.first, point, bias.x(), bias.y(), &p) ? QLineF(p, mark.second).length() : 1e6;
    }
    return error;
}

double MarkPredictor::fitHeightScale(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks) const
{
    if (marks.size() < 2)
        return m_heightScale;
    double low = 1.0, high = 1.0;
    heightScaleRange(marks.first().first, point, &low, &high);
    MarkPredictor trial(*this);
    double best = m_heightScale, bestError = qInf(), worstError = 0.0;
    const int steps = 60;
    for (int k = 0; k <= steps; ++k) {
        const double scale = low * std::pow(high / low, double(k) / steps);
        trial.setHeightScale(scale);
        const double error = trial.markError(point, marks);
        worstError = std::max(worstError, error);
        if (error < bestError) {
            bestError = error;
            best = scale;
        }
    }
    // A flat error (no baseline between the photos) says nothing.
    return worstError - bestError > 2.0 ? best : m_heightScale;
}

void MarkPredictor::fitToMarks(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks)
{
    if (marks.size() < 2)
        return;
    // The two hardly interact (height scales offsets from the centre, a
    // heading turns them), so each is fitted in turn, the bias twice:
    // coarse over a compass's plausible error, then fine.
    auto fitHeading = [&](double from, double to, double step) {
        const double start = m_headingBias;
        double best = start, bestError = qInf(), worstError = 0.0;
        for (double bias = from; bias <= to + 1e-9; bias += step) {
            m_headingBias = bias;
            const double error = markError(point, marks);
            worstError = std::max(worstError, error);
            if (error < bestError) {
                bestError = error;
                best = bias;
            }
        }
        m_headingBias = worstError - bestError > 2.0 ? best : start;
    };
    m_heightScale = fitHeightScale(point, marks);
    fitHeading(-20.0, 20.0, 0.5);
    m_heightScale = fitHeightScale(point, marks);
    fitHeading(m_headingBias - 0.5, m_headingBias + 0.5, 0.05);
}

QPolygonF MarkPredictor::heightPath(int to, const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks,
                                    double low, double high, const GroundPoint* other) const
{
    QPolygonF path;
    MarkPredictor trial(*this);
    for (int k = 0; k <= kHeightSteps; ++k) {
        trial.setHeightScale(m_heightScale * low * std::pow(high / low, double(k) / kHeightSteps));
        const QPointF bias = trial.groundBias(point, marks);
        QPointF p(qQNaN(), qQNaN());
        trial.project(to, other ? *other : point, bias.x(), bias.y(), &p);
        path << p;
    }
    return path;
}

QPointF MarkPredictor::groundBias(const GroundPoint& point, const QVector<QPair<int, QPointF>>& marks) const
{
    std::vector<double> east, north;
    for (const auto& mark : marks) {
        double e = 0, n = 0;
        if (unproject(mark.first, point, mark.second, &e, &n)) {
            east.push_back(e);
            north.push_back(n);
        }
    }
    if (east.empty())
        return {};
    // The median: one misplaced marker must not drag every prediction.
    auto median = [](std::vector<double>& v) {
        std::sort(v.begin(), v.end());
        const size_t m = v.size() / 2;
        return v.size() % 2 ? v[m] : (v[m - 1] + v[m]) / 2.0;
    };
    return QPointF(median(east), median(north));
}

QVector<MarkPrediction> MarkPredictor::predict(const QStringList& paths, const GroundPoint& point,
                                               const QPointF& bias, bool calibrated) const
{
    QVector<MarkPrediction> out;
    for (const QString& path : paths) {
        const int i = indexOf(path);
        const PhotoCamera c = camera(i, point);
        MarkPrediction p;
        p.path = path;
        if (!c.valid || !project(i, point, bias.x(), bias.y(), &p.pixel))
            continue;
        p.metresPerPixel = c.height / c.focalPx;
        p.imageSize = c.size;
        const double fromCentre = std::hypot(p.pixel.x() - principalPoint(c).x(), p.pixel.y() - principalPoint(c).y());
        // A guessed height (no altitude, no take-off height) scales every
        // offset from the centre by an unknown factor.
        double low = 1.0, high = 1.0;
        heightScaleRange(i, point, &low, &high);
        const double heightError = !calibrated && high / low > 3.0 ? kGuessedHeightError : 0.0;
        p.radius = std::max(kMinRadiusPx, (calibrated ? kCalibratedErrorMetres : kGpsErrorMetres) / p.metresPerPixel
                                              + fromCentre * (calibrated ? kCalibratedAngularError
                                                                         : kAngularError + heightError));
        p.inside = p.pixel.x() >= -0.5 && p.pixel.y() >= -0.5 && p.pixel.x() <= c.size.width() - 0.5
                   && p.pixel.y() <= c.size.height() - 0.5;
        out << p;
    }
    return out;
}

bool MarkPredictor::localMap(int from, int to, const GroundPoint& point, const QPointF& bias,
                             QTransform* toFrom) const
{
    // Jacobians of pixel by ground offset, from one metre steps.
    auto jacobian = [&](int photo, double j[4]) {
        QPointF o, e, n;
        if (!project(photo, point, bias.x(), bias.y(), &o) || !project(photo, point, bias.x() + 1, bias.y(), &e)
            || !project(photo, point, bias.x(), bias.y() + 1, &n))
            return false;
        j[0] = e.x() - o.x();
        j[1] = n.x() - o.x();
        j[2] = e.y() - o.y();
        j[3] = n.y() - o.y();
        return true;
    };
    double a[4], b[4];
    if (!jacobian(from, a) || !jacobian(to, b))
        return false;
    const double det = b[0] * b[3] - b[1] * b[2];
    if (std::abs(det) < 1e-12)
        return false;
    const double inv[4] = {b[3] / det, -b[1] / det, -b[2] / det, b[0] / det};
    const double m[4] = {a[0] * inv[0] + a[1] * inv[2], a[0] * inv[1] + a[1] * inv[3], a[2] * inv[0] + a[3] * inv[2],
                         a[2] * inv[1] + a[3] * inv[3]};
    // QTransform maps (x, y) to (m11 x + m21 y, m12 x + m22 y).
    *toFrom = QTransform(m[0], m[2], m[1], m[3], 0.0, 0.0);
    return true;
}

} // namespace AppGcp
} // namespace Zyn
