#include "GcpInfo.h"

#include <QRandomGenerator>
#include <QUuid>

namespace Zyn {
namespace AppGcp {

namespace {

// A random (version 4) UUID. QUuid::createUuid draws on the CPU's hardware
// generator, which costs microseconds per call on some machines; ids only
// need to be unique within a session (they are never saved), so the
// system-seeded global generator is enough and keeps large pastes fast.
QString freshId()
{
    quint32 w[4];
    QRandomGenerator::global()->fillRange(w);
    const QUuid uuid(w[0], quint16(w[1]), quint16((w[1] >> 16 & 0x0FFF) | 0x4000), uchar((w[2] & 0x3F) | 0x80),
                     uchar(w[2] >> 8), uchar(w[2] >> 16), uchar(w[2] >> 24), uchar(w[3]), uchar(w[3] >> 8),
                     uchar(w[3] >> 16), uchar(w[3] >> 24));
    return uuid.toString();
}

QString candidateName(int n)
{
    return QStringLiteral("GCP%1").arg(n);
}
} // namespace

GcpInfo::GcpInfo() : id(freshId()) {}

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

QStringList makeNamesUnique(GcpList& gcps)
{
    QSet<QString> taken;
    for (const GcpInfo& gcp : gcps)
        taken.insert(gcp.name.toCaseFolded());
    QSet<QString> seen;
    QStringList renamed;
    for (GcpInfo& gcp : gcps) {
        const QString key = gcp.name.toCaseFolded();
        if (!seen.contains(key)) {
            seen.insert(key);
            continue;
        }
        QString candidate;
        for (int n = 2;; ++n) {
            candidate = QStringLiteral("%1 (%2)").arg(gcp.name).arg(n);
            if (!taken.contains(candidate.toCaseFolded()))
                break;
        }
        renamed << QStringLiteral("%1 -> %2").arg(gcp.name, candidate);
        gcp.name = candidate;
        taken.insert(candidate.toCaseFolded());
        seen.insert(candidate.toCaseFolded());
    }
    return renamed;
}

} // namespace AppGcp
} // namespace Zyn
