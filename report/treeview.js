// A tree of paths of which only the rows in sight exist. Nodes are made when their parent is opened;
// an open node knows how many rows it takes, so that any row is found from the root.

import { RowList } from "./rows.js";
import { badge, build, nameOf, number, plain, size } from "./text.js";
import { outcomes } from "./paths.js";

// How long a letter waits for the next one when somebody types a name, in milliseconds.
const typingTime = 800;

// How many rows typing looks at.
const maxTyped = 20000;

/**
 * A node. `open` are its open children in their order; `rows` is how many rows are shown below it.
 * @typedef {{range: import("./paths.js").PathRange, parent: Node|null, position: number,
 *   starts: Uint32Array|null, open: Node[], rows: number, level: number}} Node
 */

export class TreeView {
    /**
     * @param {import("./paths.js").PathIndex} index
     * @param {{label: string, choose: (node: Node) => void}} options
     */
    constructor(index, options) {
        this.index = index;
        this.choose = options.choose;
        this.root = this.#makeNode(index.root(), null, 0);
        this.typed = "";
        this.typedAt = 0;
        this.list = new RowList({
            label: options.label,
            role: "tree",
            rowRole: "treeitem",
            draw: (at, row) => this.#draw(at, row),
            choose: (at) => this.choose(this.nodeAt(at)),
        });
        this.list.element.addEventListener("keydown", (event) => this.#onKey(event));
        this.list.element.addEventListener("dblclick", () => this.#toggle(this.list.active));
        this.list.element.addEventListener("click", (event) => {
            if (event.target instanceof Element && event.target.classList.contains("twist")) {
                this.#toggle(this.list.active);
            }
        });
        this.expand(this.root);
        this.#openWhileAlone();
    }

    /** @param {import("./paths.js").PathRange} range @param {Node|null} parent @param {number} position @returns {Node} */
    #makeNode(range, parent, position) {
        return { range, parent, position, starts: null, open: [], rows: 0, level: parent ? parent.level + 1 : 0 };
    }

    /** Opens the first nodes as long as there is nothing to choose from. */
    #openWhileAlone() {
        let node = this.root;
        while (node.starts?.length === 1 && node.level < 4) {
            node = this.child(node, 0);
            this.expand(node);
        }
        this.#update();
    }

    #update() {
        this.list.setCount(this.root.rows);
    }

    /** @param {Node} node */
    isOpen(node) {
        return node.starts !== null;
    }

    /** @param {Node} node */
    hasChildren(node) {
        return node.range.from + node.range.own < node.range.to;
    }

    /** @param {Node} node */
    expand(node) {
        if (this.isOpen(node) || !this.hasChildren(node)) {
            return;
        }
        node.starts = this.index.childStarts(node.range);
        this.#grow(node, node.starts.length);
        const siblings = node.parent?.open;
        const at = siblings?.findIndex((one) => one.position > node.position) ?? -1;
        siblings?.splice(at < 0 ? siblings.length : at, 0, node);
    }

    /** @param {Node} node */
    collapse(node) {
        this.#grow(node, -node.rows);
        node.starts = null;
        node.open = [];
        const siblings = node.parent?.open ?? [];
        siblings.splice(siblings.indexOf(node), 1);
    }

    /** @param {Node} node @param {number} rows */
    #grow(node, rows) {
        /** @type {Node|null} */
        let one = node;
        while (one) {
            one.rows += rows;
            one = one.parent;
        }
    }

    /** The child of an open node. @param {Node} node @param {number} position @returns {Node} */
    child(node, position) {
        const open = node.open.find((one) => one.position === position);
        if (open) {
            return open;
        }
        const starts = /** @type {Uint32Array} */ (node.starts);
        const range = this.index.makeRange(starts[position], starts[position + 1] ?? node.range.to);
        return this.#makeNode(range, node, position);
    }

    /** @param {number} at the number of a row @returns {Node} */
    nodeAt(at) {
        let node = this.root;
        for (;;) {
            let rows = 0;
            /** @type {Node|null} */
            let next = null;
            for (const one of node.open) {
                const first = one.position + rows;
                if (at < first) {
                    break;
                }
                if (at <= first + one.rows) {
                    next = one;
                    at -= first + 1;
                    break;
                }
                rows += one.rows;
            }
            if (!next) {
                return this.child(node, at - rows);
            }
            if (at < 0) {
                return next;
            }
            node = next;
        }
    }

    /** The number of a node's row. @param {Node} node */
    rowOf(node) {
        let at = -1;
        let one = node;
        while (one.parent) {
            at += one.position + 1;
            for (const sibling of one.parent.open) {
                at += sibling.position < one.position ? sibling.rows : 0;
            }
            one = one.parent;
        }
        return at;
    }

    /** What a node is called: the parts that it adds to those of its parent. @param {Node} node */
    nameOf(node) {
        const from = node.parent?.range.depth ?? 0;
        return this.index.partsOf(node.range.from, from, node.range.depth);
    }

    /** @param {Node} node */
    pathOf(node) {
        return this.index.partsOf(node.range.from, 0, node.range.depth);
    }

    /** @param {number} at @param {HTMLElement} row */
    #draw(at, row) {
        const node = this.nodeAt(at);
        const siblings = node.parent?.starts?.length ?? 1;
        row.setAttribute("aria-level", String(node.level));
        row.setAttribute("aria-posinset", String(node.position + 1));
        row.setAttribute("aria-setsize", String(siblings));
        const below = this.hasChildren(node);
        if (below) {
            row.setAttribute("aria-expanded", String(this.isOpen(node)));
        }
        const twist = build("span", { class: below ? "twist" : "twist none", "aria-hidden": "true" }, this.isOpen(node) ? "▾" : "▸");
        twist.style.marginInlineStart = `${Math.min(node.level - 1, 24) * 14}px`;
        row.append(twist, nameOf(this.nameOf(node)), this.#describe(node));
    }

    /** How many rows are below a node, and what became of them. @param {Node} node */
    #describe(node) {
        const counts = this.index.tally(node.range);
        const total = node.range.to - node.range.from;
        const bytes = this.index.sizeOf(node.range);
        const side = build("span", { class: "side" });
        if (total === 1 || !this.hasChildren(node)) {
            const shown = outcomes.filter((_, at) => counts[at] > 0);
            side.append(...shown.slice(-2).map((outcome) => badge(outcome)));
        } else {
            side.append(build("span", { class: "quiet number" }, number(total - node.range.own)));
            outcomes.forEach((outcome, at) => {
                if (counts[at] > 0 && outcome !== "created") {
                    side.append(badge(outcome, `${number(counts[at])} ${outcome}`));
                }
            });
        }
        if (bytes > 0) {
            side.append(build("span", { class: "quiet number" }, size(bytes)));
        }
        return side;
    }

    /** @param {number} at */
    #toggle(at) {
        const node = this.nodeAt(at);
        if (this.isOpen(node)) {
            this.collapse(node);
        } else {
            this.expand(node);
        }
        this.#update();
    }

    /** Opens what is above a row, and makes its node of at most this depth the active one. @param {number} row @param {number} depth */
    reveal(row, depth) {
        let node = this.root;
        while (row >= node.range.from + node.range.own && (node === this.root || node.range.depth < depth)) {
            this.expand(node);
            const starts = /** @type {Uint32Array} */ (node.starts);
            let low = 0;
            for (let high = starts.length; high - low > 1;) {
                const middle = (low + high) >> 1;
                [low, high] = starts[middle] <= row ? [middle, high] : [low, middle];
            }
            node = this.child(node, low);
        }
        this.#update();
        this.list.activate(this.rowOf(node));
        return node;
    }

    /** @param {KeyboardEvent} event */
    #onKey(event) {
        if (this.list.count === 0 || event.altKey || event.ctrlKey || event.metaKey) {
            return;
        }
        const node = this.nodeAt(this.list.active);
        if (event.key === "ArrowRight") {
            if (this.isOpen(node)) {
                this.list.activate(this.list.active + 1);
            } else if (this.hasChildren(node)) {
                this.#toggle(this.list.active);
            }
        } else if (event.key === "ArrowLeft") {
            if (this.isOpen(node)) {
                this.#toggle(this.list.active);
            } else if (node.parent && node.parent !== this.root) {
                this.list.activate(this.rowOf(node.parent));
            }
        } else if (event.key === " ") {
            this.choose(node);
        } else if (event.key.length === 1 && event.key !== "/") {
            this.#type(event.key, event.timeStamp);
        } else {
            return;
        }
        event.preventDefault();
    }

    /** Goes to the next row whose name begins with what is typed. @param {string} letter @param {number} now */
    #type(letter, now) {
        this.typed = (now - this.typedAt > typingTime ? "" : this.typed) + letter.toLowerCase();
        this.typedAt = now;
        const first = this.typed.length === 1 ? 1 : 0;
        for (let step = first; step < Math.min(this.list.count, maxTyped); step++) {
            const at = (this.list.active + step) % this.list.count;
            if (plain(this.nameOf(this.nodeAt(at))).toLowerCase().startsWith(this.typed)) {
                this.list.activate(at);
                return;
            }
        }
    }
}
