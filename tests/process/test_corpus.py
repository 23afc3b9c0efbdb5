import os
import re
import shutil
import tempfile
import unittest

from corpus import CALL_STACK, COPIED_ONLY, CORPUS, FAILED, VERIFIED, Run, pieces_of, read_tree, status_text, tree_text
from corpus_cases import CASES
from output_texts import PATTERNS, TEXTS
from support import USAGE, file_bytes, main

# RVX_UPDATE=1 writes the stored files anew, of those runs that are as they were written down by hand.
IS_UPDATE = os.environ.get("RVX_UPDATE") == "1"

EXIT_STATUS_HEADER = os.path.join(os.path.dirname(os.path.dirname(CORPUS)), "include", "ExitStatus.h")

SIGNAL_REPORT = re.compile(rb"Received signal: SIG(?:ABRT|SEGV|FPE)" + re.escape(CALL_STACK))


def texts_of(case, output):
    """The texts that an output consists of; None for a piece that is none of them."""
    for path in case.before:
        # A line end in a name would not be told from the line's own.
        name = os.fsencode(os.path.basename(path))
        output = output.replace(name, name.replace(b"\n", b"?"))
    if output.endswith(USAGE):
        output = output[:-len(USAGE)].removesuffix(b"\n")
    pieces = [piece for piece in pieces_of(output) if not SIGNAL_REPORT.fullmatch(piece)]
    return [next((text for text, pattern in PATTERNS.items() if pattern.fullmatch(piece)), None) for piece in pieces]


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
                self.assertNotIn(None, texts_of(case, case.stored("output")))

    def test_each_documented_text_is_in_the_corpus(self):
        printed = {text for case in CASES for text in texts_of(case, case.stored("output"))}
        self.assertEqual(set(TEXTS) - printed, set())

    def test_each_status_fits_the_last_text(self):
        for case in CASES:
            with self.subTest(case.name):
                texts = texts_of(case, case.stored("output"))
                ending = [TEXTS[text] for text in texts if TEXTS[text] is not None]
                self.assertEqual([TEXTS[text] for text in texts[:-1] if TEXTS[text] is not None], [],
                                 "nothing is printed after the text that tells why a run ended")
                if case.stored("output").startswith(b"rvxcopy\n"):
                    expected = (100,)
                elif not ending:
                    expected = (0, -9)
                else:
                    expected = ending[0] if isinstance(ending[0], tuple) else (ending[0],)
                self.assertIn(case.stored("status").decode().strip(), map(status_text, expected))

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
