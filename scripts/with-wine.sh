#!/bin/sh
# with-wine.sh COMMAND [ARGUMENT]...: runs a command while a screen that nobody sees and the Wine prefix of this checkout
# are up; programs in it run by scripts/wine.sh. Gives the command's result. One at a time: the others wait.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$root/build"
exec 7>"$root/build/wine.lock"  # not for what outlives this
flock -n 7 || { echo "with-wine.sh: waiting for another one to end" >&2 && flock 7; }
work=$(mktemp -d)
screen=
keeper=

finish() {
    exec 9>&-  # the keeper's input ends, and so does it
    [ -z "$keeper" ] || wait "$keeper" 2>/dev/null || true
    WINEPREFIX="$root/build/wine" wineserver -k >/dev/null 2>&1 || true
    [ -z "$screen" ] || kill "$screen" 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM HUP

# Xvfb chooses a free display and writes its number.
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$work/display" >"$work/xvfb" 2>&1 7>&- &
screen=$!
tries=0
until [ -s "$work/display" ]; do
    tries=$((tries + 1))
    if [ $tries -gt 100 ] || ! kill -0 "$screen" 2>/dev/null; then
        cat "$work/xvfb" >&2
        echo "with-wine.sh: Xvfb does not start" >&2
        exit 3
    fi
    sleep 0.1
done
DISPLAY=:$(cat "$work/display")
export DISPLAY

# A program that waits for its input keeps the prefix's services running. Their output goes to a file, never to a pipe.
mkfifo "$work/input"
exec 8<>"$work/input"
"$root/scripts/wine.sh" cmd /q <"$work/input" >"$work/keeper" 2>&1 7>&- 8>&- &
keeper=$!
exec 9>"$work/input" 8>&-
echo 'echo up' >&9
tries=0
until grep -q '^up' "$work/keeper" 2>/dev/null; do
    tries=$((tries + 1))
    if [ $tries -gt 1200 ] || ! kill -0 "$keeper" 2>/dev/null; then
        cat "$work/keeper" >&2
        echo "with-wine.sh: Wine does not start" >&2
        exit 3
    fi
    sleep 0.1
done

status=0
"$@" 7>&- 9>&- || status=$?
exit "$status"
