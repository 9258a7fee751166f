#!/usr/bin/env python3
"""Compares the plans of examples/installer with manifests, made by hand and converted."""

import argparse
import json
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

SID = "S-1-5-21-7-8-9-1001"  # of the user who installs
CONVERTER = "S-1-5-21-1-2-3-1000"
HEAD = "<Properties><Architecture>x64</Architecture></Properties>"
MACHINE = rf"""
[user]
sid = "{SID}"
[folders]
CSIDL_PROGRAM_FILES = 'C:\Program Files'  # with a comment
CSIDL_PROGRAM_FILESX86 = "C:\\Program Files (x86)"
CSIDL_SYSTEM = 'C:\Windows\System32'
CSIDL_SYSTEMX86 = 'C:\Windows\SysWOW64'
CSIDL_PERSONAL = '\\server\home\Documents'
[environment]
systemdrive = "C:"
Path = 'C:\bad'
"""
KEY = r'Target="HKEY_LOCAL_MACHINE\a"'

# What a value's type and text are in the plan. The texts are those between the tags.
DATA = [
    ("REG_SZ", r"%SystemDrive%\Data |%Path|% || ~~ &lt; ~d83d~dcc5 ~d800 ~202e%SID%",
     "C:\\Data %Path% | ~ < \U0001f4c5 \ud800 \u202e" + SID),
    ("REG_EXPAND_SZ", r"%CSIDL_SYSTEM%\;%SystemDrive%", "C:\\Windows\\System32\\;C:\\"),
    ("REG_SZ", "   ", "   "),
    ("REG_MULTI_SZ", r"C:\\0\0%CSIDL_SYSTEM%\\a\\\0|%\\||~000a\0\0",
     ["C:\\0", "C:\\Windows\\System32\\a\\", "%\\|\n"]),
    ("REG_MULTI_SZ", r"\0\0", []),
    ("REG_DWORD", "0xFFFFFFFF", 0xFFFFFFFF),
    ("REG_QWORD", "0x123456789ABCDEF", 0x123456789ABCDEF),
    ("REG_NONE", "", ""),
    ("REG_LINK", "00FF", "00FF"),
    ("REG_BINARY", "AB" * 600_000, "AB" * 600_000),  # more than is read at a time
]
BAD_DATA = [("REG_SZ", "%Path%"), ("REG_SZ", "50% off"), ("REG_SZ", "a|b"), ("REG_SZ", "a~0g"),
            ("REG_SZ", "~0000"), ("REG_SZ", "%CSIDL_SYSTEM%a"), ("REG_MULTI_SZ", "a"),
            ("REG_MULTI_SZ", r"a\0"), ("REG_MULTI_SZ", r"a\b\0\0"), ("REG_MULTI_SZ", r"a\\0\0"),
            ("REG_DWORD", "0x100000000"), ("REG_BINARY", "ABC"), ("REG_NEW", "")]
BAD_TARGETS = [r"C:\a\..\b", r"a\b.txt", "C:", r"C:a\b", r"\\host\share\a", r"\\?\UNC\host\share\a",
               r"C:\a\\b", r"C:\a\NUL.txt", r"C:\a. \b", r"C:\a:b", r"C:\a/b", r"%Temp%\a",
               r"%CSIDL_SYSTEM%\%CSIDL_SYSTEM%\a", r"%CSIDL_SYSTEM%\%SID%\~002e~002e\a"]
BAD_SOURCES = [r"..\secret", "link", r"linked\a.txt", "missing", "folder", r"C:\a", r"folder\..\ok",
               "/etc/passwd", "~002fetc", "%CSIDL_SYSTEM%", ""]
NO_PLAN = ['<New />', '<CreateFiles><Key Target="a" /></CreateFiles>', "text",
           '<CreateKeys><Key New="1" /></CreateKeys>', "<CreateKeys></CreateKeys><CreateKeys />",
           "<CreateKeys><Key>", "<CreateShortcuts><Shortcut><New /></Shortcut></CreateShortcuts>"]


def plan(arguments, manifest, machine, *options):
    command = [sys.executable, "-B", arguments.program, "--json", *options, manifest, machine]
    done = subprocess.run(command, capture_output=True, check=False)
    return done.returncode, [json.loads(line) for line in done.stdout.splitlines()], done.stderr


def write(path, body, head=HEAD):
    text = f'<?xml version="1.0" encoding="utf-16"?>\r\n<Package Version="1">{head}{body}</Package>'
    path.write_bytes(b"\xff\xfe" + text.encode("utf-16-le"))


def check(name, found, wanted):
    if found != wanted:
        sys.exit(f"{name}:\n{found!r:.9000}\nand not\n{wanted!r:.9000}")


def check_made(arguments, folder):
    """A manifest in which each text is good or bad in its own way."""
    for name in ("ok", "folder/ok", "outside/a.txt", f"Users/{CONVERTER}/b", "Users/S-1-5-18/c"):
        (folder / "app" / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / "app" / name).touch()
    (folder / "secret").touch()
    (folder / "app/link").symlink_to("ok")
    (folder / "app/linked").symlink_to("outside")
    machine, manifest = folder / "machine.toml", folder / "app/app.orv"
    machine.write_text(MACHINE, encoding="utf-8")
    values = "".join(f'<Value {KEY} Value="{i}" Type="{kind}">{text}</Value>'
                     for i, (kind, text, *_) in enumerate(DATA + BAD_DATA))
    targets = [(target, "ok") for target in BAD_TARGETS] + [("C:\\" + "e" * i, source) for i, source
                                                           in enumerate(BAD_SOURCES, 1)]
    targets += [(r"\\?\%CSIDL_PROGRAM_FILES%\%SID%\a", r"FOLDER\OK"),
                (r"%SystemDrive%\b", r"Users\%SID%\b"), (r"%CSIDL_PERSONAL%\c", "ok"),
                (r"%SystemDrive%\B", "ok")]
    files = "".join(f'<File Target="{t}" RelativeSource="{s}" />' for t, s in targets)
    folders = "".join(f'<Folder Target="{path}" Recursive="{recursive}" />' for path, recursive in
                      ((r"C:\a", 0), (r"C:\a\b\c", 0), (r"C:\a\b", 0), (r"C:\d", 1)))
    write(manifest, f"<DeleteFolders>{folders}</DeleteFolders><CreateFiles>{files}</CreateFiles>"
          f"<CreateValues>{values}</CreateValues><DeleteKeys><Key {KEY} /></DeleteKeys>"
          '<PreActions><Action RelativeSource="ok" /><Action ActionType="2">a</Action>'
          "</PreActions>")
    status, steps, told = plan(arguments, manifest, machine)
    check("status", status, 3)
    check("order", [step["step"] for step in steps],
          ["package", "run"] + ["delete folder"] * 3 + ["copy"] * 3 + ["set value"] * len(DATA))
    check("deepest first", [step["Target"] for step in steps[2:5]],
          [r"C:\a\b\c", r"C:\a\b", r"C:\a"])
    check("files", [(step["Target"], step["RelativeSource"]) for step in steps[5:8]],
          [(rf"C:\Program Files\{SID}\a", "folder/ok"), (r"C:\b", f"Users/{CONVERTER}/b"),
           (r"\\server\home\Documents\c", "ok")])
    check("data", [step["Data"] for step in steps[8:]], [data for _, _, data in DATA])
    # And: the recursive folder, the second C:\b, the unused collection, the script.
    lines = re.findall(rb"line \d+: not carried out: ", told)
    check("refusals", len(lines), len(BAD_DATA + BAD_TARGETS + BAD_SOURCES) + 4)
    plain = subprocess.run([sys.executable, "-B", arguments.program, manifest, machine],
                           capture_output=True, check=False)
    check("lines", len(plain.stdout.splitlines()), len(steps))
    if b"\xe2\x80\xae" in plain.stdout + plain.stderr:
        sys.exit("a mark of direction reaches the terminal")
    status, steps, _ = plan(arguments, manifest, machine, "--inside", r"c:\program FILES")
    check("inside", [step["Target"] for step in steps if step["step"] == "copy"],
          [rf"C:\Program Files\{SID}\a"])
    write(manifest, r'<CreateFiles><File Target="%CSIDL_PROGRAM_FILES%\a" RelativeSource="ok" />'
          "</CreateFiles>", HEAD.replace("x64", "x86"))
    check("x86", plan(arguments, manifest, machine)[1][1]["Target"], r"C:\Program Files (x86)\a")
    for body in NO_PLAN:
        write(manifest, body)
        check(body, plan(arguments, manifest, machine)[:2], (1, []))
    write(manifest, "")
    check("empty", plan(arguments, manifest, machine)[0], 0)
    manifest.write_bytes(manifest.read_bytes().decode("utf-16").encode())
    check("UTF-8", plan(arguments, manifest, machine)[:2], (1, []))


def check_converted(arguments, manifest, machine):
    """Each item of a converted manifest is in the plan, or told. Those that may not be are few."""
    root = ElementTree.fromstring(manifest.read_bytes())
    items = [item for part in root[1:] for item in part]
    status, steps, told = plan(arguments, manifest, machine)
    refusals = re.findall(r"not carried out: (.*)", told.decode())
    check(f"{manifest}: items", len(steps) - 1 + len(refusals), len(items))
    check(f"{manifest}: status", status, 3 if refusals else 0)
    # A value whose type has no name, and a file whose captured name has a token in it.
    known = [line for line in refusals if line.endswith("type of the value is not known")
             or re.search(r"Source='[^']*\\C:\\", line)]
    check(f"{manifest}: refusals", refusals, known)
    left = re.findall(r"%(?:CSIDL|FOLDERID|System)\w+%|%SID%", json.dumps(steps))
    check(f"{manifest}: tokens", left, [])
    sources = [step.get("RelativeSource") or step.get("ManifestRelativeSource") for step in steps]
    sources = {name for name in sources if name} | {f for s in steps for f in s.get("Files", [])}
    check(f"{manifest}: payload", [s for s in sources if not (manifest.parent / s).is_file()], [])
    return {step["step"] for step in steps}


def main():
    parser = argparse.ArgumentParser()
    for name in "program", "cas2orv", "make-sample", "make-packages", "folder":
        parser.add_argument(f"--{name}", required=True)
    arguments = parser.parse_args()
    folder = Path(arguments.folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    check_made(arguments, folder / "made")
    subprocess.run([arguments.make_sample, folder / "sample"], capture_output=True, check=True)
    command = [arguments.make_packages, folder / "random", "3", "7"]
    listed = subprocess.run(command, capture_output=True, check=True).stdout.decode()
    # Only on its own machine does the sample have an assembly and empty folders.
    own_machine = folder / "sample/machine.toml"
    conversions = [[r"\\sample\planner\Planner.profile", "--machine", own_machine]]
    conversions += [[line.split("\t")[0]] for line in listed.splitlines()]
    machine = folder / "machine.toml"
    command = [arguments.cas2orv, "machine", "--machine", "built-in"]
    machine.write_bytes(subprocess.run(command, capture_output=True, check=True).stdout)
    seen = set()
    for number, options in enumerate(conversions):
        output = folder / "out" / str(number) / "app.orv"
        command = [arguments.cas2orv, "convert", *options, output, "--progress", "none"]
        subprocess.run(command, capture_output=True, check=False)
        for manifest in sorted(output.parent.glob("*/app.orv")):
            seen |= check_converted(arguments, manifest, machine)
    check("kinds of steps that no converted manifest has", {
        "run", "copy", "make folder", "delete file", "delete service", "delete shortcut",
        "make key", "set value", "make shortcut", "set variable", "create service",
        "install assembly"} - seen, set())
    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
