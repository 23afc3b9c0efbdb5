"""rvxcheck --mhl and --ascmhl: what the new lists hold, and when there is none."""

import os
import re
import subprocess

from check import RVXCHECK, c4, digest, hash_of, manifest
from corpus import cases
from new_lists import A, NewListTest
from support import main

XXH64 = "5384a87f18df644b"  # of A

# The stored runs have the lists of the roll as well, worked out by hand.
STORED = {path: item for case in cases(b"rvxcheck") for path, item in case.before.items()}
FIRST = STORED["B007/ascmhl/0001_B007_2026-11-22_073000Z.mhl"]
OLD_LIST = STORED["B007/B007_2026-11-22_073000.mhl"]


def masked(data):
    """Without what differs from run to run."""
    text = data.decode()
    for pattern, mask in (
            (r"<((?:creation|start|finish|hash)date)>\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ<", r"<\1>DATE<"),
            (r'tool version="[^"]*"', 'tool version="VERSION"'), (r"rvxcheck \d[^<]*<", "rvxcheck VERSION<"),
            (r"<hostname>[^<]+<", "<hostname>HOST<"), (r"<username>[^<]+<", "<username>USER<")):
        text = re.sub(pattern, mask, text)
    return text


class ContentsTest(NewListTest):
    def test_the_first_generation_of_a_history(self):
        self.roll()
        new = self.write_list("--ascmhl")
        self.assertRegex(new, r"^B007/ascmhl/0001_B007_\d{4}-\d\d-\d\d_\d{6}Z\.mhl$")
        self.assertEqual(masked(self.read(new)), masked(FIRST))
        self.assert_chain("B007", new)
        self.assert_good("B007")
        self.assertEqual(sorted(self.tree("B007")), ["Audio", "B007.md5", "Clips", "Clips/B007C001.mov", "ascmhl",
                                                     "ascmhl/" + os.path.basename(new), "ascmhl/ascmhl_chain.xml",
                                                     "empty.idx"])

    def test_the_next_generations(self):
        self.roll()
        first = self.write_list("--ascmhl")
        second = self.write_list("--ascmhl")
        self.assertEqual(masked(self.read(second)), masked(FIRST).replace("original", "verified"))
        self.put("B007/More", "b.mov")
        third = self.write_list("--ascmhl")
        self.assertEqual(self.actions(third), {
            "B007.md5": "verified", "Clips/B007C001.mov": "verified", "empty.idx": "verified",
            "More/SHA1SUMS": "original", "More/b.mov": "original"})
        self.assert_chain("B007", first, second, third)
        self.assert_good("B007")

    def test_an_mhl_list(self):
        self.roll()
        new = self.write_list("--mhl", "--ignore", "empty.idx")
        self.assertRegex(new, r"^B007/B007_\d{4}-\d\d-\d\d_\d{6}\.mhl$")
        self.assertEqual(masked(self.read(new)), masked(OLD_LIST))
        self.assert_good("B007")
        history = self.write_list("--ascmhl")
        self.assertEqual(self.actions(history)[os.path.basename(new)], "original")
        self.assert_good("B007")

    def test_dates_are_utc(self):
        self.roll()
        zone = {"TZ": "Pacific/Auckland"}
        before = subprocess.run(["date", "-u", "+%Y-%m-%dT%H:%M:%SZ"], stdout=subprocess.PIPE).stdout.decode().strip()
        new = self.write_list("--ascmhl", variables=zone)
        after = subprocess.run(["date", "-u", "+%Y-%m-%dT%H:%M:%SZ"], stdout=subprocess.PIPE).stdout.decode().strip()
        created = re.search("<creationdate>([^<]*)<", self.read(new).decode()).group(1)
        self.assertTrue(before <= created <= after)
        named = re.search(r"_(\d{4}-\d\d-\d\d)_(\d\d)(\d\d)(\d\d)Z\.mhl$", new).groups()
        self.assertTrue(before <= "%sT%s:%s:%sZ" % named <= created)
        self.assertIn(b'lastmodificationdate="2026-11-21T18:05:00Z"', self.read(new))

    def test_what_is_recorded_and_in_which_order(self):
        names = ["a/b", "a-b", "a.mov", "b", "Z", "a/sub/c", "\u00e9/x", "e\u0301"]
        self.put("p", *names)
        self.list("p/sha1/b.sha1", "../b")
        self.list("p/md5/b.MD5", "../b", tool=("md5sum",))
        os.makedirs(self.path("p/empty/er"))
        for name in (".DS_Store", "._b", ".Trash-1000/x", ".rvxcopy-1-0.tmp", ".rvxcopy-2-0.tmp/0001_p.mhl", "x.tmp"):
            self.write("p/" + name, A)
        files = [*names, "SHA1SUMS", "sha1/b.sha1", "md5/b.MD5"]
        old = self.write_list("--mhl", "--ignore", "*.tmp", folder="p")
        self.assertEqual(self.recorded(old), (sorted(files, key=str.encode), []))
        new = self.write_list("--ascmhl", "--ignore", "*.tmp", "--ignore", "a/s*", folder="p")
        files = sorted({*files, os.path.basename(old)} - {"a/sub/c"}, key=str.encode)
        self.assertEqual(self.recorded(new), (files, ["a", "empty", "empty/er", "md5", "sha1", "\u00e9"]))
        self.assert_good("--ignore", "a/s*", "p")

    def test_patterns_only_grow(self):
        self.put("p", "a", "cache/x/y", "logs/l", "kept/k")
        older = ["!kept", "cache/", "/logs", "a#"]
        self.history("p", manifest(hash_of("a", "<xxh64>%s</xxh64>" % XXH64), patterns=older))
        for name in ("cache/z", "logs/z"):
            self.write("p/" + name, A)
        globs = ("--ignore", "#tag", "--ignore", "!no", "--ignore", "x/*.tmp", "--ignore", "end ", "--ignore", "._*")
        new = self.write_list("--ascmhl", *globs, folder="p")
        patterns = re.findall("<pattern>([^<]*)<", self.read(new).decode())
        built_in = re.findall("<pattern>([^<]*)<", FIRST.decode())
        self.assertEqual(patterns, [*older, *built_in, "\\#tag", "\\!no", "/x/*.tmp", "end\\ "])
        # To others, a folder that only a pattern for folders means is there, and empty.
        self.assertEqual(self.recorded(new), (["SHA1SUMS", "a", "kept/k"], ["cache", "kept"]))
        self.assertEqual(self.actions(new), {"SHA1SUMS": "original", "a": "verified", "kept/k": "original"})
        self.assertIn("""<path>cache</path>
      <content>
        <xxh64>ef46db3751d8e999</xxh64>""", self.read(new).decode())
        self.assert_good("p")

    def test_what_a_history_excuses_is_in_no_list(self):
        self.put("p", "a")
        self.history("p/scope", manifest(hash_of("b", "<xxh64>%s</xxh64>" % XXH64), patterns=("*.tmp",)))
        for name in ("b", "c.tmp"):
            self.write("p/scope/" + name, A)
        new = self.write_list("--mhl", folder="p")
        self.assertEqual(self.recorded(new)[0], ["SHA1SUMS", "a", "scope/b"])

    def test_names_that_xml_escapes(self):
        names = ["a&b", "<x>", "]]>", " a ", "q\"'", "tab\there", "line\nfeed", "carriage\rreturn", "back\\slash",
                 "%41", "\U0001f3ac", "\u0085", "\x7f"]
        self.put("p", *["f/" + name for name in names])
        for option in ("--mhl", "--ascmhl"):
            new = self.write_list(option, folder="p")
            os.rename(self.path("p/SHA1SUMS"), self.path("SHA1SUMS"))  # nothing else tells of them
            result = self.run_tool("p")
            self.assertEqual((result.status, result.output.count(b"\n")), (10, 2), result.output)
            self.assertTrue(result.output.startswith(b"missing    p/SHA1SUMS (listed in %s)\n" % new.encode()))
            os.rename(self.path("SHA1SUMS"), self.path("p/SHA1SUMS"))
            self.assert_good("p")
            self.assertIn(b"carriage&#13;return", self.read(new))

    def test_a_generation_of_a_renamed_file(self):
        self.roll()
        first = self.write_list("--ascmhl")
        os.rename(self.path("B007/Clips/B007C001.mov"), self.path("B007/Clips/A007C001.mov"))
        os.remove(self.path("B007/B007.md5"))
        self.write("B007/B007.md5", b"%s  empty.idx\n" % digest(b"", "md5sum").encode())
        second = self.history("B007", self.read(first), manifest(
            hash_of("Clips/A007C001.mov", '<xxh64 action="verified">%s</xxh64>' % XXH64, before="Clips/B007C001.mov"),
            hash_of("B007.md5", "<md5>%s</md5>" % digest(self.read("B007/B007.md5"), "md5sum"))))
        os.remove(self.path(first))
        # What the first generation tells of the list is not taken back.
        self.unwritten("--ascmhl", "B007", "not clean", status=11)
        self.assertEqual(len(second), 2)

    def test_digests_of_other_kinds_in_the_chain_and_the_manifest(self):
        self.put("p", "a", "b")
        first = manifest(hash_of("a", "<md5>%s</md5>" % digest(A, "md5sum")),
                         hash_of("b", '<md5 action="failed">%s</md5>' % digest(b"", "md5sum") +
                                 "<sha1>%s</sha1>" % digest(A)))
        name, = self.history("p", first, first=9999)
        self.write("p/ascmhl/ascmhl_chain.xml", self.read("p/ascmhl/ascmhl_chain.xml").replace(
            b"<c4>%s</c4>" % c4(first).encode(), b"<md5>%s</md5>" % digest(first, "md5sum").encode()))
        new = self.write_list("--ascmhl", folder="p")
        self.assertIn("/10000_p_", new)
        self.assertEqual(self.actions(new), {"SHA1SUMS": "original", "a": "verified", "b": "verified"})
        self.assert_chain("p", name, new)
        self.assertIn("/10001_p_", self.write_list("--ascmhl", folder="p"))

    def test_a_failed_digest_alone_makes_no_file_known(self):
        self.put("p", "a")
        self.history("p", manifest(hash_of("a", '<md5 action="failed">%s</md5>' % digest(b"", "md5sum"))))
        new = self.write_list("--ascmhl", folder="p")
        self.assertEqual(self.actions(new), {"SHA1SUMS": "original", "a": "original"})

    def test_the_folder_as_it_is_called(self):
        self.roll()
        os.symlink("B007", self.path("link"))
        for argument in ("link", "B007/", "./B007", "B007/Clips/..", self.path("B007")):
            run = self.run_tool("--ascmhl", argument)
            wrote = r"^wrote      %s/ascmhl/\d{4}_B007_" % re.escape(argument.rstrip("/"))
            self.assertRegex(run.output.decode(), wrote)
        self.assertEqual(run.status, 0)
        run = subprocess.run([RVXCHECK, "--ascmhl", "."], cwd=self.path("B007"), stdout=subprocess.PIPE)
        self.assertRegex(run.stdout, rb"^wrote      \./ascmhl/0006_B007_")
        self.assertEqual(len(self.lists("B007")), 6)


class ObstaclesTest(NewListTest):
    def test_not_clean(self):
        self.put("p", "a", "b")
        for damage, status in ((lambda: self.write("p/b", b"take two"), 11), (lambda: os.remove(self.path("p/b")), 10),
                               (lambda: self.write("p/c", A), 21), (lambda: self.write("p/x.md5", b"x\n"), 31)):
            before = self.tree("p")
            damage()
            for option in ("--mhl", "--ascmhl"):
                self.unwritten(option, "p", "not clean", status=status)
            for name in set(self.tree("p")) - set(before):
                os.remove(self.path("p/" + name))
            for name in before:
                self.write("p/" + name, before[name])
        os.makedirs(self.path("none"))
        self.unwritten("--ascmhl", "none", "not clean", status=30)

    def test_each_of_them_before_the_next(self):
        self.put("p", "a", "empty", "x\x07", "inner/b")
        self.write("p/empty", b"")
        self.write("p/o", A)
        os.symlink("a", self.path("p/link"))
        inner = self.history("p/inner", manifest(hash_of("b", "<xxh64>%s</xxh64>" % XXH64)))
        self.unwritten("--ascmhl", "p", "not clean", status=11)
        self.list("p/SHA1SUMS", "a", "empty", "x\x07", "inner/b", "o", "link")
        self.unwritten("--ascmhl", "p", "p/inner has a history of its own")
        self.unwritten("--mhl", "p", "p/link is a link")
        for name in [*inner, "p/inner/ascmhl/ascmhl_chain.xml"]:
            os.remove(self.path(name))
        os.rmdir(self.path("p/inner/ascmhl"))
        self.unwritten("--ascmhl", "p", "p/link is a link")
        os.remove(self.path("p/link"))
        self.list("p/SHA1SUMS", "a", "empty", "x\x07", "inner/b", "o")
        for option in ("--mhl", "--ascmhl"):
            self.unwritten(option, "p", "p/x\\x07: XML can't hold this name")
        os.rename(self.path("p/x\x07"), self.path("p/x"))
        self.list("p/SHA1SUMS", "a", "empty", "x", "inner/b", "o")
        self.unwritten("--mhl", "p", "p/empty has no contents, and MHL 1.1 no place for that")
        self.write_list("--ascmhl", folder="p")

    def test_names_that_xml_can_not_hold(self):
        for name in (b"x\x07", b"\xff", b"\xc3", b"a\xef\xbf\xbe", b"\xef\xbf\xbf", b"\xed\xa0\x80", b"\x1f"):
            with self.subTest(name):
                self.put("p", os.fsdecode(name))
                printed = os.fsdecode(b"".join(b"\\x%02x" % c if c < 32 else bytes([c]) for c in name))
                for option in ("--mhl", "--ascmhl"):
                    self.unwritten(option, "p", "p/%s: XML can't hold this name" % printed)
                os.remove(self.path("p/" + os.fsdecode(name)))
        self.put("p", "a")
        os.makedirs(self.path("p/\x07"))
        self.unwritten("--ascmhl", "p", "p/\\x07: XML can't hold this name")
        self.unwritten("--ascmhl", "p", "\\x07*: XML can't hold this name", "--ignore", "\x07*")
        self.write_list("--mhl", folder="p")  # which names no folder by itself
        os.rename(self.path("p"), self.path("\x01"))
        for option in ("--mhl", "--ascmhl"):
            run = self.run_tool(option, "\x01")
            self.assertIn(b"unwritten  \\x01 (\\x01: XML can't hold this name)\n", run.output)

    def test_each_folder_is_for_itself(self):
        self.put("good", "a")
        self.put("bad", "a")
        self.put("linked", "a")
        os.symlink("a", self.path("linked/l"))
        self.list("linked/SHA1SUMS", "a", "l")
        self.write("bad/a", b"")
        run = self.run_tool("--ascmhl", "linked", "good", "bad", "good")
        new, = self.lists("good")
        lines = run.output.decode().splitlines()
        self.assertEqual(lines[1:-1], ["unwritten  linked (linked/l is a link)", "wrote      %s (2 files)" % new,
                                       "unwritten  bad (not clean)"])
        self.assertTrue(lines[0].startswith("changed    bad/a"))
        self.assertEqual(run.status, 11)
        self.assertEqual(self.run_tool("--ascmhl", "linked", "good").status, 40)

    def test_a_folder_in_another(self):
        self.put("p", "a")
        self.put("p/inner", "b")
        run = self.run_tool("--mhl", "p/inner", "p")
        self.assertEqual(run.status, 0)
        outer, = self.lists("p")
        self.assertEqual(self.recorded(outer)[0], ["SHA1SUMS", "a", "inner/SHA1SUMS", "inner/b"])
        run = self.run_tool("--ascmhl", "p/inner", "p")
        self.assertEqual(run.status, 40)
        self.assertIn(b"wrote      p/inner/ascmhl/0001_inner_", run.output)
        self.assertIn(b"unwritten  p (p/inner has a history of its own)\n", run.output)

    def test_nothing_to_record(self):
        os.makedirs(self.path("p"))
        self.history("p", manifest("<directoryhash><path>d</path></directoryhash>"))
        os.makedirs(self.path("p/d"))
        self.unwritten("--mhl", "p", "no file to list")
        self.assertEqual(self.recorded(self.write_list("--ascmhl", folder="p")), ([], ["d"]))

    def test_with_a_card_that_may_not_go(self):
        self.put("p", "a")
        self.write("card/b", b"take two")
        run = self.run_tool("--ascmhl", "--card", "card", "p")
        new, = self.lists("p")
        self.assertEqual(run.status, 22)
        self.assertIn("wrote      %s (2 files)\n" % new, run.output.decode())


if __name__ == "__main__":
    main()
