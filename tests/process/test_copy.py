"""What a copy does to what exists, and what is done about failed reads and writes; beside what the stored runs show."""

import fcntl
import os
import signal
import subprocess
import time

from storage import require_mounts
from support import (BLOCK, LONGEST_RUN, RVXCOPY, ProcessTest, await_asleep, coreutils_digest, main, pattern,
                     share)


class MovieTest(ProcessTest):
    def test_copy_has_the_permissions_of_a_new_file(self):
        self.write("clip.mov", b"movie")
        os.chmod(self.path("clip.mov"), 0o400)
        self.assert_run(self.run_tool("clip.mov", "d/", umask=0o027), 0, "")
        self.assertEqual(os.stat(self.path("d/clip.mov")).st_mode & 0o777, 0o640)
        self.assertEqual(os.stat(self.path("d/sha1/clip.mov.sha1")).st_mode & 0o777, 0o640)
        self.assertEqual(os.stat(self.path("d/sha1")).st_mode & 0o777, 0o750)

    def test_sizes_around_every_block_border(self):
        sizes = [0, 1, 511, 4095, 4096, 4097]
        for multiple in (1, 2, 3, 4, 6, 8):
            sizes += [multiple * BLOCK + difference for difference in (-4097, -4096, -1, 0, 1, 4096, 4097)]
        for number, size in enumerate(share(sizes, 5)):
            with self.subTest(size):
                source = self.write("clip.mov", pattern(size, size))
                hash_type = ("sha1", "md5")[number % 2]
                self.assert_run(self.run_tool("-f", "-t", hash_type, "clip.mov", "d1/", "d2/"), 0, "")
                for folder in ("d1/", "d2/"):
                    self.assertEqual(self.read(folder + "clip.mov"), self.read("clip.mov"))
                list_file = hash_type + "/clip.mov." + hash_type
                self.assert_list_entries("d1/" + list_file, ["%s(../clip.mov)= %s" % (
                    hash_type.upper(), coreutils_digest(hash_type + "sum", source))])
                self.assert_checks("d2/" + list_file)


class ExistingDestinationTest(ProcessTest):
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

    def test_the_same_destination_twice_exists_and_is_written_twice_with_force(self):
        self.write("clip.mov", pattern(3 * BLOCK + 5))
        os.makedirs(self.path("d"))
        os.symlink("d", self.path("e"))
        self.write("d/hard.mov", b"old")
        os.link(self.path("d/hard.mov"), self.path("d/link.mov"))
        for second in ("d/", "./d/", "d/clip.mov", "e/"):
            with self.subTest(second):
                if os.path.exists(self.path("d/clip.mov")):
                    os.remove(self.path("d/clip.mov"))
                self.assert_run(self.run_tool("clip.mov", "d/", second), 107,
                                "ERROR: File destination #2 (%sclip.mov) already exists.\n" %
                                second.replace("clip.mov", ""))
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

    def setUp(self):
        super().setUp()
        self.write("a/clip.mov", b"the only take")
        os.makedirs(self.path("d1"))

    def test_each_way_to_the_source(self):
        """It exists, and with -f it is not opened. Nothing is written for an earlier destination."""
        os.link(self.path("a/clip.mov"), self.path("d1/hard.mov"))
        os.symlink("../a/clip.mov", self.path("d1/soft.mov"))
        os.symlink("a", self.path("b"))
        for path, arguments in (("a/clip.mov", ["a/"]), ("./a/clip.mov", ["-p", "1", "./"]),
                                ("a/clip.mov", ["d1/", "a/clip.mov"]), ("d1/hard.mov", ["d1/hard.mov"]),
                                ("d1/soft.mov", ["d1/soft.mov"]), ("b/clip.mov", ["b/"])):
            number = arguments.count("d1/") + 1
            before = self.tree(".")
            for options in ([], ["-n"]):
                with self.subTest(arguments, options=options):
                    result = self.run_tool(*options, "a/clip.mov", *arguments)
                    self.assert_run(result, 107, self.EXISTS % (number, path))
                    created = {"d1/clip.mov": b""} if number > 1 else {}
                    self.assertEqual(self.tree("."), {**before, **created})
                    for name in created:
                        os.remove(self.path(name))
                    result = self.run_tool("-f", *options, "a/clip.mov", *arguments)
                    self.assert_run(result, 201, self.REFUSED % number)
                    self.assertEqual(self.tree("."), before)

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

    def test_source_and_destination(self):
        self.write("clip.mov", b"movie")
        self.write("d/clip.mov", b"old")
        for name in ("clip.mov", "d/clip.mov"):
            self.lease(name)
            self.assert_run(self.run_tool("-f", "clip.mov", "d/"), 0, "")
            self.assertEqual(self.read("d/clip.mov"), b"movie")


class OpenFailureTest(ProcessTest):
    def test_cache_request_of_a_failed_open_goes_to_standard_input(self):
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d/clip.mov"))
        with open(self.write("stdin.txt", b"")) as standard_input:
            result = self.run_tool("-f", "clip.mov", "d/", stdin=standard_input, faults=["advise stdin.txt 1 1 EIO"])
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")


class WriteFailureTest(ProcessTest):
    def test_message_does_not_depend_on_the_language(self):
        self.write("clip.mov", b"movie")
        result = self.run_tool("-f", "clip.mov", "/dev/full", variables={"LC_ALL": "de_DE.UTF-8", "LANGUAGE": "de"})
        self.assert_run(result, 212, "ERROR: unexpected ENOSPC during write: No space left on device\n"
                        "ERROR: failed writing to /dev\n")

    def test_several_failing_destinations_end_with_the_lines_of_one(self):
        self.write("clip.mov", pattern(2 * BLOCK + 100))
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

    def assert_lines(self, result, positions, ending):
        lines = result.output.decode().splitlines(keepends=True)
        self.assertEqual(lines[0:2 * len(positions):2], [self.FIRST % position for position in positions])
        for line in lines[1:2 * len(positions):2]:
            self.assertRegex(line, r"\AINFO: file exists:1 volumes: \(.*\)\n\Z")
        self.assertEqual(lines[2 * len(positions):], ending)

    def test_every_block_may_fail_once(self):
        # The failed calls are the odd ones, their repetitions the even ones.
        result = self.run_tool("clip.mov", "d1/", "d2/", faults=["read clip.mov %d 1 EIO" % nth for nth in (1, 3, 5, 7)])
        self.assert_lines(result, [0, BLOCK, 2 * BLOCK, 3 * BLOCK], [])
        self.assertEqual(result.status, 0)
        for folder in ("d1/", "d2/"):
            self.assertEqual(self.read(folder + "clip.mov"), self.read("clip.mov"))
            self.assert_checks(folder + "sha1/clip.mov.sha1")

    def test_second_failure_ends_with_220_and_names_the_first(self):
        result = self.run_tool("clip.mov", "d/", faults=["read clip.mov 3 1 EIO", "read clip.mov 4 1 EBADF"])
        self.assert_lines(result, [2 * BLOCK], ["ERROR: again unexpected EIO during read: Input/output error "
                                                "userInfo: {errno = 5}\n"])
        self.assertEqual(result.status, 220)
        self.assert_no_hash_lists()

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


class TerminalTest(ProcessTest):
    def test_terminal_is_waited_for(self):
        terminal, path_end = os.openpty()
        self.addCleanup(os.close, terminal)
        self.addCleanup(os.close, path_end)
        source = os.ttyname(path_end)
        process = subprocess.Popen(self.command("-n", source, "d/copy"), cwd=self.folder, env=self.environment(),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        await_asleep(process)
        os.write(terminal, b"late\n\x04")  # a line and the end
        printed, _ = process.communicate(timeout=LONGEST_RUN)
        self.assertEqual((process.returncode, printed),
                         (0, b"Copy completed successfully for destination file (d/copy)\n"))
        self.assertEqual(self.read("d/copy"), b"late\n")


if __name__ == "__main__":
    main()
