// platform/threads.h - the worker thread of a walk, and a queue of jobs.
#pragma once

#include <cstddef>
#include <functional>
#include <future>
#include <memory>

namespace platform {

// One function on a thread of its own. Where the system gives no thread, it runs on the one that
// waits for it first.
class CWorkerThread {
public:
    CWorkerThread() = default;
    // Returns when the function has ended; one that nobody waited for may not run at all.
    ~CWorkerThread() = default;
    CWorkerThread(const CWorkerThread&) = delete;
    CWorkerThread& operator=(const CWorkerThread&) = delete;

    // Starts `body`, after joining the one before.
    void Start(const std::function<void()>& body);
    // Returns when the body has ended, at once when none was started. Any thread.
    void Join() const;
    // The same, then throws what the body has thrown.
    void Wait() const;

private:
    std::shared_future<void> m_run;
};

// Runs jobs in the order in which they are added, on a thread of its own, which is started for the
// first of them. Used by one thread. A job that throws does not hold up those after it.
class CJobQueue {
public:
    using Job = std::function<void()>;

    // Holds up whoever adds a job while `maxWaiting` others wait to be run.
    explicit CJobQueue(std::size_t maxWaiting);
    // Runs what is still waiting. What a job threw is lost if nobody has called Finish since.
    ~CJobQueue();
    CJobQueue(const CJobQueue&) = delete;
    CJobQueue& operator=(const CJobQueue&) = delete;

    // Adds a job; runs it itself when the system gives no thread.
    void Add(Job job);
    // Returns when all jobs have run. Throws what the first of them threw that failed since the
    // last call.
    void Finish();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

}  // namespace platform
