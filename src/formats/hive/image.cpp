#include "formats/hive/image.h"

#include <algorithm>

#include "formats/bytes.h"

namespace formats {

using namespace hive;

CHiveImage::CHiveImage(std::span<const std::byte> bytes)
    : m_bytes(new std::byte[bytes.size()]), m_size(bytes.size()) {
    std::ranges::copy(bytes, m_bytes.get());
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

// A sector is enough: all fields are in it, and a log has no more.
bool CHiveImage::HasBaseBlock() const {
    return m_size >= kSectorSize && Field(0) == kBaseSignature;
}

bool CHiveImage::IsChecksumRight() const {
    // All words before the checksum, combined by exclusive or.
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < kBaseChecksum; i += 4) {
        sum ^= Field(i);
    }
    // Windows never writes 0 or 0xFFFFFFFF, which an empty or erased disk would have. It writes the
    // number beside.
    if (sum == 0) {
        sum = 1;
    } else if (sum == 0xFFFFFFFFU) {
        sum = 0xFFFFFFFEU;
    }
    return sum == Field(kBaseChecksum);
}

std::uint64_t CHiveImage::GetWriteTime() const { return LoadU64(m_bytes.get() + kBaseWriteTime); }

// The field may be anything. A sector is at least 512 bytes, and no larger than a base block.
std::size_t CHiveImage::GetSectorSize() const {
    return kSectorSize *
           std::clamp<std::size_t>(Field(kBaseSectors), 1, kBaseBlockSize / kSectorSize);
}

std::uint32_t CHiveImage::Field(std::size_t offset) const {
    return LoadU32(m_bytes.get() + offset);
}

}  // namespace formats
