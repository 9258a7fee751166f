// platform/code_page.h - text in the code pages of Windows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// Converts `text` to a code page; 0 is that of the system. A character that the code page does not
// have becomes "?", in UTF-8 U+FFFD. Empty when the code page is unknown. Safe on any thread.
[[nodiscard]] std::string ToCodePage(std::u16string_view text, std::uint32_t codePage);

}  // namespace platform
