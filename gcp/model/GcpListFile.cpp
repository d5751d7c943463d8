#include "GcpListFile.h"

#include <spatialreference/SpatialReference.h>

#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <cmath>

namespace Zyn {
namespace AppGcp {

namespace {
// Names with spaces would split the row; engines read the name as one field.
QString field(const QString& text)
{
    QString out = text.trimmed();
    out.replace(QRegularExpression(QStringLiteral("\\s+")), QStringLiteral("_"));
    return out;
}

QByteArray rows(const GcpList& gcps, const MarkerMap& markers, bool checkpoints, const QString& header)
{
    QString text = header + QLatin1Char('\n');
    for (const GcpInfo& gcp : gcps) {
        if (gcp.checkpoint != checkpoints)
            continue;
        for (const GcpMarker& marker : markers.value(gcp.name)) {
            text += QStringLiteral("%1 %2 %3 %4 %5 %6 %7\n")
                        .arg(QString::number(gcp.coord1, 'f', 9), QString::number(gcp.coord2, 'f', 9),
                             QString::number(gcp.coord3, 'f', 4), QString::number(marker.pixel.x()),
                             QString::number(marker.pixel.y()), field(QFileInfo(marker.image).fileName()),
                             field(gcp.name));
        }
    }
    return text.toUtf8();
}
} // namespace

QString GcpListFile::systemCodeOf(const QString& line)
{
    const QString text = line.trimmed();
    static const QRegularExpression epsg(QStringLiteral("^EPSG:\\s*(\\d+)$"),
                                         QRegularExpression::CaseInsensitiveOption);
    QRegularExpressionMatch m = epsg.match(text);
    if (m.hasMatch())
        return QStringLiteral("EPSG:") + m.captured(1);
    // "WGS84 UTM 32N", "WGS 84 / UTM zone 32S"
    static const QRegularExpression named(QStringLiteral("^WGS\\s*84\\s*/?\\s*UTM\\s*(?:zone\\s*)?(\\d{1,2})\\s*([NS])$"),
                                          QRegularExpression::CaseInsensitiveOption);
    m = named.match(text);
    if (m.hasMatch()) {
        const int zone = m.captured(1).toInt();
        if (zone >= 1 && zone <= 60)
            return QStringLiteral("EPSG:%1").arg((m.captured(2).toUpper() == QLatin1String("N") ? 32600 : 32700) + zone);
    }
    // "+proj=utm +zone=11 +datum=WGS84 +units=m +no_defs", "+south" for the south
    if (text.startsWith(QLatin1String("+proj=utm"))) {
        static const QRegularExpression zoneRe(QStringLiteral("\\+zone=(\\d{1,2})"));
        m = zoneRe.match(text);
        const bool wgs84 = text.contains(QLatin1String("+datum=WGS84")) || text.contains(QLatin1String("+ellps=WGS84"));
        if (m.hasMatch() && wgs84) {
            const int zone = m.captured(1).toInt();
            if (zone >= 1 && zone <= 60)
                return QStringLiteral("EPSG:%1").arg((text.contains(QLatin1String("+south")) ? 32700 : 32600) + zone);
        }
    }
    return QString();
}

GcpListParse GcpListFile::parse(const QString& text)
{
    GcpListParse result;
    static const QRegularExpression space(QStringLiteral("\\s+"));
    QStringList lines = text.split(QRegularExpression(QStringLiteral("\\r\\n|\\r|\\n")), Qt::SkipEmptyParts);
    QHash<QString, int> pointOf; // name (or coordinates) -> index in gcps
    bool first = true;
    for (const QString& raw : lines) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const QStringList f = line.split(space, Qt::SkipEmptyParts);
        double v[5] = {0, 0, 0, 0, 0};
        bool numeric = f.size() >= 6;
        for (int i = 0; numeric && i < 5; ++i)
            v[i] = f.at(i).toDouble(&numeric);
        if (!numeric) {
            // Only the first line may name the system.
            if (!first)
                return GcpListParse();
            result.systemText = line;
            result.systemCode = systemCodeOf(line);
            first = false;
            continue;
        }
        first = false;
        const QString image = f.at(5);
        const QString name = f.size() > 6 ? f.at(6) : QString();
        const QString key = name.isEmpty() ? QStringLiteral("%1 %2 %3").arg(v[0], 0, 'g', 15).arg(v[1], 0, 'g', 15).arg(v[2], 0, 'g', 15)
                                           : name;
        int index = pointOf.value(key, -1);
        if (index < 0) {
            GcpInfo gcp;
            gcp.name = name;
            gcp.coord1 = v[0];
            gcp.coord2 = v[1];
            gcp.coord3 = v[2];
            index = result.gcps.size();
            result.gcps << gcp;
            pointOf.insert(key, index);
        }
        result.markersByName[key] << GcpMarker{QString(), image, QPoint(int(std::floor(v[3])), int(std::floor(v[4]))), 1};
        ++result.rows;
    }
    if (result.rows == 0)
        return GcpListParse();
    // Points without a name get the table's default names.
    QStringList names;
    for (const GcpInfo& gcp : qAsConst(result.gcps))
        if (!gcp.name.isEmpty())
            names << gcp.name;
    DefaultGcpNameGenerator generator(names);
    MarkerMap byName;
    for (GcpInfo& gcp : result.gcps) {
        const QString key = gcp.name.isEmpty() ? QStringLiteral("%1 %2 %3").arg(gcp.coord1, 0, 'g', 15).arg(gcp.coord2, 0, 'g', 15).arg(gcp.coord3, 0, 'g', 15)
                                               : gcp.name;
        if (gcp.name.isEmpty())
            gcp.name = generator.next();
        byName.insert(gcp.name, result.markersByName.value(key));
    }
    result.markersByName = byName;
    result.recognized = true;
    return result;
}

AppCreate::GcpCoordSysInfo GcpListFile::coordSysOf(const QString& code)
{
    auto* d = SpatialReference::CoordinateReferenceSystemDefinition::Create(code);
    if (!d)
        return {};
    const AppCreate::GcpCoordSysInfo info(d->code(), d->description(), d->epsg(), int(d->unit()), d->datum(), d->type());
    d->Destroy();
    return info;
}

QString GcpListFile::systemLine(const AppCreate::GcpCoordSysInfo& coordSys)
{
    if (!coordSys.epsg.trimmed().isEmpty())
        return QStringLiteral("EPSG:") + coordSys.epsg.trimmed();
    auto* definition = SpatialReference::CoordinateReferenceSystemDefinition::Create(coordSys.code);
    if (!definition)
        return QString();
    const QString proj = definition->projString();
    definition->Destroy();
    return proj;
}

GcpListFiles GcpListFile::format(const GcpList& gcps, const MarkerMap& markersByName,
                                 const AppCreate::GcpCoordSysInfo& coordSys)
{
    GcpListFiles files;
    const QString header = systemLine(coordSys);
    if (header.isEmpty()) {
        files.error = tr("The coordinate system \"%1\" has neither an EPSG code nor a PROJ description, so the "
                         "control points cannot be written for processing.")
                          .arg(coordSys.description.isEmpty() ? coordSys.code : coordSys.description);
        return files;
    }
    files.controlPoints = rows(gcps, markersByName, false, header);
    files.checkpoints = rows(gcps, markersByName, true, header);
    return files;
}

} // namespace AppGcp
} // namespace Zyn
