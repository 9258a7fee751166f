// traversal/traverse.h - the worker thread that both walks run on.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/wide_string.h"
#include "platform/threads.h"

// A walk on a worker thread of its own. The owner sets everything up, starts the walk and waits;
// from Start until the thread has ended, the walk's fields belong to the worker. Only Stop may be
// called meanwhile, from any thread. Whoever derives stops the walk in its destructor.
class CTraverse {
public:
    // What an observer is told of; the argument is a text (const char16_t*) or a number.
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

    // Starts the walk, after stopping one that may still run; what was not reached by that one is
    // walked now. Where the system gives no thread, the walk runs on that of whoever waits.
    void Start();
    // Returns when the walk has ended, at once when none was started. Throws what the walk has
    // thrown.
    void Wait() const { m_thread.Wait(); }
    // Lets the walk end after the visit in progress; with `wait`, returns only then. A visit itself
    // must not wait.
    void Stop(bool wait);

protected:
    // Run on the worker, in this order. The last one follows also when another throws.
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
    platform::CWorkerThread m_thread;  // last, so that it has ended before the rest goes
};
