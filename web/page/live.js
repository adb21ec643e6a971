// What all pages share: the events of the program that serves the page, requests to it, money in words, and
// telling people why something was refused.

/** Follows the events, for ever: "heard" gets each one, "lost" is told when the program is not there. */
export function follow({ heard, lost }) {
    let pause = 0;
    const connect = () => {
        const socket = new WebSocket(`ws://${location.host}/api/events`);
        socket.onopen = () => { pause = 0; };
        socket.onmessage = (message) => heard(JSON.parse(message.data));
        socket.onclose = () => {
            lost();
            pause = Math.min(pause + 250, 1500);
            setTimeout(connect, pause);
        };
    };
    connect();
}

/** What the program answers, with "why" if it refused. Quietly: the browser's console would have every refusal
 *  as an error. */
export async function ask(verb, members = {}) {
    try {
        const reply = await fetch(`/api/${verb}?quietly`, { method: "POST", body: JSON.stringify(members) });
        return await reply.json();
    } catch {
        return { why: "nobody is there" };
    }
}

const currency = { word: "", decimals: 2 };

export function setCurrency(word, decimals) {
    Object.assign(currency, { word, decimals });
}

export function currencyWord() {
    return currency.word;
}

/** "1 234.50", with a narrow space that doesn't break. */
export function money(amount) {
    const digits = String(Math.abs(amount)).padStart(currency.decimals + 1, "0");
    const point = digits.length - currency.decimals;
    const whole = digits.slice(0, point).replace(/\B(?=(\d{3})+$)/g, "\u202f");
    return (amount < 0 ? "\u2212" : "") + whole + (currency.decimals > 0 ? "." + digits.slice(point) : "");
}

/** As on the coin: "20", or "0.50". */
export function shortMoney(amount) {
    return money(amount).replace(/\.0+$/, "");
}

export function timeOfDay(milliseconds) {
    const time = new Date(milliseconds);
    return time.toTimeString().slice(0, 8) + "." + String(time.getMilliseconds()).padStart(3, "0");
}

/** An element with its attributes and children; texts stay texts. */
export function make(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes))
        if (value !== undefined && value !== null && value !== false)
            element.setAttribute(name, value === true ? "" : value);
    element.append(...children);
    return element;
}

/** Sets a text only if it is another one: what stays the same must not move or be read out again. */
export function show(element, text) {
    if (element.textContent !== text)
        element.textContent = text;
}

export const byId = (id) => document.getElementById(id);

const LAMPS = {
    ready: '<circle cx="10" cy="10" r="7" fill="currentColor"/>',
    busy: '<circle cx="10" cy="10" r="7" fill="none" stroke="currentColor" stroke-width="2.5" opacity=".3"/>' +
        '<path d="M10 3a7 7 0 0 1 7 7" fill="none" stroke="currentColor" stroke-width="3" stroke-linecap="round"/>',
    error: '<path d="M10 2 19 17.5H1Z" fill="currentColor"/>' +
        '<path d="M10 7.5v4.5M10 14.6v.2" stroke="var(--bad-ground)" stroke-width="2" stroke-linecap="round"/>',
    closed: '<rect x="4" y="4" width="12" height="12" rx="2" fill="none" stroke="currentColor" stroke-width="2.5"/>',
    off: '<path d="M10 2.5v7M6 5a7 7 0 1 0 8 0" fill="none" stroke="currentColor" stroke-width="2.5" stroke-linecap="round"/>',
    gone: '<path d="m4.5 4.5 11 11m0-11-11 11" stroke="currentColor" stroke-width="3.5" stroke-linecap="round"/>',
};

/** The lamp of a ".status" with the words beside it. */
export function showStatus(element, is, words) {
    if (element.dataset.is !== is) {
        element.dataset.is = is;
        element.querySelector("svg").innerHTML = LAMPS[is];
    }
    show(element.querySelector("b"), words);
}

let saying;

/** For those who don't see the page; what comes quickly one after the other is said once. */
export function say(text) {
    clearTimeout(saying);
    saying = setTimeout(() => { byId("said").textContent = text; }, 250);
}

/** Tells at the element, for three seconds, why it did nothing. */
export function tellWhy(element, why) {
    say(why);
    document.querySelector(".why")?.remove();
    const bubble = make("p", { class: "why" }, why);
    document.body.append(bubble);
    const at = element.getBoundingClientRect();
    const left = Math.min(Math.max(8, at.left + at.width / 2 - bubble.offsetWidth / 2),
        document.documentElement.clientWidth - bubble.offsetWidth - 8);
    bubble.style.left = `${left}px`;
    bubble.style.top = `${at.top > bubble.offsetHeight + 80 ? at.top - bubble.offsetHeight - 8 : at.bottom + 8}px`;
    setTimeout(() => bubble.remove(), 3000);
}

/** Asks, and tells at the element if it was refused. */
export async function askFrom(element, verb, members) {
    const answer = await ask(verb, members);
    if (answer.why)
        tellWhy(element, answer.why);
    return answer;
}
