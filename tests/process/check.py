"""What the tests of rvxcheck share: lists as other programs write them, and its last lines."""

import os
import subprocess

RVXCHECK = os.environ["RVXCHECK"]


def summary(files=0, size="0 B", ok=0, changed=0, missing=0, unreadable=0, unlisted=0, bad=0,
            source="from the storage", rest=""):
    from_where = "read " + source if source.startswith("from") else "read, " + source
    return ("%d files, %s %s: %d ok, %d changed, %d missing, %d unreadable, %d unlisted, %d bad lines%s\n"
            % (files, size, from_where, ok, changed, missing, unreadable, unlisted, bad, rest))


def digest(data, tool="sha1sum"):
    """As the coreutils give it."""
    return subprocess.run([tool], input=data, stdout=subprocess.PIPE, check=True).stdout.split()[0].decode()


class CheckRuns:
    """For a ProcessTest: the program under test is rvxcheck."""

    def command(self, *arguments):
        return [RVXCHECK, *arguments]

    def list(self, name, *files, tool=("sha1sum",)):
        """Writes a list of files, named from the list's own folder, as the tool does."""
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        lines = subprocess.run([*tool, "--", *files], cwd=os.path.dirname(path), stdout=subprocess.PIPE, check=True)
        return self.write(name, lines.stdout)

    def card_line(self, safe, files, card="card", copies=2):
        """The last line of a run with --card."""
        if safe == files and files > 0:
            return ("%s: %d of %d files are on %d or more disks, read back and equal. It may be formatted.\n"
                    % (card, safe, files, copies))
        return "%s: %d of %d files are safe. It may NOT be formatted.\n" % (card, safe, files)
