#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

#include "platform/large_memory.h"

namespace platform {

void UseLargePages(void* block, std::size_t size) {
    constexpr std::size_t kPage = std::size_t{1} << 21;
    // Only whole large pages inside the block: what is around it belongs to others.
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const std::size_t before = (kPage - address % kPage) % kPage;
    if (before < size && size - before >= kPage) {
        // A system that cannot do it leaves the small pages, which are as good, only slower.
        static_cast<void>(madvise(static_cast<std::byte*>(block) + before,
                                  (size - before) / kPage * kPage, MADV_HUGEPAGE));
    }
}

}  // namespace platform
