#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/model/GcpInfo.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

namespace Zyn {
namespace AppGcp {

// The two files in the layout open-source processing engines read for
// ground control: the system on the first line, then one row per marker,
// "x y z pixel_x pixel_y image_name point_name".
struct GcpListFiles {
    QByteArray controlPoints; // gcp_list.txt
    QByteArray checkpoints;   // checkpoint_list.txt
    QString error;            // why they could not be made
};

// Points read from that layout.
struct GcpListParse {
    bool recognized = false;  // the text is in this layout
    QString systemText;       // the first line naming the system, if any
    QString systemCode;       // its catalogue code ("EPSG:32611"), when known
    GcpList gcps;             // one per point, in order of first appearance
    MarkerMap markersByName;  // images by file name, as the file has them
    int rows = 0;
};

class GcpListFile {
    Q_DECLARE_TR_FUNCTIONS(Zyn::AppGcp::GcpListFile)
public:
    // Reads text in the engines' layout: an optional first line naming the
    // system (EPSG:<code>, a PROJ string, "WGS84 UTM 32N"), then rows
    // "x y z pixel_x pixel_y image_name [point_name ...]" separated by tabs
    // or runs of spaces. Rows of one point (one per photo) make one point
    // with several markers; rows without a name are grouped by coordinates.
    // Not recognized when any data row does not have this shape.
    static GcpListParse parse(const QString& text);
    // The catalogue code of a system line; empty when it cannot be told.
    static QString systemCodeOf(const QString& line);
    // The record of a catalogue code; not valid when the code is unknown.
    static AppCreate::GcpCoordSysInfo coordSysOf(const QString& code);
    // The first line for a system: "EPSG:<code>", else its PROJ string.
    static QString systemLine(const AppCreate::GcpCoordSysInfo& coordSys);
    static GcpListFiles format(const GcpList& gcps, const MarkerMap& markersByName,
                               const AppCreate::GcpCoordSysInfo& coordSys);
};

} // namespace AppGcp
} // namespace Zyn
