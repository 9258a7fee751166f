#include "platform/com.h"

#include <sys/random.h>

#include <cstdlib>

namespace platform {

namespace {

// Braces and dashes must be as here, and every other place has a digit.
constexpr std::u16string_view kShape = u"{11111111-2222-3333-4455-666666666666}";

void AppendHex(std::u16string& text, std::uint32_t value, int digits) {
    constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) {
        text += kDigits[(value >> shift) & 0xFU];
    }
}

// The value of a hexadecimal digit; -1 for anything else.
int HexValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    const char16_t lower = unit | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

}  // namespace

bool CreateGuid(GUID& guid) {
    GUID random{};
    if (getrandom(&random, sizeof(random), 0) != static_cast<ssize_t>(sizeof(random))) {
        return false;
    }
    // Version 4, variant 1: a GUID of random bits.
    random.Data3 = static_cast<std::uint16_t>((random.Data3 & 0x0FFFU) | 0x4000U);
    random.Data4[0] = static_cast<std::uint8_t>((random.Data4[0] & 0x3FU) | 0x80U);
    guid = random;
    return true;
}

std::u16string GuidToText(const GUID& guid) {
    std::u16string text;
    text.reserve(kShape.size());
    text += u'{';
    AppendHex(text, guid.Data1, 8);
    text += u'-';
    AppendHex(text, guid.Data2, 4);
    text += u'-';
    AppendHex(text, guid.Data3, 4);
    text += u'-';
    AppendHex(text, guid.Data4[0], 2);
    AppendHex(text, guid.Data4[1], 2);
    text += u'-';
    for (int i = 2; i < 8; ++i) {
        AppendHex(text, guid.Data4[i], 2);
    }
    text += u'}';
    return text;
}

bool TextToGuid(std::u16string_view text, GUID& guid) {
    if (text.size() != kShape.size()) {
        return false;
    }
    // The shape has 32 digits and the text its length, so the count cannot go beyond.
    std::uint32_t nibbles[32] = {};
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (kShape[i] == u'{' || kShape[i] == u'}' || kShape[i] == u'-') {
            if (text[i] != kShape[i]) {
                return false;
            }
            continue;
        }
        const int value = HexValue(text[i]);
        if (value < 0) {
            return false;
        }
        nibbles[count++] = static_cast<std::uint32_t>(value);
    }
    // All digits of a field come with the highest first, and the bytes of Data4 in their order.
    const auto number = [&nibbles](std::size_t first, std::size_t length) {
        std::uint32_t value = 0;
        for (std::size_t i = first; i < first + length; ++i) {
            value = value << 4 | nibbles[i];
        }
        return value;
    };
    guid.Data1 = number(0, 8);
    guid.Data2 = static_cast<std::uint16_t>(number(8, 4));
    guid.Data3 = static_cast<std::uint16_t>(number(12, 4));
    for (std::size_t i = 0; i < 8; ++i) {
        guid.Data4[i] = static_cast<std::uint8_t>(number(16 + 2 * i, 2));
    }
    return true;
}

// The public header tells callers to release it by free().
void* AllocateForCaller(std::size_t size) { return std::malloc(size); }

void EnterApartment() {}

void LeaveApartment() {}

}  // namespace platform
