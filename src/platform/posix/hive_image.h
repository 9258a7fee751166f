// platform/posix/hive_image.h - the bytes of a hive's file, or of one of its logs, in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/posix/file_descriptor.h"

namespace platform {

// A copy of a file, and what its base block says. A mapping would save the copying, but would end
// the process with a signal when someone cuts the file off meanwhile, and would change under the
// checks that were made; the logs of an interrupted write need pages of their own anyway.
class CHiveImage {
public:
    static constexpr std::size_t kBaseBlockSize = 4096;
    // Half of all offsets mean keys that are in no file.
    static constexpr std::size_t kMaxSize = kBaseBlockSize + 0x80000000U;

    CHiveImage() = default;
    explicit CHiveImage(std::span<const std::byte> bytes);

    // Replaces the bytes by those of a file, from its start; a file that is longer than any hive is
    // cut off. On failure the image is as it was. ERROR_NOT_ENOUGH_MEMORY, or what reading gives.
    [[nodiscard]] int Read(const CFileDescriptor& file);

    // Appends zeros up to `size`.
    void Grow(std::size_t size);

    [[nodiscard]] std::span<const std::byte> GetBytes() const { return {m_bytes.get(), m_size}; }
    [[nodiscard]] std::span<std::byte> GetBytes() { return {m_bytes.get(), m_size}; }
    // What stands behind the base block of a hive.
    [[nodiscard]] std::span<const std::byte> GetBins() const;

    // Whether there is a base block at all; the getters below are for an image that has one. A log
    // has no more of it than its first sector.
    [[nodiscard]] bool HasBaseBlock() const;
    [[nodiscard]] bool IsChecksumRight() const;
    // The two numbers differ while a write is under way.
    [[nodiscard]] std::uint32_t GetFirstSequence() const { return Field(4); }
    [[nodiscard]] std::uint32_t GetSecondSequence() const { return Field(8); }
    [[nodiscard]] std::uint64_t GetWriteTime() const;
    [[nodiscard]] std::uint32_t GetMajorVersion() const { return Field(20); }
    [[nodiscard]] std::uint32_t GetMinorVersion() const { return Field(24); }
    [[nodiscard]] std::uint32_t GetRootCell() const { return Field(36); }
    [[nodiscard]] std::uint32_t GetBinsSize() const { return Field(40); }
    // The sector size of the disk that the hive was written to.
    [[nodiscard]] std::size_t GetSectorSize() const;

private:
    [[nodiscard]] std::uint32_t Field(std::size_t offset) const;

    std::unique_ptr<std::byte[]> m_bytes;
    std::size_t m_size = 0;
};

}  // namespace platform
