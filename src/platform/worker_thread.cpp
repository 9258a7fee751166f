#include "platform/threads.h"

namespace platform {

void CWorkerThread::Start(const std::function<void()>& body) {
    // Two bodies never run at once, and what the former one has thrown is dropped.
    Join();
    // Without a policy, one that finds no thread runs when it is waited for. The body is copied,
    // because the failed try would have moved it away.
    m_run = std::async(body).share();
}

void CWorkerThread::Join() const {
    if (m_run.valid()) {
        m_run.wait();
    }
}

void CWorkerThread::Wait() const {
    if (m_run.valid()) {
        m_run.get();
    }
}

}  // namespace platform
