"""Killed, stopped, without its output, and without what every program needs: the copies are right or not claimed."""

import fcntl
import os
import re
import resource
import shutil
import signal
import subprocess

from storage import MIB
from support import (BLOCK, LONGEST_RUN, RVXCOPY, SANITIZERS, ProcessTest, Result, await_asleep, coreutils_digest, main,
                     pattern, share)

# A run that starves may end with any of these, each after lines that begin so.
FAILURES = {
    101: (b"ERROR: Can't create destination folder #",),
    109: (b"INFO: expected hash: ", b"ERROR: unexpected "),
    114: (b"ERROR: Can't create folder for hashes (",),
    115: (b"ERROR: couldn't write hash file to ",),
    117: (b"ERROR: No memory available: ", b"ERROR: No thread available: ", b"ERROR: No MD5 digest available: ",
          b"ERROR: No SHA-1 digest available: "),
    200: (b"ERROR: can't open source file (200i)",),
    201: (b"ERROR: can't open destination file (#",),
    211: (b"ERROR: unexpected ",),
}


class StarvationTest(ProcessTest):
    def start(self, *arguments, faults=None, **options):
        return subprocess.Popen(self.command(*arguments), cwd=self.folder, env=self.environment(faults),
                                stdin=subprocess.DEVNULL, **options)

    def assert_copies(self, names, *folders):
        for folder in folders:
            for name in names:
                self.assertEqual(self.read(os.path.join(folder, name)), self.read(name), name)

    def assert_whole_list_or_none(self, list_file, names):
        """A list says that each of its files is a verified copy."""
        if os.path.exists(self.path(list_file)):
            self.assert_list_entries(list_file, [
                "SHA1(../%s)= %s" % (name, coreutils_digest("sha1sum", self.path(name))) for name in names])
            self.assert_checks(list_file)

    def assert_ends_in_order(self, result, names, *folders):
        """Finished with right copies, or a documented status with its lines; never a crash."""
        if result.status != 117:  # which ends the run wherever it is
            self.assertEqual([name for name in self.tree(".") if name.endswith(".tmp")], [])
        if result.status == 0:
            self.assertEqual(result.output, b"")
            self.assert_copies(names, *folders)
            for folder in folders:
                self.assert_checks("%s/sha1/%s.sha1" % (folder, names[0]))
        else:
            self.assertIn(result.status, FAILURES, result.output[:2000])
            self.assertTrue(result.output.startswith(FAILURES[result.status]), result.output[:2000])


class SignalTest(StarvationTest):
    """At the calls that a run makes on its files and folders: between two of them it leaves nothing else behind."""

    CALLS = "* =*/*"  # those that have a path

    def setUp(self):
        super().setUp()
        self.names = ["f_%02d.dpx" % number for number in (1, 2, 3)]
        self.write_frames("f_%02d.dpx", (1, 2, 3), 300000)
        self.write("d/neighbour.txt", b"somebody else's")
        self.before = {name: self.read(name) for name in self.names}
        self.output = self.start_with("0 EIO").communicate(timeout=LONGEST_RUN)[0]
        self.calls = len(self.read("faults.log").splitlines())
        self.assertGreater(self.calls, 50)

    def start_with(self, effect, numbers=(1,)):
        for folder in ("d/sha1", "e"):
            shutil.rmtree(self.path(folder), ignore_errors=True)
        self.write("d/sha1/f_1-3##.dpx.sha1", b"the old one")
        return self.start("-f", "-v", "-s", self.path("f_1-3##.dpx"), "d/", "e/", stdout=subprocess.PIPE,
                          faults=["%s %d %s" % (self.CALLS, number, effect) for number in numbers])

    def assert_nothing_else_was_touched(self):
        self.assertEqual({name: self.read(name) for name in self.names}, self.before)
        self.assertEqual(self.read("d/neighbour.txt"), b"somebody else's")

    def test_a_run_that_is_ended_leaves_no_list_or_the_old_or_the_whole_new_one(self):
        signals = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGKILL)
        ended = 0
        for nth in share(range(1, self.calls + 1), 7):
            number = signals[nth % len(signals)]
            with self.subTest(nth=nth, signal=number.name):
                process = self.start_with("1 signal=%d" % number, [nth])
                process.communicate(timeout=LONGEST_RUN)
                self.assertIn(process.returncode, (0, -number))
                ended += process.returncode != 0
                self.assert_nothing_else_was_touched()
                if self.read("d/sha1/f_1-3##.dpx.sha1") != b"the old one":
                    self.assert_whole_list_or_none("d/sha1/f_1-3##.dpx.sha1", self.names)
                self.assert_whole_list_or_none("e/sha1/f_1-3##.dpx.sha1", self.names)
        self.assertGreater(ended, 10, "nothing was ended")

    def test_a_run_that_is_stopped_goes_on_where_it_was(self):
        def lasting_lines(output):
            return [line for line in output.splitlines() if not line.startswith((b"INFO: copied ", b"INFO: verified "))]

        for first in (1, 4, 7):
            with self.subTest(first):
                process = self.start_with("1 signal=%d" % signal.SIGSTOP, range(first, self.calls, 10))
                stops = 0
                while os.WIFSTOPPED(status := os.waitpid(process.pid, os.WUNTRACED)[1]):
                    stops += 1
                    process.send_signal(signal.SIGCONT)
                process.returncode = os.waitstatus_to_exitcode(status)
                printed, _ = process.communicate()
                self.assertEqual(process.returncode, 0)
                self.assertGreater(stops, 3)
                self.assertEqual(lasting_lines(printed), lasting_lines(self.output))
                for folder in ("d", "e"):
                    self.assert_copies(self.names, folder)
                    self.assert_checks(folder + "/sha1/f_1-3##.dpx.sha1")
                self.assert_nothing_else_was_touched()


class OutputTest(StarvationTest):
    """The copies do not depend on somebody who reads the output; neither does the exit status."""

    def setUp(self):
        super().setUp()
        self.write("clip.mov", pattern(3 * BLOCK + 17))
        self.write("there/clip.mov", b"old")

    def shell(self, redirection, *arguments):
        return subprocess.run(["sh", "-c", 'exec "$@" ' + redirection, "sh", *self.command(*arguments)],
                              cwd=self.folder, env=self.environment(), stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, timeout=LONGEST_RUN).returncode

    def test_nobody_takes_the_output(self):
        # What can't be delivered is lost; it is no reason to doubt the copies.
        for number, redirection in enumerate((">&-", "2>&-", "<&- >&-", "<&- >&- 2>&-", ">/dev/full", "1</dev/null")):
            with self.subTest(redirection):
                folder = "d%d" % number
                self.assertEqual(self.shell(redirection, "-v", "clip.mov", folder + "/", folder + "e/"), 0)
                for copies in (folder, folder + "e"):
                    self.assert_copies(["clip.mov"], copies)
                    self.assert_checks(copies + "/sha1/clip.mov.sha1")
                self.assertEqual(self.shell(redirection, "-v", "clip.mov", "there/"), 107)
                self.assertEqual(self.shell(redirection, "-v", "none.mov", "there/"), 104)
                self.assertEqual(self.tree("there"), {"clip.mov": b"old"})

    def status_without_reader(self, **options):
        """Of a run whose reader goes away after the first line."""
        self.write("hold", b"")
        wait = self.script("wait", "while [ -e hold ]; do sleep 0.01; done")
        process = self.start("-v", "clip.mov", "d/", faults=["write d/clip.mov 1 1 run=" + wait],
                             stdout=subprocess.PIPE, **options)
        self.assertEqual(process.stdout.readline(), b"INFO: copying ...\n")
        process.stdout.close()
        os.remove(self.path("hold"))
        return process.wait(timeout=LONGEST_RUN)

    def test_reader_that_goes_away_ends_the_run(self):
        # As with every program in a pipe; what matters is that nothing is claimed.
        self.assertEqual(self.status_without_reader(), -signal.SIGPIPE)
        self.assert_no_hash_lists()

    def test_reader_that_goes_away_is_not_missed_where_the_signal_is_ignored(self):
        self.assertEqual(self.status_without_reader(restore_signals=False), 0)
        self.assert_copies(["clip.mov"], "d")
        self.assert_checks("d/sha1/clip.mov.sha1")

    def test_reader_that_pauses_misses_nothing(self):
        self.write_frames("f_%02d.dpx", range(1, 61))
        known = re.compile(rb"(INFO: (copying \.\.\.|copied|verifying|verified)|hash (SHA1|MD5):|verify of ).*")
        for blocks in (True, False):
            with self.subTest(blocks=blocks):
                reading, writing = os.pipe()
                fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
                os.set_blocking(writing, blocks)
                process = self.start("-f", "-v", "-s", "f_1-60##.dpx", "d/", stdout=writing)
                os.close(writing)
                await_asleep(process)
                self.assertIsNone(process.poll(), "it goes on without its reader")
                with open(reading, "rb") as pipe:
                    lines = pipe.read().splitlines()
                self.assertEqual(process.wait(timeout=LONGEST_RUN), 0)
                self.assertEqual(lines[0], b"INFO: copying ...")
                self.assertEqual(len([line for line in lines if line.startswith(b"hash ")]), 2 * 60)
                self.assertEqual([line for line in lines if line.startswith(b"verify of source")], [
                    b"verify of source file %d of 60 of sequence #2 (f_%02d.dpx) ok." % (n, n) for n in range(1, 61)])
                self.assertEqual([line for line in lines if not known.fullmatch(line)], [])

    def test_output_that_lands_in_the_copy_is_never_verified(self):
        self.write("d/clip.mov", b"")
        self.assertEqual(self.shell(">d/clip.mov", "-v", "clip.mov", "d/"), 107)
        self.assertEqual(self.shell(">d/clip.mov", "-v", "-f", "clip.mov", "d/"), 109)
        self.assert_no_hash_lists()

    def test_output_that_lands_in_the_list_is_replaced(self):
        os.makedirs(self.path("d/sha1"))
        self.assertEqual(self.shell(">d/sha1/clip.mov.sha1", "-v", "clip.mov", "d/"), 0)
        self.assert_checks("d/sha1/clip.mov.sha1")

    def test_output_file_that_may_not_grow(self):
        self.write("output", b"x" * 100000)
        with open(self.path("output"), "ab") as output:
            limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))
            self.write("short.mov", pattern(99999))
            process = self.start("-v", "short.mov", "d/", stdout=output, preexec_fn=limit)
            self.assertEqual(process.wait(timeout=LONGEST_RUN), 0)
        self.assertEqual(self.read("output"), b"x" * 100000)
        self.assert_copies(["short.mov"], "d")
        self.assert_checks("d/sha1/short.mov.sha1")


class RefusedTest(StarvationTest):
    """Each single thing that a run asks for is refused."""

    def run_refused(self, rule, *arguments):
        # A crash that is caught and comes again would go on for ever, and print for ever.
        def limit():
            resource.setrlimit(resource.RLIMIT_CPU, (60, 60))
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 25, 1 << 25))
        with open(self.path("output"), "wb") as output:
            run = subprocess.run(self.command(*arguments), cwd=self.folder, env=self.environment([rule]),
                                 stdin=subprocess.DEVNULL, stdout=output, stderr=output, preexec_fn=limit,
                                 timeout=LONGEST_RUN)
        return Result(run.returncode, self.read("output"))

    def requests(self, kind, *arguments):
        """How often an undisturbed run asks for it."""
        self.remove_copies()
        self.assert_run(self.run_refused(kind + " 1000000000 1 ENOMEM", *arguments), 0, "")
        return len(self.read("faults.log").splitlines())

    def remove_copies(self):
        for name in ("d", "e", "faults.log"):
            if os.path.isfile(self.path(name)):
                os.remove(self.path(name))
            shutil.rmtree(self.path(name), ignore_errors=True)

    def test_each_thread(self):
        self.write("clip.mov", pattern(2 * BLOCK + 17))
        # Always the reader, the digest thread, one for the other digest, and two writers; how many of them the
        # verification finds ready, and so how many more it asks for, differs from run to run.
        always = 5
        threads = self.requests("thread thread", "clip.mov", "d/", "e/")
        self.assertGreaterEqual(threads, always)
        for nth in range(1, threads + 1):
            with self.subTest(nth):
                self.remove_copies()
                result = self.run_refused("thread thread %d * EAGAIN" % nth, "clip.mov", "d/", "e/")
                if b"!" in self.read("faults.log"):
                    self.assert_run(result, 117, "ERROR: No thread available: Resource temporarily unavailable\n")
                    self.assert_no_hash_lists()
                else:
                    self.assertGreater(nth, always)
                    self.assert_ends_in_order(result, ["clip.mov"], "d", "e")

    def test_each_file(self):
        self.write("clip.mov", pattern(BLOCK + 17))
        for kind in ("openr *", "openw *"):
            files = self.requests(kind, "clip.mov", "d/")
            # Opened for reading: the source twice, the copy and folders; for writing: the copy and the list.
            self.assertGreaterEqual(files, 2)
            for nth in range(1, files + 1):
                for count in ("1", "*"):
                    with self.subTest(kind=kind, nth=nth, count=count):
                        self.remove_copies()
                        result = self.run_refused("%s %d %s EMFILE" % (kind, nth, count), "clip.mov", "d/")
                        self.assert_ends_in_order(result, ["clip.mov"], "d")

    def test_memory(self):
        # Under a sanitizer only the blocks of the copy and of the verification can be refused.
        kind = "memory " + ("mmap" if SANITIZERS else "*")
        self.write("clip.mov", b"movie")
        requests = self.requests(kind, "clip.mov", "d/")
        self.assertGreaterEqual(requests, 3)
        # Most of them are the digest library's, when it begins: of these some stand for all.
        middle = range(50, requests - 100, max(1, requests // 150))
        cases = [*range(1, min(50, requests + 1)), *middle, *range(max(50, requests - 100), requests + 1)]
        statuses = set()
        for nth in share(cases, 5):
            for count in ("1", "*"):
                with self.subTest(nth=nth, count=count):
                    self.remove_copies()
                    result = self.run_refused("%s %d %s ENOMEM" % (kind, nth, count), "clip.mov", "d/")
                    self.assert_ends_in_order(result, ["clip.mov"], "d")
                    statuses.add(result.status)
        self.assertIn(117, statuses, "no memory was refused")


class FileSizeLimitTest(StarvationTest):
    def test_list_longer_than_any_file_may_be(self):
        self.write_frames("f_%02d.dpx", range(1, 11), 50)
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (300, 300))
        result = self.run_tool("-s", "f_1-10##.dpx", "d/", preexec_fn=limit)
        self.assert_run(result, 115, "ERROR: couldn't write hash file to d/sha1/f_1-10##.dpx.sha1\n"
                        "ERROR: Can't write hash file (d/sha1/f_1-10##.dpx.sha1).\n")
        self.assertEqual(self.tree("d/sha1"), {})

    def test_file_as_long_as_it_may_be(self):
        self.write("clip.mov", pattern(BLOCK + 17))
        for size, status in ((BLOCK + 17, 0), (BLOCK + 16, 211), (1, 211)):
            with self.subTest(size):
                limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
                result = self.run_tool("-f", "-o", "0", "clip.mov", "d/", preexec_fn=limit)
                self.assert_run(result, status, "" if status == 0 else
                                "ERROR: unexpected EFBIG during write: File too large\nERROR: failed writing to d/\n")


# A sanitizer's runtime needs much address space, threads and files of its own, and can't do with less. There,
# RefusedTest shows the same with single requests of the program.
if not SANITIZERS:
    class ProcessLimitTest(StarvationTest):
        def starts(self, limit):
            return subprocess.run([RVXCOPY], preexec_fn=limit, env=self.environment(), stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL).returncode == 100

        def test_too_few_open_files(self):
            self.write("clip.mov", pattern(BLOCK + 17))
            os.makedirs(self.path("there/sha1"))
            statuses = set()
            for files in range(3, 20):
                limit = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (files, files))
                if not self.starts(limit):
                    continue  # its libraries can't be loaded
                for folder in ("d%d" % files, "there"):
                    with self.subTest(files=files, folder=folder):
                        result = self.run_tool("-f", "clip.mov", folder + "/", preexec_fn=limit)
                        self.assert_ends_in_order(result, ["clip.mov"], folder)
                        statuses.add(result.status)
            self.assertIn(0, statuses)
            self.assertGreater(len(statuses), 1, "no limit was too low")

        def test_more_destinations_than_open_files(self):
            self.write("clip.mov", b"movie")
            limit = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))
            result = self.run_tool("clip.mov", *["d%d/" % k for k in range(100)], preexec_fn=limit)
            self.assertRegex(result.output, rb"\AERROR: can't open destination file \(#[4-6]\d\) \(201i\)\Z")
            self.assertEqual(result.status, 201)
            self.assert_no_hash_lists()

        def test_address_space(self):
            self.write("clip.mov", pattern(2 * BLOCK + 17))
            least = MIB
            while not self.starts(lambda: resource.setrlimit(resource.RLIMIT_AS, (least, least))):
                least += MIB // 4
            statuses = set()
            sizes = [*range(least, least + 4 * MIB, MIB // 16), *range(least + 4 * MIB, least + 250 * MIB, 2 * MIB)]
            for size in share(sizes, 5):
                with self.subTest(size):
                    shutil.rmtree(self.path("d"), ignore_errors=True)
                    limit = lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size))
                    result = self.run_tool("clip.mov", "d/", preexec_fn=limit)
                    self.assert_ends_in_order(result, ["clip.mov"], "d")
                    statuses.add(result.status)
            self.assertEqual(statuses, {0, 117})

        def test_processes_of_a_user(self):
            if os.geteuid() != 0:
                self.skipTest("to run as another user needs root")
            # A user who runs nothing else, nor in other runs of this test: the limit counts all of a user's threads.
            nobody_else = (1 << 24) + os.getpid()
            self.write("clip.mov", pattern(2 * BLOCK + 17))
            os.chmod(self.folder, 0o755)
            program = shutil.copy(RVXCOPY, self.path("program"))
            results = []
            while not results or results[-1].status == 117:
                folder = "d%d" % len(results)
                os.makedirs(self.path(folder))
                os.chmod(self.path(folder), 0o777)
                limit = lambda: resource.setrlimit(resource.RLIMIT_NPROC, (len(results), len(results)))
                run = subprocess.run([program, "clip.mov", folder + "/"], cwd=self.folder, env=self.environment(),
                                     user=nobody_else, group=nobody_else, extra_groups=[], preexec_fn=limit,
                                     stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                     timeout=LONGEST_RUN)
                results.append(Result(run.returncode, run.stdout))
                self.assert_ends_in_order(results[-1], ["clip.mov"], folder)
            self.assertGreater(len(results), 4, "no limit was too low")


if __name__ == "__main__":
    main()
