// The data of the report: the summary, which is read at once, and the slices, which are read when
// something needs their rows.

/**
 * @typedef {{guid?: string, name?: string, manifest?: string, properties?: Record<string, string>,
 *   items?: Record<string, number>, sizes?: Record<string, number>, outcomes?: Record<string, Record<string, number>>,
 *   rules?: [string, number][], otherRules?: number, losses?: number, missing?: number, files?: number, bytes?: number,
 *   largest?: [string, number][], folders?: [string, number, number][],
 *   slices?: {items?: number[], record?: number[], files?: number[]}}} Target
 * @typedef {{name?: string, place?: string, status?: string, problems?: string[], log?: number[],
 *   losses?: number, missing?: number, outcomes?: Record<string, Record<string, number>>,
 *   targets?: Target[], slices?: {record?: number[]}}} Package
 * @typedef {{kind?: string, says?: string, advice?: string}} Reason
 * @typedef {{program?: string, reasons?: Record<string, Reason>, packages?: Package[]}} Summary
 * @typedef {any[]} Row
 * @typedef {{pack: number, target: number, kind: "items"|"record"|"files"|"log"}} Owner
 */

// More rows than this are never in one slice.
const rowsInSlice = 4096;

// Kinds of reasons, the worst first; all others are no trouble.
const kindsOfTrouble = ["loss", "missing"];

// While one slice is looked at, so many others are being unpacked.
const slicesAhead = 4;

// INVARIANT: the cache has the slices that were read last, as rows, at most this many. It must be
// more than the rows that any list shows at once, or such a list never has all of its rows.
const maxCached = 96;

/** The place of a row in the whole report. @param {number} slice @param {number} row */
export function makeRef(slice, row) {
    return slice * rowsInSlice + row;
}

/** @param {number} ref */
function sliceOf(ref) {
    return Math.floor(ref / rowsInSlice);
}

/** Lets the browser draw and take input. @returns {Promise<void>} */
export function pause() {
    return new Promise((resolve) => {
        const channel = new MessageChannel();
        channel.port1.onmessage = () => {
            channel.port1.close();
            resolve();
        };
        channel.port2.postMessage(0);
    });
}

/** Pauses when the time since the last pause would be felt. */
export class Pacer {
    last = performance.now();

    /** Whether a pause is due. */
    isDue() {
        return performance.now() - this.last > 12;
    }

    /** The same for a loop, which need not look at the clock in each round. @param {number} round */
    isTime(round) {
        return round % 1024 === 0 && this.isDue();
    }

    /** Pauses if one is due; throws when the work was called off. @param {AbortSignal} [signal] */
    async rest(signal) {
        if (this.isDue()) {
            await pause();
            this.last = performance.now();
        }
        signal?.throwIfAborted();
    }
}

export class Store {
    /** @param {Document} page */
    constructor(page) {
        this.page = page;
        /** @type {Summary} */
        this.summary = JSON.parse(page.getElementById("summary")?.textContent ?? "{}");
        this.packages = this.summary.packages ?? [];
        /** @type {Map<number, Owner>} */
        this.owners = new Map();
        /** @type {Map<number, Row[]>} */
        this.cache = new Map();
        /** @type {Map<number, Promise<Row[]>>} */
        this.reading = new Map();
        /** @type {(text: string) => void} */
        this.onfault = () => {};
        this.#findOwners();
    }

    #findOwners() {
        this.packages.forEach((pack, index) => {
            this.#own(pack.log, { pack: index, target: -1, kind: "log" });
            this.#own(pack.slices?.record, { pack: index, target: -1, kind: "record" });
            (pack.targets ?? []).forEach((one, target) => {
                this.#own(one.slices?.items, { pack: index, target, kind: "items" });
                this.#own(one.slices?.record, { pack: index, target, kind: "record" });
                this.#own(one.slices?.files, { pack: index, target, kind: "files" });
            });
        });
    }

    /** @param {number[]|undefined} ids @param {Owner} owner */
    #own(ids, owner) {
        for (const id of ids ?? []) {
            this.owners.set(id, owner);
        }
    }

    /** What a reason says, its code when the report does not tell. @param {string} code @returns {Reason} */
    reason(code) {
        return Object.hasOwn(this.summary.reasons ?? {}, code) ? (this.summary.reasons ?? {})[code] : { says: code };
    }

    /** The place of a reason in a list that begins with the worst. @param {string} code */
    rank(code) {
        const at = kindsOfTrouble.indexOf(this.reason(code).kind ?? "");
        return at < 0 ? kindsOfTrouble.length : at;
    }

    /** Whether a reason tells of something that is lost or missing. @param {string} code */
    isTrouble(code) {
        return this.rank(code) < kindsOfTrouble.length;
    }

    /** Whose a row is. @param {number} ref */
    ownerOf(ref) {
        return this.owners.get(sliceOf(ref));
    }

    /** A row if it is at hand. @param {number} ref */
    peekRow(ref) {
        const rows = this.peek(sliceOf(ref));
        return rows && (rows[ref % rowsInSlice] ?? []);
    }

    /** @param {number} ref @returns {Promise<Row>} */
    async readRow(ref) {
        const rows = await this.read(sliceOf(ref));
        return rows[ref % rowsInSlice] ?? [];
    }

    /** @param {number} id */
    #tellDamage(id) {
        this.onfault(`Part ${id} of this report is damaged. What it has is not shown.`);
    }

    /**
     * The JSON of a slice. One that is damaged is told and has no rows.
     * @param {number} id @returns {Promise<string>}
     */
    async text(id) {
        try {
            const packed = atob(this.page.getElementById("d" + id)?.textContent ?? "");
            const bytes = new Uint8Array(packed.length);
            for (let at = 0; at < bytes.length; at++) {
                bytes[at] = packed.charCodeAt(at);
            }
            const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("gzip"));
            return await new Response(stream).text();
        } catch {
            this.#tellDamage(id);
            return "[]";
        }
    }

    /** The rows of a slice if they are at hand. @param {number} id */
    peek(id) {
        const rows = this.cache.get(id);
        if (rows) {
            this.cache.delete(id);
            this.cache.set(id, rows);
        }
        return rows;
    }

    /** The rows of a slice. @param {number} id @returns {Promise<Row[]>} */
    async read(id) {
        return this.peek(id) ?? this.reading.get(id) ?? this.#load(id);
    }

    /** Rows without a place in the cache, for who reads all slices once. @param {number} id */
    async readOnce(id) {
        return this.peek(id) ?? this.parse(id, await this.text(id));
    }

    /**
     * What `get` gives for slices, in their order.
     * @template T @param {number[]} ids @param {(id: number) => Promise<T>} get
     * @returns {AsyncGenerator<[number, T]>} the slice, and what was got
     */
    async *inOrder(ids, get) {
        /** @type {Promise<T>[]} */
        const waiting = [];
        let next = 0;
        for (const id of ids) {
            while (waiting.length <= slicesAhead && next < ids.length) {
                waiting.push(get(ids[next++]));
            }
            yield [id, await /** @type {Promise<T>} */ (waiting.shift())];
        }
    }

    /** The rows of slices, in their order. @param {number[]} ids */
    rowsOf(ids) {
        return this.inOrder(ids, (id) => this.readOnce(id));
    }

    /** @param {number} id */
    #load(id) {
        const loading = this.readOnce(id).then((rows) => {
            this.reading.delete(id);
            this.cache.set(id, rows);
            while (this.cache.size > maxCached) {
                this.cache.delete(/** @type {number} */ (this.cache.keys().next().value));
            }
            return rows;
        });
        this.reading.set(id, loading);
        return loading;
    }

    /** @param {number} id @param {string} text @returns {Row[]} */
    parse(id, text) {
        try {
            return JSON.parse(text);
        } catch {
            this.#tellDamage(id);
            return [];
        }
    }
}
