#pragma once

#include <keelcore/Broadcaster.h>
#include <services/CloudServiceProtocol.h>

#include <QList>

#include <functional>

namespace Zyn {
namespace Services {

// The user's cloud account. Answers come asynchronously on a host worker
// thread; callers hop to the GUI thread themselves.
class CloudService : public KeelCore::Broadcaster<CloudServiceProtocol> {
public:
    static CloudService* GetInstance();

    // The credits available in each of the account's credit pools, as
    // configured; an empty list when the account has none configured.
    void getAvailableCloudCredits(std::function<void(QList<int>)> callback);

    // Session changes, told to the observers (GUI thread).
    void setUserLoggedIn(bool loggedIn);
    bool isUserLoggedIn() const;

private:
    CloudService() = default;
    bool m_loggedIn = true; // the configured account is always signed in
};

} // namespace Services
} // namespace Zyn
