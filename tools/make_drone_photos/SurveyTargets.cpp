#include "SurveyTargets.h"

#include <opencv2/aruco.hpp>

#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace Tools {

namespace {
QTransform toImage(const QSize& image, const GroundView& view)
{
    // Image right is the heading turned 90 degrees clockwise, image up is the heading.
    const double theta = view.headingDeg * 3.14159265358979323846 / 180.0;
    const double c = std::cos(theta) / view.metresPerPixel;
    const double s = std::sin(theta) / view.metresPerPixel;
    return QTransform(c, -s, -s, -c, image.width() / 2.0 - (view.east * c - view.north * s),
                      image.height() / 2.0 + (view.east * s + view.north * c));
}
} // namespace

std::vector<SurveyTarget> placeTargets(int n, const FlightPlan& plan, std::uint32_t seed)
{
    std::vector<SurveyTarget> targets;
    if (plan.stations.empty())
        return targets;
    double east0 = plan.stations.front().east, east1 = east0, north0 = plan.stations.front().north, north1 = north0;
    for (const PhotoStation& s : plan.stations) {
        east0 = std::min(east0, s.east);
        east1 = std::max(east1, s.east);
        north0 = std::min(north0, s.north);
        north1 = std::max(north1, s.north);
    }
    // Inside the block, so that several photos show each target.
    const double marginE = std::min(plan.footprintWidth * 0.25, (east1 - east0) * 0.2);
    const double marginN = std::min(plan.footprintHeight * 0.25, (north1 - north0) * 0.2);
    for (int i = 0; i < n; ++i) {
        const std::uint32_t h = hash3(i, 17, seed ^ 0x7A76E75u);
        const double u = ((h & 0xFFFF) / 65535.0), v = (((h >> 16) & 0xFFFF) / 65535.0);
        SurveyTarget t;
        t.id = i + 1;
        t.name = QStringLiteral("GCP%1").arg(t.id);
        t.east = east0 + marginE + u * std::max(0.0, east1 - east0 - 2 * marginE);
        t.north = north0 + marginN + v * std::max(0.0, north1 - north0 - 2 * marginN);
        targets.push_back(t);
    }
    return targets;
}

QPointF groundToImage(const QSize& image, const GroundView& view, double east, double north)
{
    return toImage(image, view).map(QPointF(east, north));
}

void paintTargets(QImage& image, const GroundView& view, const std::vector<SurveyTarget>& targets, double metres,
                  bool coded)
{
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(Qt::NoPen);
    p.setTransform(toImage(image.size(), view));
    const double h = metres / 2.0;
    for (const SurveyTarget& t : targets) {
        const QPointF c(t.east, t.north);
        p.setBrush(Qt::white);
        p.drawRect(QRectF(c - QPointF(h * 1.5, h * 1.5), QSizeF(metres * 1.5, metres * 1.5)));
        p.setBrush(QColor(20, 20, 20));
        if (!coded) {
            p.drawRect(QRectF(c, QSizeF(h, h)));                 // north-east
            p.drawRect(QRectF(c - QPointF(h, h), QSizeF(h, h))); // south-west
            continue;
        }
        cv::Mat bits;
        cv::aruco::drawMarker(cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_250), t.id, 6, bits, 1);
        const double cell = metres / 6.0;
        // The marker's top row lies to the north.
        for (int row = 0; row < 6; ++row)
            for (int col = 0; col < 6; ++col)
                if (bits.at<uchar>(row, col) < 128)
                    p.drawRect(QRectF(t.east - h + col * cell, t.north + h - (row + 1) * cell, cell, cell));
    }
}

} // namespace Tools
} // namespace Zyn
