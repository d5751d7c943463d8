#include "ViewResponder.h"

#include <QSet>

namespace Zyn {
namespace UiBase {

ViewResponder* ViewResponder::sendAction(const QString& action)
{
    // A chain that loops back on itself must not hang the caller.
    QSet<ViewResponder*> seen;
    for (ViewResponder* r = this; r && !seen.contains(r); r = r->nextResponder()) {
        seen.insert(r);
        if (r->respondToAction(action))
            return r;
    }
    return nullptr;
}

} // namespace UiBase
} // namespace Zyn
