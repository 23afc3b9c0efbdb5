"""Judges a run of any job by its status, its output and what it left behind, without asking the program anything.

Paths are texts as the command line has them; hand in absolute ones where the judge's current folder is another.
"""

import hashlib
import os
import re

from output_texts import REPORTS, VERBOSE_TEXTS, fatal_texts, texts_in
from support import file_bytes


def item_at(path):
    """("link", target), ("folder", None), ("file", bytes), or None where nothing is."""
    if os.path.islink(path):
        return "link", os.fsencode(os.readlink(path))
    if os.path.isdir(path):
        return "folder", None
    return ("file", file_bytes(path)) if os.path.exists(path) else None


def paths_below(tops):
    return {os.path.join(folder, name) for top in tops for folder, folders, files in os.walk(top)
            for name in folders + files}


class Job:
    """What is asked for on the command line, and what it means."""

    def __init__(self, source, destinations, frames=None, hash_type=None, verbose=False, force=False, depth=0,
                 writes_lists=True, skips_verification=False):
        self.source = source
        self.sources = frames or [source]
        self.is_sequence = frames is not None
        self.destinations = destinations
        self.hash_type = hash_type or "sha1"
        self.verbose = verbose
        self.skips_verification = skips_verification
        self.depth = depth
        self.has_lists = writes_lists and not skips_verification
        self.options = (["-v"] * verbose + ["-s"] * self.is_sequence + ["-f"] * force + ["-n"] * skips_verification +
                        (["-t", hash_type] if hash_type else []) + (["-p", str(depth)] if depth else []) +
                        (["-o", "0"] if not writes_lists else []))

    def arguments(self):
        return [*self.options, self.source, *self.destinations]

    def folder(self, destination):
        rebuilt = [name for name in os.path.dirname(self.source).split("/") if name][-self.depth:] if self.depth else []
        return os.path.join(os.path.dirname(destination), *rebuilt)

    def name(self, destination):
        return os.path.basename(destination) or os.path.basename(self.source)

    def copies(self):
        """Each copy's path with its source's."""
        return [(os.path.join(self.folder(destination),
                              os.path.basename(source) if self.is_sequence else self.name(destination)), source)
                for destination in self.destinations for source in self.sources]

    def list_path(self, destination):
        return os.path.join(self.folder(destination), self.hash_type, self.name(destination) + "." + self.hash_type)

    def reports(self):
        """The lines that tell of each file of a run that went well."""
        if self.skips_verification:
            return [b"Copy completed successfully for destination file (%b)\n" % os.fsencode(copy)
                    for source in self.sources for copy, copied in self.copies() if copied == source]
        return [line for number, source in enumerate(self.sources, 1)
                for line in self.verify_reports(number, source)] if self.verbose else []

    def verify_reports(self, number, source):
        which = b"%d of %d of sequence " % (number, len(self.sources)) if self.is_sequence else b""
        paths = [copy for copy, copied in self.copies() if copied == source] + [source]
        return [b"verify of %b file %b#%d (%b) ok.\n" % (b"source" if path == source else b"destination", which, place,
                                                        os.fsencode(path)) for place, path in enumerate(paths, 1)]

    def lists(self):
        return [self.list_path(destination) for destination in self.destinations] if self.has_lists else []


def output_problems(output, status, verbose):
    """What is wrong with the output of a run with right arguments, one text for each."""
    if status not in REPORTS:
        return ["status %d is not documented for right arguments" % status]
    texts, rest = texts_in(output)
    problems = []
    if rest:
        problems.append("standard output holds %r" % rest[:200])
    if not verbose and any(text in VERBOSE_TEXTS for text in texts):
        problems.append("a run without -v prints what only -v shows")
    if fatal_texts(texts) not in REPORTS[status]:
        problems.append("status %d is reported with %s" % (status, fatal_texts(texts)))
    if any(not text.endswith(("\n", "%U")) for text in texts[:-1]):
        problems.append("something is printed after a line without an end")
    return problems


class Judge:
    """Made before the run: it remembers what was there."""

    def __init__(self, job, tops):
        """Everything that the job may change lies in the folders `tops`."""
        self.job = job
        self.tops = tops
        self.sources = {source: item_at(source) for source in job.sources}
        self.paths_before = paths_below(tops)
        self.lists_before = {path: item_at(path) for path in self.paths_before if path.endswith((".sha1", ".md5"))}

    def problems(self, status, output, errors, may_leave_temporary_file=False):
        """What is wrong with the run, one text for each; none when all is right."""
        problems = output_problems(output, status, self.job.verbose)
        if errors:
            problems.append("standard error holds %r" % errors[:200])
        problems += ["the source %s has changed" % source for source in self.changed_sources()]
        wrong_copies = [copy for copy, source in self.job.copies() if item_at(copy) != self.sources[source]]
        if status == 0:
            problems += ["status 0, but the copy %s is wrong" % copy for copy in wrong_copies]
            files = {(os.lstat(copy).st_dev, os.lstat(copy).st_ino) for copy, _ in self.job.copies()
                     if os.path.lexists(copy)}
            if len(files) < len(self.job.copies()) - len(wrong_copies):
                problems.append("status 0, but some copies are one file")
            reports = [line for line in output.splitlines(keepends=True) if line.startswith((b"verify of ", b"Copy "))]
            if reports != self.job.reports():
                problems.append("status 0, but the reports are %s" % reports)
        problems += self.list_problems(status, wrong_copies)
        problems += ["%s was left behind" % path for path in sorted(self.foreign_paths())
                     if not (may_leave_temporary_file and path.endswith(".tmp"))]
        return problems

    def changed_sources(self):
        return [source for source, item in self.sources.items() if item_at(source) != item]

    def list_problems(self, status, wrong_copies):
        problems = []
        written = [path for path in self.job.lists() if self.is_new_list(path)]
        if status == 0:
            problems += ["status 0, but %s was not written" % path for path in self.job.lists() if path not in written]
        elif status not in (114, 115):
            problems += ["%s was written by a run with status %d" % (path, status) for path in written]
        for path in written:
            if wrong_copies:
                problems.append("%s was written although the copy %s is wrong" % (path, wrong_copies[0]))
            if not self.is_right_list(file_bytes(path)):
                problems.append("%s holds %r" % (path, file_bytes(path)[:1000]))
        problems += ["the list %s has changed" % path for path, item in self.lists_before.items()
                     if path not in written and item_at(path) != item]
        return problems

    def is_new_list(self, path):
        item = item_at(path)
        return item is not None and item != self.lists_before.get(path)

    def is_right_list(self, text):
        header = (rb"# hash created by rvxvscopy by [^\n]+ on [^\n]+ \d{4}-\d\d-\d\d \d\d:\d\d:\d\d \+0000\n"
                  rb"# original file\(s\): %b \n" % re.escape(os.fsencode(self.job.source)))
        found = re.match(header, text)
        return found is not None and sorted(text[found.end():].splitlines(keepends=True)) == sorted(self.list_entries())

    def list_entries(self):
        # The text of a link's target is what is digested.
        return [b"%b(../%b)= %b\n" % (self.job.hash_type.upper().encode(), os.fsencode(os.path.basename(source)),
                                      hashlib.new(self.job.hash_type, data).hexdigest().encode())
                for source, (_, data) in self.sources.items()]

    def foreign_paths(self):
        """What is there now and was neither there before nor is any of the job's."""
        files = [copy for copy, _ in self.job.copies()] + self.job.lists()
        expected = set()
        for path in map(os.path.normpath, files):
            while path not in self.tops:
                expected.add(path)
                path = os.path.dirname(path)
        return paths_below(self.tops) - self.paths_before - expected
