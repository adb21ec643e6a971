#!/usr/bin/env bash
# docs.sh: makes build/docs/html, the reference and the pages, with Doxygen, and looks at every link in the
# repository's pages and in what was made. Warnings are errors.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/check_links.py

html=build/docs/html
rm -rf "$html"
mkdir -p build/docs
mapfile -t pages < <(scripts/check_links.py --pages)
mapfile -t headers < <(find api/tllogics.h bindings \( -name '*.h' -o -name '*.hpp' \) 2>/dev/null)
first=./README.md
[ ! -e docs/README.md ] || first=./docs/README.md
version=$(sed -n 's/^#define TLLOGICS_VERSION "\(.*\)"/\1/p' api/tllogics.h)
{
    cat docs/Doxyfile
    echo "PROJECT_NUMBER = $version"
    echo "USE_MDFILE_AS_MAINPAGE = $first"
    echo "INPUT = ${headers[*]} ${pages[*]}"
} | doxygen -

# What the pages show and lead to that is no page itself.
{ grep -rhoE --include='*.html' '(href|src)="files/[^"#]*' "$html" || true; } | sed 's|.*="files/||' | sort -u |
    while IFS= read -r file; do
        install -D -m 644 "$file" "$html/files/$file"
    done

scripts/check_links.py "$html"
