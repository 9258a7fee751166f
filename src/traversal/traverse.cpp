#include "traversal/traverse.h"

#include <future>

void CTraverse::Start() {
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
    run.get_future().get();
}

void CTraverse::Stop(bool wait) {
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
