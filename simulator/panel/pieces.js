// Notes and coins as one sees them, and how they move across the page.
import { make, shortMoney } from "/live.js";

const kinds = new Map(); // denomination to how it looks

export function setKinds(units) {
    kinds.clear();
    const notes = units.filter((unit) => unit.kind === "note");
    const coins = units.filter((unit) => unit.kind === "coin");
    notes.forEach((unit, i) => kinds.set(unit.value, { class: "note", hue: (152 + 67 * i) % 360 }));
    coins.forEach((unit, i) => kinds.set(unit.value, { class: i < coins.length / 2 ? "coin silver" : "coin" }));
}

/** A piece; "tag" is a button where it can be put in. */
export function pieceOf(value, { tag = "span", small = false } = {}) {
    const kind = kinds.get(value) ?? { class: "coin" };
    const text = shortMoney(value);
    const classes = ["piece", kind.class, small && "small", text.length > 3 && "long"].filter(Boolean).join(" ");
    const piece = make(tag, { class: classes }, text);
    if (kind.hue !== undefined)
        piece.style.setProperty("--hue", kind.hue);
    return piece;
}

export const isNote = (value) => kinds.get(value)?.class === "note";

const still = matchMedia("(prefers-reduced-motion: reduce)");
let flying = 0;

function isInSight(box) {
    return box.width > 0 && box.bottom > 0 && box.top < innerHeight;
}

/** A piece moves from one element to the other; not if nobody would see it. */
export function fly(value, from, to) {
    const start = from?.getBoundingClientRect();
    const end = to?.getBoundingClientRect();
    if (still.matches || document.hidden || flying > 12 || !start || !end || !isInSight(start) || !isInSight(end))
        return;
    const piece = pieceOf(value, { small: true });
    piece.classList.add("flying");
    piece.setAttribute("aria-hidden", "true");
    document.body.append(piece);
    const at = (box) => `translate(${box.left + box.width / 2 - piece.offsetWidth / 2}px, ${
        box.top + box.height / 2 - piece.offsetHeight / 2}px)`;
    piece.style.left = piece.style.top = "0";
    ++flying;
    piece.animate([{ transform: at(start) + " scale(1.5)", opacity: 1 }, { transform: at(end), opacity: 1, offset: .85 },
        { transform: at(end) + " scale(.6)", opacity: 0 }], { duration: 480, easing: "cubic-bezier(.4, 0, .3, 1)" })
        .finished.finally(() => {
            piece.remove();
            --flying;
        });
}
