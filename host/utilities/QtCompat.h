#pragma once

#include <QString>
#include <QtGlobal>

// Split behaviour names across Qt 5.12 (QString::) and 5.14+ (Qt::).
namespace Zyn {
namespace Compat {
#if QT_VERSION >= QT_VERSION_CHECK(5, 14, 0)
constexpr auto KeepEmptyParts = Qt::KeepEmptyParts;
constexpr auto SkipEmptyParts = Qt::SkipEmptyParts;
#else
constexpr auto KeepEmptyParts = QString::KeepEmptyParts;
constexpr auto SkipEmptyParts = QString::SkipEmptyParts;
#endif
} // namespace Compat
} // namespace Zyn
