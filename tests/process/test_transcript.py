import os
import re
import subprocess
import unittest

from corpus import in_expected_order, lines_of, without_added_progress
from support import RVXCOPY, file_bytes, main

REPOSITORY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")


def readme_block():
    return re.search(rb"^<!-- transcript -->\n```console\n(.*?)^```\n<!-- end of transcript -->$",
                     file_bytes(os.path.join(REPOSITORY, "README.md")), re.DOTALL | re.MULTILINE)[1]


class TranscriptTest(unittest.TestCase):
    maxDiff = None

    def test_readme_shows_what_the_program_prints(self):
        """If not: scripts/transcript --update."""
        shown = readme_block()
        printed = subprocess.run([os.path.join(REPOSITORY, "scripts", "transcript")], check=True, timeout=600,
                                 env={**os.environ, "RVXCOPY": RVXCOPY}, stdout=subprocess.PIPE).stdout
        expected = lines_of(shown)
        lines = in_expected_order(without_added_progress(lines_of(printed), expected), expected,
                                  [line.startswith(b"INFO: verified ") for line in expected])
        self.assertEqual(b"".join(lines).decode(), shown.decode())

    def test_the_damage_is_found_and_repaired(self):
        block = readme_block().decode()
        damage = block.index("$ printf x | dd of=shuttle/shot/shot_1007.dpx")
        found = block.index("changed    shuttle/shot/shot_1007.dpx")
        good = ": 24 ok, 0 changed, 0 missing, 0 unreadable, 0 unlisted, 0 bad lines"
        self.assertTrue(block.index(good) < damage < found < block.rindex(good))
        self.assertEqual(re.findall(r"^\$ echo \$\?\n(\d+)$", block, re.MULTILINE), ["0", "0", "107"])


if __name__ == "__main__":
    main()
