#include "GcpColor.h"

#include <QByteArray>

#include <cmath>

namespace Zyn {
namespace AppGcp {

QColor gcpColorForName(const QString& name)
{
    // A hue on the golden-angle wheel from the name. A trailing number steps
    // along the wheel, so the points of one survey ("GCP1", "GCP2", "GCP3")
    // never share a hue; the rest of the name is hashed (FNV-1a over its
    // UTF-8 bytes). Bright, saturated colours stay readable over photos and
    // behind dark text.
    int digits = 0;
    while (digits < 9 && digits < name.size() && name.at(name.size() - 1 - digits).isDigit())
        ++digits;
    const QString prefix = name.left(name.size() - digits);
    quint32 hash = 2166136261u;
    for (const char byte : prefix.toUtf8()) {
        hash ^= quint8(byte);
        hash *= 16777619u;
    }
    const quint32 index = hash % 1000 + (digits > 0 ? name.right(digits).toUInt() : 0u);
    const double hue = std::fmod(index * 0.618033988749895, 1.0);
    return QColor::fromHsvF(hue, 0.75, 0.98);
}

QColor gcpColor(const GcpInfo& gcp)
{
    return gcp.colour.isValid() ? gcp.colour : gcpColorForName(gcp.name);
}

} // namespace AppGcp
} // namespace Zyn
