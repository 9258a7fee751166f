#!/usr/bin/env python3
"""Converts a small package again and again, and each time something else fails.

    faults.py LIBRARY MAKE_PACKAGE CAS2ORV [KINDS...] [--every N] [-j JOBS] [--case CASE]

LIBRARY is preloaded and has one call fail, or all from one on; faults.cpp tells how. A conversion
may end with 0 only if all that it makes equals what one without faults makes. After 1 the former
result or the new one is there, whole; after 3 what is missing is told. No half file has its final
name, and what is left beside the output is told.

KINDS are those of CALLS; kill, which ends the program at a moment; limits, of a file system and of
the process; and races, which change the package meanwhile. Without, all of them. --every N takes
one of N cases. A case that fails is printed as an option, which runs it alone and shows more.
"""

import argparse
import collections
import concurrent.futures
import errno
import itertools
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time

# What a call of each kind may fail with, in the order of the library.
CALLS = {
    "any": [],
    "read": ["EIO", "EINTR", "short"],
    "write": ["EIO", "ENOSPC", "EINTR", "short"],
    "copy": ["EIO", "ENOSPC", "EINTR", "EXDEV", "short"],
    "ioctl": ["EIO", "EACCES"],
    "open": ["EIO", "EMFILE", "EACCES", "EINTR", "ENOMEM"],
    "mkdir": ["EIO", "ENOSPC", "EACCES"],
    "rename": ["EIO", "ENOSPC", "EACCES"],
    "unlink": ["EIO", "EACCES"],
    "stat": ["EIO", "EACCES", "ENOMEM"],
    "list": ["EIO", "EACCES", "ENOMEM"],
    "xattr": ["EIO", "EACCES", "ENOMEM"],
    "times": ["EIO", "EACCES"],
    "close": ["EIO", "ENOSPC", "EINTR"],
    "truncate": ["EIO", "ENOSPC", "EINTR"],
    "map": ["ENOMEM"],
    "seek": ["EIO"],
    "mode": ["EIO", "EINTR"],
    "thread": ["EAGAIN"],
    "memory": ["ENOMEM"],
}
KINDS = [*list(CALLS)[1:], "kill", "limits", "races"]
EVER = 1 << 40
MOMENTS = 100  # at which a program is killed, or its package changes
LIMITS = {
    "size": range(40_000, 1_240_000, 60_000),
    "nr_inodes": range(4, 64, 6),
    "NOFILE": [*range(3, 40, 3), 64],
    "FSIZE": [0, 1, 500, 3000, 10_000, 100_000],
    "AS": [size << 20 for size in range(40, 240, 10)],
}
TIME_LIMIT = 20  # seconds; a run takes some hundredths of one
SECRET = b"what is outside of the package"
SUMMARY = re.compile(rb"^\d+ targets?, \d+ items?, .*\n", re.M)
# A loss that tells of all that is in a folder or a profile, or of a stage.
WIDE_LOSS = re.compile("about (folder-unread|profile-broken|rules-unread|stage-failed|no-memory)")

# `what` is an error, a signal, a limit or "change". `start` is what is in the place of the output:
# "fresh", or "replace" for an older result.
Case = collections.namedtuple("Case", "kind first last what start")
Result = collections.namedtuple("Result", "status out err state counts")


def snapshot(folder):
    """All that a folder holds, by name."""
    state = {}
    for path in sorted(folder.rglob("*")):
        info = path.lstat()
        name = str(path.relative_to(folder))
        # Manifests, log and record are made anew, so their times are of no interest.
        has_time = path.is_file() and path.suffix not in (".orv", ".html", ".jsonl")
        data = path.read_bytes() if path.is_file() else b""
        state[name] = (info.st_mode, info.st_mtime_ns if has_time else 0, data)
    return state


def of_targets(state):
    return {name: made for name, made in state.items() if name.startswith("{")}


class Harness:
    def __init__(self, options, root):
        self.options = options
        self.root = root
        self.local = threading.local()
        self.numbers = itertools.count()
        self.make_package()
        self.wanted = {"fresh": self.reference("fresh")}
        # An older result differs from the new one in each of its files.
        self.former = root / "former"
        shutil.copytree(root / "reference", self.former)
        for path in self.former.rglob("*"):
            if path.is_file():
                path.write_bytes(b"former " + path.read_bytes()[:100])
        self.wanted["replace"] = self.reference("replace")
        self.former_targets = of_targets(snapshot(self.former))

    def make_package(self):
        package = self.root / "package"
        subprocess.run([self.options.make_package, package], check=True)
        target = next(package.glob("0A*"))
        try:
            for name, attribute in [("marked", "CTX_FILE_DELETE_MARKER"), ("streamed", "other")]:
                file = target / f"Device/C/Program Files/Zither/{name}.dat"
                os.setxattr(file, f"user.{attribute}", b"1")
        except OSError as error:
            print(f"without streams, which this file system has not: {error}")
        with open(target / "Device/D/Songs/holes.dat", "wb") as file:
            file.seek(200_000)
            file.write(b"end")
        (self.root / "outside").mkdir()
        (self.root / "outside/zither.exe").write_bytes(SECRET)
        for number, path in enumerate(sorted(package.rglob("*"))):
            os.utime(path, ns=(10**18, 10**18 + number))

    def reference(self, start):
        result = self.run(Case("any", 0, 0, "0", start), work=self.root / "reference")
        if result.status != 0:
            sys.exit(f"the conversion without faults ends with {result.status}:\n{result.err}")
        return result

    def folder(self):
        if not hasattr(self.local, "work"):
            self.local.work = self.root / "work" / str(next(self.numbers))
        return self.local.work

    def run(self, case, work=None, package=None, meanwhile=None, keeps=False, **environment):
        """One conversion, in a folder of this thread."""
        work, package = work or self.folder(), package or self.root / "package"
        if not keeps:
            for path in work.iterdir() if work.exists() else []:
                path.unlink() if path.is_file() else shutil.rmtree(path)
            work.mkdir(parents=True, exist_ok=True)
            if case.start == "replace":
                shutil.copytree(self.former, work, dirs_exist_ok=True)
        counts = work.with_suffix(".counts")
        counts.write_bytes(bytes(8 * len(CALLS)))
        machine = work.with_suffix(".toml")
        machine.write_text((package / "machine.toml").read_text().replace("PLACE", str(package)))
        environment.update(ASAN_OPTIONS="detect_leaks=0:verify_asan_link_order=0", TZ="UTC")
        if case.kind != "limits":
            action = 0 if case.what == "short" else getattr(errno, case.what, case.what)
            kind = list(CALLS).index(case.kind) if case.kind in CALLS else 0
            environment["ORV_FAULT"] = f"{kind} {case.first} {case.last} {action}"
            environment["ORV_FAULT_COUNTS"] = str(counts)
            environment["LD_PRELOAD"] = str(self.options.library.resolve())
        command = [self.options.cas2orv.resolve(), "convert", r"\\zither\package\Zither.profile"]
        command += ["app.orv", "--log", "log.html", "--record", "record.jsonl", "--replace"]
        command += ["--progress", "none", "--machine", machine]

        def limit():
            if case.kind == "limits" and case.what.isupper():
                number = getattr(resource, f"RLIMIT_{case.what}")
                resource.setrlimit(number, (case.first, case.first))

        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "preexec_fn": limit}
        with subprocess.Popen(command, cwd=work, env={**os.environ, **environment}, **streams) as run:
            if meanwhile:
                os.waitid(os.P_PID, run.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
                meanwhile()
                run.send_signal(signal.SIGCONT)
            try:
                out, err = run.communicate(timeout=TIME_LIMIT)
                status = run.returncode
            except subprocess.TimeoutExpired:
                run.kill()
                status, (out, err) = "no end", run.communicate()
        made = dict(zip(CALLS, struct.unpack(f"{len(CALLS)}q", counts.read_bytes())))
        out, err = out.replace(bytes(work), b"WORK"), SUMMARY.sub(b"", err)
        return Result(status, out, err.decode("utf-8", "replace"), snapshot(work), made)

    def judge(self, result, start, wanted):
        """What is wrong with a result; None if nothing is."""
        if result.status not in (0, 1, 3) or "Sanitizer" in result.err:
            return f"ends with {result.status}"
        hidden = sorted({name.split("/")[0] for name in result.state if "cas2orv" in name})
        for name in hidden:
            if name not in result.err and "out of memory" not in result.err:
                return f"leaves {name}, and does not tell"
        if result.status != 0 and not result.err:
            return f"ends with {result.status} without a word"
        if result.status == 0:
            # The result is whole without its record, if that is told.
            for name in sorted(wanted.state.keys() | result.state.keys()):
                is_told = name.split("/")[0] in hidden or name in result.err
                if wanted.state.get(name) != result.state.get(name) and not is_told:
                    return f"ends with 0 and another {name}"
            return None if result.out == wanted.out else "ends with 0 and another stdout"
        before = self.former_targets if start == "replace" else {}
        made, right = of_targets(result.state), of_targets(wanted.state)
        if result.status == 1:
            return None if made in (before, right) else "ends with 1 and half a result"
        # A broken profile may name fewer targets; the others stay as they are.
        made = {name: file for name, file in made.items() if before.get(name) != file}
        return self.judge_lossy(made, right, result.err)

    @staticmethod
    def judge_lossy(made, right, text):
        for name in sorted(made.keys() | right.keys()):
            # A script has the level in front of its name.
            words = [re.sub("^(Profile|Target)_", "", word) for word in name.split("/")[1:]]
            is_told = WIDE_LOSS.search(text) or any(word in text for word in words)
            if name in made and name in right:
                if made[name][2] != right[name][2] and not name.endswith(".orv"):
                    return f"ends with 3 and half of {name}"
            elif not is_told and (name in made or right[name][2] or name.endswith("empty.dat")):
                return f"ends with 3 and does not tell of {name}"
        return None

    def try_case(self, case, **environment):
        special = {"kill": self.kill, "limits": self.limit, "races": self.race}
        if case.kind in special:
            return special[case.kind](case)
        result = self.run(case, **environment)
        return self.judge(result, case.start, self.wanted[case.start]), result

    def kill(self, case):
        """What is there after a kill is the former result or the new one, and the next run cleans."""
        wanted = self.wanted[case.start]
        result = self.run(case)
        before = self.former_targets if case.start == "replace" else {}
        made, right = of_targets(result.state), of_targets(wanted.state)
        for target in {name.split("/")[0] for name in right}:
            now, old, new = (
                {name: file for name, file in state.items() if name.startswith(target)}
                for state in (made, before, right)
            )
            if now not in (old, new):
                return f"half of {target} after {result.status}", result
        if result.status not in (0, int(case.what), 128 - int(case.what)):
            return f"ends with {result.status}", result
        later = self.run(Case("any", 0, 0, "0", case.start), keeps=True)
        if later.status != 0 or later.state != wanted.state:
            return f"the next run ends with {later.status}", later
        has_left = any(name.startswith(".cas2orv") and "/" in name for name in result.state)
        return ("the next run does not tell" if has_left and not later.err else None), result

    def limit(self, case):
        """On a small file system, or with a limit of the process."""
        work = self.folder()
        work.mkdir(parents=True, exist_ok=True)
        is_mounted = case.what.islower()
        if is_mounted:
            mount = ["mount", "-t", "tmpfs", "-o", f"{case.what}={case.first}", "none", work]
            if subprocess.run(mount, capture_output=True, check=False).returncode != 0:
                return None, Result("skipped, because nothing can be mounted", b"", "", {}, {})
        try:
            result = self.run(case)
        finally:
            if is_mounted:
                subprocess.run(["umount", "-l", work], check=True)
        if case.what == "NOFILE" and case.first == 64 and result.status != 0:
            return "needs more than 64 descriptors", result
        if case.what in ("AS", "NOFILE") and result.status == 127:
            return None, result  # the loader itself
        return self.judge(result, case.start, self.wanted[case.start]), result

    def race(self, case):
        """What changes at a moment is told, or the result is of before or after; never of outside."""
        package = self.folder().with_suffix(".package")
        shutil.rmtree(package, ignore_errors=True)
        shutil.copytree(self.root / "package", package, symlinks=True)
        before = self.run(Case("any", 0, 0, "0", "fresh"), package=package)
        pick = random.Random(case.last)
        entries = [path for path in sorted(package.glob("*/**/*")) if path.parent.name != "Scripts"]
        result = self.run(
            case._replace(last=case.first, what=str(-signal.SIGSTOP)),
            package=package,
            meanwhile=lambda: self.change(pick, pick.choice(entries)),
        )
        after = self.run(Case("any", 0, 0, "0", "fresh"), package=package)
        if any(SECRET in made[2] for made in result.state.values()):
            return "has what is outside of the package", result
        if result.status == 0 and of_targets(before.state) == of_targets(result.state):
            return None, result
        if result.status not in (1, 3):
            return self.judge(result, "fresh", after), result
        return (None if result.err else "ends without a word"), result

    def change(self, pick, path):
        if path.is_dir():
            path.rename(path.with_name("moved"))
            if pick.random() < 0.5:
                path.symlink_to(self.root / "outside")
            return
        kind = pick.choice(["grow", "shrink", "vanish", "link", "folder"])
        if kind in ("grow", "shrink"):
            data = path.read_bytes()
            path.write_bytes(data + b"more" * 50_000 if kind == "grow" else data[: len(data) // 2])
            return
        path.unlink()
        if kind == "link":
            path.symlink_to(self.root / "outside/zither.exe")
        elif kind == "folder":
            path.mkdir()

    def cases(self):
        count = self.wanted["fresh"].counts["any"]
        for kind, start in itertools.product(self.options.kinds or KINDS, self.wanted):
            words = CALLS.get(kind, [])
            for first in range(1, self.wanted[start].counts.get(kind, 0) + 1):
                for word in words:
                    yield Case(kind, first, first, word, start)
                # EINTR never lasts, because the streams of the C++ library try again for ever.
                lasting = [word for word in words if word != "EINTR"]
                yield Case(kind, first, EVER, lasting[first % len(lasting)], start)
            for moment in range(MOMENTS):
                place = 1 + moment * count // MOMENTS
                if kind == "kill":
                    yield Case(kind, place, place, str(-9 if moment % 2 else -15), start)
                elif kind == "races" and start == "fresh":
                    yield Case(kind, place, moment, "change", start)
            for name, values in LIMITS.items() if kind == "limits" else []:
                for value in values if name.isupper() or start == "fresh" else []:
                    yield Case(kind, value, 0, name, start)


def case_of(text):
    kind, first, last, what, start = text.split(":")
    return Case(kind, int(first), int(last), what, start)


def run_all(harness, options):
    """Gives the number of faults."""
    begin = time.monotonic()
    cases = list(harness.cases())[:: options.every]
    faults = 0
    ends = collections.defaultdict(collections.Counter)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for case, (problem, result) in zip(cases, pool.map(harness.try_case, cases)):
            ends[case.kind][result.status] += 1
            if problem:
                faults += 1
                print(f"--case {':'.join(str(part) for part in case)}  {problem}", flush=True)
    for kind, counts in ends.items():
        words = (f"{count} with {status}" for status, count in counts.most_common())
        print(f"{kind}: {counts.total()} runs, {', '.join(words)}")
    print(f"{len(cases)} runs in {time.monotonic() - begin:.0f} s, {faults} faults")
    return faults


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    for name in ("library", "make_package", "cas2orv"):
        parser.add_argument(name, type=pathlib.Path)
    parser.add_argument("kinds", nargs="*", choices=[*KINDS, []])
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--case", type=case_of)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="orv-faults-") as name:
        harness = Harness(options, pathlib.Path(name))
        if options.case:
            problem, result = harness.try_case(options.case, ORV_FAULT_TRACE="1")
            print(f"{result.err}exit status {result.status}: {problem or 'no fault'}")
        else:
            problem = run_all(harness, options)
    sys.exit(1 if problem else 0)


if __name__ == "__main__":
    main()
