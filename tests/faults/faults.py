#!/usr/bin/env python3
"""Converts a small package again and again, and each time another call fails.

    faults.py LIBRARY MAKE_PACKAGE CAS2ORV [KINDS...] [--every N] [-j JOBS] [--case CASE]

LIBRARY is preloaded into the program; faults.cpp tells what it does. A conversion may end with 0
only if all that it makes equals what a conversion without faults makes. With 1 the former result is
whole, with 3 what is missing is told. Never is there half a file under its final name, and what is
left of a run is told.

KINDS are those of faults.cpp; without, all of them. --every N takes one of N cases, spread over all.
A case that fails is printed as the option --case, which runs it alone and shows all of it.
"""

import argparse
import collections
import concurrent.futures
import errno
import itertools
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import threading
import time

# What a call of each kind may fail with, apart from EIO.
ERRORS = {
    "read": ["EINTR", "short"],
    "write": ["ENOSPC", "EINTR", "short"],
    "copy": ["ENOSPC", "EINTR", "EXDEV", "short"],
    "ioctl": ["EACCES"],
    "open": ["EMFILE", "EACCES", "EINTR", "ENOMEM"],
    "mkdir": ["ENOSPC", "EACCES"],
    "rename": ["ENOSPC", "EACCES"],
    "unlink": ["EACCES"],
    "stat": ["EACCES", "ENOMEM"],
    "list": ["EACCES", "ENOMEM"],
    "xattr": ["EACCES", "ENOMEM"],
    "times": ["EACCES"],
    "close": ["ENOSPC", "EINTR"],
    "truncat": ["ENOSPC", "EINTR"],
    "seek": [],
    "mode": ["EINTR"],
    "map": ["ENOMEM"],
    "thread": ["EAGAIN"],
    "memory": ["ENOMEM"],
}
NOT_OF_DEVICES = ("map", "thread", "memory")
EVER = 1 << 40
COUNTS = struct.Struct("8sq")
TIME_LIMIT = 20  # seconds; a run takes some hundredths of one
# A loss that tells of all that is in a folder or a profile, or of a stage.
WIDE_LOSS = re.compile("about (folder-unread|profile-broken|rules-unread|stage-failed|no-memory)")
SUMMARY = re.compile(rb"^\d+ targets?, \d+ items?, .*\n", re.M)

# `start` is what is in the place of the output: nothing, or an older result. `last` is EVER or
# `first`.
Case = collections.namedtuple("Case", "kind first last action start")
Result = collections.namedtuple("Result", "status out err state counts")


def action_of(word):
    return word if word == "short" else str(getattr(errno, word))


def snapshot(folder):
    """All that a folder holds, by name."""
    state = {}
    for path in sorted(folder.rglob("*")):
        info = path.lstat()
        is_file = path.is_file()
        name = str(path.relative_to(folder))
        # Manifests, log and record are made anew, so their times are of no interest.
        has_time = is_file and not name.endswith((".orv", ".html", ".jsonl"))
        state[name] = (
            info.st_mode,
            info.st_mtime_ns if has_time else 0,
            path.read_bytes() if is_file else b"",
        )
    return state


def of_targets(state):
    return {name: made for name, made in state.items() if name.startswith("{")}


class Harness:
    def __init__(self, options, root):
        self.options = options
        self.root = root
        self.package = root / "package"
        self.local = threading.local()
        self.numbers = itertools.count()
        self.make_package()
        self.fresh = self.reference("fresh")
        # An older result differs from the new one in each of its files.
        self.former = root / "former"
        shutil.copytree(root / "reference", self.former)
        for path in self.former.rglob("*"):
            if path.is_file():
                path.write_bytes(b"former " + path.read_bytes()[:100])
        self.replaced = self.reference("replace")
        self.former_state = snapshot(self.former)

    def make_package(self):
        subprocess.run([self.options.make_package, self.package], check=True)
        self.machine = (self.package / "machine.toml").rename(self.root / "machine.toml")
        target = next(self.package.glob("0A*"))
        try:
            for name, attribute in [("marked", "CTX_FILE_DELETE_MARKER"), ("streamed", "other")]:
                file = target / f"Device/C/Program Files/Zither/{name}.dat"
                os.setxattr(file, f"user.{attribute}", b"1")
        except OSError as error:
            print(f"without streams, which this file system has not: {error}")
        with open(target / "Device/D/Songs/holes.dat", "wb") as file:
            file.seek(200_000)
            file.write(b"end")
        for number, path in enumerate(sorted(self.package.rglob("*"))):
            os.utime(path, ns=(10**18, 10**18 + number))

    def reference(self, start):
        result = self.run(Case("any", 0, 0, "0", start), self.root / "reference")
        if result.status != 0:
            sys.exit(f"the conversion without faults ends with {result.status}:\n{result.err}")
        return result

    def run(self, case, work=None, **environment):
        """One conversion, in a folder of this thread."""
        if work is None:
            if not hasattr(self.local, "work"):
                self.local.work = self.root / "work" / str(next(self.numbers))
            work = self.local.work
        shutil.rmtree(work, ignore_errors=True)
        if case.start == "replace":
            shutil.copytree(self.former, work)
        else:
            work.mkdir(parents=True)
        counts = work.with_suffix(".counts")
        counts.write_bytes(bytes(COUNTS.size * 20))
        environment = {
            **os.environ,
            **environment,
            "LD_PRELOAD": str(self.options.library.resolve()),
            "ORV_FAULT": f"{case.kind} {case.first} {case.last} {case.action}",
            "ORV_FAULT_COUNTS": str(counts),
            "ASAN_OPTIONS": "detect_leaks=0:verify_asan_link_order=0",
            "TZ": "UTC",
        }
        command = [self.options.cas2orv.resolve(), "convert", r"\\zither\package\Zither.profile"]
        command += ["app.orv", "--log", "log.html", "--record", "record.jsonl", "--progress"]
        command += ["none", "--machine", self.machine, "--replace"]
        try:
            run = subprocess.run(
                command,
                cwd=work,
                env=environment,
                capture_output=True,
                check=False,
                timeout=TIME_LIMIT,
            )
        except subprocess.TimeoutExpired as error:
            return Result("no end", error.stdout, error.stderr or b"", snapshot(work), {})
        pairs = COUNTS.iter_unpack(counts.read_bytes())
        made = {name.rstrip(b"\0").decode(): count for name, count in pairs}
        out = run.stdout.replace(bytes(work), b"WORK")
        err = SUMMARY.sub(b"", run.stderr)
        return Result(run.returncode, out, err, snapshot(work), made)

    def judge(self, case, result):
        """What is wrong with a result; None if nothing is."""
        wanted = self.replaced if case.start == "replace" else self.fresh
        text = result.err.decode("utf-8", "replace")
        if result.status not in (0, 1, 3):
            return f"ends with {result.status}"
        if "Sanitizer" in text or "runtime error" in text:
            return "sanitizer"
        hidden = sorted({name.split("/")[0] for name in result.state if "cas2orv" in name})
        untold = [name for name in hidden if name not in text and "out of memory" not in text]
        if untold:
            return f"leaves {untold[0]}, and does not tell"
        if result.status != 0 and not text:
            return f"ends with {result.status} without a word"
        if result.status == 0:
            return self.judge_whole(wanted, result, text)
        before = of_targets(self.former_state) if case.start == "replace" else {}
        targets = of_targets(result.state)
        if result.status == 1:
            is_whole = targets in (before, of_targets(wanted.state))
            return None if is_whole else "ends with 1 and half a result"
        # A broken profile may name fewer targets; the others stay as they are.
        changed = {name: made for name, made in targets.items() if before.get(name) != made}
        return self.judge_lossy(changed, of_targets(wanted.state), text)

    @staticmethod
    def judge_whole(wanted, result, text):
        for name in sorted(wanted.state.keys() | result.state.keys()):
            # The result is whole without its record, and what is left of a run too.
            is_told = name in text or "record" in name and "record" in text
            if wanted.state.get(name) != result.state.get(name) and not is_told:
                if "cas2orv" in name:
                    continue
                return f"ends with 0 and another {name}"
        return None if result.out == wanted.out else "ends with 0 and another stdout"

    @staticmethod
    def judge_lossy(targets, wanted, text):
        for name in sorted(targets.keys() | wanted.keys()):
            made, right = targets.get(name), wanted.get(name)
            is_file = right is None or right[2] or name.endswith("empty.dat")
            if made is not None and right is not None and made[2] != right[2]:
                if not name.endswith(".orv"):
                    return f"ends with 3 and half of {name}"
            elif made is None and is_file:
                parts = pathlib.Path(name).parts
                # A script has the level in front of its name.
                words = [part.removeprefix("Profile_").removeprefix("Target_") for part in parts[1:]]
                if not WIDE_LOSS.search(text) and not any(word in text for word in words):
                    return f"ends with 3 and does not tell of {name}"
        return None

    def cases(self):
        """Every case, spread so that one of N has all kinds."""
        for kind in self.options.kinds or ERRORS:
            words = ERRORS[kind] + ([] if kind in NOT_OF_DEVICES else ["EIO"])
            for start, wanted in [("fresh", self.fresh), ("replace", self.replaced)]:
                for first in range(1, wanted.counts[kind] + 1):
                    for word in words:
                        yield Case(kind, first, first, word, start)
                    # From here on all calls, with one of the errors. EINTR is none of them, because
                    # the streams of the C++ library try again for ever.
                    lasting = [word for word in words if word != "EINTR"]
                    yield Case(kind, first, EVER, lasting[first % len(lasting)], start)

    def try_case(self, case, **environment):
        result = self.run(case._replace(action=action_of(case.action)), **environment)
        return self.judge(case, result), result


def text_of(case):
    return f"{case.kind}:{case.first}:{case.last}:{case.action}:{case.start}"


def case_of(text):
    kind, first, last, action, start = text.split(":")
    return Case(kind, int(first), int(last), action, start)


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    for name in ("library", "make_package", "cas2orv"):
        parser.add_argument(name, type=pathlib.Path)
    parser.add_argument("kinds", nargs="*")
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--case", type=case_of)
    options = parser.parse_args()
    begin = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="orv-faults-") as name:
        harness = Harness(options, pathlib.Path(name))
        if options.case:
            problem, result = harness.try_case(options.case, ORV_FAULT_TRACE="1")
            sys.stdout.write(result.err.decode("utf-8", "replace"))
            print(f"exit status {result.status}: {problem or 'no fault'}")
            sys.exit(1 if problem else 0)
        cases = list(harness.cases())[:: options.every]
        problems = 0
        statuses = collections.defaultdict(collections.Counter)
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            for case, (problem, result) in zip(cases, pool.map(harness.try_case, cases)):
                statuses[case.kind][result.status] += 1
                if problem:
                    problems += 1
                    print(f"--case {text_of(case)}: {problem}", flush=True)
        for kind, counts in statuses.items():
            ends = ", ".join(f"{count} with {status}" for status, count in sorted(counts.items(), key=str))
            print(f"{kind}: {counts.total()} runs, {ends}")
        print(f"{len(cases)} runs in {time.monotonic() - begin:.0f} s, {problems} faults")
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
