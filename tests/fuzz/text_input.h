// tests/fuzz/text_input.h - an input of a fuzzer as text.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

[[nodiscard]] inline std::string_view BytesOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Takes the bytes up to `separator` off the input, and the separator.
[[nodiscard]] inline std::string_view TakePart(std::string_view& input, char separator) {
    const std::string_view part = input.substr(0, input.find(separator));
    input.remove_prefix(std::min(part.size() + 1, input.size()));
    return part;
}

// Each byte is one unit, so that the words of a dictionary and small changes make texts. The bytes
// from 0xF0 on are units that readers treat in a way of their own: halves of pairs, NUL, what no
// XML has, marks of direction, letters with an odd letter case, and the place of refused names.
[[nodiscard]] inline std::u16string TextOf(std::string_view bytes) {
    constexpr char16_t kUnits[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFE, 0xFFFF, 0xFEFF, 0x0000,
                                   0x2028, 0x202E, 0x0130, 0x212A, 0x0301, 0x3000, 0xF022, 0xFFFD};
    std::u16string text;
    for (const char byte : bytes) {
        const auto unit = static_cast<unsigned char>(byte);
        text += unit < 0xF0 ? static_cast<char16_t>(unit) : kUnits[unit - 0xF0];
    }
    return text;
}
