#include "SharedObject.h"

namespace KeelCore {

SharedObjectInternal::SharedObjectInternal()
    : m_self(this, [](SharedObjectInternal*) {})
{
}

SharedObjectInternal::~SharedObjectInternal() = default;

} // namespace KeelCore
