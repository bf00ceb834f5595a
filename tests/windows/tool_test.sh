#!/bin/sh
# tool_test.sh WINE.sh BUILD-FOLDER: parvel.exe from outside. What the tool says and does is tested natively; this is about
# what differs by system: arguments, streams, files, their names.
set -u
wine=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export TMP=/tmp TEMP=/tmp

parvel() {
    "$wine" "$build/parvel.exe" "$@"
}

failures=0
# check WHAT CODE OUTPUT ERRORS COMMAND...: code and output must be so; ERRORS must stand in the errors, nothing when empty.
check() {
    what=$1 code=$2 output=$3 errors=$4
    shift 4
    got=0
    "$@" >output 2>errors || got=$?
    if [ "$got" -ne "$code" ] || [ "$(cat output)" != "$output" ] ||
        { [ -n "$errors" ] && ! grep -qF "$errors" errors; } || { [ -z "$errors" ] && [ -s errors ]; }; then
        failures=$((failures + 1))
        printf 'FAILED: %s\n  code %s, wanted %s\n' "$what" "$got" "$code"
        sed 's/^/  output: /' output
        sed 's/^/  errors: /' errors
    fi
}

shell() {
    eval "$1"
}

printf '<menu lang="en">\n <dish price="3">Süß 𝄞</dish>\n</menu>' >menu.xml
tree=$(printf 'menu lang="en"\n  dish price="3": "Süß 𝄞"')

check "a file, output in UTF-8 without carriage returns" 0 "$tree" "" \
    shell 'parvel convert menu.xml menu.bdoc && parvel show menu.bdoc'
check "names of any script, blanks" 0 "$tree" "" \
    shell 'cp menu.xml "größe 解 1.xml" && parvel convert "größe 解 1.xml" "解.bdoc" && test -f 解.bdoc && parvel show 解.bdoc'
check "a path from the root" 0 "$tree" "" \
    shell 'parvel convert "$work/menu.xml" "Z:$work/x.bdoc" && parvel show "Z:$(echo "$work" | tr / \\\\)\\x.bdoc"'
check "pipes" 0 "$tree" "" shell 'cat menu.xml | parvel convert - - | parvel show -'
check "redirections" 0 "$tree" "" shell 'parvel convert - - <menu.xml >x.bdoc && parvel show - <x.bdoc'
check "the bytes of a pipe pass unchanged" 0 "" "" shell 'parvel convert menu.xml - | cmp - menu.bdoc'
check "no such file" 3 "" "none.xml: cannot open: " parvel convert none.xml x.bdoc
check "a folder" 3 "" ".: cannot read: Is a directory" parvel convert . x.bdoc
check "output in no folder" 3 "" "x.bdoc: cannot open for writing: " parvel convert menu.xml none/x.bdoc
check "the input as output" 4 "" "is the input as well" parvel convert menu.xml ./MENU.xml
check "not XML, and the DOM cannot say where" 2 "" "bad.xml" shell 'echo "<a>" >bad.xml; parvel convert bad.xml x.bdoc'
check "a device as output" 0 "" "" parvel convert menu.xml NUL
check "a reader that goes away" 0 "" "" shell '{ parvel show menu.bdoc; echo $? >code; } | true; test "$(cat code)" = 0'
check "the same with a document" 0 "" "" shell '{ parvel convert menu.xml -; echo $? >code; } | true; test "$(cat code)" = 0'
check "nothing is left behind" 0 "" "" shell 'ls /tmp | grep -i "^prv.*\.tmp$" | grep . && exit 1; exit 0'

[ $failures -eq 0 ] || exit 1
echo "parvel.exe: all is well"
