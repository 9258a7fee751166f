#include "platform/code_page.h"

#include <unicode/ucnv.h>

#include <memory>

namespace platform {

namespace {

// Numbers of code pages on Windows. 0 is that of the system, which here is always the one of an
// English system, so that a log does not depend on where it is written.
constexpr std::uint32_t kSystem = 0;
constexpr std::uint32_t kSystemDefault = 1252;
constexpr std::uint32_t kAscii = 20127;
constexpr std::uint32_t kLatin1 = 28591;
constexpr std::uint32_t kUtf8 = 65001;

// ICU knows most code pages of Windows as "cp" and their number. The others have names of their
// own.
std::string ConverterName(std::uint32_t codePage) {
    switch (codePage) {
        case kUtf8:
            return "UTF-8";
        case kLatin1:
            return "ISO-8859-1";
        case kAscii:
            return "US-ASCII";
        case kSystem:
            return ConverterName(kSystemDefault);
        default:
            return "cp" + std::to_string(codePage);
    }
}

}  // namespace

std::string ToCodePage(std::u16string_view text, std::uint32_t codePage) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(
        ucnv_open(ConverterName(codePage).c_str(), &error), &ucnv_close);
    // As Windows does for characters that a code page does not have. UTF-8 has all of them.
    if (codePage != kUtf8) {
        ucnv_setSubstString(converter.get(), u"?", 1, &error);
    }
    // The functions of ICU do nothing after a failure, so one check is enough. An unknown code page
    // gives no bytes, as on Windows.
    if (U_FAILURE(error)) {
        return {};
    }
    // Enough for every text, so that the conversion never stops for want of room.
    std::string bytes(text.size() * static_cast<std::size_t>(ucnv_getMaxCharSize(converter.get())),
                      '\0');
    char* target = bytes.data();
    const char16_t* source = text.data();
    ucnv_fromUnicode(converter.get(), &target, target + bytes.size(), &source, source + text.size(),
                     nullptr, true, &error);
    bytes.resize(static_cast<std::size_t>(target - bytes.data()));
    return bytes;
}

}  // namespace platform
