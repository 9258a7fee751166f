#!/usr/bin/env python3
"""Converts a small package again and again, and each time something else fails.

    faults.py LIBRARY MAKE_PACKAGE CAS2ORV [KINDS...] [--most N] [--case CASE]

LIBRARY is preloaded and has one call fail, or all from one on; faults.cpp tells how. A conversion
may end with 0 only if all that it makes equals what one without faults makes. After 1 the former
result or the new one is there, whole; after 3 what is missing is told. No half file has its final
name, and what is left beside the output is told.

KINDS are those of CALLS; kill, at a moment; limits, of a file system or the process; and races, which
change the package meanwhile. Without, all of them. --most N takes N cases of each, spread over all.
A case that fails is printed as an option, which runs it alone and shows more.
"""

import argparse
import collections
import concurrent.futures
import errno
import os
import pathlib
import random
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading

# What a call of each kind may fail with, in the order of the library.
CALLS = """any, read EIO EINTR short, write EIO ENOSPC EINTR short, copy EIO ENOSPC EXDEV short,
    ioctl EIO EACCES, open EIO EMFILE EACCES EINTR ENOMEM, mkdir EIO ENOSPC EACCES,
    rename EIO ENOSPC EACCES, unlink EIO EACCES, stat EIO EACCES ENOMEM, list EIO EACCES ENOMEM,
    xattr EIO EACCES ENOMEM, times EIO EACCES, close EIO ENOSPC EINTR, truncate EIO ENOSPC EINTR,
    map ENOMEM, seek EIO, mode EIO EINTR, thread EAGAIN, memory ENOMEM"""
CALLS = {words.split()[0]: words.split()[1:] for words in CALLS.split(",")}
MOUNTS = {"size": range(40_000, 1_240_000, 60_000), "nr_inodes": range(4, 64, 6)}
LIMITS = {
    **MOUNTS,
    "nofile": [*range(3, 40, 3), 64],
    "fsize": [0, 1, 500, 3000, 10_000, 100_000],
    "as": range(40 << 20, 240 << 20, 10 << 20),
}
# What the package has besides: files by their sizes.
FILES = {"zither.exe": 2000, "tuner.exe": 5, "large.dat": 150_000, "empty.dat": 0, "holes.dat": 3,
         "streamed.dat": 4, "marked.dat": 0, "../../../D/Songs/prelude.txt": 2,
         "a folder with a rather long name/" * 10 + "deep.txt": 4}
EVER = 1 << 40
MOMENTS = 100  # at which a program is killed, or its package changes
TIME_LIMIT = 20  # seconds; a run takes some hundredths of one
SECRET = b"what is outside of the package"
SUMMARY = re.compile(rb"^\d+ targets?, \d+ items?, .*\n", re.M)
# A loss that tells of all that is in a folder or a profile, or of a stage.
WIDE_LOSS = re.compile("about (folder-unread|profile-broken|rules-unread|stage-failed|no-memory)")
MACHINE = r"""[system]
windows = '\\zither\package\0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9_1\Device\C\Windows'
[shares]
'\\zither\package' = """

# `what` is an error, a signal or a limit. `start` is what is in the place of the output: "fresh",
# or "replace" for an older result.
Case = collections.namedtuple("Case", "kind first last what start")
Result = collections.namedtuple("Result", "status out err state counts")
NO_FAULT = Case("any", 0, 0, "0", "fresh")


def snapshot(folder):
    """All that a folder holds, by name."""
    state = {}
    for path in sorted(folder.rglob("*")):
        # Manifests, log and record are made anew, so their times are of no interest.
        has_time = path.is_file() and path.suffix not in (".orv", ".html", ".jsonl")
        info, data = path.lstat(), path.read_bytes() if path.is_file() else b""
        name = str(path.relative_to(folder))
        state[name] = (info.st_mode, has_time and info.st_mtime_ns, data)
    return state


def of_targets(state, start="{"):
    return {name: made for name, made in state.items() if name.startswith(start)}


class Harness:
    def __init__(self, options, root):
        self.options, self.root, self.package = options, root, root / "package"
        self.local = threading.local()
        self.make_package()
        self.former = root / "former"
        self.former.mkdir()
        self.wanted = {"fresh": self.run(NO_FAULT)}
        # An older result differs from the new one in each of its files.
        shutil.copytree(self.folder(), self.former, dirs_exist_ok=True)
        for path in filter(pathlib.Path.is_file, self.former.rglob("*")):
            path.write_bytes(b"former " + path.read_bytes()[:100])
        self.wanted["replace"] = self.run(NO_FAULT._replace(start="replace"))
        self.before = {"fresh": {}, "replace": of_targets(snapshot(self.former))}
        for result in self.wanted.values():
            if result.status != 0:
                sys.exit(f"without a fault it ends with {result.status}:\n{result.err}")

    def make_package(self):
        subprocess.run([self.options.make_package, self.package], check=True)
        app = next(self.package.glob("0A*/Device/C/Program Files/Zither"))
        for name, size in FILES.items():
            (app / name).parent.mkdir(parents=True, exist_ok=True)
            (app / name).write_bytes(b"z" * size)
        os.truncate(app / "holes.dat", 200_000)
        (app / "Empty").mkdir()
        try:
            for name, stream in [("marked", "CTX_FILE_DELETE_MARKER"), ("streamed", "other")]:
                os.setxattr(app / f"{name}.dat", f"user.{stream}", b"1")
        except OSError as error:
            print(f"without streams, which this file system has not: {error}")
        (self.root / "outside").mkdir()
        (self.root / "outside/zither.exe").write_bytes(SECRET)
        for number, path in enumerate(sorted(self.package.rglob("*"))):
            os.utime(path, ns=(10**18, 10**18 + number))

    def folder(self):
        """The folder of this thread."""
        if not hasattr(self.local, "folder"):
            self.local.folder = pathlib.Path(tempfile.mkdtemp(dir=self.root)) / "work"
            self.local.folder.mkdir()
        return self.local.folder

    def run(self, case, package=None, meanwhile=None, keeps=False):
        """One conversion. With `keeps`, over what is in the folder."""
        work, package = self.folder(), package or self.package
        for path in [] if keeps else work.iterdir():
            path.unlink() if path.is_file() else shutil.rmtree(path)
        if case.start == "replace" and not keeps:
            shutil.copytree(self.former, work, dirs_exist_ok=True)
        machine, counts = work.with_name("machine.toml"), work.with_name("counts")
        machine.write_text(f"{MACHINE}'{package}'\n")
        counts.write_bytes(bytes(8 * len(CALLS)))
        environment = dict(os.environ)
        command = [self.options.cas2orv.resolve(), "convert", r"\\zither\package\Zither.profile"]
        command += ["app.orv", "--log", "log.html", "--record", "record.jsonl", "--replace"]
        command += ["--progress", "none", "--machine", machine]
        if case.kind != "limits":
            action = 0 if case.what == "short" else getattr(errno, case.what, case.what)
            kind = list(CALLS).index(case.kind) if case.kind in CALLS else 0
            environment["ORV_FAULT"] = f"{kind} {case.first} {case.last} {action}"
            environment["ORV_FAULT_COUNTS"] = str(counts)
            environment["LD_PRELOAD"] = str(self.options.library.resolve())
            if self.options.case:
                environment["ORV_FAULT_TRACE"] = "1"
        elif case.what not in MOUNTS:
            command = ["prlimit", f"--{case.what}={case.first}", *command]
        pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        with subprocess.Popen(command, cwd=work, env=environment, **pipes) as process:
            if meanwhile:
                os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
                meanwhile()
                process.send_signal(signal.SIGCONT)
            timer = threading.Timer(TIME_LIMIT, process.kill)
            timer.start()
            out, err = process.communicate()
            timer.cancel()
        made = dict(zip(CALLS, struct.unpack(f"{len(CALLS)}q", counts.read_bytes())))
        out, err = out.replace(bytes(work), b"WORK"), SUMMARY.sub(b"", err)
        return Result(process.returncode, out, err.decode("utf-8", "replace"), snapshot(work), made)

    def judge(self, result, start="fresh", wanted=None):
        """What is wrong with a result; None if nothing is."""
        wanted = wanted or self.wanted[start]
        if result.status not in (0, 1, 3):
            return f"ends with {result.status}"
        if result.status != 0 and not result.err:
            return f"ends with {result.status} without a word"
        hidden = {name.split("/")[0] for name in result.state if "cas2orv" in name}
        for name in hidden:
            if name not in result.err and "out of memory" not in result.err:
                return f"leaves {name}, and does not tell"
        if result.status == 0:
            # The result is whole without its record, if that is told.
            for name in sorted(wanted.state.keys() | result.state.keys()):
                is_told = name.split("/")[0] in hidden or name.split(".")[0] in result.err
                if wanted.state.get(name) != result.state.get(name) and not is_told:
                    return f"ends with 0 and another {name}"
            return None if result.out == wanted.out else "ends with 0 and another stdout"
        made, right = of_targets(result.state), of_targets(wanted.state)
        if result.status == 1:
            is_whole = made in (self.before[start], right) or "be moved back" in result.err
            return None if is_whole else "ends with 1 and half a result"
        # A broken profile may name fewer targets; the others stay as they are.
        made = {name: file for name, file in made.items() if self.before[start].get(name) != file}
        for name in sorted(made.keys() | right.keys()):
            # A script has the level in front of its name.
            words = [re.sub("^(Profile|Target)_", "", word) for word in name.split("/")[1:]]
            is_told = WIDE_LOSS.search(result.err) or any(word in result.err for word in words)
            if name in made and name in right:
                if made[name][2] != right[name][2] and not name.endswith(".orv"):
                    return f"ends with 3 and half of {name}"
            elif not is_told and (name in made or right[name][2] or name.endswith("empty.dat")):
                return f"ends with 3 and does not tell of {name}"
        return None

    def try_case(self, case):
        """Gives what is wrong, None if nothing is, and the result."""
        special = {"kill": self.kill, "limits": self.limit, "races": self.race}
        if case.kind in special:
            return special[case.kind](case)
        result = self.run(case)
        return self.judge(result, case.start), result

    def kill(self, case):
        """Each target is the former or the new one then, and the next run removes what is left."""
        result, right = self.run(case._replace(last=case.first)), self.wanted[case.start]
        for target in {name.split("/")[0] for name in of_targets(right.state)}:
            former = of_targets(self.before[case.start], target)
            if of_targets(result.state, target) not in (former, of_targets(right.state, target)):
                return f"half of {target} after {result.status}", result
        if result.status not in (0, int(case.what), 128 - int(case.what)):
            return f"ends with {result.status}", result
        later = self.run(NO_FAULT, keeps=True)
        if later.status != 0 or later.state != right.state:
            return f"the next run ends with {later.status}", later
        return None, result

    def limit(self, case):
        mount = ["mount", "-t", "tmpfs", "-o", f"{case.what}={case.first}", "none", self.folder()]
        is_mounted = case.what in MOUNTS
        if is_mounted and subprocess.run(mount, capture_output=True, check=False).returncode != 0:
            return None, Result("no mount", b"", "nothing can be mounted here", {}, {})
        try:
            result = self.run(case)
        finally:
            if is_mounted:
                subprocess.run(["umount", "-l", self.folder()], check=True)
        if (case.what, case.first) == ("nofile", 64) and result.status != 0:
            return "needs more than 64 descriptors", result
        # With 127 the loader has ended before the program began.
        return None if result.status == 127 else self.judge(result, case.start), result

    def race(self, case):
        """What changes at a moment is told, or the result is of before or after; never of outside."""
        package, pick = self.folder().with_name("package"), random.Random(case.last)
        shutil.rmtree(package, ignore_errors=True)
        shutil.copytree(self.package, package)
        entries = [path for path in sorted(package.glob("*/**/*")) if path.parent.name != "Scripts"]
        stop = case._replace(last=case.first, what=str(-signal.SIGSTOP))
        result = self.run(stop, package, lambda: self.change(pick, pick.choice(entries)))
        if any(SECRET in made[2] for made in result.state.values()):
            return "has what is outside of the package", result
        after = self.run(NO_FAULT, package)
        if result.status != 0:
            return None if result.status in (1, 3) and result.err else "does not tell", result
        is_before = of_targets(result.state) == of_targets(self.wanted["fresh"].state)
        return None if is_before else self.judge(result, wanted=after), result

    def change(self, pick, path):
        kind = pick.choice(["grow", "shrink", "vanish", "link", "folder"])
        outside = self.root / ("outside" if path.is_dir() else "outside/zither.exe")
        if path.is_file() and kind in ("grow", "shrink"):
            data = path.read_bytes()
            path.write_bytes(data + b"more" * 50_000 if kind == "grow" else data[: len(data) // 2])
            return
        path.rename(self.folder().with_name(f"moved {path.stat().st_ino}"))
        if kind == "link":
            path.symlink_to(outside)
        elif kind == "folder":
            path.mkdir()

    def cases(self, kind, start):
        counts, words = self.wanted[start].counts, CALLS.get(kind, [])
        # EINTR never lasts, because the streams of the C++ library try again for ever.
        lasting = [word for word in words if word != "EINTR"]
        for first in range(1, counts.get(kind, 0) + 1):
            # Allocations are many. Each fails once, and one of four in the other ways too.
            is_taken = kind != "memory" or first % 4 == 0
            for word in words if is_taken or start == "fresh" else []:
                yield Case(kind, first, first, word, start)
            if is_taken:
                yield Case(kind, first, EVER, lasting[first % len(lasting)], start)
        for moment in range(MOMENTS if kind == "kill" or (kind, start) == ("races", "fresh") else 0):
            place = 1 + moment * counts["any"] // MOMENTS
            yield Case(kind, place, moment, str((-9, -15)[moment % 2]), start)
        for name, values in LIMITS.items() if kind == "limits" else []:
            for value in values if name not in MOUNTS or start == "fresh" else []:
                yield Case(kind, value, 0, name, start)

    def run_all(self):
        """Gives the number of faults."""
        faults, ends = 0, collections.defaultdict(collections.Counter)
        cases = [self.options.case] if self.options.case else []
        for kind in [] if cases else self.options.kinds:
            of_kind = [case for start in self.wanted for case in self.cases(kind, start)]
            cases += of_kind[:: max(1, len(of_kind) // self.options.most)]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for case, (problem, result) in zip(cases, pool.map(self.try_case, cases)):
                ends[case.kind][result.status] += 1
                if problem:
                    faults += 1
                    print(f"--case {':'.join(str(part) for part in case)}  {problem}", flush=True)
                if self.options.case:
                    print(result.err)
        for kind, counts in ends.items():
            words = (f"{count} with {status}" for status, count in counts.most_common())
            print(f"{kind}: {counts.total()} runs, {', '.join(words)}")
        print(f"{len(cases)} runs, {faults} faults")
        return faults


def case_of(text):
    kind, first, last, *rest = text.split(":")
    return Case(kind, int(first), int(last), *rest)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    for name in ("library", "make_package", "cas2orv"):
        parser.add_argument(name, type=pathlib.Path)
    parser.add_argument("kinds", nargs="*", default=[*list(CALLS)[1:], "kill", "limits", "races"])
    parser.add_argument("--most", type=int, default=EVER)
    parser.add_argument("--case", type=case_of)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="orv-faults-") as name:
        sys.exit(1 if Harness(options, pathlib.Path(name)).run_all() else 0)


if __name__ == "__main__":
    main()
