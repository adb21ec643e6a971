// The talk between till and device as it goes on, with what people did and what it moved.
import { byId, make, shortMoney, show, timeOfDay } from "/live.js";
import { movesInWords, touch } from "./drawer.js";
import { inWords } from "./faults.js";

const MOST_LINES = 600;

const lines = []; // what is there, the oldest first
const kept = []; // what came while it was stopped
let following = true;

/** What a separator or another unseen character looks like. */
const visible = (raw) => (raw ?? "").replace(/[\u0000-\u001f\u007f]/g, "\u00b7");

const CHANGES = { lost: "lost on the way", late: "comes late", again: "comes once more", garbled: "garbled on the way" };

function lineOf(event) {
    switch (event.kind) {
    case "command":
        return { who: "till", words: `${event.words} \u2192 ${event.answerWords}`,
            raw: `${visible(event.raw)}  \u2192  ${visible(event.answer)}`, changed: event.answerWords !== "taken" };
    case "message":
        return { who: "device", words: event.words + (event.change ? ` (${CHANGES[event.change] ?? event.change})` : ""),
            raw: visible(event.raw), changed: Boolean(event.change) };
    case "fault":
        return { who: "fault", words: `${inWords(event.name)} ${event.change}`, raw: "" };
    default: {
        const ways = { in: "put in", out: "paid out", refilled: "refilled", collected: "collected" };
        return { who: "money", words: `${shortMoney(event.value)} ${ways[event.way]}`, raw: "" };
    }
    }
}

function isShown(line) {
    const who = byId("who").value;
    const wanted = byId("filter").value.trim().toLowerCase();
    return (who === "" || who.split(" ").includes(line.who)) &&
        (wanted === "" || `${line.words} ${line.raw}`.toLowerCase().includes(wanted));
}

function textOf(line) {
    return [timeOfDay(line.time), line.who.padEnd(6), line.words, line.raw].filter(Boolean).join("  ");
}

function toggle(line, button) {
    const opens = button.getAttribute("aria-expanded") === "false";
    for (const other of byId("lines").querySelectorAll("[aria-expanded=true]")) {
        other.setAttribute("aria-expanded", "false");
        other.querySelector(".moved").hidden = true;
    }
    button.setAttribute("aria-expanded", String(opens));
    const moved = button.querySelector(".moved");
    moved.hidden = !opens;
    moved.textContent = movesInWords(line.moves) ? `in the drawer: ${movesInWords(line.moves)}` : "moved nothing in the drawer";
    touch(opens ? line.moves.keys() : []);
}

function append(line) {
    lines.push(line);
    const button = make("button", { "aria-expanded": "false", tabindex: "-1" },
        make("time", {}, timeOfDay(line.time)), make("span", { class: "who" }, line.who),
        make("span", { class: "words" }, line.words),
        ...(line.raw ? [make("span", { class: "raw" }, line.raw)] : []), make("span", { class: "moved", hidden: true }));
    button.onclick = () => toggle(line, button);
    line.element = make("li", { class: line.changed ? `${line.who} changed` : line.who }, button);
    line.element.hidden = !isShown(line);
    byId("lines").append(line.element);
    if (lines.length > MOST_LINES)
        lines.shift().element.remove();
    byId("silence").hidden = true;
    follow();
}

function follow() {
    if (following)
        byId("lines").scrollTop = byId("lines").scrollHeight;
}

/** A piece counts to the last thing that was said before it, and to the last command. */
function addMove(event) {
    const by = event.way === "in" || event.way === "refilled" ? 1 : -1;
    const all = [...lines, ...kept];
    const whose = new Set([all.findLast((line) => line.who === "till"), all.findLast((line) => line.who === "device")]);
    for (const line of whose)
        line?.moves.set(event.value, (line.moves.get(event.value) ?? 0) + by);
    return new Map([[event.value, by]]);
}

export function hearTalk(event) {
    const moves = event.kind === "piece" ? addMove(event) : new Map();
    const line = { time: event.time, moves, ...lineOf(event) };
    if (byId("pause").getAttribute("aria-pressed") === "true") {
        kept.push(line);
        kept.splice(0, kept.length - MOST_LINES);
        showPause();
    } else {
        append(line);
    }
}

/** A line of the page's own. */
export function remark(words) {
    append({ time: Date.now(), who: "fault", words, raw: "", moves: new Map() });
}

function showPause() {
    const paused = byId("pause").getAttribute("aria-pressed") === "true";
    show(byId("pause"), paused ? `Go on (${kept.length})` : "Pause");
}

/** The list is one stop of the Tab key; the arrows go through its lines. */
function walk(event) {
    const step = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (!step)
        return;
    event.preventDefault();
    const buttons = [...byId("lines").querySelectorAll("li:not([hidden]) > button")];
    const at = buttons.indexOf(document.activeElement);
    buttons.at(at < 0 ? -1 : Math.min(Math.max(at + step, 0), buttons.length - 1))?.focus();
}

async function copy() {
    const text = lines.filter(isShown).map(textOf).join("\n") + "\n";
    let words = "Copied";
    try {
        await navigator.clipboard.writeText(text);
    } catch {
        words = "Not allowed";
    }
    show(byId("copy"), words);
    byId("said").textContent = words;
    setTimeout(() => show(byId("copy"), "Copy"), 1500);
}

export function startTalk() {
    byId("hint").textContent = `build/linux/till sale --port ${location.host}`;
    byId("lines").onscroll = ({ target }) => {
        following = target.scrollHeight - target.scrollTop - target.clientHeight < 24;
    };
    byId("lines").onkeydown = walk;
    byId("filter").oninput = byId("who").onchange = () => {
        for (const line of lines)
            line.element.hidden = !isShown(line);
        follow();
    };
    byId("form").onchange = ({ target }) => {
        byId("lines").dataset.form = target.value;
        follow();
    };
    byId("pause").onclick = ({ target }) => {
        const pauses = target.getAttribute("aria-pressed") === "false";
        target.setAttribute("aria-pressed", String(pauses));
        if (!pauses)
            kept.splice(0).forEach(append);
        showPause();
    };
    byId("copy").onclick = copy;
    byId("clear").onclick = () => {
        for (const line of lines.splice(0))
            line.element.remove();
    };
}
