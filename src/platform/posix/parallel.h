// platform/posix/parallel.h - work that is split among the processors.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace platform {

// Takes what was made. One call at a time, but on any thread.
using TakeText = std::function<void(std::u16string_view text)>;
// Appends what belongs to the numbers from `first` up to `last` to an empty text. Of one that grows
// large it may give parts to `take`, which waits for the turn of these numbers: first that which is
// to stand first. Runs on any thread.
using MakeText = std::function<void(std::u16string& text, std::size_t first, std::size_t last,
                                    const TakeText& take)>;

// Makes the texts of the numbers below `count`, `step` numbers at a time, and has them taken in
// their order. Uses the calling thread and, where there is enough to do, others too. Throws what
// either function throws; then some of the texts may have been taken.
void MakeInOrder(std::size_t count, std::size_t step, const MakeText& make, const TakeText& take);

}  // namespace platform
