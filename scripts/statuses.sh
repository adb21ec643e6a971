#!/usr/bin/env bash
# statuses.sh [--check]: makes docs/statuses.md from docs/statuses.tsv; with --check it only finds whether
# the page is as the table has it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

page()
{
    cat <<'INTRODUCTION'
# What a status asks of the till

First ask what became of the money: by call and status, not by the status alone.

| Money | Which answers | What the till does next |
|---|---|---|
| no | all that don't stand below | Nothing moved. Tell the cashier what the call's table says, and call again when it says so. |
| yes | @yes@ | It was begun, or done in part. Wait for the status event that says ready, and look at what did not come out. Never send it again. |
| unknown | @unknown@; 2 with an empty message from any of these calls | It may have been done. Never send it again, whatever the transaction id. Wait until the device is ready, with `resetTL` if it is in its error status; count; compare with the count before; settle the difference by hand. |

The library never sends a payment twice by itself, and the device pays again what it is sent again. A till that books
only what a count before and after proves is right in all three cases, as [the first sale](../examples/first_sale.c) is;
[the guide](guide.md) and [the hazards](hazards.md) tell more.

| Status | `TL_STATUS_` | In most calls | What next |
|---|---|---|---|
| 0 | `OK` | done, or begun | go on, after the status event where the call has one |
| 1 | `BUSY` | the device was busy too long, nothing was done | again after the status event 0 or 3 |
| 2 | `ERROR` | the device is in its error status, or the library not initiated | mend the fault, `resetTL`, again when it is ready; `initTL` |
| 3 | `WARNING` | `initTL` alone: it was initiated already | nothing |
| 4 | `INPUT_PARAM_ERROR` | a parameter is wrong | correct the program; with `amountDueTL` also: wait until more is paid in |
| 5 | `CLOSED` | nobody is logged in | `loginTL` |
| 6 | `TIMEOUT` | the device did not report in time; after a payment it may have paid | count after a payment; else again |
| 7 | `SEND_FAILED` | nobody knows whether the command got through | count after a payment; else again, once the link is there |
| 8 | `NOT_POSSIBLE` | the device lacks the pieces for the exact amount, nothing was paid | another amount, or the missing part by hand |
| 10 | `AMOUNT_TOO_BIG` | more is to be kept than was paid in, nothing was paid | wait for more, or keep less |
| 11 | `PAYOUT_LIMIT` | the limit of the [settings](settings.md) would be passed, nothing was paid | wait, or pay by hand |
| 12 | `NOT_SUPPORTED` | the state doesn't allow the call, or the device didn't tell its commands at login | see the states below |
| 13 | `FAILED_TO_COMPLY` | the device did not do it, or not all of it | see the call |

## States

What a call needs and where it leads if it answers 0, as a test finds it with the library. Elsewhere it answers 12,
while closed mostly 5, and while not initiated 2; `adminModeTL` answers 13.

![The states, and the calls that lead from one to another](states.svg)

With `AutoDisable` 1 a login leads to "pay-in disabled".

## Call by call

From [statuses.tsv](statuses.tsv), by `scripts/statuses.sh`; programs take the table itself. The messages are the
English texts, by which the [language file](language.md) finds its own; [troubleshooting](troubleshooting.md) is by them.

Left out of the tables are two answers of every call that takes `message`: 4 if `message` is null, which only the log
tells, and, where 2 is possible, 2 with an empty message if the memory ran out. `initTL` may also answer a code of the
communication library's own, with its text.
INTRODUCTION
    awk -F '\t' '
        function cell(text) { gsub(/ *\| */, "<br>", text); return text }
        function next_step(status, retry, ask, cashier,   text) {
            if (retry !~ /^no need: it is done$/) text = "Again: " retry "."
            if (ask != "-") text = text (text ? "<br>" : "") "Look at: " ask "."
            if (cashier != "-") text = text (text ? "<br>" : "") "Tell: \"" cashier "\""
            return text ? text : "Go on."
        }
        function flush_call(   i) {
            if (call == "") return
            printf "\n### %s\n\n", call
            if (table in told) { printf "As [%s](#%s).\n", told[table], tolower(told[table]); return }
            told[table] = call
            printf "| Status, messages | Meaning | Money | What next |\n|---|---|---|---|\n%s", table
        }
        NR == 1 { next }
        $1 != call { flush_call(); call = $1; table = "" }
        $3 ~ /^The message pointer is null: nothing was done/ { next }
        { table = table sprintf("| **%s** %s | %s | %s | %s |\n", $2, $8 == "-" ? "" : cell($8), $3, $4 == "no" ? "no" : "**" $4 "**", next_step($2, $5, $6, $7)) }
        END { flush_call() }
    ' docs/statuses.tsv
}

# "0 of `depositTL`, `dispenseTL`; 13 of ..." for what the money is said to be.
answers()
{
    awk -F '\t' -v money="$1" '
        $4 == money { list[$2] = list[$2] (list[$2] ? ", " : "") "`" $1 "`" }
        END { for (i = 0; i <= 13; i++) if (i in list) printf "%s%s of %s", (n++ ? "; " : ""), i, list[i] }
    ' docs/statuses.tsv
}

made=$(page)
made=${made/@yes@/$(answers yes)}
made=${made/@unknown@/$(answers unknown)}
if [ "${1-}" = --check ]; then
    diff docs/statuses.md - <<<"$made" || {
        echo "docs/statuses.md is not what docs/statuses.tsv says: run scripts/statuses.sh" >&2
        exit 1
    }
    scripts/draw_states.py --check
else
    printf '%s\n' "$made" >docs/statuses.md
    scripts/draw_states.py
fi
