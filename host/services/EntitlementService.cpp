#include "EntitlementService.h"

#include "ApplicationService.h"
#include "ConfigManager.h"

#include <keelcore/Dispatch.h>
#include <utilities/Constants.h>

#include <limits>

namespace Zyn {
namespace Services {
namespace {

int configuredEntitlementType()
{
    ConfigManager* config = ApplicationService::GetInstance()->GetConfigManager();
    const int type = config->getInt(QLatin1String(Utilities::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE), -1);
    if (type >= 0)
        return type;
    // An account with credits but no explicit type pays with those credits.
    if (!config->getIntList(QLatin1String(Utilities::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS)).isEmpty())
        return EntitlementService::CloudCreditsAccount;
    return EntitlementService::SelfHostedProcessing;
}

} // namespace

EntitlementService* EntitlementService::GetInstance()
{
    static EntitlementService instance;
    return &instance;
}

int EntitlementService::currentEntitlementType()
{
    return configuredEntitlementType();
}

void EntitlementService::getEntitlementType(std::function<void(int type)> callback)
{
    if (!callback)
        return;
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated,
                            [callback = std::move(callback)] { callback(configuredEntitlementType()); });
}

void EntitlementService::queryCloudCreditsForPhotoCount(int photoCount, std::function<void(int credits)> callback)
{
    if (!callback)
        return;
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [photoCount, callback = std::move(callback)] {
        ConfigManager* config = ApplicationService::GetInstance()->GetConfigManager();
        const int rate = config->getInt(QLatin1String(Utilities::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS),
                                        DefaultCreditsPer100Photos);
        callback(requiredCredits(photoCount, rate));
    });
}

int EntitlementService::requiredCredits(int photoCount, int creditsPer100Photos)
{
    if (photoCount <= 0)
        return 0;
    if (creditsPer100Photos < 0)
        creditsPer100Photos = DefaultCreditsPer100Photos;
    const qint64 product = qint64(photoCount) * creditsPer100Photos;
    const qint64 credits = (product + 99) / 100;
    if (credits > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    return credits < 1 ? 1 : int(credits);
}

void EntitlementService::notifyEntitlementChanged()
{
    broadcast([](EntitlementChangedProtocol* observer) { observer->entitlementChanged(); });
}

} // namespace Services
} // namespace Zyn
