#!/usr/bin/env bash
# simulate.sh <tlsimulate, with what starts it>... <first seed> <last seed> <sales a seed>: runs the seeds, each in a
# process of its own, as many at a time as there are processors, and prints one table of all that they counted.
# simulate.sh <tlsimulate>... fresh: one seed that nobody has seen, with more sales.
set -euo pipefail
if [ "${!#}" = fresh ]; then
    set -- "${@:1:$#-1}" $((SRANDOM % 1000000000)) "" 3000
    set -- "${@:1:$#-3}" "${@: -3:1}" "${@: -3:1}" "${@: -1}"
    echo "seed ${@: -3:1}"
fi
sales=${!#} last=${@: -2:1} first=${@: -3:1}
program=("${@:1:$#-3}")

# A seed that fails says so by itself, with the steps that it needs.
seq "$first" "$last" |
    xargs -P "$(nproc)" -I{} sh -c '"$@" || echo "failed	1"' sh "${program[@]}" --seed {} --sales "$sales" |
    tr -d '\r' | awk -F'\t' '
    NF == 2 { sum[$1] += $2; next }
    { print }
    END {
        if (!("violations" in sum))
            sum["violations"] = 0
        for (what in sum)
            if (what != "seconds" && what != "failed")
                printf "%-75s %12d\n", what, sum[what] | "LC_ALL=C sort"
        close("LC_ALL=C sort")
        exit sum["failed"] > 0 || sum["sales"] == 0
    }'
