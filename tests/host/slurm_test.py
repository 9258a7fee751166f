#!/usr/bin/env python3
"""Batches by a real Slurm: nothing is lost and nothing is done twice, whatever ends.

    slurm_test.py CAS2ORV MAKE_PACKAGES

Without root or without Slurm the test is skipped, which its exit status 77 says.
"""

import contextlib
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

import slurm_cluster

PROGRAM, MAKE_PACKAGES = sys.argv[1:]
SKIPPED = 77
PATIENCE = 120


class SlurmTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.cluster = slurm_cluster.Cluster()
        cls.addClassCleanup(cls.cluster.close)

    def setUp(self):
        # A shell, a pattern of Slurm or a list that takes it apart would not find it.
        self.folder = Path(tempfile.mkdtemp(prefix="orvcasconv-")) / "a %j 'b' $(c) \\ Ж\udc81"
        self.addCleanup(shutil.rmtree, self.folder.parent)
        self.packages = self.folder / "packages"
        self.out = self.folder / "out"
        self.addCleanup(self.cluster.ask, "scancel", "--user=root")

    def make_packages(self, count):
        self.packages.mkdir(parents=True, exist_ok=True)
        subprocess.run([MAKE_PACKAGES, self.packages, str(count), "7", "0"], check=True,
                       stdout=subprocess.DEVNULL)

    def make_slow_package(self, name):
        """One whose conversion takes so long that it can be met."""
        guid = "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9"
        drive = self.packages / name / f"{guid}_1/Device/C"
        drive.mkdir(parents=True)
        for number in range(30000):
            (drive / str(number)).write_bytes(b"")
        profile = self.packages / name / "Slow.profile"
        profile.write_text(f"<Package><Targets><Target><Guid>{guid}</Guid><Ver>1</Ver></Target>"
                           "</Targets></Package>")
        return profile

    def start(self, *options, environment=None):
        command = [PROGRAM, "batch", self.packages, "--output", self.out, "--engine", "slurm",
                   "--progress=plain", *options]
        file = tempfile.TemporaryFile("w+", errors="replace")
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=file, text=True,
                                   env=environment or self.cluster.environment)
        process.messages = file
        return process

    def said(self, process):
        process.messages.seek(0)
        return process.messages.read()

    def end(self, process):
        """Gives the status and what was said."""
        try:
            out = process.communicate(timeout=PATIENCE)[0]
        except subprocess.TimeoutExpired:
            process.kill()
            out = process.communicate()[0]
            self.fail(f"it does not end:\n{self.said(process)}\n{self.cluster.logs()}")
        messages = self.said(process)
        process.messages.close()
        return process.returncode, messages, out

    def batch(self, *options, **more):
        return self.end(self.start(*options, **more))

    def wait_for(self, condition, process=None):
        end = time.monotonic() + PATIENCE
        while not (found := condition()):
            if time.monotonic() > end or (process and process.poll() is not None):
                self.fail(f"in vain:\n{process and self.said(process)}\n{self.cluster.logs()}")
            time.sleep(0.02)
        return found

    def results(self):
        """By name, what is in the result and what tells it from another one."""
        found = {}
        for file in self.out.rglob("result.json"):
            state = file.stat()
            name = str(file.parent.relative_to(self.out))
            found[name] = (json.loads(file.read_text()), state.st_ino, state.st_mtime_ns)
        return found

    def child_for(self, profile):
        """The process that converts a package."""
        for process in self.cluster.processes_of_tasks():
            with contextlib.suppress(OSError):
                words = Path(f"/proc/{process}/cmdline").read_bytes().split(b"\0")
                if words[1:2] == [b"convert"] and os.fsencode(profile) in words:
                    return process
        return None

    def queue(self):
        return self.cluster.ask("squeue", "--noheader", "--array", "--format=%F %T")

    def files_for_arrays(self):
        return list((self.out / ".cas2orv-batch").glob("list-*"))

    def test_nothing_is_lost_or_done_twice_when_a_node_is_lost(self):
        self.make_packages(58)
        crashing = self.make_slow_package("0000")
        hanging = self.make_slow_package("0021a")
        options = ("--packages-per-task=10", "--timeout=10")
        process = self.start(*options)
        os.kill(self.wait_for(lambda: self.child_for(crashing), process), signal.SIGABRT)
        os.kill(self.wait_for(lambda: self.child_for(hanging), process), signal.SIGSTOP)
        self.wait_for(lambda: len(self.results()) >= 20, process)
        self.cluster.kill_node()
        before = self.results()
        self.cluster.bring_back_node()
        os.kill(self.wait_for(lambda: self.child_for(hanging), process), signal.SIGSTOP)
        status, messages, _ = self.end(process)

        after = self.results()
        self.assertEqual((status, len(after)), (1, 60), messages)
        self.assertIn("submitting 60 packages in 6 tasks of up to 10", messages)
        failed = {name: (result["end"], result.get("signal"))
                  for name, (result, *_) in after.items() if result["status"] not in (0, 3)}
        self.assertEqual(failed["0000/Slow"], ("signal", signal.SIGABRT))
        self.assertEqual(failed["0021a/Slow"][0], "timeout")
        self.assertEqual(len(failed), 2, messages)
        self.assertNotIn("0021a/Slow", before)
        self.assertGreaterEqual(len(before), 20)
        self.assertEqual(before, {name: after[name] for name in before})
        summary = json.loads((self.out / "summary.json").read_text())
        self.assertEqual((summary["packages"], summary["failed"]), (60, 2))
        self.assertFalse(self.queue() or self.files_for_arrays())

        status, messages, _ = self.batch(*options)
        self.assertEqual((status, self.results()), (1, after), messages)
        self.assertNotIn("submitting", messages)
        status, messages, _ = self.batch("--retry")
        again = self.results()
        self.assertEqual({name for name in again if again[name] != after[name]}, set(failed))
        self.assertEqual(status, 3, messages)
        self.assertIn("submitting 2 packages in 1 task", messages)

    def test_an_array_that_nobody_waits_for_is_found_again(self):
        self.make_packages(4)
        status, messages, out = self.batch("--detach", "--slurm-option=--hold", "--json")
        self.assertEqual(status, 0, messages)
        result = json.loads(out)
        job = result["job"]
        self.assertEqual((result["waiting"], result["tasks"]), (4, 1))
        self.assertEqual(self.queue(), f"{job} PENDING")
        self.assertIn(f"submitted as job {job} with 4 packages", messages)
        # Another package is all that is submitted now.
        shutil.copytree(self.packages / "0001", self.packages / "0005")
        status, messages, _ = self.batch("--detach", "--slurm-option=--hold")
        self.assertEqual(status, 0, messages)
        self.assertIn(f"still in the queue is job {job} with 4 packages", messages)
        self.assertIn("submitting 1 package in 1 task", messages)
        jobs = {line.split()[0] for line in self.queue().splitlines()}
        self.assertEqual(len(jobs), 2)

        process = self.start()
        self.wait_for(lambda: self.said(process).count("still in the queue") == 2, process)
        # Meanwhile the controller is away.
        self.cluster.stop_controller()
        self.wait_for(lambda: "trying again" in self.said(process), process)
        self.cluster.start_controller()
        for each in jobs:
            self.cluster.ask("scontrol", "release", each)
        status, messages, _ = self.end(process)
        self.assertEqual((status, len(self.results())), (3, 5), messages)
        self.assertNotIn("submitting", messages)
        self.assertLessEqual(messages.count("trying again"), len(jobs))
        self.assertFalse(self.files_for_arrays())

    def test_a_signal_cancels_the_array_and_the_next_run_goes_on(self):
        self.make_packages(6)
        slow = self.make_slow_package("0000")
        for number in (signal.SIGINT, signal.SIGTERM):
            process = self.start("--packages-per-task=2")
            self.wait_for(lambda: self.child_for(slow), process)
            process.send_signal(number)
            status, messages, _ = self.end(process)
            self.assertEqual(status, 128 + number, messages)
            self.assertRegex(messages, r"job \d+ is cancelled")
            self.assertIn("the same command goes on", messages)
            self.wait_for(lambda: not self.queue())
            self.assertNotIn("0000/Slow", self.results())
        before = self.results()
        status, messages, _ = self.batch()
        after = self.results()
        self.assertEqual((status, len(after)), (3, 7), messages)
        self.assertEqual(before, {name: after[name] for name in before})
        self.assertFalse(self.files_for_arrays())

    def test_what_an_array_leaves_is_told_and_submitted_again(self):
        self.make_packages(4)
        process = self.start("--slurm-option=-H")
        job = self.wait_for(self.queue, process).split()[0]
        self.cluster.ask("scancel", job)
        status, messages, _ = self.end(process)
        self.assertEqual(status, 1, messages)
        self.assertIn(f"4 packages of job {job} got no result", messages)
        self.assertIn(f"job {job} has ended without a result", messages)
        status, messages, _ = self.batch("--slurm-option=--time=10", "--jobs=2")
        self.assertEqual((status, len(self.results())), (3, 4), messages)
        self.assertFalse(self.files_for_arrays())

    def test_what_cannot_be_submitted_is_told(self):
        self.make_packages(60)
        missing = dict(self.cluster.environment, PATH=str(self.folder))
        for options, expected, more in [
                (["--slurm-option=--partition=nowhere"], "Invalid partition name", {}),
                (["--packages-per-task=1"], "give --packages-per-task at least 2", {}),
                ([], "scontrol is not found; this engine is for systems with Slurm",
                 {"environment": missing})]:
            status, messages, _ = self.batch(*options, **more)
            self.assertEqual(status, 1, messages)
            self.assertIn(expected, messages)
            self.assertFalse(self.files_for_arrays() or self.queue())
        for option in ["--array=0-9", "--arr=0-9", "-a0", "--wrap=true", "script", "--", "-J x"]:
            status, messages, _ = self.batch(f"--slurm-option={option}")
            self.assertEqual(status, 2, messages)
            self.assertIn("--slurm-option=" + option, messages)


if __name__ == "__main__":
    os.environ.pop("ORVCASCONV_MACHINE", None)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    REASON = slurm_cluster.why_missing()
    if REASON:
        print("skipped:", REASON)
        sys.exit(SKIPPED)
    unittest.main(argv=[sys.argv[0], "-v"] + (os.environ.get("TESTS") or "").split())
