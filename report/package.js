// One package: its targets, and the views of a target.

import { badge, build, count, nameOf, plain, wholeText } from "./text.js";
import { RefList } from "./refs.js";
import { Trees, areas } from "./trees.js";
import { outsideOfTargets, overview } from "./overview.js";

/** @typedef {"overview"|"files"|"registry"|"other"|"log"} View */

/** @type {Record<View, string>} */
export const views = { overview: "Overview", ...areas, log: "Log" };

// As many problems of a package are in sight, and as many are listed at all.
const problemsInSight = 3;
const maxProblems = 1000;

/** @param {import("./store.js").Target} target @param {number} index */
function describeTarget(target, index) {
    const lost = (target.losses ?? 0) > 0 ? ` (${target.losses} lost)` : "";
    return `${(target.name || "Target " + (index + 1)).slice(0, 100)}${lost}  ${target.guid ?? ""}`;
}

/** @param {string[]} problems */
function describeProblems(problems) {
    const rest = problems.length - problemsInSight;
    return [
        ...problems.slice(0, problemsInSight).map((text) => build("p", { class: "notice" }, wholeText(text))),
        rest > 0 && build("details", { class: "opening" }, build("summary", {}, count(rest, "more problem")),
            ...problems.slice(problemsInSight, maxProblems).map((text) => build("p", {}, wholeText(text))),
            problems.length > maxProblems && build("p", {}, `and ${count(problems.length - maxProblems, "other")}`)),
    ].flatMap((one) => one || []);
}

export class PackageView {
    /**
     * @param {import("./store.js").Store} store
     * @param {{go: (pack: number, target: number, view: View) => void, openRow: (ref: number) => void}} actions
     */
    constructor(store, actions) {
        this.store = store;
        this.actions = actions;
        /** A row that the trees are to show when they have been read. @type {{side: "left"|"right", ref: number}|null} */
        this.wanted = null;
        /** The trees that were shown last. @type {Trees|null} */
        this.kept = null;
        this.focusesTab = false;
    }

    /**
     * Shows a view of a target of a package; a target that does not exist is the first one with losses.
     * @param {HTMLElement} main @param {number} at @param {number} number @param {View} view
     * @param {AbortSignal} signal ends the reading when the view is left
     */
    show(main, at, number, view, signal) {
        const pack = this.store.packages[at];
        const targets = pack.targets ?? [];
        const target = targets[number] ?? targets.find((one) => (one.losses ?? 0) > 0) ?? targets[0];
        const chosen = targets.indexOf(target);
        const panel = build("div", { class: "panel", role: "tabpanel", "aria-labelledby": `tab-${view}` });
        const select = targets.length > 1 && build("label", { class: "target" }, "Target ", build("span", { class: "printed" }, plain(describeTarget(target, chosen))), build("select", {
            onchange: (/** @type {any} */ event) => this.actions.go(at, Number(event.target.value), view),
        }, ...targets.map((one, index) => build("option", { value: index, selected: index === chosen }, plain(describeTarget(one, index))))));
        const tabs = this.#tabs(at, chosen, view);
        main.replaceChildren(
            build("div", { class: "title" },
                this.store.packages.length > 1 && build("a", { class: "back", href: "#/" }, "‹ All packages"),
                build("h1", {}, wholeText((pack.name || "(no name)").slice(0, 300))), badge(pack.status ?? "unknown"), select),
            build("p", { class: "place quiet" }, nameOf(pack.place ?? "")),
            ...describeProblems(pack.problems ?? []),
            tabs, panel);
        this.#fill(panel, pack, target, view, signal);
        if (this.focusesTab) {
            this.focusesTab = false;
            /** @type {HTMLElement|null} */ (tabs.querySelector("[aria-selected=true]"))?.focus();
        }
    }

    /** @param {number} pack @param {number} target @param {View} view */
    #tabs(pack, target, view) {
        const names = /** @type {View[]} */ (Object.keys(views));
        return build("div", {
            class: "tabs", role: "tablist", "aria-label": "Views",
            onkeydown: (/** @type {KeyboardEvent} */ event) => {
                const step = event.key === "ArrowRight" ? 1 : event.key === "ArrowLeft" ? -1 : 0;
                if (step !== 0) {
                    this.actions.go(pack, target, names[(names.indexOf(view) + step + names.length) % names.length]);
                    this.focusesTab = true;
                }
            },
        }, ...names.map((name) => build("button", {
            type: "button", role: "tab", id: `tab-${name}`, "aria-selected": String(name === view), tabindex: name === view ? "0" : "-1",
            onclick: () => this.actions.go(pack, target, name),
        }, views[name])));
    }

    /** @param {HTMLElement} panel @param {import("./store.js").Package} pack @param {import("./store.js").Target|undefined} target @param {View} view @param {AbortSignal} signal */
    #fill(panel, pack, target, view, signal) {
        if (view === "log") {
            this.#fillList(panel, "Log", pack.log ?? [], "The log tells of no error and no warning, or it is not part of the report.", signal);
        } else if (view !== "overview" && target) {
            void this.#fillTrees(panel, target, view, signal);
        } else {
            const choose = this.actions.openRow;
            panel.append(target ? overview({ store: this.store, target, choose, signal }) : build("p", { class: "quiet" }, "The package has no target."));
            if (pack.outcomes && pack.slices?.record) {
                // Where there is no target, this is all there is.
                const outside = outsideOfTargets({ store: this.store, target: { outcomes: pack.outcomes, slices: pack.slices }, choose: () => {}, signal });
                panel.append(target ? build("h2", { class: "part" }, "Outside of targets") : "", outside);
            }
        }
    }

    /** @param {HTMLElement} panel @param {import("./store.js").Target} target @param {import("./trees.js").Area} area @param {AbortSignal} signal */
    async #fillTrees(panel, target, area, signal) {
        const [wanted, kept] = [this.wanted, this.kept];
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

    /** @param {HTMLElement} panel @param {string} label @param {number[]} slices @param {string} none @param {AbortSignal} signal */
    #fillList(panel, label, slices, none, signal) {
        const rows = new RefList(this.store, { label, maxRows: 24 });
        const state = build("p", { class: "quiet", role: "status" }, slices.length > 0 ? "Reading …" : none);
        panel.append(state, rows.list.whole);
        rows.fill(slices, () => true, signal).then(() => {
            state.textContent = rows.refs.length > 0 ? count(rows.refs.length, "line") : none;
            rows.list.whole.hidden = rows.refs.length === 0;
        }, () => {});
    }
}
