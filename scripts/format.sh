#!/usr/bin/env bash
# Formats all sources; with --check only tells what it would change, and fails if there is anything.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mode=(-i)
[ "${1-}" = --check ] && mode=(--dry-run -Werror)
find . \( -path ./build -o -path ./.git \) -prune -o \( -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.cpp' \) -print0 |
    xargs -0 -r clang-format-14 "${mode[@]}"
