#!/usr/bin/env bash
# Holds the source against scripts/rooms.txt: every include points to where its room may look, and only files
# named for one system know the operating system. The table in docs/source.md and its picture must be those that the list
# makes.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
shopt -s extglob

LIST=scripts/rooms.txt
failed=0

complain()
{
    if [ -n "$2" ]; then
        printf '%s:\n%s\n' "$1" "$2"
        failed=1
    fi
}

# The list: the number of each layer, what each room beside them includes, the leaves' files.
declare -A number=() includes=()
leaves=() lowest=0 lowest_with_leaves=0
while IFS='|' read -r kind what room _; do
    read -r kind <<<"$kind" && read -r what <<<"$what" && read -r room <<<"$room"
    case $kind in
    layer)
        number[$room]=$what
        lowest=$what
        ;;
    leaf)
        # shellcheck disable=SC2206
        leaves+=($what)
        lowest_with_leaves=$lowest
        ;;
    beside) includes[$room]=$what ;;
    *)
        echo "$LIST: what is \"$kind\"?" >&2
        exit 2
        ;;
    esac
done < <(grep -vE '^(#|$)' "$LIST")

is_leaf()
{
    local leaf
    for leaf in "${leaves[@]}"; do
        # shellcheck disable=SC2053
        [[ $1 == $leaf ]] && return 0
    done
    return 1
}

# may_include <file> <included file>
may_include()
{
    local from=${1%%/*} to=${2%%/*} item
    if is_leaf "$1"; then
        is_leaf "$2" || [ "${number[$to]-}" = "$lowest" ]
    elif [ "$from" = "$to" ]; then
        true
    elif [ -n "${number[$from]-}" ]; then
        { is_leaf "$2" && [ "${number[$from]}" -le "$lowest_with_leaves" ]; } ||
            [ "${number[$to]-0}" -gt "${number[$from]}" ]
    else
        for item in ${includes[$from]-}; do
            case $item in everything | "$to" | "$2") return 0 ;; esac
        done
        return 1
    fi
}

# find_included <file> <quote> <name>: sets "found" to the file of ours, as the compiler would find it.
find_included()
{
    local directory
    local -a directories=(.)
    [ "$2" = '<' ] || directories=("${1%/*}" .)
    # What is handed to users is included by its bare name; tests have their own directory in the path.
    case ${1%%/*} in
    tests) directories+=(tests api simulator bindings/c bindings/cpp) ;;
    examples | bench | bindings | tools | simulation) directories+=(api simulator bindings/c bindings/cpp) ;;
    esac
    for directory in "${directories[@]}"; do
        if [ -f "$directory/$3" ]; then
            found=$directory/$3
            case $found in *./*) found=$(realpath -m --relative-to=. "$found") ;; esac
            return
        fi
    done
    found=''
    [ "$2" = '<' ]
}

mapfile -t sources < <(find . \( -path ./build -o -path ./.git \) -prune -o \
    \( -name '*.h' -o -name '*.hpp' -o -name '*.inc' -o -name '*.c' -o -name '*.cc' -o -name '*.cpp' \) \
    -print | sed 's|^\./||' | sort)
[ ${#sources[@]} -gt 0 ] || complain "No source files found" "$PWD"

strangers=''
for file in "${sources[@]}"; do
    room=${file%%/*}
    [ -n "${number[$room]-}${includes[$room]-}" ] || strangers+=$file$'\n'
done
complain "In no room of $LIST" "${strangers%$'\n'}"

wrong='' unknown=''
INCLUDE='^([^:]+):([0-9]+):[[:space:]]*#[[:space:]]*include[[:space:]]*(["<])([^">]*)[">]'
while IFS= read -r line; do
    if ! [[ $line =~ $INCLUDE ]] ||
        ! find_included "${BASH_REMATCH[1]}" "${BASH_REMATCH[3]}" "${BASH_REMATCH[4]}"; then
        unknown+=$line$'\n'
    elif [ -n "$found" ] && ! may_include "${BASH_REMATCH[1]}" "$found"; then
        wrong+=$line$'\n'
    fi
done < <(grep -nE '^[[:space:]]*#[[:space:]]*include' "${sources[@]}" /dev/null)
complain "Includes that $LIST doesn't allow" "${wrong%$'\n'}"
complain "Includes of nothing that is here" "${unknown%$'\n'}"

# Who may not know the operating system. Bindings stand in the users' programs.
mapfile -t portable < <(printf '%s\n' "${sources[@]}" |
    grep -vE '^bindings/|_(posix|windows)(_test)?\.[a-z]+$')
complain "Operating system in a file that isn't named for one" "$(grep -nE \
    '^\s*#\s*(if|ifdef|ifndef|elif).*\b(_?_?WIN(32|64)_?_?|_MSC_VER|__MINGW|__CYGWIN__|__linux|__unix|__APPLE__|_POSIX|__GLIBC__)' \
    "${portable[@]}" || true)"

headers='windows|winsock2?|winver|winbase|winuser|io|conio|direct|process|share|tchar|dlfcn|unistd|fcntl'
headers+='|pthread|poll|dirent|termios|sys/[a-z_]*|arpa/[a-z]*|netinet/[a-z]*|netdb|pwd|sched|semaphore|link|linux/[a-z_]*'
complain "Operating system header in a file that isn't named for one" \
    "$(grep -nE "^\s*#\s*include\s*[<\"]($headers)\.h[>\"]" "${portable[@]}" || true)"

scripts/draw_rooms.sh --check || failed=1
exit $failed
