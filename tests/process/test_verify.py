import hashlib
import os
import time

from support import CHUNK, ProcessTest, coreutils_digest, main, pattern


class WrongHashTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", pattern(CHUNK + 1234))
        self.digest = coreutils_digest("sha1sum", self.path("clip.mov"))

    def flipping(self, name, offset):
        """A fault that changes one byte of a file at the moment when it is opened for its verification."""
        flip = self.script("flip", "printf '\\377' | dd of='%s' bs=1 seek=%d conv=notrunc status=none" % (name, offset))
        return "lstat %s 1 1 run=%s" % (name, flip)

    def wrong(self, name):
        return "INFO: expected hash: %s but got hash: %s.\n" % (
            self.digest, coreutils_digest("sha1sum", self.path(name)))

    def test_changed_copy_ends_with_109_and_names_the_destination(self):
        for offset in (0, CHUNK - 1, CHUNK, CHUNK + 1233):
            with self.subTest(offset):
                result = self.run_tool("-f", "clip.mov", "d1/", "d2/", faults=[self.flipping("d2/clip.mov", offset)])
                self.assert_run(result, 109, self.wrong("d2/clip.mov") +
                                "ERROR: verify of destination file #2 (d2/clip.mov) failed, wrong hash.\n")
                self.assert_no_hash_lists()

    def test_copy_that_lost_a_write_is_a_wrong_hash(self):
        result = self.run_tool("clip.mov", "d1/", faults=["write d1/clip.mov 2 1 lie"])
        self.assert_run(result, 109, self.wrong("d1/clip.mov") +
                        "ERROR: verify of destination file #1 (d1/clip.mov) failed, wrong hash.\n")

    def test_copy_that_can_not_be_examined_is_not_read_instead(self):
        # Read through, the link would be a file without an end.
        os.symlink("/dev/zero", self.path("link"))
        digest = hashlib.sha1(b"/dev/zero").hexdigest()
        result = self.run_tool("link", "d/", faults=["lstat d/link 2 1 EIO"])
        self.assert_run(result, 109, "INFO: expected hash: %s but got hash: (null).\n"
                        "ERROR: verify of destination file #1 (d/link) failed, wrong hash.\n" % digest)


class SideBySideTest(ProcessTest):
    def test_all_copies_are_read_at_the_same_time(self):
        self.write("clip.mov", b"movie")
        folders = ["d%d" % number for number in range(1, 6)]
        # The reader of each copy waits until all are about to read.
        meet = self.script("meet", """mktemp here.XXXXXX
            for attempt in $(seq 600); do
              [ "$(ls here.* | wc -l)" = %d ] && exit
              sleep 0.05
            done
            touch missed""" % len(folders))
        result = self.run_tool("clip.mov", *(folder + "/" for folder in folders),
                               faults=["read %s/clip.mov 1 1 run=%s" % (folder, meet) for folder in folders])
        self.assertFalse(os.path.exists(self.path("missed")))
        self.assertEqual(result.status, 0)


class ReadFailureTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", pattern(2 * CHUNK + 100))
        self.digest = coreutils_digest("sha1sum", self.path("clip.mov"))

    @staticmethod
    def first_lines(position, path="d/clip.mov"):
        return ("ERROR: unexpected EIO during read: Input/output error at position:%d\n"
                "ERROR: failed reading from %s\n" % (position, path))

    def test_every_chunk_may_fail_once(self):
        result = self.run_tool("clip.mov", "d/", faults=["read d/clip.mov %d 1 EIO" % nth for nth in (1, 3, 5)])
        self.assert_run(result, 0, "".join(map(self.first_lines, (0, CHUNK, 2 * CHUNK))))

    def test_file_that_ends_with_a_full_chunk_is_read_once_more(self):
        self.write("clip.mov", pattern(CHUNK))
        result = self.run_tool("clip.mov", "d/", faults=["read d/clip.mov 2 1 EIO"])
        self.assert_run(result, 0, self.first_lines(CHUNK))
        self.assert_checks("d/sha1/clip.mov.sha1")

    def test_second_failure_ends_with_109_and_names_the_first(self):
        result = self.run_tool("clip.mov", "d/", faults=["read d/clip.mov 2 1 EIO", "read d/clip.mov 3 1 EBADF"])
        self.assert_run(result, 109, self.first_lines(CHUNK) +
                        "ERROR: again unexpected EIO during read: Input/output error\n"
                        "ERROR: again failed reading from d/clip.mov\n")
        self.assert_no_hash_lists()

    def test_path_that_is_not_ascii_prints_as_null_the_second_time_too(self):
        result = self.run_tool("clip.mov", "d\u00e9/", faults=["read d\u00e9/clip.mov 1 2 EIO"])
        self.assert_run(result, 109, self.first_lines(0, "(null)") +
                        "ERROR: again unexpected EIO during read: Input/output error\n"
                        "ERROR: again failed reading from (null)\n")


class ProgressTest(ProcessTest):
    def test_lines_come_at_most_twice_a_second(self):
        self.write("clip.mov", pattern(7 * CHUNK + 5))
        pause = self.script("pause", "sleep 0.1")
        begun = time.monotonic()
        result = self.run_tool("-v", "clip.mov", "d/", faults=["write d/clip.mov 2 7 run=" + pause,
                                                               "read d/clip.mov 1 7 run=" + pause])
        most = (time.monotonic() - begun) / 0.5
        lines = result.output.decode().splitlines()
        self.assertLessEqual(len([line for line in lines if line.startswith("INFO: copied ")]) - 1, most)
        for folder in ("d", ""):
            verified = [line for line in lines if line.endswith(" of path " + folder)]
            self.assertEqual(verified[-1], "INFO: verified 29360133 of 29360133 bytes of path " + folder)
            self.assertLessEqual(len(verified) - 1, most)


if __name__ == "__main__":
    main()
