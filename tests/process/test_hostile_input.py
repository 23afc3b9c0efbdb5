"""Names, paths, links and kinds of files that nobody would choose, and what somebody must have typed in anger."""

import hashlib
import os
import socket
import stat
import threading

from output_texts import USAGE
from storage import StorageTest, require_mounts, run
from support import BLOCK, LONGEST_RUN, ProcessTest, coreutils_digest, file_bytes, main, pattern

LONGEST_NAME = 255
LONGEST_PATH = 4095  # bytes; the kernel's limit counts the zero at the end
LONGEST_ARGUMENT = 131071  # bytes, the kernel's limit as well


class HostileTest(ProcessTest):
    def assert_copied(self, result, copy, source="clip.mov"):
        self.assert_run(result, 0, "")
        self.assertEqual(self.read(copy), self.read(source))

    def assert_missing_source(self, source, *arguments):
        self.assert_run(self.run_tool(*arguments), 104,
                        b"ERROR: Source path %s does not exist.\n\n" % os.fsencode(source) + USAGE)


class LengthTest(HostileTest):
    def test_longest_name(self):
        name = "n" * LONGEST_NAME
        self.write(name, b"movie")
        self.assert_copied(self.run_tool("-o", "0", name, "d/"), "d/" + name, name)

    def test_name_that_no_file_can_have(self):
        self.write("clip.mov", b"movie")
        name = "n" * (LONGEST_NAME + 1)
        self.assert_missing_source(name, name, "d/")
        result = self.run_tool("clip.mov", "d/" + name)
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")
        result = self.run_tool("clip.mov", name + "/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (%s/).\n" % name)

    def test_name_that_is_longest_with_the_extension_of_its_list(self):
        for kind in ("sha1", "md5"):
            name = "n" * (LONGEST_NAME - len("." + kind))
            with self.subTest(kind):
                self.write(name, b"movie")
                self.assert_copied(self.run_tool("-t", kind, name, kind + "-d/"), "%s-d/%s" % (kind, name), name)
                self.assert_checks("%s-d/%s/%s.%s" % (kind, kind, name, kind))

    def test_name_too_long_for_the_extension_of_its_list_ends_with_115(self):
        self.write("clip.mov", b"movie")
        for kind in ("sha1", "md5"):
            name = "n" * (LONGEST_NAME - len("." + kind) + 1)
            list_file = "%s-d/%s/%s.%s" % (kind, kind, name, kind)
            with self.subTest(kind):
                result = self.run_tool("-t", kind, "clip.mov", "%s-d/%s" % (kind, name))
                self.assert_run(result, 115, "ERROR: couldn't write hash file to %s\n"
                                "ERROR: Can't write hash file (%s).\n" % (list_file, list_file))

    def folder_of_length(self, length):
        """The absolute path of a new folder in the test's."""
        path = self.folder
        while length - len(path) > 250:
            path += "/" + "f" * 200
        path += "/" + "f" * (length - len(path) - 1)
        os.makedirs(path)
        return path

    def test_longest_path_of_a_source(self):
        source = self.folder_of_length(LONGEST_PATH - len("/clip.mov")) + "/clip.mov"
        self.assertEqual(len(source), LONGEST_PATH)
        self.write(source, b"movie")
        self.assert_copied(self.run_tool(source, "d/"), "d/clip.mov", source)
        self.assert_missing_source(source + "x", source + "x", "e/")

    def test_longest_path_of_a_copy(self):
        self.write("clip.mov", b"movie")
        copy = self.folder_of_length(LONGEST_PATH - len("/copy")) + "/copy"
        self.assert_copied(self.run_tool("-o", "0", "clip.mov", copy), copy)
        result = self.run_tool("clip.mov", copy + "x")
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")

    def test_longest_path_of_a_folder(self):
        self.write("clip.mov", b"movie")
        # The slash counts: it is part of the path that is created.
        folder = self.folder_of_length(LONGEST_PATH - len("/ab/")) + "/ab/"
        result = self.run_tool("clip.mov", folder)
        self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")
        self.assertEqual(os.listdir(folder), [])
        longer = folder[:-1] + "c/"
        result = self.run_tool("clip.mov", longer)
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (%s).\n" % longer)

    def test_copy_whose_list_has_no_path_is_never_finished(self):
        self.write("clip.mov", b"movie")
        folder = self.folder_of_length(LONGEST_PATH - len("/copy"))
        list_file = folder + "/sha1/copy.sha1"
        result = self.run_tool("clip.mov", folder + "/copy")
        self.assertLessEqual(len(folder + "/sha1"), LONGEST_PATH)
        self.assert_run(result, 115, "ERROR: couldn't write hash file to %s\n"
                        "ERROR: Can't write hash file (%s).\n" % (list_file, list_file))
        # One byte more, and the list's folder has none either.
        folder = self.folder_of_length(LONGEST_PATH - len("/sha1") + 1)
        result = self.run_tool("clip.mov", folder + "/c")
        self.assert_run(result, 114, "ERROR: Can't create folder for hashes (%s/sha1).\n" % folder)
        self.assertEqual(file_bytes(folder + "/c"), b"movie")


class FolderTest(HostileTest):
    def test_folders_that_can_not_be_created_end_with_101(self):
        self.write("a/clip.mov", b"movie")
        self.write("mnt", b"a file")
        self.write("d/a", b"a file")
        longest = "f/" * 65000
        for arguments, folder in ((["mnt/"], "mnt/"), (["-p", "1", "d/"], "d/a"), (["/dev/null/"], "/dev/null/"),
                                  ([longest], longest)):
            with self.subTest(arguments[-1][:20]):
                result = self.run_tool("a/clip.mov", *arguments)
                self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (%s).\n" % folder)

    def test_folders_that_can_not_be_examined_up_to_the_root_end_with_101(self):
        self.write("clip.mov", b"movie")
        folder = self.path("mnt") + "/"
        result = self.run_tool("clip.mov", folder, faults=["stat =/* 1 * EIO"])
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (%s).\n" % folder)

    def test_current_folder_holds_the_copy_and_the_list_of_a_bare_name(self):
        self.write("clip.mov", b"movie")
        self.assert_copied(self.run_tool("clip.mov", "copy.mov"), "copy.mov")
        self.assert_list_entries("sha1/copy.mov.sha1",
                                 ["SHA1(../clip.mov)= " + hashlib.sha1(b"movie").hexdigest()])


class NameTest(HostileTest):
    NAMES = (b"a\nb", b"\n", b"ends\n", b"\xff\xfe\x80", b"\xc3\x28", b"\x01\x1b[2J\x07\x7f", b"tab\tcr\r", b" ",
             b"a)= b", b"(", b"\\", b"a\\nb", b"'\"`$(exit 1);&|<>*?[", b"#", b"%s%n%99999999d%", b"~", b"...",
             b"SHA1(x)= y", "\u202e\U0001f3ac".encode())

    def test_every_name_is_kept_as_it_is(self):
        digest = hashlib.sha1(b"movie").hexdigest().encode()
        for name in self.NAMES:
            with self.subTest(name):
                text = os.fsdecode(name)
                self.write("card %s/%s" % (text, text), b"movie")
                result = self.run_tool("-v", "card %s/%s" % (text, text), "d %s/" % text, "e/x " + text)
                self.assertEqual(result.status, 0, result.output)
                for line in (b"INFO: copying card " + name + b"...\n",
                             b"INFO: verifying d " + name + b"/\n",
                             b"verify of destination file #1 (d " + name + b"/" + name + b") ok.\n",
                             b"verify of destination file #2 (e/x " + name + b") ok.\n",
                             b"verify of source file #3 (card " + name + b"/" + name + b") ok.\n"):
                    self.assertIn(line, result.output)
                for copy in ("d %s/%s" % (text, text), "e/x " + text):
                    self.assertEqual(self.read(copy), b"movie")
                for list_file in ("d %s/sha1/%s.sha1" % (text, text), "e/sha1/x %s.sha1" % text):
                    header, rest = self.read(list_file).split(b"\n", 1)
                    self.assertTrue(header.startswith(b"# hash created by rvxvscopy by anna on "), header)
                    self.assertEqual(rest, b"# original file(s): card " + name + b"/" + name + b" \n"
                                     b"SHA1(../" + name + b")= " + digest + b"\n")
                # The format has no way to write a line end in a name.
                if b"\n" not in name:
                    self.assert_checks("d %s/sha1/%s.sha1" % (text, text))

    def test_every_name_of_a_sequence(self):
        # A "%" is read as a conversion of the frame number, and the last "#" ends the number's digits.
        for name in [name for name in self.NAMES if b"%" not in name and b"#" not in name]:
            with self.subTest(name):
                frames = [os.fsdecode(b"%s_%02d%s" % (name, number, name)) for number in (1, 2)]
                for frame in frames:
                    self.write("card/" + frame, os.fsencode(frame))
                result = self.run_tool("-f", "-s", os.fsdecode(b"card/%s_1-2##%s" % (name, name)), "d/")
                self.assert_run(result, 0, "")
                for frame in frames:
                    self.assertEqual(self.read("d/" + frame), os.fsencode(frame))

    def test_conversions_in_every_argument(self):
        hostile = "%s%n%99999999d"
        self.write(hostile, b"movie")
        usage = b"ERROR: Wrong arguments - -t must be followed by md5 or sha1.\n\n" + USAGE
        self.assert_run(self.run_tool(hostile, "d/", "-t", hostile), 108, usage)
        # A text that is no number is 0: no depth, and no list.
        self.assert_copied(self.run_tool("-p", hostile, "-o", hostile, hostile, hostile + "x/" + hostile),
                           hostile + "x/" + hostile, hostile)
        self.assertEqual(os.listdir(self.path(hostile + "x")), [hostile])
        self.assert_copied(self.run_tool(hostile, "d/", variables={"USER": hostile}), "d/" + hostile, hostile)
        self.assertTrue(self.read("d/sha1/%s.sha1" % hostile).startswith(
            b"# hash created by rvxvscopy by %s%n%99999999d on "))

    def test_files_named_like_options(self):
        for name in ("-v", "-s", "-f", "-p", "-t", "-o", "-n", "--", "-"):
            with self.subTest(name):
                self.write(name, name.encode())
                self.assert_copied(self.run_tool("./" + name, "./%s.d/" % name, "e/" + name), name + ".d/" + name, name)
                self.assertEqual(self.read("e/" + name), name.encode())
                self.assert_list_entries("e/sha1/%s.sha1" % name, [
                    "SHA1(../%s)= %s" % (name, coreutils_digest("sha1sum", self.path(name)))])

    def test_names_of_folders_are_no_names_of_copies(self):
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d"))
        for name in ("d", ".", "..", "d/.", "d/.."):
            with self.subTest(name):
                result = self.run_tool("clip.mov", name)
                self.assert_run(result, 107, "ERROR: File destination #1 (%s) already exists.\n" % name)
                result = self.run_tool("-f", "clip.mov", name)
                self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")
        self.assert_run(self.run_tool("clip.mov", ""), 201, "ERROR: can't open destination file (#1) (201i)")
        self.assertEqual(self.tree("."), {"clip.mov": b"movie", "d": None})

    def test_source_with_a_trailing_slash_is_no_file(self):
        self.write("clip.mov", b"movie")
        self.assert_missing_source("clip.mov/", "clip.mov/", "d/")
        self.assert_missing_source("", "", "d/")

    def test_largest_argument(self):
        source = "x" * LONGEST_ARGUMENT
        self.assert_missing_source(source, source, "d/")

    def test_largest_identifier(self):
        prefix = "x" * (LONGEST_ARGUMENT - len("_1-2##"))
        self.assert_missing_source(prefix + "_01", "-s", prefix + "_1-2##", "d/")
        hashes = LONGEST_ARGUMENT - len("f_1-2")
        self.assert_missing_source("f_" + "1".zfill(hashes), "-s", "f_1-2" + "#" * hashes, "d/")
        # A run of "#" that begins at the very start has no digits.
        hashes = LONGEST_ARGUMENT - 1
        self.assert_missing_source("#" * hashes + "0", "-s", "#" * LONGEST_ARGUMENT, "d/")


class RangeTest(HostileTest):
    ENDLESS = "f_0-99999999999999999999#"  # as many frames as a 32-bit number has, less the negative ones

    def test_endless_range_without_its_first_frame(self):
        self.assert_missing_source("f_0", "-s", self.ENDLESS, "d/")

    def test_endless_range_that_has_some_frames(self):
        self.write_frames("f_%d", range(3), 1000)
        for options in ([], ["-f"]):
            result = self.run_tool(*options, "-s", self.ENDLESS, "d/")
            self.assert_run(result, 200, "ERROR: can't open source file (200i)")
            self.assertEqual(self.tree("d"), {name: self.read(name) for name in ("f_0", "f_1", "f_2")})


class KindTest(StorageTest):
    def socket_at(self, name):
        server = socket.socket(socket.AF_UNIX)
        self.addCleanup(server.close)
        folder = os.open(os.path.dirname(self.path(name)), os.O_PATH)  # the path itself may be too long for a socket
        server.bind("/proc/self/fd/%d/%s" % (folder, os.path.basename(name)))
        os.close(folder)

    def loop_device(self, contents):
        require_mounts("losetup")
        device = run("losetup", "--find", "--show", self.write("device.img", contents)).strip()
        self.addCleanup(run, "losetup", "--detach", device)
        return device

    def hold_open(self, path):
        """The last one who closes a device empties its cache; that is not the program now."""
        descriptor = os.open(path, os.O_RDONLY)
        self.addCleanup(os.close, descriptor)


class SourceKindTest(KindTest):
    """What ends is read until its end. What can't be opened without waiting for somebody is no source."""

    def test_fifo_and_socket(self):
        os.mkfifo(self.path("fifo"))
        self.socket_at("socket")
        for name in ("fifo", "socket"):
            with self.subTest(name):
                self.assert_run(self.run_tool(name, "d/"), 200, "ERROR: can't open source file (200i)")
                self.assertEqual(self.tree("d"), {})

    def test_device_without_contents(self):
        self.assert_run(self.run_tool("/dev/null", "d/"), 0, "")
        self.assertEqual(self.read("d/null"), b"")
        self.assert_list_entries("d/sha1/null.sha1", ["SHA1(../null)= " + hashlib.sha1(b"").hexdigest()])

    def test_device_without_end_fills_its_destination(self):
        self.tmpfs("small", 8)
        result = self.run_tool("/dev/zero", "small/d/")
        self.assert_run(result, 212, "ERROR: unexpected ENOSPC during write: No space left on device\n"
                        "ERROR: failed writing to small/d/\n")

    def test_block_device(self):
        device = self.loop_device(pattern(BLOCK + 4096))
        self.assert_run(self.run_tool(device, "d/card.img"), 0, "")
        self.assertEqual(self.read("d/card.img"), pattern(BLOCK + 4096))
        self.assert_list_entries("d/sha1/card.img.sha1", ["SHA1(../%s)= %s" % (
            os.path.basename(device), coreutils_digest("sha1sum", self.path("device.img")))])

    def test_block_device_that_others_use_is_read_twice(self):
        device = self.loop_device(pattern(2 * BLOCK + 4096))
        self.hold_open(device)
        before = self.bytes_read_from(os.path.basename(device))
        self.assert_run(self.run_tool(device, "d/card.img"), 0, "")
        self.assertGreaterEqual(self.bytes_read_from(os.path.basename(device)) - before, 2 * (2 * BLOCK + 4096))

    def test_block_device_is_copied_whatever_the_threads_do(self):
        # It has no size that its bytes could be counted up to. Who starts the threads comes too late to see none:
        # each is started when all before it have done what they can.
        device = self.loop_device(pattern(10 * BLOCK + 4096))
        wait = self.script("wait", "sleep 0.02; while sed 's/.*) //' /proc/$PPID/task/*/stat | grep -q '^[RD]'; do\n"
                                   "sleep 0.02; done")
        result = self.run_tool(device, "d/card.img", faults=["thread thread 1 * run=" + wait])
        self.assert_run(result, 0, "")
        self.assertEqual(self.read("d/card.img"), pattern(10 * BLOCK + 4096))


class DestinationKindTest(KindTest):
    """Something else than a file lies where a copy should go."""

    def setUp(self):
        super().setUp()
        self.write("clip.mov", pattern(BLOCK + 4096))
        self.digest = coreutils_digest("sha1sum", self.path("clip.mov"))
        os.makedirs(self.path("d"))

    def assert_exists(self):
        result = self.run_tool("clip.mov", "d/")
        self.assert_run(result, 107, "ERROR: File destination #1 (d/clip.mov) already exists.\n")

    def assert_wrong_hash(self, found):
        result = self.run_tool("-f", "clip.mov", "d/")
        self.assert_run(result, 109, "INFO: expected hash: %s but got hash: %s.\n" % (self.digest, found) +
                        "ERROR: verify of destination file #1 (d/clip.mov) failed, wrong hash.\n")
        self.assert_no_hash_lists()

    def test_fifo_and_socket(self):
        for place in (lambda: os.mkfifo(self.path("d/clip.mov")), lambda: self.socket_at("d/clip.mov")):
            place()
            self.assert_exists()
            result = self.run_tool("-f", "clip.mov", "d/")
            self.assert_run(result, 201, "ERROR: can't open destination file (#1) (201i)")
            os.remove(self.path("d/clip.mov"))

    def test_fifo_with_a_reader_can_not_be_read_back(self):
        os.mkfifo(self.path("d/clip.mov"))
        expected = self.read("clip.mov")
        # Opened for both, it needs nobody at the other end yet.
        with open(self.path("d/clip.mov"), "r+b", buffering=0) as fifo:
            taken = bytearray()

            def take():
                while len(taken) < len(expected):
                    taken.extend(fifo.read(len(expected) - len(taken)))
            reader = threading.Thread(target=take)
            reader.start()
            self.assert_wrong_hash("(null)")
            reader.join(timeout=LONGEST_RUN)
        self.assertEqual(bytes(taken), expected)

    def make_device(self, kind, number):
        self.tmpfs("d", 32)
        os.mknod(self.path("d/clip.mov"), kind | 0o666, number)

    def test_device_that_keeps_nothing(self):
        require_mounts()
        self.make_device(stat.S_IFCHR, os.makedev(1, 3))
        self.assert_exists()
        self.assert_wrong_hash(hashlib.sha1(b"").hexdigest())

    def test_block_device_of_the_same_size(self):
        device = self.loop_device(b"\0" * (BLOCK + 4096))
        self.make_device(stat.S_IFBLK, os.stat(device).st_rdev)
        self.assert_exists()
        self.assert_run(self.run_tool("-f", "clip.mov", "d/"), 0, "")
        self.assertEqual(self.read("device.img"), self.read("clip.mov"))
        self.assert_list_entries("d/sha1/clip.mov.sha1", ["SHA1(../clip.mov)= " + self.digest])

    def test_block_device_that_others_use_is_read_back_from_the_storage(self):
        device = self.loop_device(b"\0" * (BLOCK + 4096))
        self.make_device(stat.S_IFBLK, os.stat(device).st_rdev)
        self.hold_open(device)
        flip = self.script("flip", "printf '\\377' | dd of=device.img bs=1 seek=5000 conv=notrunc status=none")
        result = self.run_tool("-f", "clip.mov", "d/", faults=["lstat d/clip.mov 1 1 run=" + flip])
        damaged = bytearray(self.read("clip.mov"))
        damaged[5000] = 255
        self.assert_run(result, 109, "INFO: expected hash: %s but got hash: %s.\n" % (
            self.digest, hashlib.sha1(damaged).hexdigest()) +
                        "ERROR: verify of destination file #1 (d/clip.mov) failed, wrong hash.\n")
        self.assert_no_hash_lists()

    def test_block_device_that_is_larger(self):
        # What lies after the copy is read back as well: it is not the movie.
        device = self.loop_device(b"\0" * (BLOCK + 8192))
        self.make_device(stat.S_IFBLK, os.stat(device).st_rdev)
        self.assert_wrong_hash(hashlib.sha1(self.read("clip.mov") + b"\0" * 4096).hexdigest())

    def test_block_device_that_is_smaller(self):
        device = self.loop_device(b"\0" * BLOCK)
        self.make_device(stat.S_IFBLK, os.stat(device).st_rdev)
        result = self.run_tool("-f", "clip.mov", "d/")
        self.assert_run(result, 212, "ERROR: unexpected ENOSPC during write: No space left on device\n"
                        "ERROR: failed writing to d/\n")


class LinkLoopTest(HostileTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", b"movie")
        os.symlink("loop", self.path("loop"))

    def test_source_is_copied_as_the_link_it_is(self):
        os.symlink("/usr", self.path("folder"))
        for link, target in (("loop", "loop"), ("folder", "/usr")):
            self.assert_run(self.run_tool(link, "d/"), 0, "")
            self.assertEqual(os.readlink(self.path("d/" + link)), target)
            self.assert_list_entries("d/sha1/%s.sha1" % link, [
                "SHA1(../%s)= %s" % (link, hashlib.sha1(target.encode()).hexdigest())])

    def test_folder_of_the_source(self):
        self.assert_missing_source("loop/clip.mov", "loop/clip.mov", "d/")

    def test_destination_folder(self):
        result = self.run_tool("clip.mov", "loop/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (loop/).\n")
        result = self.run_tool("clip.mov", "loop/below/")
        self.assert_run(result, 101, "ERROR: Can't create destination folder #1 (loop/below/).\n")

    def test_link_is_not_made_twice(self):
        result = self.run_tool("-f", "loop", "d/", "./d/")
        self.assert_run(result, 201, "ERROR: can't open destination file (./d/loop) (201i)")
        self.assertEqual(self.tree("d"), {"loop": "-> loop"})


class LinkedHashFolderTest(HostileTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", b"movie")
        os.makedirs(self.path("d"))
        self.entries = ["SHA1(../clip.mov)= " + hashlib.sha1(b"movie").hexdigest()]

    def test_to_a_folder_elsewhere_is_followed(self):
        os.makedirs(self.path("lists"))
        os.symlink("../lists", self.path("d/sha1"))
        self.assert_copied(self.run_tool("clip.mov", "d/"), "d/clip.mov")
        self.assert_list_entries("lists/clip.mov.sha1", self.entries)
        self.assertEqual(os.readlink(self.path("d/sha1")), "../lists")

    def test_to_nothing_to_a_file_or_to_itself_ends_with_114(self):
        for target in ("nothing", "clip.mov", "sha1", "/dev/null"):
            with self.subTest(target):
                os.symlink(target, self.path("d/sha1"))
                result = self.run_tool("-f", "clip.mov", "d/")
                self.assert_run(result, 114, "ERROR: Can't create folder for hashes (d/sha1).\n")
                self.assertEqual(self.tree("d"), {"clip.mov": b"movie", "sha1": "-> " + target})
                os.remove(self.path("d/sha1"))

    def test_list_that_is_a_link_is_replaced_and_what_it_names_left_alone(self):
        self.write("precious", b"somebody else's")
        os.makedirs(self.path("d/sha1"))
        for target in ("../../precious", "nothing", "../clip.mov", "clip.mov.sha1"):
            with self.subTest(target):
                os.symlink(target, self.path("d/sha1/clip.mov.sha1"))
                self.assert_copied(self.run_tool("-f", "clip.mov", "d/"), "d/clip.mov")
                self.assertFalse(os.path.islink(self.path("d/sha1/clip.mov.sha1")))
                self.assert_checks("d/sha1/clip.mov.sha1")
                os.remove(self.path("d/sha1/clip.mov.sha1"))
        self.assertEqual(self.read("precious"), b"somebody else's")


if __name__ == "__main__":
    main()
