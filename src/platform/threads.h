// platform/threads.h - the worker thread of a walk and the event that stops it.
#pragma once

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

}  // namespace platform
