"""rvxcheck by media hash lists: MHL 1.x, and the histories of ASC MHL."""

import os
import signal
import subprocess
import time

from check import RVXCHECK, CheckRuns, c4, digest, folder_of, hash_of, manifest, old_list, size_of, summary
from storage import MIB, StorageTest
from support import LONGEST_RUN, SANITIZERS, ProcessTest, main

A, B = b"take one", b"take two"
# Of take one and take two, as xxhsum has them.
XXH64, OTHER_XXH64 = "5384a87f18df644b", "09c2e5505245e3a2"
XXH3, OTHER_XXH3 = "fb949bce3f1631bd", "f642676908670097"
MD5, OTHER_MD5 = digest(A, "md5sum"), digest(B, "md5sum")
GOOD = "<xxh64>%s</xxh64>" % XXH64


class MediaTest(CheckRuns, ProcessTest):
    def interrupt(self, *arguments):
        """The output of a run that would take many minutes."""
        run = subprocess.Popen([RVXCHECK, *arguments], cwd=self.folder, stdout=subprocess.PIPE)
        self.addCleanup(run.kill)
        time.sleep(1)
        run.send_signal(signal.SIGINT)
        output, _ = run.communicate(timeout=LONGEST_RUN)
        self.assertEqual(run.returncode, -signal.SIGINT)
        return output

    def check_one(self, elements, status=0, lines="", **counts):
        """A file p/a and a list of it in the third line."""
        self.write("p/a", A)
        self.write("p/l.mhl", old_list(("a", elements)))
        self.check("p", status=status, lines=lines, files=1, **counts)


class DigestsTest(MediaTest):
    def test_each_algorithm(self):
        c4s = c4(A), c4(B)
        for name, text, label, listed, other in (
                ("md5", MD5.upper(), "MD5", MD5, OTHER_MD5), ("sha1", digest(A).upper(), "SHA1", digest(A), digest(B)),
                ("c4", c4s[0], "C4", *c4s), ("xxh64", XXH64.upper(), "XXH64", XXH64, OTHER_XXH64),
                ("xxh3", XXH3, "XXH3", XXH3, OTHER_XXH3),
                ("xxh128", "d71608ae26ada58b328ee22fb35accf7", "XXH128", "d71608ae26ada58b328ee22fb35accf7",
                 "7796b8aff6c7f651bfdff46481bdf732"),
                ("xxhash", "2442465453", "XXH32", "919510ad", "5a546389"), ("xxhash64be", XXH64, "XXH64", XXH64, OTHER_XXH64),
                ("xxhash64", XXH64, "XXH64", XXH64, OTHER_XXH64),
                ("xxhash64", "4b64df187fa88453", "XXH64", "4b64df187fa88453", OTHER_XXH64)):
            with self.subTest(name):
                self.check_one("<%s>%s</%s>" % (name, text, name), size="8 B", ok=1)
                self.write("p/a", B)
                self.check("p", status=11, files=1, size="8 B", changed=1,
                           lines="changed    p/a (%s %s listed in p/l.mhl, read %s)\n" % (label, listed, other))
        self.check_one("<xxhash64be>4b64df187fa88453</xxhash64be>", status=11, size="8 B", changed=1,
                       lines="changed    p/a (XXH64 4b64df187fa88453 listed in p/l.mhl, read %s)\n" % XXH64)

    def test_several_digests_of_several_lists_in_one_pass(self):
        self.check_one("<md5>%s</md5>%s" % (MD5, GOOD), size="8 B", ok=1)
        self.list("p/x.sha1", "a")
        self.check("p", files=1, size="8 B", ok=1)
        self.write("p/a", B)
        self.check("p", status=11, files=1, size="8 B", changed=3, lines="".join(
            "changed    p/a (%s %s listed in p/%s, read %s)\n" % line for line in (
                ("MD5", MD5, "l.mhl", OTHER_MD5), ("XXH64", XXH64, "l.mhl", OTHER_XXH64),
                ("SHA1", digest(A), "x.sha1", digest(B)))))

    def test_a_size_that_differs_needs_no_reading(self):
        changed = "changed    p/a (9 bytes listed in p/l.mhl, 8 found)\n"
        self.check_one("<size> 8 </size>" + GOOD, size="8 B", ok=1)
        self.check_one("<size>9</size><md5>%s</md5>%s" % (OTHER_MD5, GOOD), status=11, changed=1, lines=changed)
        self.list("p/x.md5", "a", tool=("md5sum",))
        self.check("p", status=11, files=1, size="8 B", changed=1, lines=changed)

    def test_without_a_digest_nothing_is_good(self):
        no_digest = "bad-list   p/l.mhl:3 (no digest)\n"
        for elements in ("<null/>", "<size>8</size><null></null>", "<blake3>00</blake3>", ""):
            with self.subTest(elements):
                self.check_one(elements, status=31, bad=1, lines=no_digest)
        self.check_one("<size>9</size><null/>", status=11, changed=1, bad=1,
                       lines="changed    p/a (9 bytes listed in p/l.mhl, 8 found)\n" + no_digest)
        os.remove(self.path("p/a"))
        self.check("p", status=10, files=1, missing=1, bad=1,
                   lines="missing    p/a (listed in p/l.mhl)\n" + no_digest)
        self.write("p/a", A)
        self.list("p/x.md5", "a", tool=("md5sum",))
        self.write("p/l.mhl", old_list(("a", "<null/>")))
        self.check("p", files=1, size="8 B", ok=1)


class OldListsTest(MediaTest):
    def test_a_file_that_two_lists_name(self):
        self.write("p/a", A)
        self.list("p/l.md5", "a", tool=("md5sum",))
        self.write("p/m.MHL", old_list(("a", GOOD)))
        self.check("-v", "p/m.MHL", files=1, size="8 B", ok=1, lines="ok         p/a\n")
        os.rename(self.path("p/a"), self.path("p/b"))
        self.check("p", status=10, files=1, missing=1, unlisted=1,
                   lines="missing    p/a (listed in p/l.md5)\nunlisted   p/b\n")

    def test_names_as_windows_writes_them(self):
        for name in ("p/Clips/a", "p/x\\y"):
            self.write(name, A)
        self.write("p/l.mhl", old_list(("Clips\\a", GOOD), ("x\\y", GOOD), ("Clips\\gone", GOOD)))
        self.check("-v", "p", status=10, files=3, size="16 B", ok=2, missing=1, lines="ok         p/Clips/a\n"
                   "missing    p/Clips/gone (listed in p/l.mhl)\nok         p/x\\\\y\n")

    def test_links_are_good_by_what_they_lead_to(self):
        self.write("p/a", A)
        for name, target in (("good", "a"), ("lost", "nowhere")):
            os.symlink(target, self.path("p/" + name))
        self.write("p/l.mhl", old_list(*((name, "<size>8</size>" + GOOD) for name in ("a", "good", "lost"))))
        self.check("p", status=11, files=3, size="16 B", ok=2, changed=1,
                   lines="changed    p/lost (8 bytes listed in p/l.mhl, 7 found)\n")


class BadListsTest(MediaTest):
    def bad(self, data, *problems, status=31, **counts):
        self.write("p/l.mhl", data)
        lines = "".join("bad-list   p/l.mhl%s (%s)\n" % problem for problem in problems)
        self.check("p", status=status, lines=lines, bad=len(problems), **counts)

    def test_what_is_no_list(self):
        for data, problem in ((b"text\n", (":1", "not well-formed")), (old_list(), ("", "no entry")),
                              (b"<hashlist/>", ("", "no media hash list that is known"))):
            with self.subTest(data):
                self.bad(data, problem)

    def test_what_stood_before_the_place_is_used(self):
        self.write("p/a", A)
        self.bad(old_list(("a", GOOD), ("b", GOOD)).replace(b"b</file>", b"b"), (":4", "not well-formed"),
                 files=1, size="8 B", ok=1)

    def test_what_remains_of_an_entry_is_used(self):
        self.write("p/a", A)
        self.bad(old_list(("a", "<size>many</size><md5>1</md5>" + GOOD), ("", GOOD), ("/a", GOOD), ("../a", GOOD)),
                 (":3", "size that is no number"), (":3", "digest of a wrong form"), (":4", "no path"),
                 (":5", "absolute name"), (":6", "name leads above PATH"), files=1, size="8 B", ok=1)


class HistoryTest(MediaTest):
    """The scope is p, in which a file a lies."""

    def setUp(self):
        super().setUp()
        self.write("p/a", A)

    def test_a_complete_history(self):
        self.write("p/ascmhl/README.txt", b"x")
        self.write("p/ascmhl/sub/file", b"x")
        os.makedirs(self.path("p/empty"))
        data = manifest(hash_of("a", '<xxh64 action="original">%s</xxh64>' % XXH64, size=8), folder_of("empty/"))
        one, = self.history("p", data)
        self.check("-v", "p", files=3, size=size_of(data, A), ok=3,
                   lines="ok         p/a\nok         %s\nok         p/empty\n" % one)
        os.rmdir(self.path("p/empty"))
        self.write("p/extra", A)
        self.check("p", status=10, files=3, size=size_of(data, A), ok=2, missing=1, unlisted=1,
                   lines="missing    p/empty (listed in %s)\nunlisted   p/extra\n" % one)

    def test_generations_of_other_files_and_algorithms_all_count(self):
        self.write("p/b", A)
        one, two = self.history("p", manifest(hash_of("a", GOOD)),
                                manifest(hash_of("b", GOOD), hash_of("a", "<md5>%s</md5>" % MD5)))
        self.assertEqual(self.run_tool("p").status, 0)
        self.write("p/a", B)
        run = self.run_tool("p")
        self.assertEqual(run.output.decode().splitlines()[:2], [
            "changed    p/a (XXH64 %s listed in %s, read %s)" % (XXH64, one, OTHER_XXH64),
            "changed    p/a (MD5 %s listed in %s, read %s)" % (MD5, two, OTHER_MD5)])
        self.assertEqual(run.status, 11)

    def test_digests_of_a_failed_check_are_never_used(self):
        failed = '<xxh64 action="failed">%s</xxh64>' % OTHER_XXH64
        good, bad = manifest(hash_of("a", GOOD)), manifest(hash_of("a", failed))
        self.history("p", good, bad)
        self.assertEqual(self.run_tool("p").status, 0)
        self.write("p/a", B)
        self.assertEqual(self.run_tool("p").status, 11)
        self.write("q/a", B)
        one, two = self.history("q", bad, bad)
        self.check("q", status=31, files=3, size=size_of(bad, bad), ok=2, bad=1,
                   lines="bad-list   %s:3 (no digest)\n" % one)

    def test_the_chain_is_a_list_of_the_manifests(self):
        first, second = manifest(hash_of("a", GOOD)), manifest(hash_of("a", "<xxh3>%s</xxh3>" % XXH3))
        one, two = self.history("p", first, second)
        chain = "p/ascmhl/ascmhl_chain.xml"
        touched = first.replace(b"in-place", b"transfer")
        self.write(one, touched)
        self.check("p", status=11, files=3, size=size_of(touched, second, A), ok=2, changed=1,
                   lines="changed    %s (C4 %s listed in %s, read %s)\n" % (one, c4(first), chain, c4(touched)))
        os.remove(self.path(one))
        self.check("p", status=10, files=3, size=size_of(second, A), ok=2, missing=1,
                   lines="missing    %s (listed in %s)\n" % (one, chain))
        self.write("p/a", B)  # what an unlisted manifest lists counts
        self.chain("p", (os.path.basename(one), c4(first)))
        self.check("p", status=11, files=2, size="8 B", changed=1, missing=1, unlisted=1,
                   lines="changed    p/a (XXH3 %s listed in %s, read %s)\n" % (XXH3, two, OTHER_XXH3)
                   + "missing    %s (listed in %s)\nunlisted   %s\n" % (one, chain, two))

    def test_what_the_chain_names_is_read_or_told(self):
        first, second = manifest(hash_of("a", GOOD)), manifest(hash_of("gone", GOOD))
        self.write("p/ascmhl/0001.mhl", first)
        self.write("p/ascmhl/0002.xml", second)
        os.symlink("0002.xml", self.path("p/ascmhl/0003.mhl"))
        names = ("0001.mhl", first), ("0002.xml", second), ("0003.mhl", second)
        self.chain("p", *((name, c4(data)) for name, data in names))
        self.check("p", status=31, files=4, size=size_of(A, first, second, second), ok=4, bad=2, lines="".join(
            "bad-list   p/ascmhl/ascmhl_chain.xml:%d (no manifest)\n" % line for line in (3, 4)))

    def test_without_a_chain(self):
        one, = self.history("p", manifest(hash_of("a", GOOD)))
        os.remove(self.path("p/ascmhl/ascmhl_chain.xml"))
        self.check("-v", "p", status=31, files=1, size="8 B", ok=1, bad=1,
                   lines="ok         p/a\nbad-list   p/ascmhl (no ascmhl_chain.xml)\n")

    def test_only_what_belongs_there_is_read_as_a_list_of_a_history(self):
        one, = self.history("p", old_list(("a", GOOD)))
        self.write("p/ascmhl/ascmhl_chain.xml", manifest(hash_of("a", GOOD)))
        problem = "(no media hash list that is known)\n"
        self.check("p", status=31, bad=2, unlisted=2,
                   lines="unlisted   p/a\nunlisted   %s\nbad-list   %s %sbad-list   p/ascmhl/ascmhl_chain.xml %s"
                   % (one, one, problem, problem))

    def test_a_history_can_not_be_named_as_a_path(self):
        one, = self.history("p", manifest(hash_of("a", GOOD)))
        os.symlink("ascmhl", self.path("p/link"))
        for path in ("p/ascmhl", "p/ascmhl/", one, "p/ascmhl/ascmhl_chain.xml", "p/link"):
            run = subprocess.run([RVXCHECK, path], cwd=self.folder, capture_output=True)
            self.assertEqual((run.returncode, run.stdout), (2, b""))
            self.assertTrue(run.stderr.startswith(
                b"rvxcheck: %s: name the folder that holds it\n" % path.rstrip("/").encode()), run.stderr)

    def test_a_history_in_a_folder_of_the_scope(self):
        self.write("p/reel/b", A)
        inner = manifest(hash_of("b", GOOD))
        one, = self.history("p/reel", inner)
        outer = manifest(hash_of("a", GOOD), folder_of("reel"), references=[(one[len("p/"):], c4(inner))])
        self.history("p", outer)
        self.check("p", files=5, size=size_of(inner, outer, A, A), ok=5)
        self.chain("p/reel")  # a reference does not make up for the chain
        run = self.run_tool("p").output.decode()
        self.assertIn("unlisted   %s\n" % one, run)
        self.write(one, inner + b"\n")
        self.assertIn("changed    %s (C4 %s listed in p/ascmhl/" % (one, c4(inner)), self.run_tool("p").output.decode())

    def test_several_paths(self):
        self.write("p/reel/b", A)
        self.history("p", manifest(hash_of("a", GOOD), hash_of("reel/b", GOOD), patterns=["*.tmp"]))
        self.write("p/reel/c.tmp", A)
        for paths in (("p", "p/reel"), ("p/reel", "p"), ("p",)):
            run = self.run_tool(*paths)
            self.assertEqual(run.status, 30 if "p/reel" in paths else 0)
            self.assertNotIn(b"unlisted ", run.output)


class RenamesTest(MediaTest):
    """Each generation's renames are taken from its own entries."""

    def assert_good(self, files, *manifests):
        """The files' contents are those that the first manifest lists under their old names."""
        for name, data in files.items():
            self.write(name, data)
        self.history("p", *manifests)
        run = self.run_tool("-v", "p")
        self.assertEqual(run.status, 0, run.output)
        for name in files:
            self.assertIn("ok         %s\n" % name, run.output.decode())
            self.write(name, b"damaged!")
            self.assertIn("changed    %s (" % name, self.run_tool("p").output.decode())
            self.write(name, files[name])

    OTHER = "<xxh64>%s</xxh64>" % OTHER_XXH64
    NONE = '<xxh64 action="failed">0000000000000000</xxh64>'  # so that only the older digests count

    def test_a_file(self):
        self.assert_good({"p/c": A}, manifest(hash_of("a", GOOD)), manifest(hash_of("b", self.NONE, before="a")),
                         manifest(hash_of("c", self.NONE, before="./b")))

    def test_two_that_change_places(self):
        self.assert_good({"p/a": B, "p/b": A}, manifest(hash_of("a", GOOD), hash_of("b", self.OTHER)),
                         manifest(hash_of("b", self.NONE, before="a"), hash_of("a", self.NONE, before="b")))

    def test_a_file_that_takes_the_name_of_another(self):
        self.assert_good({"p/b": A, "p/c": B}, manifest(hash_of("a", GOOD), hash_of("b", self.OTHER)),
                         manifest(hash_of("b", self.NONE, before="a"), hash_of("c", self.NONE, before="b")))

    def test_a_new_file_under_an_old_name(self):
        self.assert_good({"p/b": A, "p/a": B}, manifest(hash_of("a", GOOD)),
                         manifest(hash_of("a", self.OTHER), hash_of("b", self.NONE, before="a")))

    def test_a_folder_with_all_below_it(self):
        self.assert_good({"p/day2/reel/a": A, "p/day2/other": B, "p/day1x": A},
                         manifest(hash_of("day1/reel/a", GOOD), hash_of("day1/b", self.OTHER), folder_of("day1"),
                                  hash_of("day1x", GOOD)),
                         manifest(folder_of("day2/", before="day1/"), hash_of("day2/other", self.NONE, before="day1/b")))

    def test_a_name_that_each_generation_makes_longer(self):
        longer = "a" + "/b" * 1100
        names = self.history("p", manifest(hash_of("a", GOOD)), *[manifest(hash_of(longer, GOOD, before="a"))] * 2)
        self.check("p", status=10, files=4, size=size_of(*map(self.read, names)), ok=3, missing=1, bad=2,
                   lines="missing    p/%s (listed in %s)\n" % (longer, names[2]) + "".join(
                       "bad-list   %s:3 (path of more than 4095 bytes)\n" % name for name in names[:2]))

    def test_those_that_take_long_can_be_interrupted(self):
        self.history("p", manifest(*[hash_of("a" + "/b" * 2000, GOOD)] * 1000),
                     *(manifest(hash_of("c%d" % i, GOOD, before="d")) for i in range(2000)))
        self.interrupt("p")

    def test_the_order_is_that_of_the_numbers(self):
        self.write("p/c", A)
        self.history("p", manifest(hash_of("a", GOOD)), manifest(hash_of("b", self.NONE, before="a")),
                     manifest(hash_of("c", self.NONE, before="b")), first=9998)
        self.assertEqual(self.run_tool("p").status, 0)


class PatternsTest(MediaTest):
    def test_what_the_newest_patterns_excuse(self):
        for name in ("a", "x.tmp", "sub/y.tmp", "cache/z", "sub/cache/z", "keep.tmp", "notes"):
            self.write("p/" + name, A)
        self.history("p", manifest(hash_of("a", GOOD), patterns=["notes", "ascmhl"]),
                     manifest(hash_of("a", GOOD), patterns=["*.tmp", "!keep.tmp", "/cache/", "ascmhl", "ascmhl/"]),
                     manifest(hash_of("a", GOOD)))
        run = self.run_tool("p")
        self.assertEqual(run.output.decode().splitlines()[:-1],
                         ["unlisted   p/keep.tmp", "unlisted   p/notes", "unlisted   p/sub/cache/z"])
        self.assertEqual(run.status, 21)

    def test_they_excuse_no_listed_file_and_no_manifest(self):
        self.write("p/a.tmp", B)
        data = manifest(hash_of("a.tmp", GOOD), hash_of("b.tmp", GOOD), patterns=["*"])
        one, two = self.history("p", data, manifest(hash_of("c.tmp", GOOD)))
        self.chain("p", (os.path.basename(one), c4(data)))
        self.check("p", status=11, files=4, size=size_of(data, B), ok=1, changed=1, missing=2, unlisted=1,
                   lines="changed    p/a.tmp (XXH64 %s listed in %s, read %s)\n" % (XXH64, one, OTHER_XXH64)
                   + "unlisted   %s\nmissing    p/b.tmp (listed in %s)\nmissing    p/c.tmp (listed in %s)\n"
                   % (two, one, two))

    def test_those_that_take_long_can_be_interrupted(self):
        self.history("p", manifest(hash_of("a", GOOD), patterns=["*" + "a" * 120 + "b"] * 500))
        for i in range(1000):
            self.write("p/%s%d" % ("a" * 240, i), b"")
        self.assertLess(self.interrupt("p").count(b"\nunlisted "), 900)

    def test_those_of_a_new_list_can_be_interrupted(self):
        names = ["a" * 240 + str(i) for i in range(1000)]
        self.history("p", manifest(*(hash_of(name, GOOD) for name in names), patterns=["*" + "a" * 120 + "b"] * 2000))
        for name in names:
            self.write("p/" + name, b"")
        self.interrupt("--ascmhl", "p")

    def test_those_of_a_single_list_excuse_nothing(self):
        self.write("p/a", A)
        self.write("p/x.tmp", A)
        self.write("p/l.mhl", manifest(hash_of("a", GOOD), patterns=["*.tmp"]))
        self.check("p", status=21, files=1, size="8 B", ok=1, unlisted=1, lines="unlisted   p/x.tmp\n")


class PackingListsTest(MediaTest):
    def test_is_a_list_only_where_it_is_named(self):
        self.write("p/a", A)
        self.write("p/sent.mhl", manifest(hash_of("a", GOOD), hash_of("b", GOOD), process="flatten"))
        self.check("p", status=30, unlisted=2,
                   lines="no-list    p (no list below it)\nunlisted   p/a\nunlisted   p/sent.mhl\n")
        self.check("p/sent.mhl", status=10, files=2, size="8 B", ok=1, missing=1,
                   lines="missing    p/b (listed in p/sent.mhl)\n")


class MemoryTest(MediaTest):
    if not SANITIZERS:  # whose runtime needs memory of its own
        def test_at_most_300_bytes_a_file(self):
            files = 100000
            self.write("p/a", A)
            names = ["roll%04d/A001C%08d_frame.dpx" % (number // 1000, number) for number in range(files)]
            self.history("p", manifest(hash_of("a", GOOD), *(hash_of(name, GOOD, size=8) for name in names)))
            note = self.path("peak")
            fault = "read p/a 1 1 run=" + self.script("note", "grep VmHWM /proc/$PPID/status > " + note)
            run = self.run_tool("p", faults=[fault])
            self.assertEqual(run.output.count(b"missing    p/roll"), files)
            self.assertLess(int(self.read("peak").split()[1]) * 1024, (32 + 8) * MIB + 300 * files)


class CardTest(CheckRuns, StorageTest):
    def setUp(self):
        super().setUp()
        for name in ("card", "one", "two"):
            self.disk(name, "ext4", 16)
        self.write("card/a", A)

    def check_card(self, safe, of, status, lines="", **counts):
        self.assert_run(self.run_tool("--card", "card", "one", "two"), status,
                        lines + summary(**counts) + self.card_line(safe, of))

    def copy(self, *digests):
        for folder, text in zip(("one", "two"), digests):
            self.write(folder + "/a", A)
            self.write(folder + "/l.mhl", old_list(("a", text)))

    def test_by_any_digest_but_one_of_32_bits(self):
        for digests in ((GOOD, "<c4>%s</c4>" % c4(A)), ("<xxhash64>4b64df187fa88453</xxhash64>", GOOD),
                        ("<xxhash64>%s</xxhash64>" % XXH64, "<size>8</size><md5>%s</md5>" % MD5)):
            self.copy(*digests)
            self.check_card(1, 1, 0, files=2, size="24 B", ok=2)
        self.copy("<xxhash>2442465453</xxhash>", GOOD)
        self.check_card(0, 1, 22, "unsafe     card/a (on 1 of 2 disks)\n", files=2, size="24 B", ok=2)

    def test_a_history_on_the_card(self):
        data = manifest(hash_of("a", GOOD), patterns=["*", "ascmhl"])
        self.history("card", data)
        self.write("card/extra", b"not copied")
        for folder in ("one", "two"):
            self.write(folder + "/a", A)
            self.write(folder + "/extra", b"not listed")
            self.history(folder, data)
        size = size_of(*(3 * [data, A]))
        self.check_card(2, 3, 22, "unsafe     card/extra (on 0 of 2 disks)\n", files=4, size=size, ok=4)
        os.remove(self.path("card/extra"))
        self.check_card(2, 2, 0, files=4, size=size, ok=4)


if __name__ == "__main__":
    main()
