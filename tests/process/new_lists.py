"""What the tests of rvxcheck --mhl and --ascmhl share: runs that write, and what is then in the lists."""

import os
import re

from check import CheckRuns, c4
from storage import StorageTest, require, run

SCHEMAS = os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, "schemas")

A = b"take one"


class NewListTest(CheckRuns, StorageTest):
    def roll(self, name="B007", empty=True):
        """Two clips' worth of a roll with its list; the same as worked out by hand in the format's description."""
        self.write(name + "/Clips/B007C001.mov", A)
        self.write(name + "/empty.idx", b"")
        os.makedirs(self.path(name + "/Audio"), exist_ok=True)
        self.list(name + "/B007.md5", "Clips/B007C001.mov", "empty.idx", tool=("md5sum",))
        for file, time in (("Clips/B007C001.mov", 1795284202), ("empty.idx", 1795284202), ("B007.md5", 1795284300)):
            os.utime(self.path("%s/%s" % (name, file)), (time, time))

    def put(self, folder, *names, data=A):
        """Files, and their list."""
        for name in names:
            self.write("%s/%s" % (folder, name), data)
        self.list(folder + "/SHA1SUMS", *names)

    def lists(self, folder):
        """The manifests of a history, or the lists beside the files."""
        history = self.path(folder + "/ascmhl")
        where = history if os.path.isdir(history) else self.path(folder)
        return ["%s/%s" % (os.path.relpath(where, self.folder), name)
                for name in sorted(os.listdir(where)) if name.endswith(".mhl")]

    def write_list(self, option, *arguments, folder="B007", status=0, **options):
        """Runs it for one folder; the list that is new by then."""
        before = self.lists(folder)
        run = self.run_tool(option, *arguments, folder, **options)
        self.assertEqual(run.status, status, run.output)
        new, = set(self.lists(folder)) - set(before)
        self.assertIn(b"wrote      %s (" % new.encode(), run.output)
        self.assert_valid(new)
        return new

    def assert_valid(self, name):
        require("xmllint")
        schema = ("ascmhl_chain" if name.endswith(".xml") else "ascmhl" if "/ascmhl/" in name else "mhl1") + ".rng"
        run("xmllint", "--noout", "--relaxng", os.path.join(SCHEMAS, schema), self.path(name))

    def assert_chain(self, folder, *names):
        """It names these manifests with the C4s that they have."""
        chain = folder + "/ascmhl/ascmhl_chain.xml"
        self.assert_valid(chain)
        self.assertEqual(self.read(chain).decode(), """<?xml version="1.0" encoding="UTF-8"?>
<ascmhldirectory xmlns="urn:ASC:MHL:DIRECTORY:v2.0">
%s</ascmhldirectory>
""" % "".join("""  <hashlist sequencenr="%d">
    <path>%s</path>
    <c4>%s</c4>
  </hashlist>
""" % (number, os.path.basename(name), c4(self.read(name))) for number, name in enumerate(names, 1)))

    def assert_good(self, *arguments):
        run = self.run_tool(*arguments)
        self.assertEqual((run.status, run.output.count(b"\n")), (0, 1), run.output)

    def unwritten(self, option, folder, reason, *arguments, status=40, **options):
        """Nothing is there that was not there before."""
        before = self.tree(".")
        run = self.run_tool(option, *arguments, folder, **options)
        self.assertIn("unwritten  %s (%s)\n" % (folder, reason), run.output.decode(errors="surrogateescape"))
        self.assertEqual(run.status, status)
        self.assertEqual(self.tree("."), before)

    def recorded(self, name):
        """The paths of the files in a list, then those of the folders, and of the files what was done."""
        text = self.read(name).decode()
        folders = re.findall(r"<directoryhash>\s*<path>([^<]*)<", text)
        files = re.findall(r"<hash>\s*<(?:path|file)[^>]*>([^<]*)<", text)
        return files, folders

    def actions(self, name):
        return dict(re.findall(r"<path size[^>]*>([^<]*)</path>\s*<xxh64 action=\"(\w+)\"", self.read(name).decode()))
