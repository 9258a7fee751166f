// foundation/path_names.h - takes names off a list of them with backslashes in between.
#pragma once

#include <algorithm>
#include <string_view>

// Take the first or the last name away, and the backslash beside it. The name lasts as long as the
// list's text; it is empty when the list is.
[[nodiscard]] inline std::u16string_view TakeFirstName(std::u16string_view& names) {
    const std::u16string_view name = names.substr(0, names.find(u'\\'));
    names.remove_prefix(std::min(name.size() + 1, names.size()));
    return name;
}
[[nodiscard]] inline std::u16string_view TakeLastName(std::u16string_view& names) {
    const std::u16string_view name = names.substr(names.rfind(u'\\') + 1);
    names.remove_suffix(std::min(name.size() + 1, names.size()));
    return name;
}

// Takes `count` names away from the start, or what there is of them.
inline void SkipNames(std::u16string_view& names, std::size_t count) {
    for (std::size_t i = 0; i < count && !names.empty(); ++i) {
        static_cast<void>(TakeFirstName(names));
    }
}
