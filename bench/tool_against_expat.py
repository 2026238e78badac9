#!/usr/bin/env python3
"""Measures `arbtree stats` against a program that only counts elements with expat, on the same generated file.

    tool_against_expat.py BIN_DIR [SIZE_MB ...]       (default sizes: 10 100 1000)

BIN_DIR holds the built programs arbtree, count_elements_baseline and make_records. For each size both programs run in
turn, several times; their element counts must be equal. The table shows the best wall time of each, the ratio of the
two, and the peak resident memory that each saw of itself.
"""
import json
import os
import subprocess
import sys
import tempfile
import time


def timed(command):
    start = time.perf_counter()
    done = subprocess.run(command, stdout=subprocess.PIPE, check=True)
    return time.perf_counter() - start, done.stdout.decode()


def run_tool(bin_dir, path):
    seconds, output = timed([os.path.join(bin_dir, "arbtree"), "stats", "--json", path])
    stats = json.loads(output)
    return seconds, stats["elements"], stats["peakMemoryBytes"]


def run_baseline(bin_dir, path):
    seconds, output = timed([os.path.join(bin_dir, "count_elements_baseline"), path])
    elements, peak = output.split()
    return seconds, int(elements), int(peak)


def measure(bin_dir, megabytes, folder):
    path = os.path.join(folder, "records.xml")
    with open(path, "wb") as file:
        subprocess.run([os.path.join(bin_dir, "make_records"), str(megabytes)], stdout=file, check=True)
    runs = {run_tool: [], run_baseline: []}
    for _ in range(10 if megabytes < 500 else 4):
        for program, results in runs.items():
            results.append(program(bin_dir, path))
    counts = {elements for results in runs.values() for _, elements, _ in results}
    if len(counts) != 1:
        sys.exit(f"tool_against_expat: the programs count differently: {sorted(counts)}")
    best = {program: min(seconds for seconds, _, _ in results) for program, results in runs.items()}
    peak = {program: max(bytes_ for _, _, bytes_ in results) / 2**20 for program, results in runs.items()}
    os.remove(path)
    print(f"{megabytes:8} {counts.pop():12} {best[run_baseline]:10.3f} {best[run_tool]:10.3f} "
          f"{best[run_tool] / best[run_baseline]:8.2f} {peak[run_baseline]:12.2f} {peak[run_tool]:12.2f}", flush=True)


def main():
    if len(sys.argv) < 2 or not os.path.isdir(sys.argv[1]):
        sys.exit(__doc__)
    sizes = [int(size) for size in sys.argv[2:]] or [10, 100, 1000]
    print(f"{'size':>8} {'elements':>12} {'expat':>10} {'arbtree':>10} {'ratio':>8} {'expat':>12} {'arbtree':>12}")
    print(f"{'MB':>8} {'':>12} {'s':>10} {'s':>10} {'':>8} {'peak MiB':>12} {'peak MiB':>12}")
    with tempfile.TemporaryDirectory() as folder:
        for megabytes in sizes:
            measure(sys.argv[1], megabytes, folder)


if __name__ == "__main__":
    main()
