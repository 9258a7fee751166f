#!/usr/bin/env python3
"""Makes reports and reads their data back: all of a manifest, a record and a payload is there, once.

report_page_test.py CAS2ORV MAKE_SAMPLE FOLDER
"""

import base64
import gzip
import hashlib
import html.parser
import json
import os
import pathlib
import shutil
import subprocess
import sys

PROGRAM, MAKE_SAMPLE = sys.argv[1:3]
FOLDER = pathlib.Path(sys.argv[3])
GUID = "{41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401}"
HOSTILE = "</script><script>alert(1)</script>\u202e<!--\x01\"&amp;"


def run(*arguments, status=0):
    done = subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, check=False)
    assert done.returncode == status, (arguments, done.returncode, done.stderr.decode())
    return done


class Elements(html.parser.HTMLParser):
    """The elements of a page that have data or are run, as a browser finds them."""

    def __init__(self):
        super().__init__()
        self.found, self.open, self.policy = [], None, ""

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.open = (tag, values, []) if tag in ("script", "style", "title") else None
        if self.open:
            self.found.append(self.open)
        if tag == "meta" and "http-equiv" in values:
            self.policy = values["content"]

    def handle_data(self, data):
        if self.open:
            self.open[2].append(data)

    def handle_endtag(self, tag):
        self.open = None


class Page:
    def __init__(self, file):
        elements = Elements()
        elements.feed(file.read_text(encoding="utf-8"))
        elements.close()
        self.slices, self.codes, self.styles = {}, [], []
        for tag, values, data in elements.found:
            text = "".join(data)
            if values.get("type") == "application/json":
                assert values["id"] == "summary"
                self.summary = json.loads(text)
            elif values.get("type") == "text/plain":
                packed = base64.b64decode(text, validate=True)
                self.slices[int(values["id"][1:])] = json.loads(gzip.decompress(packed))
            else:
                {"script": self.codes, "style": self.styles, "title": []}[tag].append(text)
        assert sorted(self.slices) == list(range(len(self.slices)))
        assert all(0 < len(rows) <= 4096 for rows in self.slices.values())
        # What is run is the page's own, by the hashes of its policy.
        for kind, texts in (("script-src", self.codes), ("style-src", self.styles)):
            assert len(texts) == 1, texts
            digest = base64.b64encode(hashlib.sha256(texts[0].encode()).digest()).decode()
            assert f"{kind} 'sha256-{digest}'" in elements.policy, elements.policy
        self.packages = self.summary["packages"]
        self.used = []
        for package in self.packages:
            self.used += package.get("log", []) + package.get("slices", {}).get("record", [])
            for target in package["targets"]:
                self.used += [number for ids in target["slices"].values() for number in ids]
        assert sorted(self.used) == sorted(self.slices)

    def rows(self, owner, kind):
        return [row for number in owner.get("slices", {}).get(kind, []) for row in self.slices[number]]


def report(*arguments, status=0):
    page = FOLDER / "report.html"
    done = run("report", *arguments, "-o", page, "--json", status=status)
    result = json.loads(done.stdout)
    assert result["bytes"] == page.stat().st_size
    return Page(page), result


def check_sample():
    """All numbers of a conversion come back."""
    subprocess.run([MAKE_SAMPLE, FOLDER / "sample"], check=True, capture_output=True)
    out, record = FOLDER / "out", FOLDER / "out" / "r.jsonl"
    converted = json.loads(run("convert", FOLDER / "sample" / "Planner.profile", out / "app.orv",
                               "--record", record, "--json", "--progress", "none").stdout)
    page, result = report(out)
    first = (FOLDER / "report.html").read_bytes()
    report(out, record, out)
    assert first == (FOLDER / "report.html").read_bytes()

    (package,) = page.packages
    assert (package["name"], package["status"], package["problems"]) == ("Planner", "whole", [])
    assert package["place"] == str(out)
    outcomes = {}
    for part in [package, *package["targets"]]:
        for outcome, reasons in part["outcomes"].items():
            for reason, count in reasons.items():
                key = (outcome, reason)
                outcomes[key] = outcomes.get(key, 0) + count
                assert page.summary["reasons"][reason]["says"]
                assert count == sum(row[1:3] == [outcome, reason] for row in page.rows(part, "record"))
    explained = json.loads(run("explain", record, "--json").stdout)
    assert outcomes == {(outcome, reason): count for outcome, reasons in explained["outcomes"].items()
                        for reason, count in reasons.items()}

    assert len(package["targets"]) == len(converted["targets"])
    for target, expected in zip(package["targets"], converted["targets"]):
        assert (target["guid"], target["name"]) == (expected["guid"], expected["name"])
        assert target["manifest"] == expected["manifest"] and target["items"] == expected["items"]
        items = page.rows(target, "items")
        assert len(items) == sum(target["items"].values())
        folder = pathlib.Path(target["manifest"]).parent
        payload = {str(file.relative_to(folder)).replace("/", "\\"): file.stat().st_size
                   for file in folder.rglob("*") if file.is_file() and file.name != "app.orv"}
        assert dict(map(tuple, page.rows(target, "files"))) == payload
        assert (target["files"], target["bytes"]) == (len(payload), sum(payload.values()))
        assert sum(folder[1] for folder in target["folders"]) == target["bytes"]
        for collection, place, detail, size in items:
            if collection == "CreateFiles":
                assert "%SID%" in detail or detail.endswith("…") or payload[detail.replace("|%", "%")] == size, (place, detail)
                assert size is not None, place
    rows = page.rows(package["targets"][0], "items")
    key = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Tarnbrook Works\\Planner\\First Day"
    assert ["CreateValues", key, "REG_DWORD 0x1", None] in rows
    assert ["value", "created", "created", key, key, "", 0] in page.rows(package["targets"][0], "record")
    assert result["manifests"] == 2 and result["packages"] == 1
    assert result["items"] == sum(sum(target["items"].values()) for target in package["targets"])


def write_manifest(folder, collections, cut=0):
    folder.mkdir(parents=True)
    text = ('<?xml version="1.0" encoding="utf-16"?>\r\n<Package Version="1">\r\n<Properties>\r\n'
            "<Name>A &lt;/script&gt;_{1}</Name>\r\n<PerUserInstall>1</PerUserInstall>\r\n</Properties>\r\n"
            + collections + "</Package>\r\n")
    (folder / "app.orv").write_bytes(("\ufeff" + text[:len(text) - cut]).encode("utf-16-le"))


def check_hostile_names():
    """Names are data: none ends an element, and each comes back unit by unit."""
    folder = FOLDER / "hostile"
    name = HOSTILE.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")
    name = name.replace("\x01", "~0001").replace("\u202e", "~202e")
    write_manifest(folder / GUID, f'<CreateFolders>\r\n<Folder Target="{name}~d800" />\r\n</CreateFolders>\r\n'
                   '<CreateFiles>\r\n<File Target="C:\\a" RelativeSource="D\\%SID%\\a" />\r\n'
                   '<File Target="C:\\b" RelativeSource="..\\out" />\r\n</CreateFiles>\r\n')
    (folder / GUID / "D" / "S-1-5-21-7").mkdir(parents=True)
    (folder / GUID / "D" / "S-1-5-21-7" / "a").write_bytes(b"abc")
    (folder / "out").write_bytes(b"not payload")
    with open(folder / "r.jsonl", "w", encoding="ascii") as record:
        for line in (
                {"record": 1, "state": "whole", "status": 0, "losses": 1, "missing": 0},
                {"in": 1, "thing": "file", "outcome": HOSTILE, "reason": HOSTILE, "source": HOSTILE},
                {"in": 1, "thing": "key", "outcome": "left out", "reason": "rule", "detail": HOSTILE},
                {"in": 1, "thing": "file", "outcome": "failed", "reason": "copy-failed", "status": -5},
                {"in": 1, "thing": "target", "outcome": "created", "reason": "converted",
                 "target": GUID + "\\app.orv", "detail": HOSTILE}):
            record.write(json.dumps(line) + "\n")
    entry = '<font color="#FF0000"><span style="font-weight: bold">Error:</span></font> '
    (folder / "r.html").write_bytes(("\ufeff" + entry + HOSTILE + "<br>\r\n").encode("utf-16-le"))
    page, _ = report(folder)
    (package,) = page.packages
    assert (package["name"], package["status"], package["losses"]) == ("A </script>", "not whole", 1)
    (target,) = package["targets"]
    assert (target["name"], target["rules"], target["losses"]) == (HOSTILE, [[HOSTILE, 1]], 1)
    assert target["outcomes"][HOSTILE] == {HOSTILE: 1}
    assert page.summary["reasons"]["copy-failed"]["kind"] == "loss"
    assert page.rows(target, "items") == [["CreateFolders", HOSTILE + "\ud800", "", None],
                                          ["CreateFiles", "C:\\a", "D\\S-1-5-21-7\\a", 3],
                                          ["CreateFiles", "C:\\b", "..\\out", None]]
    assert page.rows(target, "record")[2] == ["file", "failed", "copy-failed", "", "", "", -5]
    assert page.slices[package["log"][0]] == [["error", HOSTILE]]


def check_damaged_packages():
    """What cannot be read is told, and everything else is in the page."""
    folder = FOLDER / "damaged"
    items = "<CreateKeys>\r\n" + '<Key Target="HKEY_USERS\\a" />\r\n' * 5000 + "</CreateKeys>\r\n"
    write_manifest(folder / "cut" / GUID, items, cut=40)
    write_manifest(folder / "good" / GUID, items)
    whole = '{"record":1,"state":"whole","status":0,"losses":0}\n'
    target = '{"in":1,"thing":"target","outcome":"created","target":"' + GUID + '/app.orv"}\n'
    (folder / "cut" / "r.jsonl").write_text(whole + target, encoding="ascii")
    (folder / "good" / "r.jsonl").write_text(whole + target + "{x\n" + target, encoding="ascii")
    for name, head in (("killed", '"state":"running","status":0'), ("failed", '"state":"whole","status":5'),
                       ("full", '"state":"cut off","status":0')):
        (folder / f"{name}.jsonl").write_text('{"record":1,' + head + "}\n", encoding="ascii")
    page, result = report(folder, FOLDER / "gone", status=1)
    told = [message["text"] for message in result["messages"]]
    assert len(told) == 3 and "no such file" in told[0] and "line" in told[1], told
    assert "damaged in line 3" in told[2], told
    status = {pathlib.Path(package["place"]).name: package["status"] for package in page.packages}
    assert status == {"cut": "not whole", "good": "not whole", "killed.jsonl": "failed",
                      "failed.jsonl": "failed", "full.jsonl": "not whole"}, status
    cut, good = (package for package in page.packages if package["targets"])
    assert "status 5" in next(package["problems"][0] for package in page.packages
                              if package["name"] == "failed")
    assert told[1] in cut["problems"][0] and told[2] in good["problems"][0]
    assert good["targets"][0]["items"] == {"CreateKeys": 5000}
    assert len(good["targets"][0]["slices"]["items"]) == 2
    assert 4990 < cut["targets"][0]["items"]["CreateKeys"] <= 5000


def check_many_rules():
    """Of more rules than the page lists, the rest is counted."""
    with open(FOLDER / "rules.jsonl", "w", encoding="ascii") as record:
        print('{"record":1,"state":"whole","status":0}', file=record)
        for number in [*range(1002), 5, 1001]:
            print(json.dumps({"in": 1, "thing": "key", "outcome": "left out", "reason": "rule", "detail": f"{number}*"}), file=record)
    (package,) = report(FOLDER / "rules.jsonl")[0].packages
    (target,) = package["targets"]
    assert (len(target["rules"]), target["rules"][0], target["otherRules"]) == (1000, ["5*", 2], 3)


def check_batch():
    """Packages of a batch have the names, and fail with the reasons, that their results tell."""
    folder = FOLDER / "batch"
    items = '<CreateKeys>\r\n<Key Target="HKEY_USERS\\a" />\r\n</CreateKeys>\r\n'
    for name in ("1/App", "2/App", "cut"):
        write_manifest(folder / name / GUID, items)
    (folder / "1" / "App" / "record.jsonl").write_text(
        '{"record":1,"state":"whole","status":0,"losses":0}\n{"in":1,"thing":"target","outcome":"created",'
        '"target":"' + GUID + '/app.orv"}\n', encoding="ascii")
    (folder / "2" / "App" / "record.jsonl").write_text('{"record":1,"state":"running","status":0}\n', encoding="ascii")
    result = {"schema": 1, "name": "1/App", "digests": {}, "end": "exit", "status": 0,
              "result": {"messages": [{"text": "\ud800"}], "result": {"name": "x"}}, "reason": ""}
    failed = {**result, "end": "signal", "status": 1, "reason": HOSTILE}
    for name, value in (("1/App", result), ("2/App", {**failed, "name": "2/App"}), ("v1.2", {**failed, "name": HOSTILE}),
                        ("newer", {**result, "schema": 2}), (".cas2orv-batch/1/new", result), ("other", {"name": "x"})):
        (folder / name).mkdir(parents=True, exist_ok=True)
        (folder / name / "result.json").write_text(json.dumps(value), encoding="ascii")
    (folder / "v1.2" / "log.html").touch()
    (folder / "cut" / "result.json").write_text(json.dumps(result, indent=2)[:-9], encoding="ascii")
    (folder / "summary.json").write_text('{"schema":1,"packages":9}', encoding="ascii")
    page, result = report(folder, status=1)
    packages = {str(pathlib.Path(package["place"]).relative_to(folder)): package for package in page.packages}
    told = {place: (package["name"], package["status"], len(package["targets"]))
            for place, package in packages.items()}
    assert told == {"1/App": ("1/App", "whole", 1), "2/App": ("2/App", "failed", 1), "cut": ("A </script>", "unknown", 1),
                    "newer": ("newer", "unknown", 0), "v1.2": (HOSTILE, "failed", 0)}, told
    assert packages["1/App"]["problems"] == []
    for place, words in (("2/App", "failed: " + HOSTILE), ("2/App", "former conversion"), ("v1.2", "failed: " + HOSTILE),
                         ("newer", "newer version"), ("cut", "is cut off")):
        assert any(words in problem for problem in packages[place]["problems"]), packages[place]["problems"]
    assert result["problems"] == len(result["messages"]) == 2
    assert b"no page" in run("report", folder, "-o", folder / "cut" / "result.json", status=1).stderr


def check_files():
    """A report that cannot be written leaves what is there."""
    out, old = FOLDER / "out", FOLDER / "old.html"
    assert b"/dev/full" in run("report", out, "-o", "/dev/full", status=1).stderr
    run("report", out, "-o", FOLDER / "new" / "r.html")
    assert run("report", out, "-o", "/dev/stdout").stdout == (FOLDER / "new" / "r.html").read_bytes()
    record = (out / "r.jsonl").read_bytes()
    assert b"no page" in run("report", out, "-o", out / "r.jsonl", status=1).stderr
    assert (out / "r.jsonl").read_bytes() == record
    old.write_bytes(b"<!DOCTYPE html>old")
    limited = f'ulimit -f 20; exec "{PROGRAM}" report "{out}" -o "{old}"'
    assert subprocess.run(["bash", "-c", limited], capture_output=True, check=False).returncode != 0
    assert old.read_bytes() == b"<!DOCTYPE html>old"
    target = next(out.glob("{*}"))
    assert b"folder of a target" in run("report", out, "-o", target / "r.html", status=1).stderr
    assert run("report", FOLDER / "new", "-o", old, status=1).stdout == b"" and old.read_bytes() == b"<!DOCTYPE html>old"
    assert not [name for name in os.listdir(FOLDER) if "cas2orv" in name]


shutil.rmtree(FOLDER, ignore_errors=True)
FOLDER.mkdir(parents=True)
for check in (check_sample, check_hostile_names, check_damaged_packages, check_many_rules, check_batch, check_files):
    check()
