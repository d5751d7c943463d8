#pragma once

#include <QImage>
#include <QPointF>
#include <QString>
#include <QVector>

namespace Zyn {
namespace AppGcp {

// A printed coded target found on a photo (4x4 ArUco dictionary, ids 0 to
// 249). The centre is in marker coordinates (pixel (i, j)'s centre at (i, j)).
struct CodedTarget {
    int id = -1;
    QPointF centre;
    double widthPx = 0.0;
};

// Finds the coded targets on a grey photo.
QVector<CodedTarget> detectCodedTargets(const QImage& grey);

// The target id a point's name carries ("12", "GCP12", "T 12", "gcp-012");
// -1 when it carries none or more than one number.
int codedTargetIdOfName(const QString& name);

} // namespace AppGcp
} // namespace Zyn
