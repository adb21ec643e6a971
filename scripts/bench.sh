#!/usr/bin/env bash
# bench.sh: builds the measurements and prints their table, that of Windows coming last.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh bench
for preset in linux windows; do
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" --target benchmarks -j "$(nproc)"
done

# Each writes its logs where it stands.
(cd build/linux/bench && ./log_bench && ./library_bench)
cd build/windows/bench
../../../scripts/wine.sh library_bench.exe | tr -d '\r'
../../../scripts/wine.sh --stop
