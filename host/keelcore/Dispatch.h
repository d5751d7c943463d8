#pragma once

#include <functional>

namespace KeelCore {

// Quality of service of a dispatched job.
//  0: runs on the GUI thread, in submission order.
//  1: runs on a worker thread.
//  2: runs on a worker thread, after any waiting QoS 1 job.
enum QualityOfService : int {
    QosMainThread = 0,
    QosUserInitiated = 1,
    QosBackground = 2,
};

using Job = std::function<void()>;

// Submits a job. Callable from any thread. Jobs submitted before the GUI
// dispatcher exists (no QCoreApplication yet) at QoS 0 are run when the
// event loop first processes events.
void dispatchAsync(int qos, Job job);

// Number of worker threads serving QoS 1 and 2.
int workerThreadCount();

// True on the thread that owns the QCoreApplication.
bool isMainThread();

// Test support: processes GUI jobs and waits until no job is queued or
// running on any queue. Returns false if that did not happen within
// timeoutMs. Must be called on the GUI thread.
bool waitForIdle(int timeoutMs = 30000);

} // namespace KeelCore
