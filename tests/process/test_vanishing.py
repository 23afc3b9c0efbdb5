"""What a run works on goes away, changes or is replaced while it works."""

import hashlib
import os
import shutil
import signal
import subprocess

from storage import StorageTest, run
from support import BLOCK, LONGEST_RUN, coreutils_digest, main, pattern


class VanishingTest(StorageTest):
    def setUp(self):
        super().setUp()
        # More blocks than are held in memory: the source is still read when the first of them is written.
        self.write("reel/clip.mov", pattern(12 * BLOCK + 17))
        self.digest = coreutils_digest("sha1sum", self.path("reel/clip.mov"))

    def run_with(self, moment, action, *destinations):
        """With a script that is run at a moment."""
        script = self.script("act", action)
        return self.run_tool("reel/clip.mov", *destinations, faults=["%s run=%s" % (moment, script)])

    def assert_wrong(self, result, label, number, path, found="(null)"):
        self.assert_run(result, 109, "INFO: expected hash: %s but got hash: %s.\n"
                        "ERROR: verify of %s file #%d (%s) failed, wrong hash.\n" % (
                            self.digest, found, label, number, path))
        self.assert_no_hash_lists()

    def assert_write_failure(self, result, name, reason, folder):
        self.assert_run(result, 211, "ERROR: unexpected %s during write: %s\n"
                        "ERROR: failed writing to %s\n" % (name, reason, folder))
        self.assert_no_hash_lists()


class RemovedTest(VanishingTest):
    WHILE_COPIED = "write d/clip.mov 1 1"

    def test_source(self):
        # It is still open, so that the copy is complete; but it can't be read once more.
        original = self.read("reel/clip.mov")
        for action in ("rm reel/clip.mov", "mv reel away"):
            with self.subTest(action):
                result = self.run_with(self.WHILE_COPIED, action, "d/")
                self.assert_wrong(result, "source", 2, "reel/clip.mov")
                self.assertEqual(self.read("d/clip.mov"), original)
                os.remove(self.path("d/clip.mov"))
                self.write("reel/clip.mov", original)

    def test_copy(self):
        result = self.run_with(self.WHILE_COPIED, "rm d/clip.mov", "d/", "e/")
        self.assert_wrong(result, "destination", 1, "d/clip.mov")

    def test_destination_folder(self):
        result = self.run_with(self.WHILE_COPIED, "mv d away", "e/", "d/")
        self.assert_write_failure(result, "ENOENT", "No such file or directory", "d/")

    def test_destination_folder_before_its_list_is_written(self):
        # The list would be alone in a new folder: it is only written where the copies are.
        result = self.run_with("stat d/sha1 1 1", "mv d away", "d/")
        self.assert_run(result, 114, "ERROR: Can't create folder for hashes (d/sha1).\n")
        self.assertEqual(sorted(self.tree("away")), ["clip.mov"])
        self.assertFalse(os.path.exists(self.path("d")))


class UnmountedTest(VanishingTest):
    def test_destination(self):
        self.tmpfs("disk", 64)
        result = self.run_with("write d/clip.mov 1 1", "umount -l disk", "disk/d/")
        self.assert_write_failure(result, "ENOENT", "No such file or directory", "disk/d/")
        self.assertEqual(self.tree("disk"), {})

    def test_source(self):
        self.tmpfs("disk", 64)
        os.rename(self.path("reel/clip.mov"), self.path("clip.mov"))
        run("mv", self.path("clip.mov"), self.path("disk/clip.mov"))
        leave = self.script("leave", "umount -l disk")
        result = self.run_tool("disk/clip.mov", "d/", faults=["write d/clip.mov 1 1 run=" + leave])
        self.assert_wrong(result, "source", 2, "disk/clip.mov")
        self.assertEqual(coreutils_digest("sha1sum", self.path("d/clip.mov")), self.digest)

    def test_destination_that_is_made_read_only_before_its_list_is_written(self):
        self.tmpfs("disk", 64)
        result = self.run_with("mkdir disk/sha1 1 1", "mount -o remount,ro disk", "disk/")
        self.assert_run(result, 114, "ERROR: Can't create folder for hashes (disk/sha1).\n")
        run("mount", "-o", "remount,rw", self.path("disk"))
        os.makedirs(self.path("disk/sha1"))
        os.remove(self.path("disk/clip.mov"))
        result = self.run_with("openw disk/sha1/ 1 1", "mount -o remount,ro disk", "disk/")
        self.assert_run(result, 115, "ERROR: couldn't write hash file to disk/sha1/clip.mov.sha1\n"
                        "ERROR: Can't write hash file (disk/sha1/clip.mov.sha1).\n")
        self.assertEqual(self.tree("disk/sha1"), {})


class KilledServerTest(VanishingTest):
    """A file system whose server dies, as one on a network does. Which error the system then gives, is its affair."""

    KILL = "kill -9 $(cat disk-server)"

    def setUp(self):
        super().setUp()
        self.fuse("disk", "direct_io")

    def test_while_it_is_written_to(self):
        result = self.run_with("write d/clip.mov 2 1", self.KILL, "e/", "disk/d/")
        self.assertEqual(result.status, 211)
        self.assertRegex(result.output.decode(), r"\AERROR: unexpected E[A-Z]+ during write: [^\n]+\n"
                         r"ERROR: failed writing to disk/d/\n\Z")

    def test_while_it_is_read_from(self):
        self.write("disk-below/clip.mov", self.read("reel/clip.mov"))
        result = self.run_tool("disk/clip.mov", "d/", faults=[
            "read disk/clip.mov 3 1 run=" + self.script("act", self.KILL)])
        self.assertEqual(result.status, 220)
        self.assertRegex(result.output.decode(), r"\AERROR: unexpected E[A-Z]+ during read: [^\n]+ "
                         r"of file: disk/clip\.mov at position:\d+\nINFO: file exists:0 volumes: \([^\n]*\)\n"
                         r"ERROR: could not reopen file handle for path: disk/clip\.mov\n\Z")
        self.assert_no_hash_lists()

    def test_while_it_is_read_back(self):
        result = self.run_with("read disk/d/clip.mov 2 1", self.KILL, "disk/d/")
        self.assertEqual(result.status, 109)
        # What can't be opened again counts as ended.
        self.assertRegex(result.output.decode(), r"\AERROR: unexpected E[A-Z]+ during read: [^\n]+ "
                         r"at position:\d+\nERROR: failed reading from disk/d/clip\.mov\n"
                         r"INFO: expected hash: %s but got hash: [0-9a-f]{40}\.\n"
                         r"ERROR: verify of destination file #1 \(disk/d/clip\.mov\) failed, wrong hash\.\n\Z" %
                         self.digest)
        self.assert_no_hash_lists()


class ChangedSizeTest(VanishingTest):
    """A source that changes its size makes the run wait for ever, where the count does not pass the size it had."""

    def assert_waits(self, action, bytes_copied):
        change = self.script("change", action)
        process = subprocess.Popen(self.command("-v", "reel/clip.mov", "d/"), cwd=self.folder, stdout=subprocess.PIPE,
                                   env=self.environment(["write d/clip.mov 1 1 run=" + change]))
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        # Only its output tells that it waits: the count stands still, and is not the size.
        lines = [b"INFO: copied %d of %d bytes\n" % (bytes_copied, 12 * BLOCK + 17)] * 2
        last = []
        for line in process.stdout:
            last = (last + [line])[-2:]
            if last == lines:
                break
            self.assertFalse(line.startswith(b"INFO: verif"), line)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(timeout=LONGEST_RUN), -signal.SIGTERM)
        self.assertEqual(last, lines)
        self.assert_no_hash_lists()

    def test_source_that_grows(self):
        self.assert_waits("printf x%.0s $(seq 1 100) >> reel/clip.mov", 12 * BLOCK + 17 + 100)

    def test_source_that_shrinks(self):
        self.assert_waits("truncate -s %d reel/clip.mov" % (11 * BLOCK + 5), 11 * BLOCK + 5)

    def test_source_that_grows_after_it_was_copied(self):
        change = self.script("change", "printf more >> reel/clip.mov")
        result = self.run_tool("reel/clip.mov", "d/", faults=["lstat d/clip.mov 1 1 run=" + change])
        longer = hashlib.sha1(pattern(12 * BLOCK + 17) + b"more").hexdigest()
        self.assert_wrong(result, "source", 2, "reel/clip.mov", longer)


class GoneWhileReadBackTest(VanishingTest):
    """What was verified is the open file; what is safe is what lies at the path."""

    def test_file_that_is_not_in_its_place_any_more(self):
        # The third read is the verification's last one of the copy. The second moment is that of its last look.
        for moment in ("read d/clip.mov 2 1", "read d/clip.mov 7 1", "lstat d/clip.mov 2 1"):
            for action in ("rm d/clip.mov", "mv d away", "cp d/clip.mov d/new; mv d/new d/clip.mov",
                           "mv d/clip.mov d/new; ln -s new d/clip.mov"):
                with self.subTest(moment=moment, action=action):
                    result = self.run_with(moment, action, "e/", "d/")
                    self.assert_run(result, 109,
                                    "ERROR: verify of destination file #2 (d/clip.mov) failed, wrong hash.\n")
                    self.assert_no_hash_lists()
                    for name in ("d", "e", "away"):
                        shutil.rmtree(self.path(name), ignore_errors=True)

    def test_source(self):
        result = self.run_with("read reel/clip.mov 15 1", "mv reel away", "d/")
        self.assert_run(result, 109, "ERROR: verify of source file #2 (reel/clip.mov) failed, wrong hash.\n")

    def test_link(self):
        os.symlink("target", self.path("link"))
        lose = self.script("lose", "rm d/link")
        result = self.run_tool("link", "d/", faults=["lstat d/link 3 1 run=" + lose])
        self.assert_run(result, 109, "ERROR: verify of destination file #1 (d/link) failed, wrong hash.\n")


class ReplacedTest(VanishingTest):
    WHILE_COPIED = "write d/clip.mov 1 1"
    BEFORE_IT_IS_VERIFIED = "lstat d/clip.mov 1 1"

    def test_copy_by_a_link(self):
        # Also by one to the source: the link itself is what is read back.
        for moment in (self.WHILE_COPIED, self.BEFORE_IT_IS_VERIFIED):
            for target in ("../reel/clip.mov", "nothing", "clip.mov"):
                with self.subTest(moment=moment, target=target):
                    result = self.run_with(moment, "ln -sfn %s d/clip.mov" % target, "d/")
                    self.assert_wrong(result, "destination", 1, "d/clip.mov", hashlib.sha1(target.encode()).hexdigest())
                    os.remove(self.path("d/clip.mov"))

    def test_copy_by_another_file(self):
        result = self.run_with(self.WHILE_COPIED, "rm d/clip.mov; printf other > d/clip.mov", "d/")
        self.assert_wrong(result, "destination", 1, "d/clip.mov", hashlib.sha1(b"other").hexdigest())

    def test_copy_by_a_folder(self):
        result = self.run_with(self.WHILE_COPIED, "rm d/clip.mov; mkdir d/clip.mov", "d/")
        self.assert_run(result, 109, "ERROR: unexpected EISDIR during read: Is a directory at position:0\n"
                        "ERROR: failed reading from d/clip.mov\n"
                        "ERROR: again unexpected EISDIR during read: Is a directory\n"
                        "ERROR: again failed reading from d/clip.mov\n")

    def test_copy_by_a_fifo(self):
        result = self.run_with(self.WHILE_COPIED, "rm d/clip.mov; mkfifo d/clip.mov", "d/")
        self.assert_wrong(result, "destination", 1, "d/clip.mov")

    def test_source_by_a_fifo(self):
        result = self.run_with(self.WHILE_COPIED, "rm reel/clip.mov; mkfifo reel/clip.mov", "d/")
        self.assert_wrong(result, "source", 2, "reel/clip.mov")

    def test_destination_folder_by_a_link_to_the_source(self):
        # The source is read back in the place of the copy: its hash is the expected one.
        result = self.run_with(self.WHILE_COPIED, "mv d away; ln -s reel d", "d/")
        self.assert_run(result, 109, "ERROR: verify of destination file #1 (d/clip.mov) failed, wrong hash.\n")
        self.assert_no_hash_lists()


if __name__ == "__main__":
    main()
