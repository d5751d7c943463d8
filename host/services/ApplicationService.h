#pragma once

#include <memory>

namespace Zyn {
namespace Services {

class ConfigManager;

// The host's root service. GetInstance() creates it on first use.
class ApplicationService {
public:
    static ApplicationService* GetInstance();

    // Configuration file: <user config folder>/zynphoto/zynphoto.ini
    // (ZYN_CONFIG_FILE overrides the path).
    ConfigManager* GetConfigManager();

private:
    ApplicationService();
    ~ApplicationService();
    std::unique_ptr<ConfigManager> m_config;
};

} // namespace Services
} // namespace Zyn
