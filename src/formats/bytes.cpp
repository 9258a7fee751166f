#include "formats/bytes.h"

#include <algorithm>
#include <array>

namespace formats {

namespace {

// Code page 1252 from 0x80 to 0x9F; everywhere else it is Latin-1. The five bytes that it leaves
// open stay the control characters that they are there, as Windows converts them.
constexpr std::array<char16_t, 32> kAnsiFrom80 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char16_t FromAnsi(std::uint8_t byte) {
    return byte >= 0x80 && byte < 0xA0 ? kAnsiFrom80[byte - 0x80U] : char16_t{byte};
}

}  // namespace

// Not `offset + count <= size`: hostile numbers may make the sum overflow.
bool CByteReader::Holds(std::size_t offset, std::size_t count) const {
    return offset <= m_bytes.size() && count <= m_bytes.size() - offset;
}

std::uint8_t CByteReader::GetU8(std::size_t offset) const {
    return Holds(offset, 1) ? std::to_integer<std::uint8_t>(m_bytes[offset]) : std::uint8_t{0};
}

std::uint16_t CByteReader::GetU16(std::size_t offset) const {
    if (!Holds(offset, 2)) {
        return 0;
    }
    return static_cast<std::uint16_t>(GetU8(offset) | GetU8(offset + 1) << 8);
}

std::uint32_t CByteReader::GetU32(std::size_t offset) const {
    if (!Holds(offset, 4)) {
        return 0;
    }
    return GetU16(offset) | std::uint32_t{GetU16(offset + 2)} << 16;
}

CByteReader CByteReader::Part(std::size_t offset, std::size_t count) const {
    const std::size_t start = std::min(offset, m_bytes.size());
    return CByteReader(m_bytes.subspan(start, std::min(count, m_bytes.size() - start)));
}

std::u16string CByteReader::GetAnsiText(std::size_t offset, std::size_t limit) const {
    // Grows as it is read: `limit` may be a claim of the file.
    std::u16string text;
    for (const std::byte byte : Part(offset, limit).GetBytes()) {
        if (byte == std::byte{0}) {
            break;
        }
        text += FromAnsi(std::to_integer<std::uint8_t>(byte));
    }
    return text;
}

std::u16string CByteReader::GetWideText(std::size_t offset, std::size_t limit) const {
    std::u16string text;
    // Half a unit at the end of the bytes reads as 0 and so ends the text like a NUL.
    // Ends without a limit too: after the last byte every unit reads as 0.
    for (std::size_t i = 0; i < limit; ++i) {
        const char16_t unit = GetU16(offset + 2 * i);
        if (unit == 0) {
            break;
        }
        text += unit;
    }
    return text;
}

}  // namespace formats
