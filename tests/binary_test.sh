#!/usr/bin/env bash
# binary_test.sh <objdump> <library> <list> <most bytes> [<soname> <newest glibc>]: what the file of a shared
# library says. It exports the functions of the list and nothing else, needs nothing but the system, is no
# larger than told, is hard to attack, and names the file of its debug symbols. On Linux it has its soname,
# needs no newer glibc, can be unloaded, and looks for others beside itself; on Windows it says what it is.
set -euo pipefail
export LC_ALL=C
objdump=$1 library=$2 list=$3 most=$4 soname=${5-} newest=${6-}
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

# has <pattern> <text> <complaint>
has() { grep -qE "$1" <<<"$2" || fail "$3"; }
hasnt() { ! grep -qE "$1" <<<"$2" || fail "$3"; }

expected=$(sed 's/#.*//' "$list" | tr -d ' \t\r' | sed '/^$/d' | sort)
headers=$("$objdump" -p "$library")
size=$(stat -L -c %s "$library")
[ "$size" -le "$most" ] || fail "it has $size bytes, of $most at the most"
[ -s "$library.debug" ] || fail "no debug symbols beside it"
has "$(basename "$library").debug" "$("$objdump" -s -j .gnu_debuglink "$library" |
    sed -n 's/^ [0-9a-f]* .\{35\}  //p' | tr -d '\n')" "it doesn't name the file of its debug symbols"

case $library in
*.dll)
    exported=$(sed -n '/\[Ordinal\/Name Pointer\]/,/^$/s/^\s*\[ *[0-9]*\]\s*\(+base\[ *[0-9]*\]\s*[0-9a-f]*\s*\)\?\(\S*\)$/\2/p' \
        <<<"$headers" | sort)
    needed=$(sed -n 's/^\s*DLL Name: //p' <<<"$headers" | tr '[:upper:]' '[:lower:]' | sort -u)
    allowed='kernel32\.dll|user32\.dll|version\.dll|msvcrt\.dll|ucrtbase\.dll|api-ms-win-crt-.*\.dll'
    for protection in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
        has "$protection" "$headers" "it isn't marked $protection"
    done
    resource=$(tr -d '\0\n' <"$library" | grep -aoE 'StringFileInfo.*' || true)
    for entry in CompanyName FileDescription FileVersion InternalName LegalCopyright OriginalFilename \
        ProductName ProductVersion; do
        has "$entry" "$resource" "its version says no $entry"
    done
    if [ "$(basename "$library")" != tllogics.dll ]; then
        allowed+='|ws2_32\.dll|mswsock\.dll'
        has 'FileDescription.?Simulator' "$resource" "it doesn't say that it is a simulator"
    fi
    ;;
*)
    symbols=$("$objdump" -T "$library")
    exported=$(awk '/^[0-9a-f]+ / && !/\*UND\*/ { print $NF }' <<<"$symbols" | sort)
    needed=$(sed -n 's/^\s*NEEDED\s*//p' <<<"$headers")
    allowed='libc\.so\.6|ld-linux-x86-64\.so\.2'
    # In the table of symbols "u" marks a unique one.
    hasnt '^[0-9a-f]+ u' "$symbols" "a unique symbol would keep it from unloading"
    hasnt NODELETE "$headers" "it is marked as never to be unloaded"
    # shellcheck disable=SC2016
    compare "names" "SONAME $soname
RUNPATH \$ORIGIN" "$(awk '/^ *(SONAME|RPATH|RUNPATH) / { print $1, $2 }' <<<"$headers")"
    glibc=$(grep -o 'GLIBC_[0-9.]*' <<<"$symbols" | sed 's/.*_//' | sort -V | tail -1)
    printf '%s\n' "$glibc" "$newest" | sort -CV || fail "it needs glibc $glibc"

    has '^ *RELRO ' "$headers" "its relocations stay writable"
    has '^ *FLAGS +0x0*8$' "$headers" "it isn't bound at load"
    has '__stack_chk_fail' "$symbols" "its stack isn't protected"
    has '__[a-z]+printf_chk' "$symbols" "its texts aren't fortified"
    hasnt '^ *STACK' "$(grep -A1 '^ *STACK' <<<"$headers" | grep -B1 'flags ..x' || true)" "its stack can be executed"
    compare "exports that begin with endbr64" "$expected" "$("$objdump" -d --no-show-raw-insn "$library" |
        sed -nE '/^[0-9a-f]+ <[^+]*>:$/{s/^[0-9a-f]+ <([^@>]*).*/\1/;h;n;/\tendbr64/{g;p}}' |
        grep -xF "$expected" | sort -u)"
    ;;
esac

compare "exports" "$expected" "$exported"
others=$(grep -vxE "$allowed" <<<"$needed" || true)
[ -z "$others" ] || fail "it needs $others"
[ -n "$needed" ] || fail "the libraries that it needs can't be read"
exit $failed
