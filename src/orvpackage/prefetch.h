// orvpackage/prefetch.h - asks for memory before it is needed. What for, and what it gains, is said
// at COrvCollection::PrefetchAhead.
#pragma once

#include <cstddef>
#include <string_view>

// Has the bytes loaded into the processor's cache in the background; changes nothing. GCC drops the
// calls of a function that does nothing else, so one that calls this also does something.
inline void Prefetch(const void* bytes, std::size_t size) {
    constexpr std::size_t kCacheLine = 64;
    const auto* const first = static_cast<const char*>(bytes);
    for (std::size_t at = 0; at < size; at += kCacheLine) {
        __builtin_prefetch(first + at);
    }
    if (size != 0) {
        __builtin_prefetch(first + size - 1);  // the last line may be one more
    }
}
inline void Prefetch(std::u16string_view text) {
    Prefetch(text.data(), text.size() * sizeof(char16_t));
}
