#!/usr/bin/env bash
# setup.sh <purpose>...: installs the Debian packages that the demo or stages of the tests need. Where that
# can't be done, it names what is missing and goes on: it may be there in another way, and if it isn't, the
# build says what it looked for.
set -euo pipefail

packages=()
for purpose; do
    case $purpose in
    demo | bench | linux | tsan | asan | windows | packages | fuzz)
        packages+=(g++ cmake ninja-build nlohmann-json3-dev libcli11-dev libfmt-dev libboost-dev)
        ;;&
    linux | tsan | asan | windows | packages) packages+=(googletest binutils python3) ;;&
    linux) packages+=(chromium chromium-driver lnav rsyslog mono-mcs) ;;
    windows | bench | packages) packages+=(g++-mingw-w64-x86-64-posix wine64) ;;&
    packages) packages+=(dpkg-dev lld-14 llvm-14 mono-mcs pkg-config python3-venv) ;;
    fuzz) packages+=(clang-14 libclang-rt-14-dev) ;;
    docs) packages+=(doxygen python3) ;;
    format) packages+=(clang-format-14) ;;
    demo | linux | tsan | asan | windows | bench | layers) ;;
    *)
        echo "setup.sh: unknown purpose \"$purpose\"" >&2
        exit 2
        ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>&1) && [ "$status" = installed ] ||
        missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
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
echo "Installing ${missing[*]}"
install 2>/dev/null || { apt update && install; } ||
    echo "setup.sh: these Debian packages can't be installed, going on without: ${missing[*]}" >&2
