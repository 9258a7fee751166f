#!/usr/bin/env python3
"""Times whole conversions beside other tools and prints the figures as a Markdown table.

All commands of a case take turns within a round, after one round that only warms the caches. Every
run gets a fresh output folder, and on disk nothing is deleted before the end: ext4 makes files many
times slower for some minutes after others were deleted. So wait between two runs, or use --keep.

Needs Python 3.9, GNU time, and for the hive hivexml, reglookup and hivexregedit (Debian: time,
libhivex-bin, reglookup, libwin-hivex-perl); a tool that is not there is left out. The cases that
run without being named take up to 6 GiB below --memory, and below --disk 22 GiB for each setting
of --cores.
"""

import argparse
import os
import pathlib
import subprocess
import sys

import results
import trees
from measuring import CaseFailed, Command, Cores, Runner, file_system, is_installed, shares_data
from results import allowed_row, time_row

MIB = 1024 * 1024
FILES = 50_000
KEYS, VALUES_A_KEY = 50_000, 10
FIXED_MEMORY, MEMORY_A_FILE, MEMORY_A_VALUE = 16 * MIB, 400, 300
USER_TIME_A_FILE = 4e-6
GROWTH = 10.5  # for ten times the work
TIME_A_TINY_PACKAGE = 0.012


class Bench:
    """The cases, all with the same cores."""

    def __init__(self, runner, build, cores):
        self.runner = runner
        self.cas2orv = build / "host" / "cas2orv"
        self.make_hive = build / "bench" / "make_hive"
        self.cores = cores
        self.figures = {}  # of the case that runs

    # What cases have in common.

    @property
    def memory(self):
        return self.runner.memory

    def budget(self, several, one):
        """The budget for several cores, or that for one."""
        return one if self.cores.count == 1 else several

    def measure(self, root, commands, check):
        self.figures = self.runner.measure(root, commands, check, self.cores)
        return self.figures

    def convert(self, name, package):
        return Command(name, lambda output: [self.cas2orv, "convert", package.profile,
                                             output / "app.orv", "--progress", "none"])

    def batch(self, packages):
        return Command("cas2orv batch", lambda output: [
            self.cas2orv, "batch", packages, "--output", output / "out", "--jobs",
            str(self.cores.count), "--progress", "none"])

    def shallow(self, root, files, sizes=trees.SMALL, commands=2):
        """A package of files in shallow folders, if there is space for what a case makes of it."""
        self.runner.require(root, sizes.on_disk(files), files, commands)
        return trees.make_package(
            root / f"{files}-files-to-{sizes.largest}",
            lambda new: trees.fill_shallow(new.device, files, sizes))

    def deep(self, root, files):
        self.runner.require(root, trees.SMALL.on_disk(files), files, 2)
        return trees.make_package(root / f"{files}-files-deep",
                                  lambda new: trees.fill_deep(new.device, files, trees.SMALL))

    # Cases.

    def small_files(self, package, root, wall):
        figures = self.measure(root, [self.convert("cas2orv", package), copy_of(package)],
                               lambda output: check_files(output, FILES))
        mine = figures["cas2orv"]
        subject = f"{FILES:,} files of 1 to 8 KB, {file_system(root)}"
        return [
            time_row(subject, figures, "cas2orv", "cp -r", wall, 1.6),
            allowed_row(f"{subject}, user time a file", "s", mine.median("user") / FILES,
                        USER_TIME_A_FILE),
            memory_row(subject, mine, FILES),
        ]

    def files_memory(self):
        package = self.shallow(self.memory, FILES)
        return self.small_files(package, self.memory, self.budget(1.1, 1.6))

    def files_memory_deep(self):
        package = self.deep(self.memory, FILES)
        return self.small_files(package, self.memory, self.budget(1.1, 1.6))

    def files_disk(self):
        package = self.shallow(self.runner.disk, FILES)
        return self.small_files(package, self.runner.disk, self.budget(1.0, 1.6))

    def files_disk_deep(self):
        package = self.deep(self.runner.disk, FILES)
        return self.small_files(package, self.runner.disk, self.budget(1.0, 1.6))

    def large_files(self):
        disk = self.runner.disk
        package = self.shallow(disk, 200, trees.LARGE)
        figures = self.measure(disk, [self.convert("cas2orv", package), copy_of(package)],
                               lambda output: check_files(output, 200))
        subject = f"200 files of 5 MB, {file_system(disk)}"
        if not shares_data(disk):
            return [time_row(subject, figures, "cas2orv", "cp -r", 1.05)]
        more = figures["cas2orv"].median("seconds") - figures["cp -r"].median("seconds")
        return [time_row(subject, figures, "cas2orv", "cp -r"),
                allowed_row(f"{subject}, time more than cp -r", "s", more, 0.1)]

    def growth(self, files=FILES, sizes=trees.SMALL):
        many, few = f"{files:,} files", f"{files // 10:,} files"
        commands = [self.convert(many, self.shallow(self.memory, files, sizes)),
                    self.convert(few, self.shallow(self.memory, files // 10, sizes))]
        figures = self.measure(self.memory, commands, lambda output: check_files(output, files))
        return [
            time_row(many, figures, many, few, GROWTH),
            memory_row(many, figures[many], files),
            slope_row("a file", figures[many], figures[few], files - files // 10, MEMORY_A_FILE),
        ]

    def growth_huge(self):
        return self.growth(1_000_000, trees.TINY)

    def wide_folder(self, files=100_000):
        many, few = f"{files:,} files in one folder", f"{files // 10:,} files in one folder"
        packages = []
        for count in (files, files // 10):
            self.runner.require(self.memory, trees.TINY.on_disk(count), count, 1)
            packages.append(trees.make_package(
                self.memory / f"{count}-files-wide",
                lambda new, count=count: trees.fill_wide(new.device, count)))
        commands = [self.convert(many, packages[0]), self.convert(few, packages[1]),
                    copy_of(packages[0])]
        figures = self.measure(self.memory, commands, lambda output: check_files(output, files))
        return [
            time_row(many, figures, many, "cp -r", 2),
            time_row(many, figures, many, few, GROWTH),
            memory_row(many, figures[many], files),
        ]

    def wide_folder_huge(self):
        return self.wide_folder(1_000_000)

    def deep_folder(self, depth=5_000):
        """cp names whole paths to the system and fails below 4096 bytes of them, so it copies ten
        chains of a tenth of the depth: as many folders and files."""
        few_deep = depth // 10
        many, few = f"{depth:,} nested folders", f"{few_deep:,} nested folders"
        copy = f"cp -r of 10 x {few_deep:,}"

        def nested(deep, chains):
            return trees.make_package(self.memory / f"{chains}-chains-of-{deep}",
                                      lambda new: trees.fill_nested(new.device, deep, chains))

        commands = [self.convert(many, nested(depth, 1)), self.convert(few, nested(few_deep, 1)),
                    copy_of(nested(few_deep, 10), copy)]
        figures = self.measure(self.memory, commands, lambda output: check_files(output, depth))
        return [
            time_row(many, figures, many, copy, 2),
            time_row(many, figures, many, few, GROWTH),
            # A path is as long as its folder is deep, so no number of bytes a file says enough.
            memory_row(many, figures[many], depth, budget=None),
        ]

    def tiny(self):
        package = self.shallow(self.memory, 1)
        figures = self.measure(self.memory, [self.convert("cas2orv", package)],
                               lambda output: check_files(output, 1))
        return [allowed_row("a package of one file", "s", figures["cas2orv"].median("seconds"),
                            0.05)]

    def hive(self, keys=KEYS, others=("hivexml", "reglookup", "hivexregedit")):
        many, few = "cas2orv", "a tenth of it"
        packages = [trees.make_package(
            self.memory / f"{count}-keys",
            lambda new, count=count: trees.fill_hive(self.make_hive, new.hive, count))
                    for count in (keys, keys // 10)]
        hive = packages[0].hive
        calls = {"hivexml": ["hivexml", hive], "reglookup": ["reglookup", hive],
                 "hivexregedit": ["hivexregedit", "--export", hive, "\\"]}
        others = [name for name in others if is_installed(name)]
        commands = [self.convert(many, packages[0]), self.convert(few, packages[1]),
                    *(Command(name, lambda _, name=name: calls[name], keeps_output=True)
                      for name in others)]
        figures = self.measure(self.memory, commands,
                               lambda output: check_values(output, keys * VALUES_A_KEY))
        items = keys * (1 + VALUES_A_KEY)
        subject = f"{keys:,} keys, {keys * VALUES_A_KEY:,} values"
        budgets = {"hivexml": (self.budget(0.6, 0.9), 1)}
        return [
            *(time_row(subject, figures, many, name, *budgets.get(name, ())) for name in others),
            time_row(subject, figures, many, few, GROWTH),
            memory_row(subject, figures[many], items, MEMORY_A_VALUE, hive.stat().st_size),
            slope_row("a key or value", figures[many], figures[few], items - items // 10,
                      MEMORY_A_VALUE),
        ]

    def hive_huge(self):
        self.runner.require(self.memory, 3 * 1024 * MIB, 0, 1)
        return self.hive(500_000, ("hivexml",))

    def packages(self, count, files):
        """A folder with that many packages."""
        folder = self.memory / f"{count}-packages"
        self.runner.require(self.memory, trees.SMALL.on_disk(count * files), count * files, 1)
        folder.mkdir(exist_ok=True)
        for number in range(count):
            trees.make_package(
                folder / f"package-{number:04}",
                lambda new: trees.fill_deep(new.device, files, trees.SMALL))
        return folder

    def batch_of_large(self, count=60, files=5_000):
        folder = self.packages(count, files)
        commands = [self.batch(folder),
                    Command("cp -r", lambda output: ["cp", "-r", folder, output])]
        figures = self.measure(self.memory, commands,
                               lambda output: check_files(output, count * files, count))
        return [time_row(f"{count} packages of {files:,} files", figures, "cas2orv batch", "cp -r")]

    def batch_of_tiny(self, count=2_000):
        folder = self.memory / f"{count}-tiny-packages"
        folder.mkdir(exist_ok=True)
        for number in range(count):
            trees.make_package(
                folder / f"package-{number:04}",
                lambda new: trees.fill_shallow(new.device, 1, trees.SMALL))
        figures = self.measure(self.memory, [self.batch(folder)],
                               lambda output: check_files(output, count, count))["cas2orv batch"]
        subject = f"{count:,} packages of one file"
        return [
            allowed_row(f"{subject}, processor time of each", "s", figures.median("cpu") / count,
                        TIME_A_TINY_PACKAGE),
            allowed_row(f"{subject}, time by cores of each", "s",
                        figures.median("seconds") * self.cores.count / count, TIME_A_TINY_PACKAGE),
        ]

    CASES = {
        "files-memory": files_memory,
        "files-memory-deep": files_memory_deep,
        "files-disk": files_disk,
        "files-disk-deep": files_disk_deep,
        "large-files": large_files,
        "growth": growth,
        "wide-folder": wide_folder,
        "deep-folder": deep_folder,
        "tiny": tiny,
        "hive": hive,
        "batch": batch_of_large,
        "batch-tiny": batch_of_tiny,
    }
    HUGE_CASES = {
        "growth-huge": growth_huge,
        "wide-folder-huge": wide_folder_huge,
        "hive-huge": hive_huge,
    }


def copy_of(package, name="cp -r"):
    return Command(name, lambda output: ["cp", "-r", package.device, output])


def memory_row(subject, figures, items, memory_an_item=MEMORY_A_FILE, more=0, budget=1):
    return allowed_row(f"{subject}, peak memory", "bytes", figures.median("peak"),
                       more + FIXED_MEMORY + items * memory_an_item, budget)


def slope_row(item, many, few, difference, allowed):
    slope = (many.median("peak") - few.median("peak")) / difference
    return allowed_row(f"memory that {item} more takes", "bytes", slope, allowed, budget=None)


# A conversion that does less than its work is fast, so each case looks at what came out.

def check_files(output, files, manifests=1):
    # Unlike os.walk, find goes to any depth.
    call = ["find", output, "-path", f"*/{{{trees.GUID}}}/*", "-type", "f", "-printf", "x"]
    found = len(subprocess.run(call, stdout=subprocess.PIPE, check=True).stdout)
    if found != files + manifests:
        raise CaseFailed(f"{found} files came out, not {files + manifests}")


def check_values(output, values):
    needle = "<Value ".encode("utf-16-le")
    found, rest = 0, b""
    with open(output / f"{{{trees.GUID}}}" / "app.orv", "rb") as manifest:
        while piece := manifest.read(MIB):
            piece = rest + piece
            found += piece.count(needle)
            rest = piece[1 - len(needle):]
    if found < values // 2:
        raise CaseFailed(f"only {found} values came out")


def parse_options():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("cases", nargs="*", metavar="CASE",
                        help=f"{', '.join(Bench.CASES)}; all of these without any. With ten or "
                             f"twenty times as much, only by name: {', '.join(Bench.HUGE_CASES)}")
    parser.add_argument("--build", type=pathlib.Path, default="build/release", metavar="DIR",
                        help="where the programs were built (default: %(default)s)")
    parser.add_argument("--rounds", type=int, default=5, help="default: %(default)s")
    parser.add_argument("--cores", default="all", metavar="LIST",
                        help="how many cores the commands may use, such as all,1: each case is "
                             "measured with each of them (default: %(default)s)")
    parser.add_argument("--memory", default="/dev/shm", metavar="DIR",
                        help="a folder on tmpfs (default: %(default)s)")
    parser.add_argument("--disk", default="/var/tmp", metavar="DIR",
                        help="a folder on a disk (default: %(default)s)")
    parser.add_argument("--keep", action="store_true",
                        help="leave the packages, and on disk what came out of them")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE",
                        help="write all rounds, the table and what the machine is to a new file")
    parser.add_argument("--join", nargs="+", metavar="FILE",
                        help="measure nothing: print the spread of several runs, from their JSON")
    options = parser.parse_args()
    check_options(parser, options)
    return options


def check_options(parser, options):
    if options.join and (options.cases or options.json):
        parser.error("--join measures nothing, so it takes neither cases nor --json")
    unknown = set(options.cases) - set(Bench.CASES) - set(Bench.HUGE_CASES)
    if unknown:
        parser.error(f"unknown case: {', '.join(sorted(unknown))}")
    try:
        options.cores = Cores.parse(options.cores)
    except ValueError as error:
        parser.error(f"--cores: {error}")
    for folder in (options.memory, options.disk):
        if not os.path.isdir(folder):
            parser.error(f"no such folder: {folder}")
    if options.rounds < 1:
        parser.error("--rounds must be at least 1")
    if options.json is not None and options.json.exists():
        parser.error(f"{options.json} is there already")
    if options.json is not None and not os.access(options.json.parent, os.W_OK):
        parser.error(f"nothing can be written to {options.json.parent}")
    if not (options.join or os.access(options.build / "host" / "cas2orv", os.X_OK)):
        parser.error(f"no cas2orv was built in {options.build}")


def run_cases(options, runner, record):
    cases = {**Bench.CASES, **Bench.HUGE_CASES}
    for name in options.cases or Bench.CASES:
        for cores in options.cores:
            print(name + cores.title, file=sys.stderr)
            bench = Bench(runner, options.build, cores)
            try:
                rows = cases[name](bench)
            except (CaseFailed, OSError, subprocess.CalledProcessError) as failure:
                print(f"  {name} failed: {failure}", file=sys.stderr)
                record.add_failure(name, cores, failure)
            else:
                record.add(name, cores, rows, bench.figures)


def measure(options):
    runner = Runner(options.memory, options.disk, options.rounds)
    try:
        systems = {"memory": file_system(runner.memory), "disk": file_system(runner.disk)}
        record = results.Record(options.build, options.build / "host" / "cas2orv", systems,
                                options.rounds, options.json)
        record.write()
        run_cases(options, runner, record)
        # Removing what is on a disk can take minutes, so the table comes first.
        print(f"Medians of {options.rounds} rounds on {os.cpu_count()} cores; the load was "
              f"{record.data['load']:.1f} before.\n")
        results.print_table(record.rows)
        sys.stdout.flush()
    finally:
        if options.keep:
            print(f"kept: {runner.memory} {runner.disk}", file=sys.stderr)
        else:
            runner.remove()


def main():
    options = parse_options()
    if not options.join:
        measure(options)
        return
    try:
        results.print_joined(options.join)
    except results.NoResult as error:
        sys.exit(f"compare.py: {error}")


if __name__ == "__main__":
    main()
