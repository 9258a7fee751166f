// platform/described/file_bytes.h - a whole file in memory.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace platform {

struct SFileBytes {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size = 0;

    [[nodiscard]] std::span<const std::byte> Get() const { return {bytes.get(), size}; }
};

// Reads a file from its start to its end, or up to `limit` bytes. The results of CInputFile, or
// ERROR_NOT_ENOUGH_MEMORY. On failure `file` is unchanged. A file that gets shorter meanwhile gives
// the bytes that were there.
[[nodiscard]] int ReadFileBytes(const char16_t* name, std::size_t limit, SFileBytes& file);

}  // namespace platform
