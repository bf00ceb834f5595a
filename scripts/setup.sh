#!/bin/sh
# Installs the Debian packages that a make target needs and that are missing; does nothing, quickly, when all are there.
#
#   scripts/setup.sh [build] [demo] [test] [bench] [fuzz] [windows] [test-windows] [wine]      default: build
#
# 32-bit Wine ("wine") cannot be had on every machine; scripts/setup-wine.sh has the details.
set -eu

# What configuring needs: it takes in the tests, whatever is built then.
packages="g++ make cmake ninja-build libexpat1-dev libcli11-dev libgtest-dev libxml2-dev"
wantsWine=
for purpose in "$@"; do
    case $purpose in
        build) ;;
        demo) packages="$packages shared-mime-info" ;;
        test)
            packages="$packages binutils"
            # Brings the XML conformance suite; any npm will do.
            command -v npm >/dev/null 2>&1 || packages="$packages npm ca-certificates"
            ;;
        bench)
            packages="$packages libbenchmark-dev libpugixml-dev libxml2-dev valgrind python3"
            # What the files to measure on are made from.
            packages="$packages shared-mime-info libgirepository1.0-dev unicode-cldr-core kanjidic-xml debian-handbook"
            packages="$packages openclipart-svg"
            ;;
        fuzz) packages="$packages clang libclang-rt-14-dev libgtest-dev" ;;
        windows) packages="$packages g++-mingw-w64-i686-win32 mingw-w64-tools faketime" ;;
        test-windows) packages="$packages g++-mingw-w64-i686-win32 mingw-w64-tools faketime googletest xvfb xdotool" ;;
        wine) wantsWine=1 ;;
        *)
            echo "setup.sh: no such purpose: $purpose (build, demo, test, bench, fuzz, windows, test-windows, wine)" >&2
            exit 4
            ;;
    esac
done

missing=
for package in $packages; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || state=
    [ "$state" = installed ] || missing="$missing $package"
done

if [ -n "$missing" ]; then
    echo "Installing:$missing"
    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null 2>&1; then
            echo "setup.sh: run this once as root: apt-get install$missing" >&2
            exit 3
        fi
        as_root=sudo
    fi

    # The package lists may be old or not there at all, which shows in the attempt. Lists of an architecture or a source
    # that this does not need may be out of order: then the update complains, and the install tells.
    install() {
        # shellcheck disable=SC2086  # a list of names
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing
    }
    install || {
        echo "setup.sh: once more, with fresh package lists"
        $as_root apt-get update -q || true
        install
    }
fi

[ -z "$wantsWine" ] || exec "$(dirname "$0")/setup-wine.sh"
