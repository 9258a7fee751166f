#include "support/text.h"

namespace {

void AppendUtf8(std::string& bytes, char32_t c) {
    if (c < 0x80) {
        bytes += static_cast<char>(c);
    } else if (c < 0x800) {
        bytes += static_cast<char>(0xC0 | c >> 6);
        bytes += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        bytes += static_cast<char>(0xE0 | c >> 12);
        bytes += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        bytes += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        bytes += static_cast<char>(0xF0 | c >> 18);
        bytes += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        bytes += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        bytes += static_cast<char>(0x80 | (c & 0x3F));
    }
}

}  // namespace

std::string Utf8(std::u16string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        const bool isPair = c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() &&
                            text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        if (isPair) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00U);
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD;
        }
        AppendUtf8(bytes, c);
    }
    return bytes;
}

std::u16string Utf16(std::string_view text) {
    std::u16string units;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80 ? 1U : lead < 0xE0 ? 2U : lead < 0xF0 ? 3U : 4U;
        char32_t c = length == 1 ? lead : lead & (0xFFU >> (length + 1));
        for (std::size_t k = 1; k < length && i + k < text.size(); ++k) {
            c = c << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3FU);
        }
        i += length;
        if (c >= 0x10000) {
            units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            units += static_cast<char16_t>(c);
        }
    }
    return units;
}

void PrintTo(const CStrW& text, std::ostream* stream) { *stream << '"' << Utf8(text) << '"'; }
