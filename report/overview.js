// What became of a target: what came, what was left out and why, what was lost and what to do.

import { badge, build, capital, count, nameOf, number, plain, size, wholeText } from "./text.js";
import { RowList } from "./rows.js";
import { RefList } from "./refs.js";

// Where a target has more slices than this, names of losses are read when somebody asks for them.
const maxReadAtOnce = 16;
const rowsOfNames = 12;

// A manifest may have anything; longer tables are cut, which they say.
const maxTableRows = 200;

/** @typedef {{store: import("./store.js").Store, target: import("./store.js").Target, choose: (ref: number) => void, signal: AbortSignal}} Context */

/**
 * A table with a bar for each row.
 * @param {string} caption @param {{name: Node|string, value: number, shown: string, note?: string, word?: string}[]} rows
 */
function barTable(caption, rows) {
    const most = rows.reduce((greatest, row) => Math.max(greatest, row.value), 1);
    const more = rows.length - maxTableRows;
    return build("table", { class: "bars" }, build("caption", { class: "unseen" }, caption),
        build("tbody", {}, ...rows.slice(0, maxTableRows).map((row) => {
            const bar = build("span", { class: "bar " + (row.word ?? "") });
            bar.style.width = `${Math.max(0.4, (100 * row.value) / most)}%`;
            return build("tr", {}, build("th", { scope: "row" }, row.name), build("td", { class: "track", "aria-hidden": "true" }, bar),
                build("td", { class: "number" }, row.shown), build("td", { class: "number quiet" }, row.note));
        }), more > 0 && build("tr", {}, build("th", { scope: "row" }, `and ${count(more, "more row")}`))));
}

/**
 * A line that opens to the names of what it counts.
 * @param {Context} context @param {Node[]} line @param {number} total
 * @param {(row: import("./store.js").Row) => boolean} wanted
 */
function opening(context, line, total, wanted) {
    const state = build("p", { class: "quiet", role: "status" }, "Reading …");
    const details = build("details", { class: "opening" }, build("summary", {}, ...line, build("span", { class: "number" }, number(total))));
    details.addEventListener("toggle", async () => {
        if (!(details instanceof HTMLDetailsElement) || !details.open || state.parentNode) {
            return;
        }
        const names = new RefList(context.store, { label: "Names", maxRows: rowsOfNames, brief: true, choose: context.choose });
        details.append(names.list.whole, state);
        await names.fill(context.target.slices?.record ?? [], wanted, context.signal).catch(() => {});
        state.textContent = names.refs.length === total ? "" : `The record has ${count(names.refs.length, "line")} of this.`;
    });
    return details;
}

/** All pairs of an outcome and a reason with their numbers, the most frequent first. @param {import("./store.js").Target|import("./store.js").Package} target */
export function reasonsOf(target) {
    return Object.entries(target.outcomes ?? {})
        .flatMap(([outcome, reasons]) => Object.entries(reasons).map(([reason, total]) => ({ outcome, reason, total })))
        .sort((a, b) => b.total - a.total);
}

/** @param {string} title @param {...(Node|null|false)} content */
function section(title, ...content) {
    return build("section", {}, build("h2", {}, title), ...content);
}

/** What failed or is missing, with advice. @param {Context} context */
function troubles(context) {
    const { store, target } = context;
    const found = reasonsOf(target).filter(({ reason }) => store.isTrouble(reason)).sort((a, b) => store.rank(a.reason) - store.rank(b.reason));
    if (found.length === 0) {
        return null;
    }
    const small = (target.slices?.record ?? []).length <= maxReadAtOnce;
    return section("What failed, and what to do", ...found.map(({ outcome, reason, total }) => {
        const { says, advice, kind } = store.reason(reason);
        const details = opening(context, [badge(kind === "loss" ? "failed" : "warning", kind === "loss" ? "lost" : "missing"), build("span", { class: "says" }, says ?? reason)],
            total, (row) => row[1] === outcome && row[2] === reason);
        if (details instanceof HTMLDetailsElement) {
            details.open = small && kind === "loss";
        }
        return build("div", { class: "trouble " + (kind ?? "") }, details, advice ? build("p", { class: "advice" }, advice) : null);
    }));
}

/** What became of everything else, by outcome and reason. @param {Context} context */
function outcomesOf(context) {
    const { store, target } = context;
    const all = reasonsOf(target).filter(({ reason }) => !store.isTrouble(reason));
    /** @param {string} outcome */
    const group = (outcome) => {
        const ones = all.filter((one) => one.outcome === outcome);
        return ones.length > 0 && build("div", { class: "group" }, build("h3", {}, badge(outcome)),
            ...ones.map(({ reason, total }) => opening(context, [build("span", { class: "says" }, store.reason(reason).says ?? reason)],
                total, (row) => row[1] === outcome && row[2] === reason)));
    };
    const known = ["left out", "claimed", "merged", "deleted", "created"];
    const others = [...new Set(all.map((one) => one.outcome))].filter((one) => !known.includes(one));
    return all.length > 0 && section("What became of what was captured", ...[...others, ...known].map(group));
}

/** @param {Context} context */
function rulesOf(context) {
    const { rules = [], otherRules = 0 } = context.target;
    if (rules.length === 0) {
        return null;
    }
    // The names of a rule open below the list, because all rows of a list have one height.
    const names = build("div", { "aria-live": "polite" });
    const list = new RowList({
        label: "Rules", maxRows: 10,
        draw: (index, row) => row.append(nameOf(rules[index][0]), build("span", { class: "side number" }, number(rules[index][1]))),
        choose: (index) => {
            const [rule, total] = rules[index];
            const details = opening(context, [build("span", { class: "says" }, "Left out by ", wholeText(rule))], total, (row) => row[5] === rule && row[2] === "rule");
            names.replaceChildren(details);
            details.setAttribute("open", "");
        },
    });
    list.setCount(rules.length);
    return section("Rules that left something out", build("p", { class: "quiet" }, "Choose a rule to see what it left out."), list.whole,
        otherRules > 0 && build("p", { class: "quiet" }, `and ${count(otherRules, "key")} by other rules`), names);
}

/** @param {import("./store.js").Target} target */
function payload(target) {
    const largest = target.largest ?? [];
    const folders = target.folders ?? [];
    const parts = [];
    if (folders.length > 0) {
        parts.push(section("Size by folder", barTable("Size of the payload by folder", folders.map(([name, bytes, files]) => (
            { name: name === "" ? "all others" : nameOf(name), value: bytes, shown: size(bytes), note: count(files, "file") })))));
    }
    if (largest.length > 0) {
        const list = new RowList({
            label: "Largest files", maxRows: 10,
            draw: (index, row) => row.append(nameOf(largest[index][0]), build("span", { class: "side number" }, size(largest[index][1]))),
        });
        list.setCount(largest.length);
        parts.push(section("Largest files", list.whole));
    }
    return parts;
}

/** @param {string} label @param {string} value @param {string} [note] @param {string} [word] */
function figure(label, value, note, word = "") {
    return build("div", { class: "figure " + word }, build("dt", {}, label), build("dd", {}, value, note ? build("small", {}, note) : null));
}

/** @param {import("./store.js").Target} target */
export function itemsOf(target) {
    return Object.values(target.items ?? {}).reduce((sum, one) => sum + one, 0);
}

/** The numbers that matter most. @param {import("./store.js").Target} target */
function figures(target) {
    const leftOut = Object.values(target.outcomes?.["left out"] ?? {}).reduce((sum, one) => sum + one, 0);
    const [losses, missing] = [target.losses ?? 0, target.missing ?? 0];
    return build("dl", { class: "figures" },
        figure("Items in the manifest", number(itemsOf(target))),
        figure("Payload", size(target.bytes ?? 0), count(target.files ?? 0, "file")),
        target.outcomes ? figure("Left out", number(leftOut)) : null,
        target.outcomes ? figure("Lost", number(losses), losses > 0 ? "see below" : "nothing", losses > 0 ? "bad" : "good") : null,
        missing > 0 ? figure("Missing", number(missing), "see below", "fair") : null);
}

/** @param {import("./store.js").Target} target */
function propertiesOf(target) {
    const properties = Object.entries(target.properties ?? {});
    const more = properties.length - maxTableRows;
    const rows = properties.slice(0, maxTableRows).map(([name, value]) => (
        build("tr", {}, build("th", { scope: "row" }, nameOf(capital(name))), build("td", {}, wholeText(String(value))))));
    return properties.length > 0 && section("Properties", build("table", { class: "properties" }, build("tbody", {}, ...rows)),
        more > 0 && build("p", { class: "quiet" }, `and ${count(more, "more property", "more properties")}`));
}

/** What became of things that belong to no target, such as the profile. @param {Context} context */
export function outsideOfTargets(context) {
    return build("div", { class: "overview" }, troubles(context), outcomesOf(context) || null);
}

/** @param {import("./store.js").Target} target @param {string} collection */
function sizeNote(target, collection) {
    const sizes = target.sizes ?? {};
    return Object.hasOwn(sizes, collection) ? size(sizes[collection]) : "";
}

/** All of the overview of a target. @param {Context} context */
export function overview(context) {
    const { target } = context;
    const items = Object.entries(target.items ?? {});
    return build("div", { class: "overview" }, figures(target), troubles(context),
        target.outcomes ? null : build("p", { class: "notice" }, "There is no record of this conversion, so the report shows only what is in the result. Convert with --record to learn what was left out, and why."),
        items.length > 0 && section("What came into the manifest", barTable("Items by kind", items.map(([name, value]) => (
            { name: plain(name), value, shown: number(value), note: sizeNote(target, name), word: name.startsWith("Delete") ? "deleted" : "" })))),
        outcomesOf(context) || null, rulesOf(context), ...payload(target),
        propertiesOf(target));
}
