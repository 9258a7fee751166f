// formats/hive/marvin.h - the checksum of a hive's log entries, a hash that depends on a seed.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "formats/bytes.h"

namespace formats {

// Takes numbers one by one and gives 64 bits. If nobody outside knows the seed, nobody outside can
// make inputs that collide.
class CMarvin {
public:
    explicit CMarvin(std::uint64_t seed)
        : m_low(static_cast<std::uint32_t>(seed)), m_high(static_cast<std::uint32_t>(seed >> 32)) {}

    void Add(std::uint32_t number) {
        m_low += number;
        Mix();
    }

    // Adds bytes, of which only the last call may have a number that 4 doesn't divide, and
    // finishes.
    [[nodiscard]] std::uint64_t Finish(std::span<const std::byte> bytes = {}) {
        for (; bytes.size() >= 4; bytes = bytes.subspan(4)) {
            Add(LoadU32(bytes.data()));
        }
        std::uint32_t rest = 0x80;
        for (std::size_t i = bytes.size(); i-- != 0;) {
            rest = rest << 8 | std::to_integer<std::uint32_t>(bytes[i]);
        }
        Add(rest);
        Mix();
        return m_low | static_cast<std::uint64_t>(m_high) << 32;
    }

private:
    void Mix() {
        m_high ^= m_low;
        m_low = std::rotl(m_low, 20) + m_high;
        m_high = std::rotl(m_high, 9) ^ m_low;
        m_low = std::rotl(m_low, 27) + m_high;
        m_high = std::rotl(m_high, 19);
    }

    std::uint32_t m_low;
    std::uint32_t m_high;
};

}  // namespace formats
