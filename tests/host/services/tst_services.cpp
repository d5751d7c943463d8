// The services: the configuration file, the account's entitlement and
// credits, and the application's observers.
#include <services/ApplicationService.h>
#include <services/CloudService.h>
#include <services/ConfigManager.h>
#include <services/EntitlementService.h>
#include <services/ShutdownProtocol.h>

#include <keelcore/Dispatch.h>
#include <support/TestSupport.h>
#include <utilities/Constants.h>

#include <QtTest>

#include <climits>
#include <thread>
#include <vector>

using namespace Zyn::Services;
using Zyn::TestSupport::readFile;
using Zyn::TestSupport::writeFile;
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
    return answer<int>(
        [photos](auto cb) { EntitlementService::GetInstance()->queryCloudCreditsForPhotoCount(photos, cb); });
}

Answer<QList<int>> available()
{
    return answer<QList<int>>([](auto cb) { CloudService::GetInstance()->getAvailableCloudCredits(cb); });
}

class Observer : public CloudServiceProtocol, public EntitlementChangedProtocol, public ShutdownProtocol,
                 public QObject {
public:
    QStringList log;
    void onUserLogIn() override { log << "in"; }
    void onUserLogOut() override { log << "out"; }
    void entitlementChanged() override { log << "changed"; }
    void onShutdown() override { log << "shutdown"; }
};

} // namespace

class TestServices : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString path(const QString& name = QStringLiteral("zynphoto.ini")) const { return m_dir->filePath(name); }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        qunsetenv("ZYN_CONFIG_FILE");
        for (const char* key : {Keys::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE, Keys::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS,
                                Keys::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS})
            config()->remove(key);
    }

    void absentOrUnreadableValuesAnswerDefaults()
    {
        ConfigManager config(path());
        QVERIFY(config.isHealthy());
        QVERIFY(!config.contains("a/b"));
        QCOMPARE(config.getString("a/b", "x"), QStringLiteral("x"));
        QCOMPARE(config.getIntList("a/b", {1, 2}), (QList<int>{1, 2}));
        QCOMPARE(config.getInt(QString(), 4), 4);

        // A folder where the file should be: cannot be read or written.
        QVERIFY(QDir().mkpath(path("folder.ini")));
        ConfigManager folder(path("folder.ini"));
        QCOMPARE(folder.getInt("a/b", 3), 3);
        folder.setValue("a/b", 4); // must not crash nor remove the folder
        QVERIFY(QFileInfo(path("folder.ini")).isDir());
        // A missing folder, though, is created.
        ConfigManager nested(path("deep/er/zynphoto.ini"));
        nested.setValue("a/b", 1);
        QVERIFY(QFileInfo::exists(path("deep/er/zynphoto.ini")));
    }

    void valuesKeepTheirTypesAcrossInstances()
    {
        {
            ConfigManager config(path());
            config.setValue("workspace/coordsys_mru_limit", 12);
            config.setValue("flags/on", true);
            config.setValue("scale/factor", 2.5);
            config.setValue("gcp/last_directory", "/data/survey, north");
            config.setValue("account/available_credits", QVariantList{5, 20});
        }
        ConfigManager again(path());
        QCOMPARE(again.getInt("workspace/coordsys_mru_limit", 10), 12);
        QCOMPARE(again.getBool("flags/on", false), true);
        QCOMPARE(again.getDouble("scale/factor", 0), 2.5);
        QCOMPARE(again.getString("gcp/last_directory"), QStringLiteral("/data/survey, north"));
        QCOMPARE(again.getIntList("account/available_credits"), (QList<int>{5, 20}));
        QVERIFY(again.contains("flags/on"));

        again.remove("flags/on");
        ConfigManager third(path());
        QVERIFY(!third.contains("flags/on"));
        QCOMPARE(third.getInt("workspace/coordsys_mru_limit", 10), 12);
    }

    // Values typed into the file by hand.
    void handWrittenValues_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("asInt");
        QTest::addColumn<bool>("asBool");
        QTest::addColumn<double>("asDouble");
        QTest::addColumn<QList<int>>("asList");
        const QList<int> noList{-1};
        QTest::newRow("integer") << QByteArray("v=42") << 42 << false << 42.0 << QList<int>{42};
        QTest::newRow("word") << QByteArray("v=many") << -1 << false << -1.0 << noList;
        QTest::newRow("boolean") << QByteArray("v=true") << -1 << true << -1.0 << noList;
        QTest::newRow("yes") << QByteArray("v=yes") << -1 << true << -1.0 << noList;
        QTest::newRow("decimal") << QByteArray("v=2.5") << -1 << false << 2.5 << noList;
        QTest::newRow("comma decimal") << QByteArray("v=\"2,5\"") << -1 << false << -1.0 << QList<int>{2, 5};
        QTest::newRow("list") << QByteArray("v=5,20") << -1 << false << -1.0 << QList<int>{5, 20};
        QTest::newRow("semicolons") << QByteArray("v=\"5;20;1\"") << -1 << false << -1.0 << QList<int>{5, 20, 1};
        QTest::newRow("bad list") << QByteArray("v=5,x") << -1 << false << -1.0 << noList;
        QTest::newRow("nan") << QByteArray("v=nan") << -1 << false << -1.0 << noList;
        QTest::newRow("empty") << QByteArray("v=") << -1 << false << -1.0 << QList<int>{};
    }
    void handWrittenValues()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, asInt);
        QFETCH(bool, asBool);
        QFETCH(double, asDouble);
        QFETCH(QList<int>, asList);
        QVERIFY(writeFile(path(), "[account]\n" + line + "\n"));
        ConfigManager config(path());
        QCOMPARE(config.getInt("account/v", -1), asInt);
        QCOMPARE(config.getBool("account/v", false), asBool);
        QCOMPARE(config.getDouble("account/v", -1.0), asDouble);
        QCOMPARE(config.getIntList("account/v", {-1}), asList);
    }

    void damagedFileAnswersDefaultsAndIsKept()
    {
        const QByteArray damaged("[account\nentitlement_type=0\n\x01\x02");
        QVERIFY(writeFile(path(), damaged));
        ConfigManager config(path());
        QVERIFY(!config.isHealthy());
        QCOMPARE(config.getInt("account/entitlement_type", 1), 1);
        QVERIFY(!config.contains("account/entitlement_type"));

        // The first write moves the damaged file aside, then starts afresh.
        config.setValue("workspace/coordsys_mru_limit", 5);
        QVERIFY(config.isHealthy());
        QCOMPARE(config.getInt("workspace/coordsys_mru_limit", 10), 5);
        QCOMPARE(readFile(config.backupPath()), damaged);

        ConfigManager again(path());
        QVERIFY(again.isHealthy());
        QCOMPARE(again.getInt("workspace/coordsys_mru_limit", 10), 5);
    }

    void concurrentUseFromWorkers()
    {
        ConfigManager config(path());
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&config, t] {
                for (int i = 0; i < 25; ++i) {
                    config.setValue(QStringLiteral("t%1/k%2").arg(t).arg(i), t * 100 + i);
                    config.getInt(QStringLiteral("t%1/k%2").arg((t + 1) % 4).arg(i), 0);
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        ConfigManager again(path());
        for (int t = 0; t < 4; ++t)
            for (int i = 0; i < 25; ++i)
                QCOMPARE(again.getInt(QStringLiteral("t%1/k%2").arg(t).arg(i), -1), t * 100 + i);
    }

    void applicationServicePaths()
    {
        const QString standard = QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
                                                 + "/zynphoto/zynphoto.ini");
        QCOMPARE(ApplicationService::defaultConfigFilePath(), standard);
        // Test mode keeps the user's real configuration out of reach.
        QVERIFY(standard.contains(".qttest"));
        QCOMPARE(config()->filePath(), standard);

        qputenv("ZYN_CONFIG_FILE", path("override.ini").toUtf8());
        QCOMPARE(ApplicationService::defaultConfigFilePath(), path("override.ini"));
    }

    void defaultAccountIsSelfHostedAnsweredOnAWorker()
    {
        const Answer<int> type = entitlement();
        const Answer<QList<int>> list = available();
        const Answer<int> price = credits(250);
        QCOMPARE(type.value, int(EntitlementService::SelfHostedProcessing));
        QVERIFY(list.value.isEmpty());
        QCOMPARE(price.value, 25); // default rate: 10 per 100 photos
        for (QThread* thread : {type.thread, list.thread, price.thread})
            QVERIFY(thread && thread != QCoreApplication::instance()->thread());
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

    // Each service tells its observers once per change; a destroyed one is skipped.
    void observersAreToldOnce()
    {
        Observer observer;
        auto* gone = new Observer;
        CloudService* cloud = CloudService::GetInstance();
        cloud->addObserver(&observer);
        EntitlementService::GetInstance()->addObserver(&observer);
        ApplicationService::GetInstance()->addObserver(&observer);
        ApplicationService::GetInstance()->addObserver(gone);
        delete gone;
        QVERIFY(cloud->isUserLoggedIn());
        cloud->setUserLoggedIn(true); // no change, no news
        cloud->setUserLoggedIn(false);
        cloud->setUserLoggedIn(true);
        EntitlementService::GetInstance()->notifyEntitlementChanged();
        ApplicationService::GetInstance()->shutdown();
        ApplicationService::GetInstance()->shutdown();
        QCOMPARE(observer.log, (QStringList{"out", "in", "changed", "shutdown"}));
        cloud->removeObserver(&observer);
        EntitlementService::GetInstance()->removeObserver(&observer);
    }
};

QTEST_GUILESS_MAIN(TestServices)
#include "tst_services.moc"
