// traversal/traverse.h - a walk on a worker thread, the base of both walks.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/wide_string.h"
#include "platform/threads.h"

// A walk on its own worker thread. The owner sets everything up, starts the walk and waits. From
// Start until the walk has ended, its fields belong to the worker thread; only Stop may be called
// meanwhile, from any thread. A derived class stops the walk in its destructor, before its own
// fields are destroyed.
class CTraverse {
public:
    // The events for an observer. The argument is a text (const char16_t*), valid during the call,
    // or a number.
    enum ECode : std::uint32_t {
        CodeStart = 0,
        CodeFinish = 1,
        CodeMessage = 2,
        CodeProgress = 3,
        CodeResult = 4,
    };
    using Observer = std::uint64_t (*)(std::uint32_t code, void* context, std::uint64_t argument);

    CTraverse() = default;
    virtual ~CTraverse() = default;
    CTraverse(const CTraverse&) = delete;
    CTraverse& operator=(const CTraverse&) = delete;

    // Stops a walk that is still running and starts one, which goes on with what the former has not
    // reached. If the system has no thread left, the walk runs on the thread that calls Wait.
    void Start();
    // Returns when the walk has ended, or at once if none was started. Throws what the walk has
    // thrown.
    void Wait() const { m_thread.Wait(); }
    // Ends the walk after the present visit. With `wait`, returns when it has ended. A visit must
    // not wait for its own walk.
    void Stop(bool wait);

protected:
    // Run on the worker thread, in this order. OnFinish runs also when one of the others throws.
    virtual void OnStart() { Notify(CodeStart, 0); }
    virtual void Run() = 0;
    virtual void OnFinish() { Notify(CodeFinish, 0); }

    void OnMessage(const CStrW& text) { Notify(CodeMessage, text); }
    void Notify(std::uint32_t code, std::uint64_t argument);
    void Notify(std::uint32_t code, const CStrW& text);
    void SetObserver(Observer observer, void* context);
    [[nodiscard]] bool IsStopped() const { return m_isStopped; }

private:
    void RunAll();

    std::atomic<bool> m_isStopped = false;
    Observer m_callback = nullptr;
    void* m_callbackContext = nullptr;
    platform::CWorkerThread
        m_thread;  // last, so that it ends before the other fields are destroyed
};
