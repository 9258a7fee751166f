#include "host/key_names.h"

#include <utility>

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

// Puts the second name of a row in place of the first one at the start of `name`. Empty without
// such a row.
template <std::size_t kCount>
std::u16string Rename(Text name, const Names (&rows)[kCount]) {
    for (const auto& [from, to] : rows) {
        if (IsKeyBelow(name, from)) {
            return std::u16string(to).append(name.substr(from.size()));
        }
    }
    return {};
}

}  // namespace

std::u16string ValuePath(Text key, Text name) {
    return std::u16string(key).append(u"\\").append(ValueName(name));
}

bool IsKeyBelow(Text name, Text start) {
    // The start must end where a name ends: "HKLM2" is not below "HKLM".
    return name.size() >= start.size() &&
           (name.size() == start.size() || name[start.size()] == u'\\') &&
           platform::EqualText(name.substr(0, start.size()), start);
}

std::u16string LongKeyName(Text source) { return Rename(source, kLongNames); }

std::u16string ShortKeyName(Text name) {
    const std::u16string renamed = Rename(name, kShortNames);
    return renamed.empty() ? std::u16string(name) : renamed;
}

std::u16string ExpandKeyPattern(Text pattern) {
    for (const auto& [longName, shortName] : kShortNames) {
        const Text start = pattern.substr(0, pattern.find_first_of(u"\\*?"));
        if (!start.empty() && platform::EqualText(start, shortName)) {
            return std::u16string(longName).append(pattern.substr(start.size()));
        }
    }
    return std::u16string(pattern);
}

std::u16string ClassesKeyName(Text name) { return Rename(name, kClasses); }

}  // namespace host
