// tests/support/little_endian.h - little-endian numbers in the bytes that a test puts together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

inline void PutNumber(std::string& bytes, std::size_t offset, std::uint64_t number,
                      std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        bytes.at(offset + i) = static_cast<char>(number >> 8 * i & 0xFFU);
    }
}

inline void AppendNumber(std::string& bytes, std::uint64_t number, std::size_t size) {
    bytes.resize(bytes.size() + size);
    PutNumber(bytes, bytes.size() - size, number, size);
}

inline std::string Numbers(std::initializer_list<std::uint64_t> numbers, std::size_t size = 4) {
    std::string bytes;
    for (const std::uint64_t number : numbers) {
        AppendNumber(bytes, number, size);
    }
    return bytes;
}

// The units of a text, or of each the low byte alone.
inline std::string UnitBytes(std::u16string_view text, std::size_t size = 2) {
    std::string bytes;
    for (const char16_t unit : text) {
        AppendNumber(bytes, unit, size);
    }
    return bytes;
}

inline std::uint64_t GetNumber(std::string_view bytes, std::size_t offset, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- != 0;) {
        number = number << 8 | static_cast<unsigned char>(bytes.at(offset + i));
    }
    return number;
}
