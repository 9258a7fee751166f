// What of the capture became what of the result. The record has places on the machine, the manifest
// has tokens for the machine's folders; what a token means is taken from the rows that agree. All
// places are keys, as paths are sorted by.

import { Pacer } from "./store.js";

// Of each token this many places are compared.
const maxSamples = 40;

/** Takes away what a manifest adds to a place: bars before percent signs and bars. @param {string} key */
function withoutBars(key) {
    return key.replace(/\|([|%])/g, "$1");
}

/** Splits a place after its token. @param {string} key @returns {[string, string]|null} */
function splitAtToken(key) {
    const found = key.includes("%") && /%[^%\0|]+%(?:\0|$)/.exec(key);
    if (!found) {
        return null;
    }
    const end = found.index + found[0].replace("\0", "").length;
    return [key.slice(0, end), withoutBars(key.slice(end))];
}

/** The part of a key after its last separator. @param {string} key */
function lastPart(key) {
    return key.slice(key.lastIndexOf("\0") + 1);
}

/** Some places with tokens, by their last parts. @param {string[]} results */
function takeSamples(results) {
    /** @type {Map<string, {head: string, tail: string}[]>} */
    const samples = new Map();
    /** @type {Map<string, number>} */
    const taken = new Map();
    for (const result of results) {
        const [head, tail] = splitAtToken(result) ?? ["", ""];
        const number = taken.get(head) ?? 0;
        const alike = samples.get(lastPart(tail)) ?? [];
        if (tail !== "" && number < maxSamples && alike.length < maxSamples) {
            taken.set(head, number + 1);
            samples.set(lastPart(tail), [...alike, { head, tail }]);
        }
    }
    return samples;
}

/**
 * What tokens mean: for each beginning of a place up to its token the folder that most places of the
 * record agree with.
 * @param {string[]} results @param {string[]} places @param {Pacer} pacer @param {AbortSignal} signal
 */
async function learnTokens(results, places, pacer, signal) {
    const samples = takeSamples(results);
    /** @type {Map<string, Map<string, number>>} */
    const votes = new Map();
    for (const [row, place] of samples.size > 0 ? places.entries() : []) {
        for (const { head, tail } of samples.get(lastPart(place)) ?? []) {
            if (place.endsWith(tail)) {
                const folder = place.slice(0, place.length - tail.length);
                const counts = votes.get(head) ?? new Map();
                votes.set(head, counts.set(folder, (counts.get(folder) ?? 0) + 1));
            }
        }
        if (pacer.isTime(row)) {
            await pacer.rest(signal);
        }
    }
    /** @type {Map<string, string>} */
    const meanings = new Map();
    for (const [head, counts] of votes) {
        meanings.set(head, [...counts].reduce((best, one) => (one[1] > best[1] ? one : best))[0]);
    }
    return meanings;
}

/**
 * Fills `others` of both indexes. `places` are those of the rows of the capture, and `results` the
 * keys of the rows of the result.
 * @param {import("./paths.js").PathIndex} capture @param {string[]} places
 * @param {import("./paths.js").PathIndex} result @param {string[]} results @param {AbortSignal} signal
 */
export async function linkSides(capture, places, result, results, signal) {
    const pacer = new Pacer();
    const meanings = await learnTokens(results, places, pacer, signal);
    /** @type {Map<string, number>} */
    const rows = new Map();
    for (const [row, key] of results.entries()) {
        const [head, tail] = splitAtToken(key) ?? ["", ""];
        const meaning = meanings.get(head);
        rows.set(meaning === undefined ? withoutBars(key) : meaning + tail, row);
        if (pacer.isTime(row)) {
            await pacer.rest(signal);
        }
    }
    for (const [row, place] of places.entries()) {
        const found = place === "" ? undefined : rows.get(place);
        if (found !== undefined) {
            capture.others[row] = found;
            if (result.others[found] < 0) {
                result.others[found] = row;
            }
        }
        if (pacer.isTime(row)) {
            await pacer.rest(signal);
        }
    }
}
