#include "driver/reg_exclusions.h"

#include <algorithm>

#include "foundation/reg_access.h"
#include "platform/machine.h"

namespace {

constexpr std::u16string_view kKernelRoot = uR"(\REGISTRY\)";
constexpr std::u16string_view kUsers = uR"(HKEY_USERS\)";
constexpr std::u16string_view kDefaultUser = uR"(HKEY_USERS\.DEFAULT)";

bool EndsWithNoCase(std::u16string_view text, std::u16string_view end) {
    return text.size() >= end.size() && EqualsNoCase(text.substr(text.size() - end.size()), end);
}

bool Matches(const CExclusionRule& rule, const CStrW& path) {
    switch (rule.m_match) {
        case MatchPrefix:
            return path.StartsWithNoCase(rule.m_pattern);
        case MatchSuffix:
            return EndsWithNoCase(path, rule.m_pattern);
        case MatchContains:
            return FindSubstringNoCaseIndex(path, rule.m_pattern) != kAllCharacters;
        case MatchExact:
            return path.EqualsNoCase(rule.m_pattern);
        default:
            return false;
    }
}

}  // namespace

CRegExclusions::CRegExclusions() : m_userKey(CStrW(kUsers) + GetCurrentUserSid()) {
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
        m_rules.push_back({pattern, match, flag});
    }
    return !isKnown;
}

bool CRegExclusions::IsExcluded(const CStrW& path) const {
    if (path.IsEmpty()) {
        return false;
    }
    return std::any_of(m_rules.begin(), m_rules.end(),
                       [&path](const CExclusionRule& rule) { return Matches(rule, path); }) ||
           path.StartsWithNoCase(kKernelRoot) || IsOtherUser(path);
}

// Without the user's SID its key is all of the users' keys, and nobody is another user.
bool CRegExclusions::IsOtherUser(const CStrW& path) const {
    return path.StartsWithNoCase(kUsers) && !path.StartsWithNoCase(kDefaultUser) &&
           !path.StartsWithNoCase(m_userKey);
}
