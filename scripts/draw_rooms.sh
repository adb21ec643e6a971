#!/usr/bin/env bash
# Makes the table of the rooms in docs/source.md and docs/rooms.svg from scripts/rooms.txt; with --check only tells whether
# they are what the list makes, and fails if not. Rooms that aren't there (yet) are left out.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

LIST=scripts/rooms.txt
BEGIN='<!-- rooms: scripts/draw_rooms.sh makes this from scripts/rooms.txt -->'
END='<!-- end of rooms -->'

# What both forms need of the list: "layer", "leaf" and "beside" lines as arrays.
# shellcheck disable=SC2016
READ='
function trimmed(text) { gsub(/^ +| +$/, "", text); return text }
/^#/ || /^$/ { next }
{
    kind = trimmed($1); what = trimmed($2); room = trimmed($3); text = trimmed($4)
    if (kind == "leaf") {
        leaf_files[++leaves] = what; leaf_name[leaves] = room; leaf_text[leaves] = text; leaf_end = number[layers]
    } else if (system("test -d " room) != 0)
        next
    else if (kind == "layer") {
        layer[++layers] = room; number[layers] = what; layer_text[layers] = text
        in_row[what]++; lowest = what
    } else {
        beside[++besides] = room; beside_includes[besides] = what; beside_text[besides] = text
    }
}
'

# shellcheck disable=SC2016
table()
{
    awk -F'|' "$READ"'
function rooms_of(row,   i, names) {
    for (i = 1; i <= layers; i++)
        if (number[i] == row) names = names (names ? ", " : "") "`" layer[i] "/`"
    return names
}
function quoted(list,   parts, i, n, names) {
    if (list == "everything" || list == "nothing") return list
    n = split(list, parts, " ")
    for (i = 1; i <= n; i++)
        names = names (names ? ", " : "") "`" parts[i] (parts[i] ~ /\./ ? "" : "/") "`"
    return names
}
END {
    print "| Room | What is in it | What it includes |"
    print "|---|---|---|"
    for (i = 1; i <= layers; i++) {
        below = number[i] == lowest ? "nothing" : rooms_of(number[i] + 1)
        if (number[i] + 1 < lowest) below = below " and below"
        if (number[i] <= leaf_end) below = below ", leaves"
        printf "| `%s/` | %s | %s |\n", layer[i], layer_text[i], below
    }
    for (i = 1; i <= besides; i++)
        printf "| `%s/` | %s | %s |\n", beside[i], beside_text[i], quoted(beside_includes[i])
    print ""
    print "The leaves include each other and " rooms_of(lowest) " only, wherever they lie:"
    print ""
    for (i = 1; i <= leaves; i++)
        printf "- the %s, %s: %s\n", leaf_name[i], leaf_text[i], quoted(leaf_files[i])
}' "$LIST"
}

# shellcheck disable=SC2016
picture()
{
    awk -F'|' "$READ"'
function plain(text) {
    gsub(/`/, "", text); gsub(/ \(\[[^)]*\)\)/, "", text)
    gsub(/&/, "\\&amp;", text); gsub(/</, "\\&lt;", text); gsub(/>/, "\\&gt;", text)
    return text
}
# Writes the text line by line, or only counts the lines if "y" is 0.
function lines(text, x, y, width,   words, i, n, line, count) {
    n = split(plain(text), words, " ")
    for (i = 1; i <= n + 1; i++) {
        if (line && (i > n || length(line " " words[i]) > width / 6.4)) {
            if (y) printf "<text class=\"small\" x=\"%d\" y=\"%d\">%s</text>\n", x, y + 14 * count, line
            count++
            line = ""
        }
        line = line (line ? " " : "") words[i]
    }
    return count
}
function height_of(text, width) { return 32 + 14 * lines(text, 0, 0, width - 24) }
function box(class, x, y, width, height, name, text) {
    printf "<rect class=\"%s\" x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" rx=\"7\"/>\n", class, x, y, width, height
    printf "<text class=\"name\" x=\"%d\" y=\"%d\">%s</text>\n", x + 12, y + 20, name
    lines(text, x + 12, y + 37, width - 24)
}
function arrow(path) { printf "<path class=\"arrow\" d=\"%s\" marker-end=\"url(#tip)\"/>\n", path }
function middle_of(row) { return top[row] + high[row] / 2 }
function wide_in(row) { return (WIDE - (in_row[row] - 1) * GAP) / in_row[row] }
function short(list) {
    if (list !~ /\./) return list
    gsub(/[a-z]+\//, "", list); gsub(/ /, ", ", list)
    return list
}
END {
    while (besides && beside_includes[besides] == "nothing") besides--
    MARGIN = 20; WIDE = 470; GAP = 18; RIGHT = 540; RIGHT_WIDE = 240; ACROSS = 4
    for (i = 1; i <= layers; i++) {
        tall = height_of(layer_text[i], wide_in(number[i]))
        if (tall > high[number[i]]) high[number[i]] = tall
    }
    top[1] = MARGIN
    for (row = 2; row <= lowest; row++)
        top[row] = top[row - 1] + high[row - 1] + GAP
    beside_wide = (800 - 2 * MARGIN - (ACROSS - 1) * 12) / ACROSS
    for (i = 1; i <= besides; i++) {
        tall = height_of(short(beside_includes[i]), beside_wide)
        if (tall > beside_high) beside_high = tall
    }
    beside_top = top[lowest] + high[lowest] + 46
    height = beside_top + (int((besides - 1) / ACROSS) + 1) * (beside_high + 12) - 12 + MARGIN
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 800 %d\" width=\"800\" height=\"%d\" role=\"img\" aria-label=\"The rooms of the source and their includes\">\n", height, height
    print "<style>"
    print "text { font-family: system-ui, sans-serif; fill: #1d2b3a }"
    print ".name { font-size: 15px; font-weight: 600 }"
    print ".small { font-size: 11.5px; fill: #45566a }"
    print ".layer { fill: #e8f1fb; stroke: #4a7fb5 }"
    print ".leaf { fill: #fff5dc; stroke: #c79a2b }"
    print ".beside { fill: #f3f3f1; stroke: #9a9a94 }"
    print ".frame { fill: none; stroke: #c79a2b; stroke-dasharray: 5 4 }"
    print ".arrow { fill: none; stroke: #7a8a9a; stroke-width: 1.5 }"
    print "</style>"
    print "<defs><marker id=\"tip\" viewBox=\"0 0 8 8\" refX=\"7\" refY=\"4\" markerWidth=\"7\" markerHeight=\"7\" orient=\"auto\"><path d=\"M0 0L8 4L0 8z\" fill=\"#7a8a9a\"/></marker></defs>"
    printf "<rect width=\"800\" height=\"%d\" rx=\"10\" fill=\"#fff\"/>\n", height

    for (i = 1; i <= layers; i++) {
        row = number[i]
        wide = wide_in(row)
        x = MARGIN + placed[row]++ * (wide + GAP)
        box("layer", x, top[row], wide, high[row], layer[i] "/", layer_text[i])
        middle = x + wide / 2
        # From a row of two into one, and from one into a row of two: each room has its arrow.
        if (row > 1 && in_row[row - 1] <= in_row[row])
            arrow(sprintf("M%d %dV%d", middle, top[row] - GAP, top[row] - 2))
        if (row < lowest && in_row[row + 1] < in_row[row])
            arrow(sprintf("M%d %dV%d", middle, top[row] + high[row], top[row + 1] - 2))
        if (row <= leaf_end && placed[row] == in_row[row])
            arrow(sprintf("M%d %dH%d", MARGIN + WIDE, middle_of(row), RIGHT - 2))
    }

    frame_end = top[leaf_end] + high[leaf_end]
    printf "<rect class=\"frame\" x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" rx=\"7\"/>\n", RIGHT, MARGIN, RIGHT_WIDE, frame_end - MARGIN
    printf "<text class=\"name\" x=\"%d\" y=\"%d\">leaves</text>\n", RIGHT + 12, MARGIN + 20
    y = MARGIN + 37 + 14 * lines("They include each other and " layer[layers] "/ only.", RIGHT + 12, MARGIN + 37, RIGHT_WIDE - 24)
    spare = frame_end - 12 - y
    for (i = 1; i <= leaves; i++) {
        leaf_shown[i] = leaf_text[i] ": " short(leaf_files[i])
        spare -= height_of(leaf_shown[i], RIGHT_WIDE - 24)
    }
    for (i = 1; i <= leaves; i++) {
        tall = height_of(leaf_shown[i], RIGHT_WIDE - 24)
        box("leaf", RIGHT + 12, y, RIGHT_WIDE - 24, tall, leaf_name[i], leaf_shown[i])
        y += tall + spare / (leaves - 1)
    }
    arrow(sprintf("M%d %dV%dH%d", RIGHT + RIGHT_WIDE / 2, frame_end, middle_of(lowest), MARGIN + WIDE + 2))

    printf "<text class=\"small\" x=\"%d\" y=\"%d\">Beside the layers, and what these rooms include apart from their own files:</text>\n", MARGIN, beside_top - 12
    for (i = 1; i <= besides; i++)
        box("beside", MARGIN + (i - 1) % ACROSS * (beside_wide + 12), beside_top + int((i - 1) / ACROSS) * (beside_high + 12), beside_wide, beside_high, beside[i] "/", short(beside_includes[i]))
    print "</svg>"
}' "$LIST"
}

# The page with the table between its two marks.
page()
{
    TABLE=$1 awk -v begin="$BEGIN" -v end="$END" '
$0 == begin { print; print ""; print ENVIRON["TABLE"]; print ""; skipping = 1 }
$0 == end { skipping = 0 }
!skipping { print }' docs/source.md
}

if ! grep -qxF -- "$BEGIN" docs/source.md || ! grep -qxF -- "$END" docs/source.md; then
    echo "docs/source.md has lost the marks of the table of rooms" >&2
    exit 1
fi
if [ "${1-}" = --check ]; then
    if [ "$(page "$(table)")" != "$(cat docs/source.md)" ] || [ "$(picture)" != "$(cat docs/rooms.svg)" ]; then
        echo "docs/source.md or docs/rooms.svg isn't what $LIST makes: run scripts/draw_rooms.sh"
        exit 1
    fi
else
    made=$(page "$(table)")
    printf '%s\n' "$made" >docs/source.md
    picture >docs/rooms.svg
fi
