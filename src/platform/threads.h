// platform/threads.h - the worker thread of a walk, the event that stops it, and a queue of jobs.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace platform {

// A manual-reset event, not set at first. Safe on any thread, but for Create and Close.
class CStopEvent {
public:
    CStopEvent();
    ~CStopEvent();
    CStopEvent(const CStopEvent&) = delete;
    CStopEvent& operator=(const CStopEvent&) = delete;

    // Makes the event anew, not set. False on failure.
    [[nodiscard]] bool Create();
    [[nodiscard]] bool Exists() const { return m_state != nullptr; }
    void Set();
    [[nodiscard]] bool IsSet() const;
    void Close();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

// One thread that runs one function. The owner closes it only when it has ended or was waited for.
class CWorkerThread {
public:
    using Body = void (*)(void* context);

    CWorkerThread();
    ~CWorkerThread();
    CWorkerThread(const CWorkerThread&) = delete;
    CWorkerThread& operator=(const CWorkerThread&) = delete;

    // Starts `body(context)` on a new thread; false when the system gives none. An exception out of
    // `body` ends the process.
    [[nodiscard]] bool Start(Body body, void* context);
    [[nodiscard]] bool Exists() const { return m_state != nullptr; }
    // Returns when the thread has ended, at once when it already has.
    void Wait();
    // Waits, then forgets the thread.
    void Close();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

// Runs jobs in the order in which they are added, on a thread of its own, which is started for the
// first of them. Used by one thread. An exception out of a job ends the process.
class CJobQueue {
public:
    using Job = std::function<void()>;

    // Holds up whoever adds a job while `maxWaiting` others wait to be run.
    explicit CJobQueue(std::size_t maxWaiting);
    // Runs what is still waiting.
    ~CJobQueue();
    CJobQueue(const CJobQueue&) = delete;
    CJobQueue& operator=(const CJobQueue&) = delete;

    // Adds a job; runs it itself when the system gives no thread.
    void Add(Job job);
    // Returns when all jobs have run.
    void Finish();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

}  // namespace platform
