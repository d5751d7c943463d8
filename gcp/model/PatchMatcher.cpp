#include "PatchMatcher.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace AppGcp {

namespace {
cv::Mat wrap(const QImage& grey)
{
    return cv::Mat(grey.height(), grey.width(), CV_8UC1, const_cast<uchar*>(grey.constBits()),
                   size_t(grey.bytesPerLine()));
}

// Vertex of the parabola through three samples, as an offset in [-0.5, 0.5].
double vertex(float left, float centre, float right)
{
    const double d = double(left) - 2.0 * double(centre) + double(right);
    if (d >= 0.0)
        return 0.0;
    return std::clamp(0.5 * (double(left) - double(right)) / d, -0.5, 0.5);
}
} // namespace

QRect PatchMatcher::sourceRegion(const QPointF& sourcePixel, const QTransform& toSource, int half)
{
    const QRectF corners = toSource.mapRect(QRectF(-half - 1, -half - 1, 2 * half + 2, 2 * half + 2));
    return corners.translated(sourcePixel).toAlignedRect().adjusted(-2, -2, 2, 2);
}

PatchMatcher::PatchMatcher(const QImage& source, const QPoint& sourceOrigin, const QPointF& sourcePixel,
                           const QTransform& toSource, int half)
    : m_half(half)
{
    if (source.isNull() || source.format() != QImage::Format_Grayscale8 || half < 3)
        return;
    const int side = 2 * half + 1;
    const QPointF at = sourcePixel - QPointF(sourceOrigin);
    // Patch pixel (u, v) shows source pixel at + toSource((u, v) - (half, half)).
    const cv::Matx23d map(toSource.m11(), toSource.m21(), at.x() - (toSource.m11() + toSource.m21()) * half,
                          toSource.m12(), toSource.m22(), at.y() - (toSource.m12() + toSource.m22()) * half);
    const QRectF needed = toSource.mapRect(QRectF(-half, -half, 2 * half, 2 * half)).translated(at);
    if (needed.left() < 0 || needed.top() < 0 || needed.right() > source.width() - 1
        || needed.bottom() > source.height() - 1)
        return;
    m_patch = QImage(side, side, QImage::Format_Grayscale8);
    cv::Mat patch = wrap(m_patch);
    cv::Mat src = wrap(source);
    // A finer source is smoothed first so that its detail does not alias.
    const double shrink = std::sqrt(std::abs(toSource.determinant()));
    if (shrink > 1.5) {
        cv::Mat blurred;
        cv::GaussianBlur(src, blurred, cv::Size(), 0.5 * shrink);
        cv::warpAffine(blurred, patch, map, patch.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
    } else {
        cv::warpAffine(src, patch, map, patch.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
    }
    cv::Scalar mean, deviation;
    cv::meanStdDev(patch, mean, deviation);
    // A flat patch (sky, water, bare wall) matches everywhere.
    m_valid = deviation[0] >= 4.0;
}

PatchMatch PatchMatcher::match(const QImage& search, const QPoint& searchOrigin, const QPolygonF& path,
                               double radius, const QPolygonF& excluded, double exclusionRadius) const
{
    PatchMatch best;
    const int side = 2 * m_half + 1;
    if (!m_valid || search.isNull() || search.format() != QImage::Format_Grayscale8 || search.width() < side
        || search.height() < side)
        return best;
    cv::Mat scores;
    cv::matchTemplate(wrap(search), wrap(m_patch), scores, cv::TM_CCOEFF_NORMED);
    // Only peaks near the path count.
    cv::Mat mask(scores.size(), CV_8UC1, cv::Scalar(0));
    auto toScores = [&](const QPointF& p) {
        const QPointF c = p - QPointF(searchOrigin) - QPointF(m_half, m_half);
        return cv::Point(int(std::lround(c.x())), int(std::lround(c.y())));
    };
    std::vector<cv::Point> points;
    for (const QPointF& p : path) {
        if (!std::isfinite(p.x()) || !std::isfinite(p.y()))
            continue;
        points.push_back(toScores(p));
        cv::circle(mask, points.back(), int(std::ceil(radius)), cv::Scalar(255), cv::FILLED);
    }
    if (points.size() > 1)
        cv::polylines(mask, points, false, cv::Scalar(255), 2 * int(std::ceil(radius)) + 1);
    for (const QPointF& p : excluded)
        if (std::isfinite(p.x()) && std::isfinite(p.y()) && exclusionRadius > 0.0)
            cv::circle(mask, toScores(p), int(std::ceil(exclusionRadius)), cv::Scalar(0), cv::FILLED);
    double top = 0.0;
    cv::Point at;
    cv::minMaxLoc(scores, nullptr, &top, nullptr, &at, mask);
    if (cv::countNonZero(mask) == 0)
        return best;
    best.score = top;
    // The runner-up: the best score at least half a patch away.
    cv::circle(mask, at, std::max(2, m_half / 2), cv::Scalar(0), cv::FILLED);
    double second = -1.0;
    if (cv::countNonZero(mask) > 0)
        cv::minMaxLoc(scores, nullptr, &second, nullptr, nullptr, mask);
    best.runnerUp = std::max(0.0, second);
    double dx = 0, dy = 0;
    if (at.x > 0 && at.x < scores.cols - 1)
        dx = vertex(scores.at<float>(at.y, at.x - 1), scores.at<float>(at.y, at.x), scores.at<float>(at.y, at.x + 1));
    if (at.y > 0 && at.y < scores.rows - 1)
        dy = vertex(scores.at<float>(at.y - 1, at.x), scores.at<float>(at.y, at.x), scores.at<float>(at.y + 1, at.x));
    best.pixel = QPointF(searchOrigin) + QPointF(at.x + dx + m_half, at.y + dy + m_half);
    best.found = best.score >= kMinScore && best.score - best.runnerUp >= kMinMargin;
    return best;
}

} // namespace AppGcp
} // namespace Zyn
