#!/bin/sh
# Everything that a change has to pass: the layout of the code, builds without a warning by GCC and
# by clang, all tests in Wine, under the sanitizers, and as they are shipped, and static analysis,
# which takes longest.
# The first failure ends it. Where the build for Windows and Wine cannot be had, it goes without them
# and says so; with --all that is a failure too. With --faults, all calls and allocations of a
# conversion fail one by one, which takes eight minutes more.
set -eu
cd "$(dirname "$0")/.."

case "${1-}" in
    "" | --all | --faults) ;;
    *)
        echo "usage: $0 [--all | --faults]" >&2
        exit 2
        ;;
esac

title() {
    printf '\n== %s\n' "$1"
}

jobs=$(nproc)
left_out=""

title "Installing what builds and tests need"
scripts/install-dependencies.sh --tests
if ! scripts/install-dependencies.sh --windows; then
    [ "${1-}" != --all ] || exit 1
    left_out=" Left out: the build for Windows and its tests, which need mingw-w64 and Wine."
fi

title "Layout of the code"
find src include host tests bench examples \( -name '*.h' -o -name '*.cpp' \) -print0 |
    xargs -0 clang-format --dry-run --Werror

title "Release build"
cmake --preset release
cmake --build --preset release -j "$jobs"

# What clang warns of, GCC may not. The fuzzers need clang.
title "Build by clang, with the fuzzers"
cmake --preset clang
cmake --build --preset clang -j "$jobs"
FUZZ_PRESET=clang scripts/fuzz.sh all 0

# One of its tests compares with the program of the release build.
if [ -z "$left_out" ]; then
    title "Build for Windows, and its tests in Wine"
    cmake --preset windows
    cmake --build --preset windows -j "$jobs"
    ctest --preset windows -j "$jobs"
fi

title "Build with sanitizers, and its tests"
cmake --preset sanitize
cmake --build --preset sanitize -j "$jobs"
ctest --preset sanitize -j "$jobs"

if [ "${1-}" = --faults ]; then
    title "Faults"
    # In memory, because the folders of 38,000 conversions take longer on a disk.
    TMPDIR=${TMPDIR-/dev/shm} tests/faults/faults.py build/release/tests/faults/liborv_faults.so \
        build/release/tests/faults/make_faults_package build/release/host/cas2orv
fi

title "Static analysis"
run-clang-tidy -quiet -p build/release -j "$jobs" -header-filter='/(src|host)/' \
    "^$PWD/(src|host)/.*\.cpp\$"

title "Tests of the release build.$left_out"
ctest --preset release -j "$jobs"
