// platform/threads.h - a worker thread, and a queue of jobs.
#pragma once

#include <cstddef>
#include <functional>
#include <future>
#include <memory>

namespace platform {

// Runs one function on a thread of its own. If the system has no thread left, the function runs on
// the first thread that waits for it. Start is for one thread; Join and Wait are for any.
class CWorkerThread {
public:
    CWorkerThread() = default;
    // Waits for the function. If it got no thread and nobody waited, it does not run at all.
    ~CWorkerThread() = default;
    CWorkerThread(const CWorkerThread&) = delete;
    CWorkerThread& operator=(const CWorkerThread&) = delete;

    // Waits for any former body, then starts `body`.
    void Start(const std::function<void()>& body);
    // Returns when the body has ended, or at once if none was started.
    void Join() const;
    // The same; then throws what the body has thrown.
    void Wait() const;

private:
    std::shared_future<void> m_run;
};

// Runs jobs in the order of their addition, on a thread of its own, which the first job starts. A
// job that throws does not stop the later ones.
//
// INVARIANT: at most one job runs at a time, and at most `maxWaiting` wait. `waiting`, `isRunning`
// and `isEnding` are touched only under the mutex. `thrown` is written by the thread that runs a
// job, and read by Finish when none runs.
// Threads: one thread calls Add and Finish.
// Gain: that of its users, such as CRegistryItemQueue.
class CJobQueue {
public:
    using Job = std::function<void()>;

    // `maxWaiting`, at least 1, limits the waiting jobs: Add blocks while there are that many.
    explicit CJobQueue(std::size_t maxWaiting);
    // Runs the waiting jobs. What a job threw is lost if Finish was not called after it.
    ~CJobQueue();
    CJobQueue(const CJobQueue&) = delete;
    CJobQueue& operator=(const CJobQueue&) = delete;

    // Adds a job. If the system has no thread left, the caller's thread runs it at once.
    void Add(Job job);
    // Returns when all jobs have run. Then throws what the first failed job since the last call has
    // thrown.
    void Finish();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

}  // namespace platform
