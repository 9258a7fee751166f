// Starts the page, and shows what the address says: "#/3/0/files" is package 3, its target 0, the
// trees of files, and "#?term=abc" a search.

import { build, onCopy, plain } from "./text.js";
import { Store, makeRef } from "./store.js";
import { dropLists, setPrinting } from "./rows.js";
import { outcomes } from "./paths.js";
import { areaOfCollection, areaOfThing } from "./trees.js";
import { PackageView, views } from "./package.js";
import { PackageList } from "./packages.js";
import { Search, kinds } from "./search.js";

// A search waits until nobody has typed for this long, in milliseconds.
const typingPause = 150;

/** The element of page.html with this id. @param {string} id @returns {any} */
function find(id) {
    return document.getElementById(id);
}

class Page {
    constructor() {
        this.store = new Store(document);
        this.store.onfault = (text) => this.#warn(text);
        this.main = /** @type {HTMLElement} */ (find("main"));
        this.leaving = new AbortController();
        this.search = new Search(this.store, {
            openRow: (ref) => void this.openRow(ref),
            openPackage: (pack) => {
                this.#keepSearch();
                this.go(pack);
            },
        });
        /** @type {PackageList|null} */
        this.list = null;
        this.view = new PackageView(this.store, { go: (...place) => this.go(...place), openRow: (ref) => void this.openRow(ref) });
        this.timer = 0;
        find("program").textContent = plain(this.store.summary.program ?? "");
        this.#prepareSearch();
        if (!("DecompressionStream" in window)) {
            this.#warn("This browser is too old to read all of the report. One of 2023 or later does.");
        }
        addEventListener("hashchange", () => this.show());
        addEventListener("beforeprint", () => setPrinting(true));
        addEventListener("afterprint", () => setPrinting(false));
        document.addEventListener("copy", onCopy);
        document.addEventListener("keydown", (event) => this.#onKey(event));
        find("skip").addEventListener("click", (/** @type {Event} */ event) => {
            event.preventDefault();
            this.main.focus();
        });
    }

    /** @param {string} text */
    #warn(text) {
        if (!document.querySelector(".fault")) {
            this.main.before(build("p", { class: "notice fault", role: "alert" }, text));
        }
    }

    #prepareSearch() {
        const [form, term, kind, outcome] = [find("search"), find("term"), find("kind"), find("outcome")];
        kind.append(build("option", { value: "" }, "Everything"), ...Object.entries(kinds).map(([value, text]) => build("option", { value }, text)));
        outcome.append(build("option", { value: "" }, "Any outcome"), ...outcomes.slice(0, -1).map((value) => build("option", { value }, value)));
        const start = () => {
            this.search.expect();
            clearTimeout(this.timer);
            this.timer = window.setTimeout(() => this.#startSearch(term.value, kind.value, outcome.value), typingPause);
        };
        form.addEventListener("input", start);
        form.addEventListener("submit", (/** @type {Event} */ event) => {
            event.preventDefault();
            this.search.found.list.element.focus();
        });
        form.hidden = false;
    }

    /** @param {string} term @param {string} kind @param {string} outcome */
    #startSearch(term, kind, outcome) {
        if (term === "") {
            this.#leaveSearch();
            return;
        }
        this.leaving.abort();
        if (!this.search.element.isConnected) {
            this.main.replaceChildren(this.search.element);
        }
        void this.search.run(term, kind, outcome);
    }

    #endSearch() {
        clearTimeout(this.timer);
        this.search.stop();
        find("term").value = "";
    }

    /** @param {KeyboardEvent} event */
    #onKey(event) {
        const typing = event.target instanceof Element && event.target.matches("input, select, textarea");
        if (event.key === "/" && !typing && !event.ctrlKey && !event.metaKey && !event.altKey) {
            event.preventDefault();
            find("term").select();
        } else if (event.key === "Escape" && this.search.element.isConnected) {
            this.#leaveSearch();
        }
    }

    /** Shows what was shown before the search. */
    #leaveSearch() {
        if (location.hash.startsWith("#?")) {
            location.hash = "#/";
        } else {
            this.show();
        }
    }

    /** Lets the way back from what was found lead to the search. */
    #keepSearch() {
        if (this.search.element.isConnected) {
            const asked = Object.fromEntries(["term", "kind", "outcome"].map((id) => [id, find(id).value]));
            history.pushState(null, "", "#?" + new URLSearchParams(asked));
        }
    }

    /** Searches for what the address says. */
    #searchAgain() {
        for (const [id, value] of new URLSearchParams(location.hash.slice(2))) {
            if (["term", "kind", "outcome"].includes(id)) {
                find(id).value = value;
            }
        }
        this.search.expect();
        this.#startSearch(find("term").value, find("kind").value, find("outcome").value);
    }

    /** @param {number} pack @param {number} [target] @param {import("./package.js").View} [view] */
    go(pack, target = -1, view = "overview") {
        const address = target < 0 && view === "overview" ? `#/${pack}` : `#/${pack}/${Math.max(0, target)}/${view}`;
        if (location.hash === address) {
            this.show();
        } else {
            location.hash = address;
        }
    }

    /** Shows what the address says. */
    show() {
        this.#endSearch();
        if (/^#\?.*term=[^&]/.test(location.hash)) {
            this.#searchAgain();
            return;
        }
        this.leaving.abort();
        this.leaving = new AbortController();
        const [, pack, target, view] = location.hash.split("/");
        const single = this.store.packages.length === 1;
        const chosen = this.store.packages[Number(pack || (single ? 0 : -1))];
        if (chosen) {
            const name = /** @type {import("./package.js").View} */ (Object.hasOwn(views, view ?? "") ? view : "overview");
            this.view.show(this.main, this.store.packages.indexOf(chosen), Number(target || -1), name, this.leaving.signal);
        } else {
            this.list ??= new PackageList(this.store, (at) => this.go(at));
            this.main.replaceChildren(this.list.element);
            this.list.list.redrawSoon();
        }
        dropLists();
        scrollTo(0, 0);
    }

    /** Shows a row of the report where it belongs. @param {number} ref */
    async openRow(ref) {
        const owner = this.store.ownerOf(ref);
        if (!owner) {
            return;
        }
        const row = await this.store.readRow(ref);
        this.#keepSearch();
        if (owner.kind === "log" || owner.target < 0) {
            this.go(owner.pack, 0, owner.kind === "log" ? "log" : "overview");
            return;
        }
        if (owner.kind === "record") {
            this.view.wanted = { side: "left", ref };
            this.go(owner.pack, owner.target, areaOfThing(row[0]));
            return;
        }
        const item = owner.kind === "files" ? await this.#findItem(owner, row[0]) : { ref, collection: row[0] };
        if (item) {
            this.view.wanted = { side: "right", ref: item.ref };
        }
        this.go(owner.pack, owner.target, item ? areaOfCollection(item.collection) : "overview");
    }

    /** The item that has a payload file; null for one that no item names by itself. @param {import("./store.js").Owner} owner @param {string} name */
    async #findItem(owner, name) {
        const slices = this.store.packages[owner.pack].targets?.[owner.target]?.slices?.items ?? [];
        for await (const [slice, rows] of this.store.rowsOf(slices)) {
            const at = rows.findIndex((row) => row[2] === name);
            if (at >= 0) {
                return { ref: makeRef(slice, at), collection: rows[at][0] };
            }
        }
        return null;
    }
}

new Page().show();
