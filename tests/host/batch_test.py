#!/usr/bin/env python3
"""Batches as whole runs: what is converted, what is kept, and what is left when a run is ended,
killed, has no room, or is one of several.

    batch_test.py [--sanitized] SCHEMA CAS2ORV

SCHEMA is that of the JSON, which the files are compared with where the module jsonschema is there.
With --sanitized the program runs without a limit of memory, which a sanitizer would not respect.
"""

import contextlib
import csv
import fcntl
import hashlib
import json
import os
import pty
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

try:
    import jsonschema
except ImportError:
    jsonschema = None

IS_SANITIZED = "--sanitized" in sys.argv
SCHEMA, PROGRAM = sys.argv[-2:]
FILES = 40


class BatchTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="orvcasconv-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.packages = self.folder / "packages"
        self.out = self.folder / "out"

    def package(self, name, files=3, hive=b"no hive", profile=None):
        """A package that is not whole, because its hive is none."""
        folder = self.packages / name
        guid = f"0A1B2C3D-4E5F-6071-8293-{abs(hash(name)) % 16**12:012X}"
        target = folder.parent / f"{guid}_1"
        (target / "Device/C").mkdir(parents=True, exist_ok=True)
        for number in range(files):
            (target / f"Device/C/{number}.txt").write_text(name)
        # No package of its own, because it was captured.
        (target / "Device/C/captured.profile").write_text("")
        (target / "InstallRoot.dat").write_bytes(hive)
        (folder.parent / (folder.name + ".profile")).write_text(profile or (
            f"<Package><Targets><Target><Guid>{guid}</Guid><Ver>1</Ver></Target></Targets>"
            "</Package>"))
        return target

    def start(self, *options, sources=None, **more):
        command = [PROGRAM, "batch", *(sources or [self.packages]), "-o", self.out, *options]
        return subprocess.Popen(command, stderr=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                **more)

    def batch(self, *options, sources=None, status=3, given="", **more):
        """Gives what stderr has."""
        process = self.start(*options, sources=sources, stdin=subprocess.PIPE, **more)
        out, err = process.communicate(given)
        self.assertEqual(process.returncode, status, err)
        self.last_out = out
        # Whatever has happened, nothing of the work is left.
        self.assertFalse(list(self.out.glob(".cas2orv*")), err)
        return err

    def stop_child(self, name, run, number):
        """Sends a signal to the process that converts a package."""
        while run.poll() is None:
            for entry in Path("/proc").glob("[0-9]*"):
                with contextlib.suppress(OSError):
                    words = (entry / "cmdline").read_bytes().split(b"\0")
                    if words[1:2] == [b"convert"] and bytes(
                            self.packages / f"{name}.profile") in words:
                        os.kill(int(entry.name), number)
                        return
        self.fail("no process converts " + name)

    def assert_schema(self):
        """All JSON that is there is as it is documented."""
        if jsonschema is None:
            return
        validator = jsonschema.Draft202012Validator(json.loads(Path(SCHEMA).read_text()))
        kinds = {"result.json": "resultFile", "summary.json": "summaryFile"}
        for path in [path for name in kinds for path in self.out.rglob(name)]:
            part = validator.evolve(schema=validator.schema["$defs"][kinds[path.name]])
            self.assertEqual([fault.message for fault in
                              part.iter_errors(json.loads(path.read_text()))], [])
        if self.last_out:
            validator.validate(json.loads(self.last_out))

    def result(self, name):
        return json.loads((self.out / name / "result.json").read_text())

    def assert_whole_results(self, names):
        """Each place has all files of its package, and nothing else has a place."""
        found = {str(path.parent.relative_to(self.out)) for path in self.out.rglob("result.json")}
        self.assertEqual(found, set(names))
        for name in names:
            folder = self.out / name
            manifests = [target["manifest"] for target in self.result(name)["result"]["targets"]]
            for manifest in manifests:
                self.assertTrue((folder / manifest).is_file(), manifest)
                self.assertTrue(list((folder / manifest).parent.rglob("0.txt")))
            self.assertLessEqual({path.name for path in folder.iterdir()},
                                 {Path(manifest).parent.name for manifest in manifests}
                                 | {"result.json", "record.jsonl", "log.html", "messages.txt"})

    def test_a_second_run_converts_what_has_changed(self):
        target = self.package("a/one")
        self.package("b/Two.x")
        self.package("c", profile="no profile")
        err = self.batch(status=1)
        self.assertIn("a/one: not whole, 2 losses, 4 items", err)
        self.assertIn("3 packages: 2 not whole, 1 failed", err)
        self.assertTrue(self.result("c")["reason"])
        self.assertFalse(list((self.out / "c").glob("{*")))
        self.assertEqual(json.loads((self.out / "summary.json").read_text())["failed"], 1)
        self.assert_schema()
        with open(self.out / "summary.csv", newline="", encoding="utf-8") as file:
            rows = list(csv.DictReader(file))
        self.assertEqual([(row["name"], row["state"], row["status"]) for row in rows],
                         [("a/one", "not whole", "3"), ("b/Two.x", "not whole", "3"),
                          ("c", "failed", "1")])

        def converted(*options, status=1):
            before = {path: path.stat().st_ino for path in self.out.rglob("result.json")}
            err = self.batch(*options, status=status)
            return err, {str(path.parent.relative_to(self.out))
                         for path in self.out.rglob("result.json")
                         if before.get(path) != path.stat().st_ino}

        err, names = converted()
        self.assertEqual(names, set())
        self.assertIn("1 failed before and were not tried again", err)
        self.assertEqual(converted("--retry")[1], {"c"})
        (target / "InstallRoot.dat").write_bytes(b"NO HIVE")  # of the same size
        self.assertEqual(converted()[1], {"a/one"})
        self.package("d", hive=b"new")
        (self.out / "b/Two.x/result.json").write_text('{"schema":1,"na')
        err, names = converted()
        self.assertEqual(names, {"b/Two.x", "d"})
        self.assertIn("warning: b/Two.x: the former result is cut off", err)
        (self.out / "d/result.json").write_text('{"schema":9}')
        self.assertIn("newer version", converted()[0])
        machine = self.folder / "m.toml"
        machine.write_text(subprocess.run([PROGRAM, "machine"], check=True, capture_output=True,
                                          text=True).stdout.replace("en-US", "de-DE"))
        self.assertEqual(converted("--machine", machine)[1], {"a/one", "b/Two.x", "c", "d"})
        # A former target stays when a later conversion fails.
        (self.packages / "d.profile").write_text("broken")
        manifest = list((self.out / "d").glob("{*/*.orv"))
        self.assertEqual(converted("--machine", machine)[1], {"d"})
        self.assertEqual(list((self.out / "d").glob("{*/*.orv")), manifest)
        self.assertEqual(self.result("d")["status"], 1)

    def test_shares_add_up(self):
        names = [f"p{number}" for number in range(7)]
        for name in names:
            self.package(name)
        for share in ("1/3", "2/3", "3/3"):
            self.batch("--only", share, "--jobs", "3")
        self.assert_whole_results(names)
        err = self.batch("--json", "--progress", "none")
        self.assertIn("7 had their results before", err)
        self.assert_schema()
        said = json.loads(self.last_out)
        self.assertEqual((said["packages"], said["notWhole"], said["kept"]), (7, 7, 7))
        self.assertEqual([row["name"] for row in said["results"]], names)

    def test_several_runs_share_one_folder(self):
        names = [f"p{number:02}" for number in range(24)]
        for name in names:
            self.package(name)
        runs = [self.start("--jobs", "2") for _ in range(3)]
        errs = [run.communicate()[1] for run in runs]
        self.assert_whole_results(names)
        lines = [line for err in errs for line in err.splitlines() if ": not whole, " in line]
        self.assertEqual(len(lines), len(names), errs)
        for run, err in zip(runs, errs):
            self.assertIn(run.returncode, (1, 3), err)
            self.assertEqual(run.returncode == 1, "being converted by others" in err)
        self.batch()

    def test_a_run_that_is_killed_or_ended_is_taken_up_again(self):
        names = [f"p{number:02}" for number in range(16)]
        for name in names:
            self.package(name, FILES)
        for moment in range(9):
            number = (signal.SIGKILL, signal.SIGINT, signal.SIGTERM)[moment % 3]
            run = self.start("--jobs", "3", start_new_session=True)
            time.sleep(0.02 + 0.02 * moment)
            run.send_signal(number)
            err = run.communicate()[1]
            if number != signal.SIGKILL and run.returncode == 128 + number:
                self.assertIn("goes on with the packages that are left", err)
                self.assertFalse((self.out / ".cas2orv-batch").exists(), err)
            # The children end with their parent, or soon after. Whatever has a place is whole.
            found = [path.parent.name for path in self.out.glob("*/result.json")]
            self.assert_whole_results(found)
            for place in self.out.glob("p*"):
                self.assertIn(place.name, found)
        self.batch()
        self.assert_whole_results(names)
        self.assertEqual(json.loads((self.out / "summary.json").read_text())["notWhole"], 16)

    def test_limits_end_a_conversion_and_are_told(self):
        self.package("ok")
        self.package("slow", 1500)
        run = self.start("--timeout", "1", "--jobs", "2")
        # A child that does not even go on to end is killed.
        self.stop_child("slow", run, signal.SIGSTOP)
        err = run.communicate()[1]
        self.assertEqual(run.returncode, 1, err)
        self.assertIn("failed: slow: it took longer than 1 s", err)
        self.assertEqual(self.result("slow")["end"], "timeout")
        self.assertFalse(list((self.out / "slow").glob("{*")))
        self.assertEqual({path.name for path in (self.out / "slow").iterdir()}
                         - {"record.jsonl", "log.html", "messages.txt"}, {"result.json"})
        self.assertEqual(self.result("ok")["end"], "exit")

    def test_a_conversion_that_crashes_costs_its_own_package_alone(self):
        for name in ("a", "b", "c"):
            self.package(name)
        self.package("slow", 1500)
        run = self.start()
        self.stop_child("slow", run, signal.SIGSEGV)
        err = run.communicate()[1]
        self.assertEqual(run.returncode, 1, err)
        self.assertEqual(self.result("slow")["end"], "signal")
        self.assertEqual(self.result("slow")["signal"], signal.SIGSEGV)
        self.assertEqual([path.name for path in (self.out / "slow").glob("{*")], [])
        self.batch("--retry")
        self.assert_whole_results(["a", "b", "c", "slow"])

    def test_what_others_hold_is_told_and_left_to_them(self):
        self.package("mine")
        self.package("theirs")
        work = self.out / ".cas2orv-batch"
        work.mkdir(parents=True)
        name = hashlib.sha256(b"theirs").hexdigest()[:16]
        with open(work / f"{name}.lock", "w", encoding="utf-8") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            (work / name).mkdir()
            run = self.start("--json")
            out, err = run.communicate()
            self.assertIn("1 are being converted by others", err)
            said = json.loads(out)
            self.assertEqual((run.returncode, said["converting"], said["notWhole"]), (1, 1, 1))
            self.assertEqual([row["state"] for row in said["results"]], ["not whole", "converting"])
            self.assertTrue((work / name).is_dir())
        # A process that was killed has left this: half a package, and a former result on its way.
        (work / name / "out/.cas2orv-0A1B2C3D").mkdir(parents=True)
        (work / name / "out/half").write_text("half")
        self.out.joinpath("mine").rename(work / name / "old")
        gone = hashlib.sha256(b"gone").hexdigest()[:16]
        (work / gone / "out").mkdir(parents=True)
        err = self.batch()
        # The one that was put back is that of the other package, but of the same kind.
        self.assert_whole_results(["mine", "theirs"])
        self.assertFalse(list(self.out.rglob("half")))

    def test_options_that_change_the_result_make_it_anew(self):
        self.package("a")
        self.batch()
        self.assertIn("1 had their results before", self.batch())
        self.assertNotIn("before", self.batch("--sums"))
        sums = list((self.out / "a").glob("{*/SHA256SUMS"))
        self.assertEqual(len(sums), 1)
        self.assertIn("1 had their results before", self.batch("--sums"))
        manifest = next((self.out / "a").glob("{*/*.orv"))
        (self.out / "a/result.json").unlink()
        manifest.write_text("old")
        self.batch("--sums")
        self.assertNotEqual(manifest.read_text(encoding="utf-16"), "old")
        subprocess.run([PROGRAM, "verify", self.out / "a"], check=True, capture_output=True)

    def test_a_second_signal_kills_what_does_not_end(self):
        self.package("slow", 1500)
        run = self.start("--json")
        self.stop_child("slow", run, signal.SIGSTOP)
        run.send_signal(signal.SIGTERM)
        time.sleep(0.3)
        run.send_signal(signal.SIGINT)
        out, err = run.communicate()
        self.assertIn(run.returncode, (128 + signal.SIGTERM, 128 + signal.SIGINT), err)
        self.assertEqual(json.loads(out)["missing"], 1)
        self.assertEqual({path.name for path in self.out.iterdir()},
                         {"summary.json", "summary.csv"})

    def test_results_that_cannot_be_told_are_failures(self):
        self.package("a")
        with open("/dev/full", "w", encoding="utf-8") as full:
            run = subprocess.run([PROGRAM, "batch", self.packages, "-o", self.out, "--json"],
                                 check=False, stdout=full, stderr=subprocess.PIPE, text=True)
        self.assertEqual(run.returncode, 1)
        self.assertIn("cannot be written to stdout", run.stderr)
        shutil.rmtree(self.out)
        self.out.write_text("a file")
        run = subprocess.run([PROGRAM, "batch", self.packages, "-o", self.out], check=False,
                             capture_output=True, text=True)
        self.assertEqual(run.returncode, 1)
        self.assertIn("cannot be made", run.stderr)
        self.assertEqual(self.out.read_text(), "a file")

    def test_a_terminal_has_one_line(self):
        for number in range(8):
            self.package(f"p{number}", 100)
        terminal, other = pty.openpty()
        run = subprocess.Popen([PROGRAM, "batch", self.packages, "-o", self.out, "--jobs", "1"],
                               stderr=other, env={**os.environ, "TERM": "xterm"})
        os.close(other)
        shown = b""
        with contextlib.suppress(OSError):  # at its end
            while piece := os.read(terminal, 4096):
                shown += piece
        os.close(terminal)
        self.assertEqual(run.wait(), 3)
        lines = shown.decode().replace("\r\n", "\n").split("\n")
        # What was drawn is gone when the table begins.
        self.assertTrue(lines[0].rpartition("\x1b[K")[2].startswith("not whole: p0"), lines)
        self.assertIn("8 packages: 8 not whole", lines)

    @unittest.skipIf(IS_SANITIZED, "a sanitizer needs more addresses than any limit")
    def test_a_limit_of_memory_is_told(self):
        self.package("a")
        with open(self.package("big") / "InstallRoot.dat", "wb") as file:
            file.write(b"regf")
            file.truncate(300 << 20)
        err = self.batch("--memory", "200", status=1)
        self.assertIn("failed: big: it wanted more memory than 200 MiB", err)
        self.assertEqual((self.result("big")["end"], self.result("a")["end"]), ("memory", "exit"))

    def test_names_that_clash_or_lead_out_are_refused(self):
        self.package("a")
        self.package("A/b")
        self.package("c")
        err = self.batch(status=1)
        self.assertIn("'a' of", err)
        self.assert_whole_results(["c"])
        profile = self.packages / "a.profile"
        lines = [f"../x\t{profile}", f"/x\t{profile}", f".cas2orv-x\t{profile}",
                 f"summary.JSON\t{profile}", f"x\x1b[1m\t{profile}", f"x//y\t{profile}", "y\t",
                 f"\t{profile}", f"{'n' * 300}\t{profile}", f"good/name\t{profile}",
                 str(self.packages / "A/b.profile")]
        err = self.batch(sources=["-"], given="\n".join(lines), status=1)
        self.assertNotIn("\x1b", err)
        self.assertEqual(err.count(" refused: "), 7, err)
        self.assertIn("File name too long", err)
        self.assert_whole_results(["c", "good/name", "b"])
        # A place within a former result is refused, though the package of that one is not named.
        err = self.batch(sources=["-"], given=f"c/d\t{profile}\n", status=1)
        self.assertIn("is the result of another package", err)
        self.assertEqual(list(self.out.parent.glob("x*")), [])

    def test_a_place_that_is_somebody_elses_stays(self):
        self.package("a")
        (self.out / "a").mkdir(parents=True)
        (self.out / "a/mine.txt").write_text("mine")
        self.assertIn("is no result of a batch", self.batch(status=1))
        self.assertEqual((self.out / "a/mine.txt").read_text(), "mine")
        for source, output in ((self.packages, self.packages),
                               (self.packages / "a.profile", self.folder),
                               (self.packages, next(self.packages.glob("*_1")) / "Device/x")):
            done = subprocess.run([PROGRAM, "batch", source, "-o", output], check=False,
                                  capture_output=True, text=True)
            self.assertEqual(done.returncode, 2, done.stderr)
            self.assertIn("name another output", done.stderr)
        # Within the source it is passed over, however it is written.
        self.out = self.packages / "x/../results"
        (self.packages / "x").mkdir()
        self.batch()
        self.assert_whole_results(["a"])
        for file in self.out.rglob("*.*"):
            if file.suffix in (".json", ".txt"):
                self.assertNotIn(".cas2orv-batch", file.read_text())
        self.assertIn("1 package: ", self.batch())

    def test_a_full_disk_fails_what_has_no_room(self):
        for number in range(12):
            self.package(f"p{number:02}", FILES)
        self.out.mkdir()
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "none", self.out],
                                 capture_output=True, check=False)
        if mounted.returncode != 0:
            self.skipTest("nothing can be mounted here")
        try:
            err = self.batch("--jobs", "2", status=1)
            self.assertRegex(err, r"failed: p\d\d: .*(full|No space left)")
            found = [path.parent.name for path in self.out.glob("*/result.json")
                     if json.loads(path.read_text())["status"] == 3]
            self.assertTrue(0 < len(found) < 12, found)
            for name in found:
                self.assertTrue(list((self.out / name).glob("{*/*.orv")))
            subprocess.run(["mount", "-o", "remount,size=9m", self.out], check=True)
            self.batch("--retry")
            self.assert_whole_results([f"p{number:02}" for number in range(12)])
        finally:
            subprocess.run(["umount", "-l", self.out], check=True)


if __name__ == "__main__":
    os.environ.pop("ORVCASCONV_MACHINE", None)
    unittest.main(argv=sys.argv[:1])
