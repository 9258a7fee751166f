#!/usr/bin/env python3
"""Times whole conversions beside other tools and prints the figures as a Markdown table.

All commands of a case take turns within a round, after one round that only warms the caches. Every
run gets a fresh output folder, and on disk nothing is deleted before the end: ext4 makes files many
times slower for some minutes after others were deleted. So wait between two runs, or use --keep.

Needs Python 3.9, GNU time, and for the hive hivexml, reglookup and hivexregedit (Debian: time,
libhivex-bin, reglookup, libwin-hivex-perl); a tool that is not there is left out. All cases together
take up to 1 GiB below --memory and 20 GiB below --disk.
"""

import argparse
import dataclasses
import os
import pathlib
import random
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
from typing import Callable, List, Optional

GUID = "5B0C6F0E-3B1A-4E1D-9C55-0A7D3C1F2E4B"
MIB = 1024 * 1024
FILES, FOLDERS = 50_000, 2_500
KEYS, VALUES_A_KEY = 50_000, 10
FIXED_MEMORY, MEMORY_AN_ITEM = 24 * MIB, 700


@dataclasses.dataclass
class Command:
    """One of the commands that take turns."""

    name: str
    arguments: Callable[[pathlib.Path], list]  # for an output folder
    keeps_output: bool = False  # standard output goes to a file in that folder


@dataclasses.dataclass
class Figures:
    """What the rounds gave for one command."""

    seconds: List[float] = dataclasses.field(default_factory=list)
    cpu_seconds: List[float] = dataclasses.field(default_factory=list)
    peaks: List[int] = dataclasses.field(default_factory=list)  # bytes

    @property
    def time(self):
        return statistics.median(self.seconds)

    @property
    def cpu_time(self):
        return statistics.median(self.cpu_seconds)

    @property
    def peak(self):
        return statistics.median(self.peaks)


@dataclasses.dataclass
class Row:
    """One line of the table: a figure, what it is held against, and how far it may go."""

    subject: str
    figure: str
    reference: str
    ratio: float
    spread: str = ""  # the least and the greatest ratio of a round
    cpu_ratio: str = ""  # says more than the time where other programs run
    budget: Optional[float] = None


class CaseFailed(Exception):
    """A case that gives no figures, and why."""


class Bench:
    def __init__(self, options):
        self.options = options
        self.cas2orv = options.build / "host" / "cas2orv"
        self.make_hive = options.build / "bench" / "make_hive"
        self.memory = pathlib.Path(tempfile.mkdtemp(prefix="orv-bench-", dir=options.memory))
        self.disk = pathlib.Path(tempfile.mkdtemp(prefix="orv-bench-", dir=options.disk))
        # The command that runs may end, so that nobody writes into the folders that are removed.
        self.is_stopped = False
        signal.signal(signal.SIGTERM, lambda *_: setattr(self, "is_stopped", True))

    def finish(self):
        for root in (self.memory, self.disk):
            if self.options.keep:
                print(f"kept: {root}", file=sys.stderr)
            else:
                shutil.rmtree(root, ignore_errors=True)

    # Measuring.

    @staticmethod
    def run(command, output, figures):
        """Runs a command once and adds what it took to its figures."""
        output.mkdir(parents=True)
        # A child of Python itself would start with the peak memory of Python.
        usage = output.parent / (output.name + ".usage")
        call = ["time", "-f", "%M %U %S", "-o", usage, *command.arguments(output)]
        with open(output / "stdout" if command.keeps_output else os.devnull, "wb") as stdout:
            start = time.perf_counter()
            result = subprocess.run(call, stdout=stdout, stderr=subprocess.PIPE, check=False)
            seconds = time.perf_counter() - start
        if result.returncode != 0:
            text = result.stderr.decode(errors="replace").strip()[-500:]
            raise CaseFailed(f"{command.name} ends with {result.returncode}: {text}")
        kibibytes, user, system = usage.read_text().split()
        figures.seconds.append(seconds)
        figures.cpu_seconds.append(float(user) + float(system))
        figures.peaks.append(int(kibibytes) * 1024)
        print(f"  {command.name}: {seconds:.3f} s", file=sys.stderr)

    def measure(self, root, commands, check):
        """Runs all rounds and gives the figures by command; `check` looks at an output folder of
        the first command."""
        folder = pathlib.Path(tempfile.mkdtemp(prefix="out-", dir=root))
        for number in range(self.options.rounds + 1):
            if number < 2:  # the first round only warms the caches
                figures = {command.name: Figures() for command in commands}
            for index, command in enumerate(commands):
                if self.is_stopped:
                    sys.exit(1)
                if root == self.disk:
                    os.sync()  # or one command pays for what another one left to be written
                output = folder / f"{number}-{index}"
                self.run(command, output, figures[command.name])
                if number + index == 0:
                    check(output)
                if root == self.memory:
                    shutil.rmtree(output)  # or each run needs memory that was never used before
        return figures

    def convert(self, name, package):
        def arguments(output):
            profile = package / "Bench.profile"
            return [self.cas2orv, "convert", profile, output / "app.orv", "--progress", "none"]

        return Command(name, arguments)

    # Input.

    @staticmethod
    def package(root, name):
        """Makes a package without content, unless it is there; gives its folder, its target's
        folder and whether it was there."""
        package = root / name
        target = package / f"{GUID}_1"
        if target.exists():
            return package, target, True
        (target / "Device").mkdir(parents=True)
        (target / "SandboxData.xml").write_text("<CitrixAIE><AIE/></CitrixAIE>")
        (package / "Bench.profile").write_text(
            '<?xml version="1.0" encoding="utf-8"?>\n<Package><Name>Bench</Name><Targets><Target>'
            f"<Guid>{GUID}</Guid><Ver>1</Ver></Target></Targets></Package>\n")
        return package, target, False

    def file_package(self, root, files, folders, smallest, largest):
        """Makes a package of files spread evenly over folders, fifty of which stand together."""
        package, target, is_there = self.package(root, f"{files}-files-to-{largest}")
        if is_there:
            return package
        chance = random.Random(1)
        pool = chance.randbytes(2 * largest)
        for number in range(folders):
            folder = target / "Device/C/Program Files/Example" / f"Group {number // 50}"
            if number % 50 != 0:
                folder /= f"Part {number % 50}"
            folder.mkdir(parents=True, exist_ok=True)
            for index in range(files // folders):
                size = chance.randint(smallest, largest)
                start = chance.randint(0, largest)
                name = f"Module {index}.{chance.choice(('dll', 'exe', 'xml', 'png'))}"
                (folder / name).write_bytes(pool[start:start + size])
        return package

    def hive_package(self, root, keys):
        package, target, is_there = self.package(root, f"{keys}-keys")
        hive = target / "InstallRoot.dat"
        if not is_there:
            subprocess.run([self.make_hive, hive, str(keys)], check=True)
        return package, hive

    # Cases.

    def small_files(self, root, budget):
        package = self.file_package(root, FILES, FOLDERS, 1024, 8192)
        commands = [self.convert("cas2orv", package), copy_of(package)]
        figures = self.measure(root, commands, lambda output: check_files(output, FILES))
        subject = f"{FILES:,} files of 1 to 8 KB, {file_system(root)}"
        return [time_row(subject, figures, "cas2orv", "cp -r", budget)]

    def small_files_in_memory(self):
        return self.small_files(self.memory, 1.3)

    def small_files_on_disk(self):
        return self.small_files(self.disk, 1.2)

    def large_files(self):
        package = self.file_package(self.disk, 200, 10, 5_000_000, 5_000_000)
        commands = [self.convert("cas2orv", package), copy_of(package)]
        figures = self.measure(self.disk, commands, lambda output: check_files(output, 200))
        subject = f"200 files of 5 MB, {file_system(self.disk)}"
        return [time_row(subject, figures, "cas2orv", "cp -r", 1.15)]

    def growth(self):
        many, few = f"{FILES:,} files", f"{FILES // 10:,} files"
        commands = [
            self.convert(many, self.file_package(self.memory, FILES, FOLDERS, 1024, 8192)),
            self.convert(few, self.file_package(self.memory, FILES // 10, FOLDERS // 10, 1024,
                                                8192)),
        ]
        figures = self.measure(self.memory, commands, lambda output: check_files(output, FILES))
        return [
            time_row(many, figures, many, few, 12),
            memory_row(many, figures[many].peak, FIXED_MEMORY + FILES * MEMORY_AN_ITEM),
            slope_row("a file", figures[many], figures[few], FILES - FILES // 10),
        ]

    def tiny(self):
        package = self.file_package(self.memory, 1, 1, 1024, 8192)
        figures = self.measure(self.memory, [self.convert("cas2orv", package)],
                               lambda output: check_files(output, 1))
        return [Row("a package of one file", show_time(figures["cas2orv"].time), "50 ms allowed",
                    figures["cas2orv"].time / 0.05, budget=1)]

    def hive(self):
        many, few = "cas2orv", "a tenth of it"
        package, hive = self.hive_package(self.memory, KEYS)
        others = [("hivexml", ["hivexml", hive], 1), ("reglookup", ["reglookup", hive], None),
                  ("hivexregedit", ["hivexregedit", "--export", hive, "\\"], None)]
        others = [other for other in others if is_installed(other[0])]
        commands = [
            self.convert(many, package),
            self.convert(few, self.hive_package(self.memory, KEYS // 10)[0]),
            *(Command(name, lambda output, call=call: call, keeps_output=True)
              for name, call, _ in others),
        ]
        figures = self.measure(self.memory, commands, check_values)
        items = KEYS * (1 + VALUES_A_KEY)
        subject = f"{KEYS:,} keys, {KEYS * VALUES_A_KEY:,} values"
        return [
            *(time_row(subject, figures, many, name, budget) for name, _, budget in others),
            time_row(subject, figures, many, few, 12),
            memory_row(subject, figures[many].peak,
                       hive.stat().st_size + FIXED_MEMORY + items * MEMORY_AN_ITEM),
            slope_row("a key or value", figures[many], figures[few], items - items // 10),
        ]

    CASES = {
        "files-memory": small_files_in_memory,
        "files-disk": small_files_on_disk,
        "large-files": large_files,
        "growth": growth,
        "tiny": tiny,
        "hive": hive,
    }


def copy_of(package):
    device = package / f"{GUID}_1" / "Device"
    return Command("cp -r", lambda output: ["cp", "-r", device, output])


def file_system(folder):
    call = ["stat", "--file-system", "--format", "%T", folder]
    name = subprocess.run(call, capture_output=True, text=True, check=True).stdout.strip()
    return "ext4" if name == "ext2/ext3" else name


def is_installed(tool):
    found = shutil.which(tool) is not None
    if not found:
        print(f"  {tool} is not there", file=sys.stderr)
    return found


# A conversion that does less than its work is fast, so each case looks at what came out.

def check_files(output, files):
    found = sum(len(names) for _, _, names in os.walk(output))
    if found != files + 1:  # the manifest
        raise CaseFailed(f"{found} files came out, not {files + 1}")


def check_values(output):
    manifest = (output / f"{{{GUID}}}" / "app.orv").read_bytes()
    found = manifest.count("<Value ".encode("utf-16-le"))
    if found < KEYS * VALUES_A_KEY // 2:
        raise CaseFailed(f"only {found} values came out")


# The table.

def show_time(seconds):
    return f"{seconds * 1000:.0f} ms" if seconds < 1 else f"{seconds:.2f} s"


def time_row(subject, figures, name, reference, budget):
    mine, other = figures[name], figures[reference]
    ratios = [a / b for a, b in zip(mine.seconds, other.seconds)]
    return Row(subject, show_time(mine.time), f"{reference}: {show_time(other.time)}",
               mine.time / other.time, f"{min(ratios):.2f} to {max(ratios):.2f}",
               f"{mine.cpu_time / other.cpu_time:.2f}", budget)


def memory_row(subject, peak, allowed):
    return Row(f"{subject}, peak memory", f"{peak / MIB:.1f} MiB",
               f"{allowed / MIB:.1f} MiB allowed", peak / allowed, budget=1)


def slope_row(item, many, few, difference):
    slope = (many.peak - few.peak) / difference
    return Row(f"memory that {item} more takes", f"{slope:.0f} bytes",
               f"{MEMORY_AN_ITEM} bytes allowed", slope / MEMORY_AN_ITEM)


def print_table(rows):
    print("| measured | figure | beside | ratio | in single rounds | CPU time | budget |")
    print("| --- | --- | --- | --- | --- | --- | --- |")
    for row in rows:
        budget = "" if row.budget is None else f"{row.budget:g}"
        if row.budget is not None and row.ratio > row.budget:
            budget += " **over**"
        print(f"| {row.subject} | {row.figure} | {row.reference} | {row.ratio:.2f} | {row.spread} "
              f"| {row.cpu_ratio} | {budget} |")


def parse_options():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("cases", nargs="*", metavar="CASE",
                        help=f"{', '.join(Bench.CASES)}; all without any")
    parser.add_argument("--build", type=pathlib.Path, default="build/release", metavar="DIR",
                        help="where the programs were built (default: %(default)s)")
    parser.add_argument("--rounds", type=int, default=5, help="default: %(default)s")
    parser.add_argument("--memory", default="/dev/shm", metavar="DIR",
                        help="a folder on tmpfs (default: %(default)s)")
    parser.add_argument("--disk", default="/var/tmp", metavar="DIR",
                        help="a folder on a disk (default: %(default)s)")
    parser.add_argument("--keep", action="store_true", help="leave the packages, and on disk what came out of them")
    options = parser.parse_args()
    unknown = set(options.cases) - set(Bench.CASES)
    if unknown:
        parser.error(f"unknown case: {', '.join(sorted(unknown))}")
    for folder in (options.memory, options.disk):
        if not os.path.isdir(folder):
            parser.error(f"no such folder: {folder}")
    if options.rounds < 1:
        parser.error("--rounds must be at least 1")
    return options


def main():
    options = parse_options()
    bench = Bench(options)
    rows = []
    load = os.getloadavg()[0]
    try:
        for name in options.cases or Bench.CASES:
            print(name, file=sys.stderr)
            try:
                rows += Bench.CASES[name](bench)
            except (CaseFailed, OSError, subprocess.CalledProcessError) as failure:
                print(f"  {name} failed: {failure}", file=sys.stderr)
    finally:
        bench.finish()
    print(f"Medians of {options.rounds} rounds on {os.cpu_count()} cores; the load was {load:.1f} "
          "before.\n")
    print_table(rows)


if __name__ == "__main__":
    main()
