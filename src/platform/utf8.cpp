#include "platform/utf8.h"

#include <cstddef>

namespace platform {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// The data of a lead byte: how many bytes follow, the smallest character with that many (a smaller
// one is overlong), and the bits of the lead itself. For a byte that cannot lead, `smallest` is
// above all characters, so the result is always malformed.
struct SLead {
    std::size_t following;
    char32_t smallest;
    char32_t bits;
};

// 0xC0 and 0xC1 could only begin overlong sequences, and 0xF5 and above only characters past
// U+10FFFF.
SLead ReadLead(unsigned char byte) {
    if (byte < 0x80) {
        return {0, 0, byte};
    }
    if (byte >= 0xC2 && byte < 0xE0) {
        return {1, 0x80, byte & 0x1FU};
    }
    if (byte >= 0xE0 && byte < 0xF0) {
        return {2, 0x800, byte & 0x0FU};
    }
    if (byte >= 0xF0 && byte < 0xF5) {
        return {3, 0x10000, byte & 0x07U};
    }
    return {0, 0x110000, byte};
}

bool IsSurrogate(char32_t c) { return c >= 0xD800 && c < 0xE000; }

// `c` is at most U+10FFFF. Each surrogate has ten bits of what is left above 0x10000.
void AppendUtf16(std::u16string& text, char32_t c) {
    if (c < 0x10000) {
        text += static_cast<char16_t>(c);
        return;
    }
    text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
}

void AppendUtf8(std::string& bytes, char32_t c) {
    if (c < 0x80) {
        bytes += static_cast<char>(c);
        return;
    }
    const int following = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    // By the number of bytes that follow, each of which has six bits of the character. The first is
    // not used, because ASCII is done above.
    constexpr unsigned kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    bytes += static_cast<char>(kLeads[following] | c >> (6 * following));
    for (int i = following - 1; i >= 0; --i) {
        bytes += static_cast<char>(0x80U | (c >> (6 * i) & 0x3FU));
    }
}

}  // namespace

std::u16string Utf8ToUtf16(std::string_view bytes) {
    std::u16string text;
    // Always enough: no sequence, malformed or not, gives more units than it has bytes.
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const SLead lead = ReadLead(static_cast<unsigned char>(bytes[at++]));
        char32_t c = lead.bits;
        std::size_t read = 0;
        for (; read < lead.following && at < bytes.size(); ++read) {
            const auto byte = static_cast<unsigned char>(bytes[at]);
            // The byte that breaks the sequence starts the next one.
            if ((byte & 0xC0U) != 0x80U) {
                break;
            }
            c = c << 6 | (byte & 0x3FU);
            ++at;
        }
        const bool isValid = read == lead.following && c >= lead.smallest && c < 0x110000;
        AppendUtf16(text, isValid && !IsSurrogate(c) ? c : kReplacement);
    }
    return text;
}

std::string Utf16ToUtf8(std::u16string_view text) {
    std::string bytes;
    // Enough for ASCII, which most texts are.
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t c = text[at];
        if (IsSurrogate(c)) {
            const char32_t low = at + 1 < text.size() ? text[at + 1] : 0;
            // A lone surrogate takes one unit only, because the next one may begin a pair.
            const bool isPair = c < 0xDC00 && low >= 0xDC00 && low < 0xE000;
            c = isPair ? 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00) : kReplacement;
            at += isPair ? 1 : 0;
        }
        AppendUtf8(bytes, c);
    }
    return bytes;
}

}  // namespace platform
