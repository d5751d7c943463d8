#include "CodedTargets.h"

#include <opencv2/aruco.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace AppGcp {

namespace {
cv::Ptr<cv::aruco::Dictionary> dictionary()
{
    return cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_250);
}

// Where the lines through opposite corners meet.
QPointF diagonalsMeet(const std::vector<cv::Point2f>& c)
{
    const QPointF a(c[0].x, c[0].y), b(c[2].x, c[2].y), p(c[1].x, c[1].y), q(c[3].x, c[3].y);
    const QPointF r = b - a, s = q - p;
    const double cross = r.x() * s.y() - r.y() * s.x();
    if (std::abs(cross) < 1e-9)
        return (a + b + p + q) / 4.0;
    const QPointF d = p - a;
    const double t = (d.x() * s.y() - d.y() * s.x()) / cross;
    return a + r * t;
}
} // namespace

QVector<CodedTarget> detectCodedTargets(const QImage& grey)
{
    QVector<CodedTarget> found;
    if (grey.isNull() || grey.format() != QImage::Format_Grayscale8)
        return found;
    const cv::Mat image(grey.height(), grey.width(), CV_8UC1, const_cast<uchar*>(grey.constBits()),
                        size_t(grey.bytesPerLine()));
    cv::Ptr<cv::aruco::DetectorParameters> parameters = cv::aruco::DetectorParameters::create();
    parameters->cornerRefinementMethod = cv::aruco::CORNER_REFINE_SUBPIX;
    // A wrong id is worse than a missed target: no bit corrected.
    parameters->errorCorrectionRate = 0.0;
    // Targets from 20 px wide on any photo size (the default scales the
    // smallest with the photo: 41 px on a 20 MP frame).
    parameters->minMarkerPerimeterRate = 4 * 20.0 / std::max(grey.width(), grey.height());
    std::vector<int> ids;
    std::vector<std::vector<cv::Point2f>> corners;
    cv::aruco::detectMarkers(image, dictionary(), corners, ids, parameters);
    for (size_t i = 0; i < ids.size(); ++i) {
        // A target cut by the photo's edge can read as another id.
        bool clear = true;
        for (const cv::Point2f& c : corners[i])
            clear = clear && c.x >= 2 && c.y >= 2 && c.x <= grey.width() - 3 && c.y <= grey.height() - 3;
        if (!clear)
            continue;
        // Printed targets are black on white; crop rows and shadows that
        // happen to threshold into a square are not.
        const cv::Rect box = cv::boundingRect(corners[i]) & cv::Rect(0, 0, image.cols, image.rows);
        cv::Mat inside(box.size(), CV_8UC1, cv::Scalar(0));
        std::vector<cv::Point> quad;
        for (const cv::Point2f& c : corners[i])
            quad.emplace_back(int(std::lround(c.x)) - box.x, int(std::lround(c.y)) - box.y);
        cv::fillConvexPoly(inside, quad, cv::Scalar(255));
        cv::Scalar mean, deviation;
        cv::meanStdDev(image(box), mean, deviation, inside);
        if (deviation[0] < 40.0)
            continue;
        CodedTarget t;
        t.id = ids[i];
        t.centre = diagonalsMeet(corners[i]);
        t.widthPx = (cv::norm(corners[i][0] - corners[i][1]) + cv::norm(corners[i][1] - corners[i][2])
                     + cv::norm(corners[i][2] - corners[i][3]) + cv::norm(corners[i][3] - corners[i][0]))
                    / 4.0;
        found << t;
    }
    return found;
}

int codedTargetIdOfName(const QString& name)
{
    static const QRegularExpression pattern(QStringLiteral("^\\s*[A-Za-z_\\- ]*?\\s*0*(\\d{1,3})\\s*$"));
    const QRegularExpressionMatch m = pattern.match(name);
    if (!m.hasMatch())
        return -1;
    const int id = m.captured(1).toInt();
    return id < 250 ? id : -1;
}

} // namespace AppGcp
} // namespace Zyn
