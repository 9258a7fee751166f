// Starts the page, and shows what the address says: "#/3/0/files" is package 3, its target 0, the
// trees of files.

import { badge, build, count, nameOf, onCopy, plain, wholeText } from "./text.js";
import { Store, rowsInSlice } from "./store.js";
import { dropLists, setPrinting } from "./rows.js";
import { RefList } from "./refs.js";
import { outcomes } from "./paths.js";
import { Trees, areaOfCollection, areaOfThing, areas } from "./trees.js";
import { overview } from "./overview.js";
import { PackageList } from "./packages.js";
import { Search, kinds } from "./search.js";

/** @typedef {"overview"|"files"|"registry"|"other"|"log"} View */

/** @type {Record<View, string>} */
const views = { overview: "Overview", ...areas, log: "Log" };

// As many problems of a package are shown at once.
const maxProblems = 3;

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
            openPackage: (pack) => this.go(pack),
        });
        /** @type {PackageList|null} */
        this.list = null;
        /** A row that the trees are to show when they have been read. @type {{side: "left"|"right", ref: number}|null} */
        this.wanted = null;
        /** The trees that were shown last. @type {Trees|null} */
        this.kept = null;
        this.timer = 0;
        find("program").textContent = plain(this.store.summary.program ?? "");
        this.#prepareSearch();
        addEventListener("hashchange", () => void this.show());
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
            this.search.stop();
            void this.show();
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
            this.#endSearch();
            void this.show();
        }
    }

    /** @param {number} pack @param {number} [target] @param {View} [view] */
    go(pack, target = 0, view = "overview") {
        const address = `#/${pack}/${target}/${view}`;
        if (location.hash === address) {
            void this.show();
        } else {
            location.hash = address;
        }
    }

    /** Shows what the address says. @returns {Promise<void>} */
    async show() {
        this.#endSearch();
        this.leaving.abort();
        this.leaving = new AbortController();
        const [, pack, target, view] = location.hash.split("/");
        const single = this.store.packages.length === 1;
        const chosen = this.store.packages[Number(pack || (single ? 0 : -1))];
        if (chosen) {
            const name = /** @type {View} */ (Object.hasOwn(views, view ?? "") ? view : "overview");
            this.#showPackage(chosen, this.store.packages.indexOf(chosen), Number(target) || 0, name);
        } else {
            this.list ??= new PackageList(this.store, (at) => this.go(at));
            this.main.replaceChildren(this.list.element);
            this.list.list.redrawSoon();
        }
        dropLists();
        scrollTo(0, 0);
    }

    /** @param {import("./store.js").Package} pack @param {number} at @param {number} number @param {View} view */
    #showPackage(pack, at, number, view) {
        const targets = pack.targets ?? [];
        const target = targets[number] ?? targets[0];
        const chosen = targets.indexOf(target);
        const panel = build("div", { class: "panel", role: "tabpanel", "aria-labelledby": `tab-${view}` });
        const select = targets.length > 1 && build("label", { class: "target" }, "Target ", build("select", {
            onchange: (/** @type {any} */ event) => this.go(at, Number(event.target.value), view),
        }, ...targets.map((one, index) => build("option", { value: index, selected: index === chosen }, plain(`${one.name || "Target " + (index + 1)}  ${one.guid ?? ""}`.slice(0, 200))))));
        this.main.replaceChildren(
            build("div", { class: "title" },
                this.store.packages.length > 1 && build("a", { class: "back", href: "#/" }, "‹ All packages"),
                build("h1", {}, wholeText((pack.name || "(no name)").slice(0, 300))), badge(pack.status ?? "unknown"), select),
            build("p", { class: "place quiet" }, nameOf(pack.place ?? "")),
            ...this.#problems(pack.problems ?? []),
            this.#tabs(at, chosen, view), panel);
        this.#fill(panel, pack, target, view);
    }

    /** @param {string[]} problems */
    #problems(problems) {
        const rest = problems.length - maxProblems;
        return [
            ...problems.slice(0, maxProblems).map((text) => build("p", { class: "notice" }, wholeText(text))),
            rest > 0 && build("details", { class: "opening" }, build("summary", {}, count(rest, "more problem")),
                ...problems.slice(maxProblems, 1000).map((text) => build("p", {}, wholeText(text))),
                rest + maxProblems > 1000 && build("p", {}, `and ${count(problems.length - 1000, "other")}`)),
        ].flatMap((one) => one || []);
    }

    /** @param {number} pack @param {number} target @param {View} view */
    #tabs(pack, target, view) {
        const names = /** @type {View[]} */ (Object.keys(views));
        return build("div", {
            class: "tabs", role: "tablist", "aria-label": "Views",
            onkeydown: (/** @type {KeyboardEvent} */ event) => {
                const step = event.key === "ArrowRight" ? 1 : event.key === "ArrowLeft" ? -1 : 0;
                if (step !== 0) {
                    this.go(pack, target, names[(names.indexOf(view) + step + names.length) % names.length]);
                    addEventListener("hashchange", () => find("main").querySelector("[aria-selected=true]")?.focus(), { once: true });
                }
            },
        }, ...names.map((name) => build("button", {
            type: "button", role: "tab", id: `tab-${name}`, "aria-selected": String(name === view), tabindex: name === view ? "0" : "-1",
            onclick: () => this.go(pack, target, name),
        }, views[name])));
    }

    /** @param {HTMLElement} panel @param {import("./store.js").Package} pack @param {import("./store.js").Target|undefined} target @param {View} view */
    #fill(panel, pack, target, view) {
        if (view === "log") {
            this.#fillList(panel, "Log", pack.log ?? [], "The log tells of no error and no warning, or it is not part of the report.");
        } else if (view !== "overview" && target) {
            void this.#fillTrees(panel, target, view);
        } else {
            if (target) {
                panel.append(overview({ store: this.store, target, choose: (ref) => void this.openRow(ref) }));
            }
            if (pack.slices?.record) {
                panel.append(build("h2", {}, "Of the package as a whole"));
                this.#fillList(panel, "The package", pack.slices.record, "Nothing.");
            }
        }
    }

    /** @param {HTMLElement} panel @param {import("./store.js").Target} target @param {import("./trees.js").Area} area */
    async #fillTrees(panel, target, area) {
        const [wanted, signal, kept] = [this.wanted, this.leaving.signal, this.kept];
        this.wanted = null;
        const known = kept?.target === target && kept.area === area;
        const trees = known ? kept : new Trees(this.store, target, area);
        panel.append(trees.element);
        try {
            await (known ? trees.wake() : trees.load(signal));
        } catch (error) {
            if (!signal.aborted) {
                panel.replaceChildren(build("p", { class: "notice" }, `The trees cannot be shown: ${error}`));
            }
            return;
        }
        this.kept = trees;
        if (wanted) {
            trees.reveal(wanted.side, wanted.ref);
        }
    }

    /** @param {HTMLElement} panel @param {string} label @param {number[]} slices @param {string} none */
    #fillList(panel, label, slices, none) {
        const rows = new RefList(this.store, { label, maxRows: 24 });
        const state = build("p", { class: "quiet", role: "status" }, slices.length > 0 ? "Reading …" : none);
        panel.append(state, rows.list.whole);
        rows.fill(slices, () => true, this.leaving.signal).then(() => {
            state.textContent = rows.refs.length > 0 ? count(rows.refs.length, "line") : none;
            rows.list.whole.hidden = rows.refs.length === 0;
        }, () => {});
    }

    /** Shows a row of the report where it belongs. @param {number} ref */
    async openRow(ref) {
        const slice = Math.floor(ref / rowsInSlice);
        const owner = this.store.owners.get(slice);
        if (!owner) {
            return;
        }
        const row = (await this.store.read(slice))[ref % rowsInSlice];
        if (owner.kind === "log" || owner.target < 0) {
            this.go(owner.pack, 0, owner.kind === "log" ? "log" : "overview");
            return;
        }
        const area = owner.kind === "items" ? areaOfCollection(row[0]) : owner.kind === "record" ? areaOfThing(row[0]) : "files";
        const item = owner.kind === "files" ? await this.#findItem(owner, row[0]) : ref;
        this.wanted = { side: owner.kind === "record" ? "left" : "right", ref: item };
        this.go(owner.pack, owner.target, area);
    }

    /** The item that has a payload file. @param {import("./store.js").Owner} owner @param {string} name */
    async #findItem(owner, name) {
        for (const slice of this.store.packages[owner.pack].targets?.[owner.target]?.slices?.items ?? []) {
            const at = (await this.store.readOnce(slice)).findIndex((row) => row[2] === name);
            if (at >= 0) {
                return slice * rowsInSlice + at;
            }
        }
        return -1;
    }
}

void new Page().show();
