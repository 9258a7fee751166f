#include "traversal/traverse.h"

bool CTraverse::Start() {
    if (m_stopEvent.Exists() && m_thread.Exists()) {
        Stop(true);
    }
    m_thread.Close();
    m_stopEvent.Close();
    const auto body = [](void* context) {
        auto* const walk = static_cast<CTraverse*>(context);
        walk->OnStart();
        walk->Run();
        walk->OnFinish();
    };
    return m_stopEvent.Create() && m_thread.Start(body, this);
}

void CTraverse::Stop(bool wait) {
    m_stopEvent.Set();
    if (wait) {
        m_thread.Wait();
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
