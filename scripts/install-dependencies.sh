#!/bin/sh
# Installs the Debian packages that this project needs, and does nothing else. Without an argument
# what a build needs; with --tests also what the tests, the checks of the code, the fuzzers and the
# benchmarks need; with --windows what the build for Windows and its tests need, for which it fetches
# sources of Abseil too, into ~/.cache/orvcasconv. Takes root, or sudo; when everything is there
# already, neither is needed. Fails when something cannot be had.
set -eu

build_packages="g++ make cmake ninja-build ccache pkg-config libicu-dev libxml2-dev nettle-dev
    libtomlplusplus-dev libabsl-dev libcli11-dev rapidjson-dev zlib1g-dev"
test_packages="libgtest-dev libgmock-dev libhivex-dev clang libclang-rt-14-dev clang-format clang-tidy
    libbenchmark-dev libhivex-bin libxml2-utils reglookup libwin-hivex-perl time python3
    python3-jsonschema dpkg-dev file lintian chromium nodejs npm
    slurm-wlm munge"
windows_packages="g++-mingw-w64-x86-64-posix make cmake ninja-build ccache googletest libcli11-dev
    libtomlplusplus-dev rapidjson-dev libz-mingw-w64-dev groff-base wine wine64 util-linux python3"

abseil="${XDG_CACHE_HOME:-$HOME/.cache}/orvcasconv/abseil"
needs_abseil=""

case "${1-}" in
    "") packages=$build_packages ;;
    --tests) packages="$build_packages $test_packages" ;;
    --windows)
        if [ "$(dpkg --print-architecture)" != amd64 ]; then
            echo "$0: Wine runs programs for 64-bit Windows on amd64 alone" >&2
            exit 1
        fi
        packages=$windows_packages
        needs_abseil=yes
        ;;
    *)
        echo "usage: $0 [--tests | --windows]" >&2
        exit 2
        ;;
esac

# Other packages of Node.js than Debian's have npm in them, and cannot be installed beside Debian's npm.
is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ] ||
        { [ "$1" = npm ] && command -v npm >/dev/null; }
}

install_packages() {
    as_root=""
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "$0: run as root, or install sudo; missing packages:$1" >&2
            exit 1
        fi
        as_root=sudo
    fi
    # shellcheck disable=SC2086 # the list of packages is meant to fall apart into words
    {
        $as_root apt-get update
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $1
    }
}

# Where the machine has its packages from there are also their sources. They are asked for by lists
# of their own, so that the machine's stay as they are.
fetch_abseil() {
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    mkdir -p "$work/lists/partial" "$work/cache" "$work/source"
    # shellcheck disable=SC2016 # these are for apt-get to fill in
    apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) main' \
        'Identifier: Packages' 'Origin: Debian' 'Component: main' | sort -u >"$work/sources.list"
    (
        cd "$work/source"
        apt_get() {
            apt-get -q -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=- \
                -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" \
                -o APT::Sandbox::User="$(id -un)" "$@"
        }
        apt_get update
        apt_get source --download-only abseil
    )
    mkdir -p "$(dirname "$abseil")" "$work/abseil"
    tar -xf "$work"/source/abseil_*.orig.tar.* -C "$work/abseil" --strip-components=1
    rm -rf "$abseil"
    mv "$work/abseil" "$abseil"
}

missing=""
for package in $packages; do
    is_installed "$package" || missing="$missing $package"
done
[ -z "$missing" ] || install_packages "$missing"
[ -z "$needs_abseil" ] || [ -e "$abseil/absl/hash/internal/city.cc" ] || fetch_abseil
