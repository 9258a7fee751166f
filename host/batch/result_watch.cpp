#include "host/batch/result_watch.h"

#include <algorithm>
#include <string>

#include "host/batch/batch_folder.h"
#include "host/batch/batch_signals.h"

namespace host {

namespace {

constexpr std::size_t kLooksPerPart = 1000;
// How many times as long as a round the pause after it is at least.
constexpr int kPausePerLook = 4;
constexpr std::chrono::milliseconds kLongestPause{10'000};

bool HasChanged(const std::optional<SFileState>& before, const std::optional<SFileState>& after) {
    return after && (!before || before->size != after->size || before->written != after->written ||
                     before->changed != after->changed);
}

}  // namespace

void CResultWatch::Add(const SAwaited& awaited) { m_awaited.push_back(awaited); }

void CResultWatch::Look() {
    if (m_left == 0) {
        if (Clock::now() < m_nextRound) {
            return;
        }
        BeginRound();
    }
    LookOn(kLooksPerPart);
    if (m_left == 0) {
        EndRound();
    }
}

void CResultWatch::LookForAll() {
    BeginRound();
    LookOn(m_left);
}

void CResultWatch::BeginRound() {
    m_left = m_awaited.size();
    m_hasFound = false;
    m_lookTime = {};
}

void CResultWatch::LookOn(std::size_t count) {
    const Clock::time_point begin = Clock::now();
    for (count = std::min(count, m_left); count != 0 && GetSignalStatus() == 0; --count) {
        const SAwaited awaited = m_awaited.front();
        m_awaited.pop_front();
        --m_left;
        if (IsTaken(awaited)) {
            m_hasFound = true;
        } else {
            m_awaited.push_back(awaited);
        }
    }
    m_lookTime += Clock::now() - begin;
}

void CResultWatch::EndRound() {
    m_pause = m_hasFound ? kFirstPause : std::min(m_pause * 3 / 2, kLongestPause);
    m_nextRound = Clock::now() + std::max<Clock::duration>(m_pause, m_lookTime * kPausePerLook);
}

bool CResultWatch::IsTaken(const SAwaited& awaited) {
    const std::filesystem::path file =
        ResultFolder(m_rules, m_packages[awaited.index]) / kResultFile;
    SPackageResult result;
    std::string problem;
    // One that is not whole yet is looked at again.
    if (!HasChanged(awaited.before, GetFileState(file)) ||
        ReadResult(file, result, problem) != EResultState::Good) {
        return false;
    }
    m_take(awaited, result);
    return true;
}

}  // namespace host
