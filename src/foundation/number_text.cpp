#include "foundation/number_text.h"

#include <algorithm>
#include <iterator>

std::uint64_t ReadPlainNumber64(std::u16string_view text, unsigned radix) {
    // Unsigned, so that a number that is too large wraps around.
    std::uint64_t value = 0;
    for (const char16_t unit : text) {
        const unsigned digit = DigitValue(unit);
        if (digit == kNoDigit) {
            break;
        }
        value = value * radix + digit;
    }
    return value;
}

std::uint64_t ReadCheckedNumber64(std::u16string_view text) {
    // `| 0x20` makes a letter lower-case.
    const bool isHex = text.size() >= 2 && text[0] == u'0' && (text[1] | 0x20) == u'x';
    const unsigned radix = isHex ? 16 : 10;
    const std::u16string_view digits = text.substr(isHex ? 2 : 0);
    const bool isValid = std::all_of(digits.begin(), digits.end(),
                                     [radix](char16_t unit) { return DigitValue(unit) < radix; });
    return isValid ? ReadPlainNumber64(digits, radix) : 0;
}

CStrW IntToDecimal(std::int32_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    // Negated as an unsigned number, because the smallest value has no positive signed counterpart.
    return value < 0 ? u'-' + UnsignedToText(0U - bits) : UnsignedToText(bits);
}

CStrW NumberToHex(std::uint64_t value) {
    // "0x" and at most 16 digits, filled from the end.
    char16_t digits[18];
    std::size_t first = std::size(digits);
    do {
        digits[--first] = u"0123456789ABCDEF"[value & 0xF];
        value >>= 4;
    } while (value != 0);
    digits[--first] = u'x';
    digits[--first] = u'0';
    return CStrW(std::u16string_view(digits + first, std::size(digits) - first));
}
