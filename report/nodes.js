// The nodes of a tree of paths. A node is made when its parent is opened, and an open one knows how
// many rows it takes, so that any row is found from the root.

/**
 * `range` is the node's part of the sorted paths, `starts` is where its children begin, null while it
 * is closed. `open` are its open children in their order; `rows` is how many rows are shown below it.
 * @typedef {{range: import("./paths.js").PathRange, parent: Node|null, position: number,
 *   starts: Uint32Array|null, open: Node[], rows: number, level: number}} Node
 */

export class OpenNodes {
    /** @param {import("./paths.js").PathIndex} index */
    constructor(index) {
        this.index = index;
        this.root = makeNode(index.root(), null, 0);
        this.expand(this.root);
        this.#openWhileAlone();
    }

    /** Opens the first nodes as long as there is nothing to choose from. */
    #openWhileAlone() {
        let node = this.root;
        while (node.starts?.length === 1 && node.level < 4) {
            node = this.child(node, 0);
            this.expand(node);
        }
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
        return makeNode(range, node, position);
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

    /** Opens what is above a path, and returns its node, or one above it of at least this depth. @param {number} path @param {number} depth */
    find(path, depth) {
        let node = this.root;
        while (path >= node.range.from + node.range.own && (node === this.root || node.range.depth < depth)) {
            this.expand(node);
            const starts = /** @type {Uint32Array} */ (node.starts);
            let low = 0;
            for (let high = starts.length; high - low > 1;) {
                const middle = (low + high) >> 1;
                [low, high] = starts[middle] <= path ? [middle, high] : [low, middle];
            }
            node = this.child(node, low);
        }
        return node;
    }
}

/** @param {import("./paths.js").PathRange} range @param {Node|null} parent @param {number} position @returns {Node} */
function makeNode(range, parent, position) {
    return { range, parent, position, starts: null, open: [], rows: 0, level: parent ? parent.level + 1 : 0 };
}
