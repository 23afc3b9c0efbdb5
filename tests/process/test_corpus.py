import os
import re
import shutil
import tempfile
import unittest

from corpus import CALL_STACK, COPIED_ONLY, CORPUS, FAILED, VERIFIED, Run, status_text, tree_text
from corpus_cases import CASES
from output_texts import ARGUMENT_REPORTS, REPORTS, TEXTS, fatal_texts, texts_in
from support import file_bytes, main

# RVX_UPDATE=1 writes the stored files anew, of those runs that are as they were written down by hand.
IS_UPDATE = os.environ.get("RVX_UPDATE") == "1"

EXIT_STATUS_HEADER = os.path.join(os.path.dirname(os.path.dirname(CORPUS)), "include", "ExitStatus.h")

SIGNAL_REPORT = re.compile(rb"Received signal: SIG(?:ABRT|SEGV|FPE)" + re.escape(CALL_STACK))


def texts_of(case, output):
    """The texts that an output consists of besides signals' reports, and what stands behind the last known one."""
    for path in case.before:
        # A line end in a name would not be told from the line's own.
        name = os.fsencode(os.path.basename(path))
        output = output.replace(name, name.replace(b"\n", b"?"))
    return texts_in(SIGNAL_REPORT.sub(b"", output))


class CorpusTest(unittest.TestCase):
    """Each run once more: as it is written down, and byte for byte as it is stored."""

    maxDiff = None

    def assert_reproduced(self, case):
        folder = tempfile.mkdtemp(prefix="rvxcopy-test-")
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        run = Run(case, folder)
        self.assertEqual(run.errors, b"", "nothing is written to standard error")
        self.assertTrue(run.is_as_set_up, "no fault happened")
        self.assertEqual(run.settled_output(case.output).decode(errors="surrogateescape"),
                         case.output.decode(errors="surrogateescape"))
        self.assertEqual(status_text(run.status), status_text(case.status))
        tree = run.tree(case.after)
        self.assertEqual(tree_text(tree).decode(), tree_text(case.after).decode())
        self.assertEqual(tree, case.after)
        files = case.files()
        if IS_UPDATE:
            shutil.rmtree(case.folder(), ignore_errors=True)
            os.makedirs(case.folder())
            for name, contents in files.items():
                with open(os.path.join(case.folder(), name), "wb") as file:
                    file.write(contents)
        self.assertEqual(sorted(files), sorted(os.listdir(case.folder())))
        for name, contents in files.items():
            self.assertEqual(case.stored(name), contents, name)


def reproduces(case):
    return lambda test: test.assert_reproduced(case)


for one in CASES:
    setattr(CorpusTest, "test_" + one.name.replace("-", "_"), reproduces(one))


class WholeCorpusTest(unittest.TestCase):
    def test_each_folder_is_a_case(self):
        folders = [name for name in os.listdir(CORPUS) if os.path.isdir(os.path.join(CORPUS, name))]
        self.assertEqual(sorted(folders), sorted(case.name for case in CASES))

    def test_each_output_consists_of_documented_texts(self):
        for case in CASES:
            with self.subTest(case.name):
                self.assertEqual(texts_of(case, case.stored("output"))[1], b"")

    def test_each_documented_text_is_in_the_corpus(self):
        printed = {text for case in CASES for text in texts_of(case, case.stored("output"))[0]}
        self.assertEqual(TEXTS - printed, set())

    def test_each_status_fits_the_last_texts(self):
        reports = {status_text(status): REPORTS.get(status, []) + ARGUMENT_REPORTS.get(status, [])
                   for status in {*REPORTS, *ARGUMENT_REPORTS}}
        reports["signal 9"] = [()]
        for case in CASES:
            with self.subTest(case.name):
                texts, _ = texts_of(case, case.stored("output"))
                ending = fatal_texts(texts)
                self.assertIn(ending, reports[case.stored("status").decode().strip()])
                self.assertEqual(tuple(texts[len(texts) - len(ending):]), ending,
                                 "nothing is printed after the text that tells why a run ended")

    def test_each_exit_status_is_in_the_corpus(self):
        statuses = set(re.findall(rb"^  \w+ = (\d+),", file_bytes(EXIT_STATUS_HEADER), re.MULTILINE))
        self.assertIn(b"220", statuses)
        self.assertEqual(statuses - {case.stored("status").strip() for case in CASES}, set())

    def test_full_disk_alone_is_212(self):
        for case in CASES:
            output = case.stored("output")
            self.assertEqual(case.stored("status") == b"212\n", b"during write: No space left" in output, case.name)

    def test_each_verdict_follows_from_the_status_and_from_n(self):
        for case in CASES:
            with self.subTest(case.name):
                arguments = case.stored("arguments").split(b"\0")
                is_unverified = any(word.startswith(b"-n") and not before.startswith((b"-p", b"-t", b"-o"))
                                    for before, word in zip([b""] + arguments, arguments))
                expected = (FAILED if case.stored("status") != b"0\n" else
                            COPIED_ONLY if is_unverified else VERIFIED)
                self.assertEqual(case.stored("verdict").decode(), expected + "\n")

    def test_no_list_is_left_by_an_unverified_run(self):
        for case in CASES:
            if case.stored("verdict") != b"verified\n" and case.status not in (114, 115):
                self.assertNotRegex(case.stored("after"), rb"(?m)^list ", case.name)

    def test_arguments_and_trees_are_as_documented(self):
        for case in CASES:
            with self.subTest(case.name):
                self.assertEqual(case.stored("arguments").split(b"\0"), case.arguments + [b""])
                for name in ("before", "after"):
                    for line in case.stored(name).splitlines():
                        self.assertRegex(line, rb"\A((folder|part) +- - +[!-~]+|(file|list) +\d+ [0-9a-f]{40} [!-~]+|"
                                         rb"link +\d+ [0-9a-f]{40} [!-~]+ -> [!-~]+)\Z")


if __name__ == "__main__":
    main()
