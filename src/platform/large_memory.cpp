#include "platform/large_memory.h"

namespace platform {

namespace {

// A block with fewer bytes has few pages.
constexpr std::size_t kLargeBlock = std::size_t{1} << 22;

class CLargeMemory final : public std::pmr::memory_resource {
    void* do_allocate(std::size_t size, std::size_t alignment) override {
        void* const block = std::pmr::new_delete_resource()->allocate(size, alignment);
        if (size >= kLargeBlock) {
            UseLargePages(block, size);
        }
        return block;
    }

    void do_deallocate(void* block, std::size_t size, std::size_t alignment) override {
        std::pmr::new_delete_resource()->deallocate(block, size, alignment);
    }

    [[nodiscard]] bool do_is_equal(const memory_resource& other) const noexcept override {
        return this == &other;
    }
};

}  // namespace

std::pmr::memory_resource& GetLargeMemory() {
    static CLargeMemory memory;
    return memory;
}

}  // namespace platform
