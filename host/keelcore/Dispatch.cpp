#include "Dispatch.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <QMutex>
#include <QMutexLocker>

#include <atomic>
#include <vector>

namespace KeelCore {
namespace {

std::atomic<int> g_pendingMain{0};
std::atomic<int> g_pendingWorker{0};

QThreadPool& workerPool()
{
    static QThreadPool* pool = [] {
        auto* p = new QThreadPool;
        p->setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
        p->setExpiryTimeout(30000);
        return p;
    }();
    return *pool;
}

// GUI jobs submitted before the application object exists.
QMutex g_earlyMutex;
std::vector<Job>& earlyJobs()
{
    static std::vector<Job> jobs;
    return jobs;
}

void postToMain(QCoreApplication* app, Job job)
{
    QMetaObject::invokeMethod(
        app,
        [job = std::move(job)]() {
            try {
                job();
            } catch (...) {
                qWarning("KeelCore: a GUI job threw an exception");
            }
            --g_pendingMain;
        },
        Qt::QueuedConnection);
}

// Runs in QCoreApplication's constructor (or at load, when it already exists).
void flushEarlyJobs()
{
    QCoreApplication* app = QCoreApplication::instance();
    if (!app)
        return;
    std::vector<Job> jobs;
    {
        QMutexLocker lock(&g_earlyMutex);
        jobs.swap(earlyJobs());
    }
    for (Job& job : jobs)
        postToMain(app, std::move(job));
}

class WorkerJob : public QRunnable {
public:
    explicit WorkerJob(Job job) : m_job(std::move(job)) { setAutoDelete(true); }
    void run() override
    {
        try {
            m_job();
        } catch (...) {
            // A job must not take the worker down with it.
            qWarning("KeelCore: a background job threw an exception");
        }
        --g_pendingWorker;
    }

private:
    Job m_job;
};

} // namespace

void dispatchAsync(int qos, Job job)
{
    if (!job)
        return;
    if (qos == QosMainThread) {
        ++g_pendingMain;
        QCoreApplication* app = QCoreApplication::instance();
        if (!app) {
            QMutexLocker lock(&g_earlyMutex);
            earlyJobs().push_back(std::move(job));
            return;
        }
        postToMain(app, std::move(job));
        return;
    }
    ++g_pendingWorker;
    // QThreadPool runs higher priorities first.
    const int priority = qos == QosUserInitiated ? 1 : 0;
    workerPool().start(new WorkerJob(std::move(job)), priority);
}

int workerThreadCount()
{
    return workerPool().maxThreadCount();
}

bool isMainThread()
{
    QCoreApplication* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

bool waitForIdle(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    int idleRounds = 0;
    while (timer.elapsed() < timeoutMs) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (g_pendingMain.load() == 0 && g_pendingWorker.load() == 0) {
            // Stay idle for two rounds: a finishing job may post one more.
            if (++idleRounds >= 2)
                return true;
        } else {
            idleRounds = 0;
            if (g_pendingMain.load() == 0)
                QThread::msleep(1);
        }
    }
    return false;
}

} // namespace KeelCore

static void keelCoreFlushEarlyJobs()
{
    KeelCore::flushEarlyJobs();
}
Q_COREAPP_STARTUP_FUNCTION(keelCoreFlushEarlyJobs)
