#!/usr/bin/env python3
"""Lists what an installer would do with a converted package, in order, one line for each step.

MANIFEST is the manifest of a target, with its payload beside it. MACHINE describes the machine to
install on, as "cas2orv machine" prints it. Nothing is changed anywhere.

Exit status: 0 every item of the manifest is in the plan; 1 there is no plan; 2 wrong arguments;
3 the plan lacks items, and each of them is told on stderr.
"""

import argparse
import hashlib
import json
import os
import re
import shutil
import string
import sys
import tempfile
import unicodedata

from orv_manifest import (BAD_NAME, NoPlan, Payload, Reader, Refused, read_machine, resolve,
                          split_strings, unescape)

MOST_SHOWN = 500  # characters of a text in a line

# What is done for the items of each collection, in this order. An attribute is a plain text unless
# a colon and a form follow it: the operation of Plan that reads it. Those in the line are required.


class Step:
    def __init__(self, element, line, attributes, allowed="", identity="Target", child=""):
        self.element, self.line, self.identity, self.child = element, line, identity, child
        self.forms = {name: form or "plain" for name, _, form in
                      (each.partition(":") for each in attributes.split())}
        self.allowed = {name: values.split(",") for name, _, values in
                        (each.partition("=") for each in allowed.split())}
        self.fields = [name for _, name, _, _ in string.Formatter().parse(line) if name]


ACTION = Step("Action", "run {RelativeSource}",
              "ActionType Path:text RelativeSource:payload Arguments:unused ActionMode Wait",
              "ActionType=0 ActionMode=0 Wait=1", "")
STEPS = {
    "PreActions": ACTION,
    "DeleteServices": Step("Service", "delete service {Name}", "Name", "", "Name"),
    "DeleteShortcuts": Step("Shortcut", "delete shortcut {Target}", "Target:target"),
    "DeleteFiles": Step("File", "delete file {Target}", "Target:target"),
    "DeleteFolders": Step("Folder", "delete folder {Target} if it is empty",
                          "Target:target Recursive", "Recursive=0"),
    "CreateFolders": Step("Folder", "make folder {Target}", "Target:target"),
    "CreateFiles": Step("File", "copy {RelativeSource} -> {Target}",
                        "Target:target RelativeSource:payload"),
    "CreateAssemblies": Step("Assembly", "install assembly {Id} from {ManifestRelativeSource}",
                             "Id AssemblyType ManifestRelativeSource:payload "
                             "CatalogRelativeSource:payload Private:unused",
                             "AssemblyType=0", "Id", "File RelativeSource"),
    "CreateServices": Step("Service", "create service {Name}, type {ServiceType}, "
                           "start {StartType}, program {Binary}",
                           "Name ServiceType StartType ErrorControl DisplayName Description "
                           "Binary:text Arguments:unused LoadOrder:unused Dependencies:unused "
                           "Username EncryptedPassword:unused",
                           "ServiceType=1,2,16,32,272,288 StartType=0,1,2,3,4 ErrorControl=0,1,2,3",
                           "Name"),
    "CreateKeys": Step("Key", "make key {Target}", "Target:key Architecture:unused"),
    "CreateValues": Step("Value", 'set value {Target} "{Value}" {Type} {Data}',
                         "Target:key Architecture:unused Value:text Type", "", "Target Value"),
    "CreateShortcuts": Step("Shortcut", "make shortcut {Target} -> {ShortcutTarget}",
                            "Target:target ShortcutTarget:text Description Arguments:text Hotkey "
                            "IconTarget:text IconIndex ShowCmd WorkingDirectory:text DataFlags",
                            "ShowCmd=1,3,7", child="Data Signature"),
    "CreateEnvVars": Step("EnvVar", "set variable {Variable}={Value}, user {User}",
                          "Variable User Value:text InstallMode", "InstallMode=0", "Variable User"),
    "PostActions": ACTION,
}
DEFAULTS = {"StartType": "4", "ErrorControl": "1", "ShowCmd": "1", "User": "0", "Type": ""}
# No conversion writes items of these, so nothing here knows what to do with them.
UNUSED = {"DeleteKeys": "Key", "DeleteValues": "Value", "DeleteEnvVars": "EnvVar",
          "ControlServices": "Service", "DeleteAssemblies": "Assembly"}
PROPERTIES = {"Name", "Version", "Manufacturer", "Architecture", "PerUserInstall"}

BYTES = {"REG_BINARY", "REG_NONE", "REG_DWORD_BIG_ENDIAN", "REG_LINK", "REG_RESOURCE_LIST",
         "REG_FULL_RESOURCE_DESCRIPTOR", "REG_RESOURCE_REQUIREMENTS_LIST"}
ROOTED = re.compile(r"(?:[A-Za-z]:|\\\\[^\\]+\\[^\\]+)\\(.+)", re.DOTALL)
KEY_PATH = re.compile(r"HKEY_(?:LOCAL_MACHINE|CURRENT_USER|USERS)(?:\\[^\\]+)*")
# What 64-bit Windows gives a program for x86 that asks for these folders.
X86_FOLDERS = {"CSIDL_PROGRAM_FILES": "CSIDL_PROGRAM_FILESX86",
               "CSIDL_PROGRAM_FILES_COMMON": "CSIDL_PROGRAM_FILES_COMMONX86",
               "CSIDL_SYSTEM": "CSIDL_SYSTEMX86", "ProgramFiles": "ProgramFiles(x86)",
               "CommonProgramFiles": "CSIDL_PROGRAM_FILES_COMMONX86"}


def show(value):
    """A value on one line, without characters that play tricks on a terminal."""
    if isinstance(value, int):
        return f"0x{value:X}"
    if isinstance(value, list):
        value = ", ".join(f'"{each}"' for each in value[:MOST_SHOWN])
    text = value[:MOST_SHOWN]
    if not text.isprintable():
        # Control characters, marks of direction, single surrogates, and ends of lines.
        text = "".join("\ufffd" if unicodedata.category(c) in ("Cc", "Cf", "Cs", "Zl", "Zp") else c
                       for c in text)
    return text + (f"... ({len(value)} characters)" if len(value) > MOST_SHOWN else "")


def tell(message):
    print(f"plan_install: {message}", file=sys.stderr)


class Plan:
    """Turns items into steps. Those of each collection go to a temporary file of their own, because
    their order is not that of the manifest, and there can be any number of them."""

    def __init__(self, folders, sid, payload, inside, as_json):
        self.folders, self.sid, self.payload_files, self.as_json = folders, sid, payload, as_json
        self.inside = tuple(folder.rstrip("\\").lower() + "\\" for folder in inside)
        self.properties = {"PerUserInstall": "1"}
        self.files = {}
        self.folders_to_delete = []
        self.seen = set()
        self.done = self.refused = 0

    # How attributes are read: what an installer would use, or why it would not.

    def plain(self, text):
        return unescape(text)

    def unused(self, _):
        raise Refused("it has an attribute that no conversion writes")

    def text(self, text):
        return resolve(unescape(text), self.sid, self.folders)

    def payload(self, text):
        return self.payload_files.find(unescape(text))

    def key(self, text):
        path = resolve(unescape(text), self.sid, {})
        if not KEY_PATH.fullmatch(path):
            raise Refused("the target is no key")
        return path

    def target(self, text):
        text = unescape(text)
        text = text[4:] if text.startswith("\\\\?\\") else text
        path = resolve(text, self.sid, self.folders)
        rooted = ROOTED.fullmatch(path)
        if not rooted:
            raise Refused("the target has no drive, or nothing else")
        if path.startswith("\\") and not text.startswith("%"):
            raise Refused("the target is on another machine")
        if BAD_NAME.search(rooted.group(1)):
            raise Refused("the target has a name that Windows does not take as it is")
        if self.inside and not path.lower().startswith(self.inside):
            raise Refused("the target is outside the allowed folders")
        return path

    def data(self, kind, text):
        """The data of a value: a text, a list, a number, or bytes in hexadecimal."""
        if kind in ("REG_SZ", "REG_EXPAND_SZ"):
            return self.text(text)
        if kind == "REG_MULTI_SZ":
            return [resolve(each, self.sid, self.folders) for each in split_strings(unescape(text))]
        digits = {"REG_DWORD": 8, "REG_QWORD": 16}.get(kind, 0)
        if digits and re.fullmatch(f"0x[0-9A-F]{{1,{digits}}}", text):
            return int(text, 16)
        if kind in BYTES and len(text) % 2 == 0 and re.fullmatch("[0-9A-F]*", text):
            return text
        raise Refused(f"the data does not fit {kind}" if digits or kind in BYTES
                      else "the type of the value is not known")

    # How items become steps.

    def add(self, item):
        if item.collection == "Properties" and not self.files:
            if item.element not in PROPERTIES or item.attributes or item.children:
                raise NoPlan(f"line {item.line}: the property {item.element} is not known")
            self.properties[item.element] = unescape("".join(item.text))
            return
        self.begin()
        try:
            self.add_step(item)
            self.done += 1
        except Refused as error:
            self.refused += 1
            names = " ".join(f"{name}='{show(text)}'" for name, text in item.attributes.items())
            tell(f"line {item.line}: not carried out: {item.collection} {names}: "
                 f"{show(str(error))}")

    def begin(self):
        """Fits the folders to the package. Its properties come before all other items."""
        if self.files:
            return
        self.files = {name: tempfile.TemporaryFile() for name in STEPS}
        architecture = self.properties.get("Architecture")
        system = self.folders.get("CSIDL_SYSTEM")
        is_64_bit = self.folders.get("CSIDL_SYSTEMX86", system) != system
        if architecture not in (None, "x86", "x64") or architecture == "x64" and not is_64_bit:
            raise NoPlan(f"the package is for {architecture}, and the machine is not")
        if architecture == "x86" and is_64_bit:
            self.folders.update({name: self.folders[other] for name, other in X86_FOLDERS.items()
                                 if other in self.folders})

    def add_step(self, item):
        step = STEPS.get(item.collection)
        element = step.element if step else UNUSED.get(item.collection)
        unknown = [name for name in item.attributes if step and name not in step.forms]
        unknown += [name for name, attributes, _ in item.children
                    if not step or " ".join([name, *attributes]) != step.child]
        if item.element != element or unknown:
            raise NoPlan(f"line {item.line}: not known: {' '.join([item.element, *unknown])}")
        if not step:
            raise Refused("no conversion writes such an item")
        values = {name: text for name, text in DEFAULTS.items() if name in step.forms}
        for name, text in item.attributes.items():
            values[name] = getattr(self, step.forms[name])(text)
        for name, allowed in step.allowed.items():
            if name in values and values[name] not in allowed:
                raise Refused(f"{name} is {values[name]}")
        self.add_content(item, step, values)
        for name in step.fields:
            if not values.get(name) and name not in ("Value", "Data"):
                raise Refused(f"{name} is missing")
        self.check_identity(item.collection, [values[name] for name in step.identity.split()])
        self.write(item.collection, step, values)

    def add_content(self, item, step, values):
        text = "".join(item.text)
        if step.element == "Value":
            values.setdefault("Value", "")
            values["Data"] = self.data(values["Type"], text)
        elif text.strip():
            raise Refused("it has a text")
        elif step.element == "Assembly":
            values["Files"] = [self.payload(attributes["RelativeSource"])
                               for _, attributes, _ in item.children]
        elif step.element == "Shortcut":
            values["Blocks"] = ["".join(block) for _, _, block in item.children]

    def check_identity(self, collection, names):
        """Two items can be one on this machine. Their digests take less memory than the names."""
        text = "\0".join([collection, *names]).lower().encode("utf-8", "surrogatepass")
        digest = hashlib.blake2b(text, digest_size=16).digest()
        if names and digest in self.seen:
            raise Refused("an earlier item has the same identity")
        self.seen.add(digest)

    def write(self, collection, step, values):
        if self.as_json:
            line = json.dumps({"step": step.line.split(" {")[0], **values})
        else:
            line = step.line.format(**{name: show(values[name]) for name in step.fields})
        if collection == "DeleteFolders":
            self.folders_to_delete.append((-values["Target"].count("\\"), line))
        else:
            self.files[collection].write(line.encode() + b"\n")

    def print(self, out):
        """Writes the whole plan. A folder comes after those in it."""
        self.begin()
        if self.as_json:
            head = json.dumps({"step": "package", **self.properties})
        else:
            head = " ".join(["package", *(f'{name}="{show(text)}"'
                                          for name, text in self.properties.items())])
        out.write(head.encode() + b"\n")
        for _, line in sorted(self.folders_to_delete):
            self.files["DeleteFolders"].write(line.encode() + b"\n")
        for file in self.files.values():
            file.seek(0)
            shutil.copyfileobj(file, out)
        out.flush()


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("manifest", metavar="MANIFEST")
    parser.add_argument("machine", metavar="MACHINE")
    parser.add_argument("--json", action="store_true",
                        help="one JSON object for each step, with every text as it is")
    parser.add_argument("--inside", metavar="FOLDER", action="append", default=[],
                        help="allow targets only below this folder of Windows; may be repeated")
    arguments = parser.parse_args()
    try:
        folders, sid = read_machine(arguments.machine)
        payload = Payload(os.path.dirname(arguments.manifest))
        plan = Plan(folders, sid, payload, arguments.inside, arguments.json)
        with open(arguments.manifest, "rb") as stream:
            for item in Reader(stream, ["Properties", *STEPS, *UNUSED]).read():
                plan.add(item)
        plan.print(sys.stdout.buffer)
    except (NoPlan, Refused, UnicodeDecodeError) as error:
        tell(f"there is no plan: {show(str(error))}")
        return 1
    except OSError as error:
        tell(f"there is no plan: {show(str(error))}")
        # What could not be written is not to be tried again at the end of the program.
        os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
        return 1
    tell(f"{plan.done} steps, {plan.refused} items not carried out")
    return 3 if plan.refused else 0


if __name__ == "__main__":
    sys.exit(main())
