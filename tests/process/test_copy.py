import fcntl
import hashlib
import os
import resource
import signal
import subprocess
import threading
import time

from storage import require_mounts
from support import BLOCK, LONGEST_RUN, RVXCOPY, ProcessTest, coreutils_digest, main, pattern


class MovieTest(ProcessTest):
    def test_a_whole_run_prints_its_phases(self):
        self.write("V/A001/clip.mov", pattern(1000))
        sha1 = coreutils_digest("sha1sum", self.path("V/A001/clip.mov"))
        md5 = coreutils_digest("md5sum", self.path("V/A001/clip.mov"))
        result = self.run_tool("-v", "-t", "md5", "V/A001/clip.mov", "d1/", "d2/take.mov")
        lines = result.output.decode().split("\n")
        self.assertEqual(lines[:8], [
            "INFO: copying V/A001...",
            "INFO: copied 0 of 1000 bytes",
            "hash SHA1:" + sha1,
            "hash MD5:" + md5,
            "INFO: verifying d1/",
            "INFO: verifying d2",
            "INFO: verifying V/A001",
            lines[7],
        ])
        # The three files are read side by side: their progress lines come in any order.
        self.assertEqual(sorted(lines[7:10]), ["INFO: verified 1000 of 1000 bytes of path " + folder
                                               for folder in ("V/A001", "d1", "d2")])
        self.assertEqual(lines[10:], [
            "verify of destination file #1 (d1/clip.mov) ok.",
            "verify of destination file #2 (d2/take.mov) ok.",
            "verify of source file #3 (V/A001/clip.mov) ok.",
            "",
        ])
        self.assertEqual(result.status, 0)
        self.assert_list_entries("d1/md5/clip.mov.md5", ["MD5(../clip.mov)= " + md5])
        self.assert_list_entries("d2/md5/take.mov.md5", ["MD5(../clip.mov)= " + md5])
        self.assert_checks("d1/md5/clip.mov.md5")

    def test_without_verbose_nothing_is_printed(self):
        self.write("clip.mov", pattern(3 * BLOCK + 1))
        self.assert_run(self.run_tool("clip.mov", "d1/", "d2/"), 0, "")

    def test_totals_are_of_the_whole_run(self):
        self.write_frames("f_%02d.dpx", (1, 2), 700)
        result = self.run_tool("-v", "-s", "f_1-2##.dpx", "d/")
        copied = [line for line in result.output.decode().split("\n") if line.startswith("INFO: copied")]
        self.assertEqual(copied, ["INFO: copied 0 of 1400 bytes", "INFO: copied 700 of 1400 bytes"])
        verified = [line for line in result.output.decode().split("\n") if line.startswith("INFO: verified")]
        self.assertEqual(sorted(verified), ["INFO: verified %d of 1400 bytes of path %s" % (size, folder)
                                            for size in (1400, 700) for folder in ("", "d")])

    def test_status_lines_come_while_the_copy_runs(self):
        self.write("clip.mov", pattern(BLOCK + 5))
        pause = self.script("pause", "sleep 1.2")
        begun = time.monotonic()
        result = self.run_tool("-v", "-o", "0", "clip.mov", "d/", faults=["write d/clip.mov 2 1 run=" + pause])
        most = (time.monotonic() - begun) / 0.5
        lines = [line for line in result.output.decode().split("\n") if line.startswith("INFO: copied")]
        self.assertEqual(lines[0], "INFO: copied 0 of 2097157 bytes")
        self.assertGreaterEqual(len(lines), 2)
        self.assertLessEqual(len(lines) - 1, most)
        # The first block counts once it is digested and written, the second not before it is, too.
        self.assertEqual(set(lines[1:]) - {lines[0]}, {"INFO: copied 2097152 of 2097157 bytes"})

    def test_copy_has_the_permissions_of_a_new_file(self):
        self.write("clip.mov", b"movie")
        os.chmod(self.path("clip.mov"), 0o400)
        self.assert_run(self.run_tool("clip.mov", "d/", umask=0o027), 0, "")
        self.assertEqual(os.stat(self.path("d/clip.mov")).st_mode & 0o777, 0o640)
        self.assertEqual(os.stat(self.path("d/sha1/clip.mov.sha1")).st_mode & 0o777, 0o640)
        self.assertEqual(os.stat(self.path("d/sha1")).st_mode & 0o777, 0o750)

    def test_bytes_of_a_path_are_printed_unchanged(self):
        name = os.fsdecode(b"a\xff %s%n\n.mov")
        self.write(name, b"movie")
        result = self.run_tool("-n", name, "d/")
        self.assert_run(result, 0, "Copy completed successfully for destination file (d/%s)\n" % name)

    def test_line_longer_than_any_buffer_is_whole(self):
        folder = "/".join(["f" * 250] * 13)
        os.makedirs(self.path(folder))
        self.write(folder + "/clip.mov", b"movie")
        result = self.run_tool("-n", folder + "/clip.mov", folder + "/x/")
        self.assert_run(result, 0, "Copy completed successfully for destination file (%s/x/clip.mov)\n" % folder)


class SizeTest(ProcessTest):
    def test_sizes_around_every_block_border(self):
        sizes = [0, 1, 511, 4095, 4096, 4097]
        for multiple in (1, 2, 3, 4, 6, 8):
            sizes += [multiple * BLOCK + difference for difference in (-4097, -4096, -1, 0, 1, 4096, 4097)]
        for size in sizes:
            with self.subTest(size):
                source = self.write("clip.mov", pattern(size, size))
                self.assert_run(self.run_tool("-f", "clip.mov", "d1/", "d2/"), 0, "")
                digest = coreutils_digest("sha1sum", source)
                for copy in ("d1/clip.mov", "d2/clip.mov"):
                    self.assertEqual(os.path.getsize(self.path(copy)), size)
                    self.assertEqual(coreutils_digest("sha1sum", self.path(copy)), digest)
                self.assert_list_entries("d1/sha1/clip.mov.sha1", ["SHA1(../clip.mov)= " + digest])
                self.assert_checks("d2/sha1/clip.mov.sha1")

    def test_md5_of_sizes_around_the_first_borders(self):
        for size in (0, 1, BLOCK - 1, BLOCK, BLOCK + 1, 2 * BLOCK):
            with self.subTest(size):
                self.write("clip.mov", pattern(size, size))
                self.assert_run(self.run_tool("-f", "-t", "md5", "clip.mov", "d/"), 0, "")
                self.assert_list_entries("d/md5/clip.mov.md5", [
                    "MD5(../clip.mov)= " + coreutils_digest("md5sum", self.path("clip.mov"))])
                self.assert_checks("d/md5/clip.mov.md5")

    def test_short_transfers_and_interruptions_are_never_seen(self):
        self.write("clip.mov", pattern(2 * BLOCK + 777))
        for effect in ("short", "EINTR"):
            for call in ("read", "write"):
                with self.subTest(effect + " " + call):
                    faults = ["%s clip.mov %d 1 %s" % (call, nth, effect) for nth in (1, 2, 3, 4, 7, 9)]
                    self.assert_run(self.run_tool("-f", "clip.mov", "d1/", "d2/", faults=faults), 0, "")
                    self.assertEqual(self.read("d1/clip.mov"), self.read("clip.mov"))
                    self.assertEqual(self.read("d2/clip.mov"), self.read("clip.mov"))


class ExistingDestinationTest(ProcessTest):
    def test_existing_file_ends_with_107_before_any_data_is_copied(self):
        self.write("clip.mov", b"movie")
        self.write("d2/clip.mov", b"old")
        result = self.run_tool("clip.mov", "d1/", "d2/", "d3/")
        self.assert_run(result, 107, "ERROR: File destination #2 (d2/clip.mov) already exists.\n")
        self.assertEqual(self.tree("d1"), {"clip.mov": b""}, "an earlier destination's file stays, empty")
        self.assertEqual(self.tree("d2"), {"clip.mov": b"old"})
        self.assertEqual(self.tree("d3"), {})

    def test_later_frame_that_exists_leaves_the_earlier_ones(self):
        self.write_frames("f_%02d.dpx", (1, 2, 3))
        self.write("d/f_02.dpx", b"old")
        result = self.run_tool("-s", "f_1-3##.dpx", "d/")
        self.assert_run(result, 107, "ERROR: File destination #1 (d/f_02.dpx) already exists.\n")
        self.assertEqual(self.tree("d"), {"f_01.dpx": self.read("f_01.dpx"), "f_02.dpx": b"old"})

    def test_with_force_an_existing_file_is_truncated_and_rewritten(self):
        self.write("clip.mov", b"new")
        self.write("d/clip.mov", b"a longer old one")
        self.assert_run(self.run_tool("-f", "clip.mov", "d/"), 0, "")
        self.assertEqual(self.read("d/clip.mov"), b"new")

    def test_the_same_destination_twice_is_an_existing_one(self):
        self.write("clip.mov", b"movie")
        result = self.run_tool("clip.mov", "d/", "./d/")
        self.assert_run(result, 107, "ERROR: File destination #2 (./d/clip.mov) already exists.\n")

    def test_file_that_appears_when_the_copy_is_created_is_left_alone(self):
        # Another run with the same destination makes it, and may not have written anything yet.
        self.write("clip.mov", b"movie")
        for contents in (b"", b"other"):
            with self.subTest(contents):
                create = self.script("create", "printf '%s' > d/clip.mov" % contents.decode())
                result = self.run_tool("clip.mov", "d/", faults=["openw d/clip.mov 1 1 run=" + create])
                self.assert_run(result, 107, "ERROR: File destination #1 (d/clip.mov) already exists.\n")
                self.assertEqual(self.tree("d"), {"clip.mov": contents})
                os.remove(self.path("d/clip.mov"))

    def test_of_two_runs_to_one_destination_one_copies(self):
        takes = [b"first take", b"second take"]
        for number, take in enumerate(takes):
            self.write("card%d/clip.mov" % number, take)
        for attempt in range(40):
            folder = "d%d/" % attempt
            runs = [subprocess.Popen(self.command("card%d/clip.mov" % number, folder), cwd=self.folder,
                                     env=self.environment(), stdout=subprocess.DEVNULL) for number in range(len(takes))]
            statuses = [run.wait(timeout=LONGEST_RUN) for run in runs]
            self.assertEqual(sorted(statuses), [0, 107])
            self.assertEqual(self.read(folder + "clip.mov"), takes[statuses.index(0)])

    def test_the_same_destination_twice_is_written_twice_with_force(self):
        self.write("clip.mov", pattern(3 * BLOCK + 5))
        os.makedirs(self.path("d"))
        os.symlink("d", self.path("e"))
        self.write("d/hard.mov", b"old")
        os.link(self.path("d/hard.mov"), self.path("d/link.mov"))
        for second in ("d/", "./d/", "d/clip.mov", "e/"):
            with self.subTest(second):
                result = self.run_tool("-v", "-f", "clip.mov", "d/", second)
                results = [line for line in result.output.decode().splitlines() if line.startswith("verify of")]
                self.assertEqual(results, ["verify of destination file #1 (d/clip.mov) ok.",
                                           "verify of destination file #2 (%sclip.mov) ok." % second.replace(
                                               "clip.mov", ""), "verify of source file #3 (clip.mov) ok."])
                self.assertEqual(result.status, 0)
                self.assert_checks("d/sha1/clip.mov.sha1")
        self.assert_run(self.run_tool("-f", "clip.mov", "d/hard.mov", "d/link.mov"), 0, "")
        self.assertEqual(self.read("d/link.mov"), self.read("clip.mov"))


class LinkAtTheCopysNameTest(ProcessTest):
    """Nothing is written through it: the link may be anybody's, and its target another take."""

    def setUp(self):
        super().setUp()
        self.write("clip.mov", b"movie")
        self.write("card/other.mov", b"another take")

    def assert_untouched(self, result, status, output):
        self.assert_run(result, status, output)
        self.assertEqual(self.tree("card"), {"other.mov": b"another take"})
        self.assertTrue(os.path.islink(self.path("d/clip.mov")))
        self.assertEqual(os.listdir(self.path("d")), ["clip.mov"])

    def test_link_to_a_file(self):
        os.makedirs(self.path("d"))
        os.symlink("../card/other.mov", self.path("d/clip.mov"))
        self.assert_untouched(self.run_tool("clip.mov", "d/"), 107,
                              "ERROR: File destination #1 (d/clip.mov) already exists.\n")
        self.assert_untouched(self.run_tool("-f", "clip.mov", "d/"), 201,
                              "ERROR: can't open destination file (#1) (201i)")

    def test_link_to_nothing(self):
        os.makedirs(self.path("d"))
        os.symlink("../card/new.mov", self.path("d/clip.mov"))
        for options in ([], ["-f"]):
            self.assert_untouched(self.run_tool(*options, "clip.mov", "d/"), 201,
                                  "ERROR: can't open destination file (#1) (201i)")

    def test_link_at_a_frames_name_is_refused_in_its_turn(self):
        self.write_frames("f_%02d.dpx", (1, 2, 3))
        os.makedirs(self.path("d"))
        os.symlink("../card/other.mov", self.path("d/f_02.dpx"))
        result = self.run_tool("-f", "-s", "f_1-3##.dpx", "d/")
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")
        self.assertEqual(self.tree("d"), {"f_01.dpx": self.read("f_01.dpx"), "f_02.dpx": "-> ../card/other.mov"})
        self.assertEqual(self.read("card/other.mov"), b"another take")

    def test_links_in_the_folders_before_it_are_followed(self):
        os.makedirs(self.path("raid/day"))
        os.symlink("raid", self.path("d"))
        self.assert_run(self.run_tool("clip.mov", "d/day/"), 0, "")
        self.assertEqual(self.read("raid/day/clip.mov"), b"movie")


class SourceAsDestinationTest(ProcessTest):
    EXISTS = "ERROR: File destination #%d (%s) already exists.\n"
    REFUSED = "ERROR: can't open destination file (#%d) (201i)"

    def assert_refused(self, *destinations, number, path, created=()):
        """It exists, and with leave to overwrite it is not opened. `created` are the copies of the first case."""
        for options in ([], ["-n"], ["-f"], ["-f", "-n"]):
            with self.subTest(options):
                before = self.tree(".")
                result = self.run_tool(*options, "a/clip.mov", *destinations)
                if "-f" in options:
                    self.assert_run(result, 201, self.REFUSED % number)
                    self.assertEqual(self.tree("."), before)
                else:
                    self.assert_run(result, 107, self.EXISTS % (number, path))
                    self.assertEqual(self.tree("."), {**before, **{name: b"" for name in created}})
                    for name in created:
                        os.remove(self.path(name))

    def setUp(self):
        super().setUp()
        self.write("a/clip.mov", b"the only take")
        os.makedirs(self.path("d1"))

    def test_own_folder(self):
        self.assert_refused("a/", number=1, path="a/clip.mov")

    def test_own_folder_that_is_rebuilt(self):
        self.assert_refused("./", "-p", "1", number=1, path="./a/clip.mov")

    def test_nothing_is_written_for_an_earlier_destination(self):
        self.assert_refused("d1/", "a/clip.mov", number=2, path="a/clip.mov", created=["d1/clip.mov"])

    def test_through_a_hard_link(self):
        os.link(self.path("a/clip.mov"), self.path("d1/other.mov"))
        self.assert_refused("d1/other.mov", number=1, path="d1/other.mov")

    def test_through_a_symbolic_link(self):
        os.symlink("../a/clip.mov", self.path("d1/clip.mov"))
        self.assert_refused("d1/", number=1, path="d1/clip.mov")

    def test_through_a_linked_folder(self):
        os.symlink("a", self.path("b"))
        self.assert_refused("b/", number=1, path="b/clip.mov")

    def assert_frames_refused(self, status, output, *arguments):
        before = self.tree(".")
        for options in (["-n"], []):
            self.assert_run(self.run_tool(*options, "-s", "a/f_1-3##.dpx", *arguments), status, output)
            self.assertEqual(self.tree("."), before)

    def test_sequence_into_its_own_folder(self):
        self.write_frames("a/f_%02d.dpx", (1, 2, 3))
        self.assert_frames_refused(107, self.EXISTS % (1, "a/f_01.dpx"), "a/")
        self.assert_frames_refused(201, self.REFUSED % 1, "a/", "-f")

    def test_another_frames_source_by_a_hard_link(self):
        self.write_frames("a/f_%02d.dpx", (1, 2, 3))
        os.makedirs(self.path("d2"))
        os.link(self.path("a/f_03.dpx"), self.path("d2/f_02.dpx"))
        self.assert_frames_refused(201, self.REFUSED % 2, "d1/", "d2/", "-f")

    def test_link_onto_itself(self):
        for target in ("target text", "clip.mov"):
            os.symlink(target, self.path("a/link"))
            result = self.run_tool("a/link", "d1/", "a/")
            self.assert_run(result, 107, self.EXISTS % (2, "a/link"))
            self.assertEqual(os.readlink(self.path("d1/link")), target)
            os.remove(self.path("d1/link"))
            before = self.tree(".")
            result = self.run_tool("-f", "a/link", "d1/", "a/")
            self.assert_run(result, 201, "ERROR: can't open destination file (a/link) (201i)")
            self.assertEqual(self.tree("."), before)
            os.remove(self.path("a/link"))


class FramesOfOneFileTest(ProcessTest):
    """Frames whose copies meet are copied one after the other; what is read back tells whether one was lost."""

    def setUp(self):
        super().setUp()
        self.write_frames("f_%02d.dpx", (1, 2))
        self.digests = [coreutils_digest("sha1sum", self.path("f_%02d.dpx" % frame)) for frame in (1, 2)]

    def assert_first_is_wrong(self, result, path):
        self.assert_run(result, 109, "INFO: expected hash: %s but got hash: %s.\n" % tuple(self.digests) +
                        "ERROR: verify of destination file #1 (%s) failed, wrong hash.\n" % path)

    def test_copies_that_are_one_file(self):
        self.write("d/f_01.dpx", b"old")
        os.link(self.path("d/f_01.dpx"), self.path("d/f_02.dpx"))
        self.assert_first_is_wrong(self.run_tool("-f", "-s", "f_1-2##.dpx", "d/"), "d/f_01.dpx")

    def test_frames_of_one_name(self):
        for frame in (1, 2):
            self.write("day_%02d/clip.mov" % frame, self.read("f_%02d.dpx" % frame))
        result = self.run_tool("-s", "day_1-2##/clip.mov", "d/")
        self.assert_run(result, 107, "ERROR: File destination #1 (d/clip.mov) already exists.\n")
        # Their entries in the list have one name as well, so it is the last one's digest that is expected.
        result = self.run_tool("-f", "-s", "day_1-2##/clip.mov", "d/")
        self.assert_run(result, 109, "INFO: expected hash: %s but got hash: %s.\n" % tuple(reversed(self.digests)) +
                        "ERROR: verify of source file #2 (day_01/clip.mov) failed, wrong hash.\n")
        self.write("day_02/clip.mov", self.read("day_01/clip.mov"))
        self.assert_run(self.run_tool("-f", "-s", "day_1-2##/clip.mov", "d/"), 0, "")

    def test_link_among_the_frames_is_named_by_its_path(self):
        os.symlink("f_02.dpx", self.path("f_03.dpx"))
        self.assert_run(self.run_tool("-s", "f_1-3##.dpx", "d/"), 0, "")
        result = self.run_tool("-f", "-s", "f_1-3##.dpx", "d/")
        self.assert_run(result, 201, "ERROR: can't open destination file (d/f_03.dpx) (201i)")


class UnexaminedDestinationTest(ProcessTest):
    """What stands at a destination is not harmed either when the path can't be examined beforehand."""

    def test_existing_file_is_refused_when_it_was_opened(self):
        self.write("clip.mov", b"movie")
        self.write("d/clip.mov", b"an old one")
        result = self.run_tool("clip.mov", "d/", faults=["stat d/clip.mov 1 * EIO"])
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")
        self.assertEqual(self.read("d/clip.mov"), b"an old one")

    def test_the_source_is_refused_when_it_was_opened(self):
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d"))
        os.link(self.path("clip.mov"), self.path("d/other.mov"))
        result = self.run_tool("-f", "clip.mov", "d/other.mov", faults=["stat d/other.mov 1 * EIO"])
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")
        self.assertEqual(self.read("clip.mov"), b"movie")


class LeaseTest(ProcessTest):
    """A file server lends files to its clients; opening one waits until it was given back."""

    def lease(self, name):
        """Takes a lease, to be given back a little after somebody asks for it."""
        descriptor = os.open(self.path(name), os.O_RDWR)
        self.addCleanup(os.close, descriptor)
        self.addCleanup(signal.signal, signal.SIGIO, signal.signal(signal.SIGIO, lambda *_: (
            time.sleep(0.2), fcntl.fcntl(descriptor, fcntl.F_SETLEASE, fcntl.F_UNLCK))))
        fcntl.fcntl(descriptor, fcntl.F_SETLEASE, fcntl.F_WRLCK)

    def test_source(self):
        self.write("clip.mov", b"movie")
        self.lease("clip.mov")
        self.assert_run(self.run_tool("clip.mov", "d/"), 0, "")
        self.assertEqual(self.read("d/clip.mov"), b"movie")

    def test_destination(self):
        self.write("clip.mov", b"movie")
        self.write("d/clip.mov", b"old")
        self.lease("d/clip.mov")
        self.assert_run(self.run_tool("-f", "clip.mov", "d/"), 0, "")
        self.assertEqual(self.read("d/clip.mov"), b"movie")


class LinkTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.target = "no/such target"
        os.symlink(self.target, self.path("link"))
        self.sha1 = hashlib.sha1(self.target.encode()).hexdigest()
        self.md5 = hashlib.md5(self.target.encode()).hexdigest()

    def test_link_is_copied_and_verified_as_a_link(self):
        result = self.run_tool("-v", "link", "d1/", "d2/other")
        self.assert_run(result, 0, "INFO: copying ...\nhash SHA1:%s\nhash MD5:%s\n"
                        "INFO: verifying d1/\nINFO: verifying d2\nINFO: verifying \n"
                        "verify of destination file #1 (d1/link) ok.\n"
                        "verify of destination file #2 (d2/other) ok.\n"
                        "verify of source file #3 (link) ok.\n" % (self.sha1, self.md5))
        self.assertEqual(os.readlink(self.path("d1/link")), self.target)
        self.assertEqual(os.readlink(self.path("d2/other")), self.target)
        self.assert_list_entries("d1/sha1/link.sha1", ["SHA1(../link)= " + self.sha1])

    def test_existing_destination_ends_with_107(self):
        self.write("d/link", b"old")
        result = self.run_tool("link", "d/")
        self.assert_run(result, 107, "ERROR: File destination #1 (d/link) already exists.\n")

    def test_with_force_an_existing_file_ends_with_201(self):
        self.write("d/link", b"old")
        result = self.run_tool("-f", "link", "d/")
        self.assert_run(result, 201, "ERROR: can't open destination file (d/link) (201i)")
        self.assertEqual(self.read("d/link"), b"old")

    def test_link_that_can_not_be_read_is_no_source(self):
        result = self.run_tool("link", "d/", faults=["readlink =link 1 1 EIO"])
        self.assert_run(result, 200, "ERROR: can't open source file (200i)")
        self.assertEqual(self.tree("d"), {})

    def test_unverified_link_prints_absent_digests(self):
        self.write("no/such target", b"now it exists")
        os.makedirs(self.path("d/no"))
        self.write("d/no/such target", b"so does the copy's")
        result = self.run_tool("-v", "-n", "link", "d/")
        self.assert_run(result, 0, "INFO: copying ...\nhash SHA1:(null)\nhash MD5:(null)\n"
                        "Copy completed successfully for destination file (d/link)\n")

    def test_unverified_copy_of_a_dangling_link_counts_as_missing(self):
        result = self.run_tool("-n", "link", "d/")
        self.assert_run(result, 116, "Copy failed for destination file (d/link)\n")

    def test_changed_link_is_a_wrong_hash(self):
        change = self.script("change", "ln -sfn other d/link")
        result = self.run_tool("link", "d/", faults=["lstat d/link 2 1 run=" + change])
        other = hashlib.sha1(b"other").hexdigest()
        self.assert_run(result, 109, "INFO: expected hash: %s but got hash: %s.\n"
                        "ERROR: verify of destination file #1 (d/link) failed, wrong hash.\n" % (self.sha1, other))


class UnverifiedTest(ProcessTest):
    def test_every_copy_is_reported_and_no_list_written(self):
        self.write_frames("f_%02d.dpx", (1, 2))
        result = self.run_tool("-n", "-s", "f_1-2##.dpx", "d1/", "d2/")
        self.assert_run(result, 0, "".join(
            "Copy completed successfully for destination file (%s/f_%02d.dpx)\n" % (folder, frame)
            for frame in (1, 2) for folder in ("d1", "d2")))
        self.assert_no_hash_lists()

    def test_verbose_names_no_digest(self):
        self.write("clip.mov", b"movie")
        self.assert_run(self.run_tool("-n", "-v", "clip.mov", "d/"), 0, "INFO: copying ...\n"
                        "INFO: copied 0 of 5 bytes\nCopy completed successfully for destination file (d/clip.mov)\n")

    def test_missing_copy_ends_with_116(self):
        self.write("clip.mov", b"movie")
        lose = self.script("lose", "rm d2/clip.mov")
        result = self.run_tool("-n", "clip.mov", "d1/", "d2/", faults=["stat d1/clip.mov 2 1 run=" + lose])
        self.assert_run(result, 116, "Copy completed successfully for destination file (d1/clip.mov)\n"
                        "Copy failed for destination file (d2/clip.mov)\n")


class OpenFailureTest(ProcessTest):
    def test_unreadable_source_ends_with_200(self):
        self.write("clip.mov", b"movie")
        os.chmod(self.path("clip.mov"), 0)
        os.makedirs(self.path("d"))
        os.chmod(self.path("d"), 0o777)
        result = self.run_tool_unprivileged("clip.mov", "d/")
        self.assert_run(result, 200, "ERROR: can't open source file (200i)")
        self.assertEqual(self.tree("d"), {})

    def test_missing_later_frame_ends_with_200_and_leaves_the_earlier_ones(self):
        self.write_frames("f_%02d.dpx", (1, 3))
        result = self.run_tool("-s", "f_1-3##.dpx", "d/")
        self.assert_run(result, 200, "ERROR: can't open source file (200i)")
        self.assertEqual(self.tree("d"), {"f_01.dpx": self.read("f_01.dpx")})

    def test_destination_that_is_a_folder_ends_with_201(self):
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d2/clip.mov"))
        result = self.run_tool("-f", "clip.mov", "d1/", "d2/")
        self.assert_run(result, 201, "ERROR: can't open destination file (#2) (201i)")

    def test_destination_that_may_not_be_written_ends_with_201(self):
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d"))
        result = self.run_tool_unprivileged("clip.mov", "d/")
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")

    def test_empty_destination_text_ends_with_201(self):
        self.write("clip.mov", b"movie")
        result = self.run_tool("clip.mov", "")
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")

    def test_cache_request_of_a_failed_open_leaves_standard_input_alone(self):
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d/clip.mov"))
        for standard_input in (os.pipe()[0], os.open(self.path("clip.mov"), os.O_RDONLY)):
            flags = subprocess.run(["cat", "/proc/self/fdinfo/0"], stdin=standard_input, stdout=subprocess.PIPE).stdout
            run = subprocess.run(self.command("-f", "clip.mov", "d/"), cwd=self.folder, stdin=standard_input,
                                 env=self.environment(), stdout=subprocess.PIPE, timeout=60)
            self.assertEqual(run.returncode, 201)
            after = subprocess.run(["cat", "/proc/self/fdinfo/0"], stdin=standard_input, stdout=subprocess.PIPE).stdout
            self.assertEqual(after, flags)
            os.close(standard_input)

    def test_cache_request_of_a_failed_open_goes_to_standard_input(self):
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d/clip.mov"))
        with open(self.write("stdin.txt", b"")) as standard_input:
            result = self.run_tool("-f", "clip.mov", "d/", stdin=standard_input, faults=["advise stdin.txt 1 1 EIO"])
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")


class WriteFailureTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", pattern(4 * BLOCK + 100))

    def assert_write_failure(self, result, status, name, reason, folder):
        self.assert_run(result, status, "ERROR: unexpected %s during write: %s\n"
                        "ERROR: failed writing to %s\n" % (name, reason, folder))
        self.assert_no_hash_lists()

    def test_failure_at_the_first_a_middle_and_the_last_block(self):
        for nth in (1, 3, 5):
            with self.subTest(nth):
                result = self.run_tool("-f", "clip.mov", "d1/", "d2/", faults=["write d2/clip.mov %d * EIO" % nth])
                self.assert_write_failure(result, 211, "EIO", "Input/output error", "d2/")

    def test_full_destination_ends_with_212(self):
        result = self.run_tool("clip.mov", "d1/", faults=["write d1/clip.mov 2 * ENOSPC"])
        self.assert_write_failure(result, 212, "ENOSPC", "No space left on device", "d1/")

    def test_quota_ends_with_211(self):
        result = self.run_tool("clip.mov", "d1/x.mov", faults=["write d1/x.mov 2 * EDQUOT"])
        self.assert_write_failure(result, 211, "EDQUOT", "Disk quota exceeded", "d1")

    def test_device_that_is_always_full(self):
        result = self.run_tool("-f", "clip.mov", "/dev/full")
        self.assert_write_failure(result, 212, "ENOSPC", "No space left on device", "/dev")

    def test_file_size_limit_is_a_write_failure(self):
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (BLOCK + 5, BLOCK + 5))
        result = self.run_tool("clip.mov", "d/", preexec_fn=limit)
        self.assert_write_failure(result, 211, "EFBIG", "File too large", "d/")

    def test_failed_close_is_a_write_failure(self):
        result = self.run_tool("clip.mov", "d1/", "d2/", faults=["close d2/clip.mov 1 1 EIO"])
        self.assert_write_failure(result, 211, "EIO", "Input/output error", "d2/")

    def test_message_does_not_depend_on_the_language(self):
        result = self.run_tool("clip.mov", "d1/", faults=["write d1/clip.mov 1 * ENOSPC"],
                               variables={"LC_ALL": "de_DE.UTF-8", "LANGUAGE": "de"})
        self.assert_write_failure(result, 212, "ENOSPC", "No space left on device", "d1/")

    def test_several_failing_destinations_end_with_the_lines_of_one(self):
        for attempt in range(10):
            result = self.run_tool("-f", "clip.mov", "d1/", "d2/", "d3/",
                                   faults=["write d1/clip.mov 1 * EIO", "write d2/clip.mov 1 * ENOSPC",
                                           "write d3/clip.mov 1 * EIO"])
            full = b"ERROR: unexpected ENOSPC during write: No space left on device\nERROR: failed writing to d2/\n"
            broken = b"ERROR: unexpected EIO during write: Input/output error\nERROR: failed writing to d%d/\n"
            self.assertIn((result.status, result.output), [(212, full), (211, broken % 1), (211, broken % 3)])


class ReadFailureTest(ProcessTest):
    FIRST = "ERROR: unexpected EIO during read: Input/output error of file: clip.mov at position:%d\n"

    def setUp(self):
        super().setUp()
        self.write("clip.mov", pattern(4 * BLOCK + 100))

    def assert_recovered(self, faults, positions):
        result = self.run_tool("-f", "clip.mov", "d1/", "d2/", faults=faults)
        lines = result.output.decode().splitlines(keepends=True)
        self.assertEqual(lines[0::2], [self.FIRST % position for position in positions])
        for line in lines[1::2]:
            self.assertRegex(line, r"\AINFO: file exists:1 volumes: \(.*\)\n\Z")
        self.assertEqual(result.status, 0)
        self.assertEqual(self.read("d1/clip.mov"), self.read("clip.mov"))
        self.assertEqual(self.read("d2/clip.mov"), self.read("clip.mov"))
        self.assert_checks("d1/sha1/clip.mov.sha1")

    def test_one_failure_at_the_first_a_middle_and_the_last_block_is_recovered(self):
        for nth, position in ((1, 0), (3, 2 * BLOCK), (5, 4 * BLOCK)):
            with self.subTest(nth):
                self.assert_recovered(["read clip.mov %d 1 EIO" % nth], [position])

    def test_every_block_may_fail_once(self):
        # The failed calls are the odd ones, their repetitions the even ones.
        self.assert_recovered(["read clip.mov %d 1 EIO" % nth for nth in (1, 3, 5, 7)],
                              [0, BLOCK, 2 * BLOCK, 3 * BLOCK])

    def test_second_failure_ends_with_220_and_names_the_first(self):
        for nth, position in ((1, 0), (3, 2 * BLOCK), (5, 4 * BLOCK)):
            with self.subTest(nth):
                result = self.run_tool("-f", "clip.mov", "d/", faults=[
                    "read clip.mov %d 1 EIO" % nth, "read clip.mov %d 1 EBADF" % (nth + 1)])
                lines = result.output.decode().splitlines(keepends=True)
                self.assertEqual(lines[0], self.FIRST % position)
                self.assertRegex(lines[1], r"\AINFO: file exists:1 volumes: \(.*\)\n\Z")
                self.assertEqual(lines[2:], ["ERROR: again unexpected EIO during read: Input/output error "
                                             "userInfo: {errno = 5}\n"])
                self.assertEqual(result.status, 220)
                self.assert_no_hash_lists()

    def test_source_that_is_gone_ends_with_220(self):
        lose = self.script("lose", "rm clip.mov")
        result = self.run_tool("clip.mov", "d/", faults=["read clip.mov 2 1 run=" + lose, "read clip.mov 2 1 EIO"])
        lines = result.output.decode().splitlines(keepends=True)
        self.assertEqual(lines[0], self.FIRST % BLOCK)
        self.assertRegex(lines[1], r"\AINFO: file exists:0 volumes: \(.*\)\n\Z")
        self.assertEqual(lines[2:], ["ERROR: could not reopen file handle for path: clip.mov\n"])
        self.assertEqual(result.status, 220)

    def test_volumes_name_the_mounted_ones(self):
        # In a mount namespace of its own, so that nobody mounts or unmounts anything meanwhile.
        require_mounts("unshare")
        self.command = lambda *arguments: ["unshare", "--mount", RVXCOPY, *arguments]
        look = self.script("look", "cat /proc/self/mounts > mounts")
        result = self.run_tool("clip.mov", "d/", faults=["read clip.mov 1 1 run=" + look, "read clip.mov 1 1 EIO"])
        volumes = result.output.decode().splitlines()[1].split(" volumes: ")[1].strip("()").split(", ")
        mounts = [line.split() for line in self.read("mounts").decode().splitlines()]
        self.assertTrue(set(volumes) <= {mount[1] for mount in mounts}, volumes)
        self.assertEqual([mount[1] for mount in mounts if mount[0].startswith("/dev/") and mount[1] not in volumes], [])
        self.assertNotIn("/proc", volumes)

    def test_folder_in_the_place_of_a_frame_fails_like_a_broken_block(self):
        self.write_frames("f_%02d.dpx", (1, 3))
        os.makedirs(self.path("f_02.dpx"))
        # A folder has a size of its own, whatever it is; nothing of it can be read.
        result = self.run_tool("-s", "f_1-3##.dpx", "d/")
        self.assertEqual(result.status, 220)
        self.assertTrue(result.output.startswith(b"ERROR: unexpected EISDIR during read: Is a directory of file: "
                                                 b"f_02.dpx at position:0\n"), result.output)


class TerminalTest(ProcessTest):
    def test_terminal_is_waited_for(self):
        terminal, path_end = os.openpty()
        self.addCleanup(os.close, terminal)
        self.addCleanup(os.close, path_end)
        source = os.ttyname(path_end)
        typing = threading.Timer(0.5, os.write, (terminal, b"late\n\x04"))  # a line and the end
        typing.start()
        result = self.run_tool("-n", source, "d/copy")
        typing.join()
        self.assert_run(result, 0, "Copy completed successfully for destination file (d/copy)\n")
        self.assertEqual(self.read("d/copy"), b"late\n")


if __name__ == "__main__":
    main()
