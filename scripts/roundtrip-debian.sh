#!/bin/sh
# Converts, loads and saves every XML file that the installed Debian packages bring; saved and converted bytes must be
# the same. Files that the conversion refuses are listed with the reason, and so are those that pass a limit of the
# reader.
#
#   scripts/roundtrip-debian.sh [--install]
#
# --install first installs packages that bring many such files (locale data, icons, interface descriptions). Ends with
# 1 when a file differs or does not load for another reason, or when there are fewer than 500 files or 100 MB.
set -eu
cd "$(dirname "$0")/.."

most_wanted="unicode-cldr-core iso-codes adwaita-icon-theme shared-mime-info libgirepository1.0-dev"
least_files=500
least_bytes=100000000

case "${1-}" in
    "") ;;
    --install)
        as_root=
        [ "$(id -u)" -eq 0 ] || as_root=sudo
        $as_root apt-get update -q
        # shellcheck disable=SC2086  # a list of names
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $most_wanted
        ;;
    *)
        echo "usage: roundtrip-debian.sh [--install]" >&2
        exit 4
        ;;
esac

scripts/setup.sh build
[ -f build/native/build.ninja ] || cmake --preset release
cmake --build --preset release --target parvel_roundtrip parvel_cli

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dpkg-query -W -f '${binary:Package}\n' | xargs dpkg -L |
    grep -E '\.(xml|svg|gir|ui|glade|xsl|xslt|xsd|rng|xhtml|docbook|policy|rdf|xmi|wsdl)$' | sort -u |
    while read -r name; do [ ! -f "$name" ] || echo "$name"; done >"$work/names"

status=0
build/native/parvel_roundtrip "$work" <"$work/names" >"$work/report"
if grep '^DIFFERS: ' "$work/report"; then status=1; fi
sed -n 's/^refused: //p' "$work/report" | while read -r name; do
    build/native/parvel convert "$name" "$work/refused.bdoc" 2>&1 | sed 's/^/not converted: /'
done
# A document may only fail to load for passing a limit of the reader, which the tool then names.
sed -n 's/^unread: //p' "$work/report" >"$work/unread"
while read -r name; do
    build/native/parvel convert "$name" "$work/refused.bdoc" >"$work/message" 2>&1 || true
    if grep -q 'no reader would load the document' "$work/message"; then
        sed 's/^/past a limit: /' "$work/message"
    else
        echo "DOES NOT LOAD: $name"
        status=1
    fi
done <"$work/unread"
sed -n 's/^same: //p' "$work/report" >"$work/same"
files=$(wc -l <"$work/same")
bytes=$(tr '\n' '\0' <"$work/same" | du -cbL --files0-from=- | tail -n 1 | cut -f 1)
echo "$files files, $bytes bytes of XML: converted, loaded and saved to the same bytes"
[ "$status" -eq 0 ] || exit "$status"

if [ "$files" -lt $least_files ] || [ "$bytes" -lt $least_bytes ]; then
    echo "too little to mean much: run scripts/roundtrip-debian.sh --install" >&2
    exit 1
fi
