#!/usr/bin/env python3
"""Times rvxcopy as a whole process against the limit of the machine and against today's pipelines.

Every workload is run by every contender in turn, several rounds, so that a noisy machine is equally noisy for
all; what is printed are medians and ratios. The limit is computed in the same run: digest speeds of one core from
"openssl speed", reads and writes from "dd". Contenders that are not installed are left out.

    bench/whole_process.py [--rounds N] [--disk FOLDER] [--memory FOLDER] [--csv FILE] [WORKLOAD ...]
"""

import argparse
import csv
import os
import re
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

MIB = 1024 * 1024
KEPT = 256 * MIB  # copies of workloads up to this size stay until the last round
CORES = os.cpu_count()
REPOSITORY = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


class Workload:
    """Some source files and how many destinations they go to, on one file system."""

    def __init__(self, name, folder, sizes, destinations, is_sequence):
        self.name, self.folder, self.sizes = name, folder, sizes
        self.destinations, self.is_sequence = destinations, is_sequence
        self.total = sum(sizes)
        self.round = 0

    def make(self):
        self.top = tempfile.mkdtemp(prefix="rvxcopy-bench-", dir=self.folder)
        os.makedirs(os.path.join(self.top, "card"))
        self.files = []
        for number, size in enumerate(self.sizes, 1):
            path = os.path.join(self.top, "card", "f_%06d.dpx" % number if self.is_sequence else "clip.mov")
            with open(path, "wb") as file:
                written = 0
                while written < size:
                    written += file.write(os.urandom(min(size - written, 8 * MIB)))
            self.files.append(path)
        os.sync()

    def fresh_destinations(self):
        """New names each time: file systems are slow to reuse what was just deleted."""
        self.round += 1
        return [os.path.join(self.top, "d%d-%d" % (self.round, k)) for k in range(1, self.destinations + 1)]

    def identifier(self):
        return os.path.join(self.top, "card", "f_1-%d######.dpx" % len(self.sizes))

    def remove(self):
        shutil.rmtree(self.top)


def shell(command):
    subprocess.run(["bash", "-c", "set -e -o pipefail\n" + command], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def shell_side_by_side(commands):
    shell("".join("%s & started=\"$started $!\"\n" % command for command in commands) +
          "for one in $started; do wait $one; done")  # a plain wait would hide a failure


def rvxcopy(program, *options, environment=None):
    def run(workload, destinations):
        source = ["-s", workload.identifier()] if workload.is_sequence else workload.files
        subprocess.run([program, *options, *source, *[folder + "/" for folder in destinations]], check=True,
                       stdout=subprocess.DEVNULL, env={**os.environ, **(environment or {})})
    return run


def without_syncs(program, shim):
    """What durability costs: the same run with every sync left out, by the library that the tests inject faults with.

    It is loaded in front of the run with syncs as well, so that its own cost does not count.
    """
    def with_rules(rules):
        return rvxcopy(program, environment={"LD_PRELOAD": shim, "RVX_FAULTS": rules})
    return {"rvxcopy, shim, all syncs": with_rules("fdatasync /nowhere 1 1 EIO"),
            "rvxcopy, shim, no syncs": with_rules("fdatasync * 1 * lie;fsync * 1 * lie")}


def each_copy(workload, destinations):
    for path in workload.files:
        yield path, [os.path.join(folder, os.path.basename(path)) for folder in destinations]


def drop_from_cache(paths):
    """What a careful pipeline does so that its second read is one of the disk."""
    for path in paths:
        descriptor = os.open(path, os.O_RDONLY)
        os.fdatasync(descriptor)
        os.posix_fadvise(descriptor, 0, 0, os.POSIX_FADV_DONTNEED)
        os.close(descriptor)


def claim_memory(workload):
    """Has a virtual machine's host hand over the memory that the copies will need; it takes back what is not used."""
    path = os.path.join(workload.top, "claimed")
    shell("dd if=/dev/zero of='%s' bs=2M count=%d" % (path, workload.destinations * workload.total // (2 * MIB)))
    os.remove(path)


def copy_then_digest(copy, digest):
    """Copies, drops everything from the cache, and digests the source and the copies side by side."""
    def run(workload, destinations):
        for folder in destinations:
            os.makedirs(folder)
        copy(workload, destinations)
        everything = workload.files + [copy for _, copies in each_copy(workload, destinations) for copy in copies]
        drop_from_cache(everything)
        folders = [os.path.join(workload.top, "card")] + destinations
        shell_side_by_side("(cd '%s' && %s * >/dev/null)" % (folder, digest) for folder in folders)
    return run


def by_cp(workload, destinations):
    shell_side_by_side("cp '%s'/card/* '%s'" % (workload.top, folder) for folder in destinations)


def by_tee(digest):
    def copy(workload, destinations):
        for path, copies in each_copy(workload, destinations):
            shell("tee %s < '%s' | %s" % (" ".join("'%s'" % copy for copy in copies), path, digest))
    return copy


def by_tee_with_both_digests(workload, destinations):
    """The only one of these that makes both digests while it copies."""
    for path, copies in each_copy(workload, destinations):
        shell("tee %s >(openssl dgst -md5) < '%s' | openssl dgst -sha1" % (
            " ".join("'%s'" % copy for copy in copies), path))


def by_dc3dd(workload, destinations):
    for path, copies in each_copy(workload, destinations):
        shell("dc3dd if='%s' hash=md5 %s" % (path, " ".join("hof='%s'" % copy for copy in copies)))


def by_rsync(workload, destinations):
    for folder in destinations:
        shell("rsync -a '%s/card/' '%s/'" % (workload.top, folder))
        os.sync()
        shell("rsync -a --checksum '%s/card/' '%s/'" % (workload.top, folder))


def contenders(program):
    """By name; a pipeline is there when all its programs are."""
    pipelines = {
        "cp, openssl dgst -sha1": (by_cp, "openssl dgst -sha1"),
        "cp, openssl dgst -md5": (by_cp, "openssl dgst -md5"),
        "cp, sha1sum": (by_cp, "sha1sum"),
        "cp, rhash --sha1": (by_cp, "rhash --sha1"),
        "cp, rhash --md5": (by_cp, "rhash --md5"),
        "tee | sha1sum, sha1sum": (by_tee("sha1sum"), "sha1sum"),
        "tee | openssl dgst -md5, again": (by_tee("openssl dgst -md5"), "openssl dgst -md5"),
        "tee | openssl dgst -sha1 and -md5, -sha1": (by_tee_with_both_digests, "openssl dgst -sha1"),
    }
    found = {"rvxcopy -t sha1": rvxcopy(program, "-t", "sha1"), "rvxcopy -t md5": rvxcopy(program, "-t", "md5")}
    for name, (copy, digest) in pipelines.items():
        if shutil.which(digest.split()[0]):
            found[name] = copy_then_digest(copy, digest)
    for name, copy in (("dc3dd hash=md5 hof", by_dc3dd), ("rsync, rsync --checksum", by_rsync)):
        if shutil.which(name.split()[0].rstrip(",")):
            found[name] = into_new_folders(copy)
    return found


def into_new_folders(copy):
    def run(workload, destinations):
        for folder in destinations:
            os.makedirs(folder)
        copy(workload, destinations)
    return run


def timed(call):
    """Wall-clock and CPU seconds of the children of a call."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    begun = time.monotonic()
    call()
    seconds = time.monotonic() - begun
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return seconds, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


class Limit:
    """What the machine could do at best, measured now."""

    def __init__(self, workload, is_disk):
        digests = ("md5", "sha1")
        # Two speeds, for all cores together may do less than each of them alone.
        self.of_one_core = {name: self.digest_speed(name, 1) for name in digests}
        self.of_all_cores = {name: self.digest_speed(name, CORES) for name in digests}
        sample = os.path.join(workload.top, "sample")
        size = min(workload.total, 512 * MIB) // (2 * MIB) or 1
        data = os.path.join(workload.top, "data")
        flags = ["direct"] if is_disk else []
        shell("dd if=/dev/urandom of='%s' bs=2M count=%d" % (data, size))
        os.sync()
        # With what dd itself needs to throw a read away and to have zeros to write.
        if is_disk:
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
            times.append(timed(lambda: subprocess.run(command, check=True)))
        clocks, cpus = zip(*times)
        return statistics.median(cpus) / (count * 2 * MIB), statistics.median(clocks) / (count * 2 * MIB)

    def seconds(self, workload, algorithm, is_disk):
        size, copies = workload.total, workload.destinations
        both_digests = sum(1 / speed for speed in self.of_all_cores.values())
        copying = (self.read_cpu + copies * self.write_cpu) / CORES
        copy = max(size / self.of_one_core["md5"], size * (both_digests + copying))
        digest_and_read = 1 / self.of_all_cores[algorithm] + self.read_cpu / CORES
        verify = max(max(workload.sizes) / self.of_one_core[algorithm], size * (copies + 1) * digest_and_read)
        if is_disk:
            copy = max(copy, size * (self.read_time + copies * self.write_time))
            verify = max(verify, size * (copies + 1) * self.read_time)
        return copy + verify


def measure(workload, runners, rounds, is_disk):
    """Seconds and CPU seconds of each contender, and the limit for either digest, of every round."""
    workload.make()
    seconds = {name: [] for name in runners}
    cpu = {name: [] for name in runners}
    limits = {"sha1": [], "md5": []}
    try:
        for _ in range(rounds):
            limit = Limit(workload, is_disk)
            for algorithm in limits:
                limits[algorithm].append(limit.seconds(workload, algorithm, is_disk))
            for name, runner in runners.items():
                destinations = workload.fresh_destinations()
                if is_disk:
                    drop_from_cache(workload.files)
                else:
                    claim_memory(workload)
                wall, used = timed(lambda: runner(workload, destinations))
                seconds[name].append(wall)
                cpu[name].append(used)
                # ext4 looks for a long time for inodes that were not just given back. Many small files stay therefore.
                if workload.total > KEPT:
                    for folder in destinations:
                        shutil.rmtree(folder)
                os.sync()
    finally:
        workload.remove()
    return seconds, cpu, limits


def print_table(workload, seconds, cpu, limits):
    """Medians of the rounds; a ratio is one of a round's seconds to the same round's limit."""
    print("\n### %s\n" % workload.name)
    print("| contender | seconds | times the limit | lowest to highest | CPU seconds |")
    print("|---|---|---|---|---|")
    for algorithm, values in limits.items():
        print("| the limit, %s | %.2f | 1.00 | | |" % (algorithm, statistics.median(values)))
    for name in sorted(seconds, key=lambda name: statistics.median(seconds[name])):
        algorithm = "sha1" if "sha1" in name or "shim" in name else "md5"
        ratios = [one / limit for one, limit in zip(seconds[name], limits[algorithm])]
        print("| %s | %.2f | %.2f | %.2f to %.2f | %.2f |" % (
            name.replace("|", "\\|"), statistics.median(seconds[name]), statistics.median(ratios),
            min(ratios), max(ratios), statistics.median(cpu[name])))
    sys.stdout.flush()


def workloads(disk, memory):
    return {
        "movie-memory": (Workload("1 GiB movie, 2 destinations, tmpfs", memory, [1024 * MIB], 2, False), False),
        "movie-disk": (Workload("1 GiB movie, 2 destinations, disk, cold", disk, [1024 * MIB], 2, False), True),
        "frames-memory": (Workload("60 frames of 12 MiB, 2 destinations, tmpfs", memory, [12 * MIB] * 60, 2, True),
                          False),
        "frames-disk": (Workload("60 frames of 12 MiB, 2 destinations, disk, cold", disk, [12 * MIB] * 60, 2, True),
                        True),
        "small-frames-disk": (Workload("1,000 frames of 64 KiB, 2 destinations, disk, cold", disk, [65536] * 1000, 2,
                                       True), True),
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--disk", default="/var/tmp", help="a folder on a disk")
    parser.add_argument("--memory", default="/dev/shm", help="a folder on a tmpfs")
    parser.add_argument("--rvxcopy", default=os.path.join(REPOSITORY, "build/run/rvxcopy"))
    parser.add_argument("--shim", default=os.path.join(REPOSITORY, "build/release/tests/librvx_fault_shim.so"))
    parser.add_argument("--only", help="only the contenders whose name contains this")
    parser.add_argument("--csv", help="also write every round's times to this file")
    parser.add_argument("workload", nargs="*")
    arguments = parser.parse_args()

    rows = []
    known = workloads(arguments.disk, arguments.memory)
    for name in arguments.workload or known:
        workload, is_disk = known[name]
        runners = contenders(arguments.rvxcopy)
        if name == "small-frames-disk" and os.path.exists(arguments.shim):
            runners.update(without_syncs(arguments.rvxcopy, arguments.shim))
        runners = {name: runner for name, runner in runners.items() if not arguments.only or arguments.only in name}
        seconds, cpu, limits = measure(workload, runners, arguments.rounds, is_disk)
        print_table(workload, seconds, cpu, limits)
        rows += [(name, contender, *one) for contender in seconds for one in zip(seconds[contender], cpu[contender])]
    if arguments.csv:
        with open(arguments.csv, "w", newline="") as file:
            csv.writer(file).writerows([("workload", "contender", "seconds", "cpu_seconds"), *rows])


if __name__ == "__main__":
    main()
