"""Wrong arguments beside those of the stored runs, and how a run is set up: its output, signals, digests and threads."""

import fcntl
import os
import signal
import subprocess

from output_texts import USAGE
from support import ProcessTest, await_asleep, main

WRONG_DEPTH = "ERROR: Wrong arguments - -p must be followed by a number between 0 and 6.\n"
WRONG_HASH_TYPE = "ERROR: Wrong arguments - -t must be followed by md5 or sha1.\n"
MISSING_LIST_VALUE = "ERROR: Wrong arguments - -o needs to be followed by 0 (false) or 1 (true)\n"
NOT_THERE = "ERROR: Source path %s does not exist.\n"
NO_FILE = "ERROR: Source path %s is not a file.\n"


class WrongArgumentsTest(ProcessTest):
    def assert_refused(self, status, error, *arguments):
        before = self.tree(".")
        with self.subTest(arguments):
            self.assert_run(self.run_tool(*arguments), status, error.encode() + b"\n" + USAGE)
            self.assertEqual(self.tree("."), before, "nothing was created")

    def test_values_of_options(self):
        self.write("clip.mov", b"movie")
        for value in ("-1", "12", "99999999999999999999", "-99999999999999999999", "4294967296"):
            self.assert_refused(106, WRONG_DEPTH, "clip.mov", "d/", "-p", value)
        for value in ("MD5", "Md5", "sha256", "", " md5", "md5 ", "sha-1", "-v"):
            self.assert_refused(108, WRONG_HASH_TYPE, "clip.mov", "d/", "-t", value)
        self.assert_refused(108, WRONG_HASH_TYPE, "clip.mov", "d/", "-t")

    def test_the_first_wrong_option_decides_and_comes_before_a_missing_source(self):
        self.assert_refused(108, WRONG_HASH_TYPE, "-t", "x", "-p", "9")
        self.assert_refused(106, WRONG_DEPTH, "-v", "-p")
        self.assert_refused(108, WRONG_HASH_TYPE, "-v", "-t")
        self.assert_refused(109, MISSING_LIST_VALUE, "-v", "-o")

    def test_sources(self):
        os.makedirs(self.path("card/f_01.dpx"))
        os.symlink("card", self.path("link"))
        self.assert_refused(104, NOT_THERE % "%s%n%99999999d", "%s%n%99999999d", "d/")
        self.assert_refused(104, NO_FILE % "link/", "link/", "d/")
        self.assert_refused(104, NO_FILE % "card/f_01.dpx", "-s", "card/f_1-2##.dpx", "d/")


class ProcessSetUpTest(ProcessTest):
    def test_a_signal_is_reported_where_standard_output_is_full_and_does_not_block(self):
        self.write("clip.mov", b"movie")
        reading, writing = os.pipe()
        size = fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        os.set_blocking(writing, False)
        os.write(writing, b"." * size)
        process = subprocess.Popen(self.command("clip.mov", "d/"), cwd=self.folder, stdout=writing,
                                   env=self.environment(["write d/clip.mov 1 1 signal=%d" % signal.SIGSEGV]))
        os.close(writing)
        await_asleep(process)  # the report has found the pipe full
        with open(reading, "rb") as pipe:
            output = pipe.read()
        self.assertEqual(process.wait(), 0)
        self.assertTrue(output[size:].startswith(b"Received signal: SIGSEGV"), output[size:])

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


if __name__ == "__main__":
    main()
