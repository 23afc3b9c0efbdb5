import os
import re
import subprocess
import time

from storage import require, run
from support import ProcessTest, coreutils_digest, main


class HashListTest(ProcessTest):
    def zone_with_leap_seconds(self):
        """A time zone in which the system's clock shows 27 s less, also as UTC, as with TZ=right/UTC."""
        require("zic")
        self.write("leaps", b"".join(b"Leap %d Dec 31 23:59:60 + S\n" % year for year in range(1980, 2007)))
        self.write("zones", b"Zone zone 0 - UTC\n")
        run("env", "PATH=/usr/sbin:/usr/bin", "zic", "-L", self.path("leaps"), "-d", self.folder, self.path("zones"))
        return self.path("zone")

    def test_list_of_a_movie_byte_for_byte(self):
        self.write("V/clip.mov", b"movie")
        zone = self.zone_with_leap_seconds()
        before = int(time.time())
        self.assert_run(self.run_tool("V/clip.mov", "d/", variables={"TZ": zone}), 0, "")
        header, originals, entry, rest = self.read("d/sha1/clip.mov.sha1").split(b"\n")
        found = re.fullmatch(rb"# hash created by rvxvscopy by anna on (.+) (\d{4}-\d\d-\d\d \d\d:\d\d:\d\d) \+0000",
                             header)
        self.assertIsNotNone(found, header)
        host = subprocess.run(["uname", "-n"], stdout=subprocess.PIPE).stdout.strip()
        if not os.path.exists("/etc/machine-info"):
            self.assertEqual(found[1], host)
        seconds = int(subprocess.run(["date", "-u", "-d", found[2].decode(), "+%s"], stdout=subprocess.PIPE).stdout)
        self.assertTrue(before <= seconds <= int(time.time()), header)
        self.assertEqual(originals, b"# original file(s): V/clip.mov ")
        self.assertEqual(entry, b"SHA1(../clip.mov)= " +
                         coreutils_digest("sha1sum", self.path("V/clip.mov")).encode())
        self.assertEqual(rest, b"")

    def test_user_who_is_not_named_is_a_question_mark(self):
        self.write("clip.mov", b"movie")
        subprocess.run(self.command("clip.mov", "d/"), cwd=self.folder, env={}, check=True)
        self.assertTrue(self.read("d/sha1/clip.mov.sha1").startswith(b"# hash created by rvxvscopy by ? on "))

    def test_list_of_a_sequence_is_sorted_and_names_the_identifier(self):
        self.write_frames("f_%02d.dpx", range(1, 13))
        self.assert_run(self.run_tool("-s", "-t", "md5", "f_1-12##.dpx", "d1/", "d2/list"), 0, "")
        entries = ["MD5(../f_%02d.dpx)= %s" % (n, coreutils_digest("md5sum", self.path("f_%02d.dpx" % n)))
                   for n in range(1, 13)]
        self.assert_list_entries("d1/md5/f_1-12##.dpx.md5", entries)
        self.assert_list_entries("d2/md5/list.md5", entries)
        self.assertEqual(self.read("d1/md5/f_1-12##.dpx.md5").split(b"\n")[1], b"# original file(s): f_1-12##.dpx ")
        self.assert_checks("d1/md5/f_1-12##.dpx.md5")
        self.assert_checks("d2/md5/list.md5")

    def test_key_of_a_renamed_copy_is_the_source_name(self):
        self.write("clip.mov", b"movie")
        self.assert_run(self.run_tool("clip.mov", "d/take.mov"), 0, "")
        self.assert_list_entries("d/sha1/take.mov.sha1", [
            "SHA1(../clip.mov)= " + coreutils_digest("sha1sum", self.path("clip.mov"))])

    def test_list_option_0_writes_no_folder(self):
        self.write("clip.mov", b"movie")
        result = self.run_tool("-v", "-o", "0", "clip.mov", "d/")
        self.assertIn(b"verify of destination file #1 (d/clip.mov) ok.\n", result.output)
        self.assertEqual(self.tree("d"), {"clip.mov": b"movie"})

    def test_existing_list_is_replaced(self):
        self.write("clip.mov", b"movie")
        self.write("d/sha1/clip.mov.sha1", b"an old list")
        self.assert_run(self.run_tool("clip.mov", "d/"), 0, "")
        self.assert_checks("d/sha1/clip.mov.sha1")
        self.assertEqual(os.listdir(self.path("d/sha1")), ["clip.mov.sha1"])


class HashListFailureTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", b"movie")

    def test_blocked_folder_ends_with_114(self):
        self.write("d2/sha1", b"a file")
        result = self.run_tool("clip.mov", "d1/", "d2/")
        self.assert_run(result, 114, "ERROR: Can't create folder for hashes (d2/sha1).\n")
        self.assert_checks("d1/sha1/clip.mov.sha1")

    def test_list_that_can_not_be_written_ends_with_115(self):
        os.makedirs(self.path("d2/sha1/clip.mov.sha1"))
        result = self.run_tool("clip.mov", "d1/", "d2/")
        self.assert_run(result, 115, "ERROR: couldn't write hash file to d2/sha1/clip.mov.sha1\n"
                        "ERROR: Can't write hash file (d2/sha1/clip.mov.sha1).\n")
        self.assert_checks("d1/sha1/clip.mov.sha1")
        self.assertEqual(os.listdir(self.path("d2/sha1")), ["clip.mov.sha1"])

    def test_list_never_replaces_a_copy(self):
        result = self.run_tool("clip.mov", "d/", "d/sha1/clip.mov.sha1")
        self.assert_run(result, 115, "ERROR: Can't write hash file (d/sha1/clip.mov.sha1).\n")
        self.assertEqual(self.read("d/sha1/clip.mov.sha1"), b"movie")

    def test_list_never_replaces_the_source(self):
        self.write("d/sha1/clip.mov.sha1", b"a source with an odd name")
        result = self.run_tool("d/sha1/clip.mov.sha1", "d/clip.mov")
        self.assert_run(result, 115, "ERROR: Can't write hash file (d/sha1/clip.mov.sha1).\n")
        self.assertEqual(self.read("d/sha1/clip.mov.sha1"), b"a source with an odd name")

    def test_each_step_that_fails_leaves_the_old_list_and_nothing_else(self):
        for fault in ("openw .tmp 1 1 EACCES", "write .tmp 1 1 ENOSPC", "fdatasync .tmp 1 1 EIO", "close .tmp 1 1 EIO",
                      "rename clip.mov.sha1 1 1 EIO"):
            with self.subTest(fault):
                self.write("d/sha1/clip.mov.sha1", b"an old list")
                result = self.run_tool("-f", "clip.mov", "d/", faults=[fault])
                self.assert_run(result, 115, "ERROR: couldn't write hash file to d/sha1/clip.mov.sha1\n"
                                "ERROR: Can't write hash file (d/sha1/clip.mov.sha1).\n")
                self.assertEqual(self.tree("d/sha1"), {"clip.mov.sha1": b"an old list"})

    def test_list_whose_folder_can_not_be_synced_is_there_and_whole(self):
        self.write("d/sha1/clip.mov.sha1", b"an old list")
        result = self.run_tool("clip.mov", "d/", faults=["fsync =*/d/sha1 1 1 EIO"])
        self.assert_run(result, 115, "ERROR: couldn't write hash file to d/sha1/clip.mov.sha1\n"
                        "ERROR: Can't write hash file (d/sha1/clip.mov.sha1).\n")
        self.assert_checks("d/sha1/clip.mov.sha1")
        self.assertEqual(os.listdir(self.path("d/sha1")), ["clip.mov.sha1"])

    def test_list_that_is_not_what_was_written_ends_with_115(self):
        damages = {"removed": "rm $list", "cut": "truncate -s 20 $list", "longer": "echo >> $list",
                   "zeros": "size=$(stat -c %s $list); truncate -s 0 $list; truncate -s $size $list"}
        faults = ["fsync =*/d/sha1 1 1 run=" + self.script(name, "list=d/sha1/clip.mov.sha1\n" + text)
                  for name, text in damages.items()]
        for fault in faults + ["write .tmp 1 1 lie", "rename .sha1 1 1 lie", "openr .sha1 1 1 EIO",
                               "read .sha1 1 2 EIO"]:
            with self.subTest(fault):
                result = self.run_tool("-f", "clip.mov", "d/", faults=[fault])
                self.assert_run(result, 115, "ERROR: couldn't write hash file to d/sha1/clip.mov.sha1\n"
                                "ERROR: Can't write hash file (d/sha1/clip.mov.sha1).\n")

    def test_list_is_read_back_once_more_where_that_failed(self):
        self.assert_run(self.run_tool("clip.mov", "d/", faults=["read .sha1 1 1 EIO"]), 0, "")
        self.assert_checks("d/sha1/clip.mov.sha1")

    def test_name_too_long_for_its_extension_ends_with_115(self):
        name = "n" * 252
        self.write(name, b"movie")
        result = self.run_tool(name, "d/")
        self.assert_run(result, 115, "ERROR: couldn't write hash file to d/sha1/%s.sha1\n"
                        "ERROR: Can't write hash file (d/sha1/%s.sha1).\n" % (name, name))
        self.assertEqual(self.tree("d/sha1"), {})


if __name__ == "__main__":
    main()
