"""The completions know every command, and every long option that --help prints.

usage: completions_test.py CAS2ORV FOLDER
FOLDER has the completions for bash, zsh and fish. Those for bash are asked; the others are read.
"""

import pathlib
import re
import subprocess
import sys

program, folder = sys.argv[1], pathlib.Path(sys.argv[2])
zsh = (folder / "_cas2orv").read_text()
fish = (folder / "cas2orv.fish").read_text()


def help_of(*command):
    return subprocess.run([program, *command, "--help"], check=True, capture_output=True,
                          text=True).stdout


def options_of(*command):
    return re.findall(r"^  (?:-\w,)?--([\w-]+)", help_of(*command), re.MULTILINE)


def bash(*words):
    """What bash offers for the last word."""
    script = ('source "$1/cas2orv.bash"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
              '_cas2orv; printf "%s\\n" "${COMPREPLY[@]}"')
    return subprocess.run(["bash", "-c", script, "bash", folder, "cas2orv", *words], check=True,
                          capture_output=True, text=True).stdout.split()


def zsh_part(command):
    """The line or block of one command, with its variables replaced."""
    if not command:
        return zsh
    part = re.search(rf"^        {command}\)(.*?);;", zsh, re.MULTILINE | re.DOTALL).group(1)
    for name, text in re.findall(r"^    (\w+)=(.*)$", zsh, re.MULTILINE):
        part = part.replace(f"${name}", text)
    return part


def has_fish(command, option):
    for line in fish.splitlines():
        where = re.search(r'-n "\$of ([\w ]+)"', line)
        if re.search(rf" -l {option}\b", line) and (not where or command in where[1].split()):
            return True
    return False


commands = re.findall(r"^  (\w+) ", help_of().split("\nCommands:\n")[1], re.MULTILINE)
missing = []
for name in commands:
    missing += [f"bash: {name}"] if name not in bash("") else []
    missing += [f"zsh: {name}"] if f"'{name}:" not in zsh else []
    missing += [f"fish: {name}"] if f"-a {name} " not in fish else []
for command in ["", *commands]:
    words = [command] if command else []
    for option in options_of(*words):
        name = f"{command} --{option}"
        missing += [f"bash: {name}"] if f"--{option}" not in bash(*words, "--") else []
        missing += [f"zsh: {name}"] if f"--{option}" not in zsh_part(command) else []
        missing += [f"fish: {name}"] if not has_fish(command, option) else []
if bash("convert", "--progress", "=", "p") != ["plain"]:
    missing.append("bash: the values of --progress")
if bash("show", "--match", "") != []:
    missing.append("bash: no files for --match")
if len(commands) < 5 or missing:
    sys.exit("not in the completions: " + ", ".join(missing))
