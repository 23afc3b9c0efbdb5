#!/usr/bin/env python3
"""Copies with rvxcopy, shows how far it is, and says at the end what the copies are worth.

    copy_clip.py [options of rvxcopy] SOURCE DESTINATION...

rvxcopy is looked for in PATH, unless the variable RVXCOPY names it. Progress goes to standard error, everything
that a user should read to standard output; the last line begins with "verified", "copied only" or "failed".
The exit status is rvxcopy's.
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
    200: "check rights, and that every frame exists",
    201: "check the destination's rights and path",
    211: "don't trust that disk: copy to another one",
    212: "make room, then run again with -f",
    220: "try another card reader, then run again with -f",
}


def skips_verification(arguments):
    """As rvxcopy reads them: an option matches by its beginning, and three of them take the next argument."""
    remaining = iter(arguments)
    for argument in remaining:
        if argument.startswith(("-p", "-t", "-o")):
            next(remaining, None)
        elif argument.startswith("-n"):
            return True
    return False


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

    def verdict(self, status, is_unverified):
        # The status alone decides: a name may hold a line end, and then reads like any line.
        if status == 0 and is_unverified:
            return "copied only: nobody has compared the copies. Don't format the card; run again without -n."
        if status == 0 and self.had_failed_reads:
            return "verified: the card may be formatted. Some reads succeeded only the second time: check that device."
        if status == 0:
            return "verified: the card may be formatted."
        return "failed (%s): %s. Don't format the card." % (
            "signal %d" % -status if status < 0 else "status %d" % status, self.what_to_do(status))

    def what_to_do(self, status):
        if status == 109 and self.wrong_file:
            culprit = "the card or its reader" if self.wrong_file == "source" else "the disk of that copy"
            return "don't trust %s; copy again with -f" % culprit
        if status == 109:
            return "see what is written above"  # a file could not be read back, or -o lacks its value
        return WHAT_TO_DO.get(status, "the run did not come to its end; run again with -f")


def readable(text):
    return text.decode(errors="backslashreplace")


def main(arguments):
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
    run.show(run.verdict(status, skips_verification(arguments)).encode())
    return status if status >= 0 else 128 - status


if __name__ == "__main__":
    sys.stdout.reconfigure(errors="backslashreplace")
    sys.stderr.reconfigure(errors="backslashreplace")
    sys.exit(main(sys.argv[1:]))
