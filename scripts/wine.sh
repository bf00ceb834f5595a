#!/bin/sh
# wine.sh PROGRAM.exe [ARGUMENT]...: runs a Windows program in the Wine prefix of this checkout, build/wine.
#
# Inside `scripts/with-wine.sh COMMAND`, which keeps the prefix running: the first program of a prefix starts services that
# hold on to its output, and whoever reads that waits for them.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
# A program that crashes ends at once: Wine's debugger would ask about it on the screen that nobody sees.
export WINEPREFIX="$root/build/wine" WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe="
export LC_ALL=C.UTF-8  # names of files and arguments are UTF-8
exec wine "$@"
