// platform/posix/little_endian.h - little-endian numbers at any address; the caller has checked it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

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

}  // namespace platform
