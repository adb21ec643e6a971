#!/usr/bin/env python3
"""draw_states.py [--check]: makes docs/states.svg from docs/states.tsv, which a test holds to the library; with
--check it only finds whether the picture is as the table has it. It fails on a way that it doesn't draw."""
import collections
import os
import sys

os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
TABLE, PICTURE = "docs/states.tsv", "docs/states.svg"
SESSION = ("pay-in enabled", "pay-in disabled", "cash deposited")

ways = collections.defaultdict(list)  # (device, from, to): calls
with open(TABLE, encoding="utf-8") as file:
    for line in file.read().splitlines()[1:]:
        device, start, end, calls = line.split("\t")
        ways[device, start, end] = calls.split(" ")
left = set(ways)  # to be drawn


def take(start, end, device="ready"):
    left.discard((device, start, end))
    return ways[device, start, end]


def same(lists):
    """What all of them have to be."""
    if any(each != lists[0] for each in lists):
        sys.exit(f"{TABLE}: one arrow can't show {lists}")
    return lists[0]


svg = []


def wrapped(words, width):
    line = ""
    for word in words:
        if line and (len(line) + 1 + len(word)) * 6.1 > width:
            yield line
            line = ""
        line += (" " if line else "") + word
    yield line


def write(x, y, words, width, kind="small", anchor="start"):
    for line in wrapped(words, width):
        svg.append(f'<text class="{kind}" x="{x}" y="{y}" text-anchor="{anchor}">{line}</text>')
        y += 15
    return y


def box(name, x, y, width, height, kind="state"):
    svg.append(f'<rect class="{kind}" x="{x}" y="{y}" width="{width}" height="{height}" rx="8"/>')
    svg.append(f'<text class="name" x="{x + 12 + (500 if kind == "session" else 0)}" y="{y + 21}">{name}</text>')


def arrow(path, labels, x, y, anchor="start"):
    svg.append(f'<path class="arrow" d="{path}" marker-end="url(#tip)"/>')
    write(x, y, labels, 1, "call", anchor)


def joined(calls):
    return [call + "," for call in calls[:-1]] + calls[-1:]


stays = {state: take(state, state) for state in ("closed", *SESSION)}
everywhere = [call for call in stays["closed"] if all(call in stays[state] for state in SESSION)]
in_session = [call for call in stays[SESSION[0]]
              if call not in everywhere and all(call in stays[state] for state in SESSION)]


def own(state):
    return [call for call in stays[state] if call not in everywhere + (in_session if state in SESSION else [])]


box("not initiated", 20, 20, 190, 60)
box("closed", 330, 20, 570, 60)
write(342, 60, ["here", "too:"] + joined(own("closed")), 546)
arrow("M210 40H328", take("not initiated", "closed"), 269, 34, "middle")
arrow("M330 64H212", take("closed", "not initiated"), 271, 58, "middle")

box("a session is open", 20, 176, 880, 280, "session")
for state, x, width in zip(SESSION, (36, 350, 694), (190, 200, 190)):
    box(state, x, 226, width, 156)
    y = write(x + 12, 266, ["here", "too:"] + joined(own(state)), width - 12)
    if extra := take(state, state, "administration"):
        write(x + 12, y + 4, ["in", "administration", "mode:"] + joined(extra), width - 12)

login = same([take("closed", SESSION[0]), take("closed", SESSION[1])])
arrow("M390 80V128H134V224", login, 142, 200)
arrow("M448 80V224", login, 456, 200)
arrow("M774 176V82", same([take(state, "closed") for state in SESSION]), 782, 140)
arrow("M60 176V82", same([take(state, "not initiated") for state in SESSION]), 68, 140)
arrow("M226 262H348", take(SESSION[0], SESSION[1]), 288, 255, "middle")
arrow("M350 306H228", take(SESSION[1], SESSION[0]), 289, 299, "middle")
arrow("M550 262H692", take(SESSION[1], SESSION[2]), 621, 255, "middle")
arrow("M694 292H552", take(SESSION[2], SESSION[1]), 622, 310, "middle")
write(622, 340, take(SESSION[2], SESSION[1], "administration"), 1, "call", "middle")
write(622, 355, ["(administration mode)"], 200, "small", "middle")

error = [key for key in left if key[0] == "error"]
recover = same([take(*key[1:], device="error") for key in sorted(error)])
ends = sorted({key[2] for key in error}, reverse=True)
y = write(36, 410, ["in", "each", "of", "the", "three:"] + joined(in_session), 846)
write(36, y + 6, (f"out of the device's error status {', '.join(recover[:-1])} and {recover[-1]} lead to "
                      f"{' or '.join(ends)}, as the device says").split(" "), 846)
y = write(20, 478, ["in", "all", "but", "not", "initiated:"] + joined(everywhere), 880)
write(20, y + 4, "in every state: the six registrations, changeSettingsTL".split(" "), 880)
if left:
    sys.exit(f"{TABLE}: nothing draws {sorted(left)}")

made = """<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 920 530" width="920" height="530" role="img" \
aria-label="The states, and the calls that lead from one to another">
<style>
text { font-family: system-ui, sans-serif; fill: #1d2b3a }
.name { font-size: 15px; font-weight: 600 }
.small { font-size: 11.5px; fill: #45566a }
.call { font-size: 11.5px; font-weight: 600 }
.state { fill: #e8f1fb; stroke: #4a7fb5 }
.session { fill: #fbfaf5; stroke: #c79a2b; stroke-dasharray: 5 4 }
.arrow { fill: none; stroke: #7a8a9a; stroke-width: 1.5 }
</style>
<defs><marker id="tip" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" markerHeight="7" orient="auto">\
<path d="M0 0L8 4L0 8z" fill="#7a8a9a"/></marker></defs>
<rect width="920" height="530" rx="10" fill="#fff"/>
""" + "\n".join(svg) + "\n</svg>\n"
if sys.argv[1:] == ["--check"]:
    with open(PICTURE, encoding="utf-8") as file:
        if file.read() != made:
            sys.exit(f"{PICTURE} is not what {TABLE} says: run scripts/draw_states.py")
else:
    with open(PICTURE, "w", encoding="utf-8") as file:
        file.write(made)
