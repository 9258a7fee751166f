#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/threads.h"

namespace platform {

struct CJobQueue::SState {
    explicit SState(std::size_t most) : maxWaiting(most) {}

    bool StartThread();
    void Run();
    void RunJob(const Job& job);

    const std::size_t maxWaiting;
    std::thread thread;
    std::mutex mutex;
    // Told when a job is added, and when the queue ends. Only the queue's thread waits for it.
    std::condition_variable hasWork;
    // Told after each job. Add waits for room, and Finish for the end of all jobs. One thread calls
    // both, so at most one waits.
    std::condition_variable hasRoom;
    std::deque<Job> waiting;
    bool isRunning = false;  // a job that is no longer in `waiting`
    bool isEnding = false;
    std::exception_ptr thrown;  // by the first job that failed
};

// Only Add calls this, so `thread` needs no lock. After a failure the next Add tries again.
bool CJobQueue::SState::StartThread() {
    if (!thread.joinable()) {
        try {
            thread = std::thread(&SState::Run, this);
        } catch (const std::system_error&) {
            return false;
        }
    }
    return true;
}

// Holds the mutex except while it waits or a job runs. So Add need not wait for the job that runs
// unless the queue is full.
void CJobQueue::SState::Run() {
    std::unique_lock lock(mutex);
    while (true) {
        hasWork.wait(lock, [this] { return isEnding || !waiting.empty(); });
        // Ends only when nothing waits, so the destructor runs every job.
        if (waiting.empty()) {
            return;
        }
        Job job = std::move(waiting.front());
        waiting.pop_front();
        isRunning = true;
        lock.unlock();
        RunJob(job);
        job = nullptr;  // before the lock: Finish must not return while the job still owns anything
        lock.lock();
        isRunning = false;
        // The only thread that can wait for this is the one in Add or Finish.
        hasRoom.notify_one();
    }
}

// Catches everything: no caller above could catch it. Finish throws it again.
void CJobQueue::SState::RunJob(const Job& job) {
    try {
        job();
    } catch (...) {
        if (!thrown) {
            thrown = std::current_exception();
        }
    }
}

CJobQueue::CJobQueue(std::size_t maxWaiting) : m_state(std::make_unique<SState>(maxWaiting)) {}

CJobQueue::~CJobQueue() {
    if (m_state->thread.joinable()) {
        {
            // Under the mutex, because otherwise Run could miss the change between its look at the
            // flag and its wait.
            const std::lock_guard lock(m_state->mutex);
            m_state->isEnding = true;
        }
        m_state->hasWork.notify_one();
        m_state->thread.join();
    }
}

void CJobQueue::Add(Job job) {
    SState& state = *m_state;
    if (!state.StartThread()) {
        // Without a thread no job waits, so the order is that of the additions.
        state.RunJob(job);
        return;
    }
    std::unique_lock lock(state.mutex);
    state.hasRoom.wait(lock, [&state] { return state.waiting.size() < state.maxWaiting; });
    state.waiting.push_back(std::move(job));
    state.hasWork.notify_one();
}

void CJobQueue::Finish() {
    SState& state = *m_state;
    std::unique_lock lock(state.mutex);
    state.hasRoom.wait(lock, [&state] { return state.waiting.empty() && !state.isRunning; });
    // No job runs now, so `thrown` is not written. The exchange makes the queue ready for further
    // jobs.
    if (state.thrown) {
        std::rethrow_exception(std::exchange(state.thrown, nullptr));
    }
}

}  // namespace platform
