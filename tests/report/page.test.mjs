// The page in a real browser. Reads from the environment: ORV_NODE_MODULES, the folder of the tools;
// ORV_CHROMIUM, the browser; ORV_PAGES, the folder with the pages that make_page.py has made.
import assert from "node:assert/strict";
import { createRequire } from "node:module";
import { after, before, describe, test } from "node:test";
import { pathToFileURL } from "node:url";

const require = createRequire(process.env.ORV_NODE_MODULES + "/");
const puppeteer = require("puppeteer-core");

let browser;
let page;
let faults;

// Opens a page, and fails the test later if it opens a dialog, logs an error, or breaks its policy.
async function open(name, address = "") {
    page = await browser.newPage();
    faults = [];
    page.setDefaultTimeout(120_000);
    page.on("console", (message) => ["error", "warn"].includes(message.type()) && faults.push(message.text()));
    page.on("pageerror", (error) => faults.push(String(error)));
    page.on("request", (request) => request.url().startsWith("file:") || faults.push(request.url().slice(0, 100)));
    page.on("dialog", (dialog) => {
        faults.push("dialog");
        void dialog.dismiss();
    });
    await page.setViewport({ width: 1200, height: 800 });
    await page.goto(pathToFileURL(`${process.env.ORV_PAGES}/${name}.html`).href + address);
}

async function close() {
    assert.deepEqual(faults, []);
    await page.close();
}

function texts(selector) {
    return page.$$eval(selector, (elements) => elements.map((element) => element.textContent));
}

async function waitForText(selector, text) {
    await page.waitForFunction((one, part) => [...document.querySelectorAll(one)].some((element) => element.textContent.includes(part)),
        {}, selector, text);
}

// Clicks when the element stays where it is, since rows that come later move what is below them.
async function click(selector) {
    await page.waitForFunction((one) => {
        const { top } = document.querySelector(one).getBoundingClientRect();
        return top === window.formerTop || void (window.formerTop = top);
    }, { polling: "raf" }, selector);
    await page.click(selector);
}

async function search(term, { kind = "", outcome = "" } = {}) {
    await page.evaluate((...values) => {
        ["term", "kind", "outcome"].forEach((id, at) => (document.getElementById(id).value = values[at]));
        document.getElementById("term").dispatchEvent(new Event("input", { bubbles: true }));
    }, term, kind, outcome);
    await page.waitForSelector(".results[aria-busy=false]");
    return (await texts(".results > [role=status]"))[0];
}

// Searches, and opens the first row that is found, which leads to details of a path with this part.
async function openFirst(term, options, path) {
    await search(term, options);
    await page.focus(".results .rows");
    await page.keyboard.press("Enter");
    await waitForText(".details dd:first-of-type", path);
}

// What the details tell of the other side.
async function otherSide() {
    return (await texts(".details dd:nth-of-type(2)"))[0];
}

function activeRow(pane) {
    return page.$eval(`.pane:nth-child(${pane}) .row.active .name`, (name) => name.textContent);
}

before(async () => {
    const args = process.getuid?.() === 0 ? ["--no-sandbox"] : [];
    browser = await puppeteer.launch({ executablePath: process.env.ORV_CHROMIUM, args: [...args, "--disable-dev-shm-usage"] });
});
after(() => browser?.close());

describe("names that are hostile", () => {
    before(() => open("hostile"));
    after(close);

    test("are shown as text, with escapes for what cannot be seen", async () => {
        await page.waitForSelector(".trouble .row .name");
        assert.equal((await texts("h1"))[0], "</script><img src=x onerror=alert(1)>report\\u202efdp.exe");
        const names = (await texts(".trouble .row .name")).join("\n");
        for (const name of ["<script>alert(1)</script>", "<!--<script>", "\"quotes' & &lt;entities&gt;", "report\\u202efdp.exe",
            "nul\\u0000bell\\u0007escape\\u001b[31mline\\u000afeed\\u2028end", "half \\ud83d and half \\udcc5"]) {
            assert.ok(names.includes(name), name);
        }
        assert.equal(await page.$("img"), null);
        const hidden = await page.evaluate(() => /[\p{Cc}\p{Cf}\p{Cs}\p{Zl}]/u.test(document.querySelector("main").textContent));
        assert.equal(hidden, false);
    });

    test("are cut in the middle, and copied as they are", async () => {
        const copied = await page.evaluate(() => {
            const long = [...document.querySelectorAll(".trouble .name")].find((name) => name.textContent.includes("xxx…"));
            const odd = [...document.querySelectorAll(".trouble .name")].find((name) => name.textContent.includes("u202e"));
            return [long, odd].map((name) => {
                getSelection().selectAllChildren(name);
                const data = new DataTransfer();
                document.dispatchEvent(new ClipboardEvent("copy", { clipboardData: data, cancelable: true }));
                getSelection().removeAllRanges();
                return [name.textContent.length, data.getData("text/plain")];
            });
        });
        const folder = "Z:\\capture\\Device\\C\\Program Files\\App\\";
        assert.ok(copied[0][0] < 1000);
        assert.equal(copied[0][1], folder + "x".repeat(10000));
        assert.equal(copied[1][1], folder + "report\u202efdp.exe");
    });

    test("are in the trees and in the log", async () => {
        await page.evaluate(() => void (location.hash = "#/0/0/log"));
        await waitForText(".row .name", "\\u202efdp.exe");
        await page.evaluate(() => void (location.hash = "#/0/0/files"));
        await waitForText(".pane:nth-child(2) .row", "%CSIDL_PROGRAM_FILES%");
        await waitForText(".pane:nth-child(2) .row", "<script>alert(1)</script>");
        await page.focus(".pane:nth-child(1) .rows");
        await page.keyboard.press("End");
        await page.keyboard.press("Enter");
        await waitForText(".details dd", "%CSIDL_PROGRAM_FILES%\\App");
    });

    test("are found by search, which leads to both trees", async () => {
        assert.equal(await search("REPORT\u202efdp", { kind: "record", outcome: "failed" }), "1 found");
        assert.equal(await search("</SCRIPT><img", { kind: "items" }), "1 found");
        assert.equal(await search("and half", { kind: "files" }), "1 found");
        assert.equal(await search("no such name"), "Nothing has “no such name”.");
        await page.keyboard.press("Escape");
        await page.focus("main");
        await page.keyboard.press("/");
        await page.select("#kind", "items");
        await page.focus("#term");
        await page.keyboard.type("\"quotes'");
        await waitForText(".results > [role=status]", "1 found");
        await page.keyboard.press("Enter");
        await page.keyboard.press("Enter");
        await waitForText(".details", "CSIDL_PROGRAM_FILES%\\App\\\"quotes'");
        assert.equal(await activeRow(1), "\"quotes' & &lt;entities&gt;");
        assert.equal(await activeRow(2), "\"quotes' & &lt;entities&gt;");
        await waitForText(".details dd", "Z:\\capture\\Device\\C\\Program Files\\App\\\"quotes'");
        await page.goBack();
        await waitForText(".results > [role=status]", "1 found");
        await page.keyboard.press("Escape");
        await waitForText("h2", "What failed, and what to do");
    });
});

describe("a package", () => {
    before(() => open("hostile"));
    after(close);

    test("opens a reason and a rule to the names", async () => {
        await page.click(".group .opening summary");
        await waitForText(".group .opening[open] .row", "HKEY_LOCAL_MACHINE\\SOFTWARE\\");
        const shown = await page.$eval(".group .opening[open] .rows", (list) => list.querySelector(".row").getAttribute("aria-setsize"));
        assert.equal(shown, "14");
        await click("[aria-label=Rules] .row:nth-child(2)");
        await waitForText("section .opening[open] .says", "<img src=x onerror=alert(1)>*");
        await waitForText("section > div > .opening[open] .row", "</script><img");
        await waitForText("section > p", "and 1,500 keys by other rules");
    });

    test("prints losses with advice, without what only a screen has", async () => {
        await page.emulateMediaType("print");
        await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
        const text = await page.$eval("main", (main) => main.innerText);
        assert.match(text, /What failed, and what to do[^]*The file cannot be copied\./);
        assert.match(text, /See whether it can be read, and whether the disk is full/);
        assert.match(text, /<script>alert\(1\)<\/script>/);
        assert.equal(await page.$eval("#search", (form) => getComputedStyle(form).display), "none");
        await page.evaluate(() => dispatchEvent(new Event("afterprint")));
        await page.emulateMediaType(null);
    });

    test("is dark where the system is", async () => {
        const lightness = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor.match(/\d+/g).slice(0, 3).reduce((sum, one) => sum + Number(one), 0));
        await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "light" }]);
        assert.ok(await lightness() > 600);
        await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "dark" }]);
        assert.ok(await lightness() < 150);
    });

    test("fits a narrow screen", async () => {
        await page.setViewport({ width: 380, height: 700 });
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), true);
        await page.evaluate(() => void (location.hash = "#/0/0/registry"));
        await page.waitForSelector(".pane .row");
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), true);
    });
});

describe("the page of the program", () => {
    before(() => open("program"));
    after(close);

    test("tells what came, what is lost and what to do", async () => {
        await waitForText(".trouble", "It is a symbolic link");
        await waitForText(".trouble .row .name", "readme.txt");
        await waitForText(".trouble .advice", "Put what it leads to in its place");
        assert.equal((await texts("h1"))[0], "Planner");
        assert.match((await texts(".figure")).join(" "), /Items in the manifest\D*[1-9]/);
        assert.match((await texts(".bars tr")).join("\n"), /^CreateFiles\d+[\d.]+\sKiB$/m);
    });

    test("leads from a file and a value of the result to what was captured, and back", async () => {
        const value = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Tarnbrook Works\\Planner\\First Day";
        await openFirst("tarnbrook.fon", { kind: "items" }, "%CSIDL_");
        assert.match(await otherSide(), /Device.*tarnbrook\.fon/);
        await openFirst("tarnbrook.fon", { kind: "record" }, "\\Device\\");
        assert.match(await otherSide(), /^%CSIDL_.*tarnbrook\.fon/);
        await openFirst("First Day", { kind: "items" }, value);
        assert.match(await otherSide(), /Planner\\First Day/);
    });
});

describe("a thousand packages", () => {
    before(() => open("many"));
    after(close);

    test("are filtered by status, reason and name, and sorted", async () => {
        const total = () => page.$eval(".filters [role=status]", (element) => element.textContent);
        assert.equal(await total(), "1,000 packages");
        await page.select("[aria-label=Status]", "failed");
        assert.equal(await total(), "100 of 1,000 packages");
        await page.select("[aria-label=Status]", "");
        await page.select("[aria-label=Reason]", "copy-failed");
        assert.equal(await total(), "100 of 1,000 packages");
        await waitForText(".row:not(.head)", "not whole");
        await page.select("[aria-label=Reason]", "");
        await page.type("[aria-label='Name or folder']", "/OUT/99");
        assert.equal(await total(), "11 of 1,000 packages");
        await page.click(".head button:nth-child(4)");
        await page.waitForFunction(() => document.querySelector(".rows .row").children[3].textContent === "42");
        await page.click(".head button:nth-child(4)");
        await page.waitForFunction(() => document.querySelector(".rows .row").children[3].textContent === "0");
    });

    test("tell what was lost and left out most in all, and are filtered by a reason that is chosen", async () => {
        await page.reload();
        const [lost, leftOut] = await page.$$eval(".most section", (sections) => sections.map((one) => [...one.querySelectorAll("button")].map((button) => button.innerText.split("\n"))));
        const sum = (lines) => lines.reduce((total, [, numbers]) => total + Number(numbers.split(" ")[0].replace(",", "")), 0);
        assert.equal(sum(lost), await page.evaluate(() => JSON.parse(document.getElementById("summary").textContent).packages.reduce((total, pack) => total + pack.losses, 0)));
        assert.deepEqual(leftOut, [["The isolated application does not see the key.", "1,400 in 600 packages"]]);
        await page.focus(".most section:nth-child(2) button");
        await page.keyboard.press("Enter");
        await waitForText(".filters [role=status]", "600 of 1,000 packages");
        assert.equal(await page.$eval("[aria-label=Reason]", (select) => select.value), "hidden");
        assert.deepEqual(await texts(".most [aria-pressed=true] .whole"), [leftOut[0][0]]);
        await page.keyboard.press("Enter");
        await waitForText(".filters [role=status]", "1,000 packages");
        await page.type("[aria-label='Name or folder']", "/OUT/99");
        await page.waitForFunction(() => document.querySelector(".rows .row .name + .name").textContent.startsWith("99"));
    });

    test("are opened by keyboard, and back leads to the list as it was", async () => {
        await page.focus(".rows");
        await page.keyboard.press("End");
        const name = await page.$eval(".row.active .name", (element) => element.textContent);
        await page.keyboard.press("Enter");
        await page.waitForFunction((wanted) => document.querySelector("h1").textContent === wanted, {}, name);
        await page.evaluate(() => void (location.hash = "#/7"));
        await waitForText(".trouble .advice", "Mend the profile");
        await waitForText(".trouble .row", "Z:\\capture\\7\\app.profile");
        await page.goBack();
        await page.goBack();
        await waitForText(".filters [role=status]", "11 of 1,000 packages");
    });

    test("are all searched", async () => {
        assert.equal(await search("was skipped", { kind: "log" }), "1,000 found");
        assert.equal(await search("big.cab", { outcome: "failed" }), "100 found");
        await page.keyboard.press("Escape");
        await waitForText("h1", "Packages");
    });

    test("are shown where a part of the report is damaged, which is told", async () => {
        await page.evaluate(() => {
            const { log } = JSON.parse(document.getElementById("summary").textContent).packages[0];
            document.getElementById("d" + log[0]).textContent = "H4sIAAAA";
        });
        assert.equal(await search("was skipped", { kind: "log" }), "999 found");
        await waitForText(".fault", "is damaged");
    });
});

describe("half a million values", () => {
    const elements = () => page.$$eval("*", (all) => all.length);
    before(() => open("large"));
    after(close);

    test("are read only when they are needed", async () => {
        await waitForText(".figure", "500,000");
        assert.ok(await elements() < 600);
    });

    test("are found, and the last of them scrolled to", async () => {
        assert.equal(await search("value 49999"), "22 found");
        assert.equal(await search("inprocserver32", { kind: "items" }), "500,000 found");
        await page.focus(".results .rows");
        await page.keyboard.press("End");
        await page.waitForSelector(".row.active[aria-posinset='500000'] .name");
        const bottoms = await page.evaluate(() => [".row.active", ".results .rows"].map((one) => document.querySelector(one).getBoundingClientRect().bottom));
        assert.ok(bottoms[0] <= bottoms[1] + 1);
        assert.ok(await elements() < 900);
    });

    test("are printed as the first of them, with how many more there are", async () => {
        await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
        assert.deepEqual(await texts(".results .more"), ["and 499,950 more rows that the page shows on a screen"]);
        assert.equal((await texts(".results .row")).length, 50);
        await page.evaluate(() => dispatchEvent(new Event("afterprint")));
        assert.equal(await page.$eval(".results .more", (more) => more.hidden), true);
    });

    test("are a tree that the keyboard walks", async () => {
        await page.evaluate(() => void (location.hash = "#/0/0/registry"));
        await page.waitForSelector(".pane .row");
        await page.focus(".pane:nth-child(1) .rows");
        const press = async (...keys) => {
            for (const key of keys) {
                await page.keyboard.press(key);
            }
        };
        assert.equal(await activeRow(1), "HKEY_LOCAL_MACHINE\\SOFTWARE");
        await press("ArrowDown", "ArrowDown");
        assert.equal(await activeRow(1), "Flat");
        await press("ArrowRight", "ArrowRight");
        assert.equal(await activeRow(1), "Key 0");
        await page.keyboard.type("key 7");
        assert.equal(await activeRow(1), "Key 7");
        await press("End");
        assert.equal(await activeRow(1), "Key 99999");
        await press("ArrowLeft");
        assert.equal(await activeRow(1), "Flat");
        await press("ArrowLeft", "Home");
        assert.equal(await page.$$eval(".pane:nth-child(1) [role=treeitem]", (rows) => rows.length), 3);
        await press("ArrowDown", "ArrowRight", "ArrowDown", "ArrowRight", "ArrowDown", "Enter");
        await waitForText(".details", "In the result");
        const sides = await texts(".details dd .whole");
        assert.match(sides[0], /^HKEY_LOCAL_MACHINE.*\\Value \d+$/);
        assert.equal(sides[1], sides[0]);
        assert.equal(await activeRow(2), await activeRow(1));
        assert.ok(await elements() < 900);
    });
});
