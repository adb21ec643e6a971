#!/usr/bin/env bash
# replay_test.sh <seeds> <tlsimulate> <tlreplay> [what starts them]...: each run replays from its tape to the same logs,
# to the byte, and one that logged everything from its logs alone; of the others it is told how many do.
set -uo pipefail
seeds=$1 simulate=("${@:4}" "$2") replay=("${@:4}" "$3")
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cd "$place" || exit 1
failed=0 alone=0 told=0

fail()
{
    echo "seed $seed: $1: $(head -c 400 output)"
    failed=1
}

for seed in $(seq "$seeds"); do
    rm -rf run open again
    "${simulate[@]}" --seed "$seed" --sales 60 --logs run --quiet >output 2>&1 || fail "the simulation"
    "${replay[@]}" run --logs again >output 2>&1 || fail "the tape"
    diff -r run/logs again/logs >output 2>&1 || fail "the tape's logs"
    if "${replay[@]}" run --logs-only >output 2>&1; then
        alone=$((alone + 1))
    elif grep -q "can't be replayed" output; then
        told=$((told + 1))
    else
        fail "no reason"
    fi

    "${simulate[@]}" --seed "$seed" --sales 60 --logs open --open-gates --quiet >output 2>&1 || fail "the simulation"
    language=()
    [ ! -e open/tllang.ini ] || language=(--lang open/tllang.ini)
    "${replay[@]}" open --logs-only "${language[@]}" >output 2>&1 || fail "the logs"
done

# The state at a line; a line that is not as it was; what is no log directory.
"${replay[@]}" open --until "$(basename open/logs/tllogic_Mon.log):40" >output 2>&1
grep -q '^stopped before tllogic_Mon.log:40: state ' output || fail "--until"
line=$(grep -n '== CTLLogics::' open/logs/tllogic_Mon.log | sed -n '3s/:.*//p')
sed -i.bak "${line}s/== .*/== another line/" open/logs/tllogic_Mon.log
"${replay[@]}" open --logs-only "${language[@]}" >output 2>&1 && fail "a changed line"
grep -q "tllogic_Mon.log:$line: \"== another line\", and now" output || fail "a changed line is named"
"${replay[@]}" nothing >output 2>&1
grep -q 'nothing is no directory' output || fail "no directory"

printf '%-50s %4d\n' "runs" "$seeds" "  replayed from their tape and, all logged, alone" $((failed ? 0 : seeds)) \
    "  with their own settings replayed alone" "$alone" "  of which it is told why not" "$told"
exit $failed
