// The list of all packages, with filters, in the order that somebody chooses.

import { badge, build, count, nameOf, number, plain } from "./text.js";
import { RowList } from "./rows.js";
import { itemsOf, reasonsOf } from "./overview.js";

// As many packages are printed; more would not be read on paper.
const printed = 1000;

const severity = ["failed", "not whole", "unknown", "whole"];

/** @typedef {{at: number, name: string, key: string, status: string, targets: number, items: number, losses: number, missing: number, reasons: Set<string>}} Line */

/** @param {import("./store.js").Package} pack @param {number} at @returns {Line} */
function lineOf(pack, at) {
    const targets = pack.targets ?? [];
    const sum = (/** @type {(target: import("./store.js").Target) => number} */ value) => targets.reduce((total, one) => total + value(one), 0);
    return {
        at, name: pack.name ?? "", key: `${pack.name} ${pack.place}`.toLowerCase(), status: pack.status ?? "unknown",
        targets: targets.length, items: sum(itemsOf), losses: pack.losses ?? sum((one) => one.losses ?? 0),
        missing: pack.missing ?? sum((one) => one.missing ?? 0), reasons: new Set([pack, ...targets].flatMap((one) => reasonsOf(one).map(({ reason }) => reason))),
    };
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
        this.total = build("span", { class: "quiet", role: "status" });
        this.head = build("div", { class: "row head" }, ...columns.map((column, at) => build("button", { type: "button", onclick: () => this.#sortBy(at) }, column.title)));
        this.element = build("section", { class: "packages" }, build("h1", {}, "Packages"), this.#figures(),
            build("div", { class: "filters" }, this.name, this.status, this.reason, this.total), this.head, this.list.whole);
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
        const rank = (/** @type {string} */ reason) => ["loss", "missing"].indexOf(this.store.reason(reason).kind ?? "") >>> 0;
        return [...totals].sort((a, b) => rank(a[0]) - rank(b[0]) || b[1] - a[1])
            .map(([reason, total]) => [reason, this.store.reason(reason).says ?? reason, total]);
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
    }

    /** @param {Line} line @param {HTMLElement} row */
    #draw(line, row) {
        row.append(nameOf(line.name), badge(line.status),
            ...[line.targets, line.items, line.losses, line.missing].map((value, at) => (
                build("span", { class: "number" + (value === 0 ? " quiet" : at === 2 ? " bad" : "") }, number(value)))));
    }
}
