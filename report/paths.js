// Paths as a tree that is not built: they are sorted so that all below a folder is one range, and
// for each is known how many parts it shares with the one before it. Nodes are ranges.

import { Pacer, makeRef } from "./store.js";

/** The outcomes of the record, each with a number. The last is any other. */
export const outcomes = ["created", "deleted", "claimed", "merged", "left out", "not read", "failed", "other"];

// Parts beyond this many count as one, so that no path makes a tree that nobody could climb.
const maxParts = 1000;

/** @param {string} outcome */
export function outcomeNumber(outcome) {
    const at = outcomes.indexOf(outcome);
    return at < 0 ? outcomes.length - 1 : at;
}

/** Text by which paths are sorted and compared: without case, the separator before all else. @param {string} text */
export function keyOf(text) {
    return text.replaceAll("\0", "\x01").toLowerCase().replaceAll("\\", "\0");
}

/** How many parts a path has. @param {string} text */
export function countParts(text) {
    let parts = 1;
    for (let at = text.indexOf("\\"); at >= 0 && parts < maxParts; at = text.indexOf("\\", at + 1)) {
        parts += 1;
    }
    return parts;
}

/** How many parts two different keys share at their beginning. @param {string} former @param {string} key */
function sharedParts(former, key) {
    const end = Math.min(former.length, key.length);
    let parts = 0;
    let at = 0;
    for (; at < end && former.charCodeAt(at) === key.charCodeAt(at); at++) {
        if (key.charCodeAt(at) === 0) {
            parts += 1;
        }
    }
    if (at === former.length && key.charCodeAt(at) === 0) {
        parts += 1;
    }
    return Math.min(parts, maxParts - 1);
}

/**
 * A node: the rows from `from` to `to` (not included), which share `depth` parts. The first `own` of
 * them are the node itself; the rest is below it.
 * @typedef {{from: number, to: number, depth: number, own: number}} PathRange
 */
export class PathIndex {
    constructor() {
        /** @type {string[]} */
        this.texts = [];
        this.refs = new Uint32Array(0);
        this.marks = new Uint8Array(0);
        this.shared = new Uint16Array(0);
        /** @type {Float64Array|null} */
        this.sizes = null;
        /** For each row one of the other side; -1 where there is none. */
        this.others = new Int32Array(0);
    }

    /** @returns {PathRange} */
    root() {
        return { from: 0, to: this.texts.length, depth: 0, own: 0 };
    }

    /** The node of a range that begins a child of a node. @param {number} from @param {number} to @returns {PathRange} */
    makeRange(from, to) {
        const parts = countParts(this.texts[from]);
        let depth = parts;
        for (let row = from + 1; row < to && depth > 0; row++) {
            depth = Math.min(depth, this.shared[row]);
        }
        let own = 0;
        if (depth === parts) {
            for (own = 1; from + own < to && countParts(this.texts[from + own]) === depth;) {
                own += 1;
            }
        }
        return { from, to, depth, own };
    }

    /** Where the children of a node begin. @param {PathRange} node */
    childStarts(node) {
        const starts = [];
        for (let row = node.from + node.own; row < node.to; row++) {
            if (this.shared[row] <= node.depth || row === node.from + node.own) {
                starts.push(row);
            }
        }
        return Uint32Array.from(starts);
    }

    /** The parts of a row's path from one depth to another. @param {number} row @param {number} from @param {number} to */
    partsOf(row, from, to) {
        const text = this.texts[row];
        let start = 0;
        for (let part = 0; part < from; part++) {
            start = text.indexOf("\\", start) + 1;
        }
        let end = start - 1;
        for (let part = from; part < to && part < maxParts - 1; part++) {
            end = text.indexOf("\\", end + 1);
            if (end < 0) {
                break;
            }
        }
        return to >= maxParts || end < 0 ? text.slice(start) : text.slice(start, end);
    }

    /** How many rows of a node have which outcome. @param {PathRange} node */
    tally(node) {
        const counts = new Uint32Array(outcomes.length);
        for (let row = node.from; row < node.to; row++) {
            counts[this.marks[row]] += 1;
        }
        return counts;
    }

    /** The sizes of a node's files. @param {PathRange} node */
    sizeOf(node) {
        let bytes = 0;
        for (let row = node.from; this.sizes && row < node.to; row++) {
            bytes += this.sizes[row];
        }
        return bytes;
    }
}

/** @typedef {{text: string, mark: number, size?: number|null, place?: string}} Picked */

/**
 * Reads slices into an index. `pick` says the path of a row, or null for one that is not wanted.
 * Also returns of each row the key, and the key of its `place`, which is empty without one.
 * @param {import("./store.js").Store} store @param {number[]} slices
 * @param {(row: import("./store.js").Row) => Picked|null} pick
 * @param {(done: number) => void} progress called with the number of slices read
 * @param {AbortSignal} signal
 */
export async function readPaths(store, slices, pick, progress, signal) {
    const pacer = new Pacer();
    /** @type {string[][]} */
    const [texts, keys, places] = [[], [], []];
    /** @type {number[][]} */
    const [refs, marks, sizes] = [[], [], []];
    const runs = [0];
    let done = 0;
    for await (const [slice, rows] of store.rowsOf(slices)) {
        rows.forEach((row, index) => {
            const one = pick(row);
            if (one) {
                const key = keyOf(one.text);
                texts.push(one.text);
                keys.push(key);
                places.push(one.place === one.text ? key : keyOf(one.place ?? ""));
                refs.push(makeRef(slice, index));
                marks.push(one.mark);
                sizes.push(one.size ?? 0);
            }
        });
        runs.push(texts.length);
        progress(++done);
        await pacer.rest(signal);
    }
    const order = await sortKeys(keys, runs, pacer, signal);
    const index = new PathIndex();
    index.texts = Array.from(order, (at) => texts[at]);
    index.refs = Uint32Array.from(order, (at) => refs[at]);
    index.marks = Uint8Array.from(order, (at) => marks[at]);
    index.sizes = sizes.some((one) => one > 0) ? Float64Array.from(order, (at) => sizes[at]) : null;
    index.others = new Int32Array(order.length).fill(-1);
    index.shared = new Uint16Array(order.length);
    for (let row = 1; row < order.length; row++) {
        const [key, former] = [keys[order[row]], keys[order[row - 1]]];
        index.shared[row] = key === former ? countParts(index.texts[row]) : sharedParts(former, key);
        if (pacer.isTime(row)) {
            await pacer.rest(signal);
        }
    }
    return { index, keys: Array.from(order, (at) => keys[at]), places: Array.from(order, (at) => places[at]) };
}

/**
 * Sorts runs of keys one by one and merges them, with pauses. Returns the order.
 * @param {string[]} keys @param {number[]} runs @param {Pacer} pacer @param {AbortSignal} signal
 */
async function sortKeys(keys, runs, pacer, signal) {
    let order = Uint32Array.from(keys, (_, at) => at);
    for (let run = 0; run + 1 < runs.length; run++) {
        order.subarray(runs[run], runs[run + 1]).sort((a, b) => (keys[a] < keys[b] ? -1 : keys[a] > keys[b] ? 1 : a - b));
        await pacer.rest(signal);
    }
    let target = new Uint32Array(order.length);
    for (let borders = runs; borders.length > 2;) {
        const merged = [0];
        for (let run = 0; run + 1 < borders.length; run += 2) {
            const [start, middle] = [borders[run], borders[run + 1]];
            const end = borders[run + 2] ?? middle;
            let left = start;
            let right = middle;
            for (let at = start; at < end; at++) {
                const takesLeft = right >= end || (left < middle && keys[order[left]] <= keys[order[right]]);
                target[at] = order[takesLeft ? left++ : right++];
                if (pacer.isTime(at)) {
                    await pacer.rest(signal);
                }
            }
            merged.push(end);
        }
        [order, target] = [target, order];
        borders = merged;
    }
    return order;
}
