// driver/reg_exclusion_rules.h - the table of registry keys that no package carries.
#pragma once

#include <cstdint>
#include <span>

// How a pattern is compared with a key's path, always ignoring case.
enum EExclusionMatch : std::uint32_t {
    MatchPrefix = 0,    // the path begins with it, not necessarily up to a backslash
    MatchSuffix = 1,    // the path ends with it
    MatchContains = 2,  // it stands anywhere in the path
    MatchExact = 3,     // it is the path
};

struct SExclusionRow {
    const char16_t* pattern;
    std::uint32_t match;
    bool flag;  // kept with the row; no decision depends on it
};

// The rows in the order in which they are tested.
[[nodiscard]] std::span<const SExclusionRow> GetExclusionRows();
