#!/usr/bin/env python3
"""Converts a small package again and again, and each time something else fails.

    faults.py LIBRARY MAKE_PACKAGE CAS2ORV [KINDS...] [--most N] [--case CASE]

LIBRARY is preloaded and has one call fail, or all from one on; faults.cpp tells how. A conversion
may end with 0 only if it makes what one without faults makes. After 1 the former result or the new
one is there, whole; after 3 what is missing is told. No half file has its final name, and what is
left beside the output is told.

KINDS are those of CALLS; kill, at a moment; limits, of a file system or the process; and races, which
change the package meanwhile; else all. --most N takes N cases of each, spread over all, and no races,
which vary from run to run. A case that fails is printed as an option, which runs it alone.
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

# What a call of each kind may fail with, in the order of the library.
CALLS = """any, read EIO EINTR short, write EIO ENOSPC EINTR short, copy EIO ENOSPC EXDEV short,
    ioctl EIO EACCES, open EIO EMFILE EACCES EINTR ENOMEM, mkdir EIO ENOSPC EACCES,
    rename EIO ENOSPC EACCES, unlink EIO EACCES, stat EIO EACCES ENOMEM, list EIO EACCES ENOMEM,
    xattr EIO EACCES ENOMEM, times EIO EACCES, close EIO ENOSPC EINTR, truncate EIO ENOSPC EINTR,
    map ENOMEM, seek EIO, mode EIO EINTR, thread EAGAIN, memory ENOMEM"""
CALLS = {words.split()[0]: words.split()[1:] for words in CALLS.split(",")}
MOUNTS = {"size": range(40_000, 1_240_000, 60_000), "nr_inodes": range(4, 64, 6)}
LIMITS = {"nofile": [*range(3, 40, 3), 64], "fsize": [0, 1, 500, 3000, 10_000, 100_000],
          "as": range(40 << 20, 240 << 20, 10 << 20), "nproc": range(1, 5)}
# What the package has besides: files by their sizes.
FILES = {"zither.exe": 2000, "tuner.exe": 5, "large.dat": 150_000, "empty.dat": 0, "holes.dat": 3,
         "streamed.dat": 4, "marked.dat": 0, "../../../D/Songs/prelude.txt": 2,
         "a folder with a rather long name/" * 10 + "deep.txt": 4}
EVER = 1 << 40
MOMENTS = 100  # at which a program is killed, or its package changes
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
        if path.suffix == ".jsonl":  # what is asked again has its line later
            data = b"".join(sorted(data.splitlines(keepends=True)))
        state[str(path.relative_to(folder))] = (info.st_mode, has_time and info.st_mtime_ns, data)
    return state


def of_targets(state, start="{"):
    return {name: made for name, made in state.items() if name.startswith(start)}


class Harness:
    def __init__(self, options, root):
        self.options, self.root, self.package = options, root, root / "package"
        self.make_package()
        self.former = root / "former"
        self.wanted = {"fresh": self.run(NO_FAULT, root / "fresh")}
        # An older result differs from the new one in each of its files.
        shutil.copytree(root / "fresh", self.former)
        for path in filter(pathlib.Path.is_file, self.former.rglob("*")):
            path.write_bytes(b"former " + path.read_bytes()[:100])
        self.wanted["replace"] = self.run(NO_FAULT._replace(start="replace"), root / "replace")
        self.before = {"fresh": {}, "replace": of_targets(snapshot(self.former))}
        if any(made.status != 0 or made.counts["any"] == 0 for made in self.wanted.values()):
            sys.exit(f"fails without a fault, or counts no calls:\n{self.wanted['fresh'].err}")

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
        except OSError:
            print(f"no streams are tested, because {self.root} cannot have any")
        (self.root / "outside").mkdir()
        (self.root / "outside/zither.exe").write_bytes(SECRET)
        for number, path in enumerate(sorted(self.package.rglob("*"))):
            os.utime(path, ns=(10**18, 10**18 + number))

    def run(self, case, work, package=None, meanwhile=None):
        """One conversion into a folder, over what is there."""
        package = package or self.package
        if case.start == "replace":
            shutil.copytree(self.former, work, dirs_exist_ok=True)
        work.mkdir(exist_ok=True)
        machine, counts = work.with_name("machine.toml"), work.with_name("counts")
        machine.write_text(f"{MACHINE}'{package}'\n")
        counts.write_bytes(bytes(8 * len(CALLS)))
        command = [self.options.cas2orv.resolve(), "convert", r"\\zither\package\Zither.profile"]
        command += ["app.orv", "--log", "log.html", "--record", "record.jsonl", "--replace"]
        command += ["--progress", "none", "--machine", machine]
        action = 0 if case.what == "short" else getattr(errno, case.what, case.what)
        kind = list(CALLS).index(case.kind) if case.kind in CALLS else 0
        fault = {"ORV_FAULT": f"{kind} {case.first} {case.last} {action}",
                 "ORV_FAULT_COUNTS": counts, "LD_PRELOAD": self.options.library.resolve()}
        if case.what in LIMITS:
            fault = {}
            if case.what == "nproc" and os.geteuid() == 0:  # who has no such limit
                command = ["setpriv", f"--reuid={60_000 + 2 * int(case.first) + (case.start != 'fresh')}",
                           "--inh-caps=+dac_override", "--ambient-caps=+dac_override", "--", *command]
            command = ["timeout", "20", "prlimit", f"--{case.what}={case.first}", *command]
        pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        with subprocess.Popen(command, cwd=work, env={**os.environ, **fault}, **pipes) as process:
            if meanwhile:
                os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
                meanwhile()
                process.send_signal(signal.SIGCONT)
            out, err = process.communicate()
        made = dict(zip(CALLS, struct.unpack(f"{len(CALLS)}q", counts.read_bytes())))
        out, err = out.replace(bytes(work), b"WORK"), SUMMARY.sub(b"", err)
        return Result(process.returncode, out, err.decode("utf-8", "replace"), snapshot(work), made)

    def judge(self, result, start="fresh", wanted=None):
        """What is wrong with a result; None if nothing is."""
        wanted = wanted or self.wanted[start]
        if result.status not in (0, 1, 3) or (result.status != 0 and not result.err):
            return f"ends with {result.status}, and says {result.err!r}"
        hidden = {name.split("/")[0] for name in result.state if "cas2orv" in name}
        if any(name not in result.err for name in hidden) and "out of memory" not in result.err:
            return f"leaves {hidden}, and does not tell"
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
        with tempfile.TemporaryDirectory(dir=self.root) as folder:
            return special.get(case.kind, self.try_call)(case, pathlib.Path(folder) / "work")

    def try_call(self, case, work):
        result = self.run(case, work)
        return self.judge(result, case.start), result

    def kill(self, case, work):
        """Each target is the former or the new one then, and the next run removes what is left."""
        result, right = self.run(case._replace(last=case.first), work), self.wanted[case.start]
        for target in {name.split("/")[0] for name in of_targets(right.state)}:
            former = of_targets(self.before[case.start], target)
            if of_targets(result.state, target) not in (former, of_targets(right.state, target)):
                return f"half of {target} after {result.status}", result
        if result.status not in (0, int(case.what), 128 - int(case.what)):
            return f"ends with {result.status}", result
        later = self.run(NO_FAULT, work)
        if later.status != 0 or later.state != right.state:
            return f"the next run ends with {later.status}", later
        return None, result

    def limit(self, case, work):
        if case.what not in MOUNTS:
            result = self.run(case, work)
            if (case.what, str(case.first)) == ("nofile", "64") and result.status != 0:
                return "needs more than 64 descriptors", result
            is_begun = "while loading shared libraries" not in result.err
            return self.judge(result, case.start) if is_begun else None, result
        work.mkdir()
        mount = ["mount", "-t", "tmpfs", "-o", f"{case.what}={case.first}", "none", work]
        if subprocess.run(mount, capture_output=True, check=False).returncode != 0:
            return None, Result("no mount", b"", "nothing can be mounted here", {}, {})
        try:
            return self.try_call(case, work)
        finally:
            subprocess.run(["umount", "-l", work], check=True)

    def race(self, case, work):
        """What changes at a moment is told, or the result is of before or after; never of outside."""
        package, pick = work.with_name("package"), random.Random(int(case.last))
        shutil.copytree(self.package, package)
        entries = [path for path in sorted(package.glob("*/**/*")) if path.parent.name != "Scripts"]
        stop = case._replace(last=case.first, what=str(-signal.SIGSTOP))
        result = self.run(stop, work, package, lambda: self.change(pick, pick.choice(entries), work))
        if any(SECRET in made[2] for made in result.state.values()):
            return "has what is outside of the package", result
        after = self.run(NO_FAULT, work.with_name("after"), package)
        if result.status != 0:
            return None if result.status in (1, 3) and result.err else "does not tell", result
        made, before = of_targets(result.state), of_targets(self.wanted["fresh"].state)
        is_whole = made in (before, of_targets(after.state))
        return None if is_whole else self.judge(result, wanted=after), result

    def change(self, pick, path, work):
        kind = pick.choice(["grow", "shrink", "vanish", "link", "folder"])
        outside = self.root / ("outside" if path.is_dir() else "outside/zither.exe")
        if path.is_file() and kind in ("grow", "shrink"):
            size = path.stat().st_size
            os.truncate(path, size + 200_000 if kind == "grow" else size // 2)
            return
        path.rename(work.with_name("moved"))
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
        has_races = (kind, start, self.options.most) == ("races", "fresh", EVER)
        for moment in range(MOMENTS if kind == "kill" or has_races else 0):
            place = 1 + moment * counts["any"] // MOMENTS
            yield Case(kind, place, moment, str((-9, -15)[moment % 2]), start)
        for name, values in {**MOUNTS, **LIMITS}.items() if kind == "limits" else []:
            for value in values if name not in MOUNTS or start == "fresh" else []:
                yield Case(kind, value, 0, name, start)

    def count_faults(self):
        faults, ends = 0, collections.Counter()
        cases = [self.options.case] if self.options.case else []
        for kind in [] if cases else self.options.kinds:
            of_kind = [case for start in self.wanted for case in self.cases(kind, start)]
            cases += of_kind[:: max(1, len(of_kind) // self.options.most)]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for case, (problem, result) in zip(cases, pool.map(self.try_case, cases)):
                ends[case.kind, result.status] += 1
                if problem:
                    faults += 1
                    print(f"--case {':'.join(str(part) for part in case)}  {problem}", flush=True)
                if self.options.case:
                    print(result.err)
        for (kind, status), count in ends.items():
            print(f"{kind}: {count} with {status}")
        print(f"{len(cases)} runs, {faults} faults")
        return faults


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    for name in ("library", "make_package", "cas2orv"):
        parser.add_argument(name, type=pathlib.Path)
    parser.add_argument("kinds", nargs="*", default=[*list(CALLS)[1:], "kill", "limits", "races"])
    parser.add_argument("--most", type=int, default=EVER)
    parser.add_argument("--case", type=lambda text: Case(*text.split(":")))
    options = parser.parse_args()
    if options.case:
        os.environ["ORV_FAULT_TRACE"] = "1"
    with tempfile.TemporaryDirectory(prefix="orv-faults-") as name:
        sys.exit(1 if Harness(options, pathlib.Path(name)).count_faults() else 0)


if __name__ == "__main__":
    main()
