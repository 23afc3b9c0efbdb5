"""What the shells offer on TAB: typed into real ones, and read as the arguments that they make of it."""

import os
import pty
import re
import shlex
import shutil
import signal
import subprocess
import threading
import time
import unittest

from output_texts import USAGE
from storage import require
from support import LONGEST_RUN, RVXCOPY, ProcessTest, file_bytes, main

COMPLETIONS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "completions")


def usage_options():
    """Option -> what the usage text says of it."""
    return dict(re.findall(r"^ +(?:Options: )?(-[a-z]) .*?: (.*)$", USAGE.decode(), re.MULTILINE))


class TypedInto:
    """An interactive shell on a terminal of its own. rvxcopy is a function in it, which notes its arguments."""

    def __init__(self, folder, environment, command, set_up):
        self.note = os.path.join(folder, ".arguments")
        self.screen = b""
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, environment)
        threading.Thread(target=self.watch, daemon=True).start()
        self.arguments("%s; rvxcopy() { printf '%%s\\0' \"$@\" >%s.new; mv %s.new %s; }; rvxcopy"
                       % (set_up, *(shlex.quote(self.note),) * 3))

    def watch(self):
        try:
            while data := os.read(self.terminal, 65536):
                self.screen += data
        except OSError:  # the shell has ended
            pass

    def arguments(self, keys):
        """Those of the command that these keys, and Enter, make the shell run."""
        os.write(self.terminal, keys.encode() + b"\r")
        deadline = time.monotonic() + LONGEST_RUN
        while not os.path.exists(self.note):
            if time.monotonic() > deadline:
                raise AssertionError("no arguments came of %r: %s" % (keys, self.screen.decode(errors="replace")))
            time.sleep(0.01)
        arguments = file_bytes(self.note).decode().split("\0")[:-1]
        os.remove(self.note)
        return arguments

    def end(self):
        os.kill(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)
        os.close(self.terminal)


class CompletionTest(ProcessTest):
    """What every shell must offer. Where one offers nothing, the word stays as it was typed."""

    def shell_environment(self):
        home = self.path(".home")
        programs = self.path(".home/bin")
        if not os.path.exists(programs):
            os.makedirs(programs)
            os.symlink(RVXCOPY, os.path.join(programs, "rvxcopy"))  # fish asks for the command before its completion
        return self.environment(variables={"PATH": "%s:%s" % (programs, os.environ["PATH"]), "HOME": home,
                                           "LC_ALL": "C.UTF-8", "TERM": "dumb",
                                           "XDG_CONFIG_HOME": home, "XDG_DATA_HOME": home})

    def installed(self, file, place):
        """The path of a completion that is installed in a folder of the user's, beside the script that all share."""
        for source, target in ((file, place), ("sequences.sh", "rvxcopy/sequences.sh")):
            self.write(".home/" + target, file_bytes(os.path.join(COMPLETIONS, source)))
        return self.path(".home/" + place)

    def touch(self, *names):
        for name in names:
            self.write(name, name.encode())

    def assert_offers(self, before, word, offered):
        self.assertEqual(sorted(self.offers(before, word)), sorted(offered))


class Offers:
    """The tests, once for each shell."""

    def test_options_of_the_usage_text(self):
        self.assertEqual(len(usage_options()), 7)
        self.assert_offers("", "-", usage_options())
        self.assert_offers("clip.mov", "-", usage_options())

    def test_values(self):
        self.touch("md6")
        self.assert_offers("-t", "", ["md5", "sha1"])
        self.assert_offers("-v -t", "m", ["md5"])
        self.assert_offers("-p", "", ["0", "1", "2", "3", "4", "5", "6"])
        self.assert_offers("-o", "", ["0", "1"])

    def test_movies_and_folders(self):
        self.touch("movies/clip1.mov", "movies/clip2.mov", "movies/clips/x")
        # Whether a folder gets its slash here is the shell's own affair.
        offered = [word.rstrip("/") for word in self.offers("", "movies/clip")]
        self.assertEqual(sorted(offered), ["movies/clip1.mov", "movies/clip2.mov", "movies/clips"])
        self.assert_offers("-f -t md5", "movies/clip1", ["movies/clip1.mov"])

    def test_destinations_are_folders_with_their_slash(self):
        self.touch("raid/x", "raid2/x", "raid.mov", "day 1/take/x")
        os.symlink("raid", self.path("raid3"))
        for before in ("clip.mov", "-s clip_1-2#.dpx", "clip.mov raid/", "-p 2 clip.mov"):
            self.assert_offers(before, "rai", ["raid/", "raid2/", "raid3/"])
        self.assert_offers("clip.mov", "day", ["day 1/"])
        self.assert_offers("clip.mov", "day\\ 1/", ["day 1/take/"])

    def test_sequences(self):
        self.touch(*("clip_%04d.dpx" % frame for frame in range(1, 101)), "clip_notes.txt", "other_1.tif")
        self.assert_offers("-s", "cl", ["clip_1-100####.dpx"])
        self.assert_offers("-sequence -t md5", "cl", ["clip_1-100####.dpx"])
        self.assert_offers("-v -s -p 1", "clip_1-1", ["clip_1-100####.dpx"])

    def test_gaps_end_a_run(self):
        self.touch("a_08.dpx", "a_09.dpx", "a_10.dpx", "a_12.dpx", "a_99.dpx", "a_100.dpx")
        self.assert_offers("-s", "a", ["a_8-10##.dpx", "a_12-12##.dpx", "a_99-100##.dpx"])

    def test_several_sequences_and_widths(self):
        self.touch("a1.x", "a2.x", "a01.x", "a02.x", "a0001.x", "a0002.x", "a10000.x", "a10001.x", "a1.y", "a2.y",
                   "b8.x", "b9.x", "b10.x", "b11.x", "a0.z", "a1.z")
        self.assert_offers("-s", "a", ["a1-2#.x", "a1-2##.x", "a1-2####.x", "a10000-10001####.x", "a1-2#.y", "a0-1#.z"])
        self.assert_offers("-s", "b", ["b8-11#.x"])

    def test_number_that_counts_the_most_files(self):
        self.touch(*("A001C%03d.%07d_v2.mp4" % (clip, frame) for clip in (1, 2) for frame in (86399, 86400, 86401)),
                   "tie1_1", "tie1_2", "tie2_1", "tie2_2", "sound.mp3", "sound.mp4")
        self.assert_offers("-s", "A", ["A001C001.86399-86401#######_v2.mp4", "A001C002.86399-86401#######_v2.mp4"])
        self.assert_offers("-s", "tie", ["tie1_1-2#", "tie2_1-2#"])
        self.assert_offers("-s", "sou", ["sou"])

    def test_folders_of_sequences(self):
        self.touch("card/clip_1.dpx", "card/clip_2.dpx", "card/clips/x", "my card/clip_1.dpx", "my card/clip_2.dpx",
                   ".home/card/clip_3.dpx", ".home/card/clip_4.dpx", "ä:=b/clip_5.dpx", "ä:=b/clip_6.dpx")
        self.assert_offers("-s", "card/cl", ["card/clip_1-2#.dpx", "card/clips/"])
        self.assert_offers("-s", "ca", ["card/"])
        self.assert_offers("-s", "my\\ card/cl", ["my card/clip_1-2#.dpx"])
        self.assert_offers("-s", "ä:=b/cl", ["ä:=b/clip_5-6#.dpx"])
        self.assert_offers("-s", self.path("card/clip_"), [self.path("card/clip_1-2#.dpx")])

    def test_names_with_special_characters(self):
        self.touch(*("%s%d.dpx" % (name, frame) for frame in (1, 2) for name in (
            "a b_", "it's_", "quote\"_", "[x]", "k#", "d-", "e--", "a;b&", "back\\_", "カット", "star*_", "ö", "(p)_")))
        self.assert_offers("-s", "", ["a b_1-2#.dpx", "it's_1-2#.dpx", "quote\"_1-2#.dpx", "[x]1-2#.dpx", "k#1-2#.dpx",
                                      "d-1-2#.dpx", "e--1-2#.dpx", "a;b&1-2#.dpx", "back\\_1-2#.dpx",
                                      "カット1-2#.dpx", "star*_1-2#.dpx", "ö1-2#.dpx", "(p)_1-2#.dpx"])

    def test_names_that_the_program_would_read_differently(self):
        # A "%" is a conversion, "٣" and "１" are digits to it, the last "#" counts, and frames end at 2147483647.
        self.touch(*("q%s%d%s" % (before, frame, after) for frame in (1, 2) for before, after in (
            ("10%_", ""), ("_", "%.x"), ("٣", ""), ("１", ""), ("_", "#"))))
        self.touch("10%/clip_1", "10%/clip_2", "q2147483646", "q2147483647", "q2147483648", "q2147483649",
                   "q20240101120000", "q20240101120001", "-s1", "-s2")  # and "-s" is an option
        self.assert_offers("-s", "q", ["q2147483646-2147483647##########"])
        self.assert_offers("-s", "10%/clip", ["10%/clip"])
        self.assert_offers("-s", "", ["10%/", "q2147483646-2147483647##########"])

    def test_names_that_are_no_frames(self):
        self.touch("n/f_1", "n/f_2", "n/._f_1", "n/._f_2", "n/f_5\nf_3", "n/line\nf_4")
        os.makedirs(self.path("n/f_3"))
        os.symlink("nowhere", self.path("n/f_0"))
        self.assert_offers("-s", "n/", ["n/f_0-2#", "n/f_3/"])
        self.assert_offers("-s", "n/.", ["n/._f_1-2#"])


def completion_text(file):
    return file_bytes(os.path.join(COMPLETIONS, file)).decode()


class TypedOffers(Offers):
    """The tests of shells that are typed into."""

    def setUp(self):
        super().setUp()
        self.shell = None

    def started(self):
        if not self.shell:
            self.shell = self.start()
            self.addCleanup(self.shell.end)
        return self.shell

    def offers(self, before, word):
        return self.started().arguments("rvxcopy %s %s%s" % (before, word, self.INSERT_ALL))[len(before.split()):]

    def test_whole_line(self):
        self.touch("my card/clip_1.dpx", "my card/clip_2.dpx", "raid/x", "on:air/x", ".home/day/f_1",
                   ".home/day/f_2")
        self.assertEqual(self.started().arguments("rvxcopy -s my\tcl\trai\t -t md\t"),
                         ["-s", "my card/clip_1-2#.dpx", "raid/", "-t", "md5"])
        self.assertEqual(self.started().arguments("rvxcopy -s ~/da\tf\tra\t"),
                         ["-s", self.path(".home/day/f_1-2#"), "raid/"])
        self.assertEqual(self.started().arguments("rvxcopy clip.mov on:\tday2/"), ["clip.mov", "on:air/day2/"])

    def test_quoted_words(self):
        self.touch(*("my card/%s_%d" % (name, frame) for name in ("it's", "clip", "$HOME", "`id`") for frame in (1, 2)))
        self.touch("it's card/clip_1", "it's card/clip_2", "back\\card/clip_1", "back\\card/clip_2")
        self.assertEqual(self.started().arguments("rvxcopy -s 'back\\card/cl\t"), ["-s", "back\\card/clip_1-2#"])
        self.assertEqual(self.started().arguments("rvxcopy -s \"it's card/cl\t"), ["-s", "it's card/clip_1-2#"])
        for typed in ("\"my card/cl\t", "'my card/cl\t"):
            self.assertEqual(self.started().arguments("rvxcopy -s " + typed), ["-s", "my card/clip_1-2#"])
        self.assertEqual(self.started().arguments("rvxcopy -s \"my card/i\t"), ["-s", "my card/it's_1-2#"])
        self.assertEqual(self.started().arguments("rvxcopy -s 'my card/i\t"), ["-s", "my card/it's_1-2#"])
        self.assertEqual(self.started().arguments("rvxcopy -s 'my card/$\t"), ["-s", "my card/$HOME_1-2#"])
        self.assertEqual(self.started().arguments("rvxcopy -s 'my card/`\t"), ["-s", "my card/`id`_1-2#"])


class BashTest(TypedOffers, CompletionTest):
    INSERT_ALL = "\033*"  # readline's insert-completions

    def start(self):
        require("bash")
        return TypedInto(self.folder, self.shell_environment(), ["bash", "--norc", "--noprofile"],
                         ". %s" % shlex.quote(self.installed("rvxcopy.bash", "bash/completions/rvxcopy.bash")))

    def test_quote_within_a_word(self):
        self.touch("my card/clip_1", "my card/clip_2")
        self.assertEqual(self.started().arguments("rvxcopy -s my\\ card/\"cl\t"), ["-s", "my card/clip_1-2#"])

    def test_what_readline_would_leave_unquoted(self):
        self.touch("card/$HOME_1", "card/$HOME_2", "card/`id`_1", "card/`id`_2", "card/clip_1", "card/clip_2")
        self.assert_offers("-s", "card/", ["card/clip_1-2#"])


class BashCompletionPackageTest(BashTest):
    """With the package, which finds the installed file by the command's name."""

    PACKAGE = "/usr/share/bash-completion/bash_completion"

    def start(self):
        require("bash")
        if not os.path.exists(self.PACKAGE):
            self.skipTest("bash-completion is not installed")
        self.installed("rvxcopy.bash", "bash-completion/completions/rvxcopy")
        return TypedInto(self.folder, self.shell_environment(), ["bash", "--norc", "--noprofile"], ". " + self.PACKAGE)


class ZshTest(TypedOffers, CompletionTest):
    INSERT_ALL = "\033*"

    def start(self):
        require("zsh")
        self.installed("_rvxcopy", "zsh/functions/_rvxcopy")
        return TypedInto(self.folder, self.shell_environment(), ["zsh", "-f"], "; ".join((
            "fpath=(~/zsh/functions $fpath)", "autoload -U compinit", "compinit -u -D",
            "zle -C all-matches complete-word _generic", "bindkey '\\e*' all-matches",
            "zstyle ':completion:all-matches:*' insert yes",
            "zstyle ':completion:all-matches::::' completer _all_matches _complete")))


class FishShell:
    def offers(self, before, word):
        require("fish")
        environment = self.shell_environment()
        self.installed("rvxcopy.fish", "fish/completions/rvxcopy.fish")
        run = subprocess.run(["fish", "-c", "complete -C $argv[1]", "rvxcopy %s %s" % (before, word)], cwd=self.folder,
                             env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, timeout=LONGEST_RUN)
        self.assertEqual(run.stderr, b"")
        return [line.split("\t")[0] for line in run.stdout.decode().splitlines()] or [word]


class FishTest(Offers, FishShell, CompletionTest):
    def test_home_folder(self):
        self.touch(".home/card/clip_1", ".home/card/clip_2")
        self.assert_offers("-s", "~/card/cl", ["~/card/clip_1-2#"])

    def test_long_sequence(self):
        self.touch(*("card/clip_%06d.dpx" % frame for frame in range(3000)))
        self.assert_offers("-s", "card/", ["card/clip_0-2999######.dpx"])


class OfferedSequenceTest(FishShell, CompletionTest):
    """What is offered is what the program copies."""

    NUMBERS = (0, 1, 2, 4, 8, 9, 10, 11, 99, 100, 2147483646, 2147483647)
    OFFERED_FRONTS = ("", "clip_", "d-", "e--", "k#", "$x", "m1_", "m2_", "\u30ab")
    OTHER_FRONTS = ("\u0663", "\uff11", "%d", "10%")  # digits of other scripts, and conversions
    OFFERED_ENDS = ("", "_v2.mp4")

    def names(self, fronts, ends, numbers=NUMBERS):
        return {"%s%0*d%s" % (front, width, number, end)
                for front in fronts for end in ends for number in numbers for width in (1, 3)}

    def copied(self, identifier):
        result = self.run_tool("-n", "-s", identifier, "copy/")
        self.assertEqual(result.status, 0, identifier)
        frames = self.tree("copy")
        shutil.rmtree(self.path("copy"))
        first, last = re.search(r"(\d+)-(\d+)#+[^#]*$", identifier).groups()
        self.assertEqual(len(frames), int(last) - int(first) + 1, identifier)
        for name, data in frames.items():
            self.assertEqual(data.decode(), "card/" + name)
        return list(frames)

    def test_each_runs_and_no_frame_is_left_out(self):
        expected = self.names(self.OFFERED_FRONTS, self.OFFERED_ENDS)
        others = (self.names(self.OTHER_FRONTS, self.OFFERED_ENDS) | self.names(self.OFFERED_FRONTS, ("#",)) |
                  self.names(("", "clip_"), self.OFFERED_ENDS, (2147483648, 2147483649)))
        self.touch(*("card/" + name for name in expected | others))
        copied = [name for identifier in self.offers("-s", "card/") for name in self.copied(identifier)]
        self.assertEqual(sorted(copied), sorted(expected))


class CompletionTextTest(unittest.TestCase):
    def test_options_are_described_as_in_the_usage_text(self):
        for option, description in usage_options().items():
            self.assertIn("%s[%s]" % (option, description), completion_text("_rvxcopy"))
            self.assertRegex(completion_text("rvxcopy.fish"),
                             r"-o %s -d (['\"])%s\1\n" % (option[1], re.escape(description)))


if __name__ == "__main__":
    main()
