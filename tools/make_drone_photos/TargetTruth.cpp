#include "TargetTruth.h"

#include <QDir>
#include <QFile>

namespace Zyn {
namespace Tools {

namespace {
QStringList lines(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
} // namespace

QHash<QString, QPointF> TargetTruth::pixelsOf(const QString& point) const
{
    QHash<QString, QPointF> out;
    for (const TruthPixel& p : pixels)
        if (p.point == point)
            out.insert(p.image, p.pixel);
    return out;
}

TargetTruth readTargetTruth(const QString& dir)
{
    TargetTruth truth;
    const QDir d(dir);
    const QStringList crs = lines(d.filePath(QStringLiteral("gcp_truth_crs.txt")));
    const QStringList points = lines(d.filePath(QStringLiteral("gcp_truth.txt")));
    const QStringList pixels = lines(d.filePath(QStringLiteral("gcp_pixels.csv")));
    if (crs.isEmpty() || points.size() < 2 || pixels.isEmpty())
        return truth;
    for (const QString& line : points.mid(1)) {
        const QStringList f = line.split(QLatin1Char('\t'));
        if (f.size() >= 4)
            truth.points.push_back({f.at(0), f.at(1).toDouble(), f.at(2).toDouble(), f.at(3).toDouble()});
    }
    for (const QString& line : pixels.mid(1)) {
        const QStringList f = line.split(QLatin1Char(','));
        if (f.size() >= 4)
            truth.pixels.push_back({f.at(0), f.at(1), QPointF(f.at(2).toDouble(), f.at(3).toDouble())});
    }
    truth.crs = crs.first().trimmed();
    return truth;
}

} // namespace Tools
} // namespace Zyn
