#pragma once

#include <QDomDocument>
#include <QString>

namespace Zyn {
namespace Xml {

// Loads an XML file into doc. A relative name is looked up in the host's
// data directory (Utilities::dataDirectory()). On failure answers false and,
// when errorMessage is given, says why (file missing, unreadable, or the
// parse error with its line and column).
bool loadXml(const QString& fileName, QDomDocument& doc, QString* errorMessage = nullptr);

} // namespace Xml
} // namespace Zyn
