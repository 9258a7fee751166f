// tests/fuzz/require.h - what a fuzzer finds wrong.
#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process with the place of the call.
inline void Require(bool condition, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
    if (!condition) {
        std::fprintf(stderr, "found: %s:%d\n", file, line);
        std::abort();
    }
}
