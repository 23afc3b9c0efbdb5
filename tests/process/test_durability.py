"""Status 0 means that the copies, their names and the lists are on the storage."""

import os
import re
import resource
import shutil
import subprocess
import sys

from storage import DISK_FILE_SYSTEMS, MIB, StorageTest, resident, run
from support import BLOCK, coreutils_digest, file_bytes, main, pattern


class LyingDiskTest(StorageTest):
    """A disk that is larger than what is behind it: it takes writes that it will lose."""

    def test_never_says_0(self):
        self.write("clip.mov", pattern(200 * MIB))
        self.write_frames("f_%04d.dpx", range(1, 101), 2 * MIB)
        for file_system in DISK_FILE_SYSTEMS:
            for arguments in (["clip.mov"], ["-s", "f_1-100####.dpx"]):
                with self.subTest(file_system=file_system, arguments=arguments):
                    self.tmpfs("small", 90)
                    self.disk("small/disk", file_system, 700)
                    result = self.run_tool(*arguments, "small/disk/d/")
                    self.note_figure("lying disk, %s, %s: status %d", file_system, arguments[-1], result.status)
                    # 201: the file system has turned read-only before the next frame's file was made.
                    self.assertIn(result.status, (109, 201, 211, 212), result.output)
                    self.assert_no_hash_lists()
                    self.unmount("small/disk")
                    self.unmount("small")


class BitRotTest(StorageTest):
    WITHOUT_CHECKSUMS = (("ext4", ()), ("xfs", ()), ("btrfs", ("nodatasum",)))
    MARK = b"this very byte sequence stands once in the movie: \x01"

    def flip(self, device, mark, before="true"):
        """A script that changes a bit of what stands once on that device, after the command `before`."""
        self.write("flip.py", (
            "image = open('disk.img', 'r+b')\n"
            "import mmap\n"
            "device = mmap.mmap(image.fileno(), 0)\n"
            "place = device.find(%r)\n"
            "assert place >= 0 and device.find(%r, place + 1) < 0\n"
            "device[place] ^= 1\n"
            "device.flush()\n" % (mark, mark)).encode())
        # The block device has a cache of its own, between the image and the file system.
        return self.script("flip", before + " && python3 flip.py && blockdev --flushbufs /dev/" + device)

    def rot(self, file_system, options=(), call="lstat", before="true"):
        """A run in which a byte of copy 2 changes on its device, at that call of its verification, after `before`."""
        device = self.disk("disk", file_system, options=options)
        movie = bytearray(pattern(6 * BLOCK + 99))
        movie[3 * BLOCK:3 * BLOCK + len(self.MARK)] = self.MARK
        self.write("clip.mov", bytes(movie))
        flip = self.flip(device, self.MARK, before)
        return self.run_tool("-f", "clip.mov", "d1/", "disk/d2/", faults=[call + " d2/clip.mov 1 1 run=" + flip])

    def assert_found(self, file_system, options=(), **rotting):
        result = self.rot(file_system, options, **rotting)
        self.assertEqual(result.status, 109)
        expected = coreutils_digest("sha1sum", self.path("clip.mov"))
        self.assertRegex(result.output.decode(), r"\AINFO: expected hash: %s but got hash: [0-9a-f]{40}\.\n"
                         r"ERROR: verify of destination file #2 \(disk/d2/clip\.mov\) failed, wrong hash\.\n\Z" %
                         expected)
        self.assert_no_hash_lists()

    def test_copy(self):
        for file_system, options in self.WITHOUT_CHECKSUMS:
            with self.subTest(file_system):
                self.assert_found(file_system, options)
                self.unmount("disk")

    def test_btrfs_with_checksums_fails_the_read(self):
        result = self.rot("btrfs")
        self.assert_run(result, 109, "ERROR: unexpected EIO during read: Input/output error at position:%d\n"
                        "ERROR: failed reading from disk/d2/clip.mov\n"
                        "ERROR: again unexpected EIO during read: Input/output error\n"
                        "ERROR: again failed reading from disk/d2/clip.mov\n" % (2 * BLOCK))

    # Maps the copy once it is written, holds all of it, and says so.
    PLAYER = """if True:
        import mmap
        open("written").read()
        with open("disk/d2/clip.mov", "rb") as file:
            copy = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        sum(copy[place] for place in range(0, len(copy), 4096))
        open("mapped", "w").close()
        input()
        """

    def test_copy_that_another_program_has_mapped(self):
        # Its pages stay in the cache, whatever is done to drop them.
        os.mkfifo(self.path("written"))
        os.mkfifo(self.path("mapped"))
        for file_system, options in self.WITHOUT_CHECKSUMS:
            with self.subTest(file_system):
                player = subprocess.Popen([sys.executable, "-c", self.PLAYER], cwd=self.folder, stdin=subprocess.PIPE)
                try:
                    # Once it has memory to read into: memory that another file was read into is like no other.
                    self.assert_found(file_system, options, call="read", before="echo > written && cat mapped")
                    self.assertGreaterEqual(resident(self.path("disk/d2/clip.mov")), 6 * BLOCK)
                finally:
                    player.kill()
                    player.communicate()
                    self.unmount("disk")

    def test_hash_list(self):
        self.write("clip.mov", b"movie")
        digest = coreutils_digest("sha1sum", self.path("clip.mov")).encode()
        for file_system in ("ext4", "xfs"):  # btrfs keeps so short a file among its own data
            with self.subTest(file_system):
                flip = self.flip(self.disk("disk", file_system), digest)
                result = self.run_tool("clip.mov", "disk/d/", faults=["fsync disk/d/sha1 1 1 run=" + flip])
                self.assert_run(result, 115, "ERROR: couldn't write hash file to disk/d/sha1/clip.mov.sha1\n"
                                "ERROR: Can't write hash file (disk/d/sha1/clip.mov.sha1).\n")
                self.unmount("disk")


class PowerCutTest(StorageTest):
    """The image is copied at the very moment of the process's end, and the copy mounted."""

    def after_power_cut(self, file_system, *arguments):
        self.disk("disk", file_system)
        os.makedirs(self.path("disk/there before"))
        run("sync")
        result = self.run_tool(*arguments, "disk/there before/", "disk/new/newer/newest/")
        run("cp", "--remove-destination", "--sparse=always", self.path("disk.img"), self.path("after.img"))
        self.assertEqual(result.status, 0, result.output)
        self.unmount("disk")
        self.mount_image("after", self.path("after.img"))

    def assert_complete(self, list_name, *arguments):
        files = self.tree("card")
        for file_system in DISK_FILE_SYSTEMS:
            with self.subTest(file_system):
                self.after_power_cut(file_system, *arguments)
                for folder in ("after/there before", "after/new/newer/newest"):
                    found = self.tree(folder)
                    self.assertEqual({name: found.get(name) for name in files}, files)
                    self.assertEqual(set(found) - set(files), {"sha1", "sha1/" + list_name} if list_name else set())
                    if list_name:
                        self.assert_checks(os.path.join(folder, "sha1", list_name))
                self.unmount("after")

    def test_movie(self):
        self.write("card/clip.mov", pattern(20 * MIB + 77))
        self.assert_complete("clip.mov.sha1", "card/clip.mov")
        self.assert_complete(None, "-o", "0", "card/clip.mov")

    def test_sequence(self):
        self.write_frames("card/f_%04d.dpx", range(1, 201), 30000)
        self.assert_complete("f_1-200####.dpx.sha1", "-s", "card/f_1-200####.dpx")
        self.assert_complete(None, "-n", "-s", "card/f_1-200####.dpx")

    def test_link(self):
        os.makedirs(self.path("card"))
        os.symlink("target", self.path("card/link"))
        self.assert_complete(None, "-o", "0", "card/link")


class SyncFailureTest(StorageTest):
    def test_sync_that_is_not_supported_is_no_failure(self):
        self.write("clip.mov", pattern(12 * BLOCK + 5))
        for error in ("EINVAL", "EOPNOTSUPP", "ENOSYS", "EROFS"):
            with self.subTest(error):
                faults = ["%s * 1 * %s" % (call, error) for call in ("fdatasync", "fsync", "range")]
                self.assert_run(self.run_tool("-f", "clip.mov", "d1/", "d2/", faults=faults), 0, "")


class FailedWriteBackTest(StorageTest):
    """A disk that refuses a frame long after it was written: only the sync of that very file tells."""

    def test_first_middle_and_last_of_many_frames(self):
        refused = b"the disk will not take this frame. "
        self.fuse("machine", "refused=" + refused.decode())
        for file_system in DISK_FILE_SYSTEMS:
            for frame in (1, 20, 40):
                with self.subTest(file_system=file_system, frame=frame):
                    image = "%s-%d.img" % (file_system, frame)
                    os.rename(self.image(image, file_system, 300), self.path("machine-below/" + image))
                    self.mount_image("disk", self.path("machine/" + image))
                    self.write_frames("f_%02d.dpx", range(1, 41), 60000)
                    self.write("f_%02d.dpx" % frame, refused * 1500)
                    result = self.run_tool("-s", "f_1-40##.dpx", "d/", "disk/d/")
                    self.assert_run(result, 211, "ERROR: unexpected EIO during write: Input/output error\n"
                                    "ERROR: failed writing to disk/d/\n")
                    self.assert_no_hash_lists()
                    shutil.rmtree(self.path("d"))
                    self.unmount("disk")

    def test_all_frames_are_synced_before_any_is_verified_or_reported(self):
        self.write_frames("f_%03d.dpx", range(1, 301), 100)
        for frame in (1, 150, 300):
            for options in (["-v"], ["-n"]):
                with self.subTest(frame=frame, options=options):
                    result = self.run_tool(*options, "-f", "-s", "f_1-300###.dpx", "e/", "d/",
                                           faults=["fdatasync d/f_%03d.dpx 1 1 EIO" % frame])
                    self.assertEqual(result.status, 211)
                    lines = [line for line in result.output.decode().splitlines()
                             if not line.startswith(("INFO: cop", "hash "))]
                    self.assertEqual(lines, ["ERROR: unexpected EIO during write: Input/output error",
                                             "ERROR: failed writing to d/"])

    def test_frames_before_a_link(self):
        self.write_frames("f_%d.dpx", (1, 3), 100)
        os.symlink("target", self.path("f_2.dpx"))
        result = self.run_tool("-s", "f_1-3#.dpx", "d/", faults=["fdatasync d/f_1.dpx 1 1 EIO"])
        self.assert_run(result, 211, "ERROR: unexpected EIO during write: Input/output error\n"
                        "ERROR: failed writing to d/\n")

    def test_few_files_may_be_opened(self):
        self.write_frames("f_%03d.dpx", range(1, 101), 100)

        def leave_few():
            resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))
            for number in range(10, 60):  # a parent that leaves its own files open
                os.dup2(0, number)

        self.assert_run(self.run_tool("-s", "f_1-100###.dpx", "d/", "e/", preexec_fn=leave_few, close_fds=False), 0, "")
        self.assertEqual(len(self.tree("e")), 102)


class ServedDestinationTest(StorageTest):
    """Another program, or another machine, keeps the files open as well."""

    def test_server_with_fewer_open_files(self):
        self.fuse("disk")
        resource.prlimit(int(self.read("disk-server")), resource.RLIMIT_NOFILE, (1024, 1024))
        self.write_frames("f_%04d.dpx", range(1, 1101), 10)
        self.assert_run(self.run_tool("-s", "f_1-1100####.dpx", "disk/d/"), 0, "")
        self.assertEqual(len(self.tree("disk/d")), 1102)


class BrokenFileSystemTest(StorageTest):
    """A file system that meets an error turns itself read-only; its syncs then fail as on a read-only medium."""

    def assert_fails(self, moment, status, output, *options):
        self.disk("disk", "ext4")
        self.write("clip.mov", pattern(5 * BLOCK))
        breaking = self.script("break", "mount -o remount,abort disk")
        result = self.run_tool(*options, "clip.mov", "disk/d/", faults=["%s 1 1 run=%s" % (moment, breaking)])
        self.assert_run(result, status, output)
        self.unmount("disk")

    def test_while_a_copy_is_written(self):
        for options in ([], ["-n"], ["-o", "0"]):
            with self.subTest(options):
                self.assert_fails("fdatasync d/clip.mov", 211, "ERROR: unexpected EROFS during write: Read-only file "
                                  "system\nERROR: failed writing to disk/d/\n", *options)

    def test_while_the_list_is_written(self):
        self.assert_fails("fsync disk/d/sha1", 115, "ERROR: couldn't write hash file to disk/d/sha1/clip.mov.sha1\n"
                          "ERROR: Can't write hash file (disk/d/sha1/clip.mov.sha1).\n")


class SlowDestinationTest(StorageTest):
    """On a destination that takes its time the progress does not run ahead of it."""

    MOVIE = 40 * MIB
    BOUND = 32 * MIB

    def assert_honest(self, option):
        taken = self.write("taken", b"0\n")
        mounted = "mount-" + option
        self.fuse(mounted, "write_delay=20", "taken=" + taken, option)
        self.write("clip.mov", pattern(self.MOVIE))
        process = subprocess.Popen(self.command("-v", "clip.mov", mounted + "/d/"), cwd=self.folder,
                                   env=self.environment(), stdout=subprocess.PIPE, text=True)
        claims = []
        for line in process.stdout:
            found = re.fullmatch(r"INFO: copied (\d+) of \d+ bytes\n", line)
            if found:
                claims.append((int(found[1]), int(file_bytes(taken) or b"0")))
        self.assertEqual(process.wait(), 0)
        process.stdout.close()
        self.assertGreater(len(claims), 5, "the destination was not slow")
        self.assertGreater(claims[-1][0], 0)
        self.note_figure("slow destination %s: progress at most %.1f MiB ahead", option,
                         max(claimed - stored for claimed, stored in claims) / MIB)
        for claimed, stored in claims:
            self.assertLessEqual(claimed - stored, self.BOUND)

    def test_progress_is_honest(self):
        for option in ("writeback_cache", "direct_io"):
            with self.subTest(option):
                self.assert_honest(option)

    def test_what_can_not_be_written_back_in_parts_is_synced_every_now_and_then(self):
        self.fuse("mount", "writeback_cache")
        self.write("clip.mov", pattern(self.MOVIE))
        note = self.script("note", "echo >> synced")
        result = self.run_tool("-n", "clip.mov", "mount/d/", faults=["fdatasync d/clip.mov 1 * run=" + note])
        self.assertEqual(result.status, 0)
        self.assertGreaterEqual(len(self.read("synced")), 1 + self.MOVIE // self.BOUND + 1, "with the one at the end")


if __name__ == "__main__":
    main()
