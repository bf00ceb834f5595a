#!/bin/sh
# demo.sh TOOL IN.xml OUT.bdoc: the main job on a real file.
set -eu
tool=$1
xml=$2
document=$3

"$tool" convert "$xml" "$document"
echo "$ parvel convert $xml $document"
echo "$ parvel show --depth 3 $document | head -n 40"
"$tool" show --depth 3 "$document" | head -n 40
echo
printf '%-60s %9s bytes\n' "$xml" "$(wc -c <"$xml")" "$document" "$(wc -c <"$document")"
