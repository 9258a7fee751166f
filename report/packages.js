// The list of all packages, with filters, in the order that somebody chooses, and what was lost and
// left out most in all of them.

import { badge, build, count, nameOf, number, plain, wholeText } from "./text.js";
import { RowList } from "./rows.js";
import { itemsOf, reasonsOf } from "./overview.js";

// As many packages are printed; more would not be read on paper.
const printed = 1000;

const severity = ["failed", "not whole", "unknown", "whole"];

// As many reasons are in sight, and as many are listed at all, because a record may have any.
const reasonsInSight = 5;
const maxReasons = 200;

/** @typedef {{reason: string, things: number, packages: number}} Total */
/** @typedef {{at: number, name: string, place: string, key: string, status: string, targets: number, items: number, losses: number, missing: number, reasons: Set<string>}} Line */

/** @param {import("./store.js").Package} pack @param {number} at @returns {Line} */
function lineOf(pack, at) {
    const targets = pack.targets ?? [];
    const sum = (/** @type {(target: import("./store.js").Target) => number} */ value) => targets.reduce((total, one) => total + value(one), 0);
    return {
        at, name: pack.name ?? "", place: "", key: `${pack.name} ${pack.place}`.toLowerCase(), status: pack.status ?? "unknown",
        targets: targets.length, items: sum(itemsOf), losses: pack.losses ?? sum((one) => one.losses ?? 0),
        missing: pack.missing ?? sum((one) => one.missing ?? 0), reasons: new Set([pack, ...targets].flatMap((one) => reasonsOf(one).map(({ reason }) => reason))),
    };
}

/** The folder that places have in common, with its separator. @param {string[]} places */
function commonFolder(places) {
    let size = (places[0] ?? "").length;
    for (const place of places) {
        let same = 0;
        while (same < size && place[same] === places[0][same]) {
            same++;
        }
        size = same;
    }
    return (places[0] ?? "").slice(0, size).replace(/[^\\/]*$/, "");
}

/** Gives packages the part of their places that tells more than their names. @param {Line[]} lines @param {import("./store.js").Package[]} packs */
function setPlaces(lines, packs) {
    const common = commonFolder(packs.map((pack) => pack.place ?? "")).length;
    for (const line of lines) {
        const place = (packs[line.at].place ?? "").slice(common);
        line.place = `/${line.name}`.endsWith("/" + place.replaceAll("\\", "/")) ? "" : place;
    }
}

/** @type {{title: string, value: (line: Line) => string|number, down?: boolean}[]} */
const columns = [
    { title: "Package", value: (line) => line.key },
    { title: "Status", value: (line) => severity.indexOf(line.status) },
    { title: "Targets", value: (line) => line.targets, down: true },
    { title: "Items", value: (line) => line.items, down: true },
    { title: "Lost", value: (line) => line.losses, down: true },
    { title: "Missing", value: (line) => line.missing, down: true },
];

export class PackageList {
    /** @param {import("./store.js").Store} store @param {(pack: number) => void} open */
    constructor(store, open) {
        this.store = store;
        this.lines = store.packages.map(lineOf);
        setPlaces(this.lines, store.packages);
        this.shown = this.lines;
        this.column = 1;
        this.down = false;
        this.list = new RowList({
            label: "Packages",
            rowsInPrint: printed,
            draw: (index, row) => this.#draw(this.shown[index], row),
            choose: (index) => open(this.shown[index].at),
        });
        this.name = /** @type {HTMLInputElement} */ (build("input", { type: "search", placeholder: "Name or folder", "aria-label": "Name or folder", oninput: () => this.update() }));
        this.status = this.#select("Status", "Any status", severity.map((one) => [one, one, this.lines.filter((line) => line.status === one).length]));
        this.reason = this.#select("Reason", "Any reason", this.#reasons());
        /** @type {{reason: string, button: HTMLElement}[]} */
        this.most = [];
        const most = [
            this.#most("What was lost most", (_, reason) => store.reason(reason).kind === "loss"),
            this.#most("What was left out most", (outcome, reason) => outcome === "left out" && !store.isTrouble(reason)),
        ];
        this.total = build("span", { class: "quiet", role: "status" });
        this.head = build("div", { class: "row head" }, ...columns.map((column, at) => build("button", { type: "button", onclick: () => this.#sortBy(at) }, column.title)));
        this.element = build("section", { class: "packages" }, build("h1", {}, "Packages"), this.#figures(),
            build("div", { class: "filters" }, this.name, this.status, this.reason, this.total),
            build("div", { class: "beside" }, build("div", {}, this.head, this.list.whole),
                this.most.length > 0 && build("div", { class: "most" }, ...most)));
        this.update();
    }

    #figures() {
        return build("dl", { class: "figures" }, ...severity.map((status) => {
            const total = this.lines.filter((line) => line.status === status).length;
            return total > 0 && build("div", { class: "figure" }, build("dt", {}, badge(status)), build("dd", {}, number(total)));
        }));
    }

    /** The reasons that occur, those of losses first, with the number of packages. @returns {[string, string, number][]} */
    #reasons() {
        /** @type {Map<string, number>} */
        const totals = new Map();
        for (const line of this.lines) {
            for (const reason of line.reasons) {
                totals.set(reason, (totals.get(reason) ?? 0) + 1);
            }
        }
        return [...totals].sort((a, b) => this.store.rank(a[0]) - this.store.rank(b[0]) || b[1] - a[1])
            .map(([reason, total]) => [reason, this.store.reason(reason).says ?? reason, total]);
    }

    /**
     * How many things have a reason, and in how many packages.
     * @param {(outcome: string, reason: string) => boolean} wanted @returns {Total[]} the most frequent first
     */
    #totals(wanted) {
        /** @type {Map<string, Total & {last: number}>} */
        const totals = new Map();
        this.store.packages.forEach((pack, at) => {
            for (const { outcome, reason, total } of [pack, ...pack.targets ?? []].flatMap(reasonsOf)) {
                if (wanted(outcome, reason)) {
                    const sum = totals.get(reason) ?? { reason, things: 0, packages: 0, last: -1 };
                    sum.things += total;
                    sum.packages += sum.last === at ? 0 : 1;
                    sum.last = at;
                    totals.set(reason, sum);
                }
            }
        });
        return [...totals.values()].sort((a, b) => b.things - a.things);
    }

    /**
     * The reasons that matter most. Choosing one filters the packages by it, and once more shows all again.
     * @param {string} title @param {(outcome: string, reason: string) => boolean} wanted
     */
    #most(title, wanted) {
        const totals = this.#totals(wanted);
        const [first, rest] = [totals.slice(0, reasonsInSight), totals.slice(reasonsInSight, maxReasons)];
        const line = (/** @type {Total} */ { reason, things, packages }) => {
            const button = build("button", { type: "button", onclick: () => this.#toggle(reason) },
                wholeText(this.store.reason(reason).says || reason), build("span", { class: "quiet" }, `${number(things)} in ${count(packages, "package")}`));
            this.most.push({ reason, button });
            return build("li", {}, button);
        };
        return totals.length > 0 && build("section", {}, build("h2", {}, title), build("ul", {}, ...first.map(line)),
            rest.length > 0 && build("details", {}, build("summary", {}, count(totals.length - first.length, "more reason")), build("ul", {}, ...rest.map(line)),
                totals.length > maxReasons && build("p", { class: "quiet" }, `and ${count(totals.length - maxReasons, "other")}`)));
    }

    /** @param {string} reason */
    #toggle(reason) {
        this.reason.value = this.reason.value === reason ? "" : reason;
        this.update();
        this.reason.scrollIntoView({ block: "nearest" });
    }

    /** @param {string} label @param {string} any @param {[string, string, number][]} choices */
    #select(label, any, choices) {
        const options = choices.filter(([, , total]) => total > 0).map(([value, text, total]) => (
            build("option", { value }, plain(`${text} (${number(total)})`))));
        return /** @type {HTMLSelectElement} */ (build("select", { "aria-label": label, onchange: () => this.update() }, build("option", { value: "" }, any), ...options));
    }

    /** @param {number} at */
    #sortBy(at) {
        this.down = this.column === at ? !this.down : columns[at].down ?? false;
        this.column = at;
        this.update();
    }

    /** Filters and sorts anew. */
    update() {
        const [name, status, reason] = [this.name.value.trim().toLowerCase(), this.status.value, this.reason.value];
        const value = columns[this.column].value;
        const sign = this.down ? -1 : 1;
        this.shown = this.lines
            .filter((line) => line.key.includes(name) && (!status || line.status === status) && (!reason || line.reasons.has(reason)))
            .sort((a, b) => (value(a) < value(b) ? -sign : value(a) > value(b) ? sign : a.at - b.at));
        this.total.textContent = this.shown.length === this.lines.length
            ? count(this.lines.length, "package") : `${number(this.shown.length)} of ${count(this.lines.length, "package")}`;
        [...this.head.children].forEach((button, at) => {
            button.setAttribute("aria-pressed", String(at === this.column));
            button.setAttribute("data-order", at === this.column ? (this.down ? "down" : "up") : "");
        });
        this.list.active = 0;
        this.list.setCount(this.shown.length);
        this.most.forEach(({ reason: one, button }) => button.setAttribute("aria-pressed", String(one === reason)));
    }

    /** @param {Line} line @param {HTMLElement} row */
    #draw(line, row) {
        row.append(build("span", { class: "package" }, nameOf(line.name), line.place && nameOf(line.place)), badge(line.status),
            ...[line.targets, line.items, line.losses, line.missing].map((value, at) => (
                build("span", { class: "number" + (value === 0 ? " quiet" : at === 2 ? " bad" : "") }, number(value)))));
    }
}
