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


class HashListFailureTest(ProcessTest):
    def setUp(self):
        super().setUp()
        self.write("clip.mov", b"movie")

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


if __name__ == "__main__":
    main()
