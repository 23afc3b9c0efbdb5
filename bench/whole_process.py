#!/usr/bin/env python3
"""Times rvxcopy as a whole process against the limit of the machine, today's pipelines, and another rvxcopy.

Every row is run by every contender in turn, several rounds, so that a noisy machine is equally noisy for all; what
is printed are medians, and "rvxcopy takes" is the median of its seconds over the contender's in the same round. The
limit is computed in the same round: digest speeds of one core from "openssl speed", reads and writes from "dd".
Pipelines that are not installed are left out; rows with disks of their own need root.

    bench/whole_process.py [--only ROW ...] [--against RVXCOPY] [--rounds N]
"""

import argparse
import collections
import contextlib
import os
import re
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

MB, MIB = 1000 * 1000, 1024 * 1024
MANY = 100  # files
CORES = os.cpu_count()
REPOSITORY = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# A run gets the workload and the destinations' folders. It may return the seconds that count; else all of it does.
# "ours" is the name of the contender whose time is set against it.
Contender = collections.namedtuple("Contender", "name run ours")


class Workload:
    """Source files on the first of some file systems and folders for their copies, one on each of the others."""

    def __init__(self, sizes, places, is_disk):
        self.sizes, self.is_disk, self.total, self.round = sizes, is_disk, sum(sizes), 0
        self.tops = [tempfile.mkdtemp(prefix="rvxcopy-bench-", dir=place) for place in places]
        self.card = os.path.join(self.tops[0], "card")
        os.mkdir(self.card)
        name = "f_%06d.dpx" if len(sizes) > 1 else "clip%d.mov"
        self.files = [os.path.join(self.card, name % number) for number in range(1, len(sizes) + 1)]
        for path, size in zip(self.files, sizes):
            shell("head -c %d /dev/urandom > '%s'" % (size, path))
        os.sync()

    def fresh_destinations(self):
        """New names each time: file systems are slow to reuse what was just deleted."""
        self.round += 1
        return [os.path.join(top, "d%d-%d" % (self.round, k)) for k, top in enumerate(self.tops[1:], 1)]

    def source(self):
        if len(self.files) == 1:
            return self.files
        return ["-s", os.path.join(self.card, "f_1-%d######.dpx" % len(self.files))]

    def remove(self):
        for top in self.tops:
            shutil.rmtree(top)


class OwnDisks:
    """An ext4 file system on a loop device for the card and for each copy. Their images lie in memory, so that they
    cost only what is added on purpose."""

    def __init__(self, folder, number, size, cleanup):
        self.top = tempfile.mkdtemp(prefix="rvxcopy-bench-", dir=folder)
        cleanup.callback(shutil.rmtree, self.top)
        self.places = [os.path.join(self.top, "disk%d" % number) for number in range(number)]
        for place in self.places:
            os.mkdir(place)
            shell("truncate -s %d '%s.img'; mkfs.ext4 -q -E lazy_itable_init=0 '%s.img'" % (size, place, place))
            shell("mount -o loop,discard '%s.img' '%s'" % (place, place))
            cleanup.callback(shell, "umount '%s'" % place)

    def devices(self):
        numbers = [os.stat(place).st_dev for place in self.places]
        return ["%d:%d" % (os.major(number), os.minor(number)) for number in numbers]


class SlowReads:
    """A control group in which reads of some devices are throttled, by either version of the controller."""

    def __init__(self, bytes_a_second, cleanup):
        """The speeds by "MAJOR:MINOR"."""
        parent, limit = self.controller()
        self.group = tempfile.mkdtemp(prefix="rvxcopy-bench-", dir=parent)
        cleanup.callback(os.rmdir, self.group)
        for device, speed in bytes_a_second.items():
            self.write(limit[0], limit[1] % (device, speed))

    @staticmethod
    def controller():
        """Its folder, and the file and text that limit a device; none where the machine has no controller."""
        with open("/proc/mounts") as mounts:
            for _, folder, kind, options, *_ in map(str.split, mounts):
                if kind == "cgroup" and "blkio" in options.split(","):
                    return folder, ("blkio.throttle.read_bps_device", "%s %d")
                with contextlib.suppress(OSError):
                    if kind == "cgroup2" and "io" in open(folder + "/cgroup.controllers").read().split():
                        with open(folder + "/cgroup.subtree_control", "w") as file:
                            file.write("+io")
                        return folder, ("io.max", "%s rbps=%d")
        return None

    def write(self, name, text):
        with open(os.path.join(self.group, name), "w") as file:
            file.write(text)

    def join(self):
        """For a process that is being started."""
        self.write("cgroup.procs", "0")


def shell(command):
    subprocess.run(["bash", "-c", "set -e -o pipefail\n" + command], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def shell_side_by_side(commands):
    shell("".join("%s & started=\"$started $!\"\n" % command for command in commands) +
          "for one in $started; do wait $one; done")  # a plain wait would hide a failure


def command_line(program, options, workload, destinations):
    return [program, *options, *workload.source(), *[folder + "/" for folder in destinations]]


def rvxcopy(program, *options, environment=None):
    def run(workload, destinations):
        subprocess.run(command_line(program, options, workload, destinations), check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, **(environment or {})})
    return run


def phases(program, slow_reads=None):
    """A run that returns the seconds of the copy and those of the verification, told apart by the first line of it."""
    def run(workload, destinations):
        begun = time.monotonic()
        process = subprocess.Popen(command_line(program, ["-v"], workload, destinations), stdout=subprocess.PIPE,
                                   text=True, preexec_fn=slow_reads and slow_reads.join)
        with process:
            copied = None
            for line in process.stdout:
                if copied is None and line.startswith("INFO: verifying"):
                    copied = time.monotonic()
        if process.returncode != 0:
            raise SystemExit("%s ended with status %d" % (program, process.returncode))
        return copied - begun, time.monotonic() - copied
    return run


def copying(program):
    return lambda *where: phases(program)(*where)[0]


def verification(program, slow_reads):
    return lambda *where: phases(program, slow_reads)(*where)[1]


def drop_from_cache(paths):
    """What a careful pipeline does so that its second read is one of the disk."""
    for path in paths:
        descriptor = os.open(path, os.O_RDONLY)
        os.fdatasync(descriptor)
        os.posix_fadvise(descriptor, 0, 0, os.POSIX_FADV_DONTNEED)
        os.close(descriptor)


def claim_memory(workload):
    """Has a virtual machine's host hand over the memory that the copies will need; it takes back what is not used."""
    path = os.path.join(workload.tops[0], "claimed")
    shell("dd if=/dev/zero of='%s' bs=2M count=%d" % (path, (len(workload.tops) - 1) * workload.total // (2 * MIB)))
    os.remove(path)


def copy_then_digest(copy, digest):
    """Copies, drops everything from the cache, and digests the source and the copies side by side."""
    def run(workload, destinations):
        for folder in destinations:
            os.makedirs(folder)
        copy(workload, destinations)
        folders = [workload.card] + destinations
        drop_from_cache(os.path.join(folder, os.path.basename(path)) for folder in folders for path in workload.files)
        shell_side_by_side("(cd '%s' && %s * >/dev/null)" % (folder, digest) for folder in folders)
    return run


def by_cp(workload, destinations):
    shell_side_by_side("cp '%s'/* '%s'" % (workload.card, folder) for folder in destinations)


def by_tee_with_both_digests(workload, destinations):
    """The only one of these that makes both digests while it copies."""
    for path in workload.files:
        copies = " ".join("'%s/%s'" % (folder, os.path.basename(path)) for folder in destinations)
        shell("tee %s >(openssl dgst -md5) < '%s' | openssl dgst -sha1" % (copies, path))


def by_rsync(workload, destinations):
    """Reads what is still in the cache."""
    for folder in destinations:
        shell("rsync -a '%s/' '%s/'" % (workload.card, folder))
        os.sync()
        shell("rsync -a --checksum '%s/' '%s/'" % (workload.card, folder))


def pipelines(number_of_files):
    """Those whose programs are there."""
    known = [("cp, %s %s%s" % (tool, dash, digest), copy_then_digest(by_cp, "%s %s%s" % (tool, dash, digest)), digest)
             for tool, dash in (("openssl dgst", "-"), ("rhash", "--")) for digest in ("sha1", "md5")]
    known.append(("rsync, rsync --checksum", by_rsync, "sha1"))
    if number_of_files < MANY:  # it starts three programs for each
        known.append(("tee, openssl dgst -sha1 and -md5",
                      copy_then_digest(by_tee_with_both_digests, "openssl dgst -sha1"), "sha1"))
    return [Contender(name, run, "rvxcopy -t " + digest) for name, run, digest in known
            if shutil.which(re.match(r"(cp, )?(\w+)", name).group(2))]


def timed(call):
    """The seconds that a call returned, without CPU seconds; or else those that it took, and its children's."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    begun = time.monotonic()
    if (counted := call()) is not None:
        return counted, None
    seconds = time.monotonic() - begun
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return seconds, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


class Limit:
    """What the machine could do at best, measured now."""

    def __init__(self, workload):
        self.workload = workload
        digests = ("md5", "sha1")
        # Two speeds, for all cores together may do less than each of them alone.
        self.of_one_core = {name: self.digest_speed(name, 1) for name in digests}
        self.of_all_cores = {name: self.digest_speed(name, CORES) for name in digests}
        sample = os.path.join(workload.tops[0], "sample")
        size = min(workload.total, 512 * MIB) // (2 * MIB) or 1
        data = os.path.join(workload.tops[0], "data")
        flags = ["direct"] if workload.is_disk else []
        shell("dd if=/dev/urandom of='%s' bs=2M count=%d" % (data, size))
        os.sync()
        # With what dd itself needs to throw a read away and to have zeros to write.
        if workload.is_disk:
            self.read_cpu, self.read_time = self.transfer(data, "/dev/null", size, [], flags)
        else:
            # The first read of what was just written, as the verification's is: later ones cost less.
            self.read_cpu, self.read_time = self.transfer(sample, "/dev/null", size, [], [],
                                                          lambda: shutil.copyfile(data, sample))
        self.write_cpu, self.write_time = self.transfer("/dev/zero", sample, size, flags, [])
        os.remove(data)
        os.remove(sample)

    @staticmethod
    def digest_speed(name, cores):
        """Bytes a second."""
        text = subprocess.run(["openssl", "speed", "-multi", str(cores), "-evp", name, "-bytes", str(2 * MIB),
                               "-seconds", "1"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.decode()
        return float(re.findall(r"([\d.]+)k\s*$", text)[-1]) * 1000

    @staticmethod
    def transfer(source, target, count, output_flags, input_flags, prepare=lambda: None):
        """Seconds of CPU and of the clock for each byte; medians, as the contenders' are, for the disk is shared."""
        command = ["dd", "if=" + source, "of=" + target, "bs=2M", "count=%d" % count, "status=none"]
        command += ["oflag=" + flag for flag in output_flags] + ["iflag=" + flag for flag in input_flags]
        times = []
        for _ in range(5):
            prepare()
            times.append(timed(lambda: subprocess.run(command, check=True) and None))
        clocks, cpus = zip(*times)
        return statistics.median(cpus) / (count * 2 * MIB), statistics.median(clocks) / (count * 2 * MIB)

    def of_copy(self):
        size, copies = self.workload.total, len(self.workload.tops) - 1
        both_digests = sum(1 / speed for speed in self.of_all_cores.values())
        on_disk = size * (self.read_time + copies * self.write_time) if self.workload.is_disk else 0
        return max(size / self.of_one_core["md5"], on_disk,
                   size * (both_digests + (self.read_cpu + copies * self.write_cpu) / CORES))

    def of_verification(self, algorithm):
        files = self.workload.total * len(self.workload.tops)
        on_disk = files * self.read_time if self.workload.is_disk else 0
        return max(max(self.workload.sizes) / self.of_one_core[algorithm], on_disk,
                   files * (1 / self.of_all_cores[algorithm] + self.read_cpu / CORES))


def limits():
    """Contenders whose seconds are computed; the first of them measures for the round."""
    measured = []

    def copy(workload, _):
        measured[:] = [Limit(workload)]
        return measured[0].of_copy()

    def whole(algorithm):
        return lambda workload, _: measured[0].of_copy() + measured[0].of_verification(algorithm)
    return [Contender("the limit, copy phase", copy, "rvxcopy -v, copy phase"),
            *[Contender("the limit, " + name, whole(name), "rvxcopy -t " + name) for name in ("sha1", "md5")]]


def measure(workload, contenders, rounds):
    """(Seconds, CPU seconds) of every round by the contender's name."""
    times = {contender.name: [] for contender in contenders}
    for _ in range(rounds):
        for contender in contenders:
            destinations = workload.fresh_destinations()
            if workload.is_disk:
                drop_from_cache(workload.files)
            else:
                claim_memory(workload)
            times[contender.name].append(timed(lambda: contender.run(workload, destinations)))
            # ext4 looks for a long time for inodes that were not just given back: many files stay therefore.
            if len(workload.files) < MANY:
                for folder in filter(os.path.exists, destinations):
                    shutil.rmtree(folder)
            os.sync()
    return times


def print_table(contenders, times):
    print("| contender | seconds | lowest to highest | CPU seconds | rvxcopy takes |")
    print("|---|---|---|---|---|")
    seconds = {name: [one for one, _ in rounds] for name, rounds in times.items()}
    for name, _, ours in sorted(contenders, key=lambda one: statistics.median(seconds[one.name])):
        cpu = [one for _, one in times[name] if one is not None]
        ratio = statistics.median(our / one for our, one in zip(seconds[ours], seconds[name]))
        print("| %s | %.2f | %.2f–%.2f | %s | %s |" % (
            name, statistics.median(seconds[name]), min(seconds[name]), max(seconds[name]),
            "%.2f" % statistics.median(cpu) if cpu else "", "%.2f×" % ratio if ours != name else ""))


class Bench:
    """The rows. Each is built by one of three functions, which return its workload, its contenders and what is to be
    said below the table; what they make is taken away by "cleanup"."""

    def __init__(self, arguments):
        self.disk, self.memory, self.share = arguments.disk, arguments.memory, arguments.share
        self.programs = {"rvxcopy": os.path.join(arguments.build, "rvxcopy")}
        if arguments.against:
            self.programs["the other rvxcopy"] = arguments.against
        self.shim = os.path.join(arguments.build, "bench/librvx_slow_flush.so")
        small, frames, movie = [64 * 1024] * 1000, [12 * MIB] * 60, [1024 * MIB]
        self.rows = {
            "small-memory": ("1,000 frames of 64 KiB, tmpfs", self.pipelines, small, self.memory),
            "small-disk": ("1,000 frames of 64 KiB, disk, cold", self.pipelines, small, self.disk),
            "small-flush": ("1,000 frames of 64 KiB, slow flushes", self.slow_flushes, small),
            "frames-disk": ("60 frames of 12 MiB, disk, cold", self.pipelines, frames, self.disk),
            "frames-flush": ("60 frames of 12 MiB, slow flushes", self.slow_flushes, frames),
            "frames-memory": ("60 frames of 12 MiB, tmpfs", self.pipelines, frames, self.memory),
            "verify-1": ("Verification of 1 copy, slow disks", self.slow_disks, 1),
            "verify-4": ("Verification of 4 copies, slow disks", self.slow_disks, 4),
            "verify-8": ("Verification of 8 copies, slow disks", self.slow_disks, 8),
            "movie-disk": ("1 GiB movie, disk, cold", self.pipelines, movie, self.disk),
            "movie-memory": ("1 GiB movie, tmpfs", self.pipelines, movie, self.memory),
        }

    def run(self, row, rounds):
        title, build, *details = self.rows[row]
        print("\n### %s\n\n`bench/whole_process.py --only %s --rounds %d`\n" % (title, row, rounds))
        if obstacle := self.obstacle(build):
            print("Not measured: " + obstacle)
            return
        with contextlib.ExitStack() as cleanup:
            workload, contenders, remarks = build(cleanup, *details)
            print_table(contenders, measure(workload, contenders, rounds))
            for remark in remarks():
                print("\n" + remark)
        sys.stdout.flush()

    def obstacle(self, build):
        if build != self.pipelines and os.geteuid() != 0:
            return "disks of their own need root."
        if build == self.slow_disks and SlowReads.controller() is None:
            return "this machine has no block I/O controller."
        return None

    def workload(self, cleanup, sizes, places, is_disk):
        if len(sizes) > 1:
            sizes = sizes[:max(2, int(len(sizes) * self.share))]
        else:
            sizes = [int(sizes[0] * self.share)]
        workload = Workload(sizes, places, is_disk)
        cleanup.callback(workload.remove)
        return workload

    def each_rvxcopy(self, name, run):
        """This one and the other one, run in the same way."""
        return [Contender(program + " " + name, run(path), "rvxcopy " + name)
                for program, path in self.programs.items()]

    def pipelines(self, cleanup, sizes, folder):
        workload = self.workload(cleanup, sizes, [folder] * 3, folder == self.disk)
        contenders = limits() + pipelines(len(sizes))
        for digest in ("sha1", "md5"):
            contenders += self.each_rvxcopy("-t " + digest, lambda path: rvxcopy(path, "-t", digest))
        contenders += self.each_rvxcopy("-v, copy phase", copying)
        return workload, contenders, lambda: []

    def slow_flushes(self, cleanup, sizes):
        disks = OwnDisks(self.memory, 3, 4096 * MIB, cleanup)
        workload = self.workload(cleanup, sizes, disks.places, True)
        log = os.path.join(disks.top, "flushes")
        most = collections.Counter()

        def counted(program, milliseconds):
            def run(workload, destinations):
                open(log, "w").close()
                rvxcopy(program, environment={"LD_PRELOAD": self.shim, "RVX_SLOW_FLUSH_LOG": log,
                                              "RVX_SLOW_FLUSH_MS": str(milliseconds)})(workload, destinations)
                with open(log) as file:
                    most[program] = max(most[program], *collections.Counter(file).values())
            return run
        slow = self.each_rvxcopy("with flushes of 15 ms", lambda path: counted(path, 15))
        free = self.each_rvxcopy("with flushes of 0 ms", lambda path: counted(path, 0))
        free[0] = free[0]._replace(ours=slow[0].name)
        return workload, slow + free, lambda: ["Most flushes of one disk in a run of %s: %d." % (name, most[path])
                                               for name, path in self.programs.items()]

    def slow_disks(self, cleanup, copies):
        disks = OwnDisks(self.memory, copies + 1, 512 * MIB, cleanup)
        slow_reads = SlowReads(dict(zip(disks.devices(), [100 * MB] + [50 * MB] * copies)), cleanup)
        workload = self.workload(cleanup, [200 * MB], disks.places, True)
        ours = self.each_rvxcopy("-v, verification", lambda path: verification(path, slow_reads))
        one_disk = Contender("the limit, one disk of 50 MB/s", lambda *_: workload.total / (50 * MB), ours[0].name)
        return workload, [one_disk, *ours], lambda: ["The card's disk reads 100 MB/s."]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--only", nargs="+", metavar="ROW", help="the rows to run, of small-memory, ...")
    parser.add_argument("--against", metavar="RVXCOPY", help="another rvxcopy to compare with")
    parser.add_argument("--share", type=float, default=1, help="of the frames, or of a movie's bytes; to try a row out")
    parser.add_argument("--build", default=os.path.join(REPOSITORY, "build/release"),
                        help="a build with RVX_BUILD_BENCHMARKS")
    parser.add_argument("--disk", default="/var/tmp", help="a folder on a disk")
    parser.add_argument("--memory", default="/dev/shm", help="a folder on a tmpfs")
    arguments = parser.parse_args()
    bench = Bench(arguments)
    print("%d cores, kernel %s, load %.1f" % (CORES, os.uname().release, os.getloadavg()[0]))
    for row in arguments.only or bench.rows:
        bench.run(row, arguments.rounds)


if __name__ == "__main__":
    main()
