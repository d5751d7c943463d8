#include "GcpCoordSysInfo.h"

#include <QStringList>

#include <utilities/QtCompat.h>

namespace Zyn {
namespace AppCreate {

const char* const GCP_COORD_SYS_SEPARATOR = "##";
const char* const LL84_COORD_SYS_TEXT = "LL84##Latitude-Longitude-Altitude##4326##1001##WGS84##2";
const char* const ECEF_COORD_SYS_RECORD_TEXT = "ECEF##Earth-Centered Earth-Fixed####1####0";

namespace {
const int registered = qRegisterMetaType<GcpCoordSysInfo>("Zyn::AppCreate::GcpCoordSysInfo");
// Signals declared inside the namespace name the type unqualified.
const int registeredShort = qRegisterMetaType<GcpCoordSysInfo>("GcpCoordSysInfo");
}

GcpCoordSysInfo::GcpCoordSysInfo(const QString& code, const QString& description, QString epsg, qint32 unit,
                                 const QString& datum, qint32 systemType)
    : code(code), description(description), epsg(std::move(epsg)), unit(unit), datum(datum), systemType(systemType)
{
}

QString GcpCoordSysInfo::toText() const
{
    const QString sep = QString::fromLatin1(GCP_COORD_SYS_SEPARATOR);
    return QStringList{code, description, epsg, QString::number(unit), datum, QString::number(systemType)}.join(sep);
}

GcpCoordSysInfo GcpCoordSysInfo::fromText(const QString& text)
{
    const QString sep = QString::fromLatin1(GCP_COORD_SYS_SEPARATOR);
    QStringList parts = text.split(sep, Compat::KeepEmptyParts, Qt::CaseSensitive);
    if (parts.size() != 6)
        parts = QString::fromLatin1(LL84_COORD_SYS_TEXT).split(sep, Compat::KeepEmptyParts, Qt::CaseSensitive);
    // toInt answers 0 for text that is not a base-10 number.
    return GcpCoordSysInfo(parts[0], parts[1], parts[2], parts[3].toInt(nullptr, 10), parts[4],
                           parts[5].toInt(nullptr, 10));
}

GcpCoordSysInfo GcpCoordSysInfo::ll84()
{
    return fromText(QString::fromLatin1(LL84_COORD_SYS_TEXT));
}

GcpCoordSysInfo GcpCoordSysInfo::ecef()
{
    return fromText(QString::fromLatin1(ECEF_COORD_SYS_RECORD_TEXT));
}

bool GcpCoordSysInfo::operator==(const GcpCoordSysInfo& o) const
{
    return code == o.code && description == o.description && epsg == o.epsg && unit == o.unit && datum == o.datum
        && systemType == o.systemType;
}

} // namespace AppCreate
} // namespace Zyn
