#include "driver/reg_exclusions.h"

#include <algorithm>

#include "foundation/reg_access.h"
#include "platform/machine.h"

namespace {

constexpr std::u16string_view kLowerKernelRoot = uR"(\registry\)";
constexpr std::u16string_view kUsers = uR"(HKEY_USERS\)";
constexpr std::u16string_view kLowerUsers = uR"(hkey_users\)";
constexpr std::u16string_view kLowerDefaultUser = uR"(hkey_users\.default)";

// Lower-case patterns and paths are compared unit by unit: the patterns are ASCII, where this is
// what the locale says too, but for hives with names beyond it, which a machine keeps none of in
// memory.
bool Matches(const CExclusionRule& rule, std::u16string_view lowerPath) {
    const std::u16string_view pattern = rule.m_lowerPattern;
    switch (rule.m_match) {
        case MatchPrefix:
            return lowerPath.starts_with(pattern);
        case MatchSuffix:
            return lowerPath.ends_with(pattern);
        case MatchContains:
            return lowerPath.find(pattern) != std::u16string_view::npos;
        case MatchExact:
            return lowerPath == pattern;
        default:
            return false;
    }
}

CStrW LowerCase(CStrW text) {
    text.Fold();
    return text;
}

}  // namespace

CRegExclusions::CRegExclusions() : m_lowerUserKey(LowerCase(CStrW(kUsers) + GetCurrentUserSid())) {
    for (const SExclusionRow& row : GetExclusionRows()) {
        AddRule(row.pattern, row.match, row.flag);
    }
    AddVolatileHives();
}

const CRegExclusions& CRegExclusions::Get() {
    static const auto* const exclusions = new CRegExclusions;
    return *exclusions;
}

void CRegExclusions::AddVolatileHives() {
    for (const std::u16string& hive : platform::GetVolatileHives()) {
        CStrW path(hive);
        CRegPathConverter::KernelPathToHivePath(path);
        AddRule(path, MatchPrefix, false);
    }
}

bool CRegExclusions::AddRule(const CStrW& pattern, std::uint32_t match, bool flag) {
    const bool isKnown = std::any_of(
        m_rules.begin(), m_rules.end(),
        [&pattern](const CExclusionRule& rule) { return rule.m_pattern.EqualsNoCase(pattern); });
    if (!isKnown) {
        m_rules.push_back({pattern, match, flag, LowerCase(pattern)});
    }
    return !isKnown;
}

bool CRegExclusions::IsExcluded(const CStrW& path) const {
    if (path.IsEmpty()) {
        return false;
    }
    const CStrW lowerPath = LowerCase(path);
    const std::u16string_view lower = lowerPath;
    return std::any_of(m_rules.begin(), m_rules.end(),
                       [lower](const CExclusionRule& rule) { return Matches(rule, lower); }) ||
           lower.starts_with(kLowerKernelRoot) || IsOtherUser(lower);
}

// Without the user's SID its key is all of the users' keys, and nobody is another user.
bool CRegExclusions::IsOtherUser(std::u16string_view lowerPath) const {
    return lowerPath.starts_with(kLowerUsers) && !lowerPath.starts_with(kLowerDefaultUser) &&
           !lowerPath.starts_with(m_lowerUserKey.View());
}
