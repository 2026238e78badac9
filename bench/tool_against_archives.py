#!/usr/bin/env python3
"""Measures the tool on archives against bsdtar and against a bare libarchive loop, and its memory on small and large ones.

    tool_against_archives.py BIN_DIR [LARGE_MB]       (default: 1000)

BIN_DIR holds the built programs arbtree, make_records and archive_loop_baseline. The programs run in turn, several times;
a line shows the best wall times and their ratio. The memory is the peak that the kernel saw of `arbtree stats`.
"""
import json
import os
import random
import subprocess
import sys
import tempfile
import time
import zipfile


def best_times(*commands, repeats=15):
    best = [float("inf")] * len(commands)
    for _ in range(repeats):
        for number, command in enumerate(commands):
            start = time.perf_counter()
            subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
            best[number] = min(best[number], time.perf_counter() - start)
    return best


def show(what, tool, floor):
    print(f"{what:60} {tool * 1000:9.1f} ms {floor * 1000:9.1f} ms {tool / floor:7.2f}", flush=True)


def fill(folder, files, size):
    """Files of words, which compress about as text does."""
    words = ["".join(random.choices("abcdefghijklmnop", k=random.randint(2, 9))) for _ in range(500)]
    for number in range(files):
        with open(os.path.join(folder, f"file{number:05}.txt"), "w") as file:
            while file.tell() < size:
                file.write(" ".join(random.choices(words, k=100)) + "\n")


def make_three_levels(folder, source):
    """A zip in a compressed tar in a tar, with 2,000 entries in all."""
    names = sorted(os.listdir(source))
    with zipfile.ZipFile(folder + "/in.zip", "w", zipfile.ZIP_DEFLATED) as archive:
        for name in names[:1000]:
            archive.write(os.path.join(source, name), name)
    subprocess.run(["tar", "-czf", folder + "/mid.tar.gz", "-C", folder, "in.zip", "-C", source, *names[1000:]], check=True)
    subprocess.run(["tar", "-cf", folder + "/out.tar", "-C", folder, "mid.tar.gz"], check=True)
    return folder + "/out.tar"


def peak(bin_dir, folder, megabytes):
    """MiB taken by stats on an XML file in a compressed tar in a tar."""
    with open(folder + "/r.xml", "wb") as file:
        subprocess.run([bin_dir + "/make_records", str(megabytes)], stdout=file, check=True)
    subprocess.run(["tar", "-czf", folder + "/r.tar.gz", "-C", folder, "r.xml"], check=True)
    subprocess.run(["tar", "-cf", folder + "/r.tar", "-C", folder, "r.tar.gz"], check=True)
    output = subprocess.run([bin_dir + "/arbtree", "stats", "--json", folder + "/r.tar"], stdout=subprocess.PIPE, check=True)
    for name in ["r.xml", "r.tar.gz", "r.tar"]:
        os.remove(os.path.join(folder, name))
    return json.loads(output.stdout)["peakMemoryBytes"] / 2**20


def main():
    if len(sys.argv) < 2 or not os.path.isdir(sys.argv[1]):
        sys.exit(__doc__)
    random.seed(1)
    bin_dir, large = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 1000
    tool, loop = bin_dir + "/arbtree", bin_dir + "/archive_loop_baseline"
    with tempfile.TemporaryDirectory() as folder:
        source = folder + "/source"
        os.mkdir(source)
        fill(source, 2000, 10_000)
        flat = folder + "/flat.zip"
        with zipfile.ZipFile(flat, "w", zipfile.ZIP_DEFLATED) as archive:
            for name in sorted(os.listdir(source)):
                archive.write(os.path.join(source, name), name)
        nested = make_three_levels(folder, source)
        print(f"{'':60} {'arbtree':>12} {'floor':>12} {'ratio':>7}")
        show("ls, zip of 2,000 members (bsdtar -tf)", *best_times([tool, "ls", flat], ["bsdtar", "-tf", flat]))
        show("ls, three levels (bare loop)", *best_times([tool, "ls", nested], [loop, "list", nested]))
        show("stats, three levels (bare loop that reads all)", *best_times([tool, "stats", nested], [loop, "read", nested]))
        small, big = peak(bin_dir, folder, 10), peak(bin_dir, folder, large)
        print(f"peak of stats, nested archive of 10 MB and of {large} MB: {small:.1f} MiB, {big:.1f} MiB", flush=True)


if __name__ == "__main__":
    main()
