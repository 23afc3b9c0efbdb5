import os
import re
import subprocess

from corpus import CORPUS, COPIED_ONLY, FAILED, VERIFIED, Run, cases, tree_text
from output_texts import ARGUMENT_REPORTS, REPORTS, TEXTS, fatal_texts, texts_in
from support import ProcessTest, file_bytes, main

CASES = cases()

EXIT_STATUS_HEADER = os.path.join(os.path.dirname(os.path.dirname(CORPUS)), "include", "ExitStatus.h")

DIGEST = re.compile(rb"\b(?:[0-9a-f]{40}|[0-9a-f]{32})\b")


class CorpusTest(ProcessTest):
    """Each run once more, byte for byte as it is stored."""

    maxDiff = None

    def assert_reproduced(self, case):
        run = Run(case, self.folder)
        self.assertEqual(run.errors, b"", "nothing is written to standard error")
        self.assertTrue(run.is_as_set_up, "no fault happened")
        self.assertEqual(run.output().decode(errors="surrogateescape"), case.output.decode(errors="surrogateescape"))
        self.assertEqual(run.status, case.status)
        self.assertEqual(tree_text(run.tree()), tree_text(case.after))
        self.assert_lists_are_accepted(case)

    def assert_lists_are_accepted(self, case):
        for path, text in case.lists.items():
            # A list names the source's file, also beside a copy of another name; of a link it has the target's path.
            top = os.path.dirname(os.path.dirname(path))
            named = [os.path.join(top, name.decode()) for name in re.findall(rb"\(\.\./(.*)\)= ", text)]
            if all(type(case.after.get(name)) is bytes for name in named):
                self.assert_checks(os.path.join("run", path))


def reproduces(case):
    return lambda test: test.assert_reproduced(case)


for one in CASES + cases(b"rvxcheck"):
    setattr(CorpusTest, "test_" + one.name.replace("-", "_"), reproduces(one))


def texts_of(case):
    """The texts that an output consists of besides signals' reports, and what stands after the last known one."""
    report = rb"Received signal: SIG(?:ABRT|SEGV|FPE)rvxcopy\(\+0x1000\) \[0x1000\]"
    return texts_in(re.sub(report, b"", case.output_without_odd_names()))


class WholeCorpusTest(ProcessTest):
    def test_each_output_consists_of_documented_texts(self):
        for case in CASES:
            with self.subTest(case.name):
                self.assertEqual(texts_of(case)[1], b"")

    def test_each_documented_text_is_in_the_corpus(self):
        self.assertEqual(TEXTS - {text for case in CASES for text in texts_of(case)[0]}, set())

    def test_each_digest_is_one_of_the_files(self):
        for case in CASES:
            with self.subTest(case.name):
                stated = {digest for text in [case.output, *case.lists.values()] for digest in DIGEST.findall(text)}
                self.assertEqual(stated - self.digests(case.contents()), set())

    def digests(self, contents):
        """As coreutils make them."""
        files = [self.write("contents-%d" % i, data) for i, data in enumerate(contents)]
        return {digest for tool in ("sha1sum", "md5sum") for digest in
                DIGEST.findall(subprocess.run([tool, *files], stdout=subprocess.PIPE, check=True).stdout)}

    def test_each_status_fits_the_last_texts(self):
        reports = {status: REPORTS.get(status, []) + ARGUMENT_REPORTS.get(status, [])
                   for status in {*REPORTS, *ARGUMENT_REPORTS}}
        reports[-9] = [()]
        for case in CASES:
            with self.subTest(case.name):
                texts, _ = texts_of(case)
                ending = fatal_texts(texts)
                self.assertIn(ending, reports[case.status])
                self.assertEqual(tuple(texts[len(texts) - len(ending):]), ending,
                                 "nothing is printed after the text that tells why a run ended")

    def test_each_exit_status_is_in_the_corpus(self):
        statuses = {int(number) for number in
                    re.findall(rb"^  \w+ = (\d+),", file_bytes(EXIT_STATUS_HEADER), re.MULTILINE)}
        self.assertIn(220, statuses)
        self.assertEqual(statuses - {case.status for case in CASES}, set())

    def test_full_disk_alone_is_212(self):
        for case in CASES:
            self.assertEqual(case.status == 212, b"during write: No space left" in case.output, case.name)

    def test_each_verdict_follows_from_the_status_and_from_n(self):
        for case in CASES:
            with self.subTest(case.name):
                is_unverified = any(word.startswith(b"-n") and not before.startswith((b"-p", b"-t", b"-o"))
                                    for before, word in zip([b""] + case.arguments, case.arguments))
                self.assertEqual(case.verdict, FAILED if case.status != 0 else
                                 COPIED_ONLY if is_unverified else VERIFIED)

    def test_no_list_is_left_by_an_unverified_run(self):
        for case in CASES:
            if case.verdict != VERIFIED and case.status not in (114, 115):
                self.assertEqual(case.lists, {}, case.name)


if __name__ == "__main__":
    main()
