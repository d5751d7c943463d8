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

class GcpListFile {
    Q_DECLARE_TR_FUNCTIONS(Zyn::AppGcp::GcpListFile)
public:
    // The first line for a system: "EPSG:<code>", else its PROJ string.
    static QString systemLine(const AppCreate::GcpCoordSysInfo& coordSys);
    static GcpListFiles format(const GcpList& gcps, const MarkerMap& markersByName,
                               const AppCreate::GcpCoordSysInfo& coordSys);
};

} // namespace AppGcp
} // namespace Zyn
