"""The manual pages: well formed, and true to the program."""

import glob
import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), os.pardir, "process"))
from abnf import Grammar  # noqa: E402
from corpus import cases  # noqa: E402
from output_texts import ARGUMENT_REPORTS, REPORTS, RESERVED_TEXTS, TEXTS, USAGE  # noqa: E402
from storage import require  # noqa: E402
from support import LONGEST_RUN, RVXCOPY, ProcessTest, file_bytes, main  # noqa: E402

SOURCES = os.path.realpath(os.path.join(os.path.dirname(__file__), os.pardir, os.pardir))
PAGES = sorted(glob.glob(SOURCES + "/man/*"))
PRODUCT_FOLDERS = ("include", "platform", "formats", "copy", "checksum", "frontend")


def source_text(name):
    return file_bytes(os.path.join(SOURCES, name)).decode()


def section(page, heading):
    return re.search(r"^\.Sh %s\n(.*?)(?=^\.Sh |\Z)" % heading, source_text("man/" + page), re.DOTALL | re.MULTILINE)[1]


def message_formats():
    """Every format that the product's sources print."""
    formats = set()
    for folder in PRODUCT_FOLDERS:
        for path in glob.glob("%s/%s/**/*.cpp" % (SOURCES, folder), recursive=True):
            for literals in re.findall(r'\bprint\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)', file_bytes(path).decode()):
                formats.add("".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals)).replace("\\n", "\n"))
    return formats


def can_inhibit():
    """Whether a login manager runs that systemd-inhibit can ask."""
    try:
        return subprocess.run(["systemd-inhibit", "true"], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0
    except FileNotFoundError:
        return False


class FormTest(ProcessTest):
    def test_pages_have_no_fault_of_form(self):
        require("mandoc")
        self.assertEqual(len(PAGES), 4)
        for page in PAGES:
            lint = subprocess.run(["mandoc", "-T", "lint", "-W", "all", page], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL).stdout.decode()
            # Pages that are not installed yet; test_references_lead_to_a_page looks after these. And the footer, which
            # names the program.
            faults = [line for line in lint.splitlines() if "referenced manual not found" not in line
                      and "operating system explicitly specified: Os rvxcopy " not in line]
            self.assertEqual(faults, [])

    def test_footer_names_program_and_version(self):
        require("mandoc")
        version = re.search(r"project\(rvxcopy VERSION (\S+)", source_text("CMakeLists.txt"))[1]
        for page in PAGES:
            shown = subprocess.run(["mandoc", "-T", "ascii", page], stdout=subprocess.PIPE, check=True).stdout.decode()
            self.assertTrue(shown.splitlines()[-1].startswith("rvxcopy %s " % version), shown[-100:])

    def test_references_lead_to_a_page(self):
        names = {os.path.basename(page) for page in PAGES}
        for page in PAGES:
            references = re.findall(r"^\.Xr (rvx\S*) (\d)", file_bytes(page).decode(), re.MULTILINE)
            self.assertTrue(references, page)
            self.assertEqual({"%s.%s" % reference for reference in references} - names, set(), page)


class ContentsTest(ProcessTest):
    def test_every_exit_status_is_described_and_no_other(self):
        of_rvxcopy = re.findall(r"= (\d+),", source_text("include/ExitStatus.h"))
        of_rvxcheck = re.findall(r"= (\d+),", source_text("check/RVXCheckStatus.h")) + ["117"]  # for want of memory
        for page, statuses in (("rvxcopy.1", of_rvxcopy), ("rvxcheck.1", of_rvxcheck)):
            self.assertGreater(len(set(statuses)), 10)
            described = re.findall(r"^\.It (\d+)$", section(page, "EXIT STATUS"), re.MULTILINE)
            self.assertEqual(sorted(described), sorted(set(statuses)))

    def test_every_option_is_described_and_no_other(self):
        usage = subprocess.run([os.environ["RVXCHECK"], "--help"], stdout=subprocess.PIPE).stdout.decode()
        of_rvxcopy = re.findall(r"^ .* -([a-z]) .* : ", USAGE.decode(), re.MULTILINE)
        of_rvxcheck = [option.lstrip("-") for option in re.findall(r"-[a-z]\b|--[a-z]+", usage)]
        for page, options in (("rvxcopy.1", of_rvxcopy), ("rvxcheck.1", of_rvxcheck)):
            self.assertGreater(len(options), 6)
            titles = "".join(re.findall(r"^\.It .*\n", section(page, "OPTIONS"), re.MULTILINE))
            for text in (section(page, "SYNOPSIS"), titles):
                described = {option.lstrip("-") for option in re.findall(r"\bFl (\S+)", text)}
                self.assertEqual(described, set(options), page)

    def test_hash_lists_are_as_described(self):
        require("mandoc")
        listed = re.compile(Grammar(SOURCES + "/man/rvxcopy-hashlist.5").pattern("list"))
        self.write_frames("card/f (%02d)=\\x.dpx", range(1, 4))
        for arguments in (("-t", "md5"), ("-t", "sha1")):
            self.run_tool(*arguments, "-s", "card/f (1-3##)=\\x.dpx", "d/list", "-f")
            written = self.read("d/%s/list.%s" % (arguments[1], arguments[1]))
            self.assertEqual(written.count(b"\n"), 5)
            self.assertTrue(listed.fullmatch(written), written)
            self.assertFalse(listed.fullmatch(written.replace(b")= ", b") = ")))


class ExamplesTest(ProcessTest):
    def commands(self, page):
        """The commands of each example, with folders of the test for /media and /mnt."""
        displays = re.findall(r"^\.Bd [^\n]*\n(.*?)^\.Ed$", section(page, "EXAMPLES"), re.DOTALL | re.MULTILINE)
        for display in displays:
            text = display.replace("\\-", "-").replace("\\(aq", "'").replace("\\e", "\\").replace("\\\n", "")
            commands = "\n".join(re.findall(r"^\$ (.*)$", text, re.MULTILINE))
            yield re.sub("/(media|mnt)/", lambda found: self.path(found[1]) + "/", commands)

    def run_commands(self, commands):
        shutil.rmtree(self.path("mnt"), ignore_errors=True)
        os.makedirs(self.path("mnt/raid"))
        environment = {**self.environment(), "PATH": os.path.dirname(RVXCOPY) + ":" + os.environ["PATH"]}
        done = subprocess.run(["bash", "-e", "-c", commands], cwd=self.folder, env=environment,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=LONGEST_RUN)
        self.assertEqual(done.returncode, 0, (commands, done.stdout))
        return done.stdout.decode()

    def setUp(self):
        super().setUp()
        for name in ("CARD/A001/clip.mov", "CARD/A001/other.mov"):
            self.write("media/" + name, name.encode())
        self.write_frames("media/CARD/DCIM/A001/clip_%04d.dpx", range(1, 101))

    def test_examples_of_the_program_work(self):
        require("ionice")
        examples = list(self.commands("rvxcopy.1"))
        self.assertEqual(len(examples), 3)
        for commands in examples:
            with self.subTest(commands):
                if "systemd-inhibit" in commands and not can_inhibit():
                    commands = re.sub("systemd-inhibit .* rvxcopy", "rvxcopy", commands)
                self.run_commands(commands)
                self.assertTrue(glob.glob(self.path("mnt/raid/**/*.sha1"), recursive=True))

    def test_examples_of_the_hash_list_work(self):
        require("openssl")
        copying = "rvxcopy '%s' '%s'\n" % (self.path("media/CARD/A001/clip.mov"), self.path("mnt/raid/"))
        check, digest = self.commands("rvxcopy-hashlist.5")
        self.assertEqual(self.run_commands(copying + check), "../clip.mov: OK\n")
        printed = self.run_commands(copying + digest)
        self.assertEqual(self.read("mnt/raid/sha1/clip.mov.sha1").split(b"\n")[2] + b"\n", printed.encode())


class OutputTest(ProcessTest):
    """The grammar of what is printed describes the texts of output_texts.py, all of which the stored runs show."""

    def setUp(self):
        super().setUp()
        require("mandoc")
        self.grammar = Grammar(SOURCES + "/man/rvxcopy-output.7")

    def test_every_message_of_the_sources_is_a_known_text(self):
        formats = message_formats()
        self.assertGreater(len(formats), 30)
        endings = [row for reports in (REPORTS, ARGUMENT_REPORTS) for rows in reports.values() for row in rows]
        known = [text.replace("%U", USAGE.decode()) for text in [*map("".join, endings), *TEXTS, *RESERVED_TEXTS]]
        for text in formats:
            pattern = "[^\n]+".join(re.escape(piece) for piece in re.split(r"%(?:ll|l)?[dius]", text))
            with self.subTest(text):
                self.assertTrue(any(re.search("^" + pattern, one, re.MULTILINE) for one in known))

    def test_stored_runs_are_as_described(self):
        output = re.compile(self.grammar.pattern("output"))
        lines = set()
        for case in cases():
            with self.subTest(case.name):
                printed = case.output_without_odd_names()
                self.assertTrue(output.fullmatch(printed))
                lines |= set(printed[:-1 if printed.endswith(b"\n") else None].split(b"\n"))
        for line in lines:
            self.assertTrue(self.grammar.rules_of(line), line)
        unused = {expression.pattern for _, expression in self.grammar.expressions
                  if not any(expression.search(line) for line in lines)}
        self.assertEqual(unused, set(), "described, but in no run")
        self.assertEqual({rule for line in lines for rule in self.grammar.rules_of(line)},
                         {rule for rule, _ in self.grammar.expressions})

    def test_every_piece_has_an_expression(self):
        pieces = set(re.findall(r"[a-z][a-z-]*", self.grammar.rules["piece"])) | {"signal-report"}
        self.assertEqual({rule for rule, _ in self.grammar.expressions}, pieces)


if __name__ == "__main__":
    main()
