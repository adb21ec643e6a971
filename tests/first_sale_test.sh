#!/usr/bin/env bash
# first_sale_test.sh <first_sale> <tellarion>: the first sale at a machine of its own, with a customer who pays.
set -euo pipefail
sale=$1 tellarion=$2
work=$(mktemp -d)
trap 'kill $machine $till 2>/dev/null || true; wait; rm -rf "$work"' EXIT
machine='' till=''

# until_true <command>...: within ten seconds.
until_true()
{
    for _ in {1..100}; do
        "$@" >/dev/null 2>&1 && return
        sleep 0.1
    done
    echo "never came true: $*"
    cat "$work"/*.txt
    exit 1
}

"$tellarion" serve --port 0 --port-file "$work/port" >"$work/machine.txt" 2>&1 &
machine=$!
until_true test -s "$work/port"
port=$(cat "$work/port")
TLLOGS=$work/logs stdbuf -oL "$sale" "Type:RS232;Name:127.0.0.1:$port;" >"$work/sale.txt" 2>&1 &
till=$!
until_true grep -q 'Please pay' "$work/sale.txt"
until_true "$tellarion" insert --port "$port" 200
wait $till || { cat "$work/sale.txt"; exit 1; }
grep -q 'The device kept 12300 of 12300' "$work/sale.txt"
