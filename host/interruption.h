// host/interruption.h - ends a conversion early when the process is told to end.
//
// The library cannot be stopped from outside. But it calls the host after every step, such as a
// file, and goes on only when that call returns. So a conversion is stopped by not returning: its
// threads rest between two steps, and the thread that has the signal removes what they have made
// and ends the process.
#pragma once

#include <functional>

namespace host {

// What a signal does while this object lives. Other threads than the one of the signal call Step
// only. At most one object at a time.
class CInterruption {
public:
    // A signal waits until Allow. `remove` is called on the thread of the signal; it removes all
    // that the conversion has written, while the others rest or are in the middle of a step.
    explicit CInterruption(std::function<void()> remove);
    // From here on a signal ends the process as it is, but after Forbid it stays ignored.
    ~CInterruption();
    CInterruption(const CInterruption&) = delete;
    CInterruption& operator=(const CInterruption&) = delete;

    // From here on a signal ends the conversion.
    void Allow();
    // Between two steps of the library, on any thread. Does not return after a signal.
    static void Step();
    // From here on a signal is ignored until the process ends, because the result is being moved
    // into its place. Does not return after a signal.
    void Forbid();
};

}  // namespace host
