#include "host/name_pattern.h"

#include "host/key_names.h"
#include "platform/text.h"

namespace host {

namespace {

using Text = std::u16string_view;

// After a difference only the last "*" takes one unit more. What precedes it has matched for good.
bool MatchesWhole(Text pattern, Text text) {
    std::size_t at = 0;
    // `star` is the place of the last "*" in the pattern. It takes the text up to `afterStar`.
    std::size_t star = Text::npos;
    std::size_t afterStar = 0;
    std::size_t unit = 0;
    while (unit < text.size()) {
        if (at < pattern.size() && pattern[at] == u'*') {
            star = at++;
            afterStar = unit;
        } else if (at < pattern.size() && (pattern[at] == u'?' || pattern[at] == text[unit])) {
            ++at;
            ++unit;
        } else if (star != Text::npos) {
            at = star + 1;
            unit = ++afterStar;
        } else {
            return false;
        }
    }
    // The text is used up. What is left of the pattern matches only if it is stars.
    return pattern.find_first_not_of(u'*', at) == Text::npos;
}

}  // namespace

CNamePattern::CNamePattern(Text pattern)
    : m_pattern(platform::FoldedText(ExpandKeyPattern(pattern))),
      m_isPart(pattern.find_first_of(u"*?") == Text::npos),
      m_isOfAll(m_pattern == u"*"),
      m_isOfClasses(m_pattern.starts_with(u"hkey_classes_root")) {}

bool CNamePattern::Matches(Text name) const {
    if (name.empty()) {
        return false;
    }
    m_lower = name;
    platform::FoldText(m_lower.data(), m_lower.size());
    return m_isPart ? m_lower.find(m_pattern) != Text::npos : MatchesWhole(m_pattern, m_lower);
}

bool CNamePattern::MatchesKey(Text key, const Text* value) const {
    const auto matches = [&](Text name) {
        if (name.empty() || value == nullptr) {
            return Matches(name);
        }
        m_path.assign(name).append(u"\\").append(*value);
        return Matches(m_path);
    };
    return matches(key) || (m_isOfClasses && matches(ClassesKeyName(key)));
}

}  // namespace host
