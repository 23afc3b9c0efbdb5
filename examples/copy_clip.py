#!/usr/bin/env python3
"""Copies one clip or sequence with rvxcopy, shows how far it is, and says at the end what the copies are worth.

    copy_clip.py [--ascmhl] [options of rvxcopy] SOURCE DESTINATION...

With --ascmhl, rvxcheck then reads back all that lies in the destinations' folders, and gives each that is clean the
next generation of its ASC MHL history.

rvxcopy and rvxcheck are looked for in PATH, unless the variables RVXCOPY and RVXCHECK name them. Progress goes to standard error, everything
that a user should read to standard output; the last line begins with "verified", "copied only" or "failed".
The exit status is rvxcopy's or, where that is 0, rvxcheck's.
"""

import os
import re
import signal
import subprocess
import sys

# The lines that this driver does something about; all others that begin with "ERROR: ", and unknown ones, are
# shown as they are. Bytes, because a path may be in any encoding; a "." stands for any of them.
LINES = [(kind, re.compile(pattern, re.DOTALL)) for kind, pattern in (
    ("copied", rb"INFO: copied (-?[0-9]+) of (-?[0-9]+) bytes"),
    ("verified", rb"INFO: verified ([0-9]+) of ([0-9]+) bytes of path (.*)"),
    ("usual", rb"INFO: (?:copying .*\.\.\.|verifying .*)"),
    ("usual", rb"hash (?:SHA1:(?:[0-9a-f]{40}|\(null\))|MD5:(?:[0-9a-f]{32}|\(null\)))"),
    ("usual", rb"verify of (?:source|destination) file (?:#[0-9]+|[0-9]+ of [0-9]+ of sequence #[0-9]+) \(.*\) ok\."),
    ("usual", rb"Copy completed successfully for destination file \(.*\)"),
    ("wrong", rb"ERROR: verify of (source|destination) file #[0-9]+ \((.*)\) failed, wrong hash\."),
    ("read again", rb"ERROR: unexpected [0-9A-Z]+ during read: .+ at position:[0-9]+"),
)]

# The report of a signal has no line end: what follows it on its line is the next line.
SIGNAL_REPORT = re.compile(rb"Received signal: SIG[A-Z]+(?:.*\[0x[0-9a-f]+\])?", re.DOTALL)

WRONG_COMMAND = "correct the command"
WHAT_TO_DO = {
    100: WRONG_COMMAND, 102: WRONG_COMMAND, 103: WRONG_COMMAND, 104: WRONG_COMMAND, 106: WRONG_COMMAND,
    108: WRONG_COMMAND, 113: WRONG_COMMAND,
    101: "make the named folder possible",
    107: "choose another folder, or overwrite with -f",
    114: "the copies are good, but a hash list is missing: make room and rights, then run again with -f",
    115: "the copies are good, but a hash list is missing: make room and rights, then run again with -f",
    116: "a copy is missing: copy again",
    117: "this machine refuses what the run needs: use another one",
    200: "the source can't be opened: check rights, and that every frame exists",
    201: "check the destination's rights and path",
    211: "don't trust that disk: copy to another one",
    212: "make room, then run again with -f",
    220: "try another card reader, then run again with -f",
}


class Job:
    """What rvxcopy is asked for. An option matches by its beginning, and three of them take the next argument."""

    def __init__(self, arguments):
        self.is_verified = self.is_listed = True
        self.is_sequence = False
        paths = []
        remaining = iter(arguments)
        for argument in remaining:
            if argument.startswith("-o"):
                self.is_listed = re.match(r"\s*[-+]?0*[1-9]", next(remaining, "1")) is not None
            elif argument.startswith(("-p", "-t")):
                next(remaining, None)
            elif argument.startswith("-n"):
                self.is_verified = False
            elif argument.startswith("-s"):
                self.is_sequence = True
            elif not argument.startswith(("-v", "-f")):
                paths.append(argument)
        self.source, self.destinations = (paths[0], paths[1:]) if paths else ("", [])

    def files(self):
        """The files to copy, one after the other; none where the identifier is an unusual one."""
        if not self.is_sequence:
            yield self.source
            return
        parts = re.fullmatch(r"(.*?)([0-9]+)-([0-9]+)(#+)([^#]*)", self.source, re.DOTALL)
        if parts:
            for number in range(int(parts[2]), int(parts[3]) + 1):
                yield "%s%0*d%s" % (parts[1], len(parts[4]), number, parts[5])

    def first_unreadable(self):
        return next((path for path in self.files() if not os.access(path, os.R_OK)), None)

    def first_link(self):
        return next((path for path in self.files() if os.path.islink(path)), None)

    def folder_without_slash(self):
        return next((path for path in self.destinations if not path.endswith("/") and os.path.isdir(path)), None)


class Run:
    """What is known of a run from its lines."""

    def __init__(self):
        self.wrong_file = None  # "source" or "destination"
        self.had_failed_reads = False
        self.is_in_progress_line = False

    def take(self, line):
        report = SIGNAL_REPORT.search(line)
        if report:
            self.show(report[0])
            line = line[:report.start()] + line[report.end():]
        if line:
            self.take_text(line)

    def take_text(self, line):
        kind, match = next(((kind, pattern.fullmatch(line)) for kind, pattern in LINES if pattern.fullmatch(line)),
                           (None, None))
        if kind == "copied":
            self.show_progress("copying", match)
        elif kind == "verified":
            self.show_progress("verifying " + readable(match[3]), match)
        elif kind == "wrong":
            self.wrong_file = match[1].decode()
        elif kind == "read again":
            self.had_failed_reads = True
        if kind not in ("copied", "verified", "usual"):
            self.show(line)

    def show(self, line):
        if self.is_in_progress_line:
            print(file=sys.stderr, flush=True)
        self.is_in_progress_line = False
        print(readable(line), flush=True)

    def show_progress(self, what, match):
        done, total = int(match[1]), int(match[2])
        # The total may be 0, and for a sequence it is an estimate that the real number may pass.
        percent = 100 if total <= 0 else max(0, min(100, done * 100 // total))
        print("\r%-70s" % ("%s: %d %%" % (what, percent)), end="", file=sys.stderr, flush=True)
        self.is_in_progress_line = True

    def verdict(self, status, job):
        # The status alone decides: a name may hold a line end, and then reads like any line.
        if status != 0:
            return "failed (%s): %s. Don't format the card." % (
                "signal %d" % -status if status < 0 else "status %d" % status, self.what_to_do(status, job))
        if not job.is_verified:
            return "copied only: nobody has compared the copies. Don't format the card; run again without -n."
        link = job.first_link()
        if link:
            return "verified as a link: %s is one, and nothing of what it leads to was copied." % link
        verdict = "verified: this clip is complete and durable at every destination that was named."
        if job.is_listed:
            verdict += " rvxcheck tells any day whether it still is, and whether the card may be formatted."
        else:
            verdict += " No hash list was written (-o 0)."
        if self.had_failed_reads:
            verdict += " Some reads succeeded only the second time: check that device."
        return verdict

    def what_to_do(self, status, job):
        if status == 109 and self.wrong_file:
            culprit = "the card or its reader" if self.wrong_file == "source" else "the disk of that copy"
            return "don't trust %s; copy again with -f" % culprit
        if status == 109:
            return "see what is written above"  # a file could not be read back, or -o lacks its value
        if status == 107 and job.folder_without_slash():
            return "did you mean %s/? Without the slash it names the copy itself" % job.folder_without_slash()
        if status == 200 and job.first_unreadable():
            return "%s is missing or can't be read; when it is there, run again with -f" % job.first_unreadable()
        return WHAT_TO_DO.get(status, "the run did not come to its end; run again with -f")


def add_to_histories(destinations, run):
    """The status of rvxcheck, whose lines are shown."""
    folders = dict.fromkeys(path if path.endswith("/") else os.path.dirname(path) or "." for path in destinations)
    program = os.environ.get("RVXCHECK", "rvxcheck")
    try:
        check = subprocess.run([program, "--ascmhl", "--", *folders], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    except OSError as error:
        run.show(b"rvxcheck can't be started: " + str(error).encode(errors="surrogateescape"))
        return 127
    for line in check.stdout.splitlines():
        run.show(line)
    return check.returncode if check.returncode >= 0 else 128 - check.returncode


def readable(text):
    return text.decode(errors="backslashreplace")


def main(arguments):
    wants_histories = arguments[:1] == ["--ascmhl"]
    if wants_histories:
        arguments = arguments[1:]
    program = os.environ.get("RVXCOPY", "rvxcopy")
    try:
        process = subprocess.Popen([program, "-v", *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    except OSError as error:
        print("failed (not started): %s. Don't format the card." % error)
        return 127
    signal.signal(signal.SIGINT, signal.SIG_IGN)  # Ctrl-C ends rvxcopy; the verdict is still to be told
    run = Run()
    for line in process.stdout:  # the last one may lack its end
        run.take(line.removesuffix(b"\n"))
    status = process.wait()
    job = Job(arguments)
    verdict = run.verdict(status, job)
    list_status = 0
    if wants_histories and status == 0 and job.is_verified:
        list_status = add_to_histories(job.destinations, run)
        verdict += " The media hash lists are %s." % ("NOT all written, see above" if list_status else "written")
    run.show(verdict.encode(errors="surrogateescape"))
    return (status if status >= 0 else 128 - status) or list_status


if __name__ == "__main__":
    sys.stdout.reconfigure(errors="backslashreplace")
    sys.stderr.reconfigure(errors="backslashreplace")
    sys.exit(main(sys.argv[1:]))
