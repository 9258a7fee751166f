#include "host/record_pattern.h"

#include <algorithm>
#include <utility>

#include "platform/local_paths.h"
#include "platform/text.h"

namespace host {

namespace {

using Text = std::u16string_view;
using Names = std::pair<Text, Text>;

constexpr Names kShortNames[] = {
    {u"HKEY_LOCAL_MACHINE", u"HKLM"},
    {u"HKEY_CURRENT_USER", u"HKCU"},
    {u"HKEY_CLASSES_ROOT", u"HKCR"},
    {u"HKEY_USERS", u"HKU"},
};

// The first hit counts. A key of the user is also below the last name, so that one comes last.
constexpr Names kLongNames[] = {
    {uR"(REGISTRY\MACHINE)", u"HKEY_LOCAL_MACHINE"},
    {uR"(REGISTRY\USER\CurrentUser)", u"HKEY_CURRENT_USER"},
    {uR"(REGISTRY\USER)", u"HKEY_USERS"},
};

// HKEY_CLASSES_ROOT shows both.
constexpr Names kClasses[] = {
    {uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Classes)", u"HKEY_CLASSES_ROOT"},
    {uR"(HKEY_CURRENT_USER\Software\Classes)", u"HKEY_CLASSES_ROOT"},
};

// Whether `name` is `start`, or is below it.
bool IsBelow(Text name, Text start) {
    // The start must end where a name ends: "HKLM2" is not below "HKLM".
    return name.size() >= start.size() &&
           (name.size() == start.size() || name[start.size()] == u'\\') &&
           platform::EqualText(name.substr(0, start.size()), start);
}

// Puts the second name of a row in place of the first one at the start of `name`. Empty without
// such a row.
template <std::size_t kCount>
std::u16string Rename(Text name, const Names (&rows)[kCount]) {
    for (const auto& [from, to] : rows) {
        if (IsBelow(name, from)) {
            return std::u16string(to).append(name.substr(from.size()));
        }
    }
    return {};
}

// A short name counts only as a whole: up to a backslash, a wildcard or the end.
std::u16string ExpandPattern(Text pattern) {
    for (const auto& [longName, shortName] : kShortNames) {
        const Text start = pattern.substr(0, pattern.find_first_of(u"\\*?"));
        if (!start.empty() && platform::EqualText(start, shortName)) {
            return std::u16string(longName).append(pattern.substr(start.size()));
        }
    }
    return std::u16string(pattern);
}

std::u16string LowerCase(std::u16string text) {
    platform::FoldText(text.data(), text.size());
    return text;
}

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

// Whether a text is a path of files, as the library names them.
bool IsFilePath(Text text) {
    return text.starts_with(uR"(\\)") || (text.size() > 2 && text[1] == u':' && text[2] == u'\\');
}

// Whether a name of a file is the same in every system.
bool IsPlainName(Text name) {
    static constexpr Text kOthers = uR"(/:*?"<>|)";
    return !name.empty() && name.back() != u'.' && name.back() != u' ' &&
           std::all_of(name.begin(), name.end(), [](char16_t unit) {
               return unit >= 0x20 && unit < 0x7F && kOthers.find(unit) == Text::npos;
           });
}

}  // namespace

std::u16string LongKeyName(Text source) { return Rename(source, kLongNames); }

std::u16string ShortKeyName(Text name) {
    const std::u16string renamed = Rename(name, kShortNames);
    return renamed.empty() ? std::u16string(name) : renamed;
}

bool IsOfRegistry(const SRecordEntry& entry) {
    return entry.thing == "key" || entry.thing == "value" || entry.thing == "variable";
}

Text ValueName(const SRecordEntry& entry) {
    return entry.name.empty() ? Text(u"(default)") : Text(entry.name);
}

std::u16string CLocalNames::Find(const SRecordEntry& entry) {
    const bool hasManifest = entry.thing == "manifest" && entry.collection.empty();
    const std::u16string& path = hasManifest ? entry.target : entry.source;
    if (IsOfRegistry(entry) || !IsFilePath(path)) {
        return {};
    }
    const std::size_t start = path.rfind(u'\\') + 1;
    const Text folder = Text(path).substr(0, start);
    const Text name = Text(path).substr(start);
    const bool isPlain = IsPlainName(name);
    // The files of one folder mostly come one after the other, so one folder is enough.
    if (isPlain && folder == m_folder) {
        return m_localFolder + std::u16string(name);
    }
    std::u16string local = platform::PathText(platform::LocalPath(path));
    // What Windows takes in front of a long path says nothing to people.
    local.erase(0, local.starts_with(uR"(\\?\)") ? 4 : 0);
    // A name that this system cannot have is left out of the path.
    if (local.ends_with(u'/') || local.ends_with(u'\\')) {
        return {};
    }
    // Only a name that is the same here. Then all ahead of it is the folder.
    if (isPlain && local.size() > name.size() && local.ends_with(name)) {
        m_folder = folder;
        m_localFolder = local.substr(0, local.size() - name.size());
    }
    return local;
}

CRecordPattern::CRecordPattern(Text pattern)
    : m_pattern(LowerCase(ExpandPattern(pattern))),
      m_isPart(pattern.find_first_of(u"*?") == Text::npos),
      m_isOfAll(m_pattern == u"*"),
      m_isOfClasses(m_pattern.starts_with(u"hkey_classes_root")) {}

bool CRecordPattern::Matches(const SRecordEntry& entry, const std::u16string& localName) const {
    // Also a thing without any name.
    if (m_isOfAll) {
        return true;
    }
    return IsOfRegistry(entry)
               ? MatchesKey(entry)
               : MatchesText(entry.source) || MatchesText(entry.target) || MatchesText(localName);
}

bool CRecordPattern::MatchesKey(const SRecordEntry& entry) const {
    const auto matches = [&](std::u16string key) {
        if (key.empty()) {
            return false;
        }
        if (entry.thing != "key") {
            key.append(u"\\").append(ValueName(entry));
        }
        return MatchesText(std::move(key));
    };
    const std::u16string name = LongKeyName(entry.source);
    return matches(name) || matches(entry.target) || matches(entry.source) ||
           (m_isOfClasses && matches(Rename(name, kClasses)));
}

bool CRecordPattern::MatchesText(std::u16string text) const {
    if (text.empty()) {
        return false;
    }
    const std::u16string lower = LowerCase(std::move(text));
    return m_isPart ? lower.find(m_pattern) != Text::npos : MatchesWhole(m_pattern, lower);
}

}  // namespace host
