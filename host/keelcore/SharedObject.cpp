#include "SharedObject.h"

namespace KeelCore {

SharedObjectInternal::SharedObjectInternal()
    : m_self(this, [](SharedObjectInternal*) {})
{
}

SharedObjectInternal::~SharedObjectInternal() = default;

std::weak_ptr<SharedObjectInternal> detail::untrackedToken()
{
    // Never freed, so it outlives every reference, even at exit.
    static const auto* owner = new std::shared_ptr<int>(std::make_shared<int>(0));
    // Aliasing: shares the owner's life, points at nothing.
    return std::shared_ptr<SharedObjectInternal>(*owner, nullptr);
}

} // namespace KeelCore
