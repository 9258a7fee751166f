#include <sys/mman.h>

#include <cstdint>

#include "platform/large_memory.h"

namespace platform {

void UseLargePages(void* block, std::size_t size) {
    constexpr std::uintptr_t kPage = std::uintptr_t{1} << 21;
    // Only whole large pages inside the block: what is around it belongs to others.
    const auto begin = (reinterpret_cast<std::uintptr_t>(block) + kPage - 1) & ~(kPage - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(block) + size) & ~(kPage - 1);
    if (begin < end) {
        // A system that cannot do it leaves the small pages, which are as good, only slower.
        static_cast<void>(madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE));
    }
}

}  // namespace platform
