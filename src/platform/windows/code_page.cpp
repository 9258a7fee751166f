#include "platform/code_page.h"

#include "platform/win.h"

namespace platform {

// The first call only asks for the size. The last two arguments are null in both, because UTF-8
// takes nothing else.
std::string ToCodePage(std::u16string_view text, std::uint32_t codePage) {
    const wchar_t* const units = ToWide(text.data());
    const int length = static_cast<int>(text.size());
    // An empty text gives a size of 0, which is also the answer for an unknown code page.
    const int size = WideCharToMultiByte(codePage, 0, units, length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    const int written =
        WideCharToMultiByte(codePage, 0, units, length, bytes.data(), size, nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(written));
    return bytes;
}

}  // namespace platform
