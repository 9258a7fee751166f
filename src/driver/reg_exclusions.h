// driver/reg_exclusions.h - which captured keys stay out of the package.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "driver/reg_exclusion_rules.h"
#include "foundation/reg_path_converter.h"
#include "foundation/wide_string.h"

// One rule: what to test for, and how.
struct CExclusionRule {
    CStrW m_pattern;
    std::uint32_t m_match;
    bool m_flag;
    CStrW m_lowerPattern;
};

// Knows the fixed table, the hives that the machine keeps in memory alone, and the hives of other
// users. Filled once, then only read. Used by one thread at a time.
class CRegExclusions {
public:
    CRegExclusions();

    // The one instance of the process, made on the first call and never destroyed.
    [[nodiscard]] static const CRegExclusions& Get();

    // Whether a key, given by its portable path, stays out.
    [[nodiscard]] bool IsExcluded(const CStrW& path) const;
    // Adds a rule behind all others. False when one with the same text is there, whatever it tests.
    bool AddRule(const CStrW& pattern, std::uint32_t match, bool flag);

private:
    void AddVolatileHives();
    void AddPrefix(std::u16string_view lowerPattern);
    [[nodiscard]] bool StartsWithPrefix(std::u16string_view lowerPath) const;
    [[nodiscard]] bool IsOtherUser(std::u16string_view lowerPath) const;

    std::vector<CExclusionRule> m_rules;
    std::set<std::u16string, std::less<>> m_lowerPrefixes;  // of the rules that test for one
    std::vector<CExclusionRule> m_otherRules;               // those that test otherwise
    CSharedHolder<CRegPathConverter> m_pathConverter;       // kept alive for those who use it
    CStrW m_lowerUserKey;
};
