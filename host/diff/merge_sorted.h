// host/diff/merge_sorted.h - two sorted lists, side by side.
#pragma once

#include <compare>
#include <functional>
#include <iterator>

namespace host {

// Goes through two lists that are sorted by `key`. Calls `take` with pointers to two elements of
// equal keys, or to an element whose key the other list has not as often, and null for that list.
// False, as soon as `take` returns false.
template <class List, class Key, class Take>
bool MergeSorted(const List& left, const List& right, const Key& key, const Take& take) {
    auto first = std::begin(left);
    auto second = std::begin(right);
    // Each round takes an element of one list, or one of each.
    while (first != std::end(left) || second != std::end(right)) {
        // A list that has ended is after the other one.
        const std::strong_ordering order =
            first == std::end(left)     ? std::strong_ordering::greater
            : second == std::end(right) ? std::strong_ordering::less
                                        : std::invoke(key, *first) <=> std::invoke(key, *second);
        const bool goesOn = std::is_lt(order)   ? take(&*first++, nullptr)
                            : std::is_gt(order) ? take(nullptr, &*second++)
                                                : take(&*first++, &*second++);
        if (!goesOn) {
            return false;
        }
    }
    return true;
}

}  // namespace host
