"""The verification reads the storage, and a run leaves the page cache as it was."""

from storage import DISK_FILE_SYSTEMS, MIB, StorageTest, resident, run, warm
from support import BLOCK, coreutils_digest, main, pattern

MOVIE = 48 * MIB + 12345


class DiskTest(StorageTest):
    def assert_bypasses_cache(self, file_system):
        device = self.disk("disk", file_system)
        names = ["disk/card/clip.mov", "disk/d1/clip.mov", "disk/d2/clip.mov"]
        for name in names:  # the copies are older ones with other contents
            self.write(name, pattern(MOVIE, name == names[0]))
        # The kernel may take pages back by itself, when other programs need memory. The oldest then: those of a file that
        # no run has to do with, on a disk of its own.
        self.disk("away", file_system)
        control = self.write("away/control", pattern(8 * MIB))
        bystander = self.write("disk/bystander", pattern(8 * MIB))
        run("sync")
        for _ in range(5):
            for path in [control, bystander, *map(self.path, names)]:
                warm(path)
            before = self.bytes_read_from(device)
            self.assert_run(self.run_tool("-f", "disk/card/clip.mov", "disk/d1/", "disk/d2/"), 0, "")
            bytes_read = self.bytes_read_from(device) - before
            if resident(control) > 8 * MIB * 95 / 100:
                self.assertGreater(resident(bystander), 8 * MIB * 95 / 100, "other programs' pages stay")
                break
        else:
            self.fail("each time the pages of a file went that no run has to do with")
        self.note_figure("%s: read from the device %.3f x size; left in the cache %s of %d bytes, bystander %d of %d",
                         file_system, bytes_read / MOVIE, [resident(self.path(name)) for name in names], MOVIE,
                         resident(bystander), 8 * MIB)
        self.assertGreaterEqual(bytes_read, (2 + 2) * MOVIE)
        for path in map(self.path, names):
            self.assertLess(resident(path), MOVIE / 100)
        self.assert_checks("disk/d1/sha1/clip.mov.sha1")
        self.assert_checks("disk/d2/sha1/clip.mov.sha1")

    def test_verification_bypasses_the_cache(self):
        for file_system in DISK_FILE_SYSTEMS:
            with self.subTest(file_system):
                self.assert_bypasses_cache(file_system)
                self.unmount("disk")
                self.unmount("away")

    def test_a_source_that_was_just_written_is_read_from_the_disk(self):
        for file_system in DISK_FILE_SYSTEMS:
            with self.subTest(file_system):
                device = self.disk(file_system, file_system)
                self.write(file_system + "/card/clip.mov", pattern(MOVIE))
                before = self.bytes_read_from(device)
                self.assert_run(self.run_tool(file_system + "/card/clip.mov", file_system + "/d/"), 0, "")
                self.assertGreaterEqual(self.bytes_read_from(device) - before, 3 * MOVIE)

    def test_frames_leave_no_pages(self):
        for file_system in DISK_FILE_SYSTEMS:
            with self.subTest(file_system):
                self.disk(file_system, file_system)
                self.write_frames(file_system + "/f_%04d.dpx", range(1, 51), 65536 + 100)
                self.assert_run(self.run_tool("-s", file_system + "/f_1-50####.dpx", file_system + "/d/"), 0, "")
                frames = [self.path("%s/%sf_%04d.dpx" % (file_system, folder, n))
                          for folder in ("", "d/") for n in range(1, 51)]
                self.assertEqual(sum(map(resident, frames)), 0)


class OtherFileSystemsTest(StorageTest):
    SIZES = (0, 1, 4096, BLOCK - 1, BLOCK, 2 * BLOCK, 2 * BLOCK + 4097, 9 * BLOCK + 3)

    def assert_copies(self, folder):
        for size in self.SIZES:
            with self.subTest(size):
                self.write("local.mov", pattern(size))
                digest = coreutils_digest("sha1sum", self.path("local.mov"))
                self.assert_run(self.run_tool("-f", "local.mov", folder + "/a/clip.mov"), 0, "")
                self.assert_run(self.run_tool("-f", folder + "/a/clip.mov", folder + "/b/", "back/"), 0, "")
                for copy in (folder + "/a/clip.mov", folder + "/b/clip.mov", "back/clip.mov"):
                    self.assertEqual(coreutils_digest("sha1sum", self.path(copy)), digest)
                self.assert_checks(folder + "/b/sha1/clip.mov.sha1")

    def test_tmpfs(self):
        self.tmpfs("memory", 200)
        self.assert_copies("memory")

    def test_overlay(self):
        self.tmpfs("layers", 200)
        self.overlay("over", self.path("layers"))
        self.assert_copies("over")

    def test_overlay_on_a_disk_reads_the_disk(self):
        device = self.disk("layers", "ext4")
        self.overlay("over", self.path("layers"))
        self.write("over/card/clip.mov", pattern(MOVIE))
        before = self.bytes_read_from(device)
        self.assert_run(self.run_tool("over/card/clip.mov", "over/d/"), 0, "")
        self.assertGreaterEqual(self.bytes_read_from(device) - before, 3 * MOVIE)

    def test_fuse(self):
        for folder, options in (("plain", []), ("direct", ["direct_io"]), ("collecting", ["writeback_cache"])):
            with self.subTest(folder):
                self.fuse(folder, *options)
                self.assert_copies(folder)
                self.write(folder + "/a/clip.mov", pattern(MOVIE))
                self.assert_run(self.run_tool("-f", folder + "/a/clip.mov", folder + "/b/"), 0, "")
                for name in ("/b/clip.mov", "/a/clip.mov"):
                    self.assertEqual(resident(self.path(folder + name)), 0)


class RefusalTest(StorageTest):
    """Where the system refuses a way past the cache, another is taken, silently."""

    def assert_silent(self, *faults, blocks=3):
        self.write("clip.mov", pattern(blocks * BLOCK + 77))
        with self.subTest(faults):
            self.assert_run(self.run_tool("-f", "clip.mov", "d/", faults=list(faults)), 0, "")
            self.assertEqual(self.read("d/clip.mov"), self.read("clip.mov"))
            self.assert_checks("d/sha1/clip.mov.sha1")

    def test_each_refusal(self):
        self.assert_silent("fcntl clip.mov 1 * EINVAL")
        for error in ("EINVAL", "EOPNOTSUPP"):
            self.assert_silent("read clip.mov 1 1 " + error, "read d/clip.mov 1 1 " + error)
        for error in ("EOPNOTSUPP", "EINVAL", "ENOSYS"):
            self.assert_silent("write d/clip.mov 1 1 " + error)
        for error in ("ESPIPE", "EINVAL", "ENOSYS"):
            self.assert_silent("range clip.mov 1 * " + error, blocks=12)

    def test_refused_read_costs_no_retry(self):
        self.write("clip.mov", pattern(3 * BLOCK + 77))
        result = self.run_tool("clip.mov", "d/", faults=["read clip.mov 1 1 EINVAL", "read clip.mov 2 1 EIO"])
        self.assertEqual(result.status, 0)
        self.assertEqual(result.output.count(b"\n"), 2)
        self.assertIn(b"unexpected EIO during read", result.output)

    def test_buffered_reads_drop_what_they_read(self):
        device = self.disk("disk", "ext4")
        self.write("disk/clip.mov", pattern(MOVIE))
        before = self.bytes_read_from(device)
        result = self.run_tool("disk/clip.mov", "disk/d/", faults=["fcntl clip.mov 1 * EINVAL"])
        self.assert_run(result, 0, "")
        self.assertGreaterEqual(self.bytes_read_from(device) - before, 3 * MOVIE)
        self.assertLess(resident(self.path("disk/clip.mov")), MOVIE / 100)
        self.assertLess(resident(self.path("disk/d/clip.mov")), MOVIE / 100)


if __name__ == "__main__":
    main()
