// The till's page: how the sale stands, what can be done now, and what the library answered.
import { askFrom, byId, currencyWord, follow, make, money, say, setCurrency, shortMoney, show, showStatus,
    tellWhy, timeOfDay } from "/live.js";

const MOST_LINES = 400;
const USUAL = [20, 63, 137.5, 437]; // main units

let following = true;
let layout = "";

function showUsual(state) {
    const now = JSON.stringify([state.currency, state.decimals]);
    if (layout === now)
        return;
    layout = now;
    setCurrency(state.currency, state.decimals);
    byId("usual").replaceChildren(...USUAL.map((units) => {
        const amount = Math.round(units * 10 ** state.decimals);
        const button = make("button", {}, shortMoney(amount));
        button.setAttribute("aria-label", `${money(amount)} ${currencyWord()} is due`);
        button.onclick = () => setDue(button, (amount / 10 ** state.decimals).toFixed(state.decimals));
        return button;
    }));
}

function showActions(can) {
    for (const button of document.querySelectorAll("[data-action]")) {
        const why = can[button.dataset.action];
        button.setAttribute("aria-disabled", String(why !== ""));
        button.title = why;
        const small = button.parentElement.querySelector("small");
        if (small)
            show(small, why);
    }
}

function showState(state) {
    showUsual(state);
    const { is, words } = state.device;
    if (byId("status").dataset.is !== is)
        say(`Device: ${words}`);
    showStatus(byId("status"), is, words);
    show(byId("port"), `device on ${state.device.port}` + (state.device.away ? ` \u2013 ${state.device.away}` : ""));
    const due = byId("due");
    if (document.activeElement !== due && due.dataset.now !== String(state.due)) {
        due.dataset.now = state.due;
        due.value = state.due > 0 ? money(state.due) : "";
    }
    if (byId("paid-in").textContent !== money(state.paidIn))
        say(`Paid in ${money(state.paidIn)} ${state.currency}`);
    show(byId("paid-in"), money(state.paidIn));
    const missing = state.due > state.paidIn;
    const unknown = state.outcome.is === "unknown";
    show(byId("change-word"), missing && !unknown ? "Still to pay" : "Change");
    byId("change").parentElement.classList.toggle("missing", missing);
    show(byId("change"), unknown ? "?" : money(state.due > 0 ? Math.abs(state.paidIn - state.due) : 0));
    showActions(state.can);
    byId("outcome").dataset.is = state.outcome.is;
    show(byId("outcome"), state.outcome.text || (state.due > 0 && !missing ? "Enough is paid in."
        : state.due > 0 ? "The customer pays at the machine." : "Type what is due, then the customer pays at the machine."));
    show(byId("counted"), state.counted === null ? "not counted yet"
        : `counted: ${money(state.counted)} ${state.currency}`);
    show(byId("call"), state.call ? `${state.call} \u2026` : "");
}

function showLine({ time, who, text, bad, took }) {
    const lines = byId("lines");
    lines.append(make("li", { class: bad ? `${who} bad` : who }, make("time", {}, timeOfDay(time)),
        make("span", {}, text), make("i", {}, took ?? "")));
    if (lines.childElementCount > MOST_LINES)
        lines.firstElementChild.remove();
    if (following)
        lines.scrollTop = lines.scrollHeight;
}

let fresh = true; // the first event tells all anew

function hear(event) {
    if (event.kind === "line")
        return showLine(event);
    if (fresh)
        byId("lines").replaceChildren();
    fresh = false;
    showState(event.state);
}

function lost() {
    fresh = true;
    showStatus(byId("status"), "gone", "the till is gone");
    showActions(Object.fromEntries([...document.querySelectorAll("[data-action]")]
        .map((button) => [button.dataset.action, "the till is gone"])));
}

async function setDue(from, amount) {
    const answer = await askFrom(from, "due", { amount });
    if (!answer.why)
        byId("due").dataset.now = "";
}

byId("due-form").onsubmit = (event) => {
    event.preventDefault();
    byId("due").blur();
};
byId("due").onchange = () => setDue(byId("due"), byId("due").value.replace(/\s/g, "").replace(",", "."));

for (const button of document.querySelectorAll("[data-action]"))
    button.onclick = () => {
        if (button.getAttribute("aria-disabled") === "true")
            return tellWhy(button, button.title);
        askFrom(button, button.dataset.action);
    };
byId("lines").onscroll = ({ target }) => {
    following = target.scrollHeight - target.scrollTop - target.clientHeight < 24;
};
follow({ heard: hear, lost });
