#include "traversal/traverse.h"

#include <future>

void CTraverse::Start() {
    // A former walk has to end before its flag is reset, or it would go on beside the new one.
    Stop(true);
    m_isStopped = false;
    m_thread.Start([this] { RunAll(); });
}

void CTraverse::RunAll() {
    // Keeps an exception of the walk until OnFinish has run.
    std::packaged_task<void()> run([this] {
        OnStart();
        Run();
    });
    run();
    OnFinish();
    // Throws what the walk has thrown, and the thread keeps that for Wait.
    run.get_future().get();
}

void CTraverse::Stop(bool wait) {
    // The walk looks at the flag between two visits. A visit in progress is completed.
    m_isStopped = true;
    if (wait) {
        m_thread.Join();
    }
}

void CTraverse::Notify(std::uint32_t code, std::uint64_t argument) {
    if (m_callback != nullptr) {
        m_callback(code, m_callbackContext, argument);
    }
}

void CTraverse::Notify(std::uint32_t code, const CStrW& text) {
    Notify(code, reinterpret_cast<std::uintptr_t>(text.Get()));
}

void CTraverse::SetObserver(Observer observer, void* context) {
    m_callback = observer;
    m_callbackContext = context;
}
