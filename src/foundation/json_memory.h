// foundation/json_memory.h - the memory that RapidJSON takes.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

// Throws where there is none, because RapidJSON itself does not look.
class CJsonMemory {
public:
    static constexpr bool kNeedFree = true;

    void* Malloc(std::size_t size) { return Realloc(nullptr, 0, size); }
    void* Realloc(void* memory, std::size_t /*before*/, std::size_t size) {
        if (size == 0) {
            std::free(memory);
            return nullptr;
        }
        void* const block = std::realloc(memory, size);
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        return block;
    }
    static void Free(void* memory) noexcept { std::free(memory); }
};
