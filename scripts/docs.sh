#!/usr/bin/env bash
# docs.sh: makes build/docs/html, the reference and the pages, with Doxygen, and looks at every link in the
# repository's pages and in what was made. Warnings are errors.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/check_links.py

html=build/docs/html
rm -rf "$html"
mkdir -p build/docs
mapfile -t pages < <(scripts/check_links.py --list)
mapfile -t headers < <(find api/tllogics.h bindings \( -name '*.h' -o -name '*.hpp' \) 2>/dev/null)
first=./README.md
[ ! -e docs/README.md ] || first=./docs/README.md
version=$(sed -n 's/^#define TLLOGICS_VERSION "\(.*\)"/\1/p' api/tllogics.h)
settings=$(cat scripts/doxygen/Doxyfile && printf '%s\n' "PROJECT_NUMBER = $version" "USE_MDFILE_AS_MAINPAGE = $first")
# Nothing in C stands without a word. What has none in C++ is as in C.
undocumented=$(printf '%s\n' "$settings" 'INPUT = api/tllogics.h bindings/c' 'FILE_PATTERNS = *.h' 'GENERATE_HTML = NO' \
    'GENERATE_XML = YES' 'WARN_AS_ERROR = NO' | doxygen - 2>&1 | grep 'is not documented' || true)
rm -r build/docs/xml
if [ -n "$undocumented" ]; then
    echo "$undocumented" >&2
    exit 1
fi
doxygen - <<<"$settings
INPUT = ${headers[*]} ${pages[*]}
EXTRACT_ALL = YES"

# What the pages show and lead to that is no page itself.
{ grep -rhoE --include='*.html' '(href|src)="files/[^"#]*' "$html" || true; } | sed 's|.*="files/||' | sort -u |
    while IFS= read -r file; do
        install -D -m 644 "$file" "$html/files/$file"
    done

scripts/check_links.py --html "$html"
