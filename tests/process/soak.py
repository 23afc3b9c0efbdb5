"""Runs random jobs for a time, on all kinds of file systems and with faults, and has each of them judged.

Job number N (from 0) of a run has the seed SEED + N, and everything about it follows from its seed; with SECONDS 0
only the first job is run, so that the seed of a failed job repeats it.
"""

import collections
import os
import random
import shlex
import shutil
import subprocess
import sys
import time
import unittest

from judge import Job, Judge
from storage import MIB, StorageTest, run
from support import BLOCK, FAULT_FS, FAULT_SHIM, RVXCOPY, program_environment

# A disk that is busy with other things is slow; this is about hangs.
LONGEST_JOB = 600  # seconds

# Each is interrupted for a time only: the program repeats interrupted calls for ever, as it must.
MOST_INTERRUPTIONS = 1000

ERRORS = ("EIO", "ENOSPC", "EINTR", "EACCES", "EDQUOT", "EROFS", "EINVAL", "ENOSYS")
CALLS = ("openr", "openw", "read", "write", "fdatasync", "fsync", "close", "range", "rename", "mkdir", "symlink",
         "readlink", "stat", "lstat", "fstat", "statfs", "unlink", "truncate", "chmod", "seek", "advise", "fcntl", "*")
SERVER_CALLS = ("read", "write", "fdatasync", "fsync", "close")
NAMES = ("clip.mov", "take 2.mov", "ver\u00e9.mxf", "a%s%n.mov", "x", "-v.mov", "[1]*?.mov", "#.mov", "back\\slash",
         "n" * 200 + ".mov")


class Storage:
    """A folder on some file system, in which the files of jobs lie."""

    def __init__(self, name, folder):
        self.name = name
        self.folder = folder
        self.notes = ""  # what else a failed job's report has to say

    def begin_job(self, job_random, with_faults):
        """Called when the sources are in place."""

    def end_job(self):
        """Called when the program has ended, and before its work is judged. Returns the number of faults."""
        return 0


class FuseStorage(Storage):
    """A FUSE file system, which a server serves during each run only. Before and after it the same paths lead to the
    files beneath."""

    def __init__(self, folder, log):
        super().__init__("fuse", folder)
        self.below = folder + "-below"
        self.log = log
        self.server = None
        for path in (self.folder, self.below):
            os.makedirs(path)
        run("mount", "--bind", self.below, self.folder)

    def begin_job(self, job_random, with_faults):
        options = [option for option in ("direct_io", "writeback_cache") if job_random.random() < 0.4]
        fault = "%s %s %d %s %s" % (
            job_random.choice(SERVER_CALLS), self.below, job_random.randint(1, 60),
            job_random.choice(("1", "3", "*")), job_random.choice(("EIO", "ENOSPC", "EDQUOT")))
        environment = dict(os.environ)
        self.notes = "fuse: %s %s" % (" ".join(options), fault if with_faults else "")
        if with_faults:
            environment.update({"LD_PRELOAD": FAULT_SHIM, "RVX_FAULTS": fault, "RVX_FAULTS_LOG": self.log})
        self.server = subprocess.Popen([FAULT_FS, self.below, self.folder, *options], env=environment,
                                       stdout=subprocess.DEVNULL)
        for _ in range(2000):
            if run("findmnt", "--noheadings", "--output", "FSTYPE", self.folder).split()[-1].startswith("fuse"):
                return
            time.sleep(0.005)
        raise AssertionError("the FUSE file system was not mounted")

    def end_job(self):
        run("umount", self.folder)
        # Asked to end, it would unmount what lies below as well where another process still sees its file system.
        self.server.kill()
        self.server.wait(timeout=60)
        return fired_faults(self.log)


def fired_faults(log):
    """How many faults a log tells of; the log is removed."""
    if not os.path.exists(log):
        return 0
    with open(log, "rb") as file:
        count = sum(line.startswith(b"!") for line in file)
    os.remove(log)
    return count


class Storages(StorageTest):
    """Those that this machine can mount."""

    def mount_all(self):
        self.setUp()
        self.log = self.path("server.log")
        storages = []
        for name, mount in (("tmpfs", lambda: self.tmpfs("tmpfs", 2048)), ("small", lambda: self.tmpfs("small", 16)),
                            ("ext4", lambda: self.disk("ext4", "ext4", 2048)),
                            ("xfs", lambda: self.disk("xfs", "xfs", 2048)),
                            ("btrfs", lambda: self.disk("btrfs", "btrfs", 2048))):
            try:
                mount()
                storages.append(Storage(name, self.path(name)))
            except unittest.SkipTest as reason:
                print("skipped: %s: %s" % (name, reason))
        if os.geteuid() == 0 and os.path.exists("/dev/fuse") and shutil.which("fusermount3"):
            storages.append(FuseStorage(self.path("fuse"), self.log))
            self.unmount_at_the_end(self.path("fuse"))
        else:
            print("skipped: fuse: it needs root and /dev/fuse")
        return storages or [Storage("disk", self.folder)]


class RandomJob:
    """One job of the soak, all of whose choices follow from its seed."""

    def __init__(self, seed, storages):
        self.seed = seed
        self.random = random.Random(seed)
        self.source_storage = self.random.choice([storage for storage in storages if storage.name != "small"])
        count = self.random.choice((1, 1, 2, 2, 2, 3, 4, 8))
        self.destination_storages = [self.random.choice(storages) for _ in range(count)]
        self.storages = [storage for storage in storages
                         if storage is self.source_storage or storage in self.destination_storages]
        self.tops = [os.path.join(storage.folder, "job") for storage in self.storages]
        self.has_faults = self.random.random() < 0.6
        self.kind = self.random.choice(("movie", "movie", "movie", "sequence", "sequence", "link"))
        self.bytes_to_copy = 0
        self.has_old_copy = False

    # The choices

    def size(self):
        choice = self.random.random()
        if choice < 0.3:
            return self.random.randint(0, 10000)
        if choice < 0.9:
            border = self.random.choice((1, 2, 2, 3, 4, 4, 6, 8, 9, 10)) * BLOCK
            return border + self.random.choice((-4097, -4096, -4095, -512, -1, 0, 0, 1, 511, 4096, 4097))
        return self.random.randint(0, 40 * MIB)

    def options(self):
        return {"hash_type": self.random.choice((None, "sha1", "md5")), "verbose": self.random.random() < 0.5,
                "force": self.random.random() < 0.4, "depth": self.random.choice((0, 0, 0, 1, 2, 6)),
                "writes_lists": self.random.random() < 0.85, "skips_verification": self.random.random() < 0.2}

    def destination(self, number, storage):
        folder = os.path.join(storage.folder, "job", "d%d" % number, *["sub %d" % level for level in range(
            self.random.choice((0, 0, 1, 3)))])
        return folder + "/" + self.random.choice(("", "", self.random.choice(NAMES)))

    def make(self):
        """Writes the files and returns the job."""
        for top in self.tops:
            shutil.rmtree(top, ignore_errors=True)
            os.makedirs(top)
        folder = os.path.join(self.source_storage.folder, "job", "card", "A001")
        os.makedirs(folder)
        options = self.options()
        destinations = [self.destination(number, storage)
                        for number, storage in enumerate(self.destination_storages, 1)]
        job = getattr(self, "make_" + self.kind)(folder, destinations, options)
        if self.random.random() < 0.3:
            self.write_old_copies(job)
        return job

    def make_movie(self, folder, destinations, options):
        source = os.path.join(folder, self.random.choice(NAMES))
        self.write(source, self.size())
        return Job(source, destinations, **options)

    def make_sequence(self, folder, destinations, options):
        first, count = self.random.randint(0, 2000), self.random.randint(1, 12)
        digits = self.random.randint(1, 6)
        size = self.size() // 10 if self.random.random() < 0.5 else None
        frames = [os.path.join(folder, "f_%0*d.dpx" % (digits, number)) for number in range(first, first + count)]
        for frame in frames:
            self.write(frame, self.size() // 10 if size is None else size)
        identifier = "%s/f_%d-%d%s.dpx" % (folder, first, first + count - 1, "#" * digits)
        return Job(identifier, destinations, frames=frames, **options)

    def make_link(self, folder, destinations, options):
        source = os.path.join(folder, self.random.choice(NAMES))
        # With -n a copy that leads nowhere counts as missing; see the known limits.
        targets = ("/dev/zero", "/") if options["skips_verification"] else (
            "/dev/zero", "/", "missing", "t\u00e9 %s", "../" * 100 + "x", "l" * 255)
        os.symlink(self.random.choice(targets), source)
        return Job(source, destinations, **options)

    def write(self, path, size):
        with open(path, "wb") as file:
            file.write(self.random.randbytes(size))
        self.bytes_to_copy += size * len(self.destination_storages)

    def write_old_copies(self, job):
        for copy, _ in job.copies():
            if self.random.random() < 0.5:
                os.makedirs(os.path.dirname(copy), exist_ok=True)
                with open(copy, "wb") as file:
                    file.write(self.random.randbytes(self.random.choice((0, 1, 5000))))
                self.has_old_copy = True

    def faults(self, job):
        """Rules for the shim in front of the program."""
        if not self.has_faults or self.random.random() < 0.2:
            return []
        paths = job.sources + [copy for copy, _ in job.copies()] + job.lists() + self.tops
        faults = []
        for _ in range(self.random.randint(1, 3)):
            call = self.random.choice(CALLS)
            effect = self.random.choice(ERRORS + (("short",) * 3 if call in ("read", "write") else ()))
            count = self.random.choice(("1", "1", "2", "20", "*"))
            if effect == "EINTR" and count == "*":
                count = str(MOST_INTERRUPTIONS)
            faults.append("%s =%s* %d %s %s" % (call, self.shim_pattern(self.random.choice(paths)),
                                               self.random.choice((1, 1, 2, 3, 4, 6, 10, 20)), count, effect))
        return faults

    @staticmethod
    def shim_pattern(path):
        """A rule can't name every byte."""
        return "".join(chr(byte) if chr(byte).isalnum() and byte < 128 or byte in b"/._-" else "?"
                       for byte in os.fsencode(path))

    # What must come of it

    def may_end_with(self, status):
        """Whether a run without faults may: the judge sees only that it is one of the documented statuses."""
        if self.has_faults or "small" in [storage.name for storage in self.storages]:
            return True
        if self.has_old_copy and self.kind == "link":
            return status in (107, 201)
        if self.has_old_copy:
            return status in (0, 107)
        return status == 0


class Soak:
    def __init__(self, storages, log):
        self.storages = storages
        self.log = log
        self.statuses = collections.Counter()
        self.file_systems = collections.Counter()
        self.bytes_copied = 0
        self.faults_fired = 0
        self.failures = 0

    def run(self, seconds, seed):
        end = time.monotonic() + seconds
        while True:
            self.run_job(seed)
            seed += 1
            if time.monotonic() >= end:
                return

    def run_job(self, seed):
        random_job = RandomJob(seed, self.storages)
        job = random_job.make()
        judge = Judge(job, random_job.tops)
        faults = random_job.faults(job)
        for storage in random_job.storages:
            storage.begin_job(random_job.random, random_job.has_faults)
        environment = program_environment(faults, self.log)
        status, problems = None, ["it did not end within %d seconds" % LONGEST_JOB]
        try:
            done = subprocess.run([RVXCOPY, *job.arguments()], stdin=subprocess.DEVNULL, env=environment,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=LONGEST_JOB)
            status = done.returncode
        except subprocess.TimeoutExpired:
            pass
        self.faults_fired += sum(storage.end_job() for storage in random_job.storages) + fired_faults(self.log)
        if status is not None:
            may_leave = any(fault.startswith(("unlink", "*")) for fault in faults)
            problems = judge.problems(status, done.stdout, done.stderr, may_leave)
            if not random_job.may_end_with(status):
                problems.append("status %d without a fault" % status)
        self.statuses[status] += 1
        self.file_systems.update(storage.name for storage in random_job.storages)
        if status == 0:
            self.bytes_copied += random_job.bytes_to_copy
        if problems:
            self.failures += 1
            shown = ["%s=%s" % (name, shlex.quote(value)) for name, value in environment.items() if name != "PATH"]
            problems += [storage.notes for storage in random_job.storages if storage.notes]
            print("FAILED: seed %d, status %s\n  %s\n  %s" % (
                seed, status, " ".join(shown + [shlex.quote(word) for word in [RVXCOPY, *job.arguments()]]),
                "\n  ".join(problems)), flush=True)

    def summary(self):
        def listed(counter):
            return ", ".join("%s: %d" % item for item in counter.most_common())
        return ("%d jobs, by status %s; by file system %s; %.1f GiB copied, %d faults fired, %d failures" % (
            sum(self.statuses.values()), listed(self.statuses), listed(self.file_systems),
            self.bytes_copied / 1024 ** 3, self.faults_fired, self.failures))


def main():
    if len(sys.argv) not in (2, 3):
        print("usage: scripts/soak SECONDS [SEED]")
        return 2
    seed = int(sys.argv[2]) if len(sys.argv) == 3 else random.SystemRandom().randrange(10 ** 9)
    print("seed %d" % seed, flush=True)
    storages = Storages()
    try:
        soak = Soak(storages.mount_all(), storages.path("faults.log"))
        soak.run(float(sys.argv[1]), seed)
    finally:
        storages.doCleanups()
    print(soak.summary())
    return 1 if soak.failures else 0


if __name__ == "__main__":
    sys.exit(main())
