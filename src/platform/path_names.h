// platform/path_names.h - the rules for names in a Windows path.
#pragma once

#include <string_view>

#include "platform/unit_marks.h"

namespace platform {

// Whether `name` may be a segment of a path: 1 to 260 units, none of them one of /<>\| or a double
// quote, and a colon only as the second of exactly two units.
[[nodiscard]] inline bool IsPathName(std::u16string_view name) {
    constexpr std::size_t kMaxLength = 260;
    if (name.empty() || name.size() > kMaxLength) {
        return false;
    }
    const bool isDrive = name.size() == 2 && name[1] == u':';
    const auto marksOf = [](UnitBlock units) {
        return Equals(units, u'"') | Equals(units, u'/') | Equals(units, u':') |
               Equals(units, u'<') | Equals(units, u'>') | Equals(units, u'\\') |
               Equals(units, u'|');
    };
    return CollectMarks(isDrive ? name.substr(0, 1) : name, marksOf) == 0;
}

// Whether `name` may be the name of a server: 1 to 64 units, none of them one of ,*+/:;<>=?[]\| or
// a double quote.
[[nodiscard]] inline bool IsServerName(std::u16string_view name) {
    constexpr std::size_t kMaxLength = 64;
    return !name.empty() && name.size() <= kMaxLength &&
           name.find_first_of(uR"(",*+/:;<>=?[]\|)") == std::u16string_view::npos;
}

}  // namespace platform
