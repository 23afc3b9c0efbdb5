"""Runs the commands of docs/many-cards.md as they stand there."""

import os
import re
import shlex
import signal
import socket
import subprocess
import time
import unittest

from check import RVXCHECK
from storage import StorageTest, require, require_mounts
from support import FAULT_SHIM, LONGEST_RUN, RVXCOPY, coreutils_digest, file_bytes, main

DOCUMENTATION = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
FILES = ("DCIM/100/clip1.mov", "DCIM/100/clip2.mov", "DCIM/101/clip1.mov", "take 'B' 50%.mov")


def documentation(name):
    return file_bytes(os.path.join(DOCUMENTATION, name)).decode()


def commands_of_page():
    """Heading -> its commands, in their order."""
    commands = {}
    for section in re.split(r"^## ", documentation("docs/many-cards.md"), flags=re.MULTILINE)[1:]:
        commands[section.split("\n")[0]] = re.findall(r"^```sh\n(.*?)^```$", section, re.MULTILINE | re.DOTALL)
    return commands


class ManyCardsTest(StorageTest):
    def setUp(self):
        super().setUp()
        require("parallel", "flock")
        page = commands_of_page()
        self.commands = {name: "".join(commands) for name, commands in page.items() if len(commands) == 1}
        self.side_by_side = self.commands["Side by side"]
        self.repeat = self.commands["What to do with a failure"]
        # A fault stands in a file with the name of the card that has it.
        self.write("bin/rvxcopy", ("""#!/bin/sh
for argument; do
  case $argument in cards/*) card=${argument#cards/}; fault=%s/faults/${card%%%%/*} ;; esac
done
[ -e "$fault" ] && export LD_PRELOAD=%s RVX_FAULTS="$(cat "$fault")" RVX_FAULTS_LOG="$fault.log"
exec %s "$@"
""" % tuple(map(shlex.quote, (self.folder, FAULT_SHIM, RVXCOPY)))).encode())
        os.chmod(self.path("bin/rvxcopy"), 0o755)
        os.symlink(RVXCHECK, self.path("bin/rvxcheck"))
        os.makedirs(self.path("faults"))

    def make_day(self, day, *cards):
        for destination in ("raid", "shuttle"):
            os.makedirs(self.path("%s/%s" % (day, destination)), exist_ok=True)
        for card in cards:
            for name in FILES:
                self.write("%s/cards/%s/%s" % (day, card, name), ("%s of %s" % (name, card)).encode())
        self.write(day + "/offload-card", self.commands["One card"].encode())
        os.chmod(self.path(day + "/offload-card"), 0o755)
        return self.run_commands(self.commands["The day's folder"], day)

    def run_commands(self, commands, day="day3", variables=None):
        """Standard output and error come together, as on a terminal."""
        environment = self.environment(variables={"PATH": "%s:%s" % (self.path("bin"), os.environ["PATH"]),
                                                  "HOME": self.folder, **(variables or {})})
        run = subprocess.run(["sh", "-c", commands], cwd=self.path(day), env=environment, stdin=subprocess.DEVNULL,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=3 * LONGEST_RUN)
        run.output = run.stdout.decode()
        return run

    def fail_at(self, card, fault):
        self.write("faults/" + card, fault.encode())

    def repair(self, card):
        self.assertIn("!", self.read("faults/%s.log" % card).decode(), "no fault happened")
        os.remove(self.path("faults/" + card))

    def log(self, name, day="day3"):
        """The rows of a job log below its header."""
        return [row.split("\t") for row in self.read("%s/%s" % (day, name)).decode().splitlines()[1:]]

    def statuses(self, name, day="day3"):
        return {row[8].split()[1]: int(row[6]) for row in self.log(name, day)}

    def assert_card_is_copied(self, card, day="day3"):
        for destination in ("raid", "shuttle"):
            copy = "%s/%s/%s" % (day, destination, card)
            copied = {name: data for name, data in self.tree(copy).items() if data is not None}
            lists = [name for name in copied if name.endswith(".sha1")]
            self.assertEqual(sorted(set(copied) - set(lists)), sorted(FILES))
            self.assertEqual(len(lists), len(FILES))
            for name in FILES:
                self.assertEqual(coreutils_digest("sha1sum", self.path("%s/%s" % (copy, name))),
                                 coreutils_digest("sha1sum", self.path("%s/cards/%s/%s" % (day, card, name))))
            for name in lists:
                self.assert_checks("%s/%s" % (copy, name))


class SideBySideTest(ManyCardsTest):
    def test_all_cards(self):
        self.assertEqual(self.make_day("day3", "A001", "A002", "A003").output, "")
        run = self.run_commands(self.side_by_side)
        self.assertEqual((run.returncode, run.output), (0, ""))
        self.assertEqual(self.statuses("offload/cards.log"), {"A001": 0, "A002": 0, "A003": 0})
        for card in ("A001", "A002", "A003"):
            self.assert_card_is_copied(card)

    def assert_resumes(self, fault, status):
        """A card that fails at its second file, and one that does not."""
        self.make_day("day3", "A001", "A002")
        self.fail_at("A002", fault)
        run = self.run_commands(self.side_by_side)
        self.assertEqual(run.returncode, 1, run.output)
        self.assertEqual(self.statuses("offload/cards.log"), {"A001": 0, "A002": status})
        self.assert_card_is_copied("A001")
        self.repair("A002")
        run = self.run_commands(self.repeat)
        self.assertEqual((run.returncode, run.output), (0, ""))
        self.assert_card_is_copied("A002")
        self.assertEqual([row[0] for row in self.log("offload/A002.log")], ["1", "2", "2", "3", "4"])
        self.assertEqual(len(self.log("offload/A001.log")), len(FILES))

    def test_failing_reader(self):
        self.assert_resumes("read cards/A002/DCIM/100/clip2.mov 1 9 EIO", 220)
        again = self.run_commands(self.repeat)  # changes nothing any more
        self.assertEqual((again.returncode, again.output), (0, ""))
        self.assertEqual(len(self.log("offload/A002.log")), 5)

    def test_killed_run(self):
        self.assert_resumes("read cards/A002/DCIM/100/clip2.mov 1 1 signal=%d" % signal.SIGKILL, 128 + signal.SIGKILL)

    def test_full_destination_is_left_to_the_user(self):
        self.make_day("day3", "A001")
        self.fail_at("A001", "write shuttle/A001 1 * ENOSPC")
        self.assertEqual(self.run_commands(self.side_by_side).returncode, 1)
        self.assertEqual(self.statuses("offload/cards.log"), {"A001": 212})
        self.repair("A001")
        self.assertEqual(self.run_commands(self.repeat).output, "")
        self.assertEqual(len(self.log("offload/A001.log")), 1)
        self.assertEqual(self.run_commands("./offload-card A001").returncode, 107)
        self.assertEqual(self.run_commands("./offload-card A001 -f").returncode, 0)
        self.assert_card_is_copied("A001")

    def test_foreign_file_is_not_overwritten(self):
        self.make_day("day3", "A001", "A002")
        self.write("day3/raid/A002/DCIM/100/clip2.mov", b"of somebody else")
        self.assertEqual(self.run_commands(self.side_by_side).returncode, 1)
        self.run_commands(self.repeat)
        self.assertEqual(self.statuses("offload/cards.log"), {"A001": 0, "A002": 107})
        self.assertEqual(self.read("day3/raid/A002/DCIM/100/clip2.mov"), b"of somebody else")

    def test_second_card_of_the_same_name(self):
        self.make_day("day3", "A001")
        self.write("day3/cards/A001/new.mov", b"of another card")
        before = self.read("day3/offload/A001.files")
        self.assertIn("raid/A001", self.run_commands(self.commands["The day's folder"]).output)
        self.assertEqual(self.read("day3/offload/A001.files"), before)

    def test_card_that_is_being_copied(self):
        self.make_day("day3", "A001")
        run = self.run_commands("flock raid/A001 ./offload-card A001 -f")
        self.assertEqual((run.returncode, run.output), (75, ""))
        self.assertFalse(os.path.exists(self.path("day3/offload/A001.log")))

    def test_card_without_a_list(self):
        self.make_day("day3", "A001")
        self.assertNotEqual(self.run_commands("./offload-card A002").returncode, 0)
        self.assertEqual(os.listdir(self.path("day3/raid")), ["A001"])

    def test_lines_come_while_the_file_is_copied(self):
        self.make_day("day3", "A001")
        # It goes on only when its first line has arrived.
        self.write("bin/rvxcopy", b"#!/bin/sh\necho begun\nfor i in $(seq 200); do\n"
                                  b"  [ -e arrived ] && exit 0\n  sleep 0.1\ndone\nexit 1\n")
        environment = self.environment(variables={"PATH": self.path("bin") + ":" + os.environ["PATH"],
                                                  "HOME": self.folder})
        run = subprocess.Popen(["sh", "-c", self.side_by_side], cwd=self.path("day3"), env=environment,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        self.assertEqual(run.stdout.readline(), b"A001\tbegun\n")
        self.write("day3/arrived", b"")
        run.communicate(timeout=LONGEST_RUN)
        self.assertEqual(run.returncode, 0)


class LastStepTest(ManyCardsTest):
    """What rvxcheck finds is its own tests' affair; here each card gets its own words."""

    def setUp(self):
        super().setUp()
        for name in ("cards", "raid", "shuttle"):
            os.makedirs(self.path("day3"), exist_ok=True)
            self.disk("day3/" + name, "ext4", 20)
            os.rmdir(self.path("day3/%s/lost+found" % name))
        self.make_day("day3", "A001", "A002")
        self.assertEqual(self.run_commands(self.side_by_side).returncode, 0)

    def assert_told(self, **words):
        told = self.run_commands(self.commands["Which cards may be formatted"]).output
        self.assertEqual(told.splitlines(), ["cards/%s: %s" % (card, text) for card, text in words.items()])

    def test_card_by_card(self):
        safe = "4 of 4 files are on 2 or more disks, read back and equal. It may be formatted."
        self.assert_told(A001=safe, A002=safe)
        self.write("day3/cards/A002/DCIM/100/clip3.mov", b"later")
        self.assert_told(A001=safe, A002="4 of 5 files are safe. It may NOT be formatted.")
        self.assertIn(b"unsafe     cards/A002/DCIM/100/clip3.mov (on 0 of 2 disks)\n",
                      self.read("day3/offload/A002.check"))

    def test_the_list_for_the_hand_over(self):
        self.write("day3/shuttle/A002/more", b"later")
        told = self.run_commands(self.commands["The list for the hand-over"]).output
        self.assertRegex(told, r"^wrote      shuttle/A001/ascmhl/0001_A001_\d{4}-\d\d-\d\d_\d{6}Z\.mhl "
                               r"\(8 files\)\nunwritten  shuttle/A002 \(not clean\)\n$")


class SeveralMachinesTest(ManyCardsTest):
    """The machines are SSH servers on this one, each with a user database in which the home folder is its own."""

    def setUp(self):
        super().setUp()
        require_mounts("dropbear", "dropbearkey", "ssh", "ssh-keygen", "unshare")
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.path("key")], check=True)

    def start_machine(self, name, *cards):
        self.make_day(name + "/day3", *cards)
        self.write(name + "/.ssh/authorized_keys", self.read("key.pub"))
        self.write(name + ".passwd", ("root:x:0:0::%s:/bin/sh\n" % self.path(name)).encode())
        subprocess.run(["dropbearkey", "-t", "ed25519", "-f", self.path(name + ".key")], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        serve = "PATH=%s:$PATH; export PATH; eval \"$SSH_ORIGINAL_COMMAND\"" % self.path("bin")
        start = "PATH=$PATH:/usr/sbin:/sbin; mount --bind %s.passwd /etc/passwd && exec dropbear %s -c %s" % (
            name, "-F -E -e -s -p 127.0.0.1:%d -r %s.key -P %s.pid" % (port, name, name), shlex.quote(serve))
        server = subprocess.Popen(["unshare", "--mount", "sh", "-c", start], cwd=self.folder, stdin=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL, env=self.environment())
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        self.await_port(server, port)
        with open(self.path("ssh_config"), "a") as config:
            config.write("Host %s\n HostName 127.0.0.1\n Port %d\n User root\n IdentityFile %s\n LogLevel ERROR\n"
                         " StrictHostKeyChecking no\n UserKnownHostsFile /dev/null\n" % (name, port, self.path("key")))

    def await_port(self, server, port):
        deadline = time.monotonic() + LONGEST_RUN
        while server.poll() is None and time.monotonic() < deadline:
            with socket.socket() as probe:
                if probe.connect_ex(("127.0.0.1", port)) == 0:
                    return
            time.sleep(0.02)
        self.fail("the SSH server does not run")

    def test_cards_of_two_machines(self):
        self.start_machine("dit1", "A001", "A002")
        self.start_machine("dit2", "B001")
        self.fail_at("A002", "read cards/A002/DCIM/100/clip2.mov 1 9 EIO")
        ssh = {"PARALLEL_SSH": "ssh -F " + self.path("ssh_config")}
        run = self.run_commands(self.commands["Several machines"], ".", ssh)
        self.assertEqual(run.returncode, 1, run.output)
        self.assertEqual({row[8].split()[1]: (row[1], int(row[6])) for row in self.log("cards.log", ".")},
                         {"A001": ("dit1", 0), "A002": ("dit1", 220), "B001": ("dit2", 0)})
        self.repair("A002")
        again = self.run_commands("$PARALLEL_SSH dit1 'cd day3 && ./offload-card A002 -f'", ".", ssh)
        self.assertEqual(again.returncode, 0, again.output)
        for day, card in (("dit1/day3", "A001"), ("dit1/day3", "A002"), ("dit2/day3", "B001")):
            self.assert_card_is_copied(card, day)

    def test_machine_that_is_away(self):
        self.start_machine("dit1", "A001", "A002")
        with open(self.path("ssh_config"), "a") as config:
            config.write("Host dit2\n ProxyCommand false\n LogLevel QUIET\n")
        run = self.run_commands(self.commands["Several machines"], ".",
                                {"PARALLEL_SSH": "ssh -F " + self.path("ssh_config")})
        self.assertEqual(run.returncode, 1, run.output)
        self.assertEqual(self.statuses("cards.log", "."), {"A001": 0, "A002": 0, "B001": 255})


class FailureTableTest(unittest.TestCase):
    def test_what_starts_again_is_what_the_table_says(self):
        again = re.findall(r"^\| ([0-9, ]+) \| yes", documentation("docs/many-cards.md"), re.MULTILINE)
        repeated = re.search(r"\^\(([0-9|]+)\)\$", "".join(commands_of_page()["What to do with a failure"]))[1]
        self.assertEqual(sorted(", ".join(again).split(", ")), repeated.split("|"))


if __name__ == "__main__":
    main()
