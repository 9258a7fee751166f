#!/bin/sh
# Installs the Debian packages that this project needs, and does nothing else. Without an argument
# what a build needs; with --tests also what the tests, the checks of the code, the fuzzers and the
# benchmarks need. Takes root, or sudo; when everything is there already, neither is needed.
set -eu

build_packages="g++ make cmake ninja-build ccache pkg-config libicu-dev libxml2-dev libssl-dev
    libtomlplusplus-dev libabsl-dev libcli11-dev"
test_packages="libgtest-dev libgmock-dev libhivex-dev clang libclang-rt-14-dev clang-format clang-tidy
    libbenchmark-dev libhivex-bin reglookup libwin-hivex-perl time python3"

case "${1-}" in
    "") packages=$build_packages ;;
    --tests) packages="$build_packages $test_packages" ;;
    *)
        echo "usage: $0 [--tests]" >&2
        exit 2
        ;;
esac

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=""
for package in $packages; do
    is_installed "$package" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "$0: run as root, or install sudo; missing packages:$missing" >&2
        exit 1
    fi
    as_root=sudo
fi
# shellcheck disable=SC2086 # the list of packages is meant to fall apart into words
{
    $as_root apt-get update
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing
}
