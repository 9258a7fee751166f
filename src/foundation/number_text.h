// foundation/number_text.h - numbers as text, and back.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/wide_string.h"

constexpr unsigned kNoDigit = 36;

// The value of a digit or letter as a digit, 0 to 35; kNoDigit for any other unit.
[[nodiscard]] inline unsigned DigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    const unsigned lower = unit | 0x20U;
    return lower >= u'a' && lower <= u'z' ? lower - u'a' + 10 : kNoDigit;
}

// The plain rule: letters are digits too, "a" and "A" are 10 and so on up to 35, whatever the
// radix. So "1a" is 20 in radix 10. The first unit that is neither ends the number; without any
// digit the number is 0. A number that is too large wraps around.
[[nodiscard]] std::uint64_t ReadPlainNumber64(std::u16string_view text, unsigned radix = 10);
[[nodiscard]] inline std::uint32_t ReadPlainNumber32(std::u16string_view text) {
    return static_cast<std::uint32_t>(ReadPlainNumber64(text));
}

// The checked rule: hexadecimal digits after "0x" or "0X", otherwise decimal digits. A text with
// any other unit is 0, and so is one without digits. A number that is too large wraps around.
[[nodiscard]] std::uint64_t ReadCheckedNumber64(std::u16string_view text);
[[nodiscard]] inline std::uint32_t ReadCheckedNumber32(std::u16string_view text) {
    return static_cast<std::uint32_t>(ReadCheckedNumber64(text));
}
[[nodiscard]] inline std::uint16_t ReadCheckedNumber16(std::u16string_view text) {
    return static_cast<std::uint16_t>(ReadCheckedNumber64(text));
}

// Decimal digits, with "-" before those of a negative number.
[[nodiscard]] CStrW IntToDecimal(std::int32_t value);
// "0x" and upper-case digits without leading zeros: "0x10", "0x0".
[[nodiscard]] CStrW NumberToHex(std::uint64_t value);
