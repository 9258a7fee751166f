// driver/reg_exclusion_rules.h - the table of registry keys that are never in a package.
#pragma once

#include <cstdint>
#include <span>

// How a pattern is compared with the path of a key, always ignoring case.
enum EExclusionMatch : std::uint32_t {
    MatchPrefix = 0,    // the path begins with it; no backslash need follow
    MatchSuffix = 1,    // the path ends with it
    MatchContains = 2,  // the path contains it
    MatchExact = 3,     // the path equals it
};

struct SExclusionRow {
    const char16_t* pattern;
    std::uint32_t match;
    bool flag;  // kept with the row; no decision depends on it
};

// All rows. Of two rows with the same text CRegExclusions uses the first.
[[nodiscard]] std::span<const SExclusionRow> GetExclusionRows();
