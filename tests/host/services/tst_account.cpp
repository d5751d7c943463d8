#include <services/ApplicationService.h>
#include <services/CloudService.h>
#include <services/ConfigManager.h>
#include <services/EntitlementService.h>
#include <services/ShutdownProtocol.h>

#include <keelcore/Dispatch.h>
#include <utilities/Constants.h>

#include <QCoreApplication>
#include <QStandardPaths>
#include <QThread>
#include <QtTest>

#include <atomic>

#include <climits>

using namespace Zyn::Services;
namespace Keys = Zyn::Utilities;

namespace {

ConfigManager* config()
{
    return ApplicationService::GetInstance()->GetConfigManager();
}

struct Answer {
    int value = -1;
    QList<int> list;
    QThread* thread = nullptr;
    bool arrived = false;
};

class Observer : public CloudServiceProtocol,
                 public EntitlementChangedProtocol,
                 public ShutdownProtocol,
                 public QObject {
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

    Answer entitlement()
    {
        Answer answer;
        EntitlementService::GetInstance()->getEntitlementType([&answer](int type) {
            answer.value = type;
            answer.thread = QThread::currentThread();
            answer.arrived = true;
        });
        [&] { QVERIFY(KeelCore::waitForIdle()); }();
        return answer;
    }

    Answer credits(int photos)
    {
        Answer answer;
        EntitlementService::GetInstance()->queryCloudCreditsForPhotoCount(photos, [&answer](int credits) {
            answer.value = credits;
            answer.thread = QThread::currentThread();
            answer.arrived = true;
        });
        [&] { QVERIFY(KeelCore::waitForIdle()); }();
        return answer;
    }

    Answer available()
    {
        Answer answer;
        CloudService::GetInstance()->getAvailableCloudCredits([&answer](QList<int> list) {
            answer.list = list;
            answer.thread = QThread::currentThread();
            answer.arrived = true;
        });
        [&] { QVERIFY(KeelCore::waitForIdle()); }();
        return answer;
    }

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

    void answersArriveLaterOnAWorkerThread()
    {
        // Written by a worker while this thread looks: atomics, not plain values.
        std::atomic<bool> arrived{false};
        std::atomic<QThread*> thread{nullptr};
        EntitlementService::GetInstance()->getEntitlementType([&](int) {
            thread = QThread::currentThread();
            arrived = true;
        });
        CloudService::GetInstance()->getAvailableCloudCredits([](QList<int>) {});
        QVERIFY(!arrived || thread != QCoreApplication::instance()->thread());
        QVERIFY(KeelCore::waitForIdle());
        QVERIFY(arrived);
        QVERIFY(thread != QCoreApplication::instance()->thread());

        const Answer c = credits(10);
        QVERIFY(c.arrived);
        QVERIFY(c.thread != QCoreApplication::instance()->thread());
        const Answer a = available();
        QVERIFY(a.arrived);
        QVERIFY(a.thread != QCoreApplication::instance()->thread());
    }

    void defaultAccountIsSelfHosted()
    {
        const Answer type = entitlement();
        QVERIFY(type.arrived);
        QCOMPARE(type.value, int(EntitlementService::SelfHostedProcessing));
        QCOMPARE(type.value, 1);
        QVERIFY(available().list.isEmpty());
        QCOMPARE(credits(250).value, 25); // default rate: 10 per 100 photos
    }

    void configuredCreditsAccount()
    {
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS, "5,20");
        // Credits alone make it a credits account.
        QCOMPARE(entitlement().value, int(EntitlementService::CloudCreditsAccount));
        QCOMPARE(available().list, (QList<int>{5, 20}));

        config()->setValue(Keys::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE, 3);
        QCOMPARE(entitlement().value, 3);
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE, "not a number");
        QCOMPARE(entitlement().value, 0);

        config()->setValue(Keys::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS, 20);
        QCOMPARE(credits(150).value, 30);
        QCOMPARE(credits(1).value, 1);
        QCOMPARE(credits(0).value, 0);
        config()->setValue(Keys::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS, "lots");
        QCOMPARE(credits(150).value, 15);

        config()->setValue(Keys::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS, "5,oops");
        QVERIFY(available().list.isEmpty());
    }

    void pricingRule_data()
    {
        QTest::addColumn<int>("photos");
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("expected");
        QTest::newRow("no photos") << 0 << 10 << 0;
        QTest::newRow("negative count") << -5 << 10 << 0;
        QTest::newRow("one photo") << 1 << 10 << 1;
        QTest::newRow("ten photos") << 10 << 10 << 1;
        QTest::newRow("hundred") << 100 << 10 << 10;
        QTest::newRow("rounds up") << 101 << 10 << 11;
        QTest::newRow("half") << 250 << 15 << 38;
        QTest::newRow("free rate keeps minimum") << 40 << 0 << 1;
        QTest::newRow("negative rate is default") << 300 << -2 << 30;
        QTest::newRow("large") << 1000000 << 7 << 70000;
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
        auto* observer = new Observer;
        auto* gone = new Observer;
        ApplicationService::GetInstance()->addObserver(observer);
        ApplicationService::GetInstance()->addObserver(gone);
        delete gone;
        ApplicationService::GetInstance()->shutdown();
        ApplicationService::GetInstance()->shutdown();
        QCOMPARE(observer->log, QStringList{"shutdown"});
        delete observer;
    }
};

QTEST_GUILESS_MAIN(TestAccount)
#include "tst_account.moc"
