#!/usr/bin/env python3
"""Measures the tool on archives against bsdtar and against a bare libarchive loop, and its memory on small and large ones.

    tool_against_archives.py BIN_DIR [LARGE_MB]       (default: 1000)

BIN_DIR holds the built programs arbtree, make_records and archive_loop_baseline. The programs run in turn, several times;
a line shows the best wall times, their ratio, and the ratio of the best processor times, which other work on the machine
disturbs less. Names that tell what a member is end in ".txt", those that do not in ".bin". The memory is the peak that the
kernel saw of `arbtree stats`.
"""
import json
import os
import random
import subprocess
import sys
import tempfile
import time
import zipfile


def run(command):
    """Wall and processor seconds."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"tool_against_archives: {command} failed")
    return time.perf_counter() - start, usage.ru_utime + usage.ru_stime


def compare(what, tool, floor, repeats=30):
    runs = [[run(command) for command in [tool, floor]] for _ in range(repeats)]
    (wall, floor_wall), (cpu, floor_cpu) = [[min(pair[side][kind] for pair in runs) for side in [0, 1]] for kind in [0, 1]]
    print(f"{what:68} {wall * 1000:9.1f} ms {floor_wall * 1000:9.1f} ms {wall / floor_wall:7.2f} {cpu / floor_cpu:10.2f}", flush=True)


random.seed(1)
WORDS = ["".join(random.choices("abcdefghijklmnop", k=random.randint(2, 9))) for _ in range(500)]
# A program whose code is in its own file. Other builds of it may only start a library.
PROGRAM = next(path for path in ["/usr/bin/python3", sys.executable] if os.path.exists(path))
with open(PROGRAM, "rb") as program:
    CODE = program.read(20_000_000)


def words(size):
    """Compresses about as text does."""
    return " ".join(random.choices(WORDS, k=size // 7)).encode()


def xml(size):
    return b"<?xml version='1.0'?>\n<r>" + words(size) + b"</r>\n"


def code(size):
    """A piece of a program, whose compressed form begins with large tables."""
    at = random.randrange(max(1, len(CODE) - size))
    return CODE[at:at + size]


def make_zip(path, extension, content, sizes, members=2000):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for number in range(members):
            archive.writestr(f"file{number:05}{extension}", content(random.choice(sizes)))
    return path


def make_three_levels(folder, extension):
    """A zip in a compressed tar in a tar, with 2,000 entries in all."""
    make_zip(folder + "/in.zip", extension, words, [10_000], 1000)
    names = [f"other{number:05}{extension}" for number in range(1000)]
    for name in names:
        with open(os.path.join(folder, name), "wb") as file:
            file.write(words(10_000))
    subprocess.run(["tar", "-czf", folder + "/mid.tar.gz", "-C", folder, "in.zip", *names], check=True)
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
    bin_dir, large = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 1000
    tool, loop = bin_dir + "/arbtree", bin_dir + "/archive_loop_baseline"
    mixed = [100, 300, 1000, 3000, 10_000]
    with tempfile.TemporaryDirectory() as folder:
        print(f"{'':68} {'arbtree':>12} {'floor':>12} {'ratio':>7} {'processor':>10}")
        for extension, content, sizes in [(".txt", words, [10_000]), (".bin", words, [10_000]), (".bin", words, mixed),
                                          (".xml", xml, mixed), (".bin", code, mixed), (".bin", random.randbytes, mixed)]:
            path = make_zip(folder + "/flat.zip", extension, content, sizes)
            amount = "10 kB" if len(sizes) == 1 else "100 B to 10 kB"
            label = f"ls, zip of 2,000 {extension}, {content.__name__}, {amount} (bsdtar -tf)"
            compare(label, [tool, "ls", path], ["bsdtar", "-tf", path])
        for extension in [".txt", ".bin"]:
            path = make_three_levels(folder, extension)
            compare(f"ls, three levels, {extension} (bare loop)", [tool, "ls", path], [loop, "list", path])
            compare(f"stats, three levels, {extension} (bare loop that reads all)", [tool, "stats", path], [loop, "read", path])
        small, big = peak(bin_dir, folder, 10), peak(bin_dir, folder, large)
        print(f"peak of stats, nested archive of 10 MB and of {large} MB: {small:.1f} MiB, {big:.1f} MiB", flush=True)


if __name__ == "__main__":
    main()
