// platform/utf8.h - converts between UTF-8 and UTF-16. Safe on any thread.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// Each malformed sequence becomes U+FFFD.
[[nodiscard]] std::u16string Utf8ToUtf16(std::string_view bytes);

// Each unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string Utf16ToUtf8(std::u16string_view text);

}  // namespace platform
