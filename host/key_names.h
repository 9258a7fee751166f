// host/key_names.h - the names of keys as captures, manifests and people write them.
#pragma once

#include <string>
#include <string_view>

namespace host {

// The name of a value for people; the default value of a key has none of its own.
[[nodiscard]] inline std::u16string_view ValueName(std::u16string_view name) {
    return name.empty() ? u"(default)" : name;
}

// The path of a value for people: the key, a backslash and the name.
[[nodiscard]] std::u16string ValuePath(std::u16string_view key, std::u16string_view name);

// Whether `name` is the key `start`, or a key below it. Letter case does not count.
[[nodiscard]] bool IsKeyBelow(std::u16string_view name, std::u16string_view start);

// "HKEY_LOCAL_MACHINE\..." for the captured key "REGISTRY\MACHINE\..."; empty for a key above the
// real ones.
[[nodiscard]] std::u16string LongKeyName(std::u16string_view source);

// "HKLM\..." for "HKEY_LOCAL_MACHINE\...". Any other text stays as it is.
[[nodiscard]] std::u16string ShortKeyName(std::u16string_view name);

// The long name again, in a pattern of names: a short one counts as a whole, up to a backslash, a
// wildcard or the end.
[[nodiscard]] std::u16string ExpandKeyPattern(std::u16string_view pattern);

// "HKEY_CLASSES_ROOT\..." for the long name of a key that shows there; empty for another one.
[[nodiscard]] std::u16string ClassesKeyName(std::u16string_view name);

}  // namespace host
