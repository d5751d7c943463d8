#include "ApplicationService.h"

#include "ConfigManager.h"

#include <QDir>
#include <QStandardPaths>

namespace Zyn {
namespace Services {

ApplicationService* ApplicationService::GetInstance()
{
    static ApplicationService instance;
    return &instance;
}

ApplicationService::ApplicationService()
    : m_config(std::make_unique<ConfigManager>(defaultConfigFilePath()))
{
}

ApplicationService::~ApplicationService() = default;

QString ApplicationService::defaultConfigFilePath()
{
    const QString forced = qEnvironmentVariable("ZYN_CONFIG_FILE");
    if (!forced.isEmpty())
        return QDir::cleanPath(forced);
    // The generic folder rather than the per-application one, so the path
    // does not depend on the names the host sets at start-up.
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.config");
    return QDir::cleanPath(base + QStringLiteral("/zynphoto/zynphoto.ini"));
}

ConfigManager* ApplicationService::GetConfigManager()
{
    return m_config.get();
}

void ApplicationService::shutdown()
{
    if (m_shutDown)
        return;
    m_shutDown = true;
    broadcast([](ShutdownProtocol* observer) { observer->onShutdown(); });
    m_config->sync();
}

} // namespace Services
} // namespace Zyn
