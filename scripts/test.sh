#!/bin/sh
# Everything that a change has to pass: the layout of the code, a build without a warning, all tests
# under the sanitizers, static analysis, and all tests as they are shipped. The first failure ends it.
set -eu
cd "$(dirname "$0")/.."

title() {
    printf '\n== %s\n' "$1"
}

jobs=$(nproc)

title "Installing what builds and tests need"
scripts/install-dependencies.sh --tests
scripts/install-dependencies.sh --windows

title "Layout of the code"
find src include host tests bench examples \( -name '*.h' -o -name '*.cpp' \) -print0 |
    xargs -0 clang-format --dry-run --Werror

title "Release build"
cmake --preset release
cmake --build --preset release -j "$jobs"

title "Build with sanitizers, and its tests"
cmake --preset sanitize
cmake --build --preset sanitize -j "$jobs"
ctest --preset sanitize -j "$jobs"

# The compile database is of GCC, which has warnings that clang does not know.
title "Static analysis"
run-clang-tidy -quiet -p build/release -j "$jobs" -header-filter='/(src|host)/' \
    -extra-arg=-Wno-unknown-warning-option '/(src|host)/.*\.cpp$'

title "Tests"
ctest --preset release -j "$jobs"

title "Build for Windows, and its tests in Wine"
cmake --preset windows
cmake --build --preset windows -j "$jobs"
ctest --preset windows -j "$jobs"
