#pragma once

#include <keelcore/Broadcaster.h>
#include <services/ShutdownProtocol.h>

#include <QString>

#include <memory>

namespace Zyn {
namespace Services {

class ConfigManager;

// The host's root service. GetInstance() creates it on first use.
class ApplicationService : public KeelCore::Broadcaster<ShutdownProtocol> {
public:
    static ApplicationService* GetInstance();

    // Configuration file: <user config folder>/zynphoto/zynphoto.ini
    // (ZYN_CONFIG_FILE overrides the path).
    ConfigManager* GetConfigManager();

    // Where GetConfigManager() keeps its file, from the environment and the
    // user's configuration folder at the time of the call.
    static QString defaultConfigFilePath();

    // Tells the ShutdownProtocol observers, once, that the host is quitting.
    // GUI thread only.
    void shutdown();

private:
    ApplicationService();
    ~ApplicationService() override;
    std::unique_ptr<ConfigManager> m_config;
    bool m_shutDown = false;
};

} // namespace Services
} // namespace Zyn
