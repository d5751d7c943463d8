#include "GcpColor.h"

#include <QByteArray>

#include <cmath>

namespace Zyn {
namespace AppGcp {

QColor gcpColorForName(const QString& name)
{
    // FNV-1a over the bytes, then a hue on the golden-ratio wheel: similar
    // names ("GCP1", "GCP2") land far apart. Bright, saturated colours stay
    // readable over photos and behind dark text.
    quint32 hash = 2166136261u;
    for (const char byte : name.toUtf8()) {
        hash ^= quint8(byte);
        hash *= 16777619u;
    }
    const double hue = std::fmod((hash % 1000) * 0.618033988749895, 1.0);
    return QColor::fromHsvF(hue, 0.75, 0.98);
}

QColor gcpColor(const GcpInfo& gcp)
{
    return gcp.colour.isValid() ? gcp.colour : gcpColorForName(gcp.name);
}

} // namespace AppGcp
} // namespace Zyn
