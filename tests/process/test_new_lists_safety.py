"""rvxcheck --mhl and --ascmhl: that nothing else is touched, and what is left by a full disk, a failure or a kill."""

import os
import re
import signal
import subprocess

from check import RVXCHECK
from new_lists import A, NewListTest
from storage import MIB, require, run
from support import SANITIZERS, main, pattern


class SafetyTest(NewListTest):
    def times(self, top):
        return {name: os.lstat(os.path.join(self.path(top), name)).st_mtime_ns
                for name, data in self.tree(top).items() if data is not None}

    def test_nothing_is_touched_but_the_new_list(self):
        self.roll()
        for option in ("--ascmhl", "--ascmhl"):
            tree, times = self.tree("B007"), self.times("B007")
            new = os.path.relpath(self.write_list(option), "B007")
            chain = "ascmhl/ascmhl_chain.xml"
            after, new_times = self.tree("B007"), self.times("B007")
            for name in {new, chain, "ascmhl"} - ({"ascmhl"} & set(tree)):
                after.pop(name, None)
                new_times.pop(name, None)
            tree.pop(chain, None)
            times.pop(chain, None)
            self.assertEqual((after, new_times), (tree, times))

    def test_what_is_there_is_never_replaced(self):
        self.put("p", "a")
        self.write("p/ascmhl", A)
        self.list("p/SHA1SUMS", "a", "ascmhl")
        self.unwritten("--ascmhl", "p", "File exists")

    def test_a_full_disk(self):
        self.tmpfs("full", 1)
        folder = self.path("full")
        self.put("full", *["%03d" % i for i in range(20)])
        space = os.statvfs(folder).f_bavail
        for option, pages in (("--mhl", 2), ("--ascmhl", 3)):  # that the lists need
            for free in range(pages):
                self.write("full/.rvxcopy-fill.tmp", bytes((space - free) * 4096))
                before = self.tree("full")
                result = self.run_tool(option, folder)
                self.assertIn("unwritten  %s (No space left on device)\n" % folder, result.output.decode())
                self.assertEqual((result.status, self.tree("full")), (40, before))
        self.write("full/.rvxcopy-fill.tmp", bytes((space - free - 1) * 4096))
        self.assertEqual(self.run_tool(option, folder).status, 0)

    def test_a_list_that_reads_back_as_something_else(self):
        self.put("p", "a")
        for fault in ("write .tmp 1 1 lie", "write .tmp 2 1 lie", "read .tmp 1 2 EIO", "openr .tmp 1 1 EIO"):
            with self.subTest(fault):
                self.unwritten("--ascmhl", "p", "Input/output error", faults=[fault])
        self.write_list("--ascmhl", folder="p", faults=["read .tmp 1 1 EIO"])  # read once more

    def test_a_read_only_disk(self):
        self.disk("disk", "ext4")
        self.put("disk", "a")
        run("mount", "-o", "remount,ro", self.path("disk"))
        for option in ("--mhl", "--ascmhl"):
            self.unwritten(option, "disk", "Read-only file system")

    def test_an_interrupted_run(self):
        self.put("p", "a", data=pattern(MIB))
        for option in ("--mhl", "--ascmhl"):
            before = self.tree("p")
            interrupt = self.script("interrupt", "kill -INT $PPID\nsleep 2")
            result = self.run_tool(option, "p", faults=["read p/a 1 1 run=" + interrupt])
            self.assertEqual(result.status, -signal.SIGINT)
            self.assertIn(b"interrupted", result.output)
            self.assertNotIn(b"wr", result.output.replace(b"written", b""))
            self.assertEqual(self.tree("p"), before)


if not SANITIZERS:  # whose runtime can't be traced
    class CallsTest(NewListTest):
        """What is there after a kill, or a failure, at each call that decides."""

        def setUp(self):
            super().setUp()
            require("strace")
            self.roll()

        def trace(self, option, injection):
            """The status, and what was told."""
            run = subprocess.run(["strace", "-f", "-o", "/dev/null", "-e", "trace=fsync,rename,renameat2",
                                  "-e", "inject=" + injection, RVXCHECK, option, "B007"],
                                 cwd=self.folder, stdout=subprocess.PIPE, timeout=60)
            return run.returncode, run.stdout.decode()

        def reset(self, state):
            run("rm", "-rf", self.path("B007"))
            run("cp", "-a", state, self.path("B007"))

        def states(self):
            """The option, a roll without a history or with one, and how many renames and syncs it takes."""
            self.write_list("--ascmhl")
            run("cp", "-a", self.path("B007"), self.path("old"))
            run("rm", "-rf", self.path("B007/ascmhl"))
            os.remove(self.path("B007/empty.idx"))
            self.write("B007/B007.md5", self.read("B007/B007.md5").split(b"\n")[0] + b"\n")
            run("cp", "-a", self.path("B007"), self.path("none"))
            return (("--mhl", "none", {"renameat2": 1, "fsync": 2}), ("--ascmhl", "none", {"renameat2": 3, "fsync": 5}),
                    ("--ascmhl", "old", {"renameat2": 1, "rename": 1, "fsync": 4}))

        def calls_with(self, effect):
            """Makes each of them in turn have that effect: the option, which call, and what was there before."""
            for option, name, counts in self.states():
                for call, count in counts.items():
                    for number in range(1, count + 2):
                        self.reset(self.path(name))
                        before = self.tree("B007")
                        status, told = self.trace(option, "%s:%s:when=%d" % (call, effect, number))
                        if number > count:
                            self.assertEqual(status, 0, "there is no further one")
                        else:
                            yield option, "%s %d of %d, %s" % (call, number, count, name), before, status, told

        def test_killed_at_each(self):
            chain = "ascmhl/ascmhl_chain.xml"
            for option, call, before, status, _ in self.calls_with("signal=SIGKILL"):
                with self.subTest(call, option=option):
                    self.assertEqual(status, -signal.SIGKILL)
                    after = self.tree("B007")
                    self.assertEqual({name: data for name, data in after.items() if name in before and name != chain},
                                     {name: data for name, data in before.items() if name != chain})
                    new = [name for name in self.lists("B007") if os.path.relpath(name, "B007") not in before]
                    result = self.run_tool("B007")
                    if new and before.get(chain) == after.get(chain) and option == "--ascmhl":
                        self.assertEqual(result.status, 21)
                        self.assertIn("unlisted   %s\n" % new[0], result.output.decode())
                    else:
                        self.assertEqual(result.status, 0, result.output)
                        if option == "--ascmhl" or not new:
                            self.assertEqual(self.run_tool(option, "B007").status, 0)

        def test_failed_at_each(self):
            for option, call, before, status, told in self.calls_with("error=EIO"):
                with self.subTest(call, option=option):
                    self.assertEqual(status, 40)
                    self.assertIn("unwritten  B007 (Input/output error)\n", told)
                    if re.match(r"fsync (\d) of \1", call):  # after the last rename
                        self.assertNotEqual(self.tree("B007"), before)
                        self.assert_good("B007")
                    else:
                        self.assertEqual(self.tree("B007"), before)

        def test_interrupted_while_a_list_is_written(self):
            for option, name, _ in self.states():
                self.reset(self.path(name))
                before = self.tree("B007")
                status, told = self.trace(option, "fsync:signal=SIGINT:when=1")
                self.assertEqual((status, self.tree("B007")), (-signal.SIGINT, before))
                self.assertRegex(told, r"^[^\n]* bad lines; interrupted, 0 files not checked\n$")

        def test_where_a_rename_can_not_promise_to_replace_nothing(self):
            for number in (1, 2):
                status, told = self.trace("--ascmhl", "renameat2:error=EINVAL")
                self.assertEqual((status, len(self.lists("B007"))), (0, number), told)
                self.assert_good("B007")
            run("rm", "-rf", self.path("B007/ascmhl"))
            self.write("B007/ascmhl", A)
            self.list("B007/SHA1SUMS", "ascmhl")
            status, told = self.trace("--ascmhl", "renameat2:error=EINVAL")
            self.assertEqual(status, 40)
            self.assertIn("unwritten  B007 (File exists)\n", told)
            self.assertEqual(self.read("B007/ascmhl"), A)


if __name__ == "__main__":
    main()
