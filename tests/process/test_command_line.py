import fcntl
import os
import signal
import re
import subprocess
import time

from output_texts import USAGE
from support import ProcessTest, main


class CommandLineTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", b"movie")

    def assert_refused(self, status, error, *arguments):
        self.assert_run(self.run_tool(*arguments), status, error.encode() + b"\n" + USAGE)
        self.assertEqual(os.listdir(self.folder), ["clip.mov"], "nothing was created")

    def assert_header_and_usage(self, result):
        self.assertEqual(result.status, 100)
        lines = result.output.split(b"\n", 2)
        self.assertEqual(lines[0], b"rvxcopy")
        self.assertTrue(lines[1].startswith(b"Secure Copy and Verify of movies and image sequences"), lines[1])
        self.assertEqual(lines[2], b"\n" + USAGE)

    def test_no_argument_ends_with_100(self):
        self.assert_header_and_usage(self.run_tool())

    def test_one_argument_ends_with_100(self):
        self.assert_header_and_usage(self.run_tool("a"))

    def test_only_options_end_with_102(self):
        self.assert_refused(102, "ERROR: Wrong arguments - missing source movie or sequence.\n", "-v", "-s")

    def test_no_destination_ends_with_103(self):
        self.assert_refused(103, "ERROR: Wrong arguments - missing destination path.\n", "-v", "clip.mov")

    def test_missing_source_ends_with_104(self):
        self.assert_refused(104, "ERROR: Source path none.mov does not exist.\n", "none.mov", "d/")

    def test_source_folder_ends_with_104(self):
        self.assert_refused(104, "ERROR: Source path /usr is not a file.\n", "/usr", "d/")

    def test_missing_first_frame_ends_with_104_and_is_named(self):
        self.assert_refused(104, "ERROR: Source path a/clip_0007.dpx does not exist.\n",
                            "-s", "a/clip_7-9####.dpx", "d/")

    def test_sequence_that_runs_backwards_has_no_first_frame(self):
        self.assert_refused(104, "ERROR: framenumber not in range of sequence.\n"
                            "ERROR: Source path (null) does not exist.\n", "-s", "clip_7-3####.tif", "d/")

    def test_percent_in_an_argument_is_printed_as_it_is(self):
        self.assert_refused(104, "ERROR: Source path %s%n%99999999d does not exist.\n", "%s%n%99999999d", "d/")

    def test_depth_out_of_range_ends_with_106(self):
        error = "ERROR: Wrong arguments - -p must be followed by a number between 0 and 6.\n"
        for value in ("7", "-1", "99999999999999999999", "-99999999999999999999"):
            with self.subTest(value):
                self.assert_refused(106, error, "clip.mov", "d/", "-p", value)

    def test_missing_depth_ends_with_106(self):
        self.assert_refused(106, "ERROR: Wrong arguments - -p must be followed by a number between 0 and 6.\n",
                            "clip.mov", "d/", "-p")

    def test_wrong_hash_type_ends_with_108(self):
        error = "ERROR: Wrong arguments - -t must be followed by md5 or sha1.\n"
        for value in ("SHA1", "md5 ", "", "sha256"):
            with self.subTest(value):
                self.assert_refused(108, error, "clip.mov", "d/", "-t", value)

    def test_missing_hash_type_ends_with_108(self):
        self.assert_refused(108, "ERROR: Wrong arguments - -t must be followed by md5 or sha1.\n",
                            "clip.mov", "d/", "-t")

    def test_missing_hash_list_value_ends_with_109(self):
        self.assert_refused(109, "ERROR: Wrong arguments - -o needs to be followed by 0 (false) or 1 (true)\n",
                            "clip.mov", "d/", "-o")

    def test_identifier_without_hashes_ends_with_113(self):
        self.assert_refused(113, "ERROR: Wrong arguments - missing hashes in identifier.\n"
                            "ERROR: Can't parse sequence identifier.\n", "-s", "clip.mov", "d/")

    def test_the_first_wrong_option_decides(self):
        self.assert_refused(108, "ERROR: Wrong arguments - -t must be followed by md5 or sha1.\n",
                            "-t", "x", "-p", "9")

    def test_depth_that_is_no_number_is_0(self):
        self.write("a/b/clip.mov", b"deep")
        self.assert_run(self.run_tool("-p", "abc", "a/b/clip.mov", "d/"), 0, "")
        self.assertEqual(self.read("d/clip.mov"), b"deep")

    def test_value_of_hash_list_option_is_lenient(self):
        for value, writes in (("2", True), ("1x", True), (" -3", True), ("99999999999999", True), ("0", False),
                              ("false", False), ("", False)):
            with self.subTest(value):
                self.assert_run(self.run_tool("-f", "-o", value, "clip.mov", "d%s/" % value), 0, "")
                self.assertEqual(os.path.exists(self.path("d%s/sha1/clip.mov.sha1" % value)), writes)

    def test_last_occurrence_of_an_option_wins(self):
        self.assert_run(self.run_tool("-t", "md5", "-o", "0", "clip.mov", "-t", "sha1", "d/", "-o", "1"), 0, "")
        self.assertEqual(sorted(self.tree("d")), ["clip.mov", "sha1", "sha1/clip.mov.sha1"])

    def test_options_match_by_prefix(self):
        result = self.run_tool("-nx", "-verbose", "clip.mov", "d/")
        self.assert_run(result, 0, "INFO: copying ...\nINFO: copied 0 of 5 bytes\n"
                        "Copy completed successfully for destination file (d/clip.mov)\n")

    def test_path_that_begins_with_an_option_is_that_option(self):
        self.write("-video.mov", b"video")
        self.assert_run(self.run_tool("-video.mov", "d/"), 103,
                        b"ERROR: Wrong arguments - missing destination path.\n\n" + USAGE)
        self.assert_run(self.run_tool("./-video.mov", "d/"), 0, "")
        self.assertEqual(self.read("d/-video.mov"), b"video")

    def test_short_options_are_not_combined(self):
        self.assert_refused(103, "ERROR: Wrong arguments - missing destination path.\n", "-vs", "clip.mov")

    def test_two_hyphens_are_an_argument(self):
        self.assert_refused(104, "ERROR: Source path -- does not exist.\n", "--", "clip.mov")

    def test_unknown_option_is_an_argument(self):
        self.assert_refused(104, "ERROR: Source path -x does not exist.\n", "-x", "clip.mov")

    def test_link_to_a_folder_passes_the_source_check(self):
        os.symlink("/usr", self.path("link"))
        self.assert_run(self.run_tool("link", "d/"), 0, "")
        self.assertEqual(os.readlink(self.path("d/link")), "/usr")


class ProcessSetUpTest(ProcessTest):
    def test_every_line_is_delivered_at_once_through_a_pipe(self):
        self.write("clip.mov", b"x" * 3000000)
        # The first write of the destination holds the run until the test has read the first line.
        os.mkfifo(self.path("gate"))
        gate = self.script("wait", "read line < gate")
        process = subprocess.Popen(self.command("-v", "clip.mov", "d/"), cwd=self.folder,
                                   env=self.environment(["write d/clip.mov 1 1 run=" + gate]),
                                   stdout=subprocess.PIPE)
        self.assertEqual(process.stdout.readline(), b"INFO: copying ...\n")
        self.assertEqual(process.stdout.readline(), b"INFO: copied 0 of 3000000 bytes\n")
        self.write("gate", b"go\n")
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, 0)

    def test_no_line_is_lost_where_standard_output_does_not_block(self):
        self.write_frames("f_%02d.dpx", range(1, 61))
        reading, writing = os.pipe()
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        os.set_blocking(writing, False)
        process = subprocess.Popen(self.command("-v", "-s", "f_1-60##.dpx", "d/"), cwd=self.folder,
                                   env=self.environment(), stdout=writing)
        os.close(writing)
        time.sleep(0.5)  # a reader that comes late: the pipe is full by then
        with open(reading, "rb") as pipe:
            lines = pipe.read().split(b"\n")
        self.assertEqual(process.wait(), 0)
        self.assertEqual([line for line in lines if line.startswith(b"verify of source")], [
            b"verify of source file %d of 60 of sequence #2 (f_%02d.dpx) ok." % (n, n) for n in range(1, 61)])
        known = re.compile(rb"(INFO: (copying \.\.\.|copied|verifying|verified)|hash (SHA1|MD5):|verify of ).*|")
        self.assertEqual([line for line in lines if not known.fullmatch(line)], [])

    def run_with_signal(self, number):
        self.write("clip.mov", b"x" * 3000000)
        return self.run_tool("-f", "clip.mov", "d/", faults=["write d/clip.mov 1 1 signal=%d" % number])

    def test_a_signal_is_reported_and_the_run_goes_on(self):
        for number in (signal.SIGSEGV, signal.SIGFPE, signal.SIGABRT):
            with self.subTest(number.name):
                result = self.run_with_signal(number)
                self.assertEqual(result.status, 0)
                name = ("Received signal: " + number.name).encode()
                self.assertTrue(result.output.startswith(name), result.output)
                self.assertIn(b"rvxcopy(", result.output[len(name):])
                self.assertNotIn(b"\n", result.output)
                self.assertEqual(self.read("d/clip.mov"), b"x" * 3000000)

    def test_a_signal_is_reported_where_standard_output_is_full_and_does_not_block(self):
        self.write("clip.mov", b"movie")
        reading, writing = os.pipe()
        size = fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        os.set_blocking(writing, False)
        os.write(writing, b"." * size)
        os.mkfifo(self.path("gate"))
        faults = ["write d/clip.mov 1 1 run=" + self.script("tell", "echo now > gate"),
                  "write d/clip.mov 1 1 signal=%d" % signal.SIGSEGV]
        process = subprocess.Popen(self.command("clip.mov", "d/"), cwd=self.folder, env=self.environment(faults),
                                   stdout=writing)
        os.close(writing)
        self.assertEqual(self.read("gate"), b"now\n")
        time.sleep(0.5)  # the report finds the pipe full before it is read
        with open(reading, "rb") as pipe:
            output = pipe.read()
        self.assertEqual(process.wait(), 0)
        self.assertTrue(output[size:].startswith(b"Received signal: SIGSEGV"), output[size:])

    def test_kill_can_not_be_caught(self):
        self.assertEqual(self.run_with_signal(signal.SIGKILL).status, -9)

    def test_closed_standard_output_never_ends_up_in_a_copy(self):
        self.write("clip.mov", b"movie")
        subprocess.run(["sh", "-c", 'exec "$@" >&- 2>&- <&-', "sh"] + self.command("-v", "clip.mov", "d/", "e/"),
                       cwd=self.folder, env=self.environment(), check=True, timeout=60)
        self.assertEqual(self.read("d/clip.mov"), b"movie")
        self.assertEqual(self.read("e/clip.mov"), b"movie")
        self.assertEqual(self.read("clip.mov"), b"movie")

    def test_a_refused_digest_ends_the_run_before_anything_is_copied(self):
        self.write("clip.mov", b"movie")
        for algorithm, name in (("MD5", "MD5"), ("SHA1", "SHA-1")):
            with self.subTest(name):
                result = self.run_tool("clip.mov", "d/", faults=["digest %s 1 * EPERM" % algorithm])
                self.assertEqual(result.status, 117)
                self.assertRegex(result.output, rb"\AERROR: No %s digest available: [^\n]+\n\Z" % name.encode())
                self.assertFalse(os.path.exists(self.path("d")))

    def test_without_verification_no_digest_is_needed(self):
        self.write("clip.mov", b"movie")
        # The interruption, which changes nothing, is the fault that happens.
        result = self.run_tool("-n", "clip.mov", "d/", faults=["digest * 1 * EPERM", "openr clip.mov 1 1 EINTR"])
        self.assert_run(result, 0, "Copy completed successfully for destination file (d/clip.mov)\n")

    def test_configuration_of_the_digest_library_is_not_read(self):
        self.write("clip.mov", b"movie")
        # One that would leave the library without its default algorithms.
        self.write("openssl.cnf", b"openssl_conf = a\n[a]\nproviders = b\n[b]\nnull = c\n[c]\nactivate = 1\n")
        result = self.run_tool("clip.mov", "d/", variables={"OPENSSL_CONF": self.path("openssl.cnf")})
        self.assert_run(result, 0, "")
        self.assert_checks("d/sha1/clip.mov.sha1")

    def test_threads_that_can_not_be_had_end_the_run(self):
        self.write("clip.mov", b"x" * 3000000)
        result = self.run_tool("clip.mov", "d/", faults=["thread thread 3 * EAGAIN"])
        self.assert_run(result, 117, "ERROR: No thread available: Resource temporarily unavailable\n")


if __name__ == "__main__":
    main()
