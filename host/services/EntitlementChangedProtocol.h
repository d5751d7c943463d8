#pragma once

namespace Zyn {
namespace Services {

// Observer of the user's entitlement (see EntitlementService).
class EntitlementChangedProtocol {
public:
    virtual ~EntitlementChangedProtocol() = default;
    virtual void entitlementChanged() {}
};

} // namespace Services
} // namespace Zyn
