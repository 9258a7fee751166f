// platform/utf8.h - converts between UTF-8 and UTF-16. Safe on any thread.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// Each malformed sequence becomes U+FFFD.
[[nodiscard]] std::u16string Utf8ToUtf16(std::string_view bytes);

// Each unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string Utf16ToUtf8(std::u16string_view text);

// Whether a terminal may react to a unit, or show what follows it in another order: control
// characters, line and paragraph separators, marks of direction, the byte order mark.
[[nodiscard]] constexpr bool IsControlUnit(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x061C || unit == 0x200E ||
           unit == 0x200F || (unit >= 0x2028 && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069) || unit == 0xFEFF;
}

}  // namespace platform
