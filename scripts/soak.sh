#!/usr/bin/env bash
# soak.sh [sales] [kills]: what takes longer than a test may; all of it, or what is named.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
[ $# -gt 0 ] || set -- sales kills

scripts/setup.sh linux
cmake --preset linux >/dev/null
cmake --build --preset linux --target tlsimulate tellarion till shop_day

# Ten million sales. Other seeds than the tests'; each process keeps of its logs the first lines alone.
sales()
{
    local seeds=${SOAK_SEEDS:-1000} first=${SOAK_FIRST_SEED:-100001}
    echo "== $seeds times 10000 sales, $(nproc) processes at a time of some 20 MB each; nothing goes to the disk"
    scripts/simulate.sh build/linux/tlsimulate "$first" $((first + seeds - 1)) 10000
}

kills()
{
    echo "== kills in the middle of sales, a hundred of the machine and two hundred of tills"
    python3 tests/kills_test.py 100 build/linux/tellarion -- build/linux/till
    python3 tests/shop_day_test.py 100 build/linux/tellarion -- build/linux/shop_day
}

failed=0
for part; do
    start=$SECONDS
    "$part" || failed=1
    echo "$((SECONDS - start)) s"
done
exit $failed
