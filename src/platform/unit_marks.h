// platform/unit_marks.h - looks at all units of a text at once.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace platform {

// CollectMarks for a text of `kBlock` units or more.
template <std::size_t kBlock, class TMarksOf>
[[nodiscard]] inline char16_t CollectMarksByBlocks(std::u16string_view text,
                                                   const TMarksOf& marksOf) {
    std::array<char16_t, kBlock> marks{};
    const auto collect = [&marks, &marksOf](const char16_t* block) {
        for (std::size_t i = 0; i < kBlock; ++i) {
            marks[i] = static_cast<char16_t>(marks[i] | marksOf(block[i]));
        }
    };
    // The last block overlaps the one before, so no units are left over.
    const char16_t* const last = text.data() + (text.size() - kBlock);
    for (const char16_t* block = text.data(); block < last; block += kBlock) {
        collect(block);
    }
    collect(last);
    char16_t all = 0;
    for (const char16_t some : marks) {
        all = static_cast<char16_t>(all | some);
    }
    return all;
}

// The marks of all units of a text: `marksOf` gives those of one unit, as bits. It may be asked
// twice for a unit. It should be a few comparisons without branches and of 16 bits, and the whole
// has no early exit, so that the compiler makes vector code of it.
// Gain: 3 times in texts of 20 to 100 units, beside a plain loop with wider results.
template <class TMarksOf>
[[nodiscard]] inline char16_t CollectMarks(std::u16string_view text, const TMarksOf& marksOf) {
    if (text.size() >= 8) {
        return CollectMarksByBlocks<8>(text, marksOf);
    }
    if (text.size() >= 4) {
        return CollectMarksByBlocks<4>(text, marksOf);
    }
    if (text.empty()) {
        return 0;
    }
    // All of one, two or three units.
    return static_cast<char16_t>(marksOf(text.front()) | marksOf(text[text.size() / 2]) |
                                 marksOf(text.back()));
}

}  // namespace platform
