#!/bin/sh
# Runs a program of Windows in Wine. The first argument is the folder of its Windows
# machine, made when it is not there; then come the program and its arguments.
set -eu

export WINEPREFIX="$1"
export WINEDEBUG=-all
# Without an encoding Wine makes no file whose name is not ASCII.
export LC_ALL=C.UTF-8
shift

make_machine() {
    # Without these two it asks nobody whether to fetch anything.
    WINEDLLOVERRIDES="mscoree,mshtml=" wineboot -i
    wineserver -w
    touch "$WINEPREFIX/made"
}

# Whoever reads a program's output waits until nobody holds it any more. So what serves all programs
# is started here, and not by the first of them; it ends half a minute after the last one.
start_machine() {
    wineserver -p30
    wine cmd /c exit
}

# Of several programs at once one makes and starts the machine, and the others wait for it.
if [ ! -e "$WINEPREFIX/made" ] || ! wineserver -k0 2>/dev/null; then
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        {
            [ -e "$WINEPREFIX/made" ] || make_machine
            wineserver -k0 || start_machine
        } </dev/null >"$WINEPREFIX.log" 2>&1 9>&-
    ) 9>"$WINEPREFIX.lock"
fi

exec wine "$@"
