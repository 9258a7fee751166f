#!/usr/bin/env python3
"""Checks that sources include only what is below them: floors_test.py SOURCE_FOLDER

Reads each #include "..." below src/ and host/. Prints those that lead upwards, or from room to room,
and a circle of headers. Ends with 1 when there is any.
"""

import graphlib
import pathlib
import re
import sys

# From the ground up; two that are side by side do not know each other.
FLOORS = ["formats", "platform", "foundation", "reporting", "casmodel orvpackage", "discovery",
          "traversal", "driver", "host"]
LEVELS = {name: level for level, floor in enumerate(FLOORS) for name in floor.split()}
# The rooms of platform that one room knows besides the contracts and itself. Nobody above knows any.
ROOMS = {"described": set(), "posix": {"described"}, "windows": set(), "answers.cpp": {"described"}}
# The functions of Windows, for the sources that know them.
WINDOWS = "platform/win.h"


def may_include(source, target):
    if target.startswith("orvcasconv/"):
        return True
    floor, room = source.split("/")[:2]
    other_floor, other_room = target.split("/")[:2]
    if target == WINDOWS:
        return source.startswith(("platform/windows/", "host/windows/"))
    if other_floor == "platform" and other_room in ROOMS:
        return floor == "platform" and other_room in ROOMS.get(room, set()) | {room}
    if floor == "host":
        return other_floor in ("host", "reporting", "foundation", "platform")
    return floor == other_floor or LEVELS[other_floor] < LEVELS[floor]


def read_includes(root):
    files = [path for folder in ("src", "host") for path in (root / folder).rglob("*")]
    for path in sorted(path for path in files if path.suffix in (".h", ".cpp")):
        name = str(path.relative_to(root)).removeprefix("src/")
        yield name, re.findall(r'^\s*#\s*include\s+"(.+)"', path.read_text(), re.MULTILINE)


def main():
    includes = dict(read_includes(pathlib.Path(sys.argv[1])))
    problems = [f"{source} includes {target}" for source, targets in includes.items()
                for target in targets if not may_include(source, target)]
    try:
        graphlib.TopologicalSorter(includes).prepare()
    except graphlib.CycleError as circle:
        problems.append("a circle: " + ", ".join(circle.args[1]))
    print("\n".join(problems) or f"{len(includes)} files include only what is below them")
    sys.exit(1 if problems or not includes else 0)


if __name__ == "__main__":
    main()
