#!/usr/bin/env python3
"""Converts packages in Wine and on Linux and compares all that comes out, byte for byte.

Both programs see each package under the same name, on a share, and Linux converts on the machine
that the program describes in Wine. What Wine does otherwise than Windows, and the packages do not
avoid, is done to the output of Linux before it is compared. Ends with 77 where the program of Linux
has not been built, and with 1 when something differs.
"""

import argparse
import json
import re
import shutil
import subprocess
import sys
from pathlib import Path

SKIPPED = 77
SHARE = r"\\orv\twins"
# The assembly of the packages by its name in the store of the machine.
COMPONENT = "amd64_twins.policy_63d0c2b4e0a51c3e_2.1.0.0_none_deadbeef"
# All that a conversion fills.
COLLECTIONS = """CreateFolders CreateFiles DeleteFiles CreateKeys CreateValues CreateShortcuts
    DeleteShortcuts CreateEnvVars CreateServices DeleteServices CreateAssemblies PreActions
    PostActions""".split()

# Wine has words of its own for the system's errors.
WINE_ERROR_TEXTS = {
    "Access is denied.": "Access denied.",
    "The system cannot find the file specified.": "File not found.",
    "The system cannot find the path specified.": "Path not found.",
    "Unspecified error": "Call failed.",
}
# Those flags of a link that Wine's link object tells: item list, arguments, icon.
WINE_LINK_FLAGS = 0x61


def wine_link(match):
    """A shortcut as Wine's link object gives it: shown as a normal window, without blocks."""
    link = re.sub(r"<Data .*?</Data>", "", match[0]).replace("></Shortcut>", " />")
    link = re.sub(r' ShowCmd="\d+"', ' ShowCmd="1"', link)
    return re.sub(
        r' DataFlags="0x([0-9A-F]+)"',
        lambda flags: f' DataFlags="0x{int(flags[1], 16) & WINE_LINK_FLAGS:X}"',
        link,
    )


def wine_tag(match):
    """A tag as Wine's XML writer writes it: markup in attributes stays as it is."""
    tag = match[0]
    for escape, plain in (("&lt;", "<"), ("&gt;", ">"), ("&quot;", '"'), ("&amp;", "&")):
        tag = tag.replace(escape, plain)
    return tag


def wine_manifest(text):
    # Wine's XML writer refuses the line end behind the declaration.
    text = text.replace("?>\r\n", "?>", 1)
    text = re.sub(r"<Shortcut .*", wine_link, text)
    return re.sub(r"<[^<>]*>", wine_tag, text)


def wine_log(text):
    for ours, wines in WINE_ERROR_TEXTS.items():
        text = text.replace(f"  {ours}<br>", f"  {wines}<br>")
    return text


def fail(problem):
    sys.exit(f"same_bytes: {problem}")


def printable(line):
    return line.encode("utf-8", "backslashreplace").decode()


def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)


def compare_texts(name, wine, linux, to_wine):
    """Compares two texts in UTF-16, of which Linux's becomes what Wine makes of the same."""
    # Every 16-bit unit passes through, paired or not.
    wine_text = wine.decode("utf-16-le", "surrogatepass")
    linux_text = to_wine(linux.decode("utf-16-le", "surrogatepass"))
    if wine_text == linux_text:
        return
    wine_lines = wine_text.split("\n")
    linux_lines = linux_text.split("\n")
    for number, (ours, theirs) in enumerate(zip(wine_lines, linux_lines), 1):
        if ours != theirs:
            fail(
                f"{name} differs in line {number}\n"
                f"Wine:  {printable(ours)}\nLinux: {printable(theirs)}"
            )
    fail(f"{name} has {len(wine_lines)} lines in Wine and {len(linux_lines)} on Linux")


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


def compare_trees(wine, linux):
    names = files_below(wine)
    linux_names = files_below(linux)
    for side, missing in ("Wine", linux_names - names), ("Linux", names - linux_names):
        if missing:
            fail(f"not made by {side}: {printable(', '.join(sorted(missing)))}")
    for name in sorted(names):
        ours = (wine / name).read_bytes()
        theirs = (linux / name).read_bytes()
        if name.endswith(".orv"):
            compare_texts(name, ours, theirs, wine_manifest)
        elif name.endswith("log.html"):
            compare_texts(name, ours, theirs, wine_log)
        elif ours != theirs:
            fail(f"{printable(name)} has other bytes in Wine than on Linux")
    return names


def check_collections(folder):
    """What is not there cannot differ."""
    manifests = [path.read_bytes().decode("utf-16") for path in folder.rglob("*.orv")]
    for collection in COLLECTIONS:
        item = re.compile(f"<{collection}>\r\n<[A-Z]")
        if not any(item.search(manifest) for manifest in manifests):
            fail(f"no manifest has any {collection}")


class Twins:
    """The two folders that are the share, the one in Wine and the other on Linux."""

    def __init__(self, args):
        self.args = args
        self.wine = args.folder / "wine"
        self.linux = args.folder / "linux"
        self.machine = args.folder / "machine.toml"
        # Where Wine looks for the share, and for the folder in the store.
        self.links = {
            args.prefix / "dosdevices/unc/orv/twins": self.wine,
            args.prefix / "drive_c/windows/winsxs" / COMPONENT: args.folder / "assemblies",
        }

    def in_wine(self, *command):
        return run(self.args.wine, self.args.prefix, *command)

    def make(self):
        shutil.rmtree(self.args.folder, ignore_errors=True)
        self.args.folder.mkdir(parents=True)
        folder = "Z:" + str(self.args.folder).replace("/", "\\")
        self.in_wine(self.args.make_twins, folder).check_returncode()
        for link, place in self.links.items():
            link.parent.mkdir(parents=True, exist_ok=True)
            link.unlink(missing_ok=True)
            link.symlink_to(place)
        description = self.in_wine(self.args.cas2orv, "machine")
        description.check_returncode()
        drive = self.args.prefix / "drive_c"
        places = (
            f'\n[drives]\n"C:" = {json.dumps(str(drive))}\n"Z:" = "/"\n'
            f"\n[shares]\n'{SHARE}' = {json.dumps(str(self.linux))}\n"
        )
        self.machine.write_bytes(description.stdout + places.encode())

    def remove_links(self):
        for link in self.links:
            link.unlink(missing_ok=True)

    def run_both(self, *arguments):
        """Runs cas2orv on both sides and gives the two results, which end alike."""
        ours = self.in_wine(self.args.cas2orv, *arguments)
        theirs = run(self.args.linux, *arguments, "--machine", self.machine)
        if ours.returncode != theirs.returncode:
            fail(
                f"cas2orv {' '.join(arguments)}\n"
                f"ends with {ours.returncode} in Wine and {theirs.returncode} on Linux\n"
                f"Wine:\n{ours.stderr.decode()}\nLinux:\n{theirs.stderr.decode()}"
            )
        return ours, theirs

    def convert(self, profile, name):
        ours, theirs = self.run_both("targets", profile)
        if ours.stdout != theirs.stdout:
            fail(f"{profile} has other targets in Wine than on Linux")
        out = f"{SHARE}\\out\\{name}\\"
        self.run_both(
            "convert", profile, out + "App.orv", "--log", out + "log.html", "--progress", "none"
        )

    def compare(self):
        for profile in sorted(self.wine.glob("*/*.profile")):
            name = profile.parent.name
            self.convert(f"{SHARE}\\{name}\\{profile.name}", name)
        self.convert(f"C:\\windows\\WinSxS\\{COMPONENT}\\Twins.profile", "assemblies")
        names = compare_trees(self.wine / "out", self.linux / "out")
        check_collections(self.linux / "out")
        print(f"{len(names)} files are the same")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--wine", required=True, help="the script that runs a program in Wine")
    parser.add_argument("--prefix", required=True, type=Path, help="the folder of Wine's machine")
    parser.add_argument("--make-twins", required=True, help="make_twins of Windows")
    parser.add_argument("--cas2orv", required=True, help="cas2orv of Windows")
    parser.add_argument("--linux", required=True, type=Path, help="cas2orv of Linux")
    parser.add_argument("--folder", required=True, type=Path, help="for all that is made")
    args = parser.parse_args()
    if not args.linux.exists():
        print(f"same_bytes: {args.linux} has not been built", file=sys.stderr)
        sys.exit(SKIPPED)
    twins = Twins(args)
    try:
        twins.make()
        twins.compare()
    finally:
        twins.remove_links()


if __name__ == "__main__":
    main()
