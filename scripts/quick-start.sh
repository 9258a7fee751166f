#!/bin/sh
# From a fresh clone to a converted package: installs what a build needs, builds the program, makes
# the sample package of examples/, converts it and shows what came out. All of it goes below build/.
set -eu
cd "$(dirname "$0")/.."

title() {
    printf '\n== %s\n' "$1"
}

build=build/quick-start
sample=build/sample

title "Installing what the build needs"
scripts/install-dependencies.sh

title "Building"
cmake -S . -B "$build" -G Ninja -DORVCASCONV_BUILD_EXAMPLES=ON
cmake --build "$build" --target cas2orv make_sample

title "Making the sample package: $sample/package"
rm -rf "$sample"
profile=$("$build/examples/make_sample" "$sample/package")
"$build/host/cas2orv" targets "$profile"

# On the machine that is described beside it, where the package is on a share.
share='\\sample\planner\Planner.profile'
title "Converting it: cas2orv convert '$share' $sample/out/Sample.orv --machine $sample/package/machine.toml"
"$build/host/cas2orv" convert "$share" "$sample/out/Sample.orv" --log "$sample/log.html" \
    --machine "$sample/package/machine.toml" --progress plain

for folder in "$sample"/out/*; do
    title "$folder"
    find "$folder" | sort | sed "s|^$folder/\{0,1\}||; /^\$/d"
done

# The first lines of each collection show what a manifest is; the file has them all.
for manifest in "$sample"/out/*/Sample.orv; do
    title "From $manifest"
    iconv -f UTF-16 -t UTF-8 "$manifest" | tr -d '\r' | awk '
        /^<\/?[A-Za-z]+>$/ || /^<.xml / || /^<Package / {
            if (lines > 5) printf "... and %d more\n", lines - 5
            lines = 0
            print
            next
        }
        ++lines <= 5 { sub(/00000000000000000000[0-9A-F]*/, "..."); print }'
done

title "The log: $sample/log.html"
if [ -s "$sample/log.html" ]; then
    iconv -f UTF-16 -t UTF-8 "$sample/log.html"
else
    echo "empty: no errors, no warnings"
fi

printf '\nThe program is %s; try its --help, or read README.md.\n' "$build/host/cas2orv"
