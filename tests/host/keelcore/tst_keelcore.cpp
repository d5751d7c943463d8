// The dispatch queues, weak references and observer lists.
#include <keelcore/Broadcaster.h>
#include <keelcore/Dispatch.h>
#include <keelcore/SharedObject.h>

#include <QtTest>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>

namespace {
// Where a GUI job submitted in main(), before the application object exists, ran.
std::atomic<QThread*> g_earlyJobThread{nullptr};

// Each observer writes its name into a log owned by the test, so a call to
// an observer that should be gone shows up in the log (and, under ASan, as a
// use after free). A plain Listener is not tracked.
class Listener {
public:
    explicit Listener(QString name = {}, QStringList* log = nullptr) : m_name(std::move(name)), m_log(log) {}
    virtual ~Listener() = default;
    virtual void notify() { *m_log << m_name; }

private:
    QString m_name;
    QStringList* m_log;
};

struct SharedListener : Listener, KeelCore::SharedObject<SharedListener> {
    using Listener::Listener;
};

struct QObjectListener : QObject, Listener {
    using Listener::Listener;
};

// A tracked observer that runs the test's code when notified.
struct Hook : Listener, KeelCore::SharedObject<Hook> {
    explicit Hook(std::function<void()> run) : m_run(std::move(run)) {}
    void notify() override { m_run(); }
    std::function<void()> m_run;
};

using Source = KeelCore::Broadcaster<Listener>;

} // namespace

class TestKeelCore : public QObject {
    Q_OBJECT
    QStringList m_log; // what the observers were told
    Source m_source;

    void notifyAll()
    {
        m_source.broadcast([](Listener* l) { l->notify(); });
    }

private slots:
    void init()
    {
        QVERIFY(KeelCore::waitForIdle(5000));
        m_log.clear();
        m_source = Source();
    }

    void guiJobsRunInSubmissionOrderOnGuiThread()
    {
        QList<int> order, expected;
        bool allOnGui = true;
        for (int i = 0; i < 200; ++i) {
            expected << i;
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [i, &order, &allOnGui] {
                order << i;
                allOnGui = allOnGui && KeelCore::isMainThread();
            });
        }
        QVERIFY(order.isEmpty()); // queued, not run inline
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(order, expected);
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
        QVERIFY(workerThread && workerThread != QCoreApplication::instance()->thread());
        QVERIFY(!workerSawMain);
        QCOMPARE(backThread, QCoreApplication::instance()->thread());
    }

    // With every worker busy, a waiting QoS 1 job goes before waiting QoS 2
    // jobs, even those submitted earlier.
    void userInitiatedJobsOvertakeBackgroundJobs()
    {
        const int workers = KeelCore::workerThreadCount();
        QVERIFY(workers >= 1);
        QSemaphore started, release;
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
                QMutexLocker lock(&mutex);
                order << name;
                done.release();
            };
        };
        KeelCore::dispatchAsync(KeelCore::QosBackground, record("background-1"));
        KeelCore::dispatchAsync(KeelCore::QosBackground, record("background-2"));
        KeelCore::dispatchAsync(KeelCore::QosUserInitiated, record("user"));

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
        QCOMPARE(g_earlyJobThread.load(), QCoreApplication::instance()->thread());
    }

    void weakRefFollowsTheObjectsLife()
    {
        auto shared = std::make_unique<SharedListener>("a", &m_log);
        KeelCore::WeakRef<SharedListener> ref = shared->weakRef();
        KeelCore::WeakRef<SharedListener> copy = ref;
        KeelCore::WeakRef<Listener> tracked = KeelCore::makeWeak(static_cast<Listener*>(shared.get()));
        QCOMPARE(ref.lock(), shared.get());
        QVERIFY(!ref.expired() && bool(tracked));
        shared.reset();
        QVERIFY(ref.expired() && !ref && !tracked);
        QCOMPARE(copy.lock(), nullptr);

        // Untracked objects count as living as long as the reference.
        Listener plain;
        QCOMPARE(KeelCore::makeWeak(&plain).lock(), &plain);
        QVERIFY(KeelCore::makeWeak<Listener>(nullptr).expired());
    }

    void broadcastReachesObserversInOrderOnce()
    {
        SharedListener a("a", &m_log);
        QObjectListener b("b", &m_log);
        SharedListener c("c", &m_log);
        for (Listener* observer : std::initializer_list<Listener*>{&a, &b, &c, &a, nullptr}) // a twice
            m_source.addObserver(observer);
        QCOMPARE(m_source.observerCount(), 3);
        notifyAll();
        QCOMPARE(m_log, (QStringList{"a", "b", "c"}));

        m_source.removeObserver(&b);
        notifyAll();
        QCOMPARE(m_log, (QStringList{"a", "b", "c", "a", "c"}));
    }

    void destroyedObserversAreSkippedAndForgotten()
    {
        auto* shared = new SharedListener(QStringLiteral("shared"), &m_log);
        auto* qobject = new QObjectListener(QStringLiteral("qobject"), &m_log);
        SharedListener survivor(QStringLiteral("survivor"), &m_log);
        for (Listener* observer : std::initializer_list<Listener*>{shared, qobject, &survivor})
            m_source.addObserver(observer);
        delete shared;
        delete qobject;
        QCOMPARE(m_source.observerCount(), 1);
        notifyAll();
        QCOMPARE(m_log, QStringList{"survivor"});
    }

    void observerDestroyedDuringBroadcastIsNotCalled()
    {
        auto* victim = new SharedListener(QStringLiteral("victim"), &m_log);

        Hook killer([&victim] {
            delete victim;
            victim = nullptr;
        });
        m_source.addObserver(&killer);
        m_source.addObserver(victim);
        notifyAll();
        QCOMPARE(victim, nullptr);
        QVERIFY(m_log.isEmpty());
        QCOMPARE(m_source.observerCount(), 1);
    }

    void observerAddedDuringBroadcastWaitsForTheNextOne()
    {
        SharedListener late(QStringLiteral("late"), &m_log);

        Hook adder([&] { m_source.addObserver(&late); });
        m_source.addObserver(&adder);
        notifyAll();
        QVERIFY(m_log.isEmpty());
        notifyAll();
        QCOMPARE(m_log, QStringList{"late"});
    }

    void delegatorForgetsADestroyedDelegate()
    {
        KeelCore::Delegator<Listener> delegator;
        const auto call = [](Listener* l) { l->notify(); };
        QVERIFY(!delegator.callDelegate(call));

        auto* first = new SharedListener(QStringLiteral("first"), &m_log);
        delegator.setDelegate(first);
        QCOMPARE(delegator.getDelegate(), static_cast<Listener*>(first));
        QVERIFY(delegator.callDelegate(call));
        delete first;
        QCOMPARE(delegator.getDelegate(), nullptr);
        QVERIFY(!delegator.callDelegate(call));
        QCOMPARE(m_log, QStringList{"first"});

        QObjectListener second(QStringLiteral("second"), &m_log);
        delegator.setDelegate(&second);
        QVERIFY(delegator.callDelegate(call));
        delegator.setDelegate(nullptr);
        QVERIFY(!delegator.callDelegate(call));
        QCOMPARE(m_log, (QStringList{"first", "second"}));
    }
};

int main(int argc, char** argv)
{
    KeelCore::dispatchAsync(KeelCore::QosMainThread, [] { g_earlyJobThread = QThread::currentThread(); });
    QCoreApplication app(argc, argv);
    TestKeelCore test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_keelcore.moc"
