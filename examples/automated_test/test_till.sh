#!/bin/sh
# A test of a till from the shell: the program tellarion is the machine, and its verbs are the customer.
#
#     sh test_till.sh [<directory of the programs>]
set -eu
programs=${1:-build/linux}
work=$(mktemp -d)
tellarion() { "$programs/tellarion" "$@"; }

"$programs/tellarion" serve --port 0 --port-file "$work/port" &
machine=$!
trap 'kill $machine; wait; rm -rf "$work"' EXIT
while [ ! -s "$work/port" ]; do sleep 0.05; done

# All verbs go to this port; and all ports have their logs in folders of one name, so this till gets its own.
TELLARION_PORT=$(cat "$work/port")
TLLOGS=$work/logs
export TELLARION_PORT TLLOGS

"$programs/till" sale --due 63 --port "127.0.0.1:$TELLARION_PORT" >"$work/till.out" &
till=$!
tellarion wait ready --timeout 10s >"$work/state"
tellarion insert 50 20
tellarion wait tray --timeout 10s >"$work/state"
if ! wait $till; then
    cat "$work/till.out"
    echo "The sale failed."
    exit 1
fi
tellarion take | grep '"took":700' || { echo "The change is wrong."; exit 1; }
echo "The sale went well, and the change is right."
