#pragma once

namespace Zyn {
namespace Services {

// Observer told once, on the GUI thread, that the host is about to quit
// (see ApplicationService::shutdown), while every service still works.
class ShutdownProtocol {
public:
    virtual ~ShutdownProtocol() = default;
    virtual void onShutdown() {}
};

} // namespace Services
} // namespace Zyn
