#!/usr/bin/env python3
"""Shows how the time and memory of a run grow with the size of a movie, the number of frames and of destinations.

Runs rvxcopy on a tmpfs, where storage costs the least, and writes the medians as CSV; with --plot, draws a CSV as SVG.

    bench/growth.py [--rounds N] [--memory FOLDER] > growth.csv
    bench/growth.py --plot growth.csv > growth.svg
"""

import argparse
import csv
import os
import statistics
import subprocess
import sys
import time

from whole_process import MIB, REPOSITORY, Workload

SERIES = {
    "size": ("movie to 2 destinations", "MiB", [64, 128, 256, 512, 1024]),
    "frames": ("frames of 64 KiB to 2 destinations", "frames", [125, 250, 500, 1000, 2000]),
    "destinations": ("256 MiB movie", "destinations", [1, 2, 3, 4, 6, 8]),
}


def workload(series, value, folder):
    if series == "size":
        return Workload(series, folder, [value * MIB], 2, False)
    if series == "frames":
        return Workload(series, folder, [65536] * value, 2, True)
    return Workload(series, folder, [256 * MIB], value, False)


def run_once(program, work):
    """Seconds and KiB of one run."""
    destinations = [folder + "/" for folder in work.fresh_destinations()]
    source = ["-s", work.identifier()] if work.is_sequence else work.files
    begun = time.monotonic()
    process = subprocess.Popen([program, *source, *destinations])
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - begun
    if status != 0:
        raise SystemExit("rvxcopy failed")
    subprocess.run(["rm", "-r", *destinations], check=True)
    return seconds, usage.ru_maxrss


def measure(program, folder, rounds):
    writer = csv.writer(sys.stdout)
    writer.writerow(["series", "value", "seconds", "peak_kib"])
    for series, (_, _, values) in SERIES.items():
        for value in values:
            work = workload(series, value, folder)
            work.make()
            try:
                runs = [run_once(program, work) for _ in range(rounds)]
            finally:
                work.remove()
            writer.writerow([series, value, "%.3f" % statistics.median(seconds for seconds, _ in runs),
                             max(peak for _, peak in runs)])
            sys.stdout.flush()


WIDTH, HEIGHT, MARGIN = 300, 220, 50


def chart(series, points, left):
    """One diagram of the three, as SVG elements."""
    title, unit, _ = SERIES[series]
    most_x = max(value for value, _ in points)
    most_y = max(seconds for _, seconds in points) * 1.1

    def place(value, seconds):
        return left + MARGIN + value / most_x * (WIDTH - MARGIN - 20), HEIGHT - MARGIN - seconds / most_y * (
            HEIGHT - 2 * MARGIN)
    x0, y0 = place(0, 0)
    x1, y1 = place(most_x, most_y)
    yield '<text x="%d" y="24" font-weight="bold">%s</text>' % (left + MARGIN, title)
    yield '<path d="M%.1f %.1fV%.1fH%.1f" fill="none" stroke="black"/>' % (x0, y1, y0, x1)
    yield '<polyline fill="none" stroke="steelblue" stroke-width="2" points="%s"/>' % " ".join(
        "%.1f,%.1f" % place(*point) for point in points)
    for value, seconds in points:
        x, y = place(value, seconds)
        yield '<circle cx="%.1f" cy="%.1f" r="3" fill="steelblue"/>' % (x, y)
        yield '<text x="%.1f" y="%.1f" text-anchor="middle" font-size="9">%.2f</text>' % (x, y - 7, seconds)
        yield '<text x="%.1f" y="%.1f" text-anchor="middle" font-size="9">%d</text>' % (x, y0 + 14, value)
    yield '<text x="%.1f" y="%.1f" text-anchor="middle">%s</text>' % ((x0 + x1) / 2, y0 + 32, unit)
    yield '<text x="%.1f" y="%.1f" text-anchor="end">s</text>' % (x0 - 6, y1 + 4)


def plot(path):
    with open(path) as file:
        rows = list(csv.DictReader(file))
    print('<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" font-family="sans-serif" font-size="11">'
          % (WIDTH * len(SERIES), HEIGHT))
    print('<rect width="100%" height="100%" fill="white"/>')
    for number, series in enumerate(SERIES):
        points = [(float(row["value"]), float(row["seconds"])) for row in rows if row["series"] == series]
        for element in chart(series, points, number * WIDTH):
            print(element)
    print("</svg>")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--memory", default="/dev/shm", help="a folder on a tmpfs")
    parser.add_argument("--rvxcopy", default=os.path.join(REPOSITORY, "build/run/rvxcopy"))
    parser.add_argument("--plot", metavar="CSV")
    arguments = parser.parse_args()
    if arguments.plot:
        plot(arguments.plot)
    else:
        measure(arguments.rvxcopy, arguments.memory, arguments.rounds)


if __name__ == "__main__":
    main()
