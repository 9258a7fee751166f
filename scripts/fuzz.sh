#!/bin/sh
# Runs a fuzzer of tests/fuzz, or each of them in turn, for some seconds, and tells what it has
# reached. The first thing that one of them finds ends it with status 1 and the path of the input.
# What was reached before is kept in build/fuzz/corpus, so that the next run goes on from there. With
# 0 seconds it only reads that again.
set -eu
cd "$(dirname "$0")/.."

usage() {
    echo "usage: $0 [TARGET | all] [SECONDS]" >&2
    exit 2
}

target=${1-all}
seconds=${2-60}
# The preset to build by; only that of the same name has sanitizers.
preset=${FUZZ_PRESET-fuzz}
build=build/$preset
fuzzers=$build/tests/fuzz
corpus=$build/corpus
case "$seconds" in
    "" | *[!0-9]*) usage ;;
esac
[ $# -le 2 ] || usage

# The names of several lines in one.
# shellcheck disable=SC2086,SC2116
list() { echo $1; }
targets=$(sed -n 's/^orv_add_fuzzer(\([a-z_]*\)_fuzzer.*/\1/p' tests/fuzz/CMakeLists.txt)
if [ "$target" != all ]; then
    case " $(list "$targets") " in
        *" $target "*) targets=$target ;;
        *)
            echo "$0: no target '$target'; there are: $(list "$targets")" >&2
            usage
            ;;
    esac
fi

cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target fuzzers make_sample
mkdir -p "$corpus" "$build/found"
"$fuzzers/make_corpus" "$corpus"
"$build/examples/make_sample" "$build/sample" >/dev/null
# Files of the sample package whose names match $2 are inputs of the target $1.
add_inputs() {
    find "$build/sample" -type f -name "$2" | while read -r file; do
        cp "$file" "$corpus/$1/$(cksum <"$file" | tr ' ' -)"
    done
}
add_inputs hive InstallRoot.dat
add_inputs machine '*.toml'
add_inputs shell_link '*.lnk'
add_inputs xml '*.manifest'
add_inputs xml '*.profile'
add_inputs xml '*.xml'

# In bytes. What is read by files has larger ones.
max_length() {
    case "$1" in
        hive) echo 65536 ;;
        manifest | package | xml) echo 16384 ;;
        *) echo 4096 ;;
    esac
}

dictionary_of() {
    case "$1" in
        package) echo manifest ;;
        xml) echo assembly ;;
        *) echo "$1" ;;
    esac
}

# The files that are written for each input are in memory where that can be had, and go in the end:
# a fuzzer that finds something leaves its own.
if [ -w /dev/shm ]; then
    TMPDIR=$(mktemp -d -p /dev/shm)
else
    TMPDIR=$(mktemp -d)
fi
trap 'rm -rf "$TMPDIR"' EXIT
export TMPDIR UBSAN_OPTIONS=print_stacktrace=1
limit="-max_total_time=$seconds"
[ "$seconds" -ne 0 ] || limit=-runs=0
for name in $targets; do
    set -- "-max_len=$(max_length "$name")" -timeout=10 -rss_limit_mb=2048 "$limit"
    dictionary=tests/fuzz/$(dictionary_of "$name").dict
    [ ! -e "$dictionary" ] || set -- "$@" "-dict=$dictionary"
    log=$build/found/$name.log
    if ! "$fuzzers/${name}_fuzzer" "$@" -print_final_stats=1 "-artifact_prefix=$build/found/$name-" \
        "$corpus/$name" >"$log" 2>&1; then
        tail -n 60 "$log"
        echo "$name: found $(sed -n 's/.*Test unit written to //p' "$log" | tail -n 1)"
        exit 1
    fi
    grep -E '^#[0-9]+.*(DONE|pulse|INITED)' "$log" | tail -n 1 | sed "s/^/$name: /"
done
