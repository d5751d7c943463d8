#pragma once

namespace Zyn {
namespace Services {

// Observer of the cloud account's session (see CloudService).
class CloudServiceProtocol {
public:
    virtual ~CloudServiceProtocol() = default;
    virtual void onUserLogIn() {}
    virtual void onUserLogOut() {}
};

} // namespace Services
} // namespace Zyn
