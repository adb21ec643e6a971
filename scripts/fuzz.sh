#!/usr/bin/env bash
# fuzz.sh [<target>...]: builds the fuzz targets with libFuzzer and has each look for inputs, from its corpus
# on and from what former runs found worth keeping. FUZZ_SECONDS is the time of each, 300 unless told. A
# finding stays in build/fuzz/found; the target's next run, and "fuzz_<target> <file>", show it again.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

scripts/setup.sh fuzz || exit 1
mkdir -p build/fuzz/found
cmake --preset fuzz >build/fuzz.log 2>&1 || { cat build/fuzz.log; exit 1; }
cmake --build --preset fuzz -j "$(nproc)" || exit 1

targets=("$@")
[ $# -gt 0 ] || mapfile -t targets < <(ls tests/fuzz/corpus)

# fuzz <target>: its line of the summary.
fuzz()
{
    local kept=build/fuzz/kept/$1 log=build/fuzz/$1.log executed found=none
    mkdir -p "$kept"
    # What the library prints of a strange language file would fill the screen.
    build/fuzz/"fuzz_$1" -max_total_time="${FUZZ_SECONDS:-300}" -timeout=20 -rss_limit_mb=4096 -close_fd_mask=1 \
        -print_final_stats=1 -artifact_prefix="build/fuzz/found/$1-" "$kept" "tests/fuzz/corpus/$1" \
        >"$log" 2>&1 || found=$(grep -m1 -E '^SUMMARY|ERROR' "$log" || echo "see $log")
    executed=$(sed -nE 's/^stat::number_of_executed_units: +//p' "$log")
    # Every target's line, as it is known, and for sums.
    printf '%s\t%s\t%s\n' "$1" "${executed:-0}" "$found" | tee -a build/fuzz/summary
}

printf 'target\texecutions\tfound\n' | tee build/fuzz/summary
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c "$(declare -f fuzz); fuzz {}"
awk -F'\t' 'NR > 1 { sum += $2; open += $3 != "none" } END { print sum " executions, " open " targets with findings"
    exit open > 0 }' build/fuzz/summary
