"""Killed, stopped, without its output, and without what every program needs: the copies are right or not claimed."""

import os
import random
import resource
import shutil
import signal
import subprocess
import time

from storage import MIB
from support import BLOCK, LONGEST_RUN, RVXCOPY, SANITIZERS, ProcessTest, Result, coreutils_digest, main, pattern

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
    """At random moments of a run. RVX_SEED repeats the moments that a failure names."""

    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("RVX_SEED", time.time_ns() % 1000000))
        self.chance = random.Random(self.seed)
        self.names = ["f_%02d.dpx" % number for number in range(1, 21)]
        self.write_frames("f_%02d.dpx", range(1, 21), 300000)
        self.write("d/neighbour.txt", b"somebody else's")
        self.before = {name: self.read(name) for name in self.names}
        begun = time.monotonic()
        self.assert_run(self.run_tool("-s", "f_1-20##.dpx", "d/", "e/"), 0, "")
        self.whole_run = time.monotonic() - begun

    def assert_nothing_else_was_touched(self):
        self.assertEqual({name: self.read(name) for name in self.names}, self.before)
        self.assertEqual(self.read("d/neighbour.txt"), b"somebody else's")

    def test_a_run_that_is_ended_leaves_no_wrong_list(self):
        signals = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGKILL)
        ended = 0
        for attempt in range(60):
            number = signals[attempt % len(signals)]
            with self.subTest(seed=self.seed, attempt=attempt, signal=number.name):
                shutil.rmtree(self.path("e"), ignore_errors=True)
                shutil.rmtree(self.path("d/sha1"), ignore_errors=True)
                process = self.start("-f", "-s", "f_1-20##.dpx", "d/", "e/")
                time.sleep(self.chance.uniform(0, self.whole_run))
                process.send_signal(number)
                status = process.wait(timeout=LONGEST_RUN)
                self.assertIn(status, (0, -number))
                ended += status != 0
                self.assert_nothing_else_was_touched()
                for folder in ("d", "e"):
                    self.assert_whole_list_or_none(folder + "/sha1/f_1-20##.dpx.sha1", self.names)
        self.assertGreater(ended, 10, "the signals came too late to show anything")

    def test_a_run_that_is_stopped_goes_on_where_it_was(self):
        undisturbed = [line for line in self.run_tool("-f", "-v", "-s", "f_1-20##.dpx", "d/").output.splitlines()
                       if line.startswith((b"hash ", b"verify of ", b"INFO: verifying ", b"INFO: copying "))]
        self.assertEqual(len(undisturbed), 1 + 20 * 2 + 2 + 20 * 2)
        for attempt in range(10):
            with self.subTest(seed=self.seed, attempt=attempt):
                shutil.rmtree(self.path("e"), ignore_errors=True)
                process = self.start("-v", "-s", "f_1-20##.dpx", "e/", stdout=subprocess.PIPE)
                for _ in range(4):
                    time.sleep(self.chance.uniform(0, self.whole_run / 4))
                    process.send_signal(signal.SIGSTOP)
                    time.sleep(self.chance.uniform(0, 0.05))
                    process.send_signal(signal.SIGCONT)
                output, _ = process.communicate(timeout=LONGEST_RUN)
                self.assertEqual(process.returncode, 0)
                lines = [line.replace(b" e", b" d").replace(b"(e/", b"(d/") for line in output.splitlines()]
                progress = (b"INFO: copied ", b"INFO: verified ")
                self.assertEqual([line for line in lines if not line.startswith(progress)], undisturbed)
                self.assert_copies(self.names, "e")
                self.assert_checks("e/sha1/f_1-20##.dpx.sha1")
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
        for number, redirection in enumerate((">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">/dev/full", "1</dev/null")):
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

    def test_slow_reader_misses_nothing(self):
        folder = "folder" * 40
        self.write_frames(folder + "/f_%02d.dpx", range(1, 31))
        expected = [line for line in self.run_tool("-v", "-s", folder + "/f_1-30##.dpx", "d/").output.splitlines()
                    if line.startswith((b"hash ", b"verify of "))]
        self.assertEqual(len(expected), 30 * 4)
        # More than a pipe holds (65,536 bytes): the run has to wait for its reader.
        process = self.start("-v", "-s", folder + "/f_1-30##.dpx", *["e%d/" % k for k in range(30)], bufsize=0,
                             stdout=subprocess.PIPE)
        taken = b""
        while piece := process.stdout.read(5000):
            taken += piece
            time.sleep(0.01)
        process.stdout.close()
        self.assertEqual(process.wait(timeout=LONGEST_RUN), 0)
        self.assertGreater(len(taken), 65536, "the pipe was never full")
        lines = taken.splitlines()
        self.assertEqual([line for line in lines if line.startswith(b"hash ")],
                         [line for line in expected if line.startswith(b"hash ")])
        results = ["verify of %s file %d of 30 of sequence #%d (%s/f_%02d.dpx) ok." % (label, i, place, where, i)
                   for i in range(1, 31) for label, place, where in
                   [("destination", k + 1, "e%d" % k) for k in range(30)] + [("source", 31, folder)]]
        self.assertEqual([line.decode() for line in lines if line.startswith(b"verify of ")], results)

    def test_reader_that_pauses_is_waited_for(self):
        self.write_frames("f_%03d.dpx", range(1, 101))
        reading, writing = os.pipe()
        os.write(writing, b"." * 65536)  # full before the run begins
        process = self.start("-v", "-s", "f_1-100###.dpx", "d/", stdout=writing)
        os.close(writing)
        time.sleep(0.5)
        self.assertIsNone(process.poll(), "it goes on without its reader")
        with open(reading, "rb") as pipe:
            lines = pipe.read()[65536:].splitlines()
        self.assertEqual(process.wait(timeout=LONGEST_RUN), 0)
        self.assertEqual(lines[0], b"INFO: copying ...")
        self.assertEqual(lines[-1], b"verify of source file 100 of 100 of sequence #2 (f_100.dpx) ok.")

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
        statuses = set()
        for nth in [*range(1, min(50, requests + 1)), *middle, *range(max(50, requests - 100), requests + 1)]:
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
            for files in range(3, 33):
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
            for size in [*range(least, least + 4 * MIB, MIB // 16), *range(least + 4 * MIB, least + 250 * MIB, MIB)]:
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
            nobody_else = 54321  # a user who runs nothing else: the limit counts all of a user's threads
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
