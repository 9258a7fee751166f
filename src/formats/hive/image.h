// formats/hive/image.h - the bytes of a hive's file, or of one of its logs, in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "formats/hive/format.h"

namespace formats {

// A copy of a file, and what its base block says. It is not a mapping of the file, although that
// would save the copying: if someone truncated the file meanwhile, a signal would end the process,
// and if someone wrote to it, what was checked would change after the check. The logs of an
// interrupted write need their own pages anyway.
class CHiveImage {
public:
    static constexpr std::size_t kBaseBlockSize = hive::kBaseBlockSize;
    // No hive has more bytes: half of all offsets mean keys that are in no file.
    static constexpr std::size_t kMaxSize = kBaseBlockSize + 0x80000000U;

    CHiveImage() = default;
    explicit CHiveImage(std::span<const std::byte> bytes);
    // Takes over `size` bytes.
    CHiveImage(std::unique_ptr<std::byte[]> bytes, std::size_t size)
        : m_bytes(std::move(bytes)), m_size(size) {}

    // Appends zeros up to `size`.
    void Grow(std::size_t size);

    [[nodiscard]] std::span<const std::byte> GetBytes() const { return {m_bytes.get(), m_size}; }
    [[nodiscard]] std::span<std::byte> GetBytes() { return {m_bytes.get(), m_size}; }
    // What follows the base block of a hive.
    [[nodiscard]] std::span<const std::byte> GetBins() const;

    // Whether there is a base block at all; the getters below are for an image that has one. A log
    // has no more of it than its first sector.
    [[nodiscard]] bool HasBaseBlock() const;
    [[nodiscard]] bool IsChecksumRight() const;
    // The two numbers differ while a write is under way.
    [[nodiscard]] std::uint32_t GetFirstSequence() const { return Field(hive::kBaseFirstSequence); }
    [[nodiscard]] std::uint32_t GetSecondSequence() const {
        return Field(hive::kBaseSecondSequence);
    }
    [[nodiscard]] std::uint64_t GetWriteTime() const;
    [[nodiscard]] std::uint32_t GetMajorVersion() const { return Field(hive::kBaseMajorVersion); }
    [[nodiscard]] std::uint32_t GetMinorVersion() const { return Field(hive::kBaseMinorVersion); }
    [[nodiscard]] std::uint32_t GetRootCell() const { return Field(hive::kBaseRootCell); }
    [[nodiscard]] std::uint32_t GetBinsSize() const { return Field(hive::kBaseBinsSize); }
    // The sector size of the disk that the hive was written to.
    [[nodiscard]] std::size_t GetSectorSize() const;

private:
    [[nodiscard]] std::uint32_t Field(std::size_t offset) const;

    std::unique_ptr<std::byte[]> m_bytes;
    std::size_t m_size = 0;
};

}  // namespace formats
