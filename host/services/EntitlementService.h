#pragma once

#include <keelcore/Broadcaster.h>
#include <services/EntitlementChangedProtocol.h>

#include <functional>

namespace Zyn {
namespace Services {

// What the user's account entitles them to. Answers come asynchronously on
// a host worker thread; callers hop to the GUI thread themselves.
class EntitlementService : public KeelCore::Broadcaster<EntitlementChangedProtocol> {
public:
    enum EntitlementType : int {
        CloudCreditsAccount = 0, // pays per project with cloud credits
        SelfHostedProcessing = 1, // processes on its own machines: no credits
    };
    static constexpr int DefaultCreditsPer100Photos = 10;

    static EntitlementService* GetInstance();

    // The configured entitlement type; SelfHostedProcessing when no account
    // is configured, CloudCreditsAccount when only available credits are.
    void getEntitlementType(std::function<void(int type)> callback);
    // The same, answered at once on the calling thread, for texts that
    // must be right when shown (the dashboard's paid mark, the terms).
    static int currentEntitlementType();

    // Credits a project of photoCount photos costs, by the configured rate.
    void queryCloudCreditsForPhotoCount(int photoCount, std::function<void(int credits)> callback);

    // The pricing rule: ceil(photoCount * creditsPer100Photos / 100), at
    // least 1 for a non-empty set, 0 for none. A negative rate is taken as
    // the default rate.
    static int requiredCredits(int photoCount, int creditsPer100Photos);

    // Tells the observers (GUI thread) that the account has changed.
    void notifyEntitlementChanged();

private:
    EntitlementService() = default;
};

} // namespace Services
} // namespace Zyn
