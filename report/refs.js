// Lists of rows that are in slices. Only references are kept; the rows are read when they come into
// sight, so that a list may have all rows of the report.

import { RowList } from "./rows.js";
import { badge, build, nameOf, plain, size } from "./text.js";
import { Pacer, makeRef } from "./store.js";

/** What happened to an item, in the words of the record. @param {string} collection */
export function outcomeOf(collection) {
    return collection.startsWith("Delete") ? "deleted" : "created";
}

/**
 * Fills the element of a row: what it is, its name, and what is to be told of it.
 * @param {import("./store.js").Store} store @param {"items"|"record"|"files"|"log"} kind
 * @param {import("./store.js").Row} data @param {HTMLElement} row @param {boolean} [brief] without the reason
 */
function drawRow(store, kind, data, row, brief) {
    if (kind === "items") {
        const [collection, place, detail, bytes] = data;
        row.append(
            build("span", { class: "what" }, plain(String(collection))),
            nameOf(String(place ?? "")),
            build("span", { class: "side quiet" }, bytes === null ? nameOf(String(detail ?? ""), "") : size(bytes)),
        );
    } else if (kind === "record") {
        const [thing, outcome, reason, source, place, detail] = data;
        row.append(
            build("span", { class: "what" }, plain(String(thing))),
            nameOf(String(source || place || detail || "")),
            brief ? build("span", { class: "side quiet" }, nameOf(String(detail ?? ""), ""))
                : build("span", { class: "side" }, badge(String(outcome), store.reason(reason).says ?? String(reason))),
        );
    } else if (kind === "files") {
        row.append(
            build("span", { class: "what" }, "payload"),
            nameOf(String(data[0])),
            build("span", { class: "side quiet" }, size(data[1])),
        );
    } else {
        row.append(build("span", { class: "what" }, badge(String(data[0]))), nameOf(String(data[1])));
    }
}

export class RefList {
    /**
     * @param {import("./store.js").Store} store
     * @param {{label: string, maxRows?: number, brief?: boolean, choose?: (ref: number) => void,
     *   decorate?: (ref: number, row: HTMLElement) => void}} options
     */
    constructor(store, options) {
        this.store = store;
        /** @type {number[]} */
        this.refs = [];
        const choose = options.choose;
        this.brief = options.brief;
        this.list = new RowList({
            label: options.label,
            maxRows: options.maxRows,
            choose: choose && ((index) => choose(this.refs[index])),
            draw: (index, row) => {
                this.#draw(this.refs[index], row);
                options.decorate?.(this.refs[index], row);
            },
        });
    }

    /** @param {number} ref @param {HTMLElement} row */
    #draw(ref, row) {
        const data = this.store.peekRow(ref);
        if (!data) {
            row.append(build("span", { class: "quiet" }, "…"));
            void this.store.readRow(ref).then(() => this.list.redrawSoon());
            return;
        }
        drawRow(this.store, this.store.ownerOf(ref)?.kind ?? "log", data, row, this.brief);
    }

    /**
     * Adds the rows of slices that are wanted, as they are found.
     * @param {number[]} slices @param {(row: import("./store.js").Row) => boolean} wanted
     * @param {AbortSignal} [signal]
     */
    async fill(slices, wanted, signal) {
        const pacer = new Pacer();
        for await (const [slice, rows] of this.store.rowsOf(slices)) {
            rows.forEach((row, index) => {
                if (wanted(row)) {
                    this.refs.push(makeRef(slice, index));
                }
            });
            if (pacer.isDue()) {
                this.list.setCount(this.refs.length);
            }
            await pacer.rest(signal);
        }
        this.list.setCount(this.refs.length);
    }
}
