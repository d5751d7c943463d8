#include "CloudService.h"

#include "ApplicationService.h"
#include "ConfigManager.h"

#include <keelcore/Dispatch.h>
#include <utilities/Constants.h>

namespace Zyn {
namespace Services {

CloudService* CloudService::GetInstance()
{
    static CloudService instance;
    return &instance;
}

void CloudService::getAvailableCloudCredits(std::function<void(QList<int>)> callback)
{
    if (!callback)
        return;
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [callback = std::move(callback)] {
        ConfigManager* config = ApplicationService::GetInstance()->GetConfigManager();
        callback(config->getIntList(QLatin1String(Utilities::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS)));
    });
}

void CloudService::setUserLoggedIn(bool loggedIn)
{
    if (loggedIn == m_loggedIn)
        return;
    m_loggedIn = loggedIn;
    broadcast([loggedIn](CloudServiceProtocol* observer) {
        if (loggedIn)
            observer->onUserLogIn();
        else
            observer->onUserLogOut();
    });
}

bool CloudService::isUserLoggedIn() const
{
    return m_loggedIn;
}

} // namespace Services
} // namespace Zyn
