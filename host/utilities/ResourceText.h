#pragma once

#include <QCoreApplication>
#include <QString>

namespace Zyn {
namespace Resource {

// A host resource text. Translated when it is used, so constants can be
// defined before the translators are installed.
struct ResourceText {
    const char* source;
    bool translatable;

    QString toString() const
    {
        return translatable ? QCoreApplication::translate("Zyn::Resource::String", source)
                            : QString::fromUtf8(source);
    }
    operator QString() const { return toString(); }
};

} // namespace Resource
} // namespace Zyn
