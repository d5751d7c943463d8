#include "GcpListFile.h"

#include <spatialreference/SpatialReference.h>

#include <QFileInfo>
#include <QRegularExpression>

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
