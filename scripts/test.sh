#!/usr/bin/env bash
# test.sh <stage>...: installs what is missing and runs the stages: format, layers, docs,
# packages, or the name of a preset whose tests are built and run. All of them run even if one fails; the
# summary comes last.
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

# attribute <name>: the first of that name in CTest's report, that of the whole.
attribute() { sed -nE "s/^[[:space:]]*$1=\"([0-9]+)\"\$/\1/p;T;q" "$report"; }

# A stage that can't be built counts as one failed test, and so does one in which no test ran.
run_preset()
{
    local log=build/$1.log report=$PWD/build/$1.xml
    cmake --preset "$1" >"$log" 2>&1 || { cat "$log"; return 1; }
    cmake --build --preset "$1" -j "$jobs" -- -k 0 || return 1
    rm -f "$report"
    # Tests wait for a device most of their time.
    ctest --preset "$1" -j $((2 * jobs)) --output-junit "$report"
    [ -s "$report" ] || return 1
    # A test that did not run has shown nothing.
    stage_failed=$(($(attribute failures) + $(attribute skipped) + $(attribute disabled)))
    stage_passed=$(($(attribute tests) - stage_failed))
}

# What both systems' builds make, packed and used.
run_packages()
{
    local log=build/packages.log
    for system in linux windows; do
        cmake --preset $system >"$log" 2>&1 || { cat "$log"; return 1; }
        cmake --build --preset $system -j "$jobs" --target all || return 1
    done
    scripts/package.py --dist build/dist || return 1
    python3 tests/packages_test.py build/dist build/linux build/windows | tee "$log"
    local outcome=$?
    stage_passed=$(grep -cE '^packages\..* passed$' "$log")
    stage_failed=$(grep -cE '^packages\..* failed$' "$log")
    [ $outcome -eq 0 ] || [ "$stage_failed" -gt 0 ] || stage_failed=1
}

jobs=$(nproc)
for stage; do
    echo "== $stage"
    start=$SECONDS stage_passed=0 stage_failed=0
    case $stage in
    format) scripts/format.sh --check && stage_passed=1 ;;
    layers) scripts/check_layers.sh && stage_passed=1 ;;
    docs) scripts/docs.sh && stage_passed=1 ;;
    packages) run_packages ;;
    *) run_preset "$stage" ;;
    esac
    [ $((stage_passed + stage_failed)) -gt 0 ] || stage_failed=1
    case $stage in windows | packages) scripts/wine.sh --stop ;; esac
    record "$stage" $((SECONDS - start)) "$stage_passed" "$stage_failed"
done

echo
printf '%s\n' "${summary[@]}"
echo
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
