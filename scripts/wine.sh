#!/usr/bin/env bash
# wine.sh <program> [argument...]: runs a Windows program, without a display, in a Wine prefix of the
# build directory. wine.sh --stop ends the prefix's server, which else waits two minutes for more.
set -euo pipefail

build=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build
export WINEPREFIX=$build/wine WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY

# first_of <name>...: some packages keep the programs out of the search path.
first_of()
{
    for name; do
        command -v "$name" && return
    done
    echo "wine.sh: Wine is missing: install wine64." >&2
    exit 127
}
wine=$(first_of /usr/lib/wine/wine64 wine64 wine)
server=$(first_of /usr/lib/wine/wineserver64 /usr/lib/wine/wineserver wineserver)

if [ "${1-}" = --stop ]; then
    "$server" -k || true
    exit
fi

# Tests run in parallel: the first one starts the server and, once per prefix, sets the prefix up. Their
# descriptors are kept from the server, since it outlives them.
mkdir -p "$WINEPREFIX"
exec 9>"$build/wine.lock"
flock 9
started=0
"$server" --persistent=120 >/dev/null 2>&1 </dev/null 9>&- || started=$?
case $started in
0)
    quietly() { "$wine" "$@" >/dev/null 2>&1 </dev/null 9>&-; }
    quietly wineboot
    if [ ! -e "$WINEPREFIX/.ready" ]; then
        quietly reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
        touch "$WINEPREFIX/.ready"
    fi
    ;;
2) ;; # it runs already
*)
    echo "wine.sh: $server can't be started in $WINEPREFIX." >&2
    exit 1
    ;;
esac
exec 9>&-

exec "$wine" "$@"
