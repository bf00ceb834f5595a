#!/bin/sh
# Runs the fuzzers one after the other, each for FUZZ_SECONDS (60 without it); `make fuzz` builds them and calls this.
#
#   scripts/fuzz.sh [script|document|edits|xml|export|ini]...      default: all
#
# What a fuzzer has learned stays in build/fuzz/corpus and is where its next run begins. An input that breaks something
# is kept as build/fuzz/found/TARGET-*, for build/fuzz/fuzz_TARGET to be run on it; it belongs into fuzz/seeds, or
# better into a row of a test. Exit code 1: something was found.
set -eu
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-60}
[ $# -gt 0 ] || set -- script document edits xml export ini
folder=build/fuzz
export TMPDIR
TMPDIR=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
trap 'rm -rf "$TMPDIR"' EXIT

# Names that stand in the statistics at the end of a log.
statistic() {
    sed -n "s/^stat::$2: *//p" "$1"
}

result=0
for target in "$@"; do
    seeds=fuzz/seeds/$target
    [ "$target" != export ] || seeds=fuzz/seeds/document
    corpus=$folder/corpus/$target
    log=$folder/$target.log
    mkdir -p "$corpus" "$folder/found"
    dictionary=
    [ ! -f "fuzz/$target.dict" ] || dictionary=-dict=fuzz/$target.dict

    # Beyond this the twins that the library is compared with only take time: they are plain, and quadratic.
    longest=3000
    [ "$target" != edits ] || longest=500

    found=no
    # shellcheck disable=SC2086  # no dictionary, no word
    "$folder/fuzz_$target" -max_total_time="$seconds" -max_len=$longest -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$folder/found/$target-" $dictionary "$corpus" "$seeds" >"$log" 2>&1 ||
        found=yes
    coverage=$(sed -n 's/^#.* cov: *\([0-9]*\).*/\1/p' "$log" | tail -n 1)
    echo "$target: $(statistic "$log" number_of_executed_units) inputs tried," \
        "$(statistic "$log" average_exec_per_sec)/s, $coverage edges covered," \
        "$(find "$corpus" -type f | wc -l) inputs kept, $(statistic "$log" peak_rss_mb) MB at most"
    if [ "$found" = yes ]; then
        result=1
        echo "$target: FOUND SOMETHING, see $log:"
        grep -E '^(does not hold|SUMMARY|==.*ERROR|Test unit written)' "$log" | sed 's/^/    /' || tail -n 5 "$log"
    fi
done
exit $result
