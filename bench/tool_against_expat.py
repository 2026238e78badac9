#!/usr/bin/env python3
"""Measures `arbtree stats` against programs that only count elements, on the same generated file.

    tool_against_expat.py BIN_DIR [SIZE_MB ...]       (default sizes: 10 100 1000)

BIN_DIR holds the built programs arbtree, make_records, count_elements_baseline (expat) and
count_elements_reader_baseline (libxml2's streaming reader). For each size the programs run in turn, several times; their
element counts must be equal. A line shows the best wall time of each as a ratio to that of expat, the median of the
ratios of arbtree to expat round by round, and the peak resident memory that each saw of itself. The last line is a document 1,000,000 elements deep.
"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time


def timed(command):
    start = time.perf_counter()
    done = subprocess.run(command, stdout=subprocess.PIPE, check=True)
    return time.perf_counter() - start, done.stdout.decode()


def run_tool(bin_dir, path):
    seconds, output = timed([os.path.join(bin_dir, "arbtree"), "stats", "--json", "--max-depth", "1000000", path])
    stats = json.loads(output)
    return seconds, stats["elements"], stats["peakMemoryBytes"]


def run_baseline(name):
    def run(bin_dir, path):
        seconds, output = timed([os.path.join(bin_dir, name), path])
        elements, peak = output.split()
        return seconds, int(elements), int(peak)
    return run


PROGRAMS = {"expat": run_baseline("count_elements_baseline"), "reader": run_baseline("count_elements_reader_baseline"),
            "arbtree": run_tool}


def measure(bin_dir, label, path, repeats):
    runs = {name: [] for name in PROGRAMS}
    for _ in range(repeats):
        for name, results in runs.items():
            results.append(PROGRAMS[name](bin_dir, path))
    counts = {elements for results in runs.values() for _, elements, _ in results}
    if len(counts) != 1:
        sys.exit(f"tool_against_expat: the programs count differently: {sorted(counts)}")
    best = {name: min(seconds for seconds, _, _ in results) for name, results in runs.items()}
    rounds = [ours[0] / theirs[0] for ours, theirs in zip(runs["arbtree"], runs["expat"])]
    peak = {name: max(bytes_ for _, _, bytes_ in results) / 2**20 for name, results in runs.items()}
    print(f"{label:>8} {counts.pop():10} {best['expat']:9.3f}"
          + "".join(f"{best[name] / best['expat']:9.2f}" for name in ["reader", "arbtree"])
          + f"{statistics.median(rounds):9.2f}"
          + "".join(f"{peak[name]:10.1f}" for name in PROGRAMS), flush=True)


def main():
    if len(sys.argv) < 2 or not os.path.isdir(sys.argv[1]):
        sys.exit(__doc__)
    bin_dir = sys.argv[1]
    sizes = [int(size) for size in sys.argv[2:]] or [10, 100, 1000]
    print(f"{'':>8} {'':>10} {'expat':>9} {'ratio to expat':>27} {'peak MiB':>30}")
    print(f"{'MB':>8} {'elements':>10} {'s':>9} {'reader':>8} {'arbtree':>8} {'median':>8} {'expat':>9} {'reader':>9} {'arbtree':>9}")
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "measured.xml")
        for megabytes in sizes:
            with open(path, "wb") as file:
                subprocess.run([os.path.join(bin_dir, "make_records"), str(megabytes)], stdout=file, check=True)
            measure(bin_dir, str(megabytes), path, 10 if megabytes < 500 else 3)
        with open(path, "wb") as file:
            file.write(b"<a>" * 1_000_000 + b"</a>" * 1_000_000)
        measure(bin_dir, "deep", path, 10)


if __name__ == "__main__":
    main()
