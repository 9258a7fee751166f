#include "host/interruption.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "host/system.h"

namespace host {

namespace {

// A step that takes longer is not waited for, such as that of a very large file. What it still
// writes goes into files that have no name any more.
constexpr std::chrono::seconds kPatience{2};

enum class EPhase { Preparing, Running, Ending, Forbidden, Over };

// INVARIANT: `phase`, `isResting` and `remove` are guarded by `mutex`. `isEnding` is true when the
// phase is Ending, and is there so that a step does not take the mutex.
struct SState {
    std::mutex mutex;
    std::condition_variable changed;
    EPhase phase = EPhase::Over;
    bool isResting = false;
    std::function<void()> remove;
    std::atomic<bool> isEnding = false;
};

// Not destroyed, because the thread of the signals may outlive main().
SState& State() {
    static auto* const state = new SState;
    return *state;
}

[[noreturn]] void Rest(std::unique_lock<std::mutex>& lock) {
    // This ends the wait of the thread of the signals. The calling thread goes on waiting until the
    // process ends.
    State().isResting = true;
    State().changed.notify_all();
    for (;;) {
        State().changed.wait(lock);
    }
}

void SetPhase(EPhase phase) {
    std::unique_lock lock(State().mutex);
    if (State().phase == EPhase::Ending) {
        Rest(lock);
    }
    // Once the result is in its place, a status that says that nothing was changed would be wrong.
    if (State().phase != EPhase::Forbidden) {
        State().phase = phase;
    }
    State().changed.notify_all();
}

// The thread of the signals.
void OnEndingSignal(int status) {
    SState& state = State();
    std::unique_lock lock(state.mutex);
    state.changed.wait(lock, [&] { return state.phase != EPhase::Preparing; });
    if (state.phase == EPhase::Forbidden) {
        return;
    }
    if (state.phase == EPhase::Running) {
        state.phase = EPhase::Ending;
        state.isEnding = true;
        // The mutex stays locked from here on, except while waiting. So no other thread passes Step
        // or changes the phase any more.
        state.changed.wait_for(lock, kPatience, [&] { return state.isResting; });
        state.remove();
    }
    // Also in the phase Over, in which there is nothing to remove.
    EndProcess(status);
}

}  // namespace

CInterruption::CInterruption(std::function<void()> remove) {
    {
        const std::lock_guard lock(State().mutex);
        State().phase = EPhase::Preparing;
        State().remove = std::move(remove);
    }
    // After the state is set, because a signal may come at once.
    CatchEndingSignals(&OnEndingSignal);
}

CInterruption::~CInterruption() { SetPhase(EPhase::Over); }

void CInterruption::Allow() { SetPhase(EPhase::Running); }

void CInterruption::Step() {
    if (State().isEnding) {
        std::unique_lock lock(State().mutex);
        Rest(lock);
    }
}

void CInterruption::Forbid() { SetPhase(EPhase::Forbidden); }

}  // namespace host
