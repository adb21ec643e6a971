// The machine's page: what its state and its events look like, and what one does to it.
import { askFrom, byId, currencyWord, follow, make, money, say, shortMoney, show, showStatus, tellWhy } from "/live.js";
import { countMove, rowOf, setLayout, showDrawer, startDrawer } from "./drawer.js";
import { inWords, showFaults, startFaults } from "./faults.js";
import { fly, isNote, pieceOf } from "./pieces.js";
import { hearTalk, remark, startTalk } from "./talk.js";

let state = null; // as the machine told it last
let there = false;
let clicked = null; // the button that the next piece comes from

const showAll = (what, text) => document.querySelectorAll(`[data-shows="${what}"]`).forEach((each) => show(each, text));
const mouthOf = (value) => byId(isNote(value) ? "note-mouth" : "coin-mouth");

// ---- How it is ----

/** What ends the error, of the fault that brings it. */
function errorOf(now) {
    return now.faults.find((fault) => fault.on && fault.code && fault.name !== "open-refused");
}

/** The lamp's word, the header's words, and what the screen tells the customer. */
function describe(now) {
    if (!there)
        return ["gone", "gone, looking for it", "The machine is not there"];
    if (now.status === "off")
        return ["off", "power off", "\u00a0"];
    if (now.status === "error") {
        const fault = errorOf(now);
        return ["error", fault ? `${inWords(fault.name)}, ends: ${fault.ends}` : "error", "Out of order"];
    }
    if (now.waitsForHand)
        return ["busy", "busy, a note waits", "Please take your note"];
    if (now.status === "busy")
        return ["busy", "busy", "One moment \u2026"];
    if (now.status === "closed")
        return ["closed", now.till ? "closed, no login" : "closed", "Closed"];
    if (now.mode === "administration")
        return ["ready", "ready, administration", "In service"];
    return ["ready", now.payIn ? "ready, pay-in open" : "ready, pay-in closed", now.payIn ? "Please pay in" : "Pay-in is closed"];
}

function showHow() {
    const [is, words, asks] = describe(state);
    if (byId("status").dataset.is !== is)
        say(words);
    showStatus(byId("status"), is, words);
    show(byId("asks"), asks);
    document.querySelector(".screen").dataset.is = byId("led").dataset.is = is;
    document.title = state && state.paidIn > 0 ? `${money(state.paidIn)} \u2013 Tellarion` : "Tellarion";
    document.body.classList.toggle("gone", !there);

    show(byId("till"), !there ? "" : state.till ? "till connected" : "no till");
    byId("till").classList.toggle("there", there && state.till);
    byId("power").setAttribute("aria-checked", String(there && state.power === "on"));
    byId("power").disabled = !there;
    const takes = there && state.payIn && state.status === "ready";
    const jam = (name) => there && state.faults.some((fault) => fault.on && fault.name === name);
    for (const [id, fault] of [["note-mouth", "note-jam"], ["coin-mouth", "coin-jam"]]) {
        byId(id).classList.toggle("jammed", jam(fault));
        byId(id).classList.toggle("open", takes && !jam(fault));
    }
}

function showTray(tray) {
    show(byId("tray-amount"), money(tray.amount));
    byId("take").disabled = tray.amount === 0;
    const now = JSON.stringify(tray.pieces);
    if (byId("tray").dataset.now === now)
        return;
    byId("tray").dataset.now = now;
    byId("tray-pieces").replaceChildren(...[...tray.pieces].reverse().map((piece) =>
        make("li", {}, pieceOf(piece.value, { small: true }), `\u00d7\u202f${piece.count}`)));
}

function showPurse(units) {
    for (const [id, kind] of [["notes", "note"], ["coins", "coin"]])
        byId(id).replaceChildren(...units.filter((unit) => unit.kind === kind).reverse().map((unit) => {
            const piece = pieceOf(unit.value, { tag: "button" });
            piece.setAttribute("aria-label", `Put in ${shortMoney(unit.value)} ${currencyWord()}`);
            piece.onclick = () => putIn(piece, { value: unit.value });
            return piece;
        }));
}

function showState(now) {
    const before = state;
    state = now;
    if (setLayout(now))
        showPurse(now.drawer.units);
    showAll("currency", now.currency);
    showAll("paid-in", money(now.paidIn));
    showHow();
    showTray(now.tray);
    showDrawer(now);
    showFaults(now);
    if (before && before.paidIn !== now.paidIn)
        say(`Paid in ${money(now.paidIn)} ${now.currency}`);
    if (before && now.tray.amount > before.tray.amount)
        say(`In the tray ${money(now.tray.amount)} ${now.currency}`);
}

// ---- What happens ----

function movePiece({ way, value }) {
    const inwards = way === "in" || way === "refilled";
    countMove(value, inwards ? 1 : -1, way === "in" && state.paidIn === 0);
    if (way === "in") {
        fly(value, clicked ?? mouthOf(value), clicked ? mouthOf(value) : rowOf(value));
        if (clicked)
            setTimeout(() => fly(value, mouthOf(value), rowOf(value)), 420);
    }
    if (way === "out")
        fly(value, rowOf(value), byId("tray"));
}

function hear(event) {
    if (!there && event.kind === "state") {
        there = true;
        if (state)
            remark("the machine is there again");
    }
    if (event.kind === "state")
        return showState(event.state);
    if (event.kind === "piece")
        movePiece(event);
    hearTalk(event);
}

function lost() {
    if (there)
        remark("the machine is gone");
    there = false;
    showHow();
}

// ---- What one does ----

async function putIn(from, members) {
    if (!there)
        return tellWhy(from, "the machine is not there");
    clicked = from;
    const answer = await askFrom(from, "insert", members);
    setTimeout(() => { clicked = clicked === from ? null : clicked; }, 100);
    return answer;
}

byId("insert").onsubmit = async (event) => {
    event.preventDefault();
    const amount = byId("amount").value.trim().replace(",", ".").replace(/\s/g, "");
    if (amount === "")
        return tellWhy(byId("amount"), "an amount, such as 75");
    const answer = await putIn(byId("amount"), { amount });
    if (!answer?.why)
        byId("amount").value = "";
};

byId("take").onclick = async ({ target }) => {
    const answer = await askFrom(target, "take");
    if (answer.took > 0)
        say(`Took ${money(answer.took)} ${currencyWord()}`);
};

byId("power").onclick = () => askFrom(byId("power"), "power", { power: state.power === "on" ? "off" : "on" });

byId("where").textContent = location.host;
startDrawer();
startFaults();
startTalk();
follow({ heard: hear, lost });
