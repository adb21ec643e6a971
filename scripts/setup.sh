#!/usr/bin/env bash
# setup.sh <purpose>...: installs what is missing for the demo or for stages of the tests, with Debian's
# packages. Without apt-get, or without the right to install, it names what is missing and fails.
set -euo pipefail

# have <program or absolute file>...: true if one of them is there.
have()
{
    for item; do
        case $item in
        /*) [ -e "$item" ] && return ;;
        *) command -v "$item" >/dev/null && return ;;
        esac
    done
    return 1
}

# need <package> <program or file>...: one of them stands for the package.
needs=()
need() { needs+=("$*"); }

for purpose; do
    case $purpose in
    demo | bench | linux | tsan | asan | windows)
        need g++ g++
        need cmake cmake
        need ninja-build ninja
        need nlohmann-json3-dev /usr/include/nlohmann/json.hpp
        need libcli11-dev /usr/include/CLI/CLI.hpp
        need libfmt-dev /usr/include/fmt/format.h
        ;;&
    linux | tsan | asan | windows)
        need googletest /usr/src/googletest/CMakeLists.txt
        need binutils objdump
        ;;&
    bench)
        need libbenchmark-dev /usr/include/benchmark/benchmark.h
        ;;&
    windows)
        need g++-mingw-w64-x86-64-posix x86_64-w64-mingw32-g++-posix
        need wine64 /usr/lib/wine/wine64 wine64
        ;;&
    format)
        need clang-format-14 clang-format-14
        ;;&
    demo | bench | linux | tsan | asan | windows | format | layers) ;;
    *)
        echo "setup.sh: unknown purpose \"$purpose\"" >&2
        exit 2
        ;;
    esac
done

[ ${#needs[@]} -eq 0 ] && exit 0
mapfile -t needs < <(printf '%s\n' "${needs[@]}" | sort -u)

# Sets "missing" to the packages whose programs or files aren't there.
find_missing()
{
    missing=()
    local entry package items
    for entry in "${needs[@]}"; do
        read -r package items <<<"$entry"
        # shellcheck disable=SC2086
        have $items || missing+=("$package")
    done
}

give_up()
{
    echo "setup.sh: missing, and $1: ${missing[*]}" >&2
    echo "setup.sh: install these (Debian's package names) and try again." >&2
    exit 1
}

find_missing
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing ${missing[*]}"
have apt-get || give_up "apt-get isn't there to install it"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    have sudo || give_up "neither root's rights nor sudo are there to install it"
    as_root=(sudo)
    # Nobody could type a password.
    [ -t 0 ] || as_root=(sudo -n)
fi

apt()
{
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0 \
        -o DPkg::Lock::Timeout=300 "$@" </dev/null
}
install() { apt install -y --no-install-recommends "${missing[@]}" >/dev/null; }

# The lists of packages may be absent or old; only then are they fetched.
install 2>/dev/null || { apt update && install; } || give_up "apt-get can't install it"
find_missing
[ ${#missing[@]} -eq 0 ] || give_up "still not there after its installation"
