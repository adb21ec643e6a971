#!/usr/bin/env bash
# Only the platform layer, and files named for one system, may know the operating system; and the
# platform layer knows nothing of the rest.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

sources()
{
    find "$@" -name '*.h' -o -name '*.cpp' -o -name '*.c' 2>/dev/null
}

complain()
{
    if [ -n "$2" ]; then
        printf '%s:\n%s\n' "$1" "$2"
        failed=1
    fi
}

failed=0
mapfile -t rooms < <(sources api device logic events config diag text simulator examples bench |
    grep -vE '_(posix|windows)\.(cpp|h|c)$')
mapfile -t platform < <(sources platform)
if [ ${#rooms[@]} -eq 0 ] || [ ${#platform[@]} -eq 0 ]; then
    complain "No source files found" "$PWD"
fi

complain "Operating system outside the platform layer" "$(grep -nE \
    '^\s*#\s*(if|ifdef|ifndef|elif).*\b(_?_?WIN(32|64)_?_?|_MSC_VER|__MINGW|__CYGWIN__|__linux|__unix|__APPLE__|_POSIX|__GLIBC__)' \
    "${rooms[@]}" || true)"

headers='windows|winsock2?|winver|winbase|winuser|io|conio|direct|process|share|tchar|dlfcn|unistd|fcntl'
headers+='|pthread|poll|dirent|termios|sys/[a-z_]*|arpa/[a-z]*|netinet/[a-z]*|netdb|pwd|sched|semaphore|link|linux/[a-z_]*'
complain "Operating system header outside the platform layer" \
    "$(grep -nE "^\s*#\s*include\s*[<\"]($headers)\.h[>\"]" "${rooms[@]}" || true)"

complain "The platform layer includes the rest of the system" \
    "$(grep -nE '^\s*#\s*include\s*"' "${platform[@]}" | grep -vE '"(platform|text)/' || true)"
exit $failed
