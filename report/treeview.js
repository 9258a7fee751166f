// A tree of paths as a list of rows, of which only those in sight are in the page.

import { RowList } from "./rows.js";
import { badge, build, nameOf, number, plain, size } from "./text.js";
import { OpenNodes } from "./nodes.js";
import { outcomes } from "./paths.js";

// How long a letter waits for the next one when somebody types a name, in milliseconds.
const typingTime = 800;

// How many rows typing looks at.
const maxTyped = 150_000;

/** @typedef {import("./nodes.js").Node} Node */

export class TreeView {
    /**
     * @param {import("./paths.js").PathIndex} index
     * @param {{label: string, quiet: string, choose: (node: Node) => void}} options `quiet` is an
     *   outcome that goes without saying
     */
    constructor(index, options) {
        this.index = index;
        this.quiet = options.quiet;
        this.choose = options.choose;
        this.nodes = new OpenNodes(index);
        this.typed = "";
        this.typedAt = 0;
        this.list = new RowList({
            label: options.label,
            role: "tree",
            rowRole: "treeitem",
            draw: (at, row) => this.#draw(at, row),
            choose: (at) => this.choose(this.nodes.nodeAt(at)),
        });
        this.list.element.addEventListener("keydown", (event) => this.#onKey(event));
        this.list.element.addEventListener("dblclick", () => this.#toggle(this.list.active));
        this.list.element.addEventListener("click", (event) => {
            if (event.target instanceof Element && event.target.classList.contains("twist")) {
                this.#toggle(this.list.active);
            }
        });
        this.#update();
    }

    #update() {
        this.list.setCount(this.nodes.root.rows);
    }

    /** @param {number} at @param {HTMLElement} row */
    #draw(at, row) {
        const node = this.nodes.nodeAt(at);
        const siblings = node.parent?.starts?.length ?? 1;
        row.setAttribute("aria-level", String(node.level));
        row.setAttribute("aria-posinset", String(node.position + 1));
        row.setAttribute("aria-setsize", String(siblings));
        const below = this.nodes.hasChildren(node);
        if (below) {
            row.setAttribute("aria-expanded", String(this.nodes.isOpen(node)));
        }
        const twist = build("span", { class: below ? "twist" : "twist none", "aria-hidden": "true" }, this.nodes.isOpen(node) ? "▾" : "▸");
        twist.style.marginInlineStart = `${Math.min(node.level - 1, 24) * 14}px`;
        row.append(twist, nameOf(this.nodes.nameOf(node)), this.#describe(node));
    }

    /** How many rows are below a node, and what became of them. @param {Node} node */
    #describe(node) {
        const counts = this.index.tally(node.range);
        const total = node.range.to - node.range.from;
        const bytes = this.index.sizeOf(node.range);
        const side = build("span", { class: "side" });
        if (total === 1 || !this.nodes.hasChildren(node)) {
            const shown = outcomes.filter((one, at) => counts[at] > 0 && one !== this.quiet);
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
        const node = this.nodes.nodeAt(at);
        if (this.nodes.isOpen(node)) {
            this.nodes.collapse(node);
        } else {
            this.nodes.expand(node);
        }
        this.#update();
    }

    /** Shows a path, or what is above it with at least this depth, and returns its node. @param {number} path @param {number} depth */
    reveal(path, depth) {
        const node = this.nodes.find(path, depth);
        this.#update();
        this.list.activate(this.nodes.rowOf(node));
        return node;
    }

    /** @param {KeyboardEvent} event */
    #onKey(event) {
        if (this.list.count === 0 || event.altKey || event.ctrlKey || event.metaKey) {
            return;
        }
        const node = this.nodes.nodeAt(this.list.active);
        if (event.key === "ArrowRight") {
            if (this.nodes.isOpen(node)) {
                this.list.activate(this.list.active + 1);
            } else if (this.nodes.hasChildren(node)) {
                this.#toggle(this.list.active);
            }
        } else if (event.key === "ArrowLeft") {
            if (this.nodes.isOpen(node)) {
                this.#toggle(this.list.active);
            } else if (node.parent && node.parent !== this.nodes.root) {
                this.list.activate(this.nodes.rowOf(node.parent));
            }
        } else if (event.key === " " && !this.#isTyping(event.timeStamp)) {
            this.choose(node);
        } else if (event.key.length === 1 && (event.key !== "/" || this.#isTyping(event.timeStamp))) {
            this.#type(event.key, event.timeStamp);
        } else {
            return;
        }
        event.preventDefault();
    }

    /** Whether a key continues a name. @param {number} now */
    #isTyping(now) {
        return this.typed !== "" && now - this.typedAt <= typingTime;
    }

    /** Goes to the next row whose name begins with what is typed. @param {string} letter @param {number} now */
    #type(letter, now) {
        this.typed = (this.#isTyping(now) ? this.typed : "") + letter.toLowerCase();
        this.typedAt = now;
        const first = this.typed.length === 1 ? 1 : 0;
        for (let step = first; step < Math.min(this.list.count, maxTyped); step++) {
            const at = (this.list.active + step) % this.list.count;
            if (plain(this.nodes.nameOf(this.nodes.nodeAt(at))).toLowerCase().startsWith(this.typed)) {
                this.list.activate(at);
                return;
            }
        }
    }
}
