#!/usr/bin/env bash
# The machine and a till beside it, in the foreground. Both end when one of them does, and on Ctrl-C.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../build/linux" || exit

port=${TELLARION_PORT:-7410}
export TLLOGS=$PWD/panel_logs
mkdir -p "$TLLOGS"

trap 'kill "${running[@]}" 2>/dev/null; wait' EXIT
trap 'exit 0' INT TERM
TLSIM_CONFIG=${TLSIM_CONFIG:-../../examples/shop.json} ./tellarion --port "$port" & running=($!)
./till serve --port "127.0.0.1:$port" --http-port "${TILL_PORT:-7411}" & running+=($!)
wait -n
