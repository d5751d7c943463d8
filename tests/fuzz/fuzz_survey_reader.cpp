// Survey files come from users' disks and other tools: the reader must
// survive any bytes, and what it reads must write and read back the same.
#include <gcp/model/SurveyData.h>

#include <QBuffer>
#include <QByteArray>

#include <cstdint>
#include <cstdlib>

using namespace Zyn::AppGcp;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    MarkerMap markers;
    GcpList gcps;
    Zyn::AppCreate::GcpCoordSysInfo coordSys;
    if (!readSurveyData(&buffer, markers, gcps, coordSys))
        abort();

    // Every marker belongs to a record read.
    int markerCount = 0;
    for (const GcpInfo& gcp : gcps)
        markerCount += markers.value(gcp.id).size();
    int total = 0;
    for (const auto& list : markers)
        total += list.size();
    if (total != markerCount)
        abort();

    // Names the writer can express survive a write and a read. (Names are
    // keys of the writer's map, so only distinct ones are checked.)
    GcpMap byName;
    for (const GcpInfo& gcp : gcps)
        byName.insert(gcp.name, gcp);
    QByteArray written;
    QBuffer out(&written);
    out.open(QIODevice::WriteOnly);
    coordSys.code.clear(); // no coordinate transform, no GIS lookup
    writeSurveyData(&out, markersByName(gcps, markers), byName, coordSys, false);
    out.close();
    QBuffer in(&written);
    in.open(QIODevice::ReadOnly);
    MarkerMap markers2;
    GcpList gcps2;
    Zyn::AppCreate::GcpCoordSysInfo coordSys2;
    readSurveyData(&in, markers2, gcps2, coordSys2);
    if (gcps2.size() != byName.size())
        abort();
    return 0;
}
