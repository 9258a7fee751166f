// The rules for the page's modules and for their tests. The tools are fetched into the build folder,
// which the test names by ORV_NODE_MODULES.
import { createRequire } from "node:module";
import { fileURLToPath } from "node:url";

const require = createRequire((process.env.ORV_NODE_MODULES ?? fileURLToPath(new URL("node_modules", import.meta.url))) + "/");
const js = require("@eslint/js");

const browser = [
    "AbortController", "Blob", "DecompressionStream", "Element", "HTMLDetailsElement", "HTMLElement", "MessageChannel",
    "ResizeObserver", "Response", "URLSearchParams", "addEventListener", "atob", "clearTimeout", "document", "getSelection", "history", "location",
    "performance", "requestAnimationFrame", "scrollTo", "window",
];
// The tests have functions that run in the page.
const node = [
    ...browser, "Buffer", "ClipboardEvent", "DataTransfer", "Event", "URL", "dispatchEvent", "getComputedStyle", "innerWidth",
    "process",
];

/** @param {string[]} names */
function readonly(names) {
    return Object.fromEntries(names.map((name) => [name, "readonly"]));
}

const rules = {
    ...js.configs.recommended.rules,
    "eqeqeq": "error",
    "no-restricted-properties": ["error", { property: "innerHTML" }, { property: "outerHTML" }, { property: "insertAdjacentHTML" }],
    "no-shadow": "error",
    "no-var": "error",
    "prefer-const": "error",
};

export default [
    { files: ["**/*.js"], ignores: ["**/eslint.config.js"], languageOptions: { globals: readonly(browser) }, rules },
    { files: ["**/*.mjs", "eslint.config.js"], languageOptions: { globals: readonly(node) }, rules },
];
