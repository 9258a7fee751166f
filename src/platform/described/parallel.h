// platform/described/parallel.h - work that is split among the processors.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "platform/described/text_buffer.h"

namespace platform {

// Takes what was made. There is one call at a time, but on any thread.
using TakeText = std::function<void(std::u16string_view text)>;
// Appends the text for the numbers from `first` up to `last` to an empty text. If that grows large,
// it may give what it has to `take` and clear it. `take` waits for the turn of these numbers. Runs
// on any thread.
using MakeText = std::function<void(CTextBuffer& text, std::size_t first, std::size_t last,
                                    const TakeText& take)>;

// Makes the texts for the numbers below `count`, `step` numbers at a time, and has them taken in
// their order. Uses the calling thread, and others if there is enough to do. Throws what either
// function throws; then some of the texts may have been taken.
//
// INVARIANT: each part is made once, by one thread, and taken in the order of its numbers. A thread
// has at most one part that is made and not taken, so memory is bounded by the number of threads.
// Threads: all of them have ended when this returns or throws.
// Gain: for bench hive the manifest takes 0.5 s of CPU time, of which another thread does half. So
// with two free processors it is written in half the time; with one nothing is gained.
void MakeInOrder(std::size_t count, std::size_t step, const MakeText& make, const TakeText& take);

}  // namespace platform
