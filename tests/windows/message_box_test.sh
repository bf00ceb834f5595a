#!/bin/sh
# message_box_test.sh WINE.sh BUILD-FOLDER: the message box of "LogLevel" on a real screen, closed as a person closes it.
set -eu
wine=$1
build=$2
work=$(mktemp -d)
host=
trap '[ -z "$host" ] || kill "$host" 2>/dev/null || true; rm -rf "$work"' EXIT

cp "$build/Parvel.DLL" "$work/Parvel.DLL"
cp "$build/parvel_message_box_host.exe" "$work/viewer.exe"
cd "$work"
printf '<a>\n <b></a>' >bad.xml
printf 'former' >out.bdoc
cat >expected <<'EXPECTED'
converting
title: Parvel
text: Parser Error:
file:bad.xml
reason:ein Größenfehler

srctext
,filepos:17
,line:2
,linepos:-3

button: OK
result: 0
EXPECTED

fail() {
    echo "$*" >&2
    cat shown >&2
    exit 1
}

# start LOGLEVEL: runs the host in the background.
start() {
    printf '[Config]\r\nLogLevel=%s\r\n' "$1" >viewer.ini
    "$wine" ./viewer.exe bad.xml out.bdoc >shown 2>&1 &
    host=$!
}

# waitFor PATTERN: until it stands in what the host has written.
waitFor() {
    tries=0
    until grep -q "$1" shown; do
        tries=$((tries + 1))
        [ $tries -le 200 ] || fail "never seen: $1"
        sleep 0.1
    done
}

# finish: the host must end by itself now, and have left the output alone.
finish() {
    waitFor '^result: '
    wait "$host"
    host=
    tr -d '\r' <shown >lines
    [ "$(cat out.bdoc)" = former ] || fail "the output was touched"
}

# No box.
for level in 0 -1; do
    start $level
    finish
    [ "$(cat lines)" = "$(printf 'converting\nresult: 0')" ] || fail "LogLevel=$level shows something"
done

# Closed by the keyboard, then by the mouse.
for way in key mouse; do
    start 1
    waitFor '^button: '
    window=$(xdotool search --sync --onlyvisible --name '^Parvel$' | tail -n 1)
    sleep 0.5
    grep -q '^result: ' shown && fail "did not wait for the person"
    [ -z "${PARVEL_SCREENSHOT-}" ] || import -window root "$PARVEL_SCREENSHOT"
    xdotool windowfocus --sync "$window" 2>/dev/null || true
    if [ $way = key ]; then
        xdotool key --window "$window" Return
    else
        # The one button stands in the middle, at the lower edge.
        eval "$(xdotool getwindowgeometry --shell "$window")"
        xdotool mousemove "$((X + WIDTH / 2))" "$((Y + HEIGHT - 28))" click 1
    fi
    finish
    cmp expected lines >&2 || fail "by $way"
done
echo "message box: shown twice, closed by key and by mouse"
