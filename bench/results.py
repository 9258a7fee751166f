"""Rows of figures beside what they are held against, as a table, as JSON, and several runs joined."""

import dataclasses
import datetime
import json
import os
import pathlib
import platform
import shutil
import statistics
import subprocess
import sys
from typing import List, Optional

MIB = 1024 * 1024
SCHEMA = 1


@dataclasses.dataclass
class Row:
    """One line of the table: a figure, what it is held against, and how far it may go."""

    measured: str
    unit: str  # "s", "bytes"
    figure: float
    beside: str
    reference: float
    budget: Optional[float] = None  # of the ratio
    ratios: List[float] = dataclasses.field(default_factory=list)  # of each round
    cpu_ratio: Optional[float] = None  # says more than the time where other programs run
    cpu_budget: Optional[float] = None
    cpu_ratios: List[float] = dataclasses.field(default_factory=list)
    case: str = ""
    cores: str = ""

    @property
    def ratio(self):
        return self.figure / self.reference

    @property
    def key(self):
        return self.case, self.cores, self.measured, self.beside


def time_row(measured, figures, name, reference, budget=None, cpu_budget=None):
    mine, other = figures[name], figures[reference]
    ratios, cpu_ratios = (
        [a / max(b, 1e-6) for a, b in zip(mine.all(kind), other.all(kind))]
        for kind in ("seconds", "cpu"))
    cpu_ratio = mine.median("cpu") / max(other.median("cpu"), 1e-6)
    return Row(measured, "s", mine.median("seconds"), reference, other.median("seconds"), budget,
               ratios, cpu_ratio, cpu_budget, cpu_ratios)


def allowed_row(measured, unit, figure, allowed, budget=1):
    """A figure with a limit of its own. Without a budget the limit is only shown."""
    return Row(measured, unit, figure, "allowed", allowed, budget)


# Tables.

def show(value, unit):
    if unit == "bytes":
        return f"{value / MIB:.1f} MiB" if value >= MIB else f"{value:.0f} bytes"
    if value < 0.001:
        return f"{value * 1e6:.2f} us"
    if value < 0.1:
        return f"{value * 1000:.1f} ms"
    return f"{value * 1000:.0f} ms" if value < 1 else f"{value:.2f} s"


def show_spread(values):
    return f"{min(values):.2f} to {max(values):.2f}" if values else ""


def show_budget(budget, values):
    """`values` has the ratio of each run."""
    if budget is None:
        return ""
    over = sum(value > budget for value in values)
    if over == 0:
        return f"{budget:g}"
    return f"{budget:g} **over**" + (f" in {over} of {len(values)}" if len(values) > 1 else "")


def print_line(*cells):
    print("| " + " | ".join(str(cell) for cell in cells) + " |")


def print_head(*names):
    print_line(*names)
    print_line(*("---" for _ in names))


def print_table(rows):
    print_head("case", "measured", "figure", "beside", "ratio", "in single rounds", "budget",
               "CPU time", "in single rounds", "CPU budget")
    for row in rows:
        has_cpu = row.cpu_ratio is not None
        print_line(row.case + row.cores, row.measured, show(row.figure, row.unit),
                   f"{row.beside}: {show(row.reference, row.unit)}", f"{row.ratio:.2f}",
                   show_spread(row.ratios), show_budget(row.budget, [row.ratio]),
                   f"{row.cpu_ratio:.2f}" if has_cpu else "", show_spread(row.cpu_ratios),
                   show_budget(row.cpu_budget, [row.cpu_ratio]) if has_cpu else "")


# JSON.

def output_of(*call):
    """What a program prints, or nothing where it fails or is not there."""
    if shutil.which(call[0]) is None:
        return ""
    return subprocess.run(call, capture_output=True, text=True, check=False).stdout.strip()


def line_value(file, name):
    """What follows a name in a file of lines "name: value" or "name=value"."""
    try:
        lines = pathlib.Path(file).read_text(errors="replace").splitlines()
    except OSError:
        return ""
    return next((line[len(name):].lstrip(" \t:=") for line in lines if line.startswith(name)), "")


def virtualisation():
    kinds = [output_of("systemd-detect-virt", kind) for kind in ("--vm", "--container")]
    names = [kind for kind in kinds if kind not in ("", "none")]
    if not names and " hypervisor" in line_value("/proc/cpuinfo", "flags"):
        return "virtual"
    return " ".join(names) or "none"


def machine():
    return {
        "cores": len(os.sched_getaffinity(0)),
        "cpu": line_value("/proc/cpuinfo", "model name") or platform.machine(),
        "memory": os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGE_SIZE"),
        "kernel": platform.release(),
        "virtualisation": virtualisation(),
    }


def commit_of(build):
    """The commit of the source tree that a folder was built from; "-dirty" where files differ."""
    source = line_value(build / "CMakeCache.txt", "CMAKE_HOME_DIRECTORY:INTERNAL")
    call = ("git", "-C", source, "describe", "--always", "--dirty", "--exclude=*", "--abbrev=12")
    return output_of(*call) or "unknown"


class Record:
    """What a run of compare.py gave, and the file that holds it, if any."""

    def __init__(self, build, program, file_systems, rounds, file):
        self.file = file
        self.rows = []
        self.data = {
            "schema": SCHEMA,
            "date": datetime.datetime.now().astimezone().isoformat(timespec="seconds"),
            "commit": commit_of(build),
            "program": output_of(str(program), "--version"),
            "machine": machine(),
            "file_systems": file_systems,
            "load": os.getloadavg()[0],
            "rounds": rounds,
            "cases": [],
        }

    def add(self, name, cores, rows, figures):
        """Adds a case, and writes the file at once, so that a later failure loses nothing."""
        for row in rows:
            row.case, row.cores = name, cores.title
        self.rows += rows
        self.data["cases"].append({
            "case": name,
            "cores": cores.name,
            "core_count": cores.count,
            "rows": [{**dataclasses.asdict(row), "ratio": row.ratio} for row in rows],
            "rounds": {command: [dataclasses.asdict(run) for run in figure.runs]
                       for command, figure in figures.items()},
        })
        self.write()

    def add_failure(self, name, cores, failure):
        self.data["cases"].append({"case": name, "cores": cores.name, "core_count": cores.count,
                                   "failure": str(failure), "rows": [], "rounds": {}})
        self.write()

    def write(self):
        if self.file is None:
            return
        new = self.file.with_name(self.file.name + ".new")
        try:
            new.write_text(json.dumps(self.data, indent=1) + "\n")
            new.replace(self.file)
        except OSError as error:  # the table is still to come
            print(f"  {self.file} was not written: {error}", file=sys.stderr)


# Several runs.

class NoResult(Exception):
    """A file that compare.py has not written, and why."""


def load(file):
    """Gives what a file holds, and its rows."""
    try:
        data = json.loads(pathlib.Path(file).read_text(encoding="utf-8"))
        if data["schema"] != SCHEMA:
            raise NoResult(f"{file}: has schema {data['schema']}, not {SCHEMA}")
        describe(data)
        fields = {field.name for field in dataclasses.fields(Row)}
        rows = [Row(**{name: value for name, value in row.items() if name in fields})
                for case in data["cases"] for row in case["rows"]]
        for row in rows:
            hash(row.key)
            joined_cells([row])  # fails here on a value of another kind
    except (OSError, ValueError, KeyError, TypeError, AttributeError, RecursionError,
            ZeroDivisionError) as error:
        raise NoResult(f"{file}: is no result of compare.py: {error!r}") from error
    return data, rows


def describe(data):
    """The cells that tell of a run where and of what it was, and its machine alone."""
    here = data["machine"]
    kind = (f"{here['cores']} cores, {here['cpu']}, {here['memory'] / MIB / 1024:.0f} GiB, "
            f"{here['virtualisation']}")
    systems = ", ".join(data["file_systems"].values())
    return [data["date"], data["commit"], kind, here["kernel"], systems, data["rounds"],
            f"{data['load']:.1f}"], kind


def print_joined(files):
    """Prints the spread of several runs. Budgets are those of the last one."""
    runs = [load(file) for file in files]
    print_head("run", "date", "commit", "machine", "kernel", "file systems", "rounds", "load")
    for file, (data, _) in zip(files, runs):
        print_line(file, *describe(data)[0])
    if len({describe(data)[1] for data, _ in runs}) > 1:
        print("\nThe machines differ: compare the ratios, not the figures.")
    joined = {}
    for _, rows in runs:
        for row in rows:
            joined.setdefault(row.key, []).append(row)
    print()
    print_head("case", "measured", "beside", "runs", "figure", "ratio", "in single runs", "budget",
               "CPU time", "in single runs", "CPU budget")
    for rows in joined.values():
        print_line(*joined_cells(rows))


def joined_cells(rows):
    last = rows[-1]
    figures = [row.figure for row in rows]
    ratios = [row.ratio for row in rows]
    cpu_ratios = [row.cpu_ratio for row in rows if row.cpu_ratio is not None]
    spread = " to ".join(show(value, last.unit) for value in (min(figures), max(figures)))
    return [
        last.case + last.cores, last.measured, last.beside, len(rows), spread,
        f"{statistics.median(ratios):.2f}", show_spread(ratios), show_budget(last.budget, ratios),
        f"{statistics.median(cpu_ratios):.2f}" if cpu_ratios else "", show_spread(cpu_ratios),
        show_budget(last.cpu_budget, cpu_ratios),
    ]
