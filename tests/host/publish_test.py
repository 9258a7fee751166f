#!/usr/bin/env python3
"""What a conversion leaves when it is ended or killed: the former result or the new one, whole.

    publish_test.py MOMENTS CAS2ORV...

MOMENTS is at how many moments a conversion is ended or killed. What starts the program may be of
several words, for a program of Windows in Wine; then only what Wine has too is tested.
"""

import hashlib
import itertools
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

GUIDS = ["0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9", "11111111-2222-3333-4444-555555555555"]
FILES = 120
MOMENTS, *PROGRAM = sys.argv[1:]
MOMENTS = int(MOMENTS)
IN_WINE = len(PROGRAM) > 1
ENDS = [signal.SIGKILL, signal.SIGINT]
if not IN_WINE:
    ENDS += [signal.SIGKILL, signal.SIGTERM]


def digest(path):
    """All that a folder or a file holds."""
    lines = []
    for file in sorted(path.rglob("*")) if path.is_dir() else [path]:
        lines.append(f"{file.relative_to(path)} {file.stat().st_mode:o}".encode())
        lines.append(file.read_bytes() if file.is_file() else b"")
    return hashlib.sha256(b"\n".join(lines)).hexdigest() if path.exists() else None


class PublishTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="orvcasconv-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.out = self.folder / "out"
        self.log = self.out / "log.html"
        self.profiles = [self.package("a"), self.package("b")]

    def package(self, name):
        """A package whose targets have files, and neither hive nor rules, which the log tells."""
        folder = self.folder / name
        targets = ""
        for guid in GUIDS:
            drive = folder / f"{guid}_1/Device/C"
            drive.mkdir(parents=True)
            for number in range(FILES):
                (drive / f"{number} {name}").write_bytes(name.encode() * 1000)
            targets += f"<Target><Guid>{guid}</Guid><Ver>1</Ver></Target>"
        profile = folder / "App.profile"
        profile.write_text(f"<Package><Targets>{targets}</Targets></Package>")
        return profile

    def start(self, profile, *options, **more):
        """Writes into files, because what Wine starts beside may keep a pipe open."""
        command = [*PROGRAM, "convert", profile, self.out / "app.orv", "--progress=none", *options]
        files = [tempfile.TemporaryFile("w+", dir=self.folder) for _ in range(2)]
        process = subprocess.Popen(command, stdout=files[0], stderr=files[1], **more)
        process.files = files
        return process

    @staticmethod
    def end(process):
        """Gives what the process has written when it has ended."""
        process.wait()
        texts = []
        for file in process.files:
            file.seek(0)
            texts.append(file.read())
            file.close()
        return texts

    def run_to_end(self, profile, *options, **more):
        process = self.start(profile, *options, **more)
        out, err = self.end(process)
        return process.returncode, out, err

    def convert(self, profile):
        """Gives the digests of each target and of the log."""
        status, out, err = self.run_to_end(profile, "--replace", "--log", self.log)
        self.assertEqual((status, out.count("\n")), (3, len(GUIDS)), err)
        self.assertFalse(self.hidden())
        return self.state()

    def places(self):
        return [self.out / f"{{{guid}}}" for guid in GUIDS]

    def state(self):
        return [digest(place) for place in [*self.places(), self.log]]

    def hidden(self):
        return list(self.out.glob(".cas2orv*"))

    def test_a_result_is_the_former_or_the_new_one_at_every_moment(self):
        states = [self.convert(profile) for profile in self.profiles]
        begin = time.monotonic()
        self.convert(self.profiles[0])
        duration = time.monotonic() - begin
        present = 0
        for moment, number in zip(range(MOMENTS), itertools.cycle(ENDS)):
            other = 1 - present
            process = self.start(self.profiles[other], "--replace", "--log", self.log)
            time.sleep(duration * moment / MOMENTS)
            process.send_signal(number)
            err = self.end(process)[1]
            if IN_WINE and self.hidden():
                # There a folder is replaced in two steps, and the next run undoes half of them.
                self.assertEqual(self.run_to_end(self.profiles[0])[0], 1)
            with self.subTest(moment=moment, err=err, status=process.returncode):
                after = self.state()
                for now, *allowed in zip(after, *states):
                    self.assertIn(now, allowed)
                if process.returncode == 3:
                    self.assertEqual(after, states[other])
                elif not IN_WINE:
                    # Before the program has begun, a signal ends it as any other.
                    self.assertIn(process.returncode, (-number, 128 + number))
                if process.returncode == 128 + number:
                    self.assertEqual((after, self.hidden()), (states[present], []))
                    self.assertIn("nothing was changed", err)
            # One that was killed may have moved one target and not the other.
            if after not in states:
                self.convert(self.profiles[present])
            elif after == states[other]:
                present = other

    def test_a_first_run_that_is_ended_leaves_nothing(self):
        process = self.start(self.profiles[0], "--log", self.folder / "logs/log.html")
        while not any(self.out.glob(".cas2orv*/{*")):
            time.sleep(0.001)
        process.send_signal(signal.SIGINT)
        err = self.end(process)[1]
        self.assertEqual(process.returncode, 128 + signal.SIGINT, err)
        self.assertFalse(self.out.exists() or (self.folder / "logs").exists())

    def test_of_two_at_once_one_wins(self):
        both = [self.start(profile, "--log", self.log) for profile in self.profiles]
        errs = [self.end(process)[1] for process in both]
        statuses = [process.returncode for process in both]
        self.assertEqual(sorted(statuses), [1, 3], errs)
        winner = self.state()
        self.assertEqual(winner, self.convert(self.profiles[statuses.index(3)]))


if __name__ == "__main__":
    os.environ.pop("ORVCASCONV_MACHINE", None)
    unittest.main(argv=sys.argv[:1])
