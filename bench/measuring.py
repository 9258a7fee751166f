"""Runs commands in turns and gives what they took."""

import dataclasses
import os
import pathlib
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
from typing import Callable, FrozenSet, List

GIB = 1024 * 1024 * 1024


class CaseFailed(Exception):
    """A case that gives no figures, and why."""


@dataclasses.dataclass(frozen=True)
class Cores:
    """The cores that all commands of a case may use."""

    name: str  # as the user wrote it
    numbers: FrozenSet[int]
    is_restricted: bool

    @property
    def count(self):
        return len(self.numbers)

    @property
    def title(self):
        """What follows the name of a case in the table."""
        if not self.is_restricted:
            return ""
        return ", one core" if self.count == 1 else f", {self.count} cores"

    @classmethod
    def parse(cls, text):
        """Reads a list such as "all,1". A ValueError tells what is wrong with it."""
        here = sorted(os.sched_getaffinity(0))
        result = {}
        for name in text.split(","):
            if name != "all" and not (name.isdecimal() and 1 <= int(name) <= len(here)):
                raise ValueError(f"'{name}' is neither 'all' nor a number from 1 to {len(here)}")
            count = len(here) if name == "all" else int(name)
            result[name] = cls(name, frozenset(here[:count]), name != "all")
        return list(result.values())


@dataclasses.dataclass
class Command:
    """One of the commands that take turns."""

    name: str
    arguments: Callable[[pathlib.Path], list]  # for an output folder
    keeps_output: bool = False  # standard output goes to a file in that folder


@dataclasses.dataclass
class Run:
    """What one run of a command took: seconds, and bytes of its largest process."""

    seconds: float
    user: float
    system: float
    peak: int

    @property
    def cpu(self):
        return self.user + self.system


@dataclasses.dataclass
class Figures:
    """What the rounds gave for one command."""

    runs: List[Run] = dataclasses.field(default_factory=list)

    def all(self, name):
        return [getattr(run, name) for run in self.runs]

    def median(self, name):
        return statistics.median(self.all(name))


class Runner:
    """The folders that are measured in, and the commands that run there."""

    def __init__(self, memory, disk, rounds):
        self.rounds = rounds
        self.is_stopped = self.is_running = False
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, self.stop)
        self.memory = pathlib.Path(tempfile.mkdtemp(prefix="orv-bench-", dir=memory))
        self.disk = pathlib.Path(tempfile.mkdtemp(prefix="orv-bench-", dir=disk))

    def stop(self, *_):
        # The command that runs may end, so that nobody writes into the folders that are removed.
        self.is_stopped = True
        if not self.is_running:
            sys.exit(1)

    def remove(self):
        for root in (self.memory, self.disk):
            remove(root)

    def require(self, root, size, files, commands):
        """Throws unless there is space for input of that many bytes and files, and for what the
        commands make of it; on a disk all of that is kept."""
        copies = 1 + (1 if root == self.memory else commands * (self.rounds + 1))
        space = os.statvfs(root)
        free = space.f_bavail * space.f_frsize
        if root == self.memory:
            free = min(free, available_memory())
        wanted = copies * size + GIB
        if free < wanted:
            raise CaseFailed(f"needs {wanted / GIB:.1f} GiB in {root.parent}, where "
                             f"{free / GIB:.1f} GiB are free")
        # A file system without a fixed number of files says 0.
        if space.f_files != 0 and space.f_favail < copies * files * 1.1:
            raise CaseFailed(f"needs {copies * files * 1.1:,.0f} files in {root.parent}, where "
                             f"{space.f_favail:,} more are possible")

    def run(self, command, output, cores):
        """Runs a command once."""
        output.mkdir(parents=True)
        # A child of Python itself would start with the peak memory of Python.
        peak, messages = (output.with_name(output.name + end) for end in (".peak", ".err"))
        call = ["time", "-f", "%M", "-o", peak, *command.arguments(output)]
        restrict = None
        if cores.is_restricted:
            def restrict():
                os.sched_setaffinity(0, cores.numbers)
        with open(output / "stdout" if command.keeps_output else os.devnull, "wb") as stdout, \
                open(messages, "wb") as stderr:
            self.is_running = True
            start = time.perf_counter()
            process = subprocess.Popen(call, stdin=subprocess.DEVNULL, stdout=stdout,
                                       stderr=stderr, preexec_fn=restrict)
            _, status, usage = os.wait4(process.pid, 0)
            seconds = time.perf_counter() - start
            self.is_running = False
        process.returncode = os.waitstatus_to_exitcode(status)
        if self.is_stopped:
            sys.exit(1)
        if process.returncode != 0:
            text = messages.read_text(errors="replace").strip()[-500:]
            raise CaseFailed(f"{command.name} ends with {process.returncode}: {text}")
        print(f"  {command.name}{cores.title}: {seconds:.3f} s", file=sys.stderr)
        return Run(seconds, usage.ru_utime, usage.ru_stime, int(peak.read_text()) * 1024)

    def measure(self, root, commands, check, cores):
        """Runs all rounds and gives the figures by command; `check` looks at an output folder of
        the first command."""
        folder = pathlib.Path(tempfile.mkdtemp(prefix="out-", dir=root))
        figures = {command.name: Figures() for command in commands}
        for number in range(self.rounds + 1):
            for index, command in enumerate(commands):
                if root == self.disk:
                    os.sync()  # or one command pays for what another one left to be written
                output = folder / f"{number}-{index}"
                run = self.run(command, output, cores)
                if number != 0:  # the first round only warms the caches
                    figures[command.name].runs.append(run)
                if number + index == 0:
                    check(output)
                if root == self.memory:
                    remove(output)  # or each run needs memory that was never used before
        return figures


def remove(folder):
    """Removes a folder of any depth, which shutil.rmtree cannot."""
    subprocess.run(["rm", "-rf", "--", folder], check=True)


def available_memory():
    with open("/proc/meminfo", encoding="ascii") as lines:
        return next(int(line.split()[1]) * 1024 for line in lines
                    if line.startswith("MemAvailable:"))


def is_installed(tool):
    found = shutil.which(tool) is not None
    if not found:
        print(f"  {tool} is not there", file=sys.stderr)
    return found


def file_system(folder):
    call = ["stat", "--file-system", "--format", "%T", folder]
    name = subprocess.run(call, capture_output=True, text=True, check=True).stdout.strip()
    return "ext4" if name == "ext2/ext3" else name


def shares_data(folder):
    """Whether copies can share the data of a file there."""
    with tempfile.TemporaryDirectory(dir=folder) as name:
        file = pathlib.Path(name) / "a"
        file.write_bytes(bytes(4096))
        call = ["cp", "--reflink=always", file, file.with_name("b")]
        return subprocess.run(call, stderr=subprocess.DEVNULL, check=False).returncode == 0
