#pragma once

#include <QImage>
#include <QPoint>
#include <QPointF>
#include <QPolygonF>
#include <QTransform>

namespace Zyn {
namespace AppGcp {

// The best spot for a patch on a searched photo. Pixels are marker
// coordinates (pixel (i, j)'s centre at (i, j)).
struct PatchMatch {
    bool found = false; // a clear peak: score high enough and well above the runner-up
    QPointF pixel;
    double score = 0.0;    // normalized cross-correlation at the peak
    double runnerUp = 0.0; // the best score away from the peak
};

// One patch: the marked spot on the source photo, resampled into the
// searched photo's frame (scale, rotation) through `toSource`, which maps
// offsets on the searched photo to offsets on the source.
class PatchMatcher {
public:
    static constexpr double kMinScore = 0.75;
    static constexpr double kMinMargin = 0.12;

    // source: grey region of the source photo whose top-left pixel is at
    // sourceOrigin; sourcePixel the marked spot. half: the patch's half side
    // on the searched photo.
    PatchMatcher(const QImage& source, const QPoint& sourceOrigin, const QPointF& sourcePixel,
                 const QTransform& toSource, int half);

    // False when the source cannot give a patch (off its region, flat).
    bool isValid() const { return m_valid; }
    static QRect sourceRegion(const QPointF& sourcePixel, const QTransform& toSource, int half);

    // Searches a grey region of the other photo (top-left at searchOrigin)
    // for the patch's centre, within `radius` of the line `path`.
    // Spots within `exclusionRadius` of `excluded` (where other surveyed
    // points lie: survey targets look alike) never count.
    PatchMatch match(const QImage& search, const QPoint& searchOrigin, const QPolygonF& path, double radius,
                     const QPolygonF& excluded = {}, double exclusionRadius = 0.0) const;
    QImage patch() const { return m_patch; }

private:
    QImage m_patch;
    int m_half = 0;
    bool m_valid = false;
};

} // namespace AppGcp
} // namespace Zyn
