// foundation/path_names.h - takes names from a list in which backslashes separate them.
#pragma once

#include <algorithm>
#include <string_view>

// Remove the first or the last name from a list, with the backslash beside it, and return it. The
// result is a view into the text of the list; it is empty when the list is.
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

// Removes the first `count` names, or all if there are fewer.
inline void SkipNames(std::u16string_view& names, std::size_t count) {
    for (std::size_t i = 0; i < count && !names.empty(); ++i) {
        static_cast<void>(TakeFirstName(names));
    }
}
