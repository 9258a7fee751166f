// platform/utf8.h - UTF-8, as it is found at the edges of the system, from and to UTF-16.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// What is malformed shows as U+FFFD.
[[nodiscard]] std::u16string Utf8ToUtf16(std::string_view bytes);

// An unpaired surrogate shows as U+FFFD.
[[nodiscard]] std::string Utf16ToUtf8(std::u16string_view text);

}  // namespace platform
