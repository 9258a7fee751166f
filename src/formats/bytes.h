// formats/bytes.h - little-endian numbers and texts in bytes that came from elsewhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace formats {

// Numbers at any address; the caller has checked that they are there.
inline std::uint16_t LoadU16(const std::byte* bytes) {
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[0]) |
                                      std::to_integer<unsigned>(bytes[1]) << 8);
}

inline std::uint32_t LoadU32(const std::byte* bytes) {
    return LoadU16(bytes) | static_cast<std::uint32_t>(LoadU16(bytes + 2)) << 16;
}

inline std::uint64_t LoadU64(const std::byte* bytes) {
    return LoadU32(bytes) | static_cast<std::uint64_t>(LoadU32(bytes + 4)) << 32;
}

// Borrowed bytes, read as little-endian numbers and as texts at any offset. A number that is not
// completely inside reads as 0, which binary formats take for "absent". A text ends at the last
// byte at the latest. So no caller has to check an offset. Copies are cheap; any thread.
class CByteReader {
public:
    static constexpr std::size_t kAll = static_cast<std::size_t>(-1);

    CByteReader() = default;
    explicit CByteReader(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    [[nodiscard]] std::span<const std::byte> GetBytes() const { return m_bytes; }
    [[nodiscard]] std::size_t GetSize() const { return m_bytes.size(); }
    [[nodiscard]] bool Holds(std::size_t offset, std::size_t count) const;

    [[nodiscard]] std::uint8_t GetU8(std::size_t offset) const;
    [[nodiscard]] std::uint16_t GetU16(std::size_t offset) const;
    [[nodiscard]] std::uint32_t GetU32(std::size_t offset) const;

    // The `count` bytes from `offset` on, or what there is of them.
    [[nodiscard]] CByteReader Part(std::size_t offset, std::size_t count = kAll) const;

    // The text at `offset`, up to its NUL, the end of the bytes or `limit` units: in code page
    // 1252, or in UTF-16.
    [[nodiscard]] std::u16string GetAnsiText(std::size_t offset, std::size_t limit = kAll) const;
    [[nodiscard]] std::u16string GetWideText(std::size_t offset, std::size_t limit = kAll) const;

private:
    std::span<const std::byte> m_bytes;
};

}  // namespace formats
