#!/usr/bin/env python3
"""Compares records of conversions with what their captures hold, found without the library.

usage: record_test.py PROGRAM DOCS FOLDER

Converts every *.profile below the folder with a record of everything. Each captured folder, file
and deletion mark, and each key and value of a hive that hivexml can read, has a line there, and no
line names another one. The head counts the losses that the lines tell of, each reason is on the
page record.md, and the exit status fits. What commands print with --json fits json.schema.json.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

MARK = ":CTX_FILE_DELETE_MARKER"
FILES = {"folder", "file", "shortcut", "mark", "assembly"}


def local_path(source):
    """The path on this system. Characters that Windows has not lie 0xF000 higher in a source, and
    bytes that are no UTF-8 0xDC00 higher."""
    text = source.removeprefix("\\\\?\\").removeprefix("Z:").replace("\\", "/")
    text = "".join(chr(ord(c) - 0xF000) if 0xF001 <= ord(c) <= 0xF07F else c for c in text)
    return os.fsencode(text)


def captured_files(device):
    names = set()
    for folder, folders, files in os.walk(os.fsencode(device)):
        names.update(os.path.join(folder, name) for name in folders + files)
    # A stream is no entry of its folder, but for the mark that counts.
    return {name for name in names
            if b":" not in os.path.basename(name) or name.endswith(MARK.encode())}


def captured_registry(hive):
    """Keys and values by their paths within the hive, or None if hivexml cannot read them."""
    run = subprocess.run(["hivexml", hive], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                         check=False)
    try:
        root = xml.etree.ElementTree.fromstring(run.stdout).find("node")
    except xml.etree.ElementTree.ParseError:
        return None
    keys, values = set(), set()
    pending = [("", root)]
    while pending:
        path, node = pending.pop()
        values.update((path.casefold(), value.get("key", "").casefold())
                      for value in node.findall("value"))
        for child in node.findall("node"):
            name = (path + "\\" if path else "") + child.get("name")
            keys.add(name.casefold())
            pending.append((name, child))
    return keys, values


def targets_of(lines):
    """The folder in the capture of each target, by its number."""
    return {line["in"]: local_path(line["source"]) for line in lines
            if line["thing"] == "target" and "source" in line and line["in"]}


def check_target(lines, folder):
    problems = []
    told = {local_path(line["source"]) for line in lines
            if line["thing"] in FILES and "source" in line}
    told -= {os.path.join(folder, b"Device")}
    found = captured_files(os.path.join(folder, b"Device"))
    problems += [f"no line for {os.fsdecode(name)!r}" for name in found - told]
    problems += [f"a line for {os.fsdecode(name)!r}" for name in told - found
                 if not os.path.lexists(name)]
    registry = captured_registry(os.fsdecode(os.path.join(folder, b"InstallRoot.dat")))
    is_whole = any(line["thing"] == "hive" and line["reason"] == "converted" for line in lines)
    if registry and is_whole:
        keys, values = registry
        told_keys = {line["source"].casefold() for line in lines if line["thing"] == "key"}
        told_values = {(line.get("source", "").casefold(), line["name"].casefold())
                       for line in lines if line["thing"] in ("value", "variable")}
        problems += [f"no line for key {key!r}" for key in keys - told_keys]
        problems += [f"a line for key {key!r}" for key in told_keys - keys]
        problems += [f"no line for value {value!r}" for value in values - told_values]
        problems += [f"a line for value {value!r}" for value in told_values - values]
    return problems


def check(program, profile, folder, page, former):
    """Returns what is wrong, the number of lines, and what was printed as JSON: items and
    differences of manifests, each in an array, and objects."""
    record = pathlib.Path(folder, "record.jsonl")
    printed = []
    items = []

    def run(*arguments):
        result = subprocess.run([program, *map(str, arguments), "--json"], stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, check=False, timeout=600)
        *lines, last = result.stdout.decode().splitlines()
        printed.append(last)
        # Items are validated as one array, which is faster than one by one.
        if lines:
            items.append("[" + ",".join(lines) + "]")
        return result.returncode

    status = run("convert", profile, f"{folder}/out/app.orv", "--progress=none", "--record", record)
    checked = run("check", profile, "--progress=none")
    run("targets", profile)
    run("verify", f"{folder}/out")
    for manifest in pathlib.Path(folder, "out").glob("*/app.orv"):
        run("show", manifest)
        # With that of another package, so that there are differences.
        if former.exists():
            run("diff", former, manifest)
        shutil.copy(manifest, former)
    problems = [] if checked == status else [f"convert ends with {status}, check with {checked}"]
    if not record.exists():
        return problems + ([] if status == 1 else ["there is no record"]), 0, printed, items
    run("explain", record)
    head, *lines = map(json.loads, record.read_text(encoding="utf-8").splitlines())
    problems += [] if head["state"] == "whole" else [f"the record is {head['state']}"]
    losses = sum(line["outcome"] in ("failed", "not read") and
                 not line["reason"].endswith("-missing") for line in lines)
    if losses != head["losses"]:
        problems.append(f"{losses} losses, but the head has {head['losses']}")
    if status not in ((3,) if losses else (0, 3)):
        problems.append(f"{losses} losses, but the status is {status}")
    problems += [f"{reason} is not on the page" for reason in {line["reason"] for line in lines}
                 if f"`{reason}` |" not in page]
    for number, target in targets_of(lines).items():
        problems += check_target([line for line in lines if line["in"] == number], target)
    return problems, len(lines), printed, items


def validate(printed, schema):
    """Runs a public validator, once over all that was printed."""
    with tempfile.TemporaryDirectory() as folder:
        names = []
        for number, text in enumerate(printed):
            name = pathlib.Path(folder, f"{number}.json")
            name.write_text(text, encoding="utf-8")
            names += ["-i", str(name)]
        result = subprocess.run(["jsonschema", *names, str(schema)], stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, check=False)
    return result.stdout.decode() if result.returncode else ""


def main():
    program, docs, packages = sys.argv[1:]
    page = pathlib.Path(docs, "record.md").read_text(encoding="utf-8")
    profiles = sorted(pathlib.Path(packages).rglob("*.profile"))
    failed = 0
    count = 0
    printed = []
    items = []
    former = pathlib.Path(packages, "former.orv")
    former.unlink(missing_ok=True)
    for profile in profiles:
        with tempfile.TemporaryDirectory() as folder:
            problems, lines, texts, arrays = check(program, profile, folder, page, former)
        count += lines
        failed += bool(problems)
        printed += texts
        items += arrays
        for problem in problems[:10]:
            print(f"{profile}: {problem}")
    schema = pathlib.Path(docs, "json.schema.json")
    faults = validate(printed, schema)
    with tempfile.TemporaryDirectory() as folder:
        of_items = pathlib.Path(folder, "items.json")
        definitions = json.loads(schema.read_text(encoding="utf-8"))["$defs"]
        of_items.write_text(json.dumps({"type": "array", "$defs": definitions, "items": {
            "anyOf": [{"$ref": "#/$defs/item"}, {"$ref": "#/$defs/difference"}]}}), encoding="utf-8")
        faults += validate(items, of_items)
    print(faults[:2000])
    print(f"{len(profiles)} packages, {count} lines, {failed} packages with differences")
    return 1 if failed or faults or not profiles else 0


if __name__ == "__main__":
    sys.exit(main())
