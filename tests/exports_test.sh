#!/usr/bin/env bash
# exports_test.sh <objdump> <library> <list>: the library exports the functions of the list and nothing
# else, needs nothing but the system, and on Linux can be unloaded and looks for others beside itself.
set -euo pipefail
export LC_ALL=C
objdump=$1 library=$2 list=$3
failed=0

fail()
{
    echo "$(basename "$library"): $1"
    failed=1
}

compare()
{
    local difference
    difference=$(diff <(echo "$2") <(echo "$3")) || fail "$1 ('<' expected, '>' found):
$difference"
}

expected=$(sed 's/#.*//' "$list" | tr -d ' \t\r' | sed '/^$/d' | sort)
headers=$("$objdump" -p "$library")

case $library in
*.dll)
    exported=$(sed -n '/\[Ordinal\/Name Pointer\]/,/^$/s/^\s*\[ *[0-9]*\]\s*\(+base\[ *[0-9]*\]\s*[0-9a-f]*\s*\)\?\(\S*\)$/\2/p' \
        <<<"$headers" | sort)
    needed=$(sed -n 's/^\s*DLL Name: //p' <<<"$headers" | tr '[:upper:]' '[:lower:]' | sort -u)
    allowed='kernel32\.dll|user32\.dll|version\.dll|msvcrt\.dll|ucrtbase\.dll|api-ms-win-crt-.*\.dll'
    ;;
*)
    symbols=$("$objdump" -T "$library")
    exported=$(awk '/^[0-9a-f]+ / && !/\*UND\*/ { print $NF }' <<<"$symbols" | sort)
    needed=$(sed -n 's/^\s*NEEDED\s*//p' <<<"$headers")
    allowed='libc\.so\.6|ld-linux-x86-64\.so\.2'
    # In the table of symbols "u" marks a unique one.
    if awk '/^[0-9a-f]+ u/ { found = 1 } END { exit !found }' <<<"$symbols"; then
        fail "a unique symbol would keep it from unloading"
    fi
    if grep -q NODELETE <<<"$headers"; then
        fail "it is marked as never to be unloaded"
    fi
    # shellcheck disable=SC2016
    compare "search path" 'RUNPATH $ORIGIN' \
        "$(awk '/^ *(RPATH|RUNPATH) / { print $1, $2 }' <<<"$headers")"
    ;;
esac

compare "exports" "$expected" "$exported"
others=$(grep -vxE "$allowed" <<<"$needed" || true)
[ -z "$others" ] || fail "it needs $others"
[ -n "$needed" ] || fail "the libraries that it needs can't be read"
exit $failed
