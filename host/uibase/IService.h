#pragma once

namespace Tarn {
namespace Core {

// Root of the host's service interfaces: anything the host loads and keeps
// for the process lifetime (applications, services) is an IService.
class IService {
public:
    virtual ~IService() = default;
};

} // namespace Core
} // namespace Tarn
