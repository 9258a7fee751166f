#!/usr/bin/env python3
"""Shows that two programs convert alike: cas2orv before a change and after it.

    scripts/same-output.py BEFORE AFTER [PACKAGES...] [--hives FOLDER] [--links FOLDER]
                           [--manifests FOLDER] [--wine PREFIX]

Every package below each folder of PACKAGES is converted by both, under the same names, and all that
comes out is compared byte for byte: manifests, payload with its times and modes, log, what the
program prints, and its exit status. A package is a *.profile; a machine.toml in its folder or in
the one above describes its machine. --hives makes a package of each file below the folder, with
the file as its captured hive and those of the same name plus .LOG1 and so on as its logs; --links
makes one of all shortcuts below, --manifests one of all side-by-side manifests.

With --wine, AFTER is a program of Windows, which runs in Wine with PREFIX as its machine, and every
package without a description is converted on the built-in machine. Modes, times and what is printed
are not compared then, and the log of BEFORE gets Wine's words for the errors of the system.

The packages of the tests: ORVCASCONV_KEEP_PACKAGES=FOLDER ctest --preset release -R Conversion
"""

import argparse
import concurrent.futures
import itertools
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

GUID = "5B0C6F0E-3B1A-4E1D-9C55-0A7D3C1F2E4B"
PROFILE = (
    '<?xml version="1.0" encoding="utf-8"?><Package><Name>Same</Name><Targets><Target>'
    f"<Guid>{GUID}</Guid><Ver>1</Ver><Name>Same</Name></Target></Targets></Package>"
)
PROGRESS = ["--progress", "none"]
# Where BEFORE is not there, as a program that another build has to make.
SKIPPED = 77
WINE = pathlib.Path(__file__).resolve().parent / "run-in-wine.sh"
WINE_ERROR_TEXTS = {
    "Access is denied.": "Access denied.",
    "The configuration registry database is corrupt.": "Registry corrupt.",
    "The system cannot find the file specified.": "File not found.",
    "The system cannot find the path specified.": "Path not found.",
    "Unspecified error": "Call failed.",
}


def make_package(folder):
    """Makes an empty package of one target, and gives the target's folder."""
    target = folder / f"{GUID}_1"
    (target / "Device").mkdir(parents=True)
    (target / "SandboxData.xml").write_text("<CitrixAIE><AIE/></CitrixAIE>")
    (folder / "Same.profile").write_text(PROFILE)
    return target


def packages_of_hives(source, folder):
    for hive in sorted(path for path in source.rglob("*") if path.is_file()):
        if hive.suffix.startswith(".LOG"):
            continue
        target = make_package(folder / str(hive.relative_to(source)).replace("/", "_"))
        shutil.copy(hive, target / "InstallRoot.dat")
        for log in hive.parent.glob(hive.name + ".LOG*"):
            shutil.copy(log, target / ("InstallRoot.dat" + log.suffix))


def package_of_files(source, pattern, place, folder):
    target = make_package(folder)
    for file in sorted(source.rglob(pattern)):
        place_of_file = target / "Device" / place / file.name
        place_of_file.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(file, place_of_file)


def find_profiles(folders):
    for folder in folders:
        yield from sorted(
            path for path in folder.rglob("*.profile") if path.is_file() and not path.is_symlink()
        )


def machine_of(profile, default):
    for folder in (profile.parent, profile.parent.parent):
        if (folder / "machine.toml").is_file():
            return ["--machine", folder / "machine.toml"]
    return ["--machine", default] if default else []


def convert(program, profile, work, default):
    """Converts into a fresh folder and gives all that came of it, by name."""
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    output, log = work / "out" / "app.orv", work / "log.html"
    (work / "out").mkdir()
    machine = machine_of(profile, default)
    command = [*program, "convert", profile, output, "--log", log, *PROGRESS, *machine]
    run = subprocess.run(command, capture_output=True, check=False)
    result = {"exit status": run.returncode, "stdout": run.stdout, "stderr": run.stderr}
    for path in sorted(os.walk(work)):
        for name in path[2]:
            file = pathlib.Path(path[0]) / name
            info = file.stat()
            is_payload = "out" in file.relative_to(work).parts and file.name != "app.orv"
            time = info.st_mtime_ns if is_payload else 0
            result[str(file.relative_to(work))] = (info.st_mode, time, file.read_bytes())
    return result


def as_in_wine(result):
    """What of a result Wine gives alike, with its words for the errors of the system."""
    same = {name: made[2] for name, made in result.items() if isinstance(made, tuple)}
    text = same.get("log.html", b"").decode("utf-16-le", "surrogatepass")
    for ours, wines in WINE_ERROR_TEXTS.items():
        text = text.replace(f"  {ours}<br>", f"  {wines}<br>")
    same["log.html"] = text.encode("utf-16-le", "surrogatepass")
    same["exit status"] = result["exit status"]
    return same


def first_difference(before, after):
    """The first line of two files in which they differ."""
    lines = [data.decode("utf-16-le", "replace").split("\n") for data in (before, after)]
    for number, (ours, theirs) in enumerate(itertools.zip_longest(*lines), 1):
        if ours != theirs:
            return f"  in line {number}\n  before: {ours!r}\n  after:  {theirs!r}"
    return ""


def compare(profile, before, after):
    differing = [
        name for name in sorted(before.keys() | after.keys()) if before.get(name) != after.get(name)
    ]
    for name in differing[:5]:
        values = [result.get(name) for result in (before, after)]
        files = [value[2] if isinstance(value, tuple) else value for value in values]
        print(f"{profile}: {name} differs")
        if name in ("exit status", "stdout", "stderr"):
            print(f"  before: {before[name]!r}\n  after:  {after[name]!r}")
        elif None in files:
            print(f"  only {'after' if files[0] is None else 'before'}")
        elif name.endswith((".orv", ".html")):
            print(first_difference(*files))
    return not differing


def make_packages(options, root):
    if options.hives:
        packages_of_hives(options.hives, root / "hives")
    if options.links:
        package_of_files(options.links, "*.lnk", "C/Links", root / "links")
    if options.manifests:
        package_of_files(options.manifests, "*.manifest", "C/Apps", root / "manifests")


def convert_by_both(options, profile, work):
    """The comparable results of both programs."""
    before, after, machine = [options.before.resolve()], [options.after.resolve()], None
    if options.wine:
        after = [WINE, options.wine.resolve(), *after]
        machine = "built-in"
    results = [convert(program, profile, work, machine) for program in (before, after)]
    shutil.rmtree(work)
    return [as_in_wine(result) if options.wine else result for result in results]


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("before", type=pathlib.Path)
    parser.add_argument("after", type=pathlib.Path)
    parser.add_argument("packages", type=pathlib.Path, nargs="*")
    for name in ("hives", "links", "manifests"):
        parser.add_argument(f"--{name}", type=pathlib.Path)
    parser.add_argument("--wine", type=pathlib.Path, metavar="PREFIX")
    options = parser.parse_args()
    if not options.before.exists():
        print(f"{options.before} has not been built", file=sys.stderr)
        sys.exit(SKIPPED)
    with tempfile.TemporaryDirectory(prefix="orv-same-") as name:
        root = pathlib.Path(name)
        make_packages(options, root)
        profiles = list(find_profiles([*(folder.resolve() for folder in options.packages), root]))
        works = (root / "work" / str(number) for number in range(len(profiles)))
        same = files = 0
        with concurrent.futures.ThreadPoolExecutor() as pool:
            results = pool.map(lambda *job: convert_by_both(options, *job), profiles, works)
            for profile, (before, after) in zip(profiles, results):
                files += sum(not name.startswith(("exit", "std")) for name in after)
                same += compare(profile, before, after)
    print(f"{same} of {len(profiles)} packages are the same, with {files} files")
    sys.exit(0 if same == len(profiles) and profiles else 1)


if __name__ == "__main__":
    main()
