// platform/unit_marks.h - looks at all units of a text at once.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace platform {

constexpr std::size_t kUnitsOfBlock = 8;
// Units that are compared together, by the vector types that GCC and clang have for every
// processor. A comparison gives all bits for a unit for which it is true, and none for another.
using UnitBlock [[gnu::vector_size(16)]] = std::uint16_t;
using MarkBlock [[gnu::vector_size(16)]] = std::int16_t;

[[nodiscard]] inline UnitBlock LoadUnits(const char16_t* units) {
    UnitBlock block;
    std::memcpy(&block, units, sizeof(block));
    return block;
}

// The marks of all units of a text together. `marksOf` takes a UnitBlock and gives the marks of its
// units as bits; it may be asked twice for a unit.
// Gain: three times fewer instructions for texts of 20 to 100 units, beside a plain loop that the
// compiler vectorises: it widens the results, and goes through what is left over unit by unit.
template <class TMarksOf>
[[nodiscard]] inline unsigned CollectMarks(std::u16string_view text, const TMarksOf& marksOf) {
    if (text.empty()) {
        return 0;
    }
    MarkBlock marks;
    if (text.size() < kUnitsOfBlock) {
        // The rest of the block is filled by a unit that is looked at anyway.
        std::array<char16_t, kUnitsOfBlock> padded;
        padded.fill(text.front());
        std::copy(text.begin(), text.end(), padded.begin());
        marks = marksOf(LoadUnits(padded.data()));
    } else {
        // The last block overlaps the one before, so nothing is left over.
        const std::size_t last = text.size() - kUnitsOfBlock;
        marks = marksOf(LoadUnits(text.data() + last));
        for (std::size_t at = 0; at < last; at += kUnitsOfBlock) {
            marks |= marksOf(LoadUnits(text.data() + at));
        }
    }
    // The bits of all units in one, by halves.
    using Halves = std::array<std::uint64_t, 2>;
    const auto halves = std::bit_cast<Halves>(marks);
    std::uint64_t all = halves[0] | halves[1];
    all |= all >> 32;
    all |= all >> 16;
    return static_cast<std::uint16_t>(all);
}

}  // namespace platform
