// Capture and result side by side: where each thing was, and where it went.

import { copyButton, badge, build, capital, count, number, plain, size, wholeText } from "./text.js";
import { countParts, keyOf, outcomeNumber, outcomes, readPaths } from "./paths.js";
import { TreeView } from "./treeview.js";
import { linkSides } from "./links.js";
import { outcomeOf } from "./refs.js";

/** @typedef {"files"|"registry"|"other"} Area */

/** @type {Record<Area, string>} */
export const areas = { files: "Files", registry: "Registry", other: "Other" };

// Rows that the details of a node show.
const maxDetails = 20;

// So many rows of a node are asked where they are on the other side.
const maxVotes = 2000;

/** The area of a thing of the record. @param {string} thing @returns {Area} */
export function areaOfThing(thing) {
    if (["file", "folder", "mark", "shortcut"].includes(thing)) {
        return "files";
    }
    return ["key", "value", "hive"].includes(thing) ? "registry" : "other";
}

/** The area of a collection. @param {string} collection @returns {Area} */
export function areaOfCollection(collection) {
    if (/(Files|Folders|Shortcuts)$/.test(collection)) {
        return "files";
    }
    return /(Keys|Values)$/.test(collection) ? "registry" : "other";
}

/** A path without the beginning that only says that it may be long. @param {string} path */
function withoutLongMark(path) {
    return path.replace(/^\\\\\?\\/, "");
}

/** The row of a record as a path of the capture. @param {import("./store.js").Row} row @param {Area} area */
function pickRecord(row, area) {
    const [thing, outcome, , source, place] = row;
    if (areaOfThing(thing) !== area) {
        return null;
    }
    const items = thing === "variable" ? "EnvVars" : thing === "service" ? "Services" : "";
    const last = String(place).slice(String(place).lastIndexOf("\\") + 1);
    const text = area === "other" ? `${thing}\\${source}` : withoutLongMark(String(source || place || `(${thing})`));
    return { text, mark: outcomeNumber(outcome), place: items && place ? `${outcome === "deleted" ? "Delete" : "Create"}${items}\\${last}` : withoutLongMark(String(place ?? "")) };
}

/** An item as a path of the result. @param {import("./store.js").Row} row @param {Area} area */
function pickItem(row, area) {
    const [collection, place, , bytes] = row;
    if (areaOfCollection(collection) !== area) {
        return null;
    }
    const text = area === "other" ? `${collection}\\${place}` : withoutLongMark(String(place));
    return { text, mark: outcomeNumber(outcomeOf(collection)), size: bytes };
}

/**
 * Where most of a node is on the other side: a row there, and how many of its parts are the place.
 * As many parts are below the place there as are below the node here.
 * @param {import("./paths.js").PathIndex} index @param {import("./paths.js").PathIndex} other
 * @param {import("./paths.js").PathRange} node
 */
function findOther(index, other, node) {
    /** @type {Map<string, {row: number, depth: number, votes: number}>} */
    const places = new Map();
    const linked = index.others.subarray(node.from, node.to).reduce((sum, row) => sum + (row >= 0 ? 1 : 0), 0);
    const step = Math.ceil(linked / maxVotes);
    for (let at = node.from, seen = 0; at < node.to; at++) {
        const row = index.others[at];
        if (row >= 0 && seen++ % step === 0) {
            const below = countParts(index.texts[at]) - node.depth;
            const depth = Math.max(1, countParts(other.texts[row]) - below);
            const key = keyOf(other.partsOf(row, 0, depth));
            const place = places.get(key) ?? { row, depth, votes: 0 };
            place.votes += 1;
            places.set(key, place);
        }
    }
    const [best] = [...places.values()].sort((a, b) => b.votes - a.votes);
    return best ? { ...best, isOnly: places.size === 1 } : null;
}

/** The trees of one area of a target. */
export class Trees {
    /**
     * @param {import("./store.js").Store} store @param {import("./store.js").Target} target @param {Area} area
     */
    constructor(store, target, area) {
        this.store = store;
        this.target = target;
        this.area = area;
        this.details = build("section", { class: "details", "aria-live": "polite" },
            build("p", { class: "quiet" }, "Choose a row to see what it is, and where it is on the other side."));
        this.state = build("p", { class: "quiet", role: "status" }, "Reading …");
        this.left = build("div", { class: "pane" });
        this.right = build("div", { class: "pane" });
        this.element = build("div", { class: "trees" }, this.state,
            build("div", { class: "panes" }, this.left, this.right), this.details);
        /** @type {Record<"left"|"right", TreeView|null>} */
        this.views = { left: null, right: null };
    }

    /** Reads both sides and shows them. @param {AbortSignal} signal */
    async load(signal) {
        const record = this.target.slices?.record ?? [];
        const items = this.target.slices?.items ?? [];
        const total = record.length + items.length;
        const tell = (/** @type {number} */ done) => {
            const read = Math.round((100 * done) / Math.max(1, total));
            this.state.textContent = read < 100 ? `Reading … ${read} %` : "Sorting …";
        };
        const left = await readPaths(this.store, record, (row) => pickRecord(row, this.area), tell, signal);
        const right = await readPaths(this.store, items, (row) => pickItem(row, this.area), (done) => tell(done + record.length), signal);
        this.state.textContent = "Comparing both sides …";
        await linkSides(left.index, left.places, right.index, right.keys, signal);
        this.state.remove();
        this.#show("left", "Capture", left.index, record.length > 0 ? "Nothing of this kind was captured." : "There is no record of the conversion, so the report does not know what was captured.");
        this.#show("right", "Result", right.index, "The result has nothing of this kind.");
    }

    /** @param {"left"|"right"} side @param {string} title @param {import("./paths.js").PathIndex} index @param {string} none */
    #show(side, title, index, none) {
        const rows = index.texts.length;
        const heading = build("h3", {}, title, " ", build("span", { class: "quiet" }, count(rows, side === "left" ? "line" : "item")));
        if (rows === 0) {
            this[side].replaceChildren(heading, build("p", { class: "quiet" }, none));
            return;
        }
        const view = new TreeView(index, {
            label: `${title}: ${areas[this.area]}`,
            quiet: side === "right" ? "created" : "",
            choose: (node) => this.#choose(side, node),
        });
        this.views[side] = view;
        this[side].replaceChildren(heading, view.list.whole);
    }

    /** Draws the trees again when they were out of the page. */
    wake() {
        for (const view of [this.views.left, this.views.right]) {
            view?.list.activate(view.list.active);
        }
    }

    /** @param {"left"|"right"} side @param {import("./nodes.js").Node} node */
    #choose(side, node) {
        const index = /** @type {TreeView} */ (this.views[side]).index;
        const other = this.views[side === "left" ? "right" : "left"];
        const place = other && findOther(index, other.index, node.range);
        const found = place && other.reveal(place.row, place.depth);
        const more = place && !place.isOnly ? "and in other places" : "";
        void this.#explain(side, node, found ? [other.nodes.pathOf(found), more] : null);
    }

    /** Shows what a node is. @param {"left"|"right"} side @param {import("./nodes.js").Node} node @param {[string, string]|null} found */
    async #explain(side, node, found) {
        const view = /** @type {TreeView} */ (this.views[side]);
        const path = view.nodes.pathOf(node);
        const counts = view.index.tally(node.range);
        const list = build("dl", {}, build("dt", {}, side === "left" ? "Captured" : "In the result"),
            build("dd", {}, wholeText(path), copyButton(path)));
        const otherTitle = side === "left" ? "In the result" : "Captured";
        list.append(build("dt", {}, otherTitle), found === null
            ? build("dd", { class: "quiet" }, side === "left" ? "nothing" : "nothing that the record tells of")
            : build("dd", {}, wholeText(found[0]), copyButton(found[0]), " ", build("span", { class: "quiet" }, found[1])));
        if (view.nodes.hasChildren(node)) {
            const parts = outcomes.filter((_, at) => counts[at] > 0).map((one) => badge(one, `${number(counts[outcomes.indexOf(one)])} ${one}`));
            list.append(build("dt", {}, "With all below it"), build("dd", { class: "badges" }, ...parts));
        }
        this.details.replaceChildren(list);
        const shown = Math.min(node.range.own, maxDetails);
        for (let row = node.range.from; row < node.range.from + shown; row++) {
            const data = await this.store.readRow(view.index.refs[row]);
            list.append(...(side === "left" ? this.#recordDetails(data) : itemDetails(data)));
        }
        if (node.range.own > shown) {
            list.append(build("dd", { class: "quiet" }, `and ${count(node.range.own - shown, "line")} more`));
        }
    }

    /** @param {import("./store.js").Row} row */
    #recordDetails(row) {
        const [thing, outcome, reason, , place, detail, status] = row.map((one) => String(one ?? ""));
        const says = this.store.reason(reason);
        return [
            build("dt", {}, capital(plain(thing))),
            build("dd", {}, badge(outcome), " ", says.says ?? reason),
            says.advice ? build("dd", { class: "advice" }, says.advice) : "",
            place ? build("dd", {}, "Place: ", wholeText(place)) : "",
            detail ? build("dd", {}, "Detail: ", wholeText(detail)) : "",
            status !== "0" && status !== "" ? build("dd", {}, `Status: ${status}`) : "",
        ];
    }

    /** Shows the row that a search has found. @param {"left"|"right"} side @param {number} ref */
    reveal(side, ref) {
        const view = this.views[side];
        const row = view?.index.refs.indexOf(ref) ?? -1;
        if (view && row >= 0) {
            this.#choose(side, view.reveal(row, Infinity));
            view.list.element.focus();
        }
    }
}

/** @param {import("./store.js").Row} row */
function itemDetails(row) {
    const [collection, , detail, bytes] = row;
    return [
        build("dt", {}, plain(String(collection))),
        build("dd", {}, detail ? wholeText(String(detail)) : build("span", { class: "quiet" }, "no more to tell"), bytes === null ? "" : ` (${size(bytes)})`),
    ];
}
