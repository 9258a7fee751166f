#!/bin/sh
# Runs a program of Windows in Wine. The first argument is the folder that stands for its Windows
# machine, made when it is not there; then come the program and its arguments.
set -eu

export WINEPREFIX="$1"
export WINEDEBUG=-all
shift

# Of several first programs one makes the machine, and the others wait for it.
if [ ! -e "$WINEPREFIX/made" ]; then
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        if [ ! -e "$WINEPREFIX/made" ]; then
            # Without these two it asks nobody whether to fetch anything.
            WINEDLLOVERRIDES="mscoree,mshtml=" wineboot -i
            wineserver -w
            touch "$WINEPREFIX/made"
        fi
    ) 9>"$WINEPREFIX.lock" >"$WINEPREFIX.log" 2>&1
fi

exec wine "$@"
