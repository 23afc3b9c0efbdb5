import os
import subprocess

from check import RVXCHECK
from corpus import FAILED, VERIFIED, Link, build_tree, cases
from support import LONGEST_RUN, RVXCOPY, ProcessTest, main, share

CASES = cases()

EXAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "examples")


class Driver:
    """One run of an example."""

    def __init__(self, run):
        self.status = run.returncode
        self.shown = run.stdout
        self.progress = run.stderr
        self.verdict = run.stdout.splitlines()[-1]

    def tells(self, verdict):
        return self.verdict.startswith(verdict.encode())

    def calls_it_safe(self):
        return b"complete and durable at every destination" in self.shown


class ExampleTest:
    """Mixed into a test for each of the examples."""

    replayed = {}

    def drive(self, arguments, program=RVXCOPY, folder=None, variables=None):
        environment = self.environment(variables={"RVXCOPY": program, **(variables or {})})
        return Driver(subprocess.run([os.path.join(EXAMPLES, self.example), *arguments], cwd=folder or self.folder,
                                     env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE, timeout=LONGEST_RUN))

    def replay(self, case):
        """The example reads a stored output, and gets the stored status. Once for all tests."""
        if (self.example, case.name) not in self.replayed:
            end = "kill -%d $$" % -case.status if case.status < 0 else "exit %d" % case.status
            output = self.write("replayed", case.output)
            program = self.program("replay", "cat '%s'\n%s" % (output, end))
            self.replayed[self.example, case.name] = self.drive(case.arguments, program)
        return self.replayed[self.example, case.name]

    def program(self, name, text):
        path = self.write(name, b"#!/bin/sh\n%s\n" % text.encode())
        os.chmod(path, 0o755)
        return path

    def case(self, name):
        return next(case for case in CASES if case.name == name)

    def assert_tells(self, driver, verdict, status):
        self.assertTrue(driver.tells(verdict), driver.shown)
        self.assertEqual(driver.calls_it_safe() or driver.tells("verified as a link"), verdict == VERIFIED,
                         driver.shown)
        self.assertEqual(driver.status, status if status >= 0 else 128 - status)

    def test_each_stored_run_is_judged_rightly(self):
        for case in CASES:
            with self.subTest(case.name):
                self.assert_tells(self.replay(case), case.verdict, case.status)

    def test_each_run_of_the_program_is_judged_rightly(self):
        for case in share(CASES, 8):
            # The driver's -v makes two arguments of one. A script may wait for output at a place of its own.
            if len(case.arguments) < 2 or case.scripts:
                continue
            with self.subTest(case.name):
                folder = case.prepare(self.path("real-" + case.name))
                environment = case.environment()
                faults = "".join(" %s='%s'" % (name, environment.pop(name))
                                 for name in ("LD_PRELOAD", "RVX_FAULTS", "RVX_FAULTS_LOG") if name in environment)
                # The faults are for the program alone, and not for what drives it.
                program = self.program("real", "exec env%s '%s' \"$@\"" % (faults, RVXCOPY))
                driver = self.drive(case.arguments, program, folder, environment)
                self.assert_tells(driver, case.verdict, case.status)

    def test_failures_are_shown_and_usual_lines_are_not(self):
        for case in CASES:
            with self.subTest(case.name):
                shown = self.replay(case).shown
                for line in case.output.split(b"\n"):
                    if line.startswith(b"ERROR: ") and line.isascii():
                        self.assertIn(line, shown)
                if "name" not in case.name:
                    for usual in (b"INFO: copy", b"INFO: copied", b"INFO: verif", b"hash SHA1:", b"verify of source",
                                  b"Copy completed"):
                        self.assertNotIn(b"\n" + usual, b"\n" + shown)

    def test_error_without_line_end_is_a_line_of_its_own(self):
        shown = self.replay(self.case("source-not-opened")).shown
        self.assertEqual(shown.splitlines()[0], b"ERROR: can't open source file (200i)")

    def test_line_behind_a_signal_report_is_read(self):
        driver = self.replay(self.case("signal-reported"))
        self.assertTrue(driver.shown.startswith(b"Received signal: SIGSEGV"), driver.shown)
        self.assertNotIn(b"INFO: copied", driver.shown)
        self.assertIn(b"copying: 0 %", driver.progress)
        shown = self.replay(self.case("signal-reported-before-a-failure")).shown
        self.assertIn(b"ERROR: can't open source file (200i)", shown.splitlines())

    def test_unknown_line_is_shown(self):
        program = self.program("program", "echo 'INFO: something new'; printf 'no line end'; exit 0")
        driver = self.drive(["card/clip.mov", "raid/"], program)
        self.assertEqual(driver.shown.splitlines()[:2], [b"INFO: something new", b"no line end"])
        self.assert_tells(driver, VERIFIED, 0)

    def test_a_media_hash_list_is_written_on_request(self):
        self.write("card/a.mov", b"take one")
        for name in ("raid/day 3", "shuttle"):
            os.makedirs(self.path(name))
        arguments = ["--ascmhl", "-v", "card/a.mov", "raid/day 3/", "shuttle/b.mov"]
        driver = self.drive(arguments, variables={"RVXCHECK": RVXCHECK})
        self.assertRegex(driver.shown, rb"(?m)^wrote      raid/day 3/ascmhl/0001_day 3_.* \(2 files\)$")
        self.assertRegex(driver.shown, rb"(?m)^wrote      shuttle/ascmhl/0001_shuttle_.* \(2 files\)$")
        self.assert_tells(driver, VERIFIED, 0)
        self.assertIn(b"The media hash lists are written.", driver.verdict)
        self.write("other/c.mov", b"take two")
        driver = self.drive(["--ascmhl", "card/a.mov", "other/"], variables={"RVXCHECK": RVXCHECK})
        self.assertIn(b"unwritten  other (not clean)", driver.shown.splitlines())
        self.assertIn(b"The media hash lists are NOT all written, see above.", driver.verdict)
        self.assert_tells(driver, VERIFIED, 21)
        driver = self.drive(["--ascmhl", "card/none", "raid/day 3/"])
        self.assert_tells(driver, FAILED, 104)

    def test_progress_is_told(self):
        progress = self.replay(self.case("movie-progress")).progress
        for text in (b"copying: 0 %", b"copying: 99 %", b"verifying card: 100 %", b"verifying raid: 99 %",
                     b"verifying raid: 100 %"):
            self.assertIn(text, progress)

    def test_progress_beyond_an_estimate_or_of_nothing_is_all(self):
        self.assertIn(b"verifying raid: 100 %", self.replay(self.case("sequence-estimated")).progress)
        self.assertNotIn(b"125 %", self.replay(self.case("sequence-estimated")).progress)
        self.assertIn(b"verifying raid: 100 %", self.replay(self.case("movie-empty")).progress)

    def test_unknown_status_is_a_failure(self):
        self.assert_tells(self.drive(["card/clip.mov", "raid/"], self.program("program", "exit 77")), FAILED, 77)

    def test_a_link_is_not_taken_for_footage(self):
        build_tree(self.folder, {"card": None, "card/f_01.dpx": b"a movie", "card/f_02.dpx": Link(b"/elsewhere")})
        for arguments, link in ((["card/f_02.dpx", "raid/"], b"card/f_02.dpx"),
                                (["-s", "card/f_1-2##.dpx", "shuttle/"], b"card/f_02.dpx")):
            driver = self.drive(arguments)
            self.assert_tells(driver, VERIFIED, 0)
            self.assertFalse(driver.calls_it_safe())
            self.assertIn(link + b" is one, and nothing of what it leads to was copied", driver.verdict)

    def test_missing_hash_list_is_told(self):
        build_tree(self.folder, {"card": None, "card/clip.mov": b"a movie"})
        for number, (value, told) in enumerate((("0", True), ("no", True), ("00", True), ("1", False), (" -2", False))):
            driver = self.drive(["-o", value, "card/clip.mov", "raid%d/" % number])
            self.assert_tells(driver, VERIFIED, 0)
            self.assertEqual(b"No hash list was written" in driver.verdict, told, value)
            self.assertEqual(os.path.exists(self.path("raid%d/sha1" % number)), not told)

    def test_first_missing_frame_is_named(self):
        frames = {"card/r2/f_%04d.dpx" % number: b"frame" for number in (8, 9, 12)}
        build_tree(self.folder, {"card": None, "card/r2": None, **frames})
        driver = self.drive(["-s", "card/r2/f_0008-12####.dpx", "raid/"])
        self.assert_tells(driver, FAILED, 200)
        self.assertIn(b": card/r2/f_0010.dpx is missing", driver.verdict)

    def test_folder_without_a_slash_is_asked_about(self):
        build_tree(self.folder, {"card": None, "card/clip.mov": b"a movie", "raid": None, "old": None,
                                 "old/clip.mov": b"old"})
        driver = self.drive(["card/clip.mov", "new/", "raid"])
        self.assert_tells(driver, FAILED, 107)
        self.assertIn(b"did you mean raid/?", driver.verdict)
        driver = self.drive(["card/clip.mov", "old/"])
        self.assert_tells(driver, FAILED, 107)
        self.assertNotIn(b"did you mean", driver.verdict)

    def test_program_that_is_not_there(self):
        driver = self.drive(["card/clip.mov", "raid/"], self.path("none"))
        self.assert_tells(driver, FAILED, 127)

    def test_program_is_found_in_the_path(self):
        self.write("card/clip.mov", b"a movie")
        os.makedirs(self.path("bin"))
        os.symlink(RVXCOPY, self.path("bin/rvxcopy"))
        environment = self.environment(variables={"PATH": self.path("bin") + ":" + os.environ["PATH"]})
        run = subprocess.run([os.path.join(EXAMPLES, self.example), "card/clip.mov", "raid/"], cwd=self.folder,
                             env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=LONGEST_RUN)
        self.assert_tells(Driver(run), VERIFIED, 0)
        self.assertEqual(self.read("raid/clip.mov"), b"a movie")
        self.assert_checks("raid/sha1/clip.mov.sha1")


class PythonExampleTest(ExampleTest, ProcessTest):
    example = "copy_clip.py"

    def test_repeated_reads_are_told_with_the_verdict(self):
        for name in ("read-recovered", "verify-read-recovered"):
            self.assertIn(b"check that device", self.replay(self.case(name)).verdict)
        self.assertNotIn(b"check that device", self.replay(self.case("movie-verbose")).verdict)

    def test_wrong_hash_names_the_culprit(self):
        self.assertIn(b"the card or its reader", self.replay(self.case("source-changed")).verdict)
        self.assertIn(b"the disk of that copy", self.replay(self.case("copy-damaged")).verdict)


class ShellExampleTest(ExampleTest, ProcessTest):
    example = "copy_clip.sh"


if __name__ == "__main__":
    main()
