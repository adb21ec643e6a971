#!/usr/bin/env bash
# statuses.sh [--check]: makes docs/statuses.md from docs/statuses.tsv; with --check it only finds whether
# the page is as the table has it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

page()
{
    cat <<'INTRODUCTION'
# What each call can answer

Made from [statuses.tsv](statuses.tsv) by `scripts/statuses.sh`. The codes' names stand in `api/tllogics.h`.

*Money* says whether money moved: no, yes, or unknown. Where it is unknown, count before anything is tried again: the
library never sends a payment twice by itself, and the device pays again what it is sent again, whatever the transaction
id. *Retry* says when one may call again. The messages are the English texts, by which `tllang.ini` finds its own.

A status 2 with an empty message, which any call that lists a 2 can answer, means that the memory ran out: a call that
pays may have paid. `initTL` may also answer a code of the communication library's own, with its text.
INTRODUCTION
    awk -F '\t' '
        function cell(text) { gsub(/\|/, "<br>", text); return text == "-" ? "" : text }
        NR == 1 { next }
        $1 != call {
            call = $1
            printf "\n## %s\n\n", call
            print "| Status | Meaning | Money | Retry | Ask the device | Tell the cashier | Messages |"
            print "|---|---|---|---|---|---|---|"
        }
        { printf "| %s | %s | %s | %s | %s | %s | %s |\n", $2, $3, $4, cell($5), cell($6), cell($7), cell($8) }
    ' docs/statuses.tsv
}

if [ "${1-}" = --check ]; then
    diff docs/statuses.md <(page) || {
        echo "docs/statuses.md is not what docs/statuses.tsv says: run scripts/statuses.sh" >&2
        exit 1
    }
else
    page >docs/statuses.md
fi
