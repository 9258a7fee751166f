// A list of any length, of which only the rows in sight are in the page. All rows have one height.
// One row is the active one: arrow keys move it, Enter or a click chooses it.

import { build, count } from "./text.js";

export const rowHeight = 28;

// Browsers have a greatest height of elements, 17 million pixels or more. Beyond this one, the place
// of the scroll bar is scaled.
const maxHeight = 15_000_000;

// Rows above and below what is in sight.
const spare = 6;
const rowsInPrint = 50;

// The lists in the page; dropLists takes out those that have left it.
/** @type {Set<RowList>} */
const lists = new Set();
let nextId = 0;

/**
 * @typedef {object} RowListOptions
 * @property {string} label what the list is, for those who do not see it
 * @property {(index: number, row: HTMLElement) => void} draw fills the element of a row
 * @property {(index: number) => void} [choose] called for Enter and clicks
 * @property {string} [role]
 * @property {string} [rowRole]
 * @property {number} [maxRows] the list is as high as this many rows at most; absent: as high as the style says
 * @property {number} [rowsInPrint]
 */
export class RowList {
    /** @param {RowListOptions} options */
    constructor(options) {
        this.options = options;
        this.count = 0;
        this.active = 0;
        this.id = `rows${nextId++}`;
        this.frame = 0;
        this.printing = false;
        this.window = build("div", { class: "window", role: "presentation" });
        this.space = build("div", { class: "space", role: "presentation" }, this.window);
        this.more = build("p", { class: "more", hidden: true });
        this.element = build(
            "div",
            {
                class: "rows", tabindex: "0", role: options.role ?? "listbox", "aria-label": options.label,
                onscroll: () => this.redrawSoon(),
                onkeydown: (/** @type {KeyboardEvent} */ event) => this.onKey(event),
                onclick: (/** @type {MouseEvent} */ event) => this.#onClick(event),
                onfocus: () => this.redrawSoon(),
            },
            this.space,
        );
        this.whole = build("div", { class: "list" }, this.element, this.more);
        this.observer = new ResizeObserver(() => this.redrawSoon());
        this.observer.observe(this.element);
    }

    /** @param {number} value */
    setCount(value) {
        this.count = value;
        this.active = Math.max(0, Math.min(this.active, value - 1));
        this.space.style.height = `${Math.min(value * rowHeight, maxHeight)}px`;
        if (this.options.maxRows) {
            this.element.style.height = `${Math.max(1, Math.min(value, this.options.maxRows)) * rowHeight + 2}px`;
        }
        this.redrawSoon();
    }

    /** How many pixels of all rows are above what is in sight. */
    #offset() {
        const inView = this.element.clientHeight;
        const real = this.count * rowHeight;
        const range = Math.min(real, maxHeight) - inView;
        return real <= maxHeight || range <= 0
            ? this.element.scrollTop
            : (this.element.scrollTop / range) * (real - inView);
    }

    redrawSoon() {
        this.frame ||= requestAnimationFrame(() => {
            this.frame = 0;
            this.redraw();
        });
    }

    redraw() {
        if (!this.whole.isConnected) {
            return;
        }
        lists.add(this);
        this.observer.observe(this.element);
        const offset = this.#offset();
        const first = this.printing ? 0 : Math.max(0, Math.floor(offset / rowHeight) - spare);
        const inPrint = this.options.rowsInPrint ?? rowsInPrint;
        const length = this.printing ? inPrint : Math.ceil(this.element.clientHeight / rowHeight) + 2 * spare;
        const last = Math.min(this.count, first + length);
        const rows = [];
        for (let index = first; index < last; index++) {
            rows.push(this.#makeRow(index));
        }
        this.window.style.transform = `translateY(${this.element.scrollTop + first * rowHeight - offset}px)`;
        this.window.replaceChildren(...rows);
        this.more.hidden = !this.printing || last >= this.count;
        this.more.textContent = `and ${count(this.count - last, "more row")} that the page shows on a screen`;
        const shown = this.active >= first && this.active < last && this.count > 0;
        this.element.setAttribute("aria-activedescendant", shown ? `${this.id}-${this.active}` : "");
    }

    /** @param {number} index */
    #makeRow(index) {
        const row = build("div", {
            class: "row" + (index === this.active ? " active" : ""),
            id: `${this.id}-${index}`,
            role: this.options.rowRole ?? "option",
            "aria-posinset": index + 1,
            "aria-setsize": this.count,
            "aria-selected": String(index === this.active),
        });
        this.options.draw(index, row);
        return row;
    }

    /** Makes a row the active one and brings it into sight. @param {number} index */
    activate(index) {
        this.active = Math.max(0, Math.min(index, this.count - 1));
        const inView = Math.max(this.element.clientHeight, rowHeight);
        const offset = this.#offset();
        const top = this.active * rowHeight;
        if (top < offset || top + rowHeight > offset + inView) {
            const wanted = top < offset ? top : top + rowHeight - inView;
            const real = this.count * rowHeight;
            const scale = real <= maxHeight ? 1 : (maxHeight - inView) / (real - inView);
            this.element.scrollTop = wanted * scale;
        }
        this.redraw();
    }

    /** Takes what every list takes. @param {KeyboardEvent} event @returns {boolean} whether it did */
    onKey(event) {
        const page = Math.max(1, Math.floor(this.element.clientHeight / rowHeight) - 1);
        const steps = /** @type {Record<string, number>} */ ({
            ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -this.count, End: this.count,
        });
        if (event.altKey || event.ctrlKey || event.metaKey || this.count === 0) {
            return false;
        }
        if (event.key in steps) {
            this.activate(this.active + steps[event.key]);
        } else if (event.key === "Enter" && this.options.choose) {
            this.options.choose(this.active);
        } else {
            return false;
        }
        event.preventDefault();
        return true;
    }

    /** @param {MouseEvent} event */
    #onClick(event) {
        // By the place and not by the element, because rows may be drawn anew while the button is down.
        const top = this.element.getBoundingClientRect().top + this.element.clientTop;
        const index = Math.floor((event.clientY - top + this.#offset()) / rowHeight);
        if (index >= 0 && index < this.count && !getSelection()?.toString()) {
            this.activate(index);
            this.options.choose?.(index);
        }
    }
}

/** Draws the first rows of all lists for the printer, or what is in sight again. @param {boolean} printing */
export function setPrinting(printing) {
    for (const list of lists) {
        if (list.whole.isConnected) {
            list.printing = printing;
            list.redraw();
        }
    }
}

/** Forgets the lists that are no longer in the page. */
export function dropLists() {
    for (const list of lists) {
        if (!list.whole.isConnected) {
            list.observer.disconnect();
            lists.delete(list);
        }
    }
}
