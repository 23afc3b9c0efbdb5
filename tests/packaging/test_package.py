"""The Debian package and the RPM of the tested program: looked into, installed, used, and removed without a trace."""

import gzip
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), os.pardir, "process"))
from storage import StorageTest, require, require_mounts, run  # noqa: E402
from support import THOROUGH, file_bytes, main  # noqa: E402

SOURCES = os.path.realpath(os.path.join(os.path.dirname(__file__), os.pardir, os.pardir))
BUILD = os.environ["RVX_BUILD"]
DOCUMENTATION = "usr/share/doc/rvxcopy/"

COMPLETIONS = {"usr/share/rvxcopy/sequences.sh"} | {
    pattern % name for name in ("rvxcopy", "rvxcheck")
    for pattern in ("usr/share/bash-completion/completions/%s", "usr/share/zsh/vendor-completions/_%s",
                    "usr/share/fish/vendor_completions.d/%s.fish")}


def files_below(top):
    return {os.path.relpath(os.path.join(folder, name), top) for folder, _, names in os.walk(top) for name in names}


def expected_files():
    files = {"usr/bin/rvxcopy", "usr/bin/rvxcheck", "usr/share/man/man1/rvxcopy.1.gz",
             "usr/share/man/man1/rvxcheck.1.gz", "usr/share/man/man5/rvxcopy-hashlist.5.gz",
             "usr/share/man/man7/rvxcopy-output.7.gz"}
    files |= {DOCUMENTATION + name for name in ("README.md", "CONTRIBUTING.md", "changelog.gz", "copyright")}
    for folder in ("docs", "examples"):
        files |= {DOCUMENTATION + folder + "/" + name for name in files_below(os.path.join(SOURCES, folder))}
    return files | COMPLETIONS


def files_of_other_systems():
    """Only Debian keeps zsh's own folder for the administrator."""
    return {path.replace("zsh/vendor-completions", "zsh/site-functions") for path in expected_files()}


def version():
    return re.search(r"project\(rvxcopy VERSION (\S+)", file_bytes(SOURCES + "/CMakeLists.txt").decode())[1]


def build_package(sources, kind, **variables):
    """Returns the package's path."""
    built = subprocess.run(["bash", os.path.join(sources, "scripts", "package"), kind], stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, env={**os.environ, **variables})
    if built.returncode != 0:
        raise AssertionError(built.stdout.decode(errors="replace"))
    return built.stdout.decode().split("\n")[-2]


class InstalledTest(StorageTest):
    def assert_copies(self, program):
        self.write("clip.mov", b"movie")
        self.assertEqual(run(program, self.path("clip.mov"), self.path("d/")), "")
        self.assert_checks("d/sha1/clip.mov.sha1")


class PackageTest(InstalledTest):
    @classmethod
    def setUpClass(cls):
        if os.geteuid() != 0:
            raise unittest.SkipTest("to install a package needs root")
        require("dpkg", "dpkg-deb", "dpkg-shlibdeps", "readelf", "man")
        cls.shared = tempfile.mkdtemp(prefix="rvxcopy-test-")
        cls.addClassCleanup(shutil.rmtree, cls.shared)
        cls.package = build_package(SOURCES, "deb", RVX_PACKAGES=os.path.join(cls.shared, "deb"))
        cls.contents = os.path.join(cls.shared, "contents")
        run("dpkg-deb", "--raw-extract", cls.package, cls.contents)

    def contents_path(self, name):
        return os.path.join(self.contents, name)

    if THOROUGH:  # it builds the program once more
        def test_another_folder_umask_and_time_zone_give_the_same_bytes(self):
            require_mounts()
            # A tmpfs lists its folders in another order than a disk.
            sources = os.path.join(self.tmpfs("tmpfs", 200), "another folder")
            self.addCleanup(os.umask, os.umask(0o077))
            # File by file, so that the copies have the permissions that the umask leaves.
            shutil.copytree(SOURCES, sources, copy_function=shutil.copyfile,
                            ignore=shutil.ignore_patterns(".git", "build", "__pycache__"))
            again = build_package(sources, "deb", RVX_BUILD="", TZ="Asia/Tokyo", LC_ALL="C.UTF-8")
            self.assertEqual(os.path.basename(again), os.path.basename(self.package))
            self.assertEqual(file_bytes(again), file_bytes(self.package))

    def test_no_file_names_the_folder_it_was_built_in(self):
        for name in files_below(self.contents):
            data = file_bytes(self.contents_path(name))
            if name.endswith(".gz"):
                data = gzip.decompress(data)
            self.assertNotIn(SOURCES.encode(), data, name)

    def test_files_and_their_permissions(self):
        listed = run("dpkg-deb", "--contents", self.package).splitlines()
        found = {}
        for line in listed:
            permissions, owner, _, _, _, path = line.split(None, 5)
            self.assertEqual(owner, "root/root", line)
            if permissions.startswith("d"):
                self.assertEqual(permissions, "drwxr-xr-x", line)
            else:
                found[path[2:]] = permissions
        self.assertEqual(set(found), expected_files())
        for path, permissions in found.items():
            example = path.startswith(DOCUMENTATION + "examples/")
            is_program = path.startswith("usr/bin/") or example and file_bytes(self.contents_path(path))[:2] == b"#!"
            self.assertEqual(permissions, "-rwxr-xr-x" if is_program else "-rw-r--r--", path)

    def test_program_is_stripped(self):
        sections = run("readelf", "--section-headers", self.contents_path("usr/bin/rvxcopy"))
        self.assertIn(".text", sections)
        self.assertNotIn(".symtab", sections)
        self.assertNotIn(".debug", sections)

    def test_compressed_files_hold_their_originals_without_name_and_time(self):
        originals = {"usr/share/man/man1/rvxcheck.1.gz": "man/rvxcheck.1",
                     "usr/share/man/man1/rvxcopy.1.gz": "man/rvxcopy.1",
                     "usr/share/man/man5/rvxcopy-hashlist.5.gz": "man/rvxcopy-hashlist.5",
                     "usr/share/man/man7/rvxcopy-output.7.gz": "man/rvxcopy-output.7",
                     DOCUMENTATION + "changelog.gz": "packaging/changelog"}
        for name, original in originals.items():
            data = file_bytes(self.contents_path(name))
            self.assertEqual(data[3:9], bytes(5) + b"\x02", name)  # no flags, no time, best compression (RFC 1952)
            self.assertEqual(gzip.decompress(data), file_bytes(os.path.join(SOURCES, original)))

    def test_control_file(self):
        control = run("dpkg-deb", "--field", self.package)
        architecture = run("dpkg", "--print-architecture").strip()
        for line in ("Package: rvxcopy", "Version: " + version(), "Architecture: " + architecture, "Section: video",
                     "Priority: optional", "Maintainer: rvxcopy developers <rvxcopy@localhost>"):
            self.assertIn("\n%s\n" % line, "\n" + control)
        newest = file_bytes(SOURCES + "/packaging/changelog").decode().split("\n")[0]
        self.assertTrue(newest.startswith("rvxcopy (%s) " % version()), newest)

    def test_every_library_that_the_program_needs_is_a_dependency(self):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "--dynamic", self.contents_path("usr/bin/rvxcopy")))
        self.assertIn("libcrypto.so.3", needed)
        depends = run("dpkg-deb", "--field", self.package, "Depends")
        for library in needed:
            owners = {line.split(":")[0] for line in run("dpkg-query", "--search", "*/" + library).splitlines()}
            self.assertTrue(owners & set(re.findall(r"[a-z0-9.+-]+", depends)), library)

    def test_installed_used_and_removed(self):
        root = self.path("root")
        for folder in ("info", "updates", "triggers"):
            os.makedirs(os.path.join(root, "var/lib/dpkg", folder))
        self.write("root/var/lib/dpkg/status", b"")
        before = files_below(root)
        # The other packages are not there. Images of minimal systems leave manual pages out.
        dpkg = ("dpkg", "--root=" + root, "--log=" + self.path("dpkg.log"), "--force-depends")
        run(*dpkg, "--path-include=/usr/share/*", "--install", self.package)
        self.assertEqual(files_below(root) & expected_files(), expected_files())
        self.assertEqual(run("dpkg", "--root=" + root, "--verify", "rvxcopy"), "")
        for page in ("man1/rvxcheck.1", "man1/rvxcopy.1", "man5/rvxcopy-hashlist.5", "man7/rvxcopy-output.7"):
            name, section = os.path.basename(page).split(".")
            self.assertEqual(run("man", "-M", root + "/usr/share/man", "--where", section, name).strip(),
                             "%s/usr/share/man/%s.gz" % (root, page))

        self.assert_copies(root + "/usr/bin/rvxcopy")
        run(*dpkg, "--purge", "rvxcopy")
        left = {path for path in files_below(root) - before if not path.startswith("var/lib/dpkg/")}
        self.assertEqual(left, set())
        self.assertFalse(os.path.exists(root + "/" + DOCUMENTATION))

    def test_rpm(self):
        require("rpm", "rpmbuild")
        package = build_package(SOURCES, "rpm", RVX_PACKAGES=self.path("rpm"))
        machine = run("rpm", "--eval", "%{_arch}").strip()
        self.assertEqual(os.path.basename(package), "rvxcopy-%s-1.%s.rpm" % (version(), machine))
        found = {}
        for line in run("rpm", "--query", "--package", "--list", "--verbose", package).splitlines():
            permissions, _, owner, group, _, _, _, _, path = line.split(None, 8)
            self.assertEqual((owner, group), ("root", "root"), line)
            if permissions.startswith("d"):
                self.assertTrue((path + "/").startswith(("/" + DOCUMENTATION, "/usr/share/rvxcopy/")),
                                "of another package: " + path)
            else:
                found[path[1:]] = permissions
        self.assertEqual(set(found), files_of_other_systems())
        self.assertEqual(found["usr/bin/rvxcopy"], "-rwxr-xr-x")
        self.assertIn("libcrypto.so.3()(64bit)\n", run("rpm", "--query", "--package", "--requires", package))

        root = self.path("root")
        rpm = ("rpm", "--root", root, "--dbpath", "/var/lib/rpm")
        run(*rpm, "--install", "--nodeps", package)  # the other packages are Debian's
        self.assertEqual(run(*rpm, "--verify", "--nodeps", "rvxcopy"), "")
        self.assert_copies(root + "/usr/bin/rvxcopy")
        run(*rpm, "--erase", "rvxcopy")
        self.assertEqual([path for path in files_below(root) if "rvxcopy" in path], [])


class InstallTest(InstalledTest):
    def test_installed_below_another_folder(self):
        run("cmake", "--install", BUILD, "--prefix", self.path("usr"))
        self.assertEqual(files_below(self.folder), files_of_other_systems())
        self.assert_copies(self.path("usr/bin/rvxcopy"))


if __name__ == "__main__":
    main()
