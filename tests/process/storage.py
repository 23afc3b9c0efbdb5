"""File systems of the tests' own: images on loop devices, tmpfs, overlays, FUSE, and what the system tells of them."""

import os
import shutil
import signal
import subprocess
import time
import unittest

from support import FAULT_FS, ProcessTest

MIB = 1024 * 1024
DISK_FILE_SYSTEMS = ("ext4", "xfs", "btrfs")


def require(*tools):
    """Skips, and says why, where a tool is missing."""
    for tool in tools:
        if not shutil.which(tool, path=os.environ["PATH"] + ":/usr/sbin:/sbin"):
            raise unittest.SkipTest("%s is not installed" % tool)


def require_mounts(*tools):
    """Skips, and says why, where file systems can't be mounted."""
    if os.geteuid() != 0:
        raise unittest.SkipTest("mounting a file system needs root")
    require(*tools)


def run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        raise AssertionError("%s: %s" % (" ".join(command), done.stdout.decode(errors="replace")))
    return done.stdout.decode()


def resident(path):
    """The bytes of a file that are in the page cache."""
    require("fincore")
    return int(run("fincore", "--bytes", "--noheadings", "--output", "RES", path))


def warm(path):
    with open(path, "rb") as file:
        while file.read(MIB):
            pass


class StorageTest(ProcessTest):
    def note_figure(self, text, *values):
        """Appends what was measured to the file that RVX_FIGURES names, for the table in docs/testing.md."""
        if "RVX_FIGURES" in os.environ:
            with open(os.environ["RVX_FIGURES"], "a") as file:
                file.write(text % values + "\n")

    def unmount_at_the_end(self, mountpoint):
        # Lazily where a broken device would keep it from being done at once.
        self.addCleanup(lambda: subprocess.run("umount %s || umount -l %s" % (mountpoint, mountpoint), shell=True,
                                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))

    def mount(self, name, *arguments):
        mountpoint = self.path(name)
        os.makedirs(mountpoint, exist_ok=True)
        run("mount", *arguments, mountpoint)
        self.unmount_at_the_end(mountpoint)
        return mountpoint

    def unmount(self, name):
        run("umount", self.path(name))

    def tmpfs(self, name, mebibytes):
        require_mounts()
        return self.mount(name, "-t", "tmpfs", "-o", "size=%dm" % mebibytes, "none")

    def image(self, name, file_system, mebibytes):
        """A sparse image file with an empty file system; returns its path."""
        require_mounts("mkfs." + file_system)
        image = self.path(name)
        if os.path.exists(image):
            os.remove(image)  # its loop device may live on for a moment, and still write to it
        with open(image, "wb") as file:
            file.truncate(mebibytes * MIB)
        run("mkfs." + file_system, "-q", image)
        return image

    def disk(self, name, file_system, mebibytes=700, options=()):
        """A new file system on a loop device, mounted at `name`; returns its device's name."""
        return self.mount_image(name, self.image(name + ".img", file_system, mebibytes), *options)

    def mount_image(self, name, image, *options):
        """A file system in a file. Returns its device's name, which is always a new one: `mount -o loop` may take one
        that outlives the mount of a removed file."""
        device = run("losetup", "--find", "--show", image).strip()
        try:
            self.mount(name, "-o", ",".join(("rw",) + options), device)
        finally:
            run("losetup", "--detach", device)  # as soon as it is unmounted
        return os.path.basename(device)

    def bytes_read_from(self, device):
        with open("/sys/block/%s/stat" % device) as statistics:
            return int(statistics.read().split()[2]) * 512

    def overlay(self, name, base):
        """An overlay whose layers lie in the folder `base`."""
        layers = [os.path.join(base, name + "-" + layer) for layer in ("lower", "upper", "work")]
        for layer in layers:
            os.makedirs(layer)
        return self.mount(name, "-t", "overlay", "-o", "lowerdir=%s,upperdir=%s,workdir=%s" % tuple(layers), "overlay")

    def fuse(self, name, *options):
        """A FUSE file system that shows the folder `name`-below; returns once it is mounted.

        The number of its server's process stands in the file `name`-server."""
        require_mounts("fusermount3")
        if not os.path.exists("/dev/fuse"):
            self.skipTest("there is no /dev/fuse")
        mountpoint = self.path(name)
        below = mountpoint + "-below"
        os.makedirs(mountpoint)
        os.makedirs(below)
        server = subprocess.Popen([FAULT_FS, below, mountpoint, *options], stdout=subprocess.DEVNULL)
        self.write(name + "-server", b"%d\n" % server.pid)

        def stop():
            subprocess.run(["umount", "-l", mountpoint], stderr=subprocess.DEVNULL)
            server.send_signal(signal.SIGTERM)
            server.wait(timeout=30)
        self.addCleanup(stop)
        for _ in range(1000):
            if os.path.ismount(mountpoint):
                return mountpoint
            time.sleep(0.01)
        raise AssertionError("the FUSE file system was not mounted")
