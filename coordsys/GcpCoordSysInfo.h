#pragma once

#include <QMetaType>
#include <QString>

namespace Zyn {
namespace AppCreate {

// One coordinate system, as every part of the program names it.
struct GcpCoordSysInfo {
    QString code;
    QString description;
    QString epsg;
    qint32 unit = 0;
    QString datum;
    qint32 systemType = 0;

    GcpCoordSysInfo() = default;
    GcpCoordSysInfo(const QString& code, const QString& description, QString epsg, qint32 unit,
                    const QString& datum, qint32 systemType);
    GcpCoordSysInfo(const GcpCoordSysInfo&) = default;
    GcpCoordSysInfo(GcpCoordSysInfo&&) = default;
    GcpCoordSysInfo& operator=(const GcpCoordSysInfo&) = default;
    GcpCoordSysInfo& operator=(GcpCoordSysInfo&&) = default;

    bool isValid() const { return !code.isEmpty(); }

    // The six members joined with "##".
    QString toText() const;
    // Parses the text form; a text that does not have exactly six parts
    // gives the LL84 record.
    static GcpCoordSysInfo fromText(const QString& text);

    static GcpCoordSysInfo ll84();
    static GcpCoordSysInfo ecef();

    bool operator==(const GcpCoordSysInfo& other) const;
    bool operator!=(const GcpCoordSysInfo& other) const { return !(*this == other); }
};

extern const char* const GCP_COORD_SYS_SEPARATOR;     // "##"
extern const char* const LL84_COORD_SYS_TEXT;         // text form of the LL84 record
extern const char* const ECEF_COORD_SYS_RECORD_TEXT;  // text form of the ECEF record

} // namespace AppCreate
} // namespace Zyn

Q_DECLARE_METATYPE(Zyn::AppCreate::GcpCoordSysInfo)
