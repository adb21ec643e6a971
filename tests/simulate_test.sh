#!/usr/bin/env bash
# simulate_test.sh <tlsimulate, with what starts it>...: a seed gives the same run to the byte of its logs, and a
# wrong call is told.
set -euo pipefail
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

for run in one two; do
    mkdir "$place/$run"
    (cd "$place/$run" && "$@" --seed 42 --sales 400 --logs . | grep -v '^seconds' >table)
done
diff -r "$place/one" "$place/two"
[ "$(cat "$place"/one/logs/*.log | wc -l)" -gt 1000 ]
[ "$(grep -c '"call"' "$place/one/tape.jsonl")" -gt 400 ]

"$@" --seed 42 --sales 50 --faults note-jam,link-lost | grep -q '^fault: \(note-jam\|link-lost\)'
! "$@" --faults nonsense 2>/dev/null
