#include "platform/posix/name_table.h"

#include <bit>
#include <random>

namespace platform {

std::uint64_t GetNameSeed() {
    static const std::uint64_t s_seed = [] {
        std::random_device random;
        return static_cast<std::uint64_t>(random()) << 32 | random();
    }();
    return s_seed;
}

void CNameTable::Reset(std::size_t count) {
    m_places.assign(std::bit_ceil(count + count / 2 + 1), kEmpty);
    m_mask = m_places.size() - 1;
}

}  // namespace platform
