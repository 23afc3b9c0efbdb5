import subprocess

from support import LONGEST_RUN, ProcessTest, main


class FaultShimTest(ProcessTest):
    """What every test with a fault relies on."""

    def run_with(self, rule):
        self.write("clip.mov", b"movie")
        return subprocess.run(self.command("clip.mov", "d/"), cwd=self.folder, env=self.environment([rule]),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              timeout=LONGEST_RUN)

    def test_a_rule_that_is_not_understood_ends_the_program(self):
        for rule in ("read clip.mov 1 1 EIOO", "read clip.mov 1 1", "read clip.mov first 1 EIO", "read"):
            with self.subTest(rule):
                run = self.run_with(rule)
                self.assertEqual(run.stderr, b"fault shim: can't understand the rule \"%b\"\n" % rule.encode())
                self.assertEqual(run.returncode, 99)
                self.assertEqual(run.stdout, b"")

    def test_a_rule_for_another_file_changes_nothing(self):
        run = self.run_with("read other.mov 1 * EIO")
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, b"", b""))
        self.assertEqual(self.read("d/clip.mov"), b"movie")


if __name__ == "__main__":
    main()
