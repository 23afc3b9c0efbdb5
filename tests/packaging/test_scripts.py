"""The scripts on a machine where they can't install what they miss."""

import os
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), os.pardir, "process"))
from support import ProcessTest, main  # noqa: E402

SCRIPTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, os.pardir, "scripts")


class MissingPackagesTest(ProcessTest):
    def start(self, script, **programs):
        """Runs it where there are only these programs, besides the shell's companions: name -> shell commands."""
        for name in ("bash", "dirname", "grep"):
            os.makedirs(self.path("bin"), exist_ok=True)
            os.symlink(shutil.which(name), self.path("bin/" + name))
        for name, commands in programs.items():
            self.write("bin/" + name.replace("_", "-"), ("#!/bin/sh\n%s\n" % commands).encode())
            os.chmod(self.path("bin/" + name.replace("_", "-")), 0o755)
        run = subprocess.run([self.path("bin/bash"), os.path.join(SCRIPTS, script)], env={"PATH": self.path("bin")},
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return run.returncode, run.stdout.decode()

    def test_machine_without_apt_get(self):
        status, told = self.start("run", cmake="exit 0")
        self.assertEqual(status, 1)
        self.assertTrue(told.startswith("Missing: g++ ninja-build (their names in Debian)."), told)
        self.assertIn("There is no apt-get here", told)
        with open(os.path.join(SCRIPTS, os.pardir, "README.md")) as readme:
            self.assertIn("\n### Other machines\n", readme.read())
        self.assertIn('README.md, "Other machines"', told)

    def test_user_who_may_not_install(self):
        for script in ("run", "test"):
            with self.subTest(script):
                shutil.rmtree(self.path("bin"), ignore_errors=True)
                status, told = self.start(script, dpkg_query="exit 1", apt_get="exit 1", id="echo 1000", cmake="exit 0")
                self.assertEqual(status, 1)
                self.assertRegex(told, r"\AMissing: g\+\+ ninja-build .*libssl-dev.* Only root can install them: "
                                       r"apt-get install g\+\+ ninja-build .*libssl-dev.*\n\Z")


if __name__ == "__main__":
    main()
