// The search in everything: slices are read one after the other, and what they have is shown at once.

import { build, count, nameOf, number, plain } from "./text.js";
import { RefList, outcomeOf } from "./refs.js";
import { Pacer, makeRef } from "./store.js";

export const kinds = { items: "Items of manifests", record: "Captured things", files: "Payload files", log: "Log" };

// Names of packages come first, and only so many of them.
const maxPackages = 12;

/**
 * Text that the JSON of a slice must have if a row of it has the term; empty when that is not sure,
 * because JSON may write characters in more than one way.
 * @param {string} term
 */
function probeOf(term) {
    return term.split(/[^ !#-.0-[\]-~]/).reduce((longest, part) => (part.length > longest.length ? part : longest), "");
}

/** @param {import("./store.js").Row} row @param {string} kind */
function outcomeOfRow(row, kind) {
    if (kind === "items") {
        return outcomeOf(String(row[0]));
    }
    return kind === "record" ? row[1] : "";
}

export class Search {
    /**
     * @param {import("./store.js").Store} store
     * @param {{openRow: (ref: number) => void, openPackage: (pack: number) => void}} actions
     */
    constructor(store, actions) {
        this.store = store;
        this.actions = actions;
        this.state = build("p", { class: "quiet", role: "status" });
        this.packages = build("ul", { class: "found" });
        this.found = new RefList(store, {
            label: "What was found",
            choose: actions.openRow,
            decorate: (ref, row) => this.#decorate(ref, row),
        });
        this.element = build("section", { class: "results" }, build("h1", {}, "Search"), this.state, this.packages, this.found.list.whole);
        this.calledOff = new AbortController();
    }

    /** Says of which package and target a row is. @param {number} ref @param {HTMLElement} row */
    #decorate(ref, row) {
        const owner = this.store.ownerOf(ref);
        const pack = this.store.packages[owner?.pack ?? -1];
        const target = pack?.targets?.[owner?.target ?? -1];
        const where = [pack?.name ?? "", (pack?.targets ?? []).length > 1 ? target?.name ?? "" : ""].filter((one) => one !== "").join(" › ");
        if (this.store.packages.length > 1) {
            row.append(build("span", { class: "where quiet" }, nameOf(where, "")));
        }
    }

    /** Says that what is shown is not what is asked for. */
    expect() {
        this.element.setAttribute("aria-busy", "true");
    }

    stop() {
        this.calledOff.abort();
    }

    /**
     * Searches anew. Returns when all was read or another search has begun.
     * @param {string} text @param {string} kind @param {string} outcome
     */
    async run(text, kind, outcome) {
        this.stop();
        this.calledOff = new AbortController();
        const signal = this.calledOff.signal;
        const term = text.toLowerCase();
        this.found.refs = [];
        this.found.list.active = 0;
        this.found.list.element.scrollTop = 0;
        this.found.list.setCount(0);
        this.#findPackages(term, kind === "" && outcome === "");
        try {
            await this.#readAll(term, kind, outcome, signal);
            this.element.setAttribute("aria-busy", "false");
        } catch (error) {
            if (!signal.aborted) {
                throw error;
            }
        }
    }

    /** @param {string} term @param {boolean} wanted */
    #findPackages(term, wanted) {
        const found = this.store.packages.map((pack, at) => ({ pack, at }))
            .filter(({ pack }) => wanted && [pack.name, pack.place, ...(pack.targets ?? []).flatMap((one) => [one.name, one.guid])]
                .some((one) => one?.toLowerCase().includes(term)));
        this.packages.replaceChildren(...found.slice(0, maxPackages).map(({ pack, at }) => build("li", {},
            build("button", { type: "button", class: "link", onclick: () => this.actions.openPackage(at) }, "Package ", nameOf(pack.name ?? "")))));
        if (found.length > maxPackages) {
            this.packages.append(build("li", { class: "quiet" }, `and ${count(found.length - maxPackages, "more package")}`));
        }
    }

    /** @param {string} term @param {string} kind @param {string} outcome @param {AbortSignal} signal */
    async #readAll(term, kind, outcome, signal) {
        const pacer = new Pacer();
        const probe = probeOf(term);
        const slices = [...this.store.owners].filter(([, owner]) => kind === "" || owner.kind === kind).map(([slice]) => slice);
        let [done, told] = [0, -Infinity];
        for await (const [slice, json] of this.store.inOrder(slices, (id) => this.store.text(id))) {
            const owner = /** @type {import("./store.js").Owner} */ (this.store.owners.get(slice));
            const rows = json.toLowerCase().includes(probe) ? this.store.parse(slice, json) : [];
            done += 1;
            rows.forEach((row, index) => {
                if ((outcome === "" || outcomeOfRow(row, owner.kind) === outcome) && row.some((part) => typeof part === "string" && part.toLowerCase().includes(term))) {
                    this.found.refs.push(makeRef(slice, index));
                }
            });
            signal.throwIfAborted();
            if (performance.now() - told > 100) {
                told = performance.now();
                this.#tell(`${Math.round((100 * done) / slices.length)} % read`, term);
            }
            await pacer.rest(signal);
        }
        this.#tell("", term);
    }

    /** @param {string} progress @param {string} term */
    #tell(progress, term) {
        const found = this.found.refs.length;
        const text = found === 0 && progress === "" ? `Nothing has “${plain(term.slice(0, 100))}”.` : `${number(found)} found`;
        this.state.textContent = progress === "" ? text : `${text}, ${progress} …`;
        this.found.list.setCount(found);
    }
}
