// host/batch/result_watch.h - waits for results that other processes make.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "host/batch/batch_result.h"
#include "host/batch/batch_sources.h"
#include "host/batch/batch_work.h"
#include "host/system.h"

namespace host {

// A package whose result an array is to make.
struct SAwaited {
    std::size_t index = 0;             // of the package
    std::size_t array = 0;             // which array has it
    std::optional<SFileState> before;  // of result.json when the run began
};

// Looks for results in rounds, each of which comes to every package that has none yet.
//
// INVARIANT: the first `m_left` of `m_awaited` are those that the present round has not come to.
// One thread at a time.
class CResultWatch {
public:
    // `take` is called for each package whose result is there, once; the package is not awaited any
    // more. `rules` and `packages` outlive this object.
    CResultWatch(const SBatchRules& rules, const std::vector<SPackage>& packages,
                 std::function<void(const SAwaited&, const SPackageResult&)> take)
        : m_rules(rules), m_packages(packages), m_take(std::move(take)) {}

    // Not during a round.
    void Add(const SAwaited& awaited);
    [[nodiscard]] const std::deque<SAwaited>& GetAwaited() const { return m_awaited; }

    // Looks for a part of a round, unless it is time for a pause. Pauses grow while there is
    // nothing to see, and are so long that looking takes at most a fifth of the time. A signal ends
    // the part early.
    void Look();
    // Looks for all of them now, unless a signal comes.
    void LookForAll();

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds kFirstPause{500};

    void BeginRound();
    void LookOn(std::size_t count);
    void EndRound();
    [[nodiscard]] bool IsTaken(const SAwaited& awaited);

    const SBatchRules& m_rules;
    const std::vector<SPackage>& m_packages;
    std::function<void(const SAwaited&, const SPackageResult&)> m_take;
    std::deque<SAwaited> m_awaited;
    std::size_t m_left = 0;
    bool m_hasFound = false;          // whether this round has found a result
    Clock::duration m_lookTime{};     // that this round has taken
    Clock::time_point m_nextRound{};  // when it may begin
    std::chrono::milliseconds m_pause = kFirstPause;
};

}  // namespace host
