#pragma once

#include <QHash>
#include <QPointF>
#include <QString>
#include <QVector>

namespace Zyn {
namespace Tools {

// The truth files written beside a flight with targets, read back for
// tests and benchmarks.
struct TruthPoint {
    QString name;
    double x = 0.0, y = 0.0, z = 0.0; // in the system of gcp_truth_crs.txt
};

struct TruthPixel {
    QString image; // file name
    QString point;
    QPointF pixel; // (0, 0) is the top-left corner of the first pixel
};

struct TargetTruth {
    QString crs;
    QVector<TruthPoint> points;
    QVector<TruthPixel> pixels;

    // The pixels of a point, keyed by file name.
    QHash<QString, QPointF> pixelsOf(const QString& point) const;
};

// Empty crs on failure.
TargetTruth readTargetTruth(const QString& dir);

} // namespace Tools
} // namespace Zyn
