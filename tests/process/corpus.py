"""The stored runs in tests/corpus: how one is made, what of it may vary, and how it is stored."""

import collections
import hashlib
import os
import re
import shlex
import stat
import subprocess
import time

from support import LONGEST_RUN, RVXCOPY, file_bytes, program_environment

CORPUS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "corpus")

VERIFIED, COPIED_ONLY, FAILED = "verified", "copied only", "failed"

# What stands in the stored output for what the machine decides.
VOLUMES = b"(/, /media/card)"
CALL_STACK = b"rvxcopy(+0x1000) [0x1000]"
LIBRARY_REASON = b"error:0308010C:digital envelope routines::unsupported"

PROGRESS_INTERVAL = 0.5  # seconds between two progress lines of one file, at least


def sha1(data):
    return hashlib.sha1(data).hexdigest()


def md5(data):
    return hashlib.md5(data).hexdigest()


class Link(str):
    """A symbolic link in a tree; the text is its target."""


class HashList(bytes):
    """A hash list in a tree: all but its first line, which tells user, host and time."""


class Part(bytes):
    """The unfinished copy of a failed run. How much of it was written is a matter of time."""


FOLDER = None
GONE = object()


def hash_list(label, original, **sources):
    """What the list below its first line says; sources by the names of their files."""
    digest = {"SHA1": sha1, "MD5": md5}[label]
    entries = "".join("%s(../%s)= %s\n" % (label, name, digest(data)) for name, data in sorted(sources.items()))
    return HashList(os.fsencode("# original file(s): %s \n%s" % (original, entries)))


class Case:
    """One run. All of it is written by hand in corpus_cases.py, from the documented texts."""

    def __init__(self, name, about, arguments, *, before, output="", status=0, verdict, left=None, faults=(),
                 scripts=None):
        self.name = name
        self.about = about
        self.arguments = [os.fsencode(argument) for argument in arguments]
        self.before = with_parents(before)
        self.output = os.fsencode(output)
        self.status = status
        self.verdict = verdict
        after = dict(before)
        after.update(left or {})
        self.after = with_parents({path: item for path, item in after.items() if item is not GONE})
        self.faults = list(faults)
        self.scripts = scripts or {}

    def folder(self):
        return os.path.join(CORPUS, self.name)

    def stored(self, name):
        return file_bytes(os.path.join(self.folder(), name))

    def prepare(self, folder):
        """Makes the folder in which it runs, and beside that its faults' scripts; returns the former."""
        current = os.path.join(folder, "run")
        os.makedirs(current)
        build_tree(current, self.before)
        for name, script in self.scripts.items():
            with open(os.path.join(folder, name), "w") as file:
                file.write(script)
        return current

    def environment(self):
        return program_environment(self.faults, "../faults.log")

    def files(self):
        """Name -> contents of what is stored of it."""
        files = {
            "about": self.about_text().encode(),
            "arguments": b"".join(argument + b"\0" for argument in self.arguments),
            "before": tree_text(self.before),
            "output": self.output,
            "status": ("%s\n" % status_text(self.status)).encode(),
            "verdict": (self.verdict + "\n").encode(),
            "after": tree_text(self.after),
        }
        if self.faults:
            files["faults"] = "".join(rule + "\n" for rule in self.faults).encode()
        return files

    def about_text(self):
        text = self.about + "\n\n$ rvxcopy" + "".join(" " + shell_quoted(word) for word in self.arguments) + "\n"
        for name, script in self.scripts.items():
            text += "\n../%s:\n%s" % (name, "".join("  %s\n" % line for line in script.splitlines()))
        return text


class Run:
    """What a run of the built program printed and left behind."""

    def __init__(self, case, folder):
        self.folder = case.prepare(folder)
        began = time.monotonic()
        # To a file, so that a fault's script can wait for a line.
        with open(os.path.join(folder, "output"), "wb") as output:
            run = subprocess.run([RVXCOPY, *case.arguments], cwd=self.folder, env=case.environment(),
                                 stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.PIPE, timeout=LONGEST_RUN)
        self.seconds = time.monotonic() - began
        self.status = run.returncode
        self.errors = run.stderr
        self.output = file_bytes(os.path.join(folder, "output"))
        log = os.path.join(folder, "faults.log")
        fired = [line for line in file_bytes(log).split(b"\n") if line.startswith(b"!")] if case.faults else []
        self.is_as_set_up = bool(fired) == bool(case.faults)

    def settled_output(self, expected):
        """With what may vary brought to its stored form: the machine's texts, the order in which files that are
        read side by side report, and progress lines that a slow machine adds."""
        output = re.sub(rb"( volumes: )\([^\n]*\)(?=\n)", rb"\1" + VOLUMES, self.output)
        output = re.sub(rb"(Received signal: (?:SIG[A-Z]+?|\d+))(?:(?:/|\[)[^\n]*?\[0x[0-9a-f]+\])+",
                        rb"\1" + CALL_STACK, output)
        output = re.sub(rb"( digest available: )[^\n]+", rb"\1" + LIBRARY_REASON, output)
        pieces = pieces_of(output)
        if self.seconds > PROGRESS_INTERVAL:
            pieces = without_added_progress(pieces, pieces_of(expected))
        return b"".join(in_expected_order(pieces, pieces_of(expected)))

    def tree(self, expected):
        """As it is now; what may vary as in the expected one, where it agrees with it."""
        found = read_tree(self.folder)
        for path, item in expected.items():
            there = found.get(path)
            if isinstance(item, HashList) and isinstance(there, bytes):
                first, _, rest = there.partition(b"\n")
                if re.fullmatch(rb"# hash created by rvxvscopy by anna on .+ \d{4}(-\d\d){2} \d\d(:\d\d){2} \+0000",
                                first):
                    found[path] = HashList(rest)
            if isinstance(item, Part) and isinstance(there, bytes) and item.startswith(there):
                found[path] = item
        return found


def pieces_of(output):
    """Lines with their ends, and what is printed without one: a signal's report."""
    return re.findall(rb"Received signal: [^\n]*?" + re.escape(CALL_STACK) + rb"|[^\n]*\n|[^\n]+", output)


def progress(piece):
    """Of a progress line: what must be equal, and how far it says the run is."""
    match = re.fullmatch(rb"INFO: (copied|verified) (\d+) (of \d+ bytes)( of path .*)?\n", piece)
    return ((match[1], match[3], match[4]), int(match[2])) if match else None


def without_added_progress(pieces, expected):
    """Only lines go that tell an earlier state of a file that is told of anyhow."""
    furthest = {}
    for piece in filter(progress, expected):
        what, position = progress(piece)
        furthest[what] = max(position, furthest.get(what, 0))
    wanted = collections.Counter(expected)
    kept = []
    for piece in pieces:
        if progress(piece) and wanted[piece] == 0:
            what, position = progress(piece)
            if position <= furthest.get(what, -1):
                continue
        wanted[piece] -= 1
        kept.append(piece)
    return kept


def in_expected_order(pieces, expected):
    """Verification's progress lines that follow each other, in the order in which they are expected."""
    ordered = []
    group = []
    for piece in pieces + [b""]:
        if piece.startswith(b"INFO: verified "):
            group.append(piece)
            continue
        ordered += sorted(group, key=lambda line: expected.index(line) if line in expected else len(expected))
        group = []
        ordered.append(piece)
    return ordered


def status_text(status):
    return "signal %d" % -status if status < 0 else str(status)


def shell_quoted(word):
    if re.fullmatch(rb"[ -~]*", word):
        return shlex.quote(word.decode())
    return "$'%s'" % "".join(chr(byte) if 0x20 <= byte < 0x7f and byte not in b"'\\" else "\\%03o" % byte
                             for byte in word)


def with_parents(tree):
    """With the folders that its items lie in."""
    whole = dict(tree)
    for path in tree:
        folder = os.path.dirname(path)
        while folder:
            whole.setdefault(folder, FOLDER)
            folder = os.path.dirname(folder)
    return whole


def build_tree(top, tree):
    for path, item in sorted(tree.items()):
        place = os.path.join(top, path)
        if item is FOLDER:
            os.makedirs(place, exist_ok=True)
        elif isinstance(item, Link):
            os.symlink(item, place)
        else:
            with open(place, "wb") as file:
                file.write(item)


def read_tree(top):
    found = {}
    for folder, folders, files in os.walk(top):
        for name in folders + files:
            path = os.path.join(folder, name)
            mode = os.lstat(path).st_mode
            found[os.path.relpath(path, top)] = (Link(os.readlink(path)) if stat.S_ISLNK(mode) else
                                                 FOLDER if stat.S_ISDIR(mode) else file_bytes(path))
    return found


def escaped(path):
    return "".join(chr(byte) if 0x20 < byte < 0x7f and byte != ord("\\") else "\\%03o" % byte
                   for byte in os.fsencode(path))


def tree_text(tree):
    lines = []
    for path, item in sorted(tree.items(), key=lambda entry: os.fsencode(entry[0])):
        if item is FOLDER:
            columns = ("folder", "-", "-", escaped(path))
        elif isinstance(item, Link):
            columns = ("link", len(os.fsencode(item)), sha1(os.fsencode(item)),
                       "%s -> %s" % (escaped(path), escaped(item)))
        elif isinstance(item, Part):
            columns = ("part", "-", "-", escaped(path))
        else:
            kind = "list" if isinstance(item, HashList) else "file"
            columns = (kind, len(item), sha1(item), escaped(path))
        lines.append("%-6s %8s %-40s %s\n" % columns)
    return "".join(lines).encode()
