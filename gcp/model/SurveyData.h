#pragma once

#include <gcp/model/GcpInfo.h>

#include <coordsys/GcpCoordSysInfo.h>

class QIODevice;

namespace Zyn {
namespace AppGcp {

// Writes the survey document to a device already open for writing. GCPs
// are written in key order with the markers found under their names; with
// inLL84 the coordinates are converted to WGS 84 longitude/latitude/height
// and the root names "LL84". The caller closes the device (and, to notice
// a failed write, checks it: this function reports nothing).
void writeSurveyData(QIODevice* device, const MarkerMap& markersByName, const GcpMap& gcps,
                     const AppCreate::GcpCoordSysInfo& coordSys, bool inLL84);

// Reads a survey document from a device open for reading. Appends one
// record per marker element to `gcps`, files its photo markers under the
// record's fresh id in `markers`, and sets the members of `coordSys` whose
// attributes are present. Never fails: a foreign or broken document yields
// what could be read before the problem. Always answers true.
bool readSurveyData(QIODevice* device, MarkerMap& markers, GcpList& gcps, AppCreate::GcpCoordSysInfo& coordSys);

} // namespace AppGcp
} // namespace Zyn
