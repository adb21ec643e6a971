// The drawer: how full each denomination's unit is, what moved lately, and whether the money adds up.
import { askFrom, byId, make, money, setCurrency, shortMoney, show } from "/live.js";
import { pieceOf, setKinds } from "./pieces.js";

const NO_LIMIT = 100000;

let rows = new Map(); // denomination to the elements of its row
let layout = "";
let moved = new Map(); // denomination to pieces, since the last customer began

export const rowOf = (value) => rows.get(value)?.row;

/** Notes first, the largest first, as one reads a drawer. */
const inOrder = (units) => [...units].sort((a, b) =>
    (a.kind === b.kind ? b.value - a.value : a.kind === "note" ? -1 : 1));

/** Whether the denominations are others than before; then all that shows them is made anew. */
export function setLayout(state) {
    const now = JSON.stringify([state.currency, state.decimals, state.drawer.units.map((unit) => [unit.value, unit.kind])]);
    if (now === layout)
        return false;
    layout = now;
    setCurrency(state.currency, state.decimals);
    setKinds(state.drawer.units);
    moved.clear();
    rows = new Map();
    byId("units").replaceChildren(...inOrder(state.drawer.units).map((unit) => {
        const parts = { bar: make("b"), low: make("i", { title: "low mark" }), high: make("i", { title: "high mark" }),
            count: make("td"), change: make("td"), words: make("td"), most: Math.max(20, Math.ceil(unit.count * 1.25)) };
        parts.row = make("tr", {}, make("th", { scope: "row" }, pieceOf(unit.value, { small: true })),
            make("td", {}, make("div", { class: "fill", "aria-hidden": "true" }, parts.bar, parts.low, parts.high)),
            parts.count, parts.change, parts.words);
        rows.set(unit.value, parts);
        return parts.row;
    }));
    return true;
}

function levelOf(unit) {
    if (unit.count === 0)
        return ["empty", "bad"];
    if (unit.count >= unit.capacity)
        return ["full", "bad"];
    if (unit.low > 0 && unit.count <= unit.low)
        return ["low", ""];
    if (unit.high > 0 && unit.count >= unit.high)
        return ["high", ""];
    return null;
}

function showUnit(unit) {
    const parts = rows.get(unit.value);
    parts.most = unit.capacity < NO_LIMIT ? unit.capacity : Math.max(parts.most, unit.high, unit.count);
    const part = (count) => `${Math.min(100, 100 * count / parts.most)}%`;
    const level = levelOf(unit);
    parts.bar.style.width = part(unit.count);
    parts.bar.className = level ? "low" : "";
    parts.low.hidden = unit.low === 0;
    parts.low.style.left = part(unit.low);
    parts.high.hidden = unit.high === 0;
    parts.high.style.left = part(unit.high);
    show(parts.count, String(unit.count));
    const change = moved.get(unit.value) ?? 0;
    show(parts.change, change > 0 ? `+${change}` : change < 0 ? `\u2212${-change}` : "");
    parts.change.className = change > 0 ? "up" : "down";

    const words = [unit.low > 0 && `low ${unit.low}`, unit.high > 0 && `high ${unit.high}`,
        unit.capacity < NO_LIMIT && `of ${unit.capacity}`, !unit.recycled && "not paid out"].filter(Boolean).join(" \u00b7 ");
    const marks = [level && make("em", { class: level[1] }, level[0]),
        unit.stuck > 0 && make("em", { class: "bad" }, `${unit.stuck} stuck`)].filter(Boolean);
    const text = marks.map((mark) => mark.textContent).join(" ") + words;
    if (parts.text !== text) {
        parts.text = text;
        parts.words.replaceChildren(...marks.flatMap((mark) => [mark, " \u00b7 "]), words);
        if (words === "" && marks.length > 0)
            parts.words.lastChild.remove();
    }
}

export function showDrawer(state) {
    show(byId("drawer-amount"), money(state.drawer.amount));
    state.drawer.units.forEach(showUnit);

    const { start, paidIn, paidOut, refilled, collected, balance } = state.books;
    const moves = [["+", paidIn, "paid in"], ["+", refilled, "refilled"], ["\u2212", paidOut, "paid out"],
        ["\u2212", collected, "collected"]].filter(([, amount]) => amount > 0)
        .map(([sign, amount, word]) => ` ${sign} ${money(amount)} ${word}`).join("");
    const sum = `${money(start)} at the start${moves} = ${money(state.drawer.amount)}. `;
    const verdict = balance ? "\u2713 The money adds up." : "\u2717 The money does not add up.";
    if (byId("sum").textContent !== sum + verdict)
        byId("sum").replaceChildren(sum, make("b", { class: balance ? "" : "bad" }, verdict));

    byId("collected").hidden = state.collected.amount === 0;
    show(byId("collected").firstElementChild, `Collected, in the box: ${money(state.collected.amount)}`);
    if (byId("remarks").textContent !== state.notes.join(""))
        byId("remarks").replaceChildren(...state.notes.map((note) => make("li", {}, note)));
}

/** A piece has gone in or out; "begins": with it a new customer does. */
export function countMove(value, by, begins) {
    if (begins)
        moved.clear();
    moved.set(value, (moved.get(value) ?? 0) + by);
}

/** Shows for a while which units some pieces came from or went to. */
export function touch(values) {
    for (const parts of rows.values())
        parts.row.classList.remove("touched");
    for (const value of values)
        rowOf(value)?.classList.add("touched");
}

/** "+1 × 50, −2 × 10". */
export function movesInWords(moves) {
    return [...moves].filter(([, count]) => count !== 0)
        .map(([value, count]) => `${count > 0 ? "+" : "\u2212"}${Math.abs(count)} \u00d7 ${shortMoney(value)}`).join(", ");
}

export function startDrawer() {
    byId("collected").lastElementChild.onclick = (event) => askFrom(event.target, "take", { from: "collected" });
    byId("refill").onclick = async (event) => {
        const answer = await askFrom(event.target, "refill");
        if (answer.took === 0 && !answer.why)
            byId("said").textContent = "Nothing is missing.";
    };
    const afresh = byId("afresh");
    const words = afresh.textContent;
    let sure;
    afresh.onclick = async () => {
        clearTimeout(sure);
        if (afresh.textContent === words) {
            afresh.textContent = "Sure? All money and faults";
            sure = setTimeout(() => { afresh.textContent = words; }, 3000);
            return;
        }
        afresh.textContent = words;
        moved.clear();
        await askFrom(afresh, "reset");
    };
}
