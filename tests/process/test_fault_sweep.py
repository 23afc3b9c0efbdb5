import os
import shutil
import zlib

import fault_sweep
from judge import Judge
from support import SANITIZERS, THOROUGH, ProcessTest, main

# Of the selection one case in so many is run, drawn by its name. A sanitizer makes the program many times slower; what
# it is to find shows in few of them.
ONE_IN = 320 if SANITIZERS else 16 if THOROUGH else 40
# Enough to see what is wrong. Each may be a hang, and the test has its time.
MOST_FAILURES = 8


def is_to_be_run(case):
    return case.is_in_selection() and zlib.crc32(case.name().encode()) % ONE_IN == 0


class FaultSweepTest(ProcessTest):
    def test_no_failing_call_is_missed(self):
        cases = fault_sweep.all_cases()
        sweep = fault_sweep.Sweep()
        sweep.run(filter(is_to_be_run, cases), MOST_FAILURES)
        print("\nFault sweep: " + sweep.summary() + "; scripts/fault-sweep runs all %d" % len(cases))
        self.assertEqual(sorted(sweep.failures), [])


class JudgeTest(ProcessTest):
    """What the sweep is worth: everything that a run may do wrong is found."""

    def setUp(self):
        super().setUp()
        self.stage = fault_sweep.Stage(self.folder)

    def judged(self, name_of_job="movie-sha1-verify", damage=None, status=0, output=None, errors=b""):
        """The problems of a run without a fault, of which something is changed before it is judged."""
        self.stage.prepare(name_of_job)
        job = fault_sweep.JOBS[name_of_job].job_in(self.stage.folder)
        judge = Judge(job, [self.stage.folder])
        run = self.run_tool(*job.arguments())
        self.assertEqual(judge.problems(run.status, run.output, b""), [])
        if damage:
            damage()
        problems = judge.problems(status, run.output if output is None else output, errors)
        self.stage.name_of_job = None
        return problems

    def inside(self, path):
        return os.path.join(self.stage.folder, path)

    def replace(self, path, old, new):
        with open(self.inside(path), "rb") as file:
            data = file.read()
        self.assertIn(old, data)
        with open(self.inside(path), "wb") as file:
            file.write(data.replace(old, new, 1))

    def assert_found(self, problems, text):
        self.assertTrue([problem for problem in problems if text in problem], problems)

    def test_wrong_files_are_found(self):
        own_list = "d1/sha1/clip.mov.sha1"
        for text, damage in (
                ("copy %s is wrong" % self.inside("d2/take.mov"), lambda: os.truncate(self.inside("d2/take.mov"), 5)),
                ("copy %s is wrong" % self.inside("d1/clip.mov"), lambda: self.replace("d1/clip.mov", b"odd", b"ode")),
                ("copy %s is wrong" % self.inside("d1/clip.mov"), lambda: os.remove(self.inside("d1/clip.mov"))),
                ("source %s has changed" % self.inside("card/clip.mov"),
                 lambda: self.replace("card/clip.mov", b"odd", b"ode")),
                (own_list + " was not written", lambda: os.remove(self.inside(own_list))),
                (own_list + " holds", lambda: self.replace(own_list, b")= ", b")= 0")),
                (own_list + " holds", lambda: self.replace(own_list, b"SHA1(../clip.mov)", b"SHA1(../other.mov)")),
                (own_list + " holds", lambda: os.truncate(self.inside(own_list), 100)),
                ("d1/sha1/.left.tmp was left behind",
                 lambda: shutil.copy(self.inside(own_list), self.inside("d1/sha1/.left.tmp")))):
            with self.subTest(text):
                self.assert_found(self.judged(damage=damage), text)

    def test_wrong_copies_and_lists_of_the_other_jobs_are_found(self):
        def replace_link():
            os.remove(self.inside("d2/other"))
            os.symlink("other.mov", self.inside("d2/other"))

        def add_list():
            os.makedirs(self.inside("d1/sha1"))
            shutil.copy(self.inside("d1/clip.mov"), self.inside("d1/sha1/clip.mov.sha1"))

        self.assert_found(self.judged("link-md5-copy", replace_link), "d2/other is wrong")
        self.assert_found(self.judged("movie-sha1-copy", add_list), "d1/sha1/clip.mov.sha1 was left behind")
        self.assert_found(self.judged("sequence-md5-verify", lambda: self.replace(
            "d1/md5/f_1-3##.dpx.md5", b"MD5(../f_02.dpx)= ", b"MD5(../f_02.dpx)=")), "f_1-3##.dpx.md5 holds")

    def test_wrong_statuses_and_texts_are_found(self):
        not_written = b"ERROR: unexpected EIO during write: Input/output error\nERROR: failed writing to d1\n"
        for text, status, output in (
                ("status 1 is not documented", 1, b""),
                ("status -6 is not documented", -6, b""),
                ("was written by a run with status 211", 211, not_written),
                ("status 212 is reported with", 212, not_written),
                ("status 211 is reported with ()", 211, b""),
                ("status 0 is reported with", 0, not_written),
                ("status 109 is reported with ()", 109, b"INFO: verifying d1\n"),
                ("the reports are []", 0, b""),
                ("standard output holds", 0, b"Segmentation fault\n"),
                ("standard output holds", 0, b"INFO: verifying d1"),
                ("after a line without an end", 201,
                 b"ERROR: can't open destination file (#1) (201i)INFO: verifying d1\n")):
            with self.subTest(text):
                self.assert_found(self.judged(status=status, output=output), text)
        self.assert_found(self.judged(errors=b"warning\n"), "standard error holds")
        # A run without -v.
        self.assert_found(self.judged("unlisted-verify", output=b"INFO: verifying d1\n"), "what only -v shows")


if __name__ == "__main__":
    main()
