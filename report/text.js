// Elements and texts. Names come from packages and may hold anything: they reach the page as text
// only, and what could not be seen in them is shown as an escape.

// Controls, marks of direction, characters without a width, and halves of surrogate pairs, which
// with the flag "u" match only where the other half is missing.
const unseen =
    // eslint-disable-next-line no-control-regex, no-misleading-character-class
    /[\0-\x1f\x7f-\x9f\xad\u061c\u115f\u1160\u17b4\u17b5\u180b-\u180e\u200b-\u200f\u2028-\u202e\u2060-\u206f\u3164\ud800-\udfff\ufeff\uffa0\ufff0-\ufffb\u{e0000}-\u{e0fff}]/gu;

// Longer texts are cut in the middle: how much of both ends stays in the page.
const maxHead = 400;
const maxTail = 28;
const maxTitle = 2000;

/** What names on the page say before anything in them is replaced or cut. @type {WeakMap<Node, string>} */
const realTexts = new WeakMap();

/** @param {string} character */
function escapeOf(character) {
    return "\\u" + /** @type {number} */ (character.codePointAt(0)).toString(16).padStart(4, "0");
}

/** The text with escapes for what cannot be seen. @param {string} text */
export function plain(text) {
    return text.replace(unseen, escapeOf);
}

/** The text as nodes, in which escapes differ from the same characters in a name. @param {string} text */
export function marked(text) {
    const nodes = document.createDocumentFragment();
    let from = 0;
    for (const match of text.matchAll(unseen)) {
        nodes.append(text.slice(from, match.index));
        const title = "The character U+" + escapeOf(match[0]).slice(2).toUpperCase();
        nodes.append(build("span", { class: "escape", title }, escapeOf(match[0])));
        from = match.index + match[0].length;
    }
    nodes.append(text.slice(from));
    return nodes;
}

/**
 * Makes an element. Of the options, "class" and attributes are set, functions are handlers of the
 * event that their names say, such as "onclick".
 * @param {string} tag
 * @param {Record<string, any>} [options]
 * @param {...(Node|string|null|undefined|false)} children
 * @returns {HTMLElement}
 */
export function build(tag, options = {}, ...children) {
    const element = document.createElement(tag);
    for (const [key, value] of Object.entries(options)) {
        if (typeof value === "function") {
            element.addEventListener(key.slice(2), value);
        } else if (value !== false && value !== null && value !== undefined) {
            element.setAttribute(key, value === true ? "" : String(value));
        }
    }
    element.append(...children.flatMap((child) => child || []));
    return element;
}

/** Moves a border between two units so that no surrogate pair is cut. @param {string} text @param {number} at */
function betweenCharacters(text, at) {
    return /[\ud800-\udbff]/.test(text[at - 1] ?? "") && /[\udc00-\udfff]/.test(text[at] ?? "") ? at - 1 : at;
}

/**
 * A name on one line. Where it is too long for its place it is cut in the middle, and the title has
 * all of it; copying gives the real name.
 * @param {string} text
 * @param {string} [empty] what is shown instead of an empty name
 */
export function nameOf(text, empty = "(no name)") {
    if (text === "") {
        return build("span", { class: "name quiet" }, empty);
    }
    const long = text.length > maxHead + maxTail;
    const split = betweenCharacters(text, text.length > 2 * maxTail ? text.length - maxTail : text.length);
    const head = text.slice(0, long ? betweenCharacters(text, maxHead) : split);
    const title = plain(text.slice(0, betweenCharacters(text, maxTitle)));
    const element = build(
        "span",
        { class: "name", title: text.length > maxTitle ? `${title}… (${count(text.length, "character")})` : title },
        build("span", { class: "head" }, marked(head), long && "…"),
        split < text.length && build("span", { class: "tail" }, build("span", {}, marked(text.slice(split)))),
    );
    realTexts.set(element, text);
    return element;
}

/** A text that may break anywhere, of which only the end is cut if it is very long. @param {string} text */
export function wholeText(text) {
    const long = text.length > maxTitle;
    const shown = long ? text.slice(0, betweenCharacters(text, maxTitle)) : text;
    const element = build("span", { class: "whole" }, marked(shown), long && `… (${count(text.length, "character")})`);
    realTexts.set(element, text);
    return element;
}

/** A button that copies the real text. @param {string} text */
export function copyButton(text) {
    return build("button", { type: "button", class: "copy", onclick: () => copyText(text) }, "Copy");
}

/** @type {string|null} */
let copied = null;

/** @param {string} text */
function copyText(text) {
    copied = text;
    document.execCommand("copy");
    copied = null;
}

/** Gives the clipboard the real text of a name in which the selection begins and ends. @param {ClipboardEvent} event */
export function onCopy(event) {
    const selection = getSelection();
    let real = copied;
    for (let node = selection?.anchorNode ?? null; node && real === null; node = node.parentNode) {
        // A part of a name that was selected on purpose is copied as it is.
        const text = realTexts.get(node);
        if (text !== undefined && node.contains(selection?.focusNode ?? null)) {
            real = String(selection).length < (node.textContent ?? "").length / 2 ? null : text;
            break;
        }
    }
    if (real !== null && event.clipboardData) {
        event.clipboardData.setData("text/plain", real);
        event.preventDefault();
    }
}

const numbers = new Intl.NumberFormat("en");

/** @param {number} value */
export function number(value) {
    return numbers.format(value);
}

/** "1 file", "2 files". @param {number} value @param {string} one @param {string} [many] */
export function count(value, one, many = one + "s") {
    return `${number(value)} ${value === 1 ? one : many}`;
}

/** A size as people read it. @param {number} bytes */
export function size(bytes) {
    const units = ["B", "KiB", "MiB", "GiB", "TiB", "PiB"];
    let unit = 0;
    let value = bytes;
    while (value >= 1024 && unit + 1 < units.length) {
        value /= 1024;
        unit += 1;
    }
    return `${unit === 0 || value >= 100 ? number(Math.round(value)) : value.toFixed(1)}\u00a0${units[unit]}`;
}

/** "left out" as the beginning of a heading. @param {string} text */
export function capital(text) {
    return text.charAt(0).toUpperCase() + text.slice(1);
}

/** A label for an outcome or a status: a word and a sign, with a colour besides. @param {string} word @param {string} [text] */
export function badge(word, text = word) {
    const signs = /** @type {Record<string, string>} */ ({
        whole: "✓", created: "+", deleted: "−", "not whole": "!", failed: "✕", "not read": "✕", unknown: "?",
        error: "✕", warning: "!", "left out": "○", claimed: "→", merged: "=",
    });
    const sign = build("span", { class: "sign", "aria-hidden": "true" }, Object.hasOwn(signs, word) ? signs[word] : "·");
    return build("span", { class: "badge " + word.replace(/[^a-z]/g, "-") }, sign, plain(text));
}
