"""rvxcheck: its arguments, lists, findings, order and statuses, byte for byte."""

import os
import re
import subprocess

from check import RVXCHECK, CheckRuns, digest, summary
from support import RVXCOPY, SANITIZERS, ProcessTest, main

A = b"take one"
USAGE = (b"Usage: rvxcheck [-v] [-q] [-j N] [--ignore GLOB]... [--mhl | --ascmhl] PATH...\n"
         b"       rvxcheck [-v] [-q] [-j N] [--ignore GLOB]... [--mhl | --ascmhl]\n"
         b"                --card CARD [--copies N] PATH...\n"
         b"       rvxcheck --help | --version\n")


class CheckTest(CheckRuns, ProcessTest):
    def setUp(self):
        super().setUp()
        os.makedirs(self.path("p"))

    def put(self, *names, data=A):
        for name in names:
            self.write(name, data)


class ArgumentsTest(CheckTest):
    def test_wrong_ones_get_a_line_and_the_usage(self):
        self.put("file")
        for arguments, problem in (((), "no PATH given"), (("-x", "p"), "unknown option -x"),
                                   (("--wrong", "p"), "unknown option --wrong"), (("p", "-j"), "option -j needs a value"),
                                   (("-j", "0", "p"), "-j takes a number from 1 to 64"),
                                   (("-j65", "p"), "-j takes a number from 1 to 64"),
                                   (("--card", "p", "--copies=0", "p"), "--copies takes a number from 1"),
                                   (("--copies", "1", "p"), "--copies needs --card"),
                                   (("--mhl", "p", "--ascmhl"), "--mhl and --ascmhl exclude each other"),
                                   (("--mhl", "p", "file"), "file: not a folder"),
                                   (("--ascmhl", "file"), "file: not a folder"),
                                   (("p", "gone"), "gone: No such file or directory"),
                                   (("--card", "file", "p"), "file: not a folder"),
                                   (("--card", "gone", "p"), "gone: No such file or directory")):
            with self.subTest(arguments):
                run = subprocess.run([RVXCHECK, *arguments], cwd=self.folder, capture_output=True)
                self.assertEqual((run.returncode, run.stdout, run.stderr),
                                 (2, b"", b"rvxcheck: " + problem.encode() + b"\n" + USAGE))

    def test_help_and_version_go_to_standard_output(self):
        run = self.run_tool("--help", "gone")
        self.assertTrue(run.output.startswith(USAGE))
        self.assertEqual(run.status, 0)
        self.assertRegex(self.run_tool("--version").output, rb"^rvxcheck \d+\.\d+\.\d+\n$")

    def test_every_shell_completes_its_options_and_no_other(self):
        folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "completions")
        options = set(re.findall(r"(?<=\[)-[a-z]|--[a-z]+", USAGE.decode()))
        self.assertEqual(len(options), 10)
        for name, pattern in (("rvxcheck.bash", r"(?<=[\" ])--?[a-z]+(?=[^\n=]*\"\n)"),
                              ("_rvxcheck", r"(?<=['*)])--?[a-z]+(?=\[)"), ("rvxcheck.fish", r"(?<= )-[sl] [a-z]+")):
            with open(os.path.join(folder, name)) as file:
                found = re.findall(pattern, file.read())
            self.assertEqual({o.replace("-s ", "-").replace("-l ", "--") for o in found}, options, name)

    def test_options_stand_anywhere_and_the_last_of_two_counts(self):
        self.put("p/a", "-v")
        self.list("p/SHA1SUMS", "a")
        self.list("-l", "-v")
        self.check("p", "-j", "3", "-v", "-j1", "--", "-l", lines="ok         -v\nok         p/a\n",
                   files=2, size="16 B", ok=2)

    def test_an_output_that_cannot_be_written_is_status_1(self):
        self.list("p/SHA1SUMS")
        for arguments in ("p > /dev/full", "p >&-", "--help > /dev/full", "--version >&-"):
            with self.subTest(arguments):
                run = subprocess.run(["sh", "-c", '"$0" ' + arguments, RVXCHECK], cwd=self.folder, capture_output=True)
                self.assertEqual((run.returncode, run.stderr), (1, b""))


class FindingsTest(CheckTest):
    def test_a_good_folder(self):
        self.put("p/a", "p/sub/b")
        self.list("p/SHA1SUMS", "a", "sub/b")
        self.check("p", files=2, size="16 B", ok=2)
        self.check("-v", "p/", lines="ok         p/a\nok         p/sub/b\n", files=2, size="16 B", ok=2)

    def test_changed_names_both_digests_and_the_list(self):
        self.put("p/a")
        for tool, label in (("md5sum", "MD5"), ("sha1sum", "SHA1"), ("sha256sum", "SHA256"), ("sha512sum", "SHA512")):
            with self.subTest(tool):
                self.put("p/a")
                self.list("p/x.sha1", "a", tool=(tool,))
                self.put("p/a", data=b"take two")
                self.check("p", status=11, files=1, size="8 B", changed=1,
                           lines="changed    p/a (%s %s listed in p/x.sha1, read %s)\n"
                           % (label, digest(A, tool), digest(b"take two", tool)))

    def test_each_listed_digest_that_differs_is_a_finding_and_the_file_is_read_once(self):
        self.put("p/a")
        sha1, md5 = digest(A), digest(A, "md5sum")
        self.write("p/1.sha1", ("%s  a\n%s  ./a\n%s  a\n" % (sha1, sha1.upper(), "0" * 40)).encode())
        self.write("p/2.md5", ("%s *none/../a\nMD5 (a) = %s\n" % ("f" * 32, md5)).encode())
        self.check("p", status=11, files=1, size="8 B", changed=2,
                   lines="changed    p/a (SHA1 %s listed in p/1.sha1, read %s)\n" % ("0" * 40, sha1)
                   + "changed    p/a (MD5 %s listed in p/2.md5, read %s)\n" % ("f" * 32, md5))

    def test_missing_unlisted_and_what_is_no_file(self):
        self.put("p/a", "p/extra", "p/.rvxcopy-1-0.tmp")
        os.mkdir(self.path("p/d"))
        os.mkfifo(self.path("p/f"))
        os.symlink("nowhere", self.path("p/link"))
        zero = "0" * 40
        self.write("p/SHA1SUMS", "".join("%s  %s\n" % (zero, name) for name in ("d", "f", "gone", "gone", "a/x")).encode())
        self.check("p", status=11, files=4, changed=2, missing=2, unlisted=3,
                   lines="unlisted   p/a\nmissing    p/a/x (listed in p/SHA1SUMS)\n"
                   "changed    p/d (no regular file, listed in p/SHA1SUMS)\nunlisted   p/extra\n"
                   "changed    p/f (no regular file, listed in p/SHA1SUMS)\n"
                   "missing    p/gone (listed in p/SHA1SUMS)\nunlisted   p/link\n")

    def test_the_worst_finding_makes_the_status(self):
        """Each step takes the worst finding away."""
        self.put("p/changed", "p/unlisted")
        zero = "0" * 40
        self.write("p/1.sha1", (zero + "  changed\n").encode())
        self.write("p/2.sha1", (zero + "  " + "n" * 300 + "\n").encode())
        self.write("p/3.sha1", (zero + "  missing\n").encode())
        self.write("p/4.sha1", b"no list\n")
        for status, name in ((11, "1.sha1"), (13, "2.sha1"), (10, "3.sha1"), (31, "4.sha1"), (30, ""), (21, "")):
            self.assertEqual(self.run_tool("p").status, status)
            if name:
                os.remove(self.path("p/" + name))
            elif status == 30:
                self.write("p/5.sha1", (digest(A) + "  changed\n").encode())
        os.remove(self.path("p/unlisted"))
        self.assertEqual(self.run_tool("p").status, 0)

    def test_a_name_that_cannot_be_looked_up_is_unreadable(self):
        name = "n" * 300
        self.write("p/1.sha1", ("0" * 40 + "  " + name + "\n").encode())
        self.check("p", status=13, files=1, unreadable=1, lines="unreadable p/%s (File name too long)\n" % name)

    def test_names_of_thousands_of_folders_take_no_time(self):
        self.write("p/a", A)
        names = 5 if SANITIZERS else 100
        lines = ["%s  %d%s/a\n" % (digest(A), i, "/b" * 7500) for i in range(names)]
        self.write("p/SHA1SUMS", "".join(lines).encode())
        run = self.run_tool("p")
        self.assertEqual(run.status, 13)
        self.assertTrue(run.output.decode().endswith(summary(files=names, unreadable=names, unlisted=1)))

    def test_folders_and_files_that_may_not_be_read(self):
        if os.geteuid() != 0:
            self.skipTest("to run as another user needs root")
        self.put("p/a", "p/closed/b", "p/c")
        self.list("p/SHA1SUMS", "a", "c", "closed/b")
        os.chmod(self.path("p/closed"), 0)
        os.chmod(self.path("p/a"), 0)
        os.chmod(self.folder, 0o755)
        program = self.path("program")
        subprocess.run(["cp", RVXCHECK, program], check=True)
        run = subprocess.run([program, "p"], cwd=self.folder, user=65534, capture_output=True)
        self.assertEqual(run.stdout.decode(),
                         "unreadable p/a (Permission denied)\nunreadable p/closed (Permission denied)\n"
                         "unreadable p/closed/b (Permission denied)\n"
                         + summary(files=3, size="8 B", ok=1, unreadable=3))
        self.assertEqual(run.returncode, 13)

    def test_sizes_are_rounded_half_up(self):
        for size, text in ((999, "999 B"), (1000, "1.0 kB"), (1049, "1.0 kB"), (1050, "1.1 kB"), (999949, "999.9 kB"),
                           (999950, "1.0 MB"), (5 * 10**6, "5.0 MB")):
            with self.subTest(size):
                self.put("p/a", data=b"x" * size)
                self.list("p/SHA1SUMS", "a")
                self.check("p", files=1, size=text, ok=1)

    def test_lines_come_in_the_order_of_the_printed_paths(self):
        names = [b"p/a b", b"p/a.b", b"p/a/x", b"p/a0", b"p/\xff", b"p/new\nline", b"p/tab\there", b"p/bell\x07",
                 b"p/back\\slash", b"q/a", b"p-q/a"]
        for name in names:
            path = os.path.join(os.fsencode(self.folder), name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            open(path, "wb").close()
        printed = [name.replace(b"\\", b"\\\\").replace(b"\n", b"\\n").replace(b"\t", b"\\t").replace(b"\x07", b"\\x07")
                   for name in names]
        run = self.run_tool("q", "p", "p-q")
        no_list = b" (no list below it)"
        expected = [b"unlisted   " + name for name in printed]
        expected += [b"no-list    " + name + no_list for name in (b"p", b"p-q", b"q")]
        expected.sort(key=lambda line: line[11:].replace(no_list, b""))
        self.assertEqual(run.output.splitlines()[:-1], expected)
        self.assertEqual(run.status, 30)


class ListsTest(CheckTest):
    def test_bad_lines_are_told_and_the_rest_is_used(self):
        self.put("p/a", "p/b")
        sha1 = digest(A)
        lines = ["# comment", "", "rubbish", sha1 + "  a", "SHA1 (b) = " + sha1[:-1], sha1 + "  /abs", sha1 + "  ../up",
                 "\\%s  b\\x" % sha1, "SHA1(b)= %s\r" % sha1, sha1 + " b"]
        self.write("p/x.SHA1", "\n".join(lines).encode())
        problems = {3: "no digest line", 5: "wrong length of the digest", 6: "absolute name", 7: "name leads above PATH",
                    8: "no digest line", 10: "no digest line"}
        self.check("p", status=31, files=2, size="16 B", ok=2, bad=6,
                   lines="".join("bad-list   p/x.SHA1:%d (%s)\n" % problem for problem in problems.items()))

    def test_a_list_without_a_digest_line_is_one_finding(self):
        self.write("p/MD5SUMS", b"some\nnotes\n")
        self.write("p/empty.md5", b"")
        self.write("p/bom.md5", b"\xef\xbb\xbf" + digest(A, "md5sum").encode() + b"  a\n")
        self.check("p", status=31, bad=3, lines="".join(
            "bad-list   p/%s (no digest line)\n" % name for name in ("MD5SUMS", "bom.md5", "empty.md5")))

    def test_which_files_are_lists(self):
        lists = ("a.sha1", "b.Md5", "c.sha256", "d.SHA512", "SHA1SUMS", "MD5SUMS", "SHA256SUMS", "SHA512SUMS")
        others = ("sha1sums", "e.sha1.txt", "sha1")
        for name in lists + others:
            self.write("p/" + name, b"")
        self.check("p", status=31, bad=8, unlisted=3, lines="".join(
            "bad-list   p/%s (no digest line)\n" % name if name in lists else "unlisted   p/%s\n" % name
            for name in sorted(lists + others)))

    def test_a_list_is_checked_where_another_lists_it(self):
        self.put("p/a")
        self.list("p/a.md5", "a", tool=("md5sum",))
        self.list("p/b.sha1", "a.md5")
        self.check("-v", "p", lines="ok         p/a\nok         p/a.md5\n", files=2, size="44 B", ok=2)

    def test_a_list_as_path_is_used_whatever_its_name(self):
        self.put("p/roll/a", "p/roll/other")
        self.list("p/roll/sha1/l", "../a", tool=("sha1sum", "--tag"))
        self.list("p/roll/l2", "a")
        for path, name in (("p/roll/sha1/l", "p/roll/a"), ("p/roll/l2", "p/roll/a"), ("./p/roll/l2", "./p/roll/a")):
            self.check("-v", path, lines="ok         %s\n" % name, files=1, size="8 B", ok=1)
        self.write("p/roll/l2", (digest(A) + "  ../a\n").encode())
        self.check("p/roll/l2", status=31, bad=1, lines="bad-list   p/roll/l2:1 (name leads above PATH)\n")

    def test_names_beside_a_list_folder_from_inside_it(self):
        self.put("p/a")
        self.list("p/md5/a.md5", "../a", tool=("md5sum",))
        self.check("-v", "p/md5", lines="ok         p/a\n", files=1, size="8 B", ok=1)
        for path in (".", "a.md5"):
            run = subprocess.run([RVXCHECK, "-v", path], cwd=self.path("p/md5"), capture_output=True)
            self.assertEqual(run.stdout.decode(), "ok         ../a\n" + summary(files=1, size="8 B", ok=1))

    def test_several_paths_count_once_and_reach_into_each_other(self):
        self.put("p/roll/a", "p/b")
        self.list("p/roll/l.sha1", "a", "../b")
        good = "ok         p/b\nok         p/roll/a\n"
        for paths in (("p/roll", "p"), ("p", "p/roll"), ("p", "p"), ("p/roll/l.sha1", "p"), ("p", "p/roll/l.sha1")):
            with self.subTest(paths):
                self.check("-v", *paths, lines=good, files=2, size="16 B", ok=2)
        self.check("p/roll", status=31, files=1, size="8 B", ok=1, bad=1,
                   lines="bad-list   p/roll/l.sha1:2 (name leads above PATH)\n")

    def test_ignored_names(self):
        self.put("p/.DS_Store", "p/._a", "p/.Trashes/x", "p/.Trash-1000/x", "p/lost+found/x", "p/Thumbs.db", "p/a.tmp",
                 "p/cache/x", "p/deep/cache/y", "p/a")
        self.write("p/._bad.sha1", b"rubbish\n")
        self.list("p/SHA1SUMS", "a", "Thumbs.db", "a.tmp")
        self.check("p", "--ignore", "*.tmp", "--ignore=cache/*", status=21, files=3, size="24 B", ok=3, unlisted=1,
                   lines="unlisted   p/deep/cache/y\n")
        self.check("p", "--ignore", "cache", files=3, size="24 B", ok=3)


class LinksTest(CheckTest):
    def test_a_listed_link_is_good_by_its_text_or_by_what_it_leads_to(self):
        self.put("p/a", "outside")
        for name, target in (("text", "nowhere"), ("leads", "a"), ("out", "../outside"), ("bad", "a")):
            os.symlink(target, self.path("p/" + name))
        zero = "0" * 40
        self.write("p/SHA1SUMS", "".join("%s  %s\n" % entry for entry in (
            (digest(b"nowhere"), "text"), (digest(A), "leads"), (digest(A), "out"), (zero, "bad"), (digest(A), "a"),
            (digest(b"a"), "leads"))).encode())
        self.check("p", status=11, files=5, size="24 B", ok=3, changed=2, lines="".join(
            "changed    p/%s (SHA1 %s listed in p/SHA1SUMS, read %s)\n" % line for line in (
                ("bad", zero, digest(b"a")), ("out", digest(A), digest(b"../outside")))))

    def test_a_link_with_very_many_digests_takes_no_time(self):
        self.put("p/a")
        os.symlink("a", self.path("p/link"))
        digests = 1000 if SANITIZERS else 400000
        self.write("p/SHA1SUMS", ("%s  a\n" % digest(A) + "".join("%040x  link\n" % i for i in range(digests))).encode())
        run = self.run_tool("p")
        self.assertEqual(run.status, 11)
        self.assertTrue(run.output.decode().endswith(summary(files=2, size="16 B", ok=1, changed=digests)))

    def test_a_name_through_a_link_counts_where_it_ends_below_a_path(self):
        self.put("p/real/a", "outside/a")
        os.symlink("real", self.path("p/in"))
        os.symlink("../outside", self.path("p/out"))
        self.list("p/SHA1SUMS", "in/a", "out/a")
        self.check("-v", "p", "--ignore", "in", "--ignore", "out", status=10, files=2, size="8 B", ok=1, missing=1,
                   lines="ok         p/in/a\nmissing    p/out/a (listed in p/SHA1SUMS)\n")


class RenamedTest(CheckTest):
    def test_what_rvxcopy_lists_of_a_copy_under_another_name(self):
        self.put("card/clip.mov")
        subprocess.run([RVXCOPY, "card/clip.mov", "p/", "p/take2.mov"], cwd=self.folder, check=True)
        note = "renamed    p/take2.mov (listed as clip.mov in p/sha1/take2.mov.sha1)\n"
        self.check("p", lines=note, files=2, size="16 B", ok=2)
        os.remove(self.path("p/take2.mov"))
        self.check("p", status=10, files=2, size="8 B", ok=1, missing=1,
                   lines=note + "missing    p/take2.mov (listed in p/sha1/take2.mov.sha1)\n")

    def test_when_the_name_in_a_list_stands(self):
        entry = "SHA1(../clip.mov)= %s\n" % digest(A)
        sequence = "# original file(s): /card/clip_1-2####.dpx \n"
        movie = "# original file(s): /card/clip.mov \n"
        cases = ((entry, "take2.mov", True), (entry, "", False), (movie + entry, "", True),
                 (sequence + entry, "take2.mov", False), (entry + entry.replace("clip", "b"), "take2.mov", False),
                 ("rubbish\n" + movie + entry, "take2.mov", True))
        for text, there, is_renamed in cases:
            with self.subTest(text=text, there=there):
                self.put("p/clip.mov")
                self.write("p/sha1/take2.mov.sha1", text.encode())
                if there:
                    self.put("p/" + there)
                self.assertEqual(b"renamed " in self.run_tool("p").output, is_renamed)
                subprocess.run(["rm", "-r", self.path("p")], check=True)
        self.put("p/clip.mov", "p/take2.mov")
        self.write("p/lists/take2.mov.sha1", (movie + entry).encode())
        self.assertNotIn(b"renamed ", self.run_tool("p").output)


class DialectsTest(CheckTest):
    """Each dialect is judged as the program judges it that wrote it."""

    NAMES = ("a", "b c", "par(en)", "e)= f", "\u00e4", "h)", "'q'", "\\back", "new\nline", "cr\rhere", "--dash")

    def verdict(self, *command):
        return subprocess.run(command, cwd=self.path("p"), capture_output=True).returncode == 0

    def test_lists_of_other_programs(self):
        coreutils = [((tool, *tag), (tool, "-c", "--strict")) for tool in ("md5sum", "sha1sum", "sha256sum", "sha512sum")
                     for tag in ((), ("--tag",), ("-b",))]
        rhash = [(("rhash", *form, "--" + kind), ("rhash", "-c")) for kind in ("md5", "sha1", "sha256", "sha512")
                 for form in ((), ("--bsd",))]
        for write, verify in coreutils + rhash:
            names = self.NAMES[:7] if "rhash" in write else self.NAMES
            self.put(*("p/" + name for name in names))
            self.list("p/l.sha1", *names, tool=write)
            for damaged in ("", "b c"):
                with self.subTest(write=write, damaged=damaged):
                    if damaged:
                        self.put("p/" + damaged, data=b"other")
                    is_good = self.run_tool("p").status == 0
                    self.assertEqual(is_good, self.verdict(*verify, "l.sha1"))
                    self.assertEqual(is_good, not damaged)
            subprocess.run(["rm", "-r", self.path("p")], check=True)

    def test_openssl(self):
        self.put("p/a")
        for kind in ("md5", "sha1", "sha256", "sha512"):
            self.list("p/l.sha1", "a", tool=("openssl", "dgst", "-" + kind))
            self.check("p", files=1, size="8 B", ok=1)


if __name__ == "__main__":
    main()
