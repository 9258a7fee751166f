#!/usr/bin/env python3
"""Holds docs/manifest.xsd and the table of the program together, by xmllint and cas2orv verify.

Manifests with one thing changed at a time, made from the schema and the words of the page about the
format, get the same verdict by both; those that conversions make are good for both.
"""

import argparse
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path
from xml.sax.saxutils import escape, quoteattr

XS = "{http://www.w3.org/2001/XMLSchema}"
BATCH = 2000
GOOD = {
    "AnyText": "a",
    "Text": "a",
    "MultiString": r"a\0\0",
    "RelativePath": "a",
    "Key": r"HKEY_USERS\a",
    "AnyPath": "a",
    "Path": "a",
    "MultiPath": r"a\0\0",
    "Decimal": "1",
    "Signed": "1",
    "Hex": "0x1",
    "Bytes": "AB",
}
# Texts that are of some forms, and nearly of others.
SAMPLES = r"""a 0 1 2 3 4 5 7 16 288 -1 -0 00 01 65536 x86 x64 X64 REG_SZ reg_sz REG_DWORD_ 0x0
    0xA 0xa 0x00 0x 0xA0000006 0xA0000003 AB ab ABC ~ ~~ ~~~ ~0000 ~000d ~00g0 ~D83D ~d83d~de00
    ~000 | || |% |a %SID% %sid% % %% %SID %CSIDL_WINDOWS% %CSIDL_WINDOWS%\a %Temp%\|%x
    %CSIDL_WINDOWS%a %TEMP% %Temp%%Temp% %Temp%|%%SID% %Path% %ProgramFiles(x86)%\ %CSIDL_%\ %%
    |%Temp|% HKEY_USERS
    HKEY_LOCAL_MACHINE\a HKEY_CLASSES_ROOT\a HKEY_USERSa HKEY_USERS\%SID% HKEY_USERS\%Temp%\a
    HKEY_CURRENT_USER\ \0\0 a\0\0 a\0 ~\0\0 %Temp%\\a\0\0 %Temp%\0\0 |\0\0""".split()
FEW = {"x", "File", "Target"}
SAMPLES += ["", " ", "a b", "a\tb", "a\nb", "&<>\"'"]
SAMPLES += ["\x7f", "\ud7ff", "\ue000", "\ufffd", "\U0001f600"]


class Element:
    """An element of a good manifest, with its children and the types of what it holds."""

    def __init__(self, name, schema_type, schema):
        definition = schema.get(schema_type)
        self.name = name
        self.children = []
        self.text_type = schema_type if definition is None else None
        self.types = {}
        if definition is not None:
            extension = definition.find(f".//{XS}extension")
            self.text_type = None if extension is None else extension.get("base")
            for attribute in definition.iter(f"{XS}attribute"):
                self.types[attribute.get("name")] = attribute.get("type")
            for child in definition.iter(f"{XS}element"):
                self.children.append(Element(child.get("name"), child.get("type"), schema))
        self.attributes = {key: GOOD[value] for key, value in self.types.items()}
        self.text = GOOD.get(self.text_type, "")

    def write(self):
        attributes = "".join(
            f" {key}={quoteattr(value)}".replace("\t", "&#9;").replace("\n", "&#10;")
            for key, value in self.attributes.items()
        )
        inside = escape(self.text) + "".join(child.write() for child in self.children)
        return f"<{self.name}{attributes}>{inside}</{self.name}>"

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()


def samples(schema_type, tried):
    """All samples for the first of a type, and for others what tells the types apart."""
    if schema_type not in tried:
        tried.add(schema_type)
        return SAMPLES + list(GOOD.values())
    return ["", "%", "%SID%", "%Temp%", "7", "288", *GOOD.values()]


def change_attributes(element, names, tried):
    """Changes one attribute, and yields each time."""
    good = element.attributes
    for key in good:
        element.attributes = {other: good[other] for other in good if other != key}
        yield
        for sample in samples(element.types[key], tried):
            element.attributes = {**good, key: sample}
            yield
    for name in names - good.keys():
        element.attributes = {**good, name: "1"}
        yield
    element.attributes = good


def change_content(element, names, schema, tried):
    good_text, good_children = element.text, element.children
    for sample in samples(element.text_type, tried):
        element.text = sample
        yield
    element.text = good_text
    for i, child in enumerate(good_children):
        rest = good_children[:i] + good_children[i + 1 :]
        for place in range(len(rest) + 1):
            element.children = rest[:place] + [child] + rest[place:]
            yield
        for changed in (rest, good_children + [child]):
            element.children = changed
            yield
    for name in names:
        element.children = good_children + [Element(name, "AnyText", schema)]
        element.children[-1].text = ""
        yield
    element.children = good_children


def read_schema(path):
    root = ElementTree.parse(path).getroot()
    named = {node.get("name"): node for node in root.findall(f"{XS}complexType")}
    for node in root.findall(f"{XS}simpleType"):
        word = node.find(f".//{XS}enumeration")
        if word is not None:
            GOOD[node.get("name")] = word.get("value")
    package = root.find(f"{XS}element")
    named["Package"] = package.find(f"{XS}complexType")
    return named


def variants(schema, page):
    """Each manifest that has one thing changed, collection by collection."""
    words = re.findall(r"`([A-Za-z]+)`", page)
    names = set(words) | {"xml:lang", "x"}
    tried = set()
    package = Element("Package", "Package", schema)
    parts = package.children
    yield package.write()
    for _ in change_attributes(package, names, tried):
        yield package.write()
    for _ in change_content(package, names - {"xml:lang"}, schema, tried):
        yield package.write()
    for part in parts:
        package.children = parts[:1] if part is parts[0] else [parts[0], part]
        for element in part.walk():
            # What has none is tried with few: many others are like it.
            for _ in change_attributes(element, names if element.attributes else FEW, tried):
                yield package.write()
            children = names - {"xml:lang"} if element.children else FEW
            for _ in change_content(element, children, schema, tried):
                yield package.write()
    package.children = [parts[0], next(part for part in parts if part.name == "DeleteFiles")]
    target = package.children[1].children[0]
    for token in re.findall(r"^\| `(%[^`]+%)` \|", page, re.MULTILINE):
        for text in (token + r"\a", token[:-1] + r"_%\a"):
            target.attributes = {"Target": text}
            yield package.write()


def run(command, files):
    texts = []
    for start in range(0, len(files), BATCH):
        batch = [str(file) for file in files[start : start + BATCH]]
        done = subprocess.run(command + batch, capture_output=True, check=False)
        texts.append(done.stderr.decode())
    return "".join(texts)


def verdicts(arguments, files):
    """The files that xmllint takes, and those that the program takes."""
    told = run(["xmllint", "--noout", "--nonet", "--schema", arguments.schema], files)
    by_schema = set(re.findall(r"^(.*) validates$", told, re.MULTILINE))
    told = run([arguments.cas2orv, "verify"], files)
    refused = set(re.findall(r"^cas2orv: '(.*?)': line ", told, re.MULTILINE))
    return by_schema, {str(file) for file in files} - refused


def convert(arguments, folder):
    profiles = []
    for command in (
        [arguments.make_sample, folder / "sample"],
        [arguments.make_packages, folder / "random", "20"],
    ):
        done = subprocess.run(command, capture_output=True, check=True)
        profiles += [line.split("\t")[0] for line in done.stdout.decode().splitlines()]
    for number, profile in enumerate(profiles):
        output = folder / "out" / str(number) / "app.orv"
        command = [arguments.cas2orv, "convert", profile, output, "--progress", "none"]
        subprocess.run(command, capture_output=True, check=False)
    return sorted((folder / "out").glob("*/*/app.orv"))


def main():
    parser = argparse.ArgumentParser()
    for name in "schema", "page", "cas2orv", "make-sample", "make-packages", "folder":
        parser.add_argument(f"--{name}", required=True)
    arguments = parser.parse_args()
    folder = Path(arguments.folder)
    shutil.rmtree(folder, ignore_errors=True)

    real = convert(arguments, folder)
    by_schema, by_program = verdicts(arguments, real)
    bad = {str(file) for file in real} - (by_schema & by_program)
    if len(real) < 20 or bad:
        sys.exit(f"of {len(real)} converted manifests these are refused: {sorted(bad)}")

    page = Path(arguments.page).read_text(encoding="utf-8")
    texts = dict.fromkeys(variants(read_schema(arguments.schema), page))
    files = []
    for number, text in enumerate(texts):
        # A folder for each: the program looks at all that lies beside a manifest.
        file = folder / "made" / str(number) / "app.orv"
        file.parent.mkdir(parents=True)
        document = '<?xml version="1.0" encoding="utf-16"?>\r\n' + text
        file.write_bytes(b"\xff\xfe" + document.encode("utf-16-le"))
        files.append(file)
    by_schema, by_program = verdicts(arguments, files)
    if str(files[0]) not in by_schema or not 100 < len(by_schema) < len(files) - 100:
        sys.exit(f"{len(by_schema)} of {len(files)} manifests are good by the schema")
    differing = sorted(by_schema ^ by_program)
    for name in differing[:20]:
        judge = "schema" if name in by_schema else "program"
        print(f"only the {judge} takes {Path(name).read_bytes().decode('utf-16')}")
    if differing:
        sys.exit(f"{len(differing)} of {len(files)} manifests get two verdicts")
    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
