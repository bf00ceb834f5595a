#!/bin/sh
# Builds the tests as 32-bit Windows programs and runs them, and the real DLL and tool, under Wine. Arguments go to ctest.
set -eu
cd "$(dirname "$0")/.."
cmake --preset windows-test
cmake --build --preset windows-test
exec scripts/with-wine.sh ctest --preset windows-test -j "$(nproc)" "$@"
