"""Makes every single call that a run makes on its files and folders fail, and has each run judged.

A case is named JOB/CALL/PATH/NTH/EFFECT/LASTING, for example movie-sha1-verify/write/d1/clip.mov/2/EIO/once: in that
job the second write to d1/clip.mov fails once with EIO. Cases are counted for each call and path, so that they are the
same however the threads of a run take turns. `CALL` is one of the fault shim's.
"""

import collections
import contextlib
import multiprocessing
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import typing
import zlib

from judge import Job, Judge
from support import BLOCK, FAULT_SHIM, LONGEST_RUN, RVXCOPY, pattern, program_environment

ERRORS = ("EIO", "ENOSPC", "EINTR", "EACCES", "EDQUOT")
TRANSFERS = ("read", "write")
INTERRUPTIBLE = ("openr", "openw", "read", "write", "fdatasync", "fsync", "range", "close")
# When one of these fails, a copy or a list may not be what it is to be, and the run has to end with one of these
# statuses: which one depends on the file or folder and on the error.
STATUSES_OF_FAILURE = {
    "openr": (101, 109, 114, 115, 200, 211, 212, 220),
    "openw": (115, 201),
    "read": (109, 115, 220),
    "write": (115, 211, 212),
    "fdatasync": (115, 211, 212),
    "fsync": (101, 114, 115, 211, 212),
    "range": (211, 212),
    "close": (115, 211, 212),
    "truncate": (201,),
    "mkdir": (101, 114),
    "symlink": (201,),
    "readlink": (109, 200),
    "rename": (115,),
}
LASTING = ("once", "ever")
# The program repeats an interrupted open, transfer or sync until it is no longer interrupted, as it must. One that is
# interrupted for ever would never end, so that "ever" is a long burst here.
INTERRUPTIONS = 1000
WORKERS = 2

SMALL_MOVIE = 1000
MOVIE = 3 * BLOCK + 777  # three blocks of the copy, two chunks of the verification, and an unaligned end
LONG_MOVIE = 10 * BLOCK + 777  # more than a destination may leave to the page cache


class SweepJob:
    """A job that is swept. `standing` faults happen in each of its runs, which shows what follows them; it then ends
    with `status`. `sweeps` tells of which calls on which paths the cases are made."""

    def __init__(self, source, destinations, size=SMALL_MOVIE, frames=None, folders=(), old_files=(), standing=(),
                 status=0, sweeps=".*", **options):
        self.source = source
        self.destinations = destinations
        self.size = size
        self.frames = frames
        self.folders = folders
        self.old_files = old_files
        self.standing = standing
        self.status = status
        self.sweeps = re.compile(sweeps)
        self.options = options

    def job_in(self, folder):
        def inside(path):
            return os.path.join(folder, path)
        return Job(inside(self.source), [inside(destination) for destination in self.destinations],
                   frames=self.frames and [inside(frame) for frame in self.frames], **self.options)

    def faults_in(self, folder, fault):
        return [standing % folder for standing in self.standing] + [fault]

    def write_sources(self, folder):
        os.makedirs(os.path.join(folder, "card"))
        if self.source.endswith("link"):
            os.symlink("../card/clip.mov", os.path.join(folder, self.source))  # leads there from anywhere
        for number, source in enumerate(self.frames or ["card/clip.mov"], 1):
            with open(os.path.join(folder, source), "wb") as file:
                file.write(pattern(self.size, number))

    def write_destinations(self, folder):
        for name in self.folders:
            os.makedirs(os.path.join(folder, name))
        for name in self.old_files:
            os.makedirs(os.path.dirname(os.path.join(folder, name)), exist_ok=True)
            with open(os.path.join(folder, name), "wb") as file:
                file.write(b"older\n" * SMALL_MOVIE)


def _jobs():
    movie = {"source": "card/clip.mov", "destinations": ["d1/", "d2/take.mov"], "folders": ["d1", "d2"]}
    frames = ["card/f_%02d.dpx" % number for number in (1, 2, 3)]
    sequence = {"source": "card/f_1-3##.dpx", "frames": frames, "destinations": ["d1/", "d2/"]}
    link = {"source": "card/link", "destinations": ["d1/", "d2/other"]}
    old_frames = ["%s/f_%02d.dpx" % (folder, number) for folder in ("d1", "d2") for number in (1, 2, 3)]
    again_in_copy = "read =%s/card/clip.mov 2 1 EIO"
    jobs = {}
    for hash_type in ("sha1", "md5"):
        for mode in ("verify", "copy"):
            options = {"hash_type": hash_type, "verbose": True, "skips_verification": mode == "copy"}
            ending = "-%s-%s" % (hash_type, mode)
            jobs["movie" + ending] = SweepJob(**movie, size=MOVIE, **options)
            jobs["sequence" + ending] = SweepJob(**sequence, **options)
            jobs["link" + ending] = SweepJob(**link, **options)
    for mode in ("verify", "copy"):
        options = {"skips_verification": mode == "copy"}
        jobs["new-folders-" + mode] = SweepJob("card/clip.mov", ["d1/a/b/", "d2/a/take.mov"], depth=1, **options)
        jobs["overwritten-movie-" + mode] = SweepJob(
            **movie, force=True, old_files=["d1/clip.mov", "d2/take.mov", "d1/sha1/clip.mov.sha1"], **options)
        jobs["overwritten-sequence-" + mode] = SweepJob(**sequence, force=True, old_files=old_frames, **options)
        jobs["reread-source-" + mode] = SweepJob(**movie, size=BLOCK + 777, standing=[again_in_copy],
                                                 sweeps=r"\w+ card/clip\.mov", **options)
        jobs["read-only-" + mode] = SweepJob(**movie, standing=["fdatasync =%s/d1/clip.mov 1 * EROFS"],
                                             sweeps=r"\w+ d1/clip\.mov", **options)
    jobs["unlisted-verify"] = SweepJob(**movie, writes_lists=False)
    jobs["reread-copy-verify"] = SweepJob(**movie, size=2 * BLOCK + 777, standing=["read =%s/d1/clip.mov 2 1 EIO"],
                                          sweeps=r"\w+ d1/clip\.mov")
    jobs["unnamed-list-verify"] = SweepJob(**movie, standing=["rename =%s/d1/sha1/* 1 1 EIO"], status=115,
                                           sweeps=r"\w+ d1/sha1/.*")
    jobs["long-movie-copy"] = SweepJob(**movie, size=LONG_MOVIE, skips_verification=True,
                                       sweeps=r"(range|write|advise|fdatasync) d1/.*")
    return jobs


JOBS = _jobs()


class Case(typing.NamedTuple):
    job: str
    call: str
    path: str
    nth: int
    effect: str
    lasting: str

    @staticmethod
    def named(name):
        found = re.fullmatch(r"([^/]+)/(\w+)/(.+)/(\d+)/(\w+)/(%s)" % "|".join(LASTING), name)
        if not found or found[1] not in JOBS:
            raise SystemExit("There is no case " + name)
        job, call, path, nth, effect, lasting = found.groups()
        return Case(job, call, path, int(nth), effect, lasting)

    def name(self):
        return "%s/%s/%s/%d/%s/%s" % (self.job, self.call, self.path, self.nth, self.effect, self.lasting)

    def fault(self, folder):
        path = folder if self.path == "." else os.path.join(folder, self.path)
        count = "1" if self.lasting == "once" else str(INTERRUPTIONS) if self.effect == "EINTR" else "*"
        return "%s =%s %d %s %s" % (self.call, path, self.nth, count, self.effect)

    def may_leave_temporary_file(self):
        return self.call == "unlink"

    def is_unnoticed(self):
        """Interrupted and short calls are gone on with, and a read of a movie that failed once is made again."""
        if self.effect in ("EINTR", "short"):
            return self.effect == "short" or self.call in INTERRUPTIBLE
        return (self.call == "read" and self.lasting == "once" and not self.is_list() and
                not JOBS[self.job].standing)

    def is_fatal(self):
        """A write, sync or close that failed at a destination can't be made good, and what can't be opened or read at
        all can't be verified."""
        if self.effect in ("EINTR", "short"):
            return False
        if self.call == "openr" and self.effect == "EACCES":
            return self.is_file()  # all file systems are synced where a folder can't be opened for it
        if self.call == "close":
            # A list has another name while it is written.
            return self.nth == 1 and self.is_file() and not self.path.startswith("card/") and not self.is_list()
        if self.call == "range":
            # Only a long movie's write-back is waited for. Where it is merely begun, the sync at the end tells.
            return self.lasting == "ever" and JOBS[self.job].size == LONG_MOVIE
        if self.call == "read":
            return self.lasting == "ever"
        return self.call in STATUSES_OF_FAILURE

    def is_file(self):
        return "." in self.path[1:]  # no folder of a job has one in its name

    def is_list(self):
        return self.path.endswith((".sha1", ".md5"))

    def status_problems(self, status):
        usual = JOBS[self.job].status
        if self.is_unnoticed() and status != usual:
            return ["status %s instead of %s" % (status, usual)]
        if self.is_fatal() and status not in STATUSES_OF_FAILURE[self.call]:
            return ["status %s although the call failed" % status]
        return []

    def is_in_selection(self):
        """A movie, a sequence and a link are swept with both hash types. Of each pair of cases that differ in nothing
        but this the selection has one."""
        if "-sha1-" not in self.job and "-md5-" not in self.job:
            return True
        any_hash_type = re.sub("sha1|md5", "hash", self.name())
        return ("-md5-" in self.job) == (zlib.crc32(any_hash_type.encode()) % 2 == 1)


@contextlib.contextmanager
def folder_in_memory():
    """A folder that is removed at the end, also after a failure."""
    folder = tempfile.mkdtemp(prefix="rvxcopy-sweep-", dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
    try:
        yield folder
    finally:
        shutil.rmtree(folder, ignore_errors=True)


class Stage:
    """A new folder in the folder `top`, in which jobs are run, one after the other."""

    def __init__(self, top):
        parent = tempfile.mkdtemp(dir=top)
        self.folder = os.path.join(parent, "job")
        self.log = os.path.join(parent, "faults.log")
        self.name_of_job = None

    def run(self, name_of_job, fault, may_leave_temporary_file=False):
        """Runs a job with one more fault. Returns its status (None: it did not end), its output, what is wrong with it
        and the shim's log."""
        self.prepare(name_of_job)
        sweep_job = JOBS[name_of_job]
        job = sweep_job.job_in(self.folder)
        judge = Judge(job, [self.folder])
        faults = sweep_job.faults_in(self.folder, fault)
        try:
            run = subprocess.run([RVXCOPY, *job.arguments()], stdin=subprocess.DEVNULL,
                                 env=program_environment(faults, self.log),
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=LONGEST_RUN)
        except subprocess.TimeoutExpired as hang:
            return None, hang.stdout or b"", ["it did not end within %d seconds" % LONGEST_RUN], self.taken_log()
        problems = judge.problems(run.returncode, run.stdout, run.stderr, may_leave_temporary_file)
        if judge.changed_sources():
            self.name_of_job = None
        return run.returncode, run.stdout, problems, self.taken_log()

    def prepare(self, name_of_job):
        """Makes the job's files. Those of the source are kept where the job before was the same."""
        sweep_job = JOBS[name_of_job]
        if self.name_of_job != name_of_job:
            shutil.rmtree(self.folder, ignore_errors=True)
            sweep_job.write_sources(self.folder)
            self.name_of_job = name_of_job
        for name in os.listdir(self.folder):
            if name != "card":
                shutil.rmtree(os.path.join(self.folder, name))
        sweep_job.write_destinations(self.folder)

    def taken_log(self):
        """The lines of the log, each the call with a path inside the folder, "!" in front where a fault fired."""
        with open(self.log, "rb") as file:
            # The name of a temporary file holds the number of its process.
            text = re.sub(r"\.rvxcopy-\d+-", ".rvxcopy-*-", os.fsdecode(file.read()))
        os.remove(self.log)
        lines = []
        for line in text.splitlines():
            call, path = line.split(" ", 1)
            lines.append("%s %s" % (call, "." if path == self.folder else path[len(self.folder) + 1:]))
        return lines

    def cases_of(self, name_of_job):
        """All cases of a job, from the calls that it makes when none of them fails."""
        status, output, problems, log = self.run(name_of_job, "* %s 1 0 EIO" % self.folder)
        if problems or status != JOBS[name_of_job].status:
            raise AssertionError("%s without a fault: status %s, %s\n%s" % (name_of_job, status, problems, output))
        calls = [line.lstrip("!") for line in log]
        swept = JOBS[name_of_job].sweeps
        return [Case(name_of_job, *call.split(" ", 1), nth, effect, lasting)
                for call, count in collections.Counter(calls).items() if swept.fullmatch(call)
                for nth in range(1, count + 1)
                for effect in ERRORS + (("short",) if call.split(" ", 1)[0] in TRANSFERS else ())
                for lasting in LASTING]

    def run_case(self, case):
        status, output, problems, log = self.run(case.job, case.fault(self.folder), case.may_leave_temporary_file())
        if "!%s %s" % (case.call, case.path) not in log:
            problems = problems + ["its fault did not happen"]
        return status, output, problems + case.status_problems(status)


def all_cases():
    with folder_in_memory() as top:
        stage = Stage(top)
        return [case for name in JOBS for case in stage.cases_of(name)]


class _Worker:
    stage = None

    @classmethod
    def start(cls, top):
        cls.stage = Stage(top)

    @classmethod
    def run(cls, name):
        return (name, *cls.stage.run_case(Case.named(name)))


class Sweep:
    """Runs cases, side by side, counts them and prints those that fail."""

    def __init__(self):
        self.count = 0
        self.statuses = collections.Counter()
        self.failures = []

    def run(self, cases, most_failures=sys.maxsize):
        names = [case.name() for case in cases]
        with folder_in_memory() as top, multiprocessing.Pool(WORKERS, _Worker.start, [top]) as pool:
            for name, status, _, problems in pool.imap_unordered(_Worker.run, names, 20):
                self.count += 1
                self.statuses[status] += 1
                if problems:
                    self.failures.append("%s: status %s: %s" % (name, status, "; ".join(problems)))
                    print(self.failures[-1], flush=True)
                    if len(self.failures) == most_failures:
                        return

    def summary(self):
        statuses = ", ".join("%s: %d" % (status, count) for status, count in sorted(
            self.statuses.items(), key=lambda item: item[1], reverse=True))
        return "%d cases, by status %s; %d failed" % (self.count, statuses, len(self.failures))


def sweep_all():
    sweep = Sweep()
    sweep.run(all_cases())
    print(sweep.summary())
    return 1 if sweep.failures else 0


def sweep_one(name):
    with folder_in_memory() as top:
        stage = Stage(top)
        case = Case.named(name)
        faults = JOBS[case.job].faults_in(stage.folder, case.fault(stage.folder))
        print("LD_PRELOAD=%s RVX_FAULTS=%s \\\n  %s" % (
            FAULT_SHIM, shlex.quote(";".join(faults)),
            shlex.join([RVXCOPY, *JOBS[case.job].job_in(stage.folder).arguments()])))
        status, output, problems = stage.run_case(case)
        print("status %s, output:\n%s" % (status, os.fsdecode(output)))
        print("\n".join(problems) or "Nothing is wrong.")
        return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(sweep_one(sys.argv[1]) if len(sys.argv) > 1 else sweep_all())
