#include <services/ApplicationService.h>
#include <services/ConfigManager.h>

#include <QtTest>

#include <thread>
#include <vector>

using Zyn::Services::ConfigManager;

class TestConfig : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString path(const QString& name = QStringLiteral("zynphoto.ini")) const { return m_dir->filePath(name); }

    bool writeFile(const QString& file, const QByteArray& bytes)
    {
        QFile f(file);
        return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        qunsetenv("ZYN_CONFIG_FILE");
    }

    void absentValuesAnswerDefaults()
    {
        ConfigManager config(path());
        QVERIFY(config.isHealthy());
        QVERIFY(!config.contains("a/b"));
        QCOMPARE(config.getString("a/b", "x"), QStringLiteral("x"));
        QCOMPARE(config.getIntList("a/b", {1, 2}), (QList<int>{1, 2}));
        QCOMPARE(config.getInt(QString(), 4), 4);
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
        QVERIFY(!config.backupPath().isEmpty());
        QFile kept(config.backupPath());
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), damaged);

        ConfigManager again(path());
        QVERIFY(again.isHealthy());
        QCOMPARE(again.getInt("workspace/coordsys_mru_limit", 10), 5);
    }

    void unreadablePathAnswersDefaults()
    {
        // A folder where the file should be: cannot be read or written.
        QVERIFY(QDir().mkpath(path("folder.ini")));
        ConfigManager config(path("folder.ini"));
        QCOMPARE(config.getInt("a/b", 3), 3);
        config.setValue("a/b", 4); // must not crash nor remove the folder
        QVERIFY(QFileInfo(path("folder.ini")).isDir());
        // A missing folder, though, is created.
        ConfigManager nested(path("deep/er/zynphoto.ini"));
        nested.setValue("a/b", 1);
        QVERIFY(QFileInfo::exists(path("deep/er/zynphoto.ini")));
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
        QCOMPARE(Zyn::Services::ApplicationService::defaultConfigFilePath(), standard);
        // Test mode keeps the user's real configuration out of reach.
        QVERIFY(standard.contains(".qttest"));
        QCOMPARE(Zyn::Services::ApplicationService::GetInstance()->GetConfigManager()->filePath(), standard);

        qputenv("ZYN_CONFIG_FILE", path("override.ini").toUtf8());
        QCOMPARE(Zyn::Services::ApplicationService::defaultConfigFilePath(), path("override.ini"));
    }
};

QTEST_GUILESS_MAIN(TestConfig)
#include "tst_config.moc"
