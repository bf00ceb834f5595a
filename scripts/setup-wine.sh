#!/bin/sh
# Installs 32-bit Wine from the machine's own package sources; does nothing, quickly, when it is there.
#
# The way: add the i386 architecture, install. Where the package lists of the security suite are out of step with that
# suite's files, as they are now and then for i386, apt can resolve nothing that is the same for both architectures.
# Then everything comes from a copy of the machine's source list without that suite. A library that this machine has
# already in a version of the security suite is put back to the release's version by that, so it is only done where
# PARVEL_WINE_DOWNGRADE=1 (or CI=true) allows it.
#
# Ends with 3 when 32-bit Wine cannot be installed.
set -eu

packages="wine wine32:i386"

hasWine() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' wine32:i386 2>/dev/null)" = installed ] && command -v wine >/dev/null 2>&1
}
! hasWine || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null 2>&1 || {
        echo "setup-wine.sh: run this once as root" >&2
        exit 3
    }
    as_root=sudo
fi

[ "$(dpkg --print-architecture)" = amd64 ] || {
    echo "setup-wine.sh: 32-bit Wine is installed on amd64 only" >&2
    exit 3
}

echo "Installing: $packages"
dpkg --print-foreign-architectures | grep -qx i386 || $as_root dpkg --add-architecture i386

# install [apt-get options]: from the lists that the options name.
install() {
    # shellcheck disable=SC2086  # a list of names
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get "$@" install -y -q --no-install-recommends $packages
}
update() {
    $as_root apt-get "$@" update -q
}

install || { update && install; } && exit 0

echo "setup-wine.sh: not from the usual lists; trying without the security suite" >&2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"  # apt reads it as a user of its own
mkdir -p "$work/sources" "$work/lists/partial"
for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ ! -f "$file" ] || grep -v -e '-security' "$file" >"$work/sources/$(basename "$file" .list).list" || true
done
for file in /etc/apt/sources.list.d/*.sources; do  # paragraphs
    [ ! -f "$file" ] || awk 'BEGIN { RS = ""; ORS = "\n\n" } !/(^|\n)Suites:[^\n]*-security/' "$file" \
        >"$work/sources/$(basename "$file")"
done
set -- -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$work/sources" -o "Dir::State::lists=$work/lists"
update "$@" || true
install "$@" && exit 0

if [ "${PARVEL_WINE_DOWNGRADE-}" != 1 ] && [ "${CI-}" != true ]; then
    echo "setup-wine.sh: libraries here are newer than those that 32-bit Wine needs beside them;" \
        "PARVEL_WINE_DOWNGRADE=1 puts them back to the release's versions" >&2
    exit 3
fi
codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
printf 'Package: *\nPin: release n=%s\nPin-Priority: 1001\n' "$codename" >"$work/preferences"
install "$@" -o "Dir::Etc::preferences=$work/preferences" --allow-downgrades && exit 0
echo "setup-wine.sh: 32-bit Wine cannot be installed here" >&2
exit 3
