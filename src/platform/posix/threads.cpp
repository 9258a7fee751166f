#include "platform/threads.h"

#include <atomic>
#include <system_error>
#include <thread>

namespace platform {

// Nobody sleeps on the event: a walk only asks whether it is set, and whoever stops a walk waits
// for the thread.
struct CStopEvent::SState {
    std::atomic<bool> isSet = false;
};

CStopEvent::CStopEvent() = default;
CStopEvent::~CStopEvent() = default;

bool CStopEvent::Create() {
    m_state = std::make_unique<SState>();
    return true;
}

void CStopEvent::Set() {
    if (m_state) {
        m_state->isSet = true;
    }
}

bool CStopEvent::IsSet() const { return m_state && m_state->isSet; }

void CStopEvent::Close() { m_state.reset(); }

struct CWorkerThread::SState {
    std::thread thread;
};

CWorkerThread::CWorkerThread() = default;

CWorkerThread::~CWorkerThread() { Close(); }

bool CWorkerThread::Start(Body body, void* context) {
    Close();
    auto state = std::make_unique<SState>();
    try {
        state->thread = std::thread(body, context);
    } catch (const std::system_error&) {
        return false;
    }
    m_state = std::move(state);
    return true;
}

void CWorkerThread::Wait() {
    if (m_state && m_state->thread.joinable()) {
        m_state->thread.join();
    }
}

void CWorkerThread::Close() {
    Wait();
    m_state.reset();
}

}  // namespace platform
