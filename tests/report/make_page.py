#!/usr/bin/env python3
"""Makes pages of `cas2orv report` with what no conversion can easily be made to produce.

make_page.py PAGE.html KIND OUT.html, with KIND one of "hostile", "large" and "many". PAGE.html is a page
that the program has made, of which everything but the data is taken. The data have the form that
report/README.md describes.
"""

import base64
import gzip
import json
import pathlib
import sys

ROWS_IN_SLICE = 4096

REASONS = {
    "created": {"kind": "created", "says": "It is an item of the manifest.", "advice": ""},
    "rule": {"kind": "left out", "says": "A rule of exclusions leaves the key out.", "advice": ""},
    "hidden": {"kind": "left out", "says": "The isolated application does not see the key.", "advice": ""},
    "copy-failed": {"kind": "loss", "says": "The file cannot be copied.",
                    "advice": "See whether it can be read, and whether the disk is full; then convert again."},
    "profile-broken": {"kind": "loss", "says": "The profile is not well-formed; what comes after the fault is not read.",
                       "advice": "Mend the profile, or take it from a backup."},
    "hive-missing": {"kind": "missing", "says": "The target has no hive.",
                     "advice": "If registry was captured, copy InstallRoot.dat into the target's folder."},
}

HOSTILE_NAMES = [
    "<script>alert(1)</script>",
    "</script><img src=x onerror=alert(1)>",
    "<!--<script>",
    "\"quotes' & &lt;entities&gt;",
    "report\u202efdp.exe",
    "nul\0bell\x07escape\x1b[31mline\nfeed\u2028end",
    "half \ud83d and half \udcc5",
    "whole \U0001F4C5",
    "zero\u200bwidth\ufeff",
    "__proto__",
    "percent%20s %CSIDL_PROGRAM_FILES%",
    "شركة عربية.exe",
    "",
    "x" * 10000,
]


class Page:
    def __init__(self):
        self.slices = []

    def add(self, rows):
        """Adds rows as slices and returns their ids."""
        ids = []
        for start in range(0, len(rows), ROWS_IN_SLICE):
            text = json.dumps(rows[start:start + ROWS_IN_SLICE], separators=(",", ":"))
            ids.append(len(self.slices))
            self.slices.append(base64.b64encode(gzip.compress(text.encode(), 6, mtime=0)).decode())
        return ids

    def write(self, frame, packages, out):
        """Writes the page `frame` with these data instead of its own."""
        start, _, rest = frame.partition('<script type="text/plain"')
        end = rest[rest.index("</script>", rest.index(' id="summary">')):]
        summary = {"program": "cas2orv 1.0.0", "reasons": REASONS, "packages": packages}
        with open(out, "w", encoding="utf-8", newline="\n") as page:
            page.write(start)
            for number, data in enumerate(self.slices):
                page.write(f'<script type="text/plain" id="d{number}">{data}</script>\n')
            text = json.dumps(summary, separators=(",", ":")).replace("<", "\\u003c")
            page.write(f'<script type="application/json" id="summary">{text}{end}')


def count_outcomes(record):
    outcomes = {}
    for _, outcome, reason, *_ in record:
        reasons = outcomes.setdefault(outcome, {})
        reasons[reason] = reasons.get(reason, 0) + 1
    return outcomes


def make_target(page, name, items, record, files):
    collections = {}
    for item in items:
        collections[item[0]] = collections.get(item[0], 0) + 1
    rules = {}
    for row in record:
        if row[2] == "rule":
            rules[row[5]] = rules.get(row[5], 0) + 1
    folders = {}
    for path, size in files:
        folder = folders.setdefault("\\".join(path.split("\\")[:-1][:2]), [0, 0])
        folder[0] += size
        folder[1] += 1
    return {
        "guid": "{41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401}", "name": name, "manifest": "out\\app.orv",
        "properties": {"Name": name, "Version": "3", "Architecture": "x86"},
        "items": collections, "outcomes": count_outcomes(record),
        "rules": sorted(rules.items(), key=lambda rule: -rule[1]),
        "losses": sum(1 for row in record if REASONS.get(row[2], {}).get("kind") == "loss"),
        "missing": sum(1 for row in record if REASONS.get(row[2], {}).get("kind") == "missing"),
        "files": len(files), "bytes": sum(size for _, size in files),
        "largest": sorted(files, key=lambda file: -file[1])[:100],
        "folders": sorted(([folder, *sums] for folder, sums in folders.items()), key=lambda row: -row[1])[:30],
        "slices": {"items": page.add(items), "record": page.add(record), "files": page.add(files)},
    }


def hostile(page):
    items, record, files = [], [], []
    for number, name in enumerate(HOSTILE_NAMES):
        source = "Z:\\capture\\Device\\C\\Program Files\\App\\" + name
        place = "C:\\Program Files\\App\\" + name
        payload = "CSIDL_PROGRAM_FILES\\App\\" + name
        items.append(["CreateFiles", "%CSIDL_PROGRAM_FILES%\\App\\" + name, payload, 1000 + number])
        record.append(["file", "created", "created", source, place, "", 0])
        record.append(["file", "failed", "copy-failed", source, place, name, 5])
        record.append(["key", "left out", "rule", "HKEY_LOCAL_MACHINE\\SOFTWARE\\" + name, "", name + "*", 0])
        files.append([payload, 1000 + number])
    record.append(["file", "created", "no-such-reason", "\\" * 5000, "", "", 0])
    target = make_target(page, HOSTILE_NAMES[0], items, record, files)
    target["otherRules"] = 1500
    target["properties"] = {name or "empty": name for name in HOSTILE_NAMES}
    return [{"name": HOSTILE_NAMES[1] + HOSTILE_NAMES[4], "place": HOSTILE_NAMES[5], "status": "not whole",
             "problems": HOSTILE_NAMES, "log": page.add([["error", name] for name in HOSTILE_NAMES]),
             "targets": [target]}]


def large(page):
    """Half a million values, in no order, and a line of the record for each."""
    items, record = [], []
    for number in range(500_000):
        scattered = number * 179_424_673 % 500_000
        key = (f"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\CLSID\\{{{scattered // 10 * 2654435761 % 2**32:08X}"
               f"-5E0D-4F6A-8D3B-0C9E7A126401}}\\InprocServer32\\Value {scattered}")
        items.append(["CreateValues", key, f"REG_SZ data of {scattered}", None])
        record.append(["value", "created", "created", key, key, "", 0])
    for number in range(120_000):
        key = f"HKEY_LOCAL_MACHINE\\SOFTWARE\\Flat\\Key {number}"
        record.append(["key", "left out", "rule", key, key, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Flat*", 0])
    name = "A package with half a million values"
    return [{"name": name, "place": "/srv/out/large", "status": "whole", "targets": [make_target(page, name, items, record, [])]}]


def many(page):
    packages = []
    statuses = ["whole", "whole", "whole", "whole", "whole", "not whole", "whole", "failed", "whole", "unknown"]
    vendors = ["Planner", "Ledger", "Viewer", "Scanner Tools", "Field Survey", "Label Printer", "Archive", "Time Sheets"]
    for number in range(1000):
        status = statuses[number % len(statuses)]
        name = f"{vendors[number * 7 % len(vendors)]} {number // 8 + 1}.{number % 4}"
        base = f"HKEY_LOCAL_MACHINE\\SOFTWARE\\Example\\Package {number}\\"
        items = [["CreateValues", base + f"Value {value}", "REG_SZ text", None] for value in range(3 + number % 40)]
        record = [["value", "created", "created", item[1], item[1], "", 0] for item in items]
        record += [["key", "left out", "hidden", base + f"Hidden {key}", "", "", 0] for key in range(number % 5)]
        files = [[f"CSIDL_PROGRAM_FILES\\App\\{file}.dll", 10_000 * (file + 1)] for file in range(number % 7)]
        if status == "not whole":
            record.append(["file", "failed", "copy-failed", f"Z:\\capture\\{number}\\big.cab", "", "", 112])
        targets = [] if status == "failed" else [make_target(page, name, items, record, files)]
        if status == "unknown":
            targets[0].pop("outcomes")
        outside = [["profile", "not read", "profile-broken", f"Z:\\capture\\{number}\\app.profile", "", "", 13]] if status == "failed" else []
        packages.append({"name": name, "place": f"/srv/out/{number}", "status": status, "targets": targets,
                         "losses": len(outside) + sum(target["losses"] for target in targets), "missing": 0,
                         "outcomes": count_outcomes(outside), "slices": {"record": page.add(outside)},
                         "problems": ["The record ends early."] if status == "failed" else [],
                         "log": page.add([["warning", f"Key {number} was skipped."]])})
    return packages


def main():
    frame, kind, out = sys.argv[1:]
    page = Page()
    packages = {"hostile": hostile, "large": large, "many": many}[kind](page)
    page.write(pathlib.Path(frame).read_bytes().decode("utf-8"), packages, out)


if __name__ == "__main__":
    main()
