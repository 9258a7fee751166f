#include "platform/threads.h"

#include <process.h>

#include "platform/windows/win.h"

namespace platform {

struct CStopEvent::SState {
    explicit SState(HANDLE newEvent) : event(newEvent) {}
    ~SState() { CloseHandle(event); }
    SState(const SState&) = delete;
    SState& operator=(const SState&) = delete;

    HANDLE event;
};

CStopEvent::CStopEvent() = default;
CStopEvent::~CStopEvent() = default;

bool CStopEvent::Create() {
    Close();
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (event == nullptr) {
        return false;
    }
    m_state = std::make_unique<SState>(event);
    return true;
}

void CStopEvent::Set() {
    if (m_state) {
        SetEvent(m_state->event);
    }
}

bool CStopEvent::IsSet() const {
    return m_state && WaitForSingleObject(m_state->event, 0) == WAIT_OBJECT_0;
}

void CStopEvent::Close() { m_state.reset(); }

struct CWorkerThread::SState {
    SState(Body body, void* context) : m_body(body), m_context(context) {
        m_thread = _beginthreadex(nullptr, 0, &SState::Run, this, 0, nullptr);
    }
    ~SState() {
        if (HasStarted()) {
            CloseHandle(Handle());
        }
    }
    SState(const SState&) = delete;
    SState& operator=(const SState&) = delete;

    [[nodiscard]] bool HasStarted() const { return m_thread != 0; }
    [[nodiscard]] HANDLE Handle() const {
        return reinterpret_cast<HANDLE>(m_thread);  // NOLINT(performance-no-int-to-ptr)
    }

private:
    // Lets no exception out, since nobody on this thread could take it.
    static unsigned __stdcall Run(void* state) noexcept {
        const auto* const self = static_cast<SState*>(state);
        self->m_body(self->m_context);
        return 0;
    }

    Body m_body;
    void* m_context;
    std::uintptr_t m_thread = 0;
};

CWorkerThread::CWorkerThread() = default;

CWorkerThread::~CWorkerThread() { Close(); }

bool CWorkerThread::Start(Body body, void* context) {
    Close();
    auto state = std::make_unique<SState>(body, context);
    if (!state->HasStarted()) {
        return false;
    }
    m_state = std::move(state);
    return true;
}

void CWorkerThread::Wait() {
    if (m_state) {
        WaitForSingleObject(m_state->Handle(), INFINITE);
    }
}

void CWorkerThread::Close() {
    Wait();
    m_state.reset();
}

}  // namespace platform
