"""Reads manifests of converted packages, the texts in them, and the names of their payload.

Nothing here knows what an installer does with an item. docs/installer.md explains each part.
"""

import functools
import json
import os
import re
import stat
from typing import Dict, List, NamedTuple, Tuple
from xml.parsers import expat

CHUNK = 1 << 20  # bytes
MOST_SIDS = 64  # of a folder are tried for a payload file
VARIABLES = ("AllUsersProfile AppData CommonProgramFiles LocalAppData ProgramData ProgramFiles "
             "ProgramFiles(x86) Public SystemDrive SystemRoot Temp Tmp UserProfile WinDir").split()


class Refused(Exception):
    """Why one item cannot be carried out."""


class NoPlan(Exception):
    """Why nothing at all can be carried out."""


# The document.


class Item(NamedTuple):
    collection: str
    element: str
    line: int
    attributes: Dict[str, str]
    text: List[str]
    children: List[Tuple[str, Dict[str, str], List[str]]]


class Reader:
    """Reads a manifest piece by piece, so that only the items of one piece are in memory."""

    def __init__(self, stream, known_collections):
        self.stream = stream
        self.known_collections = set(known_collections)
        self.open = []  # the names of the open elements, from the root on
        self.items = []  # of this piece; the last one may still be open
        self.text = None  # where the text of the innermost element goes
        self.parser = expat.ParserCreate()
        self.parser.buffer_text = True
        self.parser.StartElementHandler = self.start
        self.parser.EndElementHandler = self.end
        self.parser.CharacterDataHandler = self.add_text
        # There is no document type, so there are no entities that could grow without end.
        self.parser.StartDoctypeDeclHandler = lambda *_: self.fail("there is a document type")

    def fail(self, why):
        raise NoPlan(f"line {self.parser.CurrentLineNumber}: {why}")

    def read(self):
        """Yields all items. A property is an item of the collection Properties."""
        piece = self.stream.read(CHUNK)
        if not piece.startswith(b"\xff\xfe"):
            self.fail("the file does not begin with the byte order mark of UTF-16")
        try:
            while piece:
                self.parser.Parse(piece)
                done = len(self.items) - (len(self.open) > 2)
                yield from self.items[:done]
                del self.items[:done]
                # The parser reads a tag that is not yet complete again from its start. So the next
                # piece is as long as that part, or a long tag would take quadratic time.
                left = self.stream.tell() - self.parser.CurrentByteIndex
                piece = self.stream.read(max(CHUNK, left))
            self.parser.Parse(b"", True)
        except expat.ExpatError as error:
            self.fail(expat.ErrorString(error.code))

    def start(self, name, attributes):
        depth, self.text = len(self.open), None
        if depth == 0 and (name, attributes) != ("Package", {"Version": "1"}):
            self.fail("this is no manifest of version 1")
        elif depth == 1:
            if name not in self.known_collections or attributes:
                self.fail(f"the collection {name} is not known, or there twice")
            self.known_collections.remove(name)
        elif depth == 2:
            line = self.parser.CurrentLineNumber
            self.items.append(Item(self.open[1], name, line, attributes, [], []))
            self.text = self.items[-1].text
        elif depth == 3:
            self.items[-1].children.append((name, attributes, []))
            self.text = self.items[-1].children[-1][2]
        elif depth > 3:
            self.fail(f"the element {name} is not known here")
        self.open.append(name)

    def end(self, _):
        self.open.pop()
        self.text = None

    def add_text(self, text):
        if self.text is not None:
            self.text.append(text)
        elif text.strip(" \t\r\n"):
            self.fail("there is a text where none is allowed")


# The layers of a text. XML is the first, and the parser has removed it.


def unescape(text):
    """Removes the tilde layer. Two halves of a surrogate pair become one character."""
    if "~" not in text:
        return text

    def unit(match):
        digits = match.group(1)
        if digits in (None, "0000"):
            raise Refused("a tilde begins no escape")
        return "~" if digits == "~" else chr(int(digits, 16))

    units = re.sub("~(~|[0-9a-f]{4})?", unit, text)
    return units.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "surrogatepass")


def split_strings(text):
    """The strings of a multi-string without its tilde layer. Their tokens are still there."""
    strings, start = [], 0
    for match in re.finditer(r"\\(.?)", text, re.DOTALL):
        if match.group(1) == "0":
            strings.append(text[start : match.start()].replace(r"\\", "\\"))
            start = match.end()
        elif match.group(1) != "\\":
            raise Refused("a backslash in the multi-string is not doubled")
    # The list ends with "\0\0": the end of its last string, and an empty text in front of the
    # second. An empty list is read as two empty texts.
    if start != len(text) or len(strings) < 2 or strings.pop() != "":
        raise Refused("the multi-string has no end")
    if "" in strings and strings != [""]:
        raise Refused("the multi-string has an empty string")
    return strings if strings != [""] else []


TOKEN = re.compile(r"\|[|%]|%([^%]*)%(\\|\Z)?|[|%]")


def resolve(text, sid, folders):
    """Removes the layer of tokens. Where %SID% alone is allowed, `folders` is empty."""
    if "%" not in text and "|" not in text:
        return text

    def value(match):
        name, tail = match.groups()
        if name is None:
            if len(match.group()) == 1:
                raise Refused("a bar or a percent sign is not escaped")
            return match.group()[1]
        if name == "SID" and sid:
            return sid + (tail or "")
        if name not in folders:
            raise Refused(f"%{name}% is not known here")
        if tail is None:
            raise Refused(f"no backslash follows %{name}%")
        folder = folders[name]
        return folder if tail and folder.endswith("\\") else folder + tail

    return TOKEN.sub(value, text)


# The machine.

ENTRY = re.compile(r"""(?:([\w-]+)|"([^"\\]*)"|'([^']*)')\s*=\s*"""
                   r"""(?:'([^']*)'|("(?:[^"\\]|\\.)*"))\s*(?:\#.*)?""")


def read_tables(path, names):
    """The texts of some tables of a machine description, as "cas2orv machine" writes them.

    That is TOML, of which Python 3.9 has no reader. What this one does not understand in these
    tables, it refuses.
    """
    tables = {name: {} for name in names}
    table = None
    with open(path, encoding="utf-8-sig") as file:
        for number, line in enumerate(file, 1):
            line = line.strip()
            header = re.fullmatch(r"\[(\w+)\]\s*(#.*)?", line)
            if header:
                table = header.group(1)
            elif line and not line.startswith("#") and (table in tables or table is None):
                entry = ENTRY.fullmatch(line)
                try:
                    plain, quoted = entry.groups()[3:]
                    name = next(each for each in entry.groups() if each is not None)
                    tables[table][name] = json.loads(quoted) if plain is None else plain
                except (AttributeError, KeyError, ValueError):
                    raise NoPlan(f"{path}: line {number} is not understood") from None
    return tables


def read_machine(path):
    """The paths of the tokens by their names, and the SID of the user who installs."""
    tables = read_tables(path, ("folders", "environment", "user"))
    if not tables["folders"] or not tables["environment"]:
        raise NoPlan(f"{path}: [folders] or [environment] is missing; "
                     "cas2orv machine --machine FILE prints both")
    folders = {name: text for name, text in tables["folders"].items() if text}
    environment = {name.lower(): text for name, text in tables["environment"].items()}
    for name in VARIABLES:
        text = environment.get(name.lower())
        if text:
            # A drive alone would be the current folder on it.
            folders[name] = text + "\\" if text.endswith(":") else text
    return folders, tables["user"].get("sid", "")


# The payload.

# What Windows refuses or changes in a relative path: some characters, a blank or a dot at the end
# of a name, and so "." and "..", an empty name, and the names of devices.
BAD_NAME = re.compile(r"""[<>:"/|?*\x00-\x1f]|[ .](?=\\|\Z)|(?:^|\\)(?=\\|\Z)|(?:^|\\)"""
                      r"""(?:CON|PRN|AUX|NUL|CON(?:IN|OUT)\$|(?:COM|LPT)[0-9\u00b2\u00b3\u00b9])"""
                      r"""\ *(?=[.\\]|\Z)""", re.IGNORECASE)


class Payload:
    """The files beside a manifest. They are looked up in lists of what is there, so that no name
    of a manifest leads anywhere else."""

    def __init__(self, folder):
        folder = os.path.abspath(folder)
        self.folder = "\\\\?\\" + folder if os.name == "nt" else folder
        self.sid = ""  # of the user who converted, once it is known

    @functools.lru_cache(maxsize=None)
    def list_folder(self, folder):
        """The names and types of entries, by their names and by these in small letters."""
        entries = {}
        with os.scandir(os.path.join(self.folder, folder)) as found:
            for entry in found:
                status = entry.stat(follow_symlinks=False)
                # A junction of Windows is a folder that leads elsewhere.
                links = getattr(status, "st_file_attributes", 0) & stat.FILE_ATTRIBUTE_REPARSE_POINT
                entries[entry.name] = entry.name, 0 if links else stat.S_IFMT(status.st_mode)
        for entry in list(entries.values()):
            entries.setdefault(entry[0].lower(), entry)
        return entries

    @functools.lru_cache(maxsize=None)
    def list_sids(self, folder):
        found = (re.search("S-1-[0-9]+(-[0-9]+)*", name) for name in self.list_folder(folder))
        return sorted({match.group() for match in found if match})[:MOST_SIDS]

    def walk(self, names, last):
        """Where the names lead, if that is of the type `last`, and all before are folders."""
        path = ""
        for i, name in enumerate(names):
            entries = self.list_folder(path)
            found, kind = entries.get(name) or entries.get(name.lower()) or (name, 0)
            if kind != (last if i == len(names) - 1 else stat.S_IFDIR):
                return None
            path = os.path.join(path, found)
        return path

    def find(self, text):
        """The file that a relative path names, which still has its tokens."""
        # A slash cannot be in a name on Windows, so it is free to be the mark of the SID.
        path = "" if "/" in text else resolve(text, "/", {})
        names = path.split("\\")
        if BAD_NAME.search(path.replace("/", "S")):
            raise Refused("the payload path does not lead to a file below the manifest")
        sids = [self.sid]
        if "/" in path and not self.sid:
            above = next(i for i, name in enumerate(names) if "/" in name)
            folder = self.walk(names[:above], stat.S_IFDIR)
            sids = [] if folder is None else self.list_sids(folder)
        found = {}
        for sid in sids:
            file = self.walk([name.replace("/", sid) for name in names], stat.S_IFREG)
            if file is not None:
                found[sid] = file
        if len(found) != 1:
            raise Refused("the payload has several files of this name" if found
                          else "the payload file is not there, or is a link or the like")
        self.sid, file = found.popitem()
        return file
