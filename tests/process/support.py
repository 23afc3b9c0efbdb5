"""What the process tests share: running the built program as a driver does, and judging what it left behind."""

import glob
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

RVXCOPY = os.environ["RVXCOPY"]
FAULT_SHIM = os.environ["RVX_FAULT_SHIM"]
FAULT_FS = os.environ["RVX_FAULT_FS"]
# What the program was built with, as for -fsanitize=: a sanitizer's runtime needs memory and threads of its own.
SANITIZERS = os.environ.get("RVX_SANITIZERS", "")

# Whether what takes long is done as well, as by scripts/test all with what is released.
THOROUGH = "RVX_THOROUGH" in os.environ

# No run of the tests' small jobs takes nearly this long, also not under a sanitizer: it would be a hang.
LONGEST_RUN = 120  # seconds

BLOCK = 2 * 1024 * 1024
CHUNK = 4 * 1024 * 1024


class Result:
    def __init__(self, status, output):
        self.status = status
        self.output = output


def share(cases, one_in):
    """What is run of many cases that are alike: all of them where that is asked for, else one in so many."""
    return cases if THOROUGH else cases[::one_in]


def file_bytes(path):
    with open(path, "rb") as file:
        return file.read()


def pattern(size, seed=1):
    """Bytes without a period that a block size divides, so that a misplaced block shows."""
    unit = hashlib.sha512(str(seed).encode()).digest() * 1024 + b"odd"
    return (unit * (size // len(unit) + 1))[:size]


def coreutils_digest(tool, path):
    """The digest as sha1sum or md5sum gives it."""
    line = subprocess.run([tool, path], stdout=subprocess.PIPE, check=True).stdout
    return line.lstrip(b"\\").split()[0].decode()


def program_environment(faults, log):
    """What the program's environment is in every test, with the faults, which are noted in the file `log`."""
    environment = {"PATH": os.environ["PATH"], "USER": "anna"}
    for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LLVM_PROFILE_FILE"):
        if name in os.environ:
            environment[name] = os.environ[name]
    if faults:
        environment.update({"LD_PRELOAD": FAULT_SHIM, "RVX_FAULTS": ";".join(faults), "RVX_FAULTS_LOG": log})
    return environment


def await_asleep(process):
    """Waits until every thread of the process waits for something, and not for a moment only; or until it has ended."""
    looks = 0
    while looks < 5:
        time.sleep(0.01)
        states = []
        for stat in glob.glob("/proc/%d/task/*/stat" % process.pid):
            try:
                states.append(file_bytes(stat).rpartition(b")")[2].split()[0])
            except OSError:  # this thread has just ended
                states.append(b"R")
        looks = 0 if b"R" in states or b"D" in states else looks + 1


class ProcessTest(unittest.TestCase):
    """A fresh folder for each test, which is the program's current folder."""

    base_folder = None  # where the fresh folder lies; the system's place for temporary files by default

    def setUp(self):
        # Its name ends in no letter, so that a fault for "d/clip.mov" never fits a file of the folder itself.
        self.folder = tempfile.mkdtemp(prefix="rvxcopy-test-", suffix="-", dir=self.base_folder)
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def write_frames(self, name_format, numbers, size=1000):
        for number in numbers:
            self.write(name_format % number, pattern(size, number))

    def read(self, name):
        return file_bytes(self.path(name))

    def script(self, name, text):
        """A shell script for a fault's run=; its current folder is the test's."""
        path = self.write(name, ("cd '%s'\n%s\n" % (self.folder, text)).encode())
        os.chmod(path, 0o755)
        return path

    def command(self, *arguments):
        return [RVXCOPY, *arguments]

    def environment(self, faults=None, variables=None):
        return {**program_environment(faults, self.path("faults.log")), **(variables or {})}

    def run_tool(self, *arguments, faults=None, variables=None, timeout=LONGEST_RUN, stdin=subprocess.DEVNULL,
                 **options):
        """Runs to the end. With faults, at least one of them must have happened: else the test shows nothing."""
        if faults and os.path.exists(self.path("faults.log")):
            os.remove(self.path("faults.log"))
        run = subprocess.run(
            self.command(*arguments), cwd=self.folder, env=self.environment(faults, variables),
            stdin=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout, **options)
        self.assertEqual(run.stderr, b"", "nothing is written to standard error")
        if faults:
            log = self.read("faults.log").decode(errors="surrogateescape")
            self.assertIn("!", log, "no fault happened")
            os.remove(self.path("faults.log"))
        return Result(run.returncode, run.stdout)

    def assert_run(self, result, status, output):
        self.assertEqual(result.output.decode(errors="surrogateescape"), output if isinstance(output, str)
                         else output.decode(errors="surrogateescape"))
        self.assertEqual(result.status, status)

    def tree(self, top):
        """Relative path -> contents of each file, "-> target" of each link, None for each folder."""
        found = {}
        start = self.path(top)
        for folder, folders, files in os.walk(start):
            for name in folders + files:
                path = os.path.join(folder, name)
                relative = os.path.relpath(path, start)
                if os.path.islink(path):
                    found[relative] = "-> " + os.readlink(path)
                elif os.path.isdir(path):
                    found[relative] = None
                else:
                    found[relative] = file_bytes(path)
        return found

    def assert_no_hash_lists(self):
        # By their names only: a test may have left something that can't be read.
        lists = [name for _, _, files in os.walk(self.folder) for name in files if name.endswith((".sha1", ".md5"))]
        self.assertEqual(lists, [])

    def assert_checks(self, list_file):
        """The list is accepted by sha1sum -c or md5sum -c, run in its own folder."""
        tool = "md5sum" if list_file.endswith(".md5") else "sha1sum"
        folder, name = os.path.split(self.path(list_file))
        check = subprocess.run([tool, "-c", "--strict", name], cwd=folder, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT)
        self.assertEqual(check.returncode, 0, check.stdout)

    def assert_list_entries(self, list_file, entries):
        """The list's lines below its two header lines, byte for byte."""
        lines = self.read(list_file).split(b"\n")
        self.assertEqual(lines[-1], b"", "the last line is ended")
        self.assertTrue(lines[0].startswith(b"# hash created by rvxvscopy by "), lines[0])
        self.assertTrue(lines[1].startswith(b"# original file(s): "), lines[1])
        self.assertEqual([line.decode() for line in lines[2:-1]], entries)


def main():
    program = unittest.main(module="__main__", exit=False)
    if not program.result.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if program.result.skipped else 0)
