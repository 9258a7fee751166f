// platform/code_page.h - text in the code pages of Windows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// The bytes of `text` in a code page, where 0 is the system's own; a "?" stands for what it cannot
// hold, U+FFFD in UTF-8. Empty when the code page is unknown.
[[nodiscard]] std::string ToCodePage(std::u16string_view text, std::uint32_t codePage);

}  // namespace platform
