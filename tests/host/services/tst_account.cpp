#include <services/ApplicationService.h>
#include <services/CloudService.h>
#include <services/ConfigManager.h>
#include <services/EntitlementService.h>
#include <services/ShutdownProtocol.h>

#include <keelcore/Dispatch.h>
#include <utilities/Constants.h>

#include <QtTest>

#include <climits>

using namespace Zyn::Services;
namespace Keys = Zyn::Utilities;

namespace {

ConfigManager* config()
{
    return ApplicationService::GetInstance()->GetConfigManager();
}

// What a service answered, and on which thread.
template <typename T>
struct Answer {
    T value{};
    QThread* thread = nullptr;
};

// Asks through ask(callback) and waits for every worker to finish.
template <typename T, typename Ask>
Answer<T> answer(Ask ask)
{
    Answer<T> a;
    ask([&a](T value) {
        a.value = value;
        a.thread = QThread::currentThread();
    });
    if (!KeelCore::waitForIdle())
        qWarning("workers did not finish");
    return a;
}

Answer<int> entitlement()
{
    return answer<int>([](auto cb) { EntitlementService::GetInstance()->getEntitlementType(cb); });
}

Answer<int> credits(int photos)
{
    return answer<int>([photos](auto cb) { EntitlementService::GetInstance()->queryCloudCreditsForPhotoCount(photos, cb); });
}

Answer<QList<int>> available()
{
    return answer<QList<int>>([](auto cb) { CloudService::GetInstance()->getAvailableCloudCredits(cb); });
}

class Observer : public CloudServiceProtocol, public EntitlementChangedProtocol, public ShutdownProtocol, public QObject {
public:
    QStringList log;
    void onUserLogIn() override { log << "in"; }
    void onUserLogOut() override { log << "out"; }
    void entitlementChanged() override { log << "changed"; }
    void onShutdown() override { log << "shutdown"; }
};

} // namespace

class TestAccount : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qunsetenv("ZYN_CONFIG_FILE");
    }
    void init()
    {
        config()->remove(Keys::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE);
        config()->remove(Keys::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS);
        config()->remove(Keys::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS);
    }

    void defaultAccountIsSelfHostedAnsweredOnAWorker()
    {
        QThread* gui = QCoreApplication::instance()->thread();
        const Answer<int> type = entitlement();
        QCOMPARE(type.value, int(EntitlementService::SelfHostedProcessing));
        QVERIFY(type.thread && type.thread != gui);
        const Answer<QList<int>> list = available();
        QVERIFY(list.thread && list.thread != gui);
        QVERIFY(list.value.isEmpty());
        const Answer<int> price = credits(250);
        QVERIFY(price.thread && price.thread != gui);
        QCOMPARE(price.value, 25); // default rate: 10 per 100 photos
    }

    void configuredCreditsAccount()
    {
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS, "5,20");
        // Credits alone make it a credits account.
        QCOMPARE(entitlement().value, int(EntitlementService::CloudCreditsAccount));
        QCOMPARE(available().value, (QList<int>{5, 20}));
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE, 3);
        QCOMPARE(entitlement().value, 3);
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE, "not a number");
        QCOMPARE(entitlement().value, 0);

        config()->setValue(Keys::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS, 20);
        QCOMPARE(credits(150).value, 30);
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS, "lots");
        QCOMPARE(credits(150).value, 15);
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS, "5,oops");
        QVERIFY(available().value.isEmpty());
    }

    void pricingRule_data()
    {
        QTest::addColumn<int>("photos");
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("expected");
        QTest::newRow("no photos") << 0 << 10 << 0;
        QTest::newRow("negative count") << -5 << 10 << 0;
        QTest::newRow("one photo") << 1 << 10 << 1;
        QTest::newRow("hundred") << 100 << 10 << 10;
        QTest::newRow("rounds up") << 101 << 10 << 11;
        QTest::newRow("half") << 250 << 15 << 38;
        QTest::newRow("free rate keeps minimum") << 40 << 0 << 1;
        QTest::newRow("negative rate is default") << 300 << -2 << 30;
        QTest::newRow("overflow clamps") << INT_MAX << 1000 << INT_MAX;
    }
    void pricingRule()
    {
        QFETCH(int, photos);
        QFETCH(int, rate);
        QFETCH(int, expected);
        QCOMPARE(EntitlementService::requiredCredits(photos, rate), expected);
    }

    void observersAreTold()
    {
        Observer observer;
        CloudService* cloud = CloudService::GetInstance();
        cloud->addObserver(&observer);
        EntitlementService::GetInstance()->addObserver(&observer);
        QVERIFY(cloud->isUserLoggedIn());
        cloud->setUserLoggedIn(true); // no change, no news
        cloud->setUserLoggedIn(false);
        cloud->setUserLoggedIn(true);
        EntitlementService::GetInstance()->notifyEntitlementChanged();
        QCOMPARE(observer.log, (QStringList{"out", "in", "changed"}));
        cloud->removeObserver(&observer);
        EntitlementService::GetInstance()->removeObserver(&observer);
    }

    void shutdownIsToldOnce()
    {
        Observer observer;
        auto* gone = new Observer;
        ApplicationService::GetInstance()->addObserver(&observer);
        ApplicationService::GetInstance()->addObserver(gone);
        delete gone;
        ApplicationService::GetInstance()->shutdown();
        ApplicationService::GetInstance()->shutdown();
        QCOMPARE(observer.log, QStringList{"shutdown"});
    }
};

QTEST_GUILESS_MAIN(TestAccount)
#include "tst_account.moc"
