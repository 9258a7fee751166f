// platform/path_names.h - the rules for names in a Windows path.
#pragma once

#include <algorithm>
#include <string_view>

namespace platform {

// Whether `name` may be a segment of a path: 1 to 260 units, none of them one of /<>\| or a double
// quote, and a colon only as the second of exactly two units.
[[nodiscard]] inline bool IsPathName(std::u16string_view name) {
    constexpr std::size_t kMaxLength = 260;
    if (name.empty() || name.size() > kMaxLength) {
        return false;
    }
    const bool mayBeDrive = name.size() == 2 && name[0] != u':';
    return std::all_of(name.begin(), name.end(), [mayBeDrive](char16_t unit) {
        switch (unit) {
            case u'"':
            case u'/':
            case u'<':
            case u'>':
            case u'\\':
            case u'|':
                return false;
            case u':':
                return mayBeDrive;
            default:
                return true;
        }
    });
}

// Whether `name` may be the name of a server: 1 to 64 units, none of them one of ,*+/:;<>=?[]\| or
// a double quote.
[[nodiscard]] inline bool IsServerName(std::u16string_view name) {
    constexpr std::size_t kMaxLength = 64;
    return !name.empty() && name.size() <= kMaxLength &&
           name.find_first_of(uR"(",*+/:;<>=?[]\|)") == std::u16string_view::npos;
}

}  // namespace platform
