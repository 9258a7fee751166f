#include "foundation/hex.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "foundation/lost_memory.h"
#include "foundation/number_text.h"

namespace {

// Reckoned, not looked up, so that the compiler makes vector code of it.
char16_t ToDigit(unsigned value) {
    return static_cast<char16_t>(value < 10 ? u'0' + value : u'A' - 10 + value);
}

}  // namespace

void WriteHexDigits(const void* bytes, std::size_t count, char16_t* digits) {
    const auto* const source = static_cast<const std::uint8_t*>(bytes);
    for (std::size_t i = 0; i < count; ++i) {
        digits[2 * i] = ToDigit(source[i] >> 4U);
        digits[2 * i + 1] = ToDigit(source[i] & 0xFU);
    }
}

CStrW BytesToHex(const void* bytes, std::size_t count) {
    CStrW text;
    // Filled in place and handed over, because Append per byte would allocate each time. Empty when
    // there is no memory, like every CStrW.
    auto* const buffer = static_cast<char16_t*>(std::malloc((2 * count + 1) * sizeof(char16_t)));
    if (buffer == nullptr) {
        NoteLostMemory();
        return text;
    }
    WriteHexDigits(bytes, count, buffer);
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
    // A single last digit is read alone.
    for (std::size_t i = 0; i < text.size(); i += 2) {
        *target++ = static_cast<std::uint8_t>(ReadPlainNumber64(text.substr(i, 2), 16));
    }
}

std::optional<std::vector<std::byte>> ParseHex(std::u16string_view text) {
    // All is checked first, because HexToBytes takes any text.
    if (text.size() % 2 != 0 || !IsHexString(text)) {
        return std::nullopt;
    }
    std::vector<std::byte> bytes(text.size() / 2);
    std::size_t count = 0;
    HexToBytes(text, bytes.data(), count);
    return bytes;
}
