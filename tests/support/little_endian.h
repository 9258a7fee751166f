// tests/support/little_endian.h - little-endian numbers in the bytes that a test puts together.
#pragma once

#include <cstddef>
#include <cstdint>
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

inline std::uint64_t GetNumber(std::string_view bytes, std::size_t offset, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- != 0;) {
        number = number << 8 | static_cast<unsigned char>(bytes.at(offset + i));
    }
    return number;
}
