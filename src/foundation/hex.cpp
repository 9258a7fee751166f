#include "foundation/hex.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr unsigned kNoDigit = 36;

// The number that a digit or letter stands for; kNoDigit for any other unit.
unsigned DigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    const unsigned lower = unit | 0x20U;
    return lower >= u'a' && lower <= u'z' ? lower - u'a' + 10 : kNoDigit;
}

std::uint8_t PairValue(std::u16string_view pair) {
    unsigned value = 0;
    for (const char16_t unit : pair) {
        const unsigned digit = DigitValue(unit);
        if (digit == kNoDigit) {
            break;
        }
        value = value * 16 + digit;
    }
    return static_cast<std::uint8_t>(value);
}

}  // namespace

CStrW BytesToHex(const void* bytes, std::size_t count) {
    constexpr char16_t kHex[] = u"0123456789ABCDEF";
    CStrW text;
    auto* const buffer = static_cast<char16_t*>(std::malloc((2 * count + 1) * sizeof(char16_t)));
    if (buffer == nullptr) {
        return text;
    }
    const auto* const source = static_cast<const std::uint8_t*>(bytes);
    for (std::size_t i = 0; i < count; ++i) {
        buffer[2 * i] = kHex[source[i] >> 4];
        buffer[2 * i + 1] = kHex[source[i] & 0xF];
    }
    text.Attach(buffer, 2 * count + 1);
    return text;
}

bool IsHexString(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char16_t unit) { return DigitValue(unit) < 16; });
}

void HexToBytes(std::u16string_view text, void* bytes, std::size_t& count) {
    count = text.size() / 2;
    auto* target = static_cast<std::uint8_t*>(bytes);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        *target++ = PairValue(text.substr(i, 2));
    }
}
