"""What the tests of rvxcheck share: lists as other programs write them, and its last lines."""

import hashlib
import os
import subprocess

RVXCHECK = os.environ["RVXCHECK"]


def summary(files=0, size="0 B", ok=0, changed=0, missing=0, unreadable=0, unlisted=0, bad=0,
            source="from the storage", rest=""):
    from_where = "read " + source if source.startswith("from") else "read, " + source
    return ("%d files, %s %s: %d ok, %d changed, %d missing, %d unreadable, %d unlisted, %d bad lines%s\n"
            % (files, size, from_where, ok, changed, missing, unreadable, unlisted, bad, rest))


def size_of(*contents):
    """Of small contents, as the summary has it."""
    size = sum(map(len, contents))
    return "%d B" % size if size < 1000 else "%d.%d kB" % divmod((size + 50) // 100, 10)


def digest(data, tool="sha1sum"):
    """As the coreutils give it."""
    return subprocess.run([tool], input=data, stdout=subprocess.PIPE, check=True).stdout.split()[0].decode()


def c4(data):
    """SHA-512 as a number in base 58."""
    number, digits = int.from_bytes(hashlib.sha512(data).digest(), "big"), ""
    while len(digits) < 88:
        number, remainder = divmod(number, 58)
        digits = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz"[remainder] + digits
    return "c4" + digits


def old_list(*entries):
    """MHL 1.1, an entry a line: its file, and the elements after that."""
    lines = ["<hash><file>%s</file>%s</hash>\n" % entry for entry in entries]
    return ('<?xml version="1.0"?>\n<hashlist version="1.1">\n%s</hashlist>\n' % "".join(lines)).encode()


def manifest(*hashes, patterns=(), references=(), process="in-place"):
    """ASC MHL, an entry a line from the third on; the patterns stand in the second."""
    ignored = "<ignore>%s</ignore>" % "".join("<pattern>%s</pattern>" % pattern for pattern in patterns)
    return ('<hashlist version="2.0" xmlns="urn:ASC:MHL:v2.0">\n<processinfo><process>%s</process>%s</processinfo>'
            "<hashes>\n%s</hashes><references>%s</references></hashlist>\n" % (
                process, ignored if patterns else "", "".join(one + "\n" for one in hashes),
                "".join("<hashlistreference><path>%s</path><c4>%s</c4></hashlistreference>" % one
                        for one in references))).encode()


def hash_of(path, digests, before="", size=None):
    """An entry of a manifest."""
    return "<hash><path%s>%s</path>%s%s</hash>" % (
        "" if size is None else ' size="%d"' % size, path, digests,
        "<previousPath>%s</previousPath>" % before if before else "")


def folder_of(path, before=""):
    return "<directoryhash><path>%s</path>%s</directoryhash>" % (
        path, "<previousPath>%s</previousPath>" % before if before else "")


class CheckRuns:
    """For a ProcessTest: the program under test is rvxcheck."""

    def command(self, *arguments):
        return [RVXCHECK, *arguments]

    def check(self, *arguments, status=0, lines="", **counts):
        self.assert_run(self.run_tool(*arguments), status, lines + summary(**counts))

    def list(self, name, *files, tool=("sha1sum",)):
        """Writes a list of files, named from the list's own folder, as the tool does."""
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        lines = subprocess.run([*tool, "--", *files], cwd=os.path.dirname(path), stdout=subprocess.PIPE, check=True)
        return self.write(name, lines.stdout)

    def history(self, scope, *manifests, first=1):
        """Generations, from this number on, and the chain that names them."""
        names = ["%04d_B007_2026-11-22_073000Z.mhl" % (first + i) for i in range(len(manifests))]
        for name, data in zip(names, manifests):
            self.write("%s/ascmhl/%s" % (scope, name), data)
        self.chain(scope, *zip(names, map(c4, manifests)))
        return ["%s/ascmhl/%s" % (scope, name) for name in names]

    def chain(self, scope, *entries):
        return self.write(scope + "/ascmhl/ascmhl_chain.xml", (
            '<ascmhldirectory xmlns="urn:ASC:MHL:DIRECTORY:v2.0">\n%s</ascmhldirectory>\n' % "".join(
                '<hashlist sequencenr="1"><path>%s</path><c4>%s</c4></hashlist>\n' % entry
                for entry in entries)).encode())

    def card_line(self, safe, files, card="card", copies=2):
        """The last line of a run with --card."""
        if safe == files and files > 0:
            return ("%s: %d of %d files are on %d or more disks, read back and equal. It may be formatted.\n"
                    % (card, safe, files, copies))
        return "%s: %d of %d files are safe. It may NOT be formatted.\n" % (card, safe, files)
