#include "driver/reg_exclusions.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "foundation/reg_access.h"
#include "platform/machine.h"
#include "platform/text.h"

namespace {

constexpr std::u16string_view kLowerKernelRoot = uR"(\registry\)";
constexpr std::u16string_view kUsers = uR"(HKEY_USERS\)";
constexpr std::u16string_view kLowerUsers = uR"(hkey_users\)";
constexpr std::u16string_view kLowerDefaultUser = uR"(hkey_users\.default)";

bool StartsWith(std::u16string_view text, std::u16string_view start) {
    return platform::HasSameUnits(text.substr(0, start.size()), start);
}

// Compared unit by unit. For ASCII patterns this equals the comparison of any locale. All patterns
// are ASCII, except for the names of volatile hives, which in practice are ASCII too.
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
            // AddRule takes any number; one of no comparison matches nothing.
            return false;
    }
}

// A rule in the words of the record: a star is any text.
CStrW Describe(const CExclusionRule& rule) {
    switch (rule.m_match) {
        case MatchSuffix:
            return u'*' + rule.m_pattern;
        case MatchContains:
            return u'*' + rule.m_pattern + u'*';
        case MatchExact:
            return rule.m_pattern;
        default:
            return rule.m_pattern + u'*';
    }
}

// Patterns are compared with paths that are folded too, so that case does not count.
CStrW LowerCase(CStrW text) {
    text.Fold();
    return text;
}

}  // namespace

CRegExclusions::CRegExclusions() : m_lowerUserKey(LowerCase(CStrW(kUsers) + GetCurrentUserSid())) {
    for (const SExclusionRow& row : GetExclusionRows()) {
        AddRule(row.pattern, row.match, row.flag);
    }
    // After the table, so that a rule of the table counts before one of the machine with the same
    // text.
    AddVolatileHives();
}

struct CRegExclusions::SInstance {
    std::unique_ptr<const CRegExclusions> exclusions;
    std::uint64_t machine = 0;
};

// Not destroyed, so that it is valid to the end of the process.
CRegExclusions::SInstance& CRegExclusions::Instance() {
    static auto* const instance = new SInstance;
    return *instance;
}

const CRegExclusions& CRegExclusions::Get() {
    SInstance& instance = Instance();
    if (instance.exclusions == nullptr) {
        instance = {std::make_unique<CRegExclusions>(), platform::GetMachineGeneration()};
    }
    return *instance.exclusions;
}

void CRegExclusions::EndOfFormerMachine() {
    if (Instance().machine != platform::GetMachineGeneration()) {
        Instance().exclusions.reset();
    }
}

void CRegExclusions::AddVolatileHives() {
    for (const std::u16string& hive : platform::GetVolatileHives()) {
        // The machine gives the kernel's names. Keys are compared by their portable paths, which
        // begin with the name of a hive.
        CStrW path(hive);
        CRegPathConverter::KernelPathToHivePath(path);
        AddRule(path, MatchPrefix, false);
    }
}

bool CRegExclusions::AddRule(const CStrW& pattern, std::uint32_t match, bool flag) {
    // One look at each rule is enough: there are about 170, and they are added once for a machine.
    const bool isKnown = std::any_of(
        m_rules.begin(), m_rules.end(),
        [&pattern](const CExclusionRule& rule) { return rule.m_pattern.EqualsNoCase(pattern); });
    if (!isKnown) {
        m_rules.push_back({pattern, match, flag, LowerCase(pattern)});
        if (match == MatchPrefix) {
            AddPrefix(m_rules.back().m_lowerPattern.View());
        } else if (match == MatchContains) {
            AddPart(m_rules.back().m_lowerPattern.View());
        } else {
            m_otherRules.push_back(m_rules.back());
        }
    }
    return !isKnown;
}

void CRegExclusions::AddPrefix(std::u16string_view lowerPattern) {
    if (lowerPattern.empty() || StartsWithPrefix(lowerPattern)) {
        return;
    }
    // Longer prefixes with this start are not needed any more. They follow it directly in the
    // order.
    auto covered = m_lowerPrefixes.lower_bound(lowerPattern);
    while (covered != m_lowerPrefixes.end() && covered->starts_with(lowerPattern)) {
        covered = m_lowerPrefixes.erase(covered);
    }
    m_lowerPrefixes.emplace(lowerPattern);
}

void CRegExclusions::AddPart(std::u16string_view lowerPattern) {
    if (m_lowerParts.empty()) {
        m_lowerPartsStart = lowerPattern;
    }
    const auto end = std::ranges::mismatch(m_lowerPartsStart, lowerPattern).in1;
    m_lowerPartsStart.erase(end, m_lowerPartsStart.end());
    m_lowerParts.emplace_back(lowerPattern);
}

bool CRegExclusions::ContainsPart(std::u16string_view lowerPath) const {
    if (m_lowerParts.empty()) {
        return false;
    }
    for (std::size_t place = lowerPath.find(m_lowerPartsStart); place != std::u16string_view::npos;
         place = lowerPath.find(m_lowerPartsStart, place + 1)) {
        const std::u16string_view rest = lowerPath.substr(place);
        if (std::ranges::any_of(m_lowerParts, [rest](const std::u16string& part) {
                return StartsWith(rest, part);
            })) {
            return true;
        }
    }
    return false;
}

bool CRegExclusions::SBytewiseLess::operator()(std::u16string_view left,
                                               std::u16string_view right) const {
    const std::size_t common = std::min(left.size(), right.size());
    const int order =
        common == 0 ? 0 : std::memcmp(left.data(), right.data(), common * sizeof(char16_t));
    return order != 0 ? order < 0 : left.size() < right.size();
}

// No prefix is the start of another one. So only the last prefix that is not greater than the path
// can be its start.
bool CRegExclusions::StartsWithPrefix(std::u16string_view lowerPath) const {
    const auto next = m_lowerPrefixes.upper_bound(lowerPath);
    return next != m_lowerPrefixes.begin() && StartsWith(lowerPath, *std::prev(next));
}

EReason CRegExclusions::GetReason(std::u16string_view path, CStrW& rule) const {
    const std::u16string lowerPath = platform::FoldedText(path);
    const auto found = std::ranges::find_if(
        m_rules, [&lowerPath](const CExclusionRule& each) { return Matches(each, lowerPath); });
    if (found != m_rules.end()) {
        rule = Describe(*found);
        return EReason::ExclusionRule;
    }
    rule = {};
    return IsOtherUser(lowerPath) ? EReason::OtherUser : EReason::KernelPath;
}

bool CRegExclusions::IsExcluded(std::u16string_view path) const {
    // The portable form of a target that is no key path is empty. No rule speaks of such a target.
    if (path.empty()) {
        return false;
    }
    const std::u16string lower = platform::FoldedText(path);
    return StartsWithPrefix(lower) || ContainsPart(lower) ||
           std::any_of(m_otherRules.begin(), m_otherRules.end(),
                       [&lower](const CExclusionRule& rule) { return Matches(rule, lower); }) ||
           lower.starts_with(kLowerKernelRoot) || IsOtherUser(lower);
}

// Without a SID `m_lowerUserKey` is "hkey_users\" itself, so no key belongs to another user.
bool CRegExclusions::IsOtherUser(std::u16string_view lowerPath) const {
    return lowerPath.starts_with(kLowerUsers) && !lowerPath.starts_with(kLowerDefaultUser) &&
           !lowerPath.starts_with(m_lowerUserKey.View());
}
