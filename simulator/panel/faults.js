// The faults as switches: what each does, when it begins and what ends it.
import { askFrom, byId, make, tellWhy } from "/live.js";

const GROUPS = [
    ["The machine stops", {
        "note-jam": "error 1, work stops",
        "coin-jam": "error 2, work stops",
        "door-open": "error 3, work stops",
        "cassette-out": "error 4, work stops",
        "device-error": "error 99, till its reset",
        "power-cut": "all stops, money stays",
        "busy": "takes no commands",
    }],
    ["The machine misbehaves", {
        "note-rejected": "notes come back",
        "note-not-taken": "busy until it is taken",
        "device-full": "takes nothing more",
        "slow": "ten times as long",
    }],
    ["The link to the till", {
        "open-refused": "no till gets in",
        "link-lost": "commands don't arrive",
        "answer-lost": "done, but unanswered",
        "answer-late": "the call blocks for 2 s",
        "message-lost": "the till isn't told",
        "message-late": "told 2 s later",
        "message-twice": "told twice",
        "message-garbled": "told wrongly",
    }],
];
const COMMANDS = { any: "any", a: "log in", b: "log out", c: "dispense", e: "give back, reset", f: "pay out",
    g: "close pay-in", h: "open pay-in", i: "count", j: "count, short", k: "administration", n: "collect" };

const MOST_CHIPS = 3;

export const inWords = (name) => name.replaceAll("-", " ");

const switches = new Map(); // name to the parts of its switch
const usual = new Map(); // name to what it does

/** What the choices above the switches say of its beginning and its end. */
function terms() {
    const more = byId("begins-more").lastElementChild.value;
    const begins = {
        now: {},
        after: { after: Number(more) || more },
        command: { command: byId("begins-command").lastElementChild.value },
        chance: { chance: Number(more) / 100 },
    }[byId("begins").value];
    const ends = {
        repair: {},
        for: { for: `${byId("ends-more").lastElementChild.value}s` },
        reset: { until: "reset" },
    }[byId("ends").value];
    return { ...begins, ...ends };
}

function choose() {
    const begins = byId("begins").value;
    const more = byId("begins-more");
    more.hidden = begins !== "after" && begins !== "chance";
    more.firstElementChild.textContent = begins === "after" ? "pieces" : "per cent";
    more.lastElementChild.value = begins === "after" ? "2" : "10";
    byId("begins-command").hidden = begins !== "command";
    byId("ends-more").hidden = byId("ends").value !== "for";
}

export function startFaults() {
    for (const [title, faults] of GROUPS) {
        const row = make("div", { class: "switches", role: "group", "aria-label": title });
        for (const [name, what] of Object.entries(faults)) {
            const small = make("small", {}, what);
            const button = make("button", { "aria-pressed": "false", title: `${inWords(name)}: ${what}`, "data-fault": name },
                inWords(name), small);
            button.onclick = () => toggle(button, name);
            switches.set(name, { button, small });
            usual.set(name, what);
            row.append(button);
        }
        byId("faults").append(make("h3", { "aria-hidden": "true" }, title), row);
    }
    byId("begins-command").lastElementChild.append(
        ...Object.entries(COMMANDS).map(([letter, words]) => make("option", { value: letter }, words)));
    byId("begins").onchange = byId("ends").onchange = choose;
    choose();
    byId("repair").onclick = (event) => askFrom(event.target, "repair");
}

function toggle(button, name) {
    if (button.getAttribute("aria-pressed") !== "false")
        return askFrom(button, "repair", { name });
    const fault = { name, ...terms() };
    if (Number.isNaN(fault.chance))
        return tellWhy(button, "the chance must be a number of per cent");
    return askFrom(button, "fault", fault);
}

export function showFaults(state) {
    const there = new Map(state.faults.map((fault) => [fault.name, fault]));
    for (const [name, { button, small }] of switches) {
        const fault = there.get(name);
        const words = !fault ? usual.get(name) : fault.on ? `ends: ${fault.ends}` : `begins ${fault.begins}`;
        button.setAttribute("aria-pressed", !fault ? "false" : fault.on ? "true" : "mixed");
        if (small.textContent !== words) {
            small.textContent = words;
            button.title = `${inWords(name)}: ${words}`;
        }
    }
    byId("repair").disabled = there.size === 0;
    const chips = state.faults.map((fault) => [inWords(fault.name), fault.on]).sort((a, b) => b[1] - a[1]);
    if (byId("chips").dataset.now !== JSON.stringify(chips)) {
        byId("chips").dataset.now = JSON.stringify(chips);
        const more = chips.length - MOST_CHIPS;
        byId("chips").replaceChildren(...chips.slice(0, MOST_CHIPS).map(([words, on]) =>
            make("li", { class: on ? "chip" : "chip waits" }, on ? words : `${words}, to come`)),
            ...(more > 0 ? [make("li", { class: "chip" }, `+${more}`)] : []));
    }
}
