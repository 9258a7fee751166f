"""Makes the captured packages that compare.py converts. The same arguments give the same package."""

import dataclasses
import os
import pathlib
import random
import shutil
import subprocess

GUID = "5B0C6F0E-3B1A-4E1D-9C55-0A7D3C1F2E4B"
PROFILE = (
    '<?xml version="1.0" encoding="utf-8"?>\n<Package><Name>Bench</Name><Targets><Target>'
    f"<Guid>{GUID}</Guid><Ver>1</Ver></Target></Targets></Package>\n")
ISOLATION = "<CitrixAIE><AIE/></CitrixAIE>"

FILES_A_FOLDER = 20
EXTENSIONS = ("dll", "exe", "xml", "png")

# The deep tree: programs of several vendors, each with these folders.
PROGRAM_FOLDERS = """
    app runtime languages extensions media manual presets examples licenses update
    runtime/modules runtime/certificates languages/en-GB languages/fr-FR languages/pt-BR
    extensions/base extensions/import media/pictures media/sounds manual/pages examples/projects
    runtime/modules/native extensions/base/forms media/pictures/24x24 manual/pages/figures
    """.split()
VENDORS = ("Example", "Specimen", "Sample Instruments", "Blue Lake Systems", "Trial Software")
SUBJECTS = ("core", "settings", "languages", "view", "colour scheme")
PARTS = ("base", "gui", "web", "file")
DEEP_EXTENSIONS = ("dll", "exe", "xml", "json", "html", "png", "js", "css", "pdf", "resources",
                   "config", "ttf")


@dataclasses.dataclass(frozen=True)
class Package:
    """A package of one target on the disk."""

    folder: pathlib.Path

    @property
    def profile(self):
        return self.folder / "Bench.profile"

    @property
    def device(self):
        return self.folder / f"{GUID}_1" / "Device"

    @property
    def hive(self):
        return self.folder / f"{GUID}_1" / "InstallRoot.dat"


@dataclasses.dataclass(frozen=True)
class Sizes:
    """The least and the greatest size of files, in bytes."""

    smallest: int
    largest: int

    def on_disk(self, files):
        """About what files of such sizes take, in bytes, with what a file system adds."""
        mean = (self.smallest + self.largest) // 2
        return files * (-(-mean // 4096) * 4096 + 1024)


SMALL = Sizes(1024, 8192)
TINY = Sizes(100, 1000)
LARGE = Sizes(5_000_000, 5_000_000)


class Contents:
    """Random choices and bytes for files, without making new bytes for each."""

    def __init__(self, sizes):
        self.chance = random.Random(1)
        self.sizes = sizes
        self.pool = self.chance.randbytes(2 * sizes.largest)

    def next(self):
        size = self.chance.randint(self.sizes.smallest, self.sizes.largest)
        start = self.chance.randint(0, self.sizes.largest)
        return self.pool[start:start + size]


def make_package(folder, fill):
    """Gives the package in a folder, and makes it first unless it is there; `fill` gets it without
    content. A package that is there is whole."""
    if not folder.exists():
        new = Package(folder.with_name(folder.name + ".new"))
        shutil.rmtree(new.folder, ignore_errors=True)
        new.device.mkdir(parents=True)
        (new.device.parent / "SandboxData.xml").write_text(ISOLATION)
        new.profile.write_text(PROFILE)
        fill(new)
        new.folder.rename(folder)
    return Package(folder)


def fill_shallow(device, files, sizes):
    """Spreads files evenly over folders, fifty of which are in one group."""
    contents = Contents(sizes)
    files_a_folder = min(files, FILES_A_FOLDER)
    for number in range(files // files_a_folder):
        folder = device / "C/Program Files/Example" / f"Group {number // 50}"
        if number % 50 != 0:
            folder /= f"Part {number % 50}"
        folder.mkdir(parents=True, exist_ok=True)
        for index in range(files_a_folder):
            extension = contents.chance.choice(EXTENSIONS)
            (folder / f"Module {index}.{extension}").write_bytes(contents.next())


def fill_deep(device, files, sizes):
    """Makes whole programs, with deeper folders and longer names than fill_shallow."""
    contents = Contents(sizes)
    pick = contents.chance.choice
    for number in range(files // FILES_A_FOLDER):
        program, part = divmod(number, len(PROGRAM_FOLDERS))
        root = "Program Files (x86)" if program % 3 == 0 else "Program Files"
        folder = (device / "C" / root / VENDORS[program % len(VENDORS)]
                  / f"Office Tool {program:03}" / PROGRAM_FOLDERS[part])
        folder.mkdir(parents=True, exist_ok=True)
        for index in range(FILES_A_FOLDER):
            name = f"{pick(SUBJECTS)}_{pick(PARTS)}_{index:02}.{pick(DEEP_EXTENSIONS)}"
            (folder / name).write_bytes(contents.next())


def fill_wide(device, files):
    """Puts all files into one folder."""
    contents = Contents(TINY)
    folder = device / "C/Program Files/Example/Cache"
    folder.mkdir(parents=True)
    for index in range(files):
        name = f"entry_{contents.chance.choice(PARTS)}_{index:07}.dat"
        (folder / name).write_bytes(contents.next())


def fill_nested(device, depth, chains):
    """Makes chains of folders in one another, each folder with a file."""
    contents = Contents(TINY)
    for chain in range(chains):
        top = device / "C/Program Files/Example" / f"Chain {chain}"
        top.mkdir(parents=True)
        make_chain(top, depth, contents)


def make_chain(top, depth, contents):
    """The paths are longer than a system call takes, so each step starts at the folder above."""
    folder = os.open(top, os.O_DIRECTORY)
    try:
        for _ in range(depth):
            os.mkdir("d", dir_fd=folder)
            above, folder = folder, os.open("d", os.O_DIRECTORY, dir_fd=folder)
            os.close(above)
            file = os.open("a.dat", os.O_WRONLY | os.O_CREAT, 0o644, dir_fd=folder)
            with open(file, "wb") as stream:
                stream.write(contents.next())
    finally:
        os.close(folder)


def fill_hive(program, hive, keys):
    subprocess.run([program, hive, str(keys)], check=True)
