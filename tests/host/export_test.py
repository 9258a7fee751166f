#!/usr/bin/env python3
"""Merges exported .reg files into a hive, and compares it with the manifests.

usage: export_test.py PROGRAM MAKE_SAMPLE MAKE_PACKAGES FOLDER

hivexregedit, another reader of the form, merges the exports of the sample, of random packages and
of a manifest made here. The manifests are read without the program.
"""

import json
import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import xml.etree.ElementTree

TYPES = {"REG_NONE": 0, "REG_SZ": 1, "REG_EXPAND_SZ": 2, "REG_BINARY": 3, "REG_DWORD": 4,
         "REG_DWORD_BIG_ENDIAN": 5, "REG_LINK": 6, "REG_MULTI_SZ": 7, "REG_RESOURCE_LIST": 8,
         "REG_FULL_RESOURCE_DESCRIPTOR": 9, "REG_RESOURCE_REQUIREMENTS_LIST": 10, "REG_QWORD": 11}
ROOT = "Exported"  # the key that has the hives of Windows, in the hive file of the test


def units(text):
    return text.encode("utf-16-le", "surrogatepass")


def bare(text):
    """Without the tildes of the manifest; half a surrogate pair becomes what hivex can hold."""
    text = re.sub("~(~|[0-9a-f]{4})", lambda m: "~" if m[1] == "~" else chr(int(m[1], 16)), text)
    return units(text).decode("utf-16-le", "surrogatepass")


def holdable(text):
    return re.sub("[\ud800-\udfff]", lambda m: f"<{ord(m[0]):x}>", text)


def plain(text):
    return re.sub(r"\|([|%])", r"\1", text)


def data_of(kind, text):
    if kind in ("REG_SZ", "REG_EXPAND_SZ"):
        return units(plain(text) + "\0")
    if kind == "REG_MULTI_SZ":
        strings = "" if text == r"\0\0" else text[:-2]
        return units(plain(re.sub(r"\\(.)", lambda m: m[1].replace("0", "\0"), strings)) + "\0")
    if kind in ("REG_DWORD", "REG_QWORD"):
        return int(text, 16).to_bytes(4 if kind == "REG_DWORD" else 8, "little")
    return bytes.fromhex(text)


def name_of(item, attribute):
    return holdable(plain(bare(item.get(attribute, "")))).casefold()


def keys_of(manifest):
    """What an export has: for each key its values, as their type and bytes by name. And how many
    items it has not."""
    root = xml.etree.ElementTree.parse(manifest).getroot()
    keys = {}
    missing = 0
    for item in root.iterfind("CreateKeys/Key"):
        keys.setdefault(name_of(item, "Target"), {})
    for item in root.iterfind("CreateValues/Value"):
        key, name, kind = name_of(item, "Target"), name_of(item, "Value"), item.get("Type")
        if not kind or re.search("[\r\n]", name):
            missing += 1
        else:
            keys.setdefault(key, {})[name] = TYPES[kind], data_of(kind, bare(item.text or ""))
    return keys, missing


class Hive:
    def __init__(self, path, template):
        self.path = path
        shutil.copy(template, path)
        os.chmod(path, 0o600)

    def merge(self, reg):
        """Merges a .reg file. A key that the tool does not make, for want of its parent, is put
        ahead."""
        raw = pathlib.Path(reg).read_bytes().decode("utf-16-le", "surrogatepass")
        assert raw.startswith("\ufeffWindows Registry Editor Version 5.00\r\n\r\n"), raw[:50]
        assert all(line.endswith("\r") for line in raw.split("\n")[:-1])
        made = {""}
        lines = []
        for line in holdable(raw[1:]).split("\n"):
            if line.startswith("[HKEY_"):
                key = ROOT + "\\" + line.rstrip("\r")[1:-1]
                ends = [m.start() for m in re.finditer(r"\\", key)] + [len(key)]
                lines += [f"[\\{key[:end]}]\r\n\r" for end in ends if key[:end] not in made]
                made.update(key[:end] for end in ends)
            lines.append(re.sub(r"^\[(-?)HKEY", rf"[\1\\{ROOT}\\HKEY", line))
        path = f"{self.path}.reg"
        pathlib.Path(path).write_text("\n".join(lines), encoding="utf-8", newline="")
        subprocess.run(["hivexregedit", "--merge", self.path, path], check=True,
                       env=os.environ | {"PERL_UNICODE": "D"})

    def keys(self):
        run = subprocess.run(["hivexregedit", "--export", self.path, "\\" + ROOT], check=True,
                             stdout=subprocess.PIPE, env=os.environ | {"PERL_UNICODE": "SD"})
        keys = {}
        for line in run.stdout.decode().split("\n"):
            if line.startswith("["):
                values = keys.setdefault(line[2 + len(ROOT):-1].lstrip("\\").casefold(), {})
            if match := re.fullmatch(r'(@|".*")=(?:hex\((.+)\)|(dword)):(.*)', line):
                name = "" if match[1] == "@" else re.sub(r"\\(.)", r"\1", match[1][1:-1])
                data = bytes.fromhex(match[4].replace(",", " "))
                values[name.casefold()] = ((4, data[::-1]) if match[3] else
                                           (int(match[2], 16), data))
        return keys


def differences(found, wanted):
    """Keys above others, and empty ones of the tool, are in the hive alone."""
    problems = [f"no key {key!r}" for key in wanted if key not in found]
    for key, values in found.items():
        if values != wanted.get(key, {}):
            problems.append(f"{key!r} has {values!r}, not {wanted.get(key)!r}")
    return problems


def export(program, manifest, reg, *options, **settings):
    return subprocess.run([program, "export", manifest, "--reg", reg, *options], check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=600, **settings)


def check_packages(program, profiles, folder, template):
    problems = []
    for number, profile in enumerate(profiles):
        out = folder / f"out{number}"
        subprocess.run([program, "convert", profile, f"{out}/app.orv", "--progress=none"],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        for manifest in sorted(out.glob("*/app.orv")):
            reg = folder / "app.reg"
            run = export(program, manifest, reg)
            hive = Hive(folder / "hive", template)
            hive.merge(reg)
            keys, missing = keys_of(manifest)
            problems += [f"{manifest}: {text}" for text in differences(hive.keys(), keys)][:5]
            if run.returncode != (3 if missing else 0):
                problems.append(f"{manifest}: status {run.returncode}, {missing} missing")
    return problems


MADE = r"""<?xml version="1.0" encoding="utf-16"?>
<Package Version="1">
<Properties>
<Architecture>x64</Architecture>
<PerUserInstall>1</PerUserInstall>
</Properties>
<CreateFiles>
<File Target="a" RelativeSource="a" />
</CreateFiles>
<CreateKeys>
<Key Target="HKEY_USERS\A\-x [y];1] " />
<Key Target="HKEY_USERS\A\Redone" />
<Key Target="HKEY_CURRENT_USER\View" Architecture="x86" />
<Key Target="HKEY_LOCAL_MACHINE\SOFTWARE\B" Architecture="x86" />
<Key Target="HKEY_CLASSES_ROOT\B" />
<Key Target="HKEY_USERS\A\~000aB" />
<Key Target="HKEY_USERS\A\\B" />
</CreateKeys>
<DeleteKeys>
<Key Target="HKEY_USERS\A\Gone" Recursive="1" />
<Key Target="HKEY_USERS\A\redone" />
<Key Target="HKEY_USERS\A\Stays" Recursive="0" />
<Key Target="HKEY_CURRENT_USER" />
</DeleteKeys>
<CreateValues>
<Value Target="HKEY_USERS\A" Type="REG_SZ">%CSIDL_WINDOWS%\x |%Path|% || %SystemDrive%\"~~"\</Value>
<Value Target="HKEY_USERS\a" Value="]=-&quot;\;@ ~d83d~de00%SID%" Type="REG_SZ">~000d~000a</Value>
<Value Target="HKEY_USERS\A" Value="e" Type="REG_EXPAND_SZ"></Value>
<Value Target="HKEY_USERS\A" Value="m" Type="REG_MULTI_SZ">a\\0b\0%CSIDL_WINDOWS%\\\0\0</Value>
<Value Target="HKEY_USERS\A" Value="m0" Type="REG_MULTI_SZ">\0\0</Value>
<Value Target="HKEY_USERS\A" Value="d" Type="REG_DWORD">0xA</Value>
<Value Target="HKEY_USERS\A" Value="q" Type="REG_QWORD">0xFEDCBA9876543210</Value>
<Value Target="HKEY_USERS\A" Value="n" Type="REG_NONE"></Value>
<Value Target="HKEY_USERS\A" Value="r" Type="REG_RESOURCE_REQUIREMENTS_LIST">0102</Value>
<Value Target="HKEY_USERS\A\Redone" Value="~d800" Type="REG_SZ">~d800</Value>
<Value Target="HKEY_USERS\A" Value="a~000ab" Type="REG_SZ">a</Value>
<Value Target="HKEY_USERS\A" Value="untyped" />
<Value Target="HKEY_USERS\A" Value="wrong" Type="REG_DWORD">0xG</Value>
<Value Target="HKEY_USERS\A" Value="%x" Type="REG_SZ">a</Value>
<Value Target="HKEY_USERS\A" Value="n~0000" Type="REG_SZ">a</Value>
</CreateValues>
<DeleteValues>
<Value Target="HKEY_USERS\A\Stays" Value="old" />
<Value Target="HKEY_USERS\A\Stays" />
</DeleteValues>
</Package>
"""
COUNTS = {"keys": 3, "values": 10, "deletions": 4, "others": 1, "notExported": 11}
BEFORE = "\ufeffWindows Registry Editor Version 5.00\n\n" + r"""[HKEY_USERS\A\Gone\Below]
@="x"

[HKEY_USERS\A\Redone]
"old"="x"

[HKEY_USERS\A\Stays]
@="x"
"Old"="x"
"new"="x"
""" + "\n"


def made_keys(windows, drive, sid):
    def text(words):
        return 1, units(words + "\0")

    strings = [r"a\0b", windows + "\\", ""]
    return {
        r"hkey_users": {}, r"hkey_current_user": {}, "": {},
        r"hkey_current_user\view": {},
        r"hkey_users\a": {
            "": text(rf'{windows}\x %Path% | {drive}\"~"' + "\\"),
            f']=-"\\;@ \U0001f600{sid}'.casefold(): text("\r\n"),
            "e": (2, units("\0")),
            "m": (7, units("\0".join(strings) + "\0")),
            "m0": (7, units("\0")),
            "d": (4, b"\x0a\0\0\0"),
            "q": (11, bytes.fromhex("1032547698badcfe")),
            "n": (0, b""),
            "r": (10, b"\1\2")},
        r"hkey_users\a\-x [y];1] ": {},
        r"hkey_users\a\redone": {"<d800>": text("\ud800")},
        r"hkey_users\a\stays": {"new": text("x")}}


def check_made(program, folder, template):
    manifest = folder / "made.orv"
    manifest.write_bytes(("\ufeff" + MADE.replace("\n", "\r\n")).encode("utf-16-le"))
    before = folder / "before.reg"
    before.write_bytes(BEFORE.replace("\n", "\r\n").encode("utf-16-le"))
    problems = []
    for options, keys in (
            ([], made_keys("%CSIDL_WINDOWS%", "%SystemDrive%", "%SID%")),
            (["--machine=built-in"], made_keys(r"C:\Windows", "C:", "S-1-5-21-1-2-3-1000"))):
        run = export(program, manifest, folder / "made.reg", "--json", *options)
        counts = {name: json.loads(run.stdout).get(name) for name in COUNTS}
        if (run.returncode, counts) != (3, COUNTS):
            problems.append(f"status {run.returncode}, {counts}: {run.stderr.decode()}")
        hive = Hive(folder / "hive", template)
        hive.merge(before)
        hive.merge(folder / "made.reg")
        problems += differences(hive.keys(), keys)
    return problems


def check_files(program, folder):
    """What cannot be written or read leaves the former file, and nothing beside it."""
    reg = folder / "files" / "a.reg"
    reg.parent.mkdir()
    reg.write_text("former")
    manifest = folder / "made.orv"
    cut = folder / "cut.orv"
    cut.write_bytes(manifest.read_bytes()[:-40])
    machine = folder / "machine.toml"
    with open(machine, "wb") as description:
        subprocess.run([program, "machine"], check=True, stdout=description)
    few = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))}
    statuses = [export(program, manifest, reg, **few).returncode,
                export(program, cut, reg).returncode,
                export(program, folder / "none.orv", reg).returncode,
                export(program, manifest, manifest).returncode,
                export(program, manifest, machine, "--machine", machine).returncode,
                export(program, manifest, "/dev/full").returncode]
    problems = [] if statuses == [1] * 6 else [f"statuses {statuses}"]
    if reg.read_text() != "former" or len(list(reg.parent.iterdir())) != 1:
        problems.append(f"the former file is not as it was: {list(reg.parent.iterdir())}")
    # Of two values of one name, the later one is imported last.
    twice = folder / "twice.orv"
    twice.write_bytes(manifest.read_bytes().replace('Value="e"'.encode("utf-16-le"), 'Value="N"'.encode("utf-16-le"))
                      .replace('Value="q"'.encode("utf-16-le"), 'Value="n"'.encode("utf-16-le")))
    lines = [line for line in export(program, twice, "/dev/stdout").stdout.decode("utf-16", "replace").split("\r\n")
             if line.lower().startswith('"n"')]
    if [line[1] for line in lines] != ["N", "n", "n"]:
        problems.append(f"values of one name are in the order {lines}")
    piped = export(program, manifest, "/dev/stdout").stdout
    if export(program, manifest, reg).returncode != 3 or piped != reg.read_bytes():
        problems.append("a pipe gets another file")
    return problems


def main():
    program, make_sample, make_packages, folder = sys.argv[1:]
    folder = pathlib.Path(folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    subprocess.run([make_sample, folder / "sample"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([make_packages, folder / "random", "12", "5"], check=True,
                   stdout=subprocess.DEVNULL)
    template = next((folder / "sample").rglob("InstallRoot.dat"))
    profiles = sorted(folder.rglob("*.profile"))
    problems = check_packages(program, profiles, folder, template)
    problems += check_made(program, folder, template)
    problems += check_files(program, folder)
    print("\n".join(problems))
    return 1 if problems or not profiles else 0


if __name__ == "__main__":
    sys.exit(main())
