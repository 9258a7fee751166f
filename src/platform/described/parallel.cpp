#include "platform/described/parallel.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace platform {

namespace {

constexpr std::size_t kMaxThreads = 8;  // more would wait for their turns

// Gives each thread the next part, and lets it hand over what it made when its turn comes.
//
// INVARIANT: parts below `m_nextTaken` are taken and those below `m_nextMade` are given to a
// thread. Only the thread whose part is `m_nextTaken` calls `m_take`. The three numbers are touched
// only under the mutex. Once `m_hasFailed` is true, nobody waits any more.
class CParts {
public:
    CParts(std::size_t count, std::size_t step, const MakeText& make, const TakeText& take)
        : m_count(count), m_step(step), m_make(make), m_take(take) {}

    // Makes parts until none is left, or another thread has failed.
    void Run() {
        CEnd end(*this);
        CTextBuffer text;
        for (std::size_t part = NextPart(); part * m_step < m_count; part = NextPart()) {
            const std::size_t first = part * m_step;
            text.Clear();
            // If another thread has failed, what is given early is dropped, and the call after this
            // ends the thread.
            m_make(text, first, std::min(first + m_step, m_count),
                   [this, part](std::u16string_view early) { TakeInTurn(part, early); });
            if (!TakeInTurn(part, text.View())) {
                return;
            }
            EndTurn();
        }
    }

private:
    // Goes on counting past the last part, so that each thread sees the end by itself.
    std::size_t NextPart() {
        const std::lock_guard lock(m_mutex);
        return m_nextMade++;
    }

    // False, with nothing taken, when another thread has failed. May be called several times in one
    // turn, which only EndTurn ends.
    bool TakeInTurn(std::size_t part, std::u16string_view text) {
        std::unique_lock lock(m_mutex);
        m_turn.wait(lock, [this, part] { return m_nextTaken == part || m_hasFailed; });
        if (m_hasFailed) {
            return false;
        }
        // No other turn can come before EndTurn, so the lock is not needed to keep the order.
        lock.unlock();
        m_take(text);
        return true;
    }

    void EndTurn() {
        const std::lock_guard lock(m_mutex);
        ++m_nextTaken;
        m_turn.notify_all();
    }

    // Lets nobody wait for a thread that ends by an exception.
    class CEnd {
    public:
        explicit CEnd(CParts& parts) : m_parts(parts) {}
        ~CEnd() {
            if (std::uncaught_exceptions() > m_exceptions) {
                const std::lock_guard lock(m_parts.m_mutex);
                m_parts.m_hasFailed = true;
                m_parts.m_turn.notify_all();
            }
        }
        CEnd(const CEnd&) = delete;
        CEnd& operator=(const CEnd&) = delete;

    private:
        CParts& m_parts;
        const int m_exceptions = std::uncaught_exceptions();
    };

    const std::size_t m_count;
    const std::size_t m_step;
    const MakeText& m_make;
    const TakeText& m_take;
    std::mutex m_mutex;
    std::condition_variable m_turn;
    std::size_t m_nextMade = 0;
    std::size_t m_nextTaken = 0;
    bool m_hasFailed = false;
};

}  // namespace

void MakeInOrder(std::size_t count, std::size_t step, const MakeText& make, const TakeText& take) {
    CParts parts(count, step, make, take);
    const std::size_t partCount = (count + step - 1) / step;
    // The number of processors may be 0, which means unknown. Then the calling thread works alone.
    const std::size_t threads =
        std::min<std::size_t>({partCount, kMaxThreads, std::thread::hardware_concurrency()});
    std::vector<std::future<void>> others;
    try {
        for (std::size_t i = 1; i < threads; ++i) {
            others.push_back(std::async(std::launch::async, &CParts::Run, &parts));
        }
    } catch (const std::system_error&) {
        // The threads that could be started are enough.
    }
    // If this throws, the destructors of `others` wait for the threads before `parts` is destroyed.
    parts.Run();
    for (std::future<void>& other : others) {
        other.get();
    }
}

}  // namespace platform
