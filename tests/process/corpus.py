"""The stored runs in tests/corpus: how one is read, made once more, and compared."""

import collections
import functools
import glob
import hashlib
import os
import re
import signal
import stat
import subprocess
import time

from support import CHUNK, LONGEST_RUN, RVXCOPY, file_bytes, program_environment

PROGRAMS = {b"rvxcopy": RVXCOPY, b"rvxcheck": os.environ["RVXCHECK"]}

CORPUS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "corpus")

VERIFIED, COPIED_ONLY, FAILED = "verified", "copied only", "failed"

PROGRESS_INTERVAL = 0.5  # seconds between two progress lines of one file, at least

FOLDER = None


class Link(bytes):
    """A symbolic link in a tree: its target."""


class Part(bytes):
    """The unfinished copy of a failed run. How much of it was written is a matter of time."""


@functools.lru_cache(maxsize=None)
def printed_by(command):
    return subprocess.run(["sh", "-c", command], stdout=subprocess.PIPE, check=True).stdout


def unescaped(word):
    return re.sub(rb"\\([0-7]{3})", lambda found: bytes([int(found[1], 8)]), word)


def entries_of(lines):
    """Of a section whose entries may have lines of their own below them: each with these."""
    entries = []
    for line in lines:
        if line.startswith(b"  "):
            entries[-1][1].append(line[2:])
        else:
            entries.append((line, []))
    return entries


def with_parents(tree):
    """With the folders that its items lie in."""
    whole = dict(tree)
    for path in tree:
        folder = os.path.dirname(path)
        while folder:
            whole.setdefault(folder, FOLDER)
            folder = os.path.dirname(folder)
    return whole


def tree_of(lines, before):
    """Path -> item, as the README of the corpus explains the lines; `before` is what they start from."""
    tree = dict(before)
    for line, text in entries_of(lines):
        name, kind, value = (line.split(b" ", 2) + [b"", b""])[:3]
        path = os.fsdecode(unescaped(name))
        if kind == b"$":
            tree[path] = printed_by(value)
        elif kind == b"->":
            tree[path] = Link(unescaped(value))
        elif kind in (b"=", b"<="):
            tree[path] = (Part if kind == b"<=" else bytes)(before[os.fsdecode(unescaped(value))])
        elif line == name + b" gone":
            del tree[path]
        elif line == name and name.endswith(b"/"):
            tree[path[:-1]] = FOLDER
        else:
            assert line == name and text, line
            tree[path] = b"".join(one + b"\n" for one in text)
    return with_parents(tree)


class Case:
    """One stored run."""

    ONE_LINERS = (*PROGRAMS, b"status", b"verdict")
    SECTIONS = (b"before", b"faults", b"output", b"varies", b"after")

    def __init__(self, path):
        self.name = os.path.basename(path)[:-len(".run")]
        about, _, rest = file_bytes(path).partition(b"\n\n")
        assert about, path
        sections = {}
        for line in rest.split(b"\n")[:-1]:
            title, _, value = line.partition(b" ")
            if line == b"" or line[:2] in (b"  ", b"~ ", b"\\ "):
                section.append(line)
            elif title in self.ONE_LINERS:
                sections[title] = value
            else:
                assert line in self.SECTIONS or line.startswith(b"../"), line
                section = sections.setdefault(line, [])
        inner = {title: [line[2:] for line in section] for title, section in sections.items()
                 if title not in self.ONE_LINERS}

        self.program, = sections.keys() & PROGRAMS.keys()
        self.arguments = [unescaped(word) for word in sections[self.program].split()]
        self.before = tree_of(inner[b"before"], {})
        self.faults = [line.decode() for line in inner.get(b"faults", [])]
        self.scripts = {title.decode(): b"\n".join(lines) + b"\n" for title, lines in inner.items()
                        if title.startswith(b"../")}
        self.output = b"".join(line + b"\n" for line in inner[b"output"]).replace(b"\nno line end\n", b"")
        self.is_unordered = [line.startswith(b"~") for line in sections[b"output"]]
        status = sections[b"status"].decode()
        self.status = -int(status.split()[1]) if status.startswith("signal ") else int(status)
        self.verdict = sections.get(b"verdict", b"").decode()
        self.varying = [(re.compile(expression), text) for text, (expression,)
                        in entries_of(inner.get(b"varies", []))]
        self.after = tree_of(inner.get(b"after", []), self.before)
        self.lists = {path: item for path, item in self.after.items()
                      if type(item) is bytes and item.startswith(b"# hash created by ")
                      and item != self.before.get(path)}

    def output_without_odd_names(self):
        """With another character for each line end in a name, which could not be told from a line's own."""
        output = self.output
        for name in (os.fsencode(os.path.basename(path)) for path in self.before):
            output = output.replace(name, name.replace(b"\n", b"?"))
        return output

    def settled(self, text):
        """With what may vary as it is stored."""
        for expression, stored in self.varying:
            text = expression.sub(lambda _, stored=stored: stored, text)
        return text

    def contents(self):
        """All that a digest may be of: files, links, and what comes before the first failing chunk of a file."""
        items = [item for tree in (self.before, self.after) for item in tree.values() if item is not FOLDER]
        return {bytes(item) for item in items} | {bytes(item[:CHUNK]) for item in items}

    def prepare(self, folder):
        """Makes the folder in which it runs, and beside that its faults' scripts; returns the former."""
        current = os.path.join(folder, "run")
        os.makedirs(current)
        build_tree(current, self.before)
        for name, script in self.scripts.items():
            with open(os.path.join(current, name), "wb") as file:
                file.write(script)
        return current

    def environment(self):
        return program_environment(self.faults, "../faults.log")


def cases(program=b"rvxcopy"):
    every = [Case(path) for path in sorted(glob.glob(os.path.join(CORPUS, "*.run")))]
    return [case for case in every if case.program == program]


class Run:
    """What a run of the built program printed and left behind."""

    def __init__(self, case, folder):
        self.case = case
        self.folder = case.prepare(folder)
        began = time.monotonic()
        # To a file, so that a fault's script can wait for a line.
        with open(os.path.join(folder, "output"), "wb") as output:
            program = subprocess.Popen([PROGRAMS[case.program], *case.arguments], cwd=self.folder, env=case.environment(),
                                       stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.PIPE,
                                       start_new_session=True)
            try:
                self.errors = program.communicate(timeout=LONGEST_RUN)[1]
            except subprocess.TimeoutExpired:
                os.killpg(program.pid, signal.SIGKILL)  # with a script that still waits for its line
                raise
        self.seconds = time.monotonic() - began
        self.status = program.returncode
        self.printed = file_bytes(os.path.join(folder, "output"))
        log = os.path.join(folder, "faults.log")
        fired = [line for line in file_bytes(log).split(b"\n") if line.startswith(b"!")] if case.faults else []
        self.is_as_set_up = bool(fired) == bool(case.faults)

    def output(self):
        """With what may vary as it is stored: marked texts, the order of marked lines, and progress lines that a
        slow machine adds."""
        lines = lines_of(self.case.settled(self.printed))
        expected = lines_of(self.case.output)
        if self.seconds > PROGRESS_INTERVAL:
            lines = without_added_progress(lines, expected)
        return b"".join(in_expected_order(lines, expected, self.case.is_unordered))

    def tree(self):
        """As it is now, with what may vary as it is stored."""
        found = read_tree(self.folder)
        for path, item in self.case.after.items():
            there = found.get(path)
            if isinstance(item, Part) and isinstance(there, bytes) and item.startswith(there):
                found[path] = item
            elif type(there) is bytes and there != item:
                found[path] = self.case.settled(there)
        return found


def lines_of(output):
    """With their ends; the last one may lack it."""
    return re.findall(rb"[^\n]*\n|[^\n]+", output)


def progress(line):
    """Of a progress line: what must be equal, and how far it says the run is."""
    match = re.fullmatch(rb"INFO: (copied|verified) (\d+) (of \d+ bytes)( of path .*)?\n", line)
    return ((match[1], match[3], match[4]), int(match[2])) if match else None


def without_added_progress(lines, expected):
    """Only lines go that tell an earlier state of a file that other lines tell of."""
    furthest = {}
    for line in filter(progress, expected):
        what, position = progress(line)
        furthest[what] = max(position, furthest.get(what, 0))
    wanted = collections.Counter(expected)
    kept = []
    for line in lines:
        if progress(line) and wanted[line] == 0:
            what, position = progress(line)
            if position <= furthest.get(what, -1):
                continue
        wanted[line] -= 1
        kept.append(line)
    return kept


def in_expected_order(lines, expected, is_unordered):
    """With those as expected that may come in any order: of the expected lines, neighbours that are marked so."""
    ordered = list(lines)
    first = 0
    for i in range(len(expected) + 1):
        if i == len(expected) or not is_unordered[i]:
            if sorted(ordered[first:i]) == sorted(expected[first:i]):
                ordered[first:i] = expected[first:i]
            first = i + 1
    return ordered


def build_tree(top, tree):
    for path, item in sorted(tree.items()):
        place = os.path.join(top, path)
        if item is FOLDER:
            os.makedirs(place, exist_ok=True)
        elif isinstance(item, Link):
            os.symlink(item, os.fsencode(place))
        else:
            with open(place, "wb") as file:
                file.write(item)


def read_tree(top):
    found = {}
    for folder, folders, files in os.walk(top):
        for name in folders + files:
            path = os.path.join(folder, name)
            mode = os.lstat(path).st_mode
            found[os.path.relpath(path, top)] = (Link(os.readlink(os.fsencode(path))) if stat.S_ISLNK(mode) else
                                                 FOLDER if stat.S_ISDIR(mode) else file_bytes(path))
    return found


def tree_text(tree):
    """A line for each item, in which all that two trees may differ in is told."""
    return "".join("%s%s\n" % (ascii(path), "/" if item is FOLDER else
                               " -> %s" % item if isinstance(item, Link) else
                               " %s" % bytes(item) if len(item) < 500 else
                               " %d bytes, SHA-1 %s" % (len(item), hashlib.sha1(item).hexdigest()))
                   for path, item in sorted(tree.items()))
