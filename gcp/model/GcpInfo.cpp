#include "GcpInfo.h"

#include <QUuid>

namespace Zyn {
namespace AppGcp {

GcpInfo::GcpInfo() : id(QUuid::createUuid().toString()) {}

namespace {
QString candidateName(int n)
{
    return QStringLiteral("GCP%1").arg(n);
}
} // namespace

QString makeDefaultGcpName(QStringList names)
{
    // Candidates only grow, so a name that blocked an earlier candidate can
    // never block a later one: the walk reduces to a set lookup.
    DefaultGcpNameGenerator generator(names);
    return generator.next();
}

DefaultGcpNameGenerator::DefaultGcpNameGenerator(const QStringList& takenNames)
{
    m_taken.reserve(takenNames.size());
    for (const QString& name : takenNames)
        m_taken.insert(name.toCaseFolded());
}

QString DefaultGcpNameGenerator::next()
{
    QString candidate = candidateName(m_next);
    while (m_taken.contains(candidate.toCaseFolded()))
        candidate = candidateName(++m_next);
    m_taken.insert(candidate.toCaseFolded());
    ++m_next;
    return candidate;
}

void DefaultGcpNameGenerator::reserve(const QString& name)
{
    m_taken.insert(name.toCaseFolded());
}

MarkerMap markersByName(const GcpList& gcps, const MarkerMap& markersById)
{
    MarkerMap byName;
    for (const GcpInfo& gcp : gcps) {
        const auto it = markersById.constFind(gcp.id);
        if (it != markersById.constEnd())
            byName[gcp.name] += it.value();
    }
    return byName;
}

GcpMap gcpMapByName(const GcpList& gcps)
{
    GcpMap map;
    for (const GcpInfo& gcp : gcps)
        map.insert(gcp.name, gcp);
    return map;
}

} // namespace AppGcp
} // namespace Zyn
