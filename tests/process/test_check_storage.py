"""rvxcheck on disks: that it reads them and not memory, which card may go, what fails, and that it writes nothing."""

import fcntl
import os
import pty
import re
import select
import shutil
import struct
import subprocess
import termios

from check import RVXCHECK, CheckRuns, digest, folder_of, hash_of, manifest, summary
from storage import DISK_FILE_SYSTEMS, MIB, StorageTest, require, require_mounts, run, warm
from support import CHUNK, SANITIZERS, THOROUGH, main, pattern, share

A = b"take one"

# What a call may meet: an error number, and how many times.
FAULTS = (("EIO", 1), ("EIO", "*"), ("EACCES", "*"), ("EINTR", 1))

# Sends the program that waits for this script a signal, and returns to it only if it does not end by that. Whoever
# reads its output is not to wait for the script.
GONE_BY_SIGNAL = """kill -%s $PPID
exec >/dev/null 2>&1
while kill -0 $PPID; do sleep 0.01; done
"""


class CheckStorageTest(CheckRuns, StorageTest):
    def check(self, *arguments, status=0, lines="", faults=None, card="", **counts):
        self.assert_run(self.run_tool(*arguments, faults=faults), status, lines + summary(**counts) + card)

    def put(self, folder, *names, data=A):
        """Files, and their list."""
        for name in names:
            self.write("%s/%s" % (folder, name), data)
        self.list(folder + "/SHA1SUMS", *names)


class ReadingTest(CheckStorageTest):
    def test_what_rots_under_a_warm_cache_is_changed(self):
        mark = os.urandom(32)
        for file_system in DISK_FILE_SYSTEMS:
            with self.subTest(file_system):
                self.disk(file_system, file_system)
                self.put(file_system, "a", data=pattern(3 * MIB) + mark + pattern(MIB))
                run("sync")
                warm(self.path(file_system + "/a"))
                with open(self.path(file_system + ".img"), "r+b") as image:
                    image.seek(image.read().index(mark))
                    image.write(bytes(32))
                run("sh", "-c", "cd '%s' && sha1sum --quiet -c SHA1SUMS" % self.path(file_system))  # from memory
                # btrfs has digests of its own, and gives no bytes that differ from them.
                self.assertEqual(self.run_tool(file_system).status, 13 if file_system == "btrfs" else 11)

    def test_a_list_that_rots_under_a_warm_cache(self):
        self.disk("disk", "ext4")
        self.put("disk", "a")
        run("sync")
        warm(self.path("disk/SHA1SUMS"))
        line = digest(A).encode() + b"  a\n"
        with open(self.path("disk.img"), "r+b") as image:
            image.seek(image.read().index(line))
            image.write(b"0" * 40)
        self.assertEqual(self.read("disk/SHA1SUMS"), line)  # from memory
        self.check("disk", status=11, files=1, size="8 B", changed=1,
                   lines="changed    disk/a (SHA1 %s listed in disk/SHA1SUMS, read %s)\n" % ("0" * 40, digest(A)))

    def test_every_byte_comes_from_the_disk_and_only_once(self):
        device = self.disk("disk", "ext4")
        self.put("disk", "a", "b", data=pattern(20 * MIB + 5))
        self.list("disk/MD5SUMS", "a", "b", tool=("md5sum",))
        run("sync")
        warm(self.path("disk/a"))
        before = self.bytes_read_from(device)
        self.check("disk", files=2, size="41.9 MB", ok=2)
        self.assertAlmostEqual(self.bytes_read_from(device) - before, 40 * MIB, delta=MIB)

    def test_where_there_is_no_way_past_memory(self):
        self.tmpfs("memory", 10)
        self.fuse("fuse")
        words = "part of it from memory"
        for name in ("memory", "fuse"):
            self.put(name, "a")
            self.check(name, files=1, size="8 B", ok=1, source=words,
                       lines="memory     %s (no way past memory)\n" % self.path(name))
            self.put(name, "a", data=b"")
            self.check(name, files=1, ok=1)  # of which no byte was read
        self.put("fuse", "a")
        self.put("disk", "a")
        self.check("disk", "fuse", files=2, size="16 B", ok=2, source=words,
                   lines="memory     %s (no way past memory)\n" % self.path("fuse"))


class FaultsTest(CheckStorageTest):
    def setUp(self):
        super().setUp()
        self.put("p", "a", "b", "c", data=pattern(CHUNK + 1000))

    def test_a_block_that_fails_once_is_read_again_without_a_word(self):
        self.check("p", faults=["read p/b 2 1 EIO"], files=3, size="12.6 MB", ok=3)

    def test_what_fails_for_ever_is_one_finding(self):
        for fault, reason, size in (("read p/b 1 * EIO", "Input/output error at 0", "8.4 MB"),
                                    ("read p/b 2 * EIO", "Input/output error at 4194304", "12.6 MB"),
                                    ("openr p/b 1 * EACCES", "Permission denied", "8.4 MB"),
                                    ("openr p/b 1 * ENOENT", "No such file or directory", "8.4 MB"),
                                    ("lstat p/b 1 * EIO", "Input/output error", "8.4 MB")):
            with self.subTest(fault):
                self.check("p", faults=[fault], status=13, lines="unreadable p/b (%s)\n" % reason, files=3, size=size,
                           ok=2, unreadable=1)

    def test_of_two_failures_the_first_one_is_told(self):
        self.check("p", faults=["read p/b 1 1 EIO", "read p/b 2 * ENXIO"], status=13, files=3, size="8.4 MB", ok=2,
                   unreadable=1, lines="unreadable p/b (Input/output error at 0)\n")

    def test_a_list_that_fails(self):
        self.check("p", faults=["read p/SHA1SUMS 1 * EIO"], status=31, bad=1, unlisted=3,
                   lines="bad-list   p/SHA1SUMS (Input/output error)\n" + "".join("unlisted   p/%s\n" % x for x in "abc"))

    def test_a_disk_that_is_pulled_in_the_middle(self):
        self.put("q", "a", "b")
        self.check("p", "q", "-j1", faults=["read p/b 2 * ENODEV", "openr p/b 2 * ENODEV", "openr p/c 1 * ENXIO"],
                   status=13, files=5, size="8.4 MB", ok=3, unreadable=2,
                   lines="unreadable p/b (No such device at 4194304)\nunreadable p/c (No such device or address)\n")

    def test_on_the_card(self):
        self.check("--card", "p", "p", "-j1", faults=["read p/b 1 * EIO"], status=22, files=3, size="16.8 MB", ok=2,
                   unreadable=1, card=self.card_line(0, 4, "p"),
                   lines="unreadable p/b (Input/output error at 0)\nunsafe     p/SHA1SUMS (on 0 of 2 disks)\n"
                   "unsafe     p/a (on 0 of 2 disks)\nunsafe     p/b (Input/output error at 0)\n"
                   "unsafe     p/c (on 0 of 2 disks)\n")


class SweepTest(CheckStorageTest):
    """Every single call that a run makes on its files, failing once and for ever."""

    arguments = ("-j1", "-v", "p")
    swept = "p"
    statuses = (0, 2, 11, 13, 10, 31, 30, 21)
    met = {0, 2, 13, 31}

    def setUp(self):
        super().setUp()
        os.makedirs(self.path("p/sub"))
        self.write("p/a", pattern(CHUNK + 1000))
        self.write("p/sub/b", A)
        os.symlink("b", self.path("p/sub/link"))
        self.list("p/SHA1SUMS", "a", "sub/b", "sub/link")
        self.list("p/sub/b.md5", "b", tool=("md5sum",))
        self.write("p/reel/new", A)
        xxh64 = "<xxh64>5384a87f18df644b</xxh64>"
        self.history("p/reel", manifest(hash_of("old", xxh64)), manifest(hash_of("new", xxh64, before="old")))

    def calls(self):
        """(call, path below the folder, how many) of a run without a fault."""
        faults = ["* %s/%s 1 0 EIO" % (self.folder, self.swept), "* =%s* 1 0 EIO" % self.swept]
        subprocess.run(self.command(*self.arguments), cwd=self.folder, env=self.environment(faults), check=True,
                       stdout=subprocess.DEVNULL)
        with open(self.path("faults.log")) as log:
            made = [tuple(line.split(" ", 1)) for line in log.read().splitlines()]
        os.remove(self.path("faults.log"))
        return sorted((call, path, made.count((call, path))) for call, path in set(made))

    def test_no_failing_call_is_missed_and_all_other_files_are_judged(self):
        good = self.run_tool(*self.arguments)
        self.assertEqual(good.status, 0, good.output)
        calls = self.calls()
        self.assertGreater(len(calls), 15)
        outcomes = set()
        cases = [(call, path, nth, *fault) for call, path, count in calls for nth in range(1, count + 1)
                 for fault in FAULTS]
        for call, path, nth, error, times in share(cases, 40 if SANITIZERS else 7):
            with self.subTest(call=call, path=path, nth=nth, error=error, times=times):
                fault = "%s =%s %d %s %s" % (call, path, nth, times, error)
                run = subprocess.run(self.command(*self.arguments), cwd=self.folder, capture_output=True,
                                     env=self.environment([fault]), timeout=60)
                outcomes.add(run.returncode)
                self.assertIn(run.returncode, self.statuses)
                if times == 1 and call in ("read", "openr") and error == "EINTR":
                    self.assertEqual(run.returncode, 0)
                if run.returncode == 0:
                    self.assertEqual(run.stdout, good.output)
                elif run.returncode != 2:
                    below = path.replace(self.folder + "/", "").encode()
                    missing = ({line for line in good.output.splitlines() if line.startswith(b"ok ")}
                               - set(run.stdout.splitlines()))
                    is_list = (below.endswith((b"SUMS", b".md5", b".mhl", b".xml", b"ascmhl"))
                               or below in (b"p", b"p/sub", b"p/reel"))
                    self.assertTrue(is_list or all(line.endswith(below) or b"link" in line for line in missing),
                                    (missing, run.stdout))
        if THOROUGH:
            self.assertLessEqual(self.met, outcomes)


class CardSweepTest(SweepTest):
    """The same on the card: where it can't be read, it may not go."""

    arguments = ("-j1", "-v", "--card", "card", "--copies", "1", "p")
    swept = "card"
    statuses = (0, 2, 22)
    met = {0, 2, 22}

    def setUp(self):
        super().setUp()
        self.disk("card", "ext4")
        shutil.copytree(self.path("p"), self.path("card"), symlinks=True, dirs_exist_ok=True,
                        ignore=lambda folder, names: ["SHA1SUMS", "b.md5"])


class MemoryTest(CheckStorageTest):
    def peak(self, names):
        """The most memory, in bytes, of a run that knows so many listed files when it reads its only one."""
        self.write("p/a", A)
        entry = digest(A) + "  roll%04d/A001C%08d_frame.dpx\n"
        self.write("p/SHA1SUMS", ((digest(A) + "  a\n") + "".join(
            entry % (number // 1000, number) for number in range(names))).encode())
        note = self.path("peak")
        fault = "read p/a 1 1 run=" + self.script("note", "grep VmHWM /proc/$PPID/status > " + note)
        self.check("-q", "p", faults=[fault], status=10, files=names + 1, size="8 B", ok=1, missing=names,
                   lines="".join("missing    p/roll%04d/A001C%08d_frame.dpx (listed in p/SHA1SUMS)\n"
                                 % (number // 1000, number) for number in range(names)))
        with open(note) as file:
            return int(file.read().split()[1]) * 1024

    if not SANITIZERS:  # whose runtime needs memory of its own
        def test_grows_by_at_most_300_bytes_a_file(self):
            few, many = self.peak(20000), self.peak(120000)
            self.assertLess(many, (32 + 8) * MIB + 300 * 120000)
            self.assertLess(many - few, 300 * 100000)


class NothingIsWrittenTest(CheckStorageTest):
    def test_on_a_read_only_mount(self):
        self.disk("disk", "ext4")
        self.put("disk", "a", data=pattern(MIB))
        run("mount", "-o", "remount,ro", self.path("disk"))
        self.check("disk", files=1, size="1.0 MB", ok=1)

    if not SANITIZERS:  # whose runtime needs files of its own
        def test_no_call_writes(self):
            require("strace")
            self.put("p", "a", "b")
            self.write("card/a", A)
            log = self.path("log")
            calls = ("%file,write,pwrite64,writev,pwritev,pwritev2,ftruncate,fallocate,fchmod,fchown,utimensat,fsetxattr,"
                     "copy_file_range,sendfile,splice")
            subprocess.run(["strace", "-f", "-o", log, "-e", "trace=" + calls, RVXCHECK, "-v", "--card", "card", "p"],
                           cwd=self.folder, stdout=subprocess.DEVNULL, timeout=60)
            with open(log) as file:
                lines = file.read().splitlines()
            opened = [line for line in lines if "open" in line]
            self.assertTrue(any("p/a" in line for line in opened))
            allowed = re.compile(r"open(at)?\(.*O_RDONLY|write\((1|\d+<|\d+, \"\\1\\0)|(new)?fstatat|l?stat|statx|access|"
                                 r"readlink|getcwd|statfs|execve|\+\+\+|---|resumed")
            for line in lines:
                self.assertRegex(line.split(None, 1)[1], allowed)
                self.assertNotRegex(line, "O_(WRONLY|RDWR|CREAT|TRUNC)")


class CardTest(CheckStorageTest):
    def setUp(self):
        super().setUp()
        for name in ("card", "one", "two"):
            self.disk(name, "ext4", 16)
        self.write("card/DCIM/a", A)
        self.write("card/b", pattern(5000))

    def copy_to(self, folder, data_of_b=None):
        self.write(folder + "/a", A)
        self.write(folder + "/b", data_of_b or pattern(5000))
        self.list(folder + "/SHA1SUMS", "a", "b")

    def check_card(self, safe, of, *arguments, status=None, **options):
        self.check("--card", "card", *arguments, status=status or (0 if safe == of else 22),
                   card=self.card_line(safe, of, copies=options.pop("copies", 2)), **options)

    def test_on_two_disks(self):
        self.copy_to("one")
        self.copy_to("two/deep")
        self.check_card(2, 2, "one", "two", files=4, size="15.0 kB", ok=4)
        self.check_card(0, 2, "one", "two", "--copies", "3", files=4, size="15.0 kB", ok=4, copies=3,
                        lines="unsafe     card/DCIM/a (on 2 of 3 disks)\nunsafe     card/b (on 2 of 3 disks)\n")

    def test_twice_on_one_disk_or_on_its_own_or_in_memory_is_not_enough(self):
        self.tmpfs("memory", 10)
        for folder in ("one/1", "one/2", "memory", "card/copies"):
            self.copy_to(folder)
        self.check_card(0, 2, "one", "memory", "card/copies", "--ignore", "copies", files=8, size="25.0 kB", ok=8,
                        source="part of it from memory",
                        lines="unsafe     card/DCIM/a (on 1 of 2 disks)\nunsafe     card/b (on 1 of 2 disks)\n"
                        "memory     %s (no way past memory)\n" % self.path("memory"))

    def test_a_damaged_copy_does_not_count_and_needs_no_reading_where_no_size_fits(self):
        self.copy_to("one")
        self.copy_to("two")
        self.write("two/b", pattern(5000, 2))
        self.write("card/c", pattern(7))
        read = "changed    two/b (SHA1 %s listed in two/SHA1SUMS, read %s)\n" % (
            digest(pattern(5000)), digest(pattern(5000, 2)))
        self.check_card(1, 3, "one", "two", files=4, size="15.0 kB", ok=3, changed=1,
                        lines=read + "unsafe     card/b (on 1 of 2 disks)\nunsafe     card/c (on 0 of 2 disks)\n")
        os.remove(self.path("card/c"))
        self.copy_to("two/again")
        self.check_card(2, 2, "one", "two", status=11, files=6, size="20.0 kB", ok=5, changed=1, lines=read)

    def test_digests_of_several_kinds(self):
        self.copy_to("one")
        self.copy_to("two")
        os.remove(self.path("two/SHA1SUMS"))
        self.list("two/x.sha512", "a", "b", tool=("sha512sum",))
        self.check_card(2, 2, "one", "two", files=4, size="15.0 kB", ok=4)

    def test_the_text_of_a_link_is_no_copy_of_a_file(self):
        text = b"./././clip"
        self.write("card/text", text)
        for folder in ("one", "two"):
            self.copy_to(folder)
            self.write(folder + "/clip", bytes(len(text)))
            os.symlink(text, self.path(folder + "/link"))
            self.list(folder + "/l.sha1", "clip", "link")
            self.write(folder + "/text.sha1", b"%s  link\n" % digest(text).encode())  # the link is good by either
        self.check_card(2, 3, "one", "two", files=8, size="15.1 kB", ok=8,
                        lines="unsafe     card/text (on 0 of 2 disks)\n")

    def test_what_else_lies_on_a_card(self):
        for folder in ("one", "two"):
            self.copy_to(folder)
        os.mkfifo(self.path("card/fifo"))
        os.symlink("b", self.path("card/leads"))
        os.symlink("nowhere", self.path("card/lost"))
        os.symlink("card text", self.path("card/kept"))
        for folder in ("one", "two"):
            os.symlink("card text", self.path(folder + "/kept"))
            self.write(folder + "/l.sha1", b"%s  kept\n" % digest(b"card text").encode())
        self.write("card/.DS_Store", b"x")
        self.check_card(4, 6, "one", "two", files=6, size="15.0 kB", ok=6,
                        lines="unsafe     card/fifo (no regular file)\nunsafe     card/lost (on 0 of 2 disks)\n")

    def test_an_empty_card(self):
        os.remove(self.path("card/b"))
        os.remove(self.path("card/DCIM/a"))
        self.copy_to("one")
        self.check_card(0, 0, "one", status=22, files=2, size="5.0 kB", ok=2)

    def test_file_systems_that_share_a_disk_are_one(self):
        require_mounts("btrfs")
        device = self.disk("pool", "btrfs", 200)
        run("btrfs", "-q", "subvolume", "create", self.path("pool/sub"))
        self.mount("sub", "-o", "subvol=sub", "/dev/" + device)
        self.copy_to("sub")
        self.copy_to("pool/other")
        self.check_card(0, 2, "sub", "pool/other", files=4, size="15.0 kB", ok=4,
                        lines="unsafe     card/DCIM/a (on 1 of 2 disks)\nunsafe     card/b (on 1 of 2 disks)\n")
        self.copy_to("one")
        self.check_card(2, 2, "one", "sub", files=4, size="15.0 kB", ok=4)

    def test_partitions_are_their_disk(self):
        require_mounts("addpart", "losetup")
        with open(self.path("big.img"), "wb") as image:
            image.truncate(50 * MIB)
        loop = run("losetup", "--find", "--show", self.path("big.img")).strip()
        self.addCleanup(run, "losetup", "-d", loop)
        for number in (1, 2):
            name = "part%d" % number
            run("addpart", loop, str(number), str(number * 32768), "32768")
            self.addCleanup(run, "delpart", loop, str(number))
            run("mkfs.ext4", "-q", "%sp%d" % (loop, number))
            self.mount(name, "%sp%d" % (loop, number))
            self.copy_to(name)
        self.check_card(0, 2, "part1", "part2", files=4, size="15.0 kB", ok=4,
                        lines="unsafe     card/DCIM/a (on 1 of 2 disks)\nunsafe     card/b (on 1 of 2 disks)\n")

    def test_each_fuse_mount_is_one(self):
        self.fuse("f1")
        self.fuse("f2")
        self.copy_to("f1")
        self.copy_to("f2")
        memory = "".join("memory     %s (no way past memory)\n" % self.path(name) for name in ("f1", "f2"))
        self.check_card(2, 2, "f1", "f2", files=4, size="15.0 kB", ok=4, source="part of it from memory", lines=memory)


class InterruptedTest(CheckStorageTest):
    def test_what_is_known_is_told_and_the_process_ends_by_the_signal(self):
        for name in "abc":
            self.write("p/" + name, A)
        self.write("p/SHA1SUMS", "".join("%s  %s\n" % line for line in (
            (digest(A), "c"), ("0" * 40, "a"), (digest(A), "b"), ("0" * 40, "gone"))).encode())
        changed = "changed    p/a (SHA1 %s listed in p/SHA1SUMS, read %s)\n" % ("0" * 40, digest(A))
        missing = "missing    p/gone (listed in p/SHA1SUMS)\n"
        for number, name in ((2, "INT"), (15, "TERM")):
            fault = "read p/b 1 1 run=" + self.script(name, GONE_BY_SIGNAL % name)
            for arguments, card in ((("p",), ""), (("--card", "p", "p"), self.card_line(0, 4, "p"))):
                with self.subTest(name, arguments=arguments):
                    self.check("-j1", *arguments, status=-number, faults=[fault], lines=changed + missing, files=4,
                               size="16 B", ok=1, changed=1, missing=1, card=card,
                               rest="; interrupted, 1 files not checked")

    def test_bad_lines_of_a_list_that_is_still_to_be_read(self):
        self.write("p/a", A)
        for name in ("b.sha1", "z.sha1"):
            self.write("p/" + name, b"%s  a\nnonsense\n" % digest(A).encode())
        self.list("p/c.sha256", "b.sha1", tool=("sha256sum",))
        bad = "".join("bad-list   p/%s:2 (no digest line)\n" % name for name in ("b.sha1", "z.sha1"))
        fault = "read p/a 1 1 run=" + self.script("end", GONE_BY_SIGNAL % "INT")
        self.check("-j1", "p", status=-2, faults=[fault], lines=bad, files=2, bad=2,
                   rest="; interrupted, 2 files not checked")

    def test_a_path_without_a_list_that_another_lists_as_a_folder(self):
        self.write("p/file", A)
        os.makedirs(self.path("p/b"))
        self.history("p", manifest(hash_of("file", "<md5>%s</md5>" % digest(A, "md5sum")), folder_of("b")))
        self.check("p", "p/b", status=-2, faults=["lstat p/file 1 1 signal=2"], files=3,
                   lines="no-list    p/b (no list below it)\n", rest="; interrupted, 3 files not checked")


class ProgressTest(CheckStorageTest):
    def on_a_terminal(self, *arguments, columns=80):
        """Standard output, and what a terminal as standard error received."""
        leader, follower = pty.openpty()
        fcntl.ioctl(follower, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        fault = "read p/b 2 1 run=" + self.script("wait", "sleep 0.5")
        process = subprocess.Popen([RVXCHECK, *arguments], cwd=self.folder, env=self.environment([fault]),
                                   stdout=subprocess.PIPE, stderr=follower)
        os.close(follower)
        shown = b""
        while select.select([leader], [], [], 60)[0]:
            try:
                shown += os.read(leader, 65536)
            except OSError:  # how Linux tells the end
                break
        os.close(leader)
        return process.communicate(timeout=60)[0].decode(), shown

    def test_one_line_is_redrawn_and_erased(self):
        self.put("p", "a", "b", "c" * 100, data=pattern(CHUNK + 1000))
        output, shown = self.on_a_terminal("-j1", "p")
        self.assertEqual(output, summary(files=3, size="12.6 MB", ok=3))
        frames = shown.decode().split("\r\x1b[K")
        self.assertEqual((frames[0], frames[-1]), ("", ""))
        self.assertGreater(len(frames), 4)
        for frame in frames[1:-1]:
            self.assertRegex(frame, r"^\d+%, \d.* of 12\.6 MB, .*B/s, [-:\d]+ left, ")
        self.assertRegex("\n".join(frames), r"(?m)^66%, 8\.4 MB of 12\.6 MB, .*/s, 0:00:0\d left, p/b$")
        self.assertTrue(all(len(frame) < 40 for frame in
                            self.on_a_terminal("p", columns=40)[1].decode().split("\r\x1b[K")))

    def test_none_where_it_is_not_wanted(self):
        self.put("p", "a", "b", data=pattern(CHUNK + 1000))
        self.assertEqual(self.on_a_terminal("-q", "p")[1], b"")
        self.check("p", files=2, size="8.4 MB", ok=2)  # standard error is no terminal, and stays empty


if __name__ == "__main__":
    main()
