#pragma once

#include <gcp/model/GcpInfo.h>

#include <QColor>
#include <QString>

namespace Zyn {
namespace AppGcp {

// The colour a point is drawn in everywhere (table, markers, magnifier,
// thumbnails, map): its own colour when set, else one derived from the
// UTF-8 bytes of its name, so a name always gets the same, distinct colour.
QColor gcpColor(const GcpInfo& gcp);
QColor gcpColorForName(const QString& name);

} // namespace AppGcp
} // namespace Zyn
