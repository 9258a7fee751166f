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

// Reads a file from its start to its end, or up to `limit` bytes. Results as CInputFile has them;
// ERROR_NOT_ENOUGH_MEMORY when there is no room for it. On failure `file` is unchanged.
[[nodiscard]] int ReadFileBytes(const char16_t* name, std::size_t limit, SFileBytes& file);

}  // namespace platform
