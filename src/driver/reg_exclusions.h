// driver/reg_exclusions.h - decides which captured keys are not in the package.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "driver/reg_exclusion_rules.h"
#include "foundation/reg_path_converter.h"
#include "foundation/wide_string.h"
#include "reporting/record_reasons.h"

// One rule: a text, and how to compare it.
struct CExclusionRule {
    CStrW m_pattern;
    std::uint32_t m_match;
    bool m_flag;
    CStrW m_lowerPattern;
};

// The rules of the fixed table, of the hives that the machine keeps only in memory, and of the
// hives of other users. Filled once for a machine, then only read. One thread at a time.
//
// INVARIANT: `m_rules` is all rules in the order of their addition, no two with the same text.
// `m_lowerPrefixes` has the texts of the prefix rules, except for those that begin with another
// one; so one look-up in their order replaces a test of each. `m_lowerParts` are the texts that a
// path is searched for, and all of them begin with `m_lowerPartsStart`, so that only its places are
// looked at. `m_otherRules` are the other rules.
// Gain: 5 times in IsExcluded/Kept, 4 times in IsExcluded/Noise.
class CRegExclusions {
public:
    CRegExclusions();

    // The one instance of the process, made on the first call. It lasts as long as the same machine
    // answers.
    [[nodiscard]] static const CRegExclusions& Get();
    // Ends the instance if another machine answers by now. For the start of a conversion: the
    // instance keeps the shared CRegPathConverter alive, which has the answers of its machine too.
    static void EndOfFormerMachine();

    // Whether a key, given by its portable path, is excluded.
    [[nodiscard]] bool IsExcluded(std::u16string_view path) const;
    // Why a key is excluded, for the record; `rule` receives the text of the rule that acts, empty
    // without one. It compares with all rules, so it is for excluded keys of a full record only.
    [[nodiscard]] EReason GetReason(std::u16string_view path, CStrW& rule) const;
    // Adds a rule after all others. False when there is a rule with the same text, even one that
    // compares in another way.
    bool AddRule(const CStrW& pattern, std::uint32_t match, bool flag);

private:
    struct SInstance;
    // An order in which a text is followed by all that begin with it. Faster than that of units.
    struct SBytewiseLess {
        using is_transparent = void;
        bool operator()(std::u16string_view left, std::u16string_view right) const;
    };

    static SInstance& Instance();
    void AddVolatileHives();
    void AddPrefix(std::u16string_view lowerPattern);
    void AddPart(std::u16string_view lowerPattern);
    [[nodiscard]] bool StartsWithPrefix(std::u16string_view lowerPath) const;
    [[nodiscard]] bool ContainsPart(std::u16string_view lowerPath) const;
    [[nodiscard]] bool IsOtherUser(std::u16string_view lowerPath) const;

    std::vector<CExclusionRule> m_rules;
    std::set<std::u16string, SBytewiseLess> m_lowerPrefixes;
    std::vector<std::u16string> m_lowerParts;
    std::u16string m_lowerPartsStart;
    std::vector<CExclusionRule> m_otherRules;
    CSharedHolder<CRegPathConverter> m_pathConverter;  // keeps the shared instance alive
    CStrW m_lowerUserKey;
};
