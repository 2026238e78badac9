"""Archives that are damaged or meant to do harm: nothing is written outside the folder, limits hold, and what is wrong is
told by name and by the exit status.
"""
import fcntl
import os
import random
import re
import resource
import signal
import subprocess
import tarfile
import tempfile
import termios
import time
import unittest
import zipfile
from array import array
from concurrent.futures import ThreadPoolExecutor
from functools import reduce

from support.archives import XML, IntoTarget, bsdtar_of, contents, contents_of, make_zip, packed, tar, tar_entry, tree_of
from support.tool import TIMEOUT, output, run, start, stats

SYMBOLIC, HARD, DEVICE, FIFO = b"2", b"1", b"3", b"6"
GOOD = ("good", b"good")
RANDOM = os.urandom(3000)  # does not compress, so that every byte counts


def link(name, target, kind=SYMBOLIC):
    return (tar_entry(name, type=kind, linkname=target), None)


# Members of a tar archive, and the paths of those that are refused; the rest is extracted, GOOD among it.
ESCAPES = {
    "up": ([("../out", b"x")], ["../out"]),
    "up inside": ([("d/../../out", b"x")], ["d/../../out"]),
    "up to a harmless place": ([("d/../e", b"x")], ["d/../e"]),
    "absolute": ([("/tmp/arbtree-out", b"x")], ["/tmp/arbtree-out"]),
    "drive letter": ([("C:out", b"x"), ("./c:/out", b"x"), ("d/C:/out", b"x")], ["C:out", "./c:/out", "d/C:/out"]),
    "backslash": ([("..\\out", b"x")], ["..\\\\out"]),
    "empty part": ([("d//e", b"x")], ["d//e"]),
    "only dots": ([("..", b"x")], [".."]),
    "folder up": ([(tar_entry("../d/", type=b"5"), None)], ["../d/"]),
    "link up": ([link("l", "../out")], ["l"]),
    "absolute link": ([link("l", "/etc")], ["l"]),
    "link that goes down and up": ([link("d/l", "e/../f")], ["d/l"]),
    "file through a link": ([link("l", "d"), ("l/f", b"x")], ["l"]),
    "links that lead out together": ([link("a", "."), link("b", "a/../.."), ("b/f", b"x")], ["b"]),
    "hard link up": ([link("h", "../../etc/passwd", HARD)], ["h"]),
    "absolute hard link": ([link("h", "/etc/passwd", HARD)], ["h"]),
    "hard link to nothing": ([link("h", "none", HARD)], ["h"]),
    "hard link to a link": ([link("l", "good"), link("h", "l", HARD)], ["h"]),
    "device": ([(tar_entry("dev", type=DEVICE), None), (tar_entry("fifo", type=FIFO), None)], ["dev", "fifo"]),
    "in a nested archive": ([("n.tar", tar([("../../out", b"x"), ("/abs", b"x"), ("in", b"x")]))],
                            ["n.tar/../../out", "n.tar//abs"]),
    "a nested archive itself": ([("../n.tar", tar([("in", b"x")]))], ["../n.tar", "../n.tar/in"]),
    "a link where a file is": ([("f", b"x"), link("f", "good")], ["f"]),
    "a folder where a file is": ([("f", b"x"), ("f/g", b"x")], ["f/g"]),
}


class Escapes(IntoTarget):
    def test_nothing_leaves_the_folder_and_the_rest_is_extracted(self):
        for name, (members, refused) in ESCAPES.items():
            with self.subTest(name):
                result, found = self.extract("-", data=tar([*members[:1], GOOD, *members[1:]]))
                self.assertEqual(1, result.status, result.err)
                told = [line.split(": ")[2:4] for line in result.err.splitlines()]
                self.assertEqual([[name, "refused"] for name in refused], told)
                self.assertEqual(b"good", found[b"good"][2])
                self.assertFalse(os.path.exists("/tmp/arbtree-out"))

    def test_names_with_zero_bytes_are_kept_and_refused(self):
        names = ["\u00e4/" + "./" * above + "..@/..@/out" for above in [0, 200]]
        data = make_zip([(name, b"x") for name in names] + [GOOD]).replace(b"..@", b"..\0")
        result, found = self.extract("-", data=data)
        self.assertEqual({b"good"}, set(found))
        told = ["arbtree: <stdin>: " + name.replace("@", "\\000") + ": refused: its name has a zero byte\n" for name in names]
        self.assertEqual((1, "".join(told)), (result.status, result.err))

    def test_backslashes_part_names_that_have_no_slash(self):
        data = make_zip([(name, b"x") for name in ["a@b", "\u00e4@b", "\u00e4/c@d"]]).replace(b"@", b"\\")
        result, found = self.extract("-", data=data)
        self.assertEqual({"a", "a/b", "\u00e4", "\u00e4/b"}, {name.decode() for name in found})
        self.assertEqual((1, 1), (result.status, result.err.count("refused: its name has a backslash")))

    def test_a_folder_that_an_archive_shares_with_members_around_it_is_told(self):
        inner = ("i.tar", tar([("f", b"inner"), ("d/g", b"g")]))
        for members, kept in {(("./" + inner[0], inner[1]), ("i.tar/f", b"outer"), ("i.tar/./d/h", b"h")): b"outer",
                              (("i.tar/f", b"outer"), ("i.tar/d/h", b"h"), inner): b"inner"}.items():
            result, found = self.extract("-", data=tar([("o.tar", tar(members))]))
            self.assertEqual((1, 1), (result.status, result.err.count("\n")), result.err)
            self.assertIn("o.tar/i.tar: its folder has members from around the archive", result.err)
            self.assertEqual((kept, b"g", b"h"), tuple(found[b"o.tar/i.tar/" + name][2] for name in [b"f", b"d/g", b"d/h"]))
        self.extracted("-", data=tar([inner, ("i.tar2/f", b"x"), ("d/i.tar/f", b"x")]))

    def test_temporary_names_are_nobody_elses(self):
        target = self.new_folder("target")
        with start("extract", "-C", target, "-") as tool:
            names = [f".arbtree-{tool.pid}-{number}" for number in range(1, 7)]
            self.write("target/" + names[1], b"left behind")
            tool.communicate(tar([(name, b"member") for name in names[3:] + ["last"]]), TIMEOUT)
        self.assertEqual(0, tool.returncode)
        self.assertEqual({**{name.encode(): b"member" for name in names[3:] + ["last"]}, names[1].encode(): b"left behind"},
                         contents_of(tree_of(target)))

    def test_links_that_lie_in_the_folder_are_not_followed(self):
        target, outside = self.new_folder("target"), self.new_folder("outside")
        os.symlink(outside, target + "/d")
        os.symlink(outside + "/f", target + "/f")
        self.assertEqual(1, run("extract", "-C", target, "-", data=tar([("d/x", b"x"), link("h", "d", HARD), ("f", b"new")])).status)
        self.assertEqual([], os.listdir(outside))
        self.assertEqual({b"d": outside.encode(), b"f": b"new"}, contents_of(tree_of(target)))

    def test_harmless_links_are_made(self):
        found = self.extracted("-", data=tar([("d/f", b"x"), link("d/l", "../d/f"), link("h", "d/f", HARD), link("l", "d")]))
        self.assertEqual({b"d": None, b"d/f": b"x", b"d/l": b"../d/f", b"l": b"d", b"h": b"x"}, contents_of(found))

    def test_rights_are_those_that_do_no_harm_and_a_folder_without_any_gets_its_files(self):
        found = self.extracted("-", data=tar([(tar_entry("f", mode=0o6755), b"x"), (tar_entry("d", type=b"5", mode=0o3755), None),
                                              (tar_entry("c", type=b"5", mode=0o555), None), ("c/e/f", b"x")]))
        self.assertEqual((0o100755, 0o40755, 0o40555, b"x"), (found[b"f"][0], found[b"d"][0], found[b"c"][0], found[b"c/e/f"][2]))

    def test_aliases_are_refused_on_request(self):
        members = [("File", b"1"), ("file", b"2"), ("\u00e4", b"3"), ("a\u0308", b"4"), ("D/x", b"5"), ("d/y", b"6"), ("D/z", b"7"),
                   ("\udce9/F", b"8"), ("\udce9/f", b"9"), ("\udcc9/f", b"10")]
        data = tar(members, form=tarfile.GNU_FORMAT)  # libarchive composes the names of the newer form
        result, found = self.extract("--refuse-aliases", "-", data=data)
        self.assertEqual((1, 4), (result.status, result.err.count("only by case or normal form")))
        self.assertEqual({b"File", "\u00e4".encode(), b"D", b"D/x", b"D/z", b"\xe9", b"\xe9/F", b"\xc9", b"\xc9/f"}, set(found))
        self.assertEqual(14, len(self.extracted("-", data=data)))


def quine_like(depth, data=b""):
    for _ in range(depth):
        data = make_zip([("z.zip", data)])
    return data


ZEROS = b"\0" * 300_000_000
ENTITIES = b"<!DOCTYPE a [<!ENTITY e0 '" + b"x" * 1000 + b"'>" + b"".join(
    b"<!ENTITY e%d '%s'>" % (i + 1, b"&e%d;" % i * 20) for i in range(5)) + b"]><a>&e5;</a>"

# Input, options, and the option that the message names.
BOMBS = {
    "ratio": (lambda: tar([("z.tar.gz", packed("gzip", tar([("zeros", ZEROS)])))]), ["ls"], "--max-ratio"),
    "ratio of stored zips": (lambda: make_zip([("a.zip", make_zip([("b", ZEROS)]))]), ["extract", "-C", "."], "--max-ratio"),
    "sparse file": (lambda: bomb_of_holes(), ["extract", "-C", "."], "--max-"),
    "bytes": (lambda: tar([("i.tar", tar([("a", b"x" * 5000)]))]), ["ls", "--max-bytes", "4000"], "--max-bytes"),
    "members": (lambda: tar([(str(i), b"") for i in range(101)]), ["ls", "--max-members", "100"], "--max-members"),
    "nesting": (lambda: quine_like(18), ["ls"], "--max-nesting"),
    "nesting set": (lambda: quine_like(3), ["stats", "--max-nesting", "2"], "--max-nesting"),
    "compressions": (lambda: reduce(lambda data, _: packed("gzip", data), range(4), XML), ["ls", "--max-nesting", "3"], "--max-nesting"),
    "depth": (lambda: tar([("d.xml", b"<?xml version='1.0'?>" + b"<a>" * 11 + b"</a>" * 11)]), ["text", "--max-depth", "10"],
              "--max-depth"),
    "names": (lambda: b"<r>" + b"".join(b"<e%d a='' b=''/>" % i for i in range(5)) + b"</r>", ["text", "--max-names", "15"],
              "--max-names"),
    "entities": (lambda: tar([("e.xml", b"<?xml version='1.0'?>" + ENTITIES)]), ["stats"], "--max-amplification"),
    "entities set": (lambda: b"<!DOCTYPE a [<!ENTITY e '" + b"x" * 1000 + b"'>]><a>" + b"&e;" * 100 + b"</a>",
                     ["text", "--max-amplification", "10", "--amplification-threshold", "1000"], "--max-amplification"),
}


def bomb_of_holes():
    """A tar archive of a file of a terabyte that is one hole."""
    member = tar_entry("holes", pax_headers={"GNU.sparse.size": str(1 << 40), "GNU.sparse.numblocks": "1",
                                             "GNU.sparse.map": "1099511627000,1"})
    return tar([(member, b"x")])


class Limits(IntoTarget):
    def test_each_limit_ends_with_its_message_and_exit_status_3(self):
        for name, (make, (command, *options), option) in BOMBS.items():
            with self.subTest(name):
                folder = tempfile.mkdtemp(dir=self.folder)
                result = run(command, *options, "-", data=make(), cwd=folder)
                self.assertEqual(3, result.status, result.err)
                self.assertIn(f"(see {option}", result.err)
                self.assertEqual(1, result.err.count("\n"), result.err)
                self.assertEqual(0, sum(os.path.getsize(os.path.join(path, file)) for path, _, files in os.walk(folder)
                                        for file in files))

    def test_the_limits_are_exact(self):
        output("ls", "--max-members", "100", "-", data=tar([(str(i), b"") for i in range(100)]))
        output("xml", "--max-names", "5", "-", data=b"<!-- --><?p q?><r><a x='' y=''/><b/><a y=''/></r>")
        output("ls", "--max-nesting", "3", "-", data=quine_like(3))

    def test_an_archive_that_is_nested_too_deep_is_extracted_as_a_file(self):
        innermost = quine_like(1)
        result, found = self.extract("--max-nesting", "2", "-", data=quine_like(2, innermost))
        self.assertEqual((3, innermost), (result.status, found[b"z.zip/z.zip"][2]))


class Damage(IntoTarget):
    # A package when it is an ar archive, which has no folders.
    FILES = {"debian-binary": b"2.0\n", "data.tar.gz": packed("gzip", tar([("r", RANDOM)])), "x.xml": XML}

    def test_truncation_at_any_point_fails(self):
        nested = tar([("n.zip", make_zip([("r", RANDOM), ("x.xml", XML)])), ("x.xml", XML)])
        # And the number of points. A tar archive needs no more than one of the empty headers at its end.
        archives = {"tar": (nested.rstrip(b"\0"), 100), "tar.gz": (packed("gzip", nested), 1000), "tar.xz": (packed("xz", nested), 100),
                    "zip": (make_zip([("n.tar", nested), ("r", RANDOM)]), 100),
                    "xml": (b"<r>" + b"<e a='1'>x</e>" * 500 + b"</r>", 1000)}
        for name, form, filters in [("cpio", "newc", []), ("odc.cpio", "odc", []), ("bin.cpio", "bin", []), ("7z", "7zip", []),
                                    ("deb", "arbsd", []), ("iso", "iso9660", []), ("tar.zst", "pax", ["--zstd"]), ("tar.bz2", "pax", ["-j"])]:
            archives[name] = (bsdtar_of(self.FILES, form, filters), 60)
        for name, (data, cuts) in archives.items():
            # An ar archive that ends between two members is a whole one.
            whole = [at.start() - 58 for at in re.finditer(b"`\n", data)] if name == "deb" else []
            points = [point for point in [len(data) * i // cuts for i in range(cuts)] if point not in whole]
            points += list(range(len(data) - 5, len(data)))
            with self.subTest(name), ThreadPoolExecutor(4) as pool:
                statuses = list(pool.map(lambda length: self.status_of_cut(name, data[:length]), points))
                self.assertEqual([], [point for point, status in zip(points, statuses) if status != 1])

    def status_of_cut(self, name, data):
        if name in ["zip", "7z", "cpio", "deb"]:  # also as a file, parts of which are passed over
            with tempfile.NamedTemporaryFile(dir=self.folder) as file:
                file.write(data)
                file.flush()
                if run("stats", file.name).status == 0:
                    return 0
        # By its name, a file that does not even begin as an archive was one.
        if name != "xml" and data:
            if run("ls", self.write(f"{len(data)}.{name}", data)).status == 0:
                return 0
        # An empty input, and one cut in its first sign, is no archive: stats takes them for XML.
        result = run("stats", "-", data=data)
        return result.status if result.err else 0

    def test_an_archive_that_ends_between_members_or_in_its_comment_fails(self):
        for data in [tar([GOOD])[:1024], make_zip([GOOD])[:-2] + b"\5\0four"]:
            for source, given in [("-", data), (self.write("a", data), None)]:
                self.assertEqual(1, run("ls", source, data=given).status)

    def test_a_cut_archive_within_an_archive_is_named(self):
        formats = {"zip": make_zip([("r", RANDOM)]), "tar": tar([("r", RANDOM)]).rstrip(b"\0"), "cpio": bsdtar_of(self.FILES, "newc"),
                   "7z": bsdtar_of(self.FILES, "7zip"), "deb": bsdtar_of(self.FILES, "arbsd")}
        for program in ["gzip", "bzip2", "xz", "zstd"]:
            formats[program] = packed(program, tar([("r", RANDOM)]))
        for name, data in formats.items():
            for length in [len(data) // 3, len(data) - 10]:
                for command in ["ls", "stats"]:
                    with self.subTest(name, length=length, command=command):
                        result = run(command, "-", data=tar([("1.xml", XML), ("cut", data[:length]), ("2.xml", XML)]))
                        self.assertEqual(1, result.status)
                        self.assertRegex(result.err, r"^(arbtree: <stdin>: cut[:/].+\n)+\Z")
                        if command == "ls":
                            self.assertEqual([b"1.xml", b"cut", b"2.xml"], [line for line in result.out.splitlines() if b"/" not in line])

    def test_what_only_looks_like_a_sign_is_a_file(self):
        names = {b"BZhang": 0, b"BZh9 days": 0, b"\x1f\x9d\xff words": 0, b"\xc7\x71" + b"words" * 10: 0, b"\x1f\x8b\x08 words": 1}
        for content, status in names.items():
            with self.subTest(content):
                result = run("ls", "-", data=tar([("f", content)]))
                self.assertEqual((status, b"f\n"), (result.status, result.out))

    def test_what_comes_before_and_after_a_damaged_member_is_delivered(self):
        broken = bytearray(make_zip([("a.xml", XML), ("b.xml", XML)]))
        broken[40] ^= 0xFF  # in the content of a.xml
        data = tar([("1.xml", XML), ("bad.xml", b"<?xml version='1.0'?><a><b></a>"), ("z.zip", bytes(broken)), ("2.xml", XML)])
        result = run("text", "-", data=data)
        self.assertEqual(1, result.status)
        self.assertIn("arbtree: <stdin>: bad.xml:1:30: mismatched tag", result.err)
        self.assertIn("arbtree: <stdin>: z.zip/", result.err)
        self.assertLessEqual(2, result.out.count(b"x & "))

    def test_a_damaged_header_leaves_out_its_member_alone(self):
        data = tar([("a", b"1"), ("b", b"2"), ("c", b"3")], form=0)
        for at in [0, 100, 124, 148, 156, 257, 400]:  # name, mode, size, check sum, kind, sign, padding
            broken = bytearray(data)
            broken[1024 + at] ^= 1
            with self.subTest(at):
                result = run("ls", "-", data=bytes(broken))
                self.assertEqual((1, b"a\nc\n"), (result.status, result.out))
                self.assertIn("a damaged member is left out", result.err)

    def test_no_damage_of_a_header_loses_a_member_in_silence(self):
        three = [("a", b"111"), ("b", b"222"), ("c", b"333")]
        zipped, long = make_zip(three, zipfile.ZIP_STORED), "n" * 120
        second, listed = zipped.index(b"PK\3\4", 4), zipped.index(b"PK\1\2", zipped.index(b"PK\1\2") + 4)
        cpio, pax = bsdtar_of(dict(three), "odc"), tar([(long, b"")])
        folder = os.path.dirname(self.write("a", b"1" * 100))
        sizes_behind = subprocess.run(["zip", "-q", "-", "a"], cwd=folder, stdout=subprocess.PIPE, check=True).stdout
        # The archive, the byte, its new value, whether it is read as a stream, and what is listed.
        for data, at, value, streamed, names in [
                (cpio, cpio.index(b"070707", 20) + 5, 0x31, True, ["a", "c"]), (zipped, second + 1, 0, True, ["a", "c"]),
                (zipped, second + 22, 0, True, ["a", "b", "c"]), (zipped, listed + 42, 0, False, ["a", "c"]),
                (pax, pax.index(b" path="), 0x30, True, [long[:100]]), (sizes_behind, 6, 0, True, ["a"])]:
            broken = data[:at] + bytes([value]) + data[at + 1:]
            with self.subTest(at=at, names=names):
                source, given = ("-", broken) if streamed else (self.write("broken", broken), None)
                result = run("stats", source, data=given)
                self.assertEqual((1, True), (result.status, result.err.startswith("arbtree: ")))
                self.assertEqual(names, run("ls", source, data=given).out.decode().splitlines())

    def test_a_name_that_is_told_like_an_earlier_one_replaces_nothing(self):
        twins = {"e\u0301": b"decomposed", "\u00e9": b"composed"}
        for form in ["7zip", "xar"]:
            with self.subTest(form):
                folder = self.new_folder(form)
                for name, content in twins.items():
                    self.write(form + "/" + name, content)
                subprocess.run(["bsdtar", "-cf", self.folder + "/a", "--format", form, "-C", folder, *twins], check=True,
                               env=dict(os.environ, LC_ALL="C.UTF-8"))
                result, found = self.extract(self.folder + "/a")
                self.assertEqual((1, sorted(twins.values())), (result.status, sorted(contents_of(found).values())), result.err)

    def test_only_what_must_be_an_archive_is_missed(self):
        empty_tar = bytes(1024)
        names = {("x.zip", b"text"): 1, ("x.tar.gz", packed("gzip", b"text")): 1, ("x.txz", packed("xz", b"text")): 1,
                 ("x.xml.gz", packed("gzip", b"text")): 1, ("x.zip", b""): 0, ("x.tgz", packed("gzip", empty_tar)): 0,
                 ("x.tar.gz", packed("gzip", b"")): 0, ("._x.zip", b"\0\5\26\7"): 0, ("x.jar", b"#!/bin/sh\n"): 0, ("x.gz", packed("gzip", b"text")): 0}
        for (name, content), status in names.items():
            with self.subTest(name, size=len(content)):
                result = run("ls", "-", data=tar([("d/" + name, content)]))
                self.assertEqual((status, status), (result.status, result.err.count("taken for a file")), result.err)

    def test_compressed_files_of_any_size_are_files_also_without_a_name(self):
        for content in [os.urandom(9_000_000), bytes(300_000_000)]:
            for program in ["gzip", "xz", "zstd"]:
                data = subprocess.run([program, "-1c"], input=content, stdout=subprocess.PIPE, check=True).stdout
                with self.subTest(program, size=len(content)):
                    self.assertEqual({b"stdin": data}, contents_of(self.extracted("-", data=data)))

    def test_damage_that_hides_what_is_compressed_is_noticed(self):
        # More than is looked at. Without a name only a mebibyte is read on, and damage may make a block unpack to more.
        whole = packed("bzip2", tar([("a.xml", XML), ("r", random.Random(1).randbytes(3000) * 50)]))
        for at in range(10, len(whole) - 10, len(whole) // 40):
            broken = whole[:at] + bytes([whole[at] ^ 4]) + whole[at + 1:]
            unpacked = subprocess.run(["bzip2", "-dc"], input=broken, capture_output=True, check=False).stdout
            nameless = [("-", broken)] if len(unpacked) < 2**20 else []
            for source, data in [*nameless, (self.write("a.tar.bz2", broken), None), ("-", tar([("a.tar.bz2", broken)]))]:
                self.assertEqual(1, run("ls", source, data=data).status, (at, source))

    def test_all_that_came_before_damage_is_delivered(self):
        names = [str(number) for number in range(20)]
        whole = bytearray(packed("gzip", tar([(name, b"") for name in names])))
        whole[-6] ^= 1  # in the check sum
        result = run("ls", "-", data=bytes(whole))
        self.assertEqual((1, names), (result.status, result.out.decode().split()))
        self.assertIn("wrong check sum", result.err)

    def test_every_damage_that_gzip_notices_is_noticed(self):
        packed_xml = packed("gzip", XML)
        for at in range(10, len(packed_xml)):
            broken = bytearray(packed_xml)
            broken[at] ^= 4
            gzip = subprocess.run(["gzip", "-t"], input=bytes(broken), stderr=subprocess.DEVNULL, check=False)
            result = run("stats", "-", data=bytes(broken))
            self.assertEqual(gzip.returncode != 0, result.status != 0, at)
        for data, status in [(packed_xml + bytes(100), 0), (packed_xml + b"more", 1), (packed_xml[:-1], 1)]:
            self.assertEqual(status, run("stats", "-", data=data).status)
        halves = packed("gzip", XML[:50]) + packed("gzip", XML[50:])
        self.assertEqual(XML.count(b"<e "), stats("-", data=halves)["elements"] - 1)

    def test_an_archive_stored_in_one_that_is_cut_is_not_taken_for_the_whole(self):
        inner = make_zip([("a.xml", XML)])
        whole = make_zip([("in.zip", inner), ("b", b"b" * 1000)], method=zipfile.ZIP_STORED)
        output("ls", self.write("whole.zip", whole))
        end_of_inner = whole.index(inner) + len(inner)
        for size in [end_of_inner, end_of_inner + 10, end_of_inner + 200]:
            for source, data in [(self.write("cut.zip", whole[:size]), None), ("-", whole[:size])]:
                with self.subTest(source=source, size=size):
                    self.assertEqual(1, run("ls", source, data=data).status)

    def test_a_file_that_fails_is_not_extracted(self):
        good = make_zip([("a", b"a" * 1000), ("f", os.urandom(1000))])
        broken = bytearray(good)
        broken[good.index(b"PK\3\4", 10) + 500] ^= 0xFF
        result, found = self.extract("-", data=bytes(broken))
        self.assertEqual((1, {b"a"}), (result.status, set(found)))
        self.assertRegex(result.err, r"^arbtree: <stdin>: f: .+\n\Z")

    def test_encrypted_and_unsupported_members_are_named(self):
        path = self.folder + "/e.zip"
        subprocess.run(["zip", "-qjP", "word", path, self.write("secret.xml", XML)], check=True)
        unsupported = bytearray(make_zip([("u.xml", XML)]))
        unsupported[8] = 77  # the method in the member's header
        for data, name in [(contents(path), "secret.xml"), (bytes(unsupported), "u.xml")]:
            result = run("text", "-", data=tar([("z.zip", data), ("1.xml", XML)]))
            self.assertEqual((1, 1), (result.status, result.out.count(b"\n")))
            self.assertIn(f"arbtree: <stdin>: z.zip/{name}: ", result.err)


def wait_until_it_sleeps(tool):
    """Until there is something to read."""
    with open(f"/proc/{tool.pid}/stat") as state:
        while state.read().split(")")[1].split()[0] != "S":
            state.seek(0)
            time.sleep(0.001)


class Interrupts(IntoTarget):
    def interrupt(self, tool, number, message):
        """Ends the tool by a signal; the message is all that it says."""
        tool.send_signal(number)
        self.assertEqual(-number, tool.wait(TIMEOUT))
        self.assertEqual(f"arbtree: {message}: interrupted\n", tool.stderr.read().decode())

    def test_no_part_of_a_file_stays(self):
        data = tar([GOOD, ("large", b"x" * 10_000_000)])
        for number in [signal.SIGINT, signal.SIGTERM]:
            target = self.new_folder(str(number))
            with start("extract", "-C", target, "-") as tool:
                tool.stdin.write(data[:5_000_000])
                self.interrupt(tool, number, "<stdin>: large")
            self.assertEqual({b"good"}, set(tree_of(target)))

    def test_an_interrupt_before_the_first_byte(self):
        with start("ls", "-") as tool:
            wait_until_it_sleeps(tool)
            self.interrupt(tool, signal.SIGTERM, "<stdin>")

    def test_work_goes_on_no_further_once_all_input_is_read(self):
        path, target = self.write("zeros.tar.gz", packed("gzip", tar([("zeros", ZEROS)]))), self.new_folder("target")
        with start("extract", "-C", target, "--max-ratio", "100000", path) as tool:
            while not os.listdir(target):
                time.sleep(0.001)
            self.interrupt(tool, signal.SIGINT, f"{path}: zeros")
        self.assertEqual([], os.listdir(target))

    def test_nothing_stays_of_a_file_larger_than_the_system_allows(self):
        result, found = self.extract("-", data=tar([GOOD, ("large", b"x" * 100_000)]),
                                     preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (10_000, 10_000)))
        self.assertEqual((1, "arbtree: <stdin>: large: refused: File too large\n"), (result.status, result.err))
        self.assertEqual({b"good"}, set(found))

    def test_a_write_that_nobody_reads_is_ended(self):
        with start("xml", self.write("long.xml", b"<a>" + b"<b/>" * 100_000 + b"</a>"), pipesize=4096) as tool:
            capacity = fcntl.fcntl(tool.stdout, fcntl.F_GETPIPE_SZ)  # so small that the first write does not fit
            while array("i", fcntl.ioctl(tool.stdout, termios.FIONREAD, bytes(4)))[0] < capacity:
                time.sleep(0.01)
            tool.send_signal(signal.SIGTERM)
            self.assertEqual(-signal.SIGTERM, tool.wait(TIMEOUT))

    def test_an_ignored_signal_stays_ignored(self):
        with start("stats", "-", preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)) as tool:
            wait_until_it_sleeps(tool)
            tool.send_signal(signal.SIGHUP)
            tool.communicate(b"<a/>", TIMEOUT)
            self.assertEqual(0, tool.returncode)


if __name__ == "__main__":
    unittest.main(verbosity=2)
