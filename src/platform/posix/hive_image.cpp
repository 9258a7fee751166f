#include "platform/posix/hive_image.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <new>

#include "platform/posix/errno_status.h"
#include "platform/posix/file_io.h"
#include "platform/posix/little_endian.h"
#include "platform/status.h"

namespace platform {

namespace {

constexpr std::uint32_t kBaseBlockSignature = 0x66676572;  // "regf"
constexpr std::size_t kSectorSize = 512;
constexpr std::size_t kChecksumOffset = 508;

constexpr std::size_t kLargeFile = std::size_t{1} << 20;

// Copying a large file takes as long as looking through it: so two threads do it, each a half.
// There are fewer bytes when the file is shorter than it was when its size was asked for.
SRead ReadAll(int descriptor, std::byte* bytes, std::size_t size) {
    if (size < kLargeFile) {
        return ReadAt(descriptor, bytes, size, 0);
    }
    const std::size_t half = size / 2;
    // Without a thread to be had it runs when it is asked for.
    std::future<SRead> second =
        std::async(&ReadAt, descriptor, bytes + half, size - half, static_cast<off_t>(half));
    const SRead first = ReadAt(descriptor, bytes, half, 0);
    const SRead rest = second.get();
    return first.count < half ? first : SRead{half + rest.count, rest.error};
}

}  // namespace

CHiveImage::CHiveImage(std::span<const std::byte> bytes)
    : m_bytes(new std::byte[bytes.size()]), m_size(bytes.size()) {
    std::ranges::copy(bytes, m_bytes.get());
}

int CHiveImage::Read(const CFileDescriptor& file) {
    struct stat info {};
    if (fstat(file.Get(), &info) != 0) {
        return FailWithErrno();
    }
    const std::size_t size = std::min(static_cast<std::size_t>(info.st_size), kMaxSize);
    // Not set to zero first: the reading touches each page once.
    std::unique_ptr<std::byte[]> bytes(new (std::nothrow) std::byte[size]);
    if (bytes == nullptr) {
        return SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    const SRead read = ReadAll(file.Get(), bytes.get(), size);
    if (read.error != 0) {
        errno = read.error;
        return FailWithErrno();
    }
    m_bytes = std::move(bytes);
    m_size = read.count;
    return ERROR_SUCCESS;
}

void CHiveImage::Grow(std::size_t size) {
    if (size <= m_size) {
        return;
    }
    std::unique_ptr<std::byte[]> bytes(new std::byte[size]);
    std::ranges::copy(GetBytes(), bytes.get());
    std::fill(bytes.get() + m_size, bytes.get() + size, std::byte{0});
    m_bytes = std::move(bytes);
    m_size = size;
}

std::span<const std::byte> CHiveImage::GetBins() const {
    return m_size <= kBaseBlockSize ? std::span<const std::byte>()
                                    : GetBytes().subspan(kBaseBlockSize);
}

bool CHiveImage::HasBaseBlock() const {
    return m_size >= kSectorSize && Field(0) == kBaseBlockSignature;
}

bool CHiveImage::IsChecksumRight() const {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < kChecksumOffset; i += 4) {
        sum ^= Field(i);
    }
    // The two values that an empty and an erased disk would have are never written.
    if (sum == 0) {
        sum = 1;
    } else if (sum == 0xFFFFFFFFU) {
        sum = 0xFFFFFFFEU;
    }
    return sum == Field(kChecksumOffset);
}

std::uint64_t CHiveImage::GetWriteTime() const { return LoadU64(m_bytes.get() + 12); }

std::size_t CHiveImage::GetSectorSize() const {
    return kSectorSize * std::clamp<std::size_t>(Field(44), 1, kBaseBlockSize / kSectorSize);
}

std::uint32_t CHiveImage::Field(std::size_t offset) const {
    return LoadU32(m_bytes.get() + offset);
}

}  // namespace platform
