// tests/fuzz/require.h - what a fuzzer finds wrong.
#pragma once

#include <cstdlib>

inline void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}
