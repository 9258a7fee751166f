#include "platform/posix/files/file_name.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <utility>

#include "platform/unit_marks.h"

namespace platform {

namespace {

constexpr char16_t kRawByte = 0xDC00;

// The byte that a lone surrogate means, or 0.
constexpr unsigned char RawByte(char16_t unit) {
    const int byte = unit - kRawByte;
    const bool isByte = byte > 0 && byte < 0x100 && (byte >= 0x80 || IsForeign(char32_t(byte)));
    return isByte ? static_cast<unsigned char>(byte) : 0;
}

// Reads the character at the start of `bytes`. Gives the number of its bytes, or 0 when they are no
// UTF-8: cut short, longer than needed, a surrogate, or past U+10FFFF.
std::size_t DecodeCharacter(std::string_view bytes, char32_t& c) {
    // By hand, because ICU passes several bytes of a broken character at once, and each of them has
    // to be given.
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) {
        c = lead;
        return 1;
    }
    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || bytes.size() < length) {
        return 0;
    }
    // A lead byte begins with as many ones as the character has bytes, and a zero.
    c = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if ((byte & 0xC0U) != 0x80U) {
            return 0;
        }
        c = c << 6 | (byte & 0x3FU);
    }
    const bool isTooLong = (length == 3 && c < 0x800) || (length == 4 && c < 0x10000);
    return isTooLong || (c >= 0xD800 && c < 0xE000) || c > 0x10FFFF ? 0 : length;
}

void ReadAll(CNameReader reader, std::u16string& text) {
    text.clear();
    for (int unit = reader.Next(); unit != CNameReader::kEnd; unit = reader.Next()) {
        text += static_cast<char16_t>(unit);
    }
}

// Whether each unit is a byte that appears as itself. Nearly all names are like that.
// Gain: half the instructions of NameFromText and ReadName.
bool IsAllPlain(std::u16string_view text) {
    return CollectMarks(text, [](UnitBlock units) {
               MarkBlock others = (units < 0x20) | (units >= 0x80) | Equals(units, u'/');
               for (const char16_t mark : kForeignMarks) {
                   others |= Equals(units, mark);
               }
               return others;
           }) == 0;
}

// Appends one character, a lone surrogate in three bytes like any other of its size.
void AppendUtf8(std::string& bytes, UChar32 c) {
    const auto tail = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        bytes += static_cast<char>(c);
    } else if (c < 0x800) {
        bytes += static_cast<char>(0xC0 | c >> 6);
        bytes += tail(0);
    } else if (c < 0x10000) {
        bytes += static_cast<char>(0xE0 | c >> 12);
        bytes += tail(6);
        bytes += tail(0);
    } else {
        bytes += static_cast<char>(0xF0 | c >> 18);
        bytes += tail(12);
        bytes += tail(6);
        bytes += tail(0);
    }
}

}  // namespace

int CNameReader::NextOther() {
    if (m_trail != 0) {
        return std::exchange(m_trail, char16_t{0});
    }
    if (m_bytes.empty()) {
        return kEnd;
    }
    char32_t c = 0;
    const std::size_t length = DecodeCharacter(m_bytes, c);
    if (length == 0) {
        c = static_cast<char32_t>(kRawByte + static_cast<unsigned char>(m_bytes[0]));
    } else if (IsForeign(c)) {
        c += m_foreignBase;
    } else if (c >= 0x10000) {
        // The second unit of the pair is given by the next call.
        m_trail = static_cast<char16_t>(U16_TRAIL(c));
        c = U16_LEAD(c);
    }
    // Only one bad byte is passed, because the next one may begin a character.
    m_bytes.remove_prefix(length == 0 ? 1 : length);
    return static_cast<int>(c);
}

// Nearly all names are plain to their end.
bool ReadName(std::string_view bytes, std::u16string& text) {
    text.resize(bytes.size());
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](char byte) { return static_cast<unsigned char>(byte); });
    const bool isPlain = IsAllPlain(text);
    if (!isPlain) {
        ReadAll(CNameReader(bytes), text);
    }
    return isPlain;
}

std::u16string TextFromName(std::string_view bytes) {
    std::u16string text;
    ReadName(bytes, text);
    return text;
}

std::u16string UnambiguousTextFromName(std::string_view bytes) {
    std::u16string text;
    ReadAll(CNameReader(bytes, kRawByte), text);
    return text;
}

bool NameFromText(std::u16string_view text, std::string& bytes) {
    if (IsAllPlain(text)) {
        bytes.resize(text.size());
        std::transform(text.begin(), text.end(), bytes.begin(),
                       [](char16_t unit) { return static_cast<char>(unit); });
        return IsEntryName(bytes);
    }
    bytes.clear();
    for (std::size_t i = 0; i < text.size();) {
        UChar32 c = 0;
        // Gives a lone surrogate as itself, which may mean a byte.
        U16_NEXT(text.data(), i, text.size(), c);
        if (c == u'/' || IsForeign(static_cast<char32_t>(c))) {
            return false;
        }
        if (const unsigned char byte = c < 0x10000 ? RawByte(static_cast<char16_t>(c)) : 0) {
            bytes += static_cast<char>(byte);
        } else {
            AppendUtf8(bytes, c);
        }
    }
    return IsEntryName(bytes);
}

char16_t UpperOtherUnit(char16_t unit) {
    const UChar32 upper = u_toupper(unit);
    // The dotless i and the long s stay as they are: on Windows no other letter becomes an ASCII
    // one.
    return upper >= 0x80 && upper < 0x10000 ? static_cast<char16_t>(upper) : unit;
}

void AppendUpper(std::u16string& upper, std::u16string_view text) {
    const std::size_t start = upper.size();
    upper.resize(start + text.size());
    std::transform(text.begin(), text.end(), upper.begin() + static_cast<std::ptrdiff_t>(start),
                   UpperUnit);
}

bool IsSameName(std::u16string_view left, std::u16string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t a, char16_t b) { return UpperUnit(a) == UpperUnit(b); });
}

bool MatchesPattern(std::u16string_view name, std::u16string_view pattern) {
    if (pattern == u"*" || pattern == u"*.*") {
        return true;
    }
    std::size_t at = 0;
    std::size_t next = 0;
    // Where to go on when a match fails: after the last star, which then takes one unit more. Stars
    // before that one need not be tried again, so the time is at most the product of the lengths.
    std::size_t starNext = std::u16string_view::npos;
    std::size_t starAt = 0;
    while (at < name.size()) {
        if (next < pattern.size() && pattern[next] == u'*') {
            starNext = ++next;
            starAt = at;
        } else if (next < pattern.size() &&
                   (pattern[next] == u'?' || UpperUnit(pattern[next]) == UpperUnit(name[at]))) {
            ++at;
            ++next;
        } else if (starNext != std::u16string_view::npos) {
            next = starNext;
            at = ++starAt;
        } else {
            return false;
        }
    }
    // The name has ended, so what is left of the pattern must be stars, which match nothing too.
    return pattern.find_first_not_of(u'*', next) == std::u16string_view::npos;
}

}  // namespace platform
