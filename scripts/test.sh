#!/usr/bin/env bash
# test.sh <stage>...: installs what is missing and runs the stages: format, layers, or the name of a preset
# whose tests are built and run. All of them run even if one fails; the summary comes last.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

scripts/setup.sh "$@" || exit 1

mkdir -p build
summary=() passed=0 failed=0

# record <stage> <seconds> <passed> <failed>
record()
{
    summary+=("$(printf '%-8s %5d passed %5d failed %5d s' "$1" "$3" "$4" "$2")")
    passed=$((passed + $3)) failed=$((failed + $4))
}

# A stage that can't be built counts as one failed test, and so does one in which no test ran.
run_preset()
{
    local log=build/$1.log counts
    cmake --preset "$1" >"$log" 2>&1 || { cat "$log"; return 1; }
    cmake --build --preset "$1" -j "$jobs" -- -k 0 || return 1
    ctest --preset "$1" -j "$jobs" 2>&1 | tee "$log"
    counts=$(sed -nE 's/^[0-9]+% tests passed, ([0-9]+) tests failed out of ([0-9]+)$/\1 \2/p' "$log")
    [ -n "$counts" ] || return 1
    read -r stage_failed stage_passed <<<"$counts"
    stage_passed=$((stage_passed - stage_failed))
}

jobs=$(nproc)
for stage; do
    echo "== $stage"
    start=$SECONDS stage_passed=0 stage_failed=0
    case $stage in
    format) scripts/format.sh --check && stage_passed=1 ;;
    layers) scripts/check_layers.sh && stage_passed=1 ;;
    *) run_preset "$stage" ;;
    esac
    [ $((stage_passed + stage_failed)) -gt 0 ] || stage_failed=1
    [ "$stage" != windows ] || scripts/wine.sh --stop
    record "$stage" $((SECONDS - start)) "$stage_passed" "$stage_failed"
done

echo
printf '%s\n' "${summary[@]}"
echo
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
