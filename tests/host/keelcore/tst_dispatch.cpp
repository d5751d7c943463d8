#include <keelcore/Dispatch.h>

#include <QtTest>

#include <atomic>
#include <stdexcept>

namespace {
// Set by a GUI job submitted in main() before the application object exists.
std::atomic<bool> g_earlyJobRan{false};
std::atomic<bool> g_earlyJobOnGuiThread{false};
} // namespace

class TestDispatch : public QObject {
    Q_OBJECT

private slots:
    void init() { QVERIFY(KeelCore::waitForIdle(5000)); }

    void guiJobsRunInSubmissionOrderOnGuiThread()
    {
        QList<int> order;
        bool allOnGui = true;
        for (int i = 0; i < 200; ++i) {
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [i, &order, &allOnGui] {
                order << i;
                allOnGui = allOnGui && KeelCore::isMainThread();
            });
        }
        QVERIFY(order.isEmpty()); // queued, not run inline
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(order.size(), 200);
        for (int i = 0; i < 200; ++i)
            QCOMPARE(order.at(i), i);
        QVERIFY(allOnGui);
    }

    void workerJobsRunOffTheGuiThreadAndComeBackToIt()
    {
        QThread* workerThread = nullptr;
        QThread* backThread = nullptr;
        bool workerSawMain = true;
        KeelCore::dispatchAsync(KeelCore::QosBackground, [&] {
            workerThread = QThread::currentThread();
            workerSawMain = KeelCore::isMainThread();
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [&] { backThread = QThread::currentThread(); });
        });
        QVERIFY(KeelCore::waitForIdle());
        QVERIFY(workerThread != nullptr);
        QVERIFY(workerThread != QCoreApplication::instance()->thread());
        QVERIFY(!workerSawMain);
        QCOMPARE(backThread, QCoreApplication::instance()->thread());
    }

    // With every worker busy, a waiting QoS 1 job goes before waiting QoS 2
    // jobs, even those submitted earlier.
    void userInitiatedJobsOvertakeBackgroundJobs()
    {
        const int workers = KeelCore::workerThreadCount();
        QVERIFY(workers >= 1);
        QSemaphore started;
        QSemaphore release;
        for (int i = 0; i < workers; ++i) {
            KeelCore::dispatchAsync(KeelCore::QosBackground, [&] {
                started.release();
                release.acquire();
            });
        }
        QVERIFY(started.tryAcquire(workers, 10000));

        QMutex mutex;
        QStringList order;
        QSemaphore done;
        auto record = [&](const QString& name) {
            return [&, name] {
                {
                    QMutexLocker lock(&mutex);
                    order << name;
                }
                done.release();
            };
        };
        KeelCore::dispatchAsync(KeelCore::QosBackground, record(QStringLiteral("background-1")));
        KeelCore::dispatchAsync(KeelCore::QosBackground, record(QStringLiteral("background-2")));
        KeelCore::dispatchAsync(KeelCore::QosUserInitiated, record(QStringLiteral("user")));

        // Free a single worker: it alone drains the queue, in priority order.
        release.release(1);
        QVERIFY(done.tryAcquire(3, 10000));
        release.release(workers - 1);
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(order, (QStringList{"user", "background-1", "background-2"}));
    }

    void waitForIdleReportsATimeoutWhileAJobRuns()
    {
        QSemaphore release;
        KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [&release] { release.acquire(); });
        QVERIFY(!KeelCore::waitForIdle(100));
        release.release();
        QVERIFY(KeelCore::waitForIdle());
    }

    void throwingJobsDoNotStopTheQueues()
    {
        bool after = false;
        KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [] { throw std::runtime_error("worker"); });
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [] { throw std::runtime_error("gui"); });
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [&after] { after = true; });
        // The counters must come back to zero, or waitForIdle would time out.
        QVERIFY(KeelCore::waitForIdle(5000));
        QVERIFY(after);
    }

    void guiJobSubmittedBeforeTheApplicationRunsOnceItExists()
    {
        QVERIFY(KeelCore::waitForIdle());
        QVERIFY(g_earlyJobRan.load());
        QVERIFY(g_earlyJobOnGuiThread.load());
    }
};

int main(int argc, char** argv)
{
    KeelCore::dispatchAsync(KeelCore::QosMainThread, [] {
        g_earlyJobOnGuiThread = KeelCore::isMainThread();
        g_earlyJobRan = true;
    });
    QCoreApplication app(argc, argv);
    TestDispatch test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_dispatch.moc"
