#include "support/text.h"

#include "platform/utf8.h"
#include "support/little_endian.h"

std::string Utf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }

std::u16string Utf16(std::string_view text) { return platform::Utf8ToUtf16(text); }

std::string Utf16Bytes(std::string_view text) { return "\xFF\xFE" + UnitBytes(Utf16(text)); }

std::string Repeat(std::string_view text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    while (count-- != 0) {
        all += text;
    }
    return all;
}

void PrintTo(const CStrW& text, std::ostream* stream) { *stream << '"' << Utf8(text) << '"'; }
