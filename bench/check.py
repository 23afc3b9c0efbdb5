#!/usr/bin/env python3
"""Compares a check of copies that are not in memory: rvxcheck, sha1sum -c, rhash -c and hashdeep, in one run;
and rvxcheck when it also writes the first generation of a history.

Needs root, to empty the page cache. The files are made below FOLDER, which should be on the disk of interest.

    bench/check.py [--rounds N] [--files N] [--size BYTES] [FOLDER]
"""

import argparse
import os
import platform
import shutil
import statistics
import subprocess
import tempfile
import time

REPOSITORY = os.path.join(os.path.dirname(os.path.realpath(__file__)), "..")
PROGRAM = os.environ.get("RVXCHECK", os.path.join(REPOSITORY, "build", "release", "rvxcheck"))

CONTENDERS = {
    "rvxcheck": [PROGRAM, "-q", "."],
    "and --ascmhl": [PROGRAM, "-q", "--ascmhl", "."],  # XXH64 besides SHA-1
    "sha1sum -c": ["sha1sum", "--quiet", "-c", "SHA1SUMS"],
    "rhash -c": ["rhash", "--skip-ok", "-c", "SHA1SUMS"],
    "hashdeep -a": ["hashdeep", "-c", "sha1", "-r", "-l", "-a", "-k", "known", "files"],
}


def make_files(folder, count, size):
    """Files of random bytes, their list, and what hashdeep knows of them."""
    files = os.path.join(folder, "files")
    os.mkdir(files)
    names = ["f%07d" % number for number in range(count)]
    for name in names:
        with open(os.path.join(files, name), "wb") as file:
            file.write(os.urandom(size))
    with open(os.path.join(files, "SHA1SUMS"), "wb") as sums:
        feed = subprocess.Popen(["printf", "%s\\0", *names], stdout=subprocess.PIPE)
        subprocess.run(["xargs", "-0", "sha1sum"], cwd=files, stdin=feed.stdout, stdout=sums, check=True)
        feed.wait()
    if shutil.which("hashdeep"):
        with open(os.path.join(folder, "known"), "wb") as known:
            subprocess.run(["hashdeep", "-c", "sha1", "-r", "-l", "files"], cwd=folder, stdout=known, check=True)
    return files


def empty_page_cache():
    os.sync()
    with open("/proc/sys/vm/drop_caches", "w") as request:
        request.write("3\n")


def run_once(name, files):
    """Seconds of one run with nothing in memory."""
    command, folder = CONTENDERS[name], files
    if name.startswith("hashdeep"):
        folder = os.path.dirname(files)
    empty_page_cache()
    begun = time.monotonic()
    subprocess.run(command, cwd=folder, stdout=subprocess.DEVNULL, check=True)
    seconds = time.monotonic() - begun
    shutil.rmtree(os.path.join(files, "ascmhl"), ignore_errors=True)
    return seconds


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", nargs="?", default=tempfile.gettempdir())
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--files", type=int, default=40)
    parser.add_argument("--size", type=int, default=25_000_000)
    options = parser.parse_args()
    folder = tempfile.mkdtemp(prefix="rvxcheck-bench-", dir=options.folder)
    try:
        files = make_files(folder, options.files, options.size)
        print("%s, %d cores; %d files of %d bytes, not in memory; %d rounds" % (
            platform.release(), os.cpu_count(), options.files, options.size, options.rounds))
        print("%-12s %8s %8s %8s" % ("", "best s", "median s", "worst s"))
        contenders = [name for name in CONTENDERS if shutil.which(CONTENDERS[name][0])]
        runs = {name: [] for name in contenders}
        for _ in range(options.rounds):
            for name in contenders:  # in turn, so that what else the machine does meets all of them
                runs[name].append(run_once(name, files))
        for name in contenders:
            print("%-12s %8.2f %8.2f %8.2f" % (name, min(runs[name]), statistics.median(runs[name]), max(runs[name])))
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
