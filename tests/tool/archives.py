"""Archives of all formats, nested in each other: listed and extracted as bsdtar, dpkg-deb and unzip do, and searched."""
import glob
import json
import os
import random
import select
import subprocess
import sys
import tarfile
import unittest

from support.archives import XML, IntoTarget, bsdtar, bsdtar_of, contents_of, make_old, make_zip, packed, tar, tar_entry, tree_of
from support.tool import ENVIRONMENT, TIMEOUT, InFolder, canonical, output, run, start, stats

FORMATS = {"tar": ("gnutar", []), "tar.gz": ("pax", ["-z"]), "tar.bz2": ("ustar", ["-j"]), "tar.xz": ("pax", ["-J"]),
           "tar.zst": ("pax", ["--zstd"]), "v7.tar": ("v7", []), "cpio": ("newc", []), "odc.cpio": ("odc", []),
           "cpio.gz": ("newc", ["-z"]), "zip": ("zip", []), "7z": ("7zip", []), "xar": ("xar", []),
           "tar.lzma": ("pax", ["--lzma"]), "iso": ("iso9660", [])}
FILES = {"a.txt": b"plain\n", "dir/b.xml": XML, "dir/empty": b"", "dir/big": bytes(range(256)) * 4000}
# Three levels: a zip in a compressed tar in a tar.
NESTED = tar([("mid.tar.gz", packed("gzip", tar([("in.zip", make_zip([("b.xml", XML), ("t", b"text")])), ("x", b"1")]))),
              ("last.xml", XML)])


def system(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, check=True, timeout=TIMEOUT, env=dict(ENVIRONMENT, LC_ALL="C.UTF-8")).stdout


def members(*arguments, **options):
    """What `ls --json` says."""
    return [json.loads(line) for line in output("ls", "--json", *arguments, **options).splitlines()]


def without_times(tree):
    """Those of links, and of folders with links, depend on who extracts."""
    return {name: (mode, content) for name, (mode, _, content) in tree.items()}


class Formats(IntoTarget):
    def make_files(self):
        for name, data in FILES.items():
            self.write("in/" + name, data)
        os.symlink("b.xml", self.folder + "/in/dir/link")
        os.chmod(self.new_folder("in/dir/closed"), 0o500)
        make_old(self.folder + "/in")
        return self.folder + "/in"

    def test_each_format_is_listed_and_extracted_as_bsdtar_does(self):
        files = self.make_files()
        for extension, (form, filters) in FORMATS.items():
            with self.subTest(extension):
                archive = bsdtar(self.folder + "/a." + extension, form, filters, files, ["a.txt", "dir"])
                listed = output("ls", archive)
                self.assertEqual(system("bsdtar", "-tf", archive), listed)
                with open(archive, "rb") as file:
                    self.assertEqual(listed, output("ls", "-", stdin=file))
                theirs = self.new_folder("theirs-" + extension)
                system("bsdtar", "-xf", archive, "-C", theirs)
                self.assertEqual(tree_of(theirs), self.extracted(archive))
                figures = stats(archive)
                self.assertEqual((1, 1, 4), (figures["archives"], figures["documents"], figures["elements"]))

    def test_debian_packages_and_zip_files_are_listed_and_extracted_as_dpkg_deb_and_unzip_do(self):
        self.write("in/DEBIAN/control", b"Package: p\nVersion: 1\nArchitecture: all\nMaintainer: m <m@m>\nDescription: d\n")
        system("dpkg-deb", "--root-owner-group", "-Zxz", "-b", self.make_files(), self.folder + "/made.deb")
        # And one of the distribution's, where it can be fetched.
        subprocess.run(["apt-get", "download", "xz-utils"], cwd=self.folder, capture_output=True, env=ENVIRONMENT, timeout=TIMEOUT)
        packages = glob.glob(self.folder + "/*.deb")
        for number, package in enumerate(packages):
            with self.subTest(package):
                theirs = self.new_folder(f"theirs-{number}")
                system("dpkg-deb", "-x", package, theirs)
                fields = [line.split(None, 5) for line in system("dpkg-deb", "-c", package).decode().splitlines()]
                ours = [(member["mode"], member["path"]) for member in members(package) if member["path"].startswith("data.tar.xz/")]
                self.assertEqual([(mode, "data.tar.xz/" + name.split(" -> ")[0]) for mode, *_, name in fields], ours)
                found = self.extracted("--member", "data.tar.xz/*", package)
                self.assertEqual({b"data.tar.xz/" + name: item for name, item in without_times(tree_of(theirs)).items()},
                                 {name: item for name, item in without_times(found).items() if name != b"data.tar.xz"})
                zipped, unzipped = theirs + ".zip", self.new_folder(f"unzipped-{number}")
                system("sh", "-c", 'cd "$0" && exec zip -qry "$0.zip" .', theirs)
                system("unzip", "-q", zipped, "-d", unzipped)
                self.assertEqual(system("unzip", "-Z1", zipped), output("ls", zipped))
                self.assertEqual(without_times(tree_of(unzipped)), without_times(self.extracted("--keep-archives", zipped)))
        print(f"compared {len(packages)} packages", file=sys.stderr)

    def test_hard_links_share_their_content_wherever_the_archive_keeps_it(self):
        first = self.write("in/1.xml", XML)
        for name in ["2.xml", "3.xml"]:
            os.link(first, os.path.join(self.folder, "in", name))
        patterns = {"*": [b"1.xml", b"2.xml", b"3.xml"], "1*": [b"1.xml"], "2*": [b"2.xml"], "3*": [b"3.xml"],
                    "[12]*": [b"1.xml", b"2.xml"], "[23]*": [b"2.xml", b"3.xml"]}
        for form in ["newc", "odc", "pax"]:
            archive = bsdtar(self.folder + "/" + form, form, [], self.folder + "/in", ["1.xml", "2.xml", "3.xml"])
            for pattern, chosen in patterns.items():
                with self.subTest(form, pattern=pattern):
                    result, found = self.extract("--member", pattern, archive)
                    if form == "pax" and b"1.xml" not in chosen:  # which has the content only with the first name
                        self.assertEqual((1, len(chosen), {}), (result.status, result.err.count("was not extracted"), found))
                    else:
                        self.assertEqual((0, "", dict.fromkeys(chosen, XML)), (result.status, result.err, contents_of(found)))

    def test_archives_that_are_read_back_and_forth_within_others(self):
        for form in ["7zip", "xar"]:
            self.assertEqual(output("text", "-", data=XML), output("text", "-", data=tar([("i", bsdtar_of({"b.xml": XML}, form))])))

    def test_the_tables_of_a_static_library_are_no_members(self):
        def entry(name, data):
            return f"{name:16}{0:<12}{0:<6}{0:<6}{644:<8}{len(data):<10}`\n".encode() + data + b"\n" * (len(data) % 2)
        library = b"!<arch>\n" + entry("/", bytes(4)) + entry("//", b"a_rather_long_name.o/\n") + entry("/0", b"1") + entry("b.o/", b"2")
        tables = b"!<arch>\n" + entry("/", b"") * 100_000
        self.assertEqual(b"a.a\n", output("ls", "-", data=tar([("a.a", tables)])))
        self.assertEqual({b"a_rather_long_name.o": b"1", b"b.o": b"2"}, contents_of(self.extracted("-", data=library)))

    def test_a_package_of_rpm_is_an_archive_behind_headers(self):
        header = b"\x8e\xad\xe8\x01" + bytes(4) + (1).to_bytes(4, "big") + (5).to_bytes(4, "big") + bytes(16) + b"store"
        headers = b"\xed\xab\xee\xdb\3\0" + bytes(90) + header + bytes(-len(header) % 8) + header
        for program in ["gzip", "xz", "zstd"]:
            package = headers + packed(program, bsdtar_of({"b.xml": XML}, "newc"))
            self.assertEqual(b"p.rpm\np.rpm/b.xml\n", output("ls", "-", data=tar([("p.rpm", package)])))
            self.assertEqual(2, stats("-", data=tar([("p.rpm", package)]))["archives"])
            self.assertEqual(1, run("stats", "-", data=package[:-20]).status)

    def test_compressed_xml_is_xml_and_other_compressed_files_are_files(self):
        for program in ["gzip", "xz", "zstd", "bzip2"]:
            with self.subTest(program):
                files = [("m.xml.z", packed(program, XML)), ("t.z", packed(program, b"text" * 1000)), ("last", b"")]
                self.assertEqual(canonical(XML), canonical(output("xml", "-", data=files[0][1])))
                self.assertEqual(["tree", "file", "file"], [member["kind"] for member in members("-", data=tar(files))])
                self.assertEqual({name.encode(): data for name, data in files}, contents_of(self.extracted("-", data=tar(files))))


class Nested(IntoTarget):
    def test_listing_and_reading_through_three_levels(self):
        for chunk_bytes in ["1", "300", "1000000"]:
            self.assertEqual(b"mid.tar.gz\nmid.tar.gz/in.zip\nmid.tar.gz/in.zip/b.xml\nmid.tar.gz/in.zip/t\nmid.tar.gz/x\n"
                             b"last.xml\n", output("ls", "--chunk-bytes", chunk_bytes, "-", data=NESTED))
        self.assertEqual(b"mid.tar.gz\n  in.zip\n    b.xml\n    t\n  x\nlast.xml\n", output("ls", "--tree", "-", data=NESTED))
        inner = output("xml", "--member", "mid.tar.gz/in.zip/b.xml", "-", data=NESTED)
        self.assertEqual(canonical(XML), canonical(inner))
        text = "x & äx & ä\n".encode()
        self.assertEqual(text, output("text", "--member", "last.xml", "-", data=NESTED))
        self.assertEqual(text * 2, output("text", "-", data=NESTED))

    # Members whose kind shows at once, late in their beginning, only in all of a tar header, or never.
    KINDS = {"declared": (XML, "tree"), "blank.xml": (b" " * 300 + b"<r/>", "tree"), "blank": (b" " * 300 + b"<r/>", "file"),
             "blanker.xml": (b" " * 600 + b"<r/>", "file"), "r.xml": (b"no markup", "file"), "short": (b"P", "file"),
             "zip": (make_zip([("x", b"1")]), "forest"), "tar": (tar([("x", b"1")], tarfile.GNU_FORMAT), "forest"),
             "packed": (packed("gzip", tar([("x", b"1")])), "forest"), "digits": (b"7" * 1000, "file"), "empty": (b"", "file"),
             "none.tar": (bytes(1024), "forest"), "zeros": (bytes(1024), "file"), "none.tar.gz": (packed("gzip", bytes(1024)), "forest"),
             "words": (b"some words in lines\n" * 1000, "file"), "random": (bytes(range(256)) * 40, "file")}

    def test_kinds_do_not_depend_on_how_the_archive_is_read(self):
        files = [(name, content) for name, (content, _) in self.KINDS.items()]
        for data in [tar(files), make_zip(files), make_zip(files[::-1])]:
            for path, prefix in [("-", ""), (self.write("a", data), ""), (self.write("n", tar([("n", data)])), "n/")]:
                given = {"data": data if path == "-" else None}
                found = {member["path"]: member["kind"] for member in members(path, **given)}
                self.assertLessEqual({prefix + name: kind for name, (_, kind) in self.KINDS.items()}.items(), found.items())
                self.assertEqual(list(found), output("ls", path, **given).decode().splitlines())

    def test_each_member_is_shown_before_more_is_awaited(self):
        with start("ls", "-") as tool:
            for name in ["a", "b", "c"]:
                tool.stdin.write(tar([(name, b"x" * 1000)]).rstrip(b"\0").ljust(1536, b"\0"))
                self.assertTrue(select.select([tool.stdout], [], [], TIMEOUT)[0])
                self.assertEqual(name.encode() + b"\n", tool.stdout.read(100))
            tool.stdin.write(bytes(1024))
            tool.stdin.close()
            self.assertEqual(0, tool.wait(TIMEOUT))

    def test_details(self):
        entry = tar_entry("dir/link", type=b"2", linkname="t\nx", mtime=0, mode=0o777)
        data = tar([("dir/a.xml", XML), (entry, None), (tar_entry("s", mode=0o4755, mtime=1), b"")])
        self.assertEqual([b"tree   -rw-r--r-- %12d 2020-09-13T12:26:40Z dir/a.xml" % len(XML),
                          b"file   lrwxrwxrwx            0 1970-01-01T00:00:00Z dir/link -> t\\nx",
                          b"file   -rwsr-xr-x            0 1970-01-01T00:00:01Z s"],
                         output("ls", "--long", "-", data=data).splitlines())
        self.assertEqual({"kind": "file", "path": "dir/link", "size": 0, "time": "1970-01-01T00:00:00Z",
                          "mode": "lrwxrwxrwx", "link": "t\\nx"},
                         members("-", data=data)[1])

    def test_an_input_that_is_no_archive_is_its_only_member(self):
        path = self.write("a.dat", b"data")
        os.chmod(path, 0o640)
        os.utime(path, (0, 1500000000))
        self.assertEqual(b"file   -rw-r-----            4 2017-07-14T02:40:00Z a.dat\n", output("ls", "--long", path))
        self.assertEqual({b"a.dat": (0o100640, 1500000000, b"data")}, self.extracted(path))

    def test_nested_archives_are_extracted_as_folders_or_kept(self):
        last = {b"last.xml": XML}
        self.assertEqual({b"mid.tar.gz": None, b"mid.tar.gz/in.zip": None, b"mid.tar.gz/in.zip/b.xml": XML, b"mid.tar.gz/in.zip/t": b"text",
                          b"mid.tar.gz/x": b"1", **last}, contents_of(self.extracted("-", data=NESTED)))
        kept = contents_of(self.extracted("--keep-archives", "-", data=NESTED))
        self.assertTrue(kept.pop(b"mid.tar.gz").startswith(b"\x1f\x8b"))
        self.assertEqual(last, kept)

    def test_a_pattern_chooses_members_and_what_is_in_them(self):
        inside = {b"mid.tar.gz/in.zip", b"mid.tar.gz/in.zip/b.xml", b"mid.tar.gz/in.zip/t"}
        for pattern, chosen in {"mid.tar.gz/in.zip": inside, "mid.tar.gz/in.zip/": inside, "*/in.???": inside,
                                "*.xml": {b"last.xml"} | inside - {b"mid.tar.gz/in.zip/t"}, "mid.tar.gz": inside | {b"mid.tar.gz/x"},
                                "mid.tar.gz/[!i]": {b"mid.tar.gz/x"}, "in.zip": set()}.items():
            with self.subTest(pattern):
                result, found = self.extract("--member", pattern, "-", data=NESTED)
                self.assertEqual((0, "") if chosen else (1, "arbtree: <stdin>: no member matches in.zip\n"), (result.status, result.err))
                self.assertEqual(chosen, set(found) - {b"mid.tar.gz"})

    def test_folders_have_the_times_of_their_last_entry_or_of_their_archive(self):
        inner = tar([("in", b""), (tar_entry("in2/", type=b"5", mtime=5, mode=0o755), None)])
        found = self.extracted("-", data=tar([
            (tar_entry("d/", type=b"5", mtime=3, mode=0o700), None), (tar_entry("n.tar", mtime=4), inner),
            (tar_entry("d/e/", type=b"5", mtime=6, mode=0o555), None), ("d/e/f", b"1"),
            (tar_entry("d/", type=b"5", mtime=7, mode=0o511), None), (tar_entry("d/l", type=b"2", linkname="e/f", mtime=8), None)]))
        self.assertEqual({b"n.tar": (0o755, 4), b"n.tar/in2": (0o755, 5), b"d/e": (0o555, 6), b"d": (0o511, 7)},
                         {name: (mode & 0o777, time) for name, (mode, time, _) in found.items() if mode & 0o40000})
        self.assertEqual(8, found[b"d/l"][1])

    def test_xml_of_an_archive_needs_a_member(self):
        self.assertEqual(2, run("xml", "-", data=NESTED).status)
        for command in ["xml", "text"]:
            result = run(command, "--member", "no/such", "-", data=NESTED)
            self.assertEqual((1, b""), (result.status, result.out))
            self.assertIn("no/such", result.err)


class Names(IntoTarget):
    # Bytes of the name, and how it is shown.
    CASES = {b"plain": "plain", "ä🌲".encode(): "ä🌲", b"%f %n %%": "%f %n %%", b"\xff\xfe": "\\377\\376", b"caf\xe9": "caf\\351",
             b"line\nend\ttab\x1b": "line\\nend\\ttab\\033", b"back\\slash": "back\\\\slash", b"\xed\xa0\x80": "\\355\\240\\200",
             b"d/" * 150 + b"long": "d/" * 150 + "long"}

    def test_any_bytes_are_listed_and_kept(self):
        for data_name, shown in self.CASES.items():
            name = data_name.decode("utf-8", "surrogateescape")
            inner = tar([(name, b"content")], form=1)  # GNU, which has no encoding
            for data, prefix in [(inner, ""), (tar([("n.tar", inner)]), "n.tar/")]:
                with self.subTest(shown[:20], prefix=prefix):
                    self.assertEqual(prefix + shown, output("ls", "-", data=data).decode().splitlines()[-1])
                    if b"\\" not in data_name:
                        self.assertEqual(b"content", contents_of(self.extracted("-", data=data))[prefix.encode() + data_name])

    # A name and its decomposed form are two; bytes that are no UTF-8 may stand where an archive says that there is UTF-8.
    TWINS = {"caf\u00e9": b"composed", "cafe\u0301": b"decomposed"}

    def test_names_in_utf8_are_kept_to_the_byte(self):
        twins = list(self.TWINS.items())
        damaged = make_zip([("caf\u00e9", b"1"), ("z\u00e9", b"2")]).replace("\u00e9".encode(), b"\xe9\xe8")
        for form, data in [("pax", tar(twins)), ("zip", make_zip(twins)), ("in tar", tar([("z.zip", make_zip(twins))]))]:
            with self.subTest(form):
                path = self.write(form, data)
                for source, given in [(path, None), ("-", data)]:
                    names = [line.rpartition("/")[2] for line in output("ls", source, data=given).decode().splitlines()]
                    self.assertEqual(list(self.TWINS), names[-2:])
                found = {os.path.basename(name).decode(): content for name, content in contents_of(self.extracted(path)).items()}
                self.assertLessEqual(self.TWINS.items(), found.items())
        self.assertEqual(b"caf\\351\\350\nz\\351\\350\n", output("ls", "-", data=damaged))

    def test_members_that_do_not_say_what_they_are_are_files(self):
        for name, data in [("x.xml", XML), ("plain", b"plain")]:
            self.write(name, data)
        archive = self.folder + "/a.ar"
        system("ar", "rcD", archive, self.folder + "/x.xml", self.folder + "/plain")
        self.assertEqual(1, stats(archive)["documents"])
        self.assertEqual({b"x.xml": XML, b"plain": b"plain"}, contents_of(self.extracted(archive)))


class Searching(InFolder):
    def test_places_of_elements(self):
        first, third = XML.index(b"<e a"), XML.rindex(b"<e a")
        places = [f"{path}:{at}" for path in ["mid.tar.gz/in.zip/b.xml", "last.xml"] for at in [first, third]]
        self.assertEqual(places, output("find", "--element", "e", "--attribute", "a=1", "-", data=NESTED).decode().splitlines())
        for arguments in [["none"], ["e", "--attribute", "a=3"]]:
            self.assertEqual(b"", output("find", "--element", *arguments, "-", data=NESTED))
        named = b'<r><e/><e xml:id="x"/><e id="x"/><f id="y"/><e id="w"/></r>'
        for identifier, place in {"x": b"stdin:7\n", "w": b"stdin:%d\n" % named.index(b'<e id="w"'), "y": b"", "z": b""}.items():
            self.assertEqual(place, output("find", "--element", "e", "--id", identifier, "-", data=named))
        limited = output("find", "--element", "e", "--limit", "010", "--json", "-", data=b"<r>" + b"<e/>" * 20 + b"</r>")
        self.assertEqual([{"path": "stdin", "offset": 3 + 4 * i} for i in range(10)], [json.loads(line) for line in limited.splitlines()])

    def test_what_comes_from_an_entity_is_where_the_reference_is(self):
        document = b"<!DOCTYPE r [<!ENTITY i '<e/>text<e/>'><!ENTITY o '<e/>&i;<e/>&i;'>]><r><e/>&i;<e/> &o;<e/></r>"
        at = document.index(b"<r>") + 3
        places = [at] + [at + 4] * 2 + [at + 7] + [at + 12] * 6 + [at + 15]
        for chunk_bytes in ["1", "32768"]:
            found = output("find", "--element", "e", "--chunk-bytes", chunk_bytes, "-", data=document)
            self.assertEqual([b"stdin:%d" % place for place in places], found.splitlines())

    def test_a_limit_ends_reading(self):
        # The input stays open and never ends; only what is found can end the work.
        with start("find", "--element", "e", "--limit", "2", "-") as tool:
            tool.stdin.write(b"<r><e/>" + b" " * 20000 + b"<e/>" + b"<x>y</x>" * 1000)
            self.assertEqual(0, tool.wait(TIMEOUT))
            self.assertEqual(b"stdin:3\nstdin:20007\n", tool.stdout.read())

    def test_equal_elements_are_reported_once_with_their_places(self):
        # Attributes in another order make no difference, nor do those that other elements of the name have.
        document = (b"<r><e><f a='1' b='2'/>t</e><e><f a='2' c='' d='' e='' g=''/>t</e><e><f b='2' a='1'/>t</e>"
                    b"<e>t<f a='1' b='2'/></e><g><e><f a='1' b='2'/>t</e></g></r>")
        starts = [at for at in range(len(document)) if document.startswith(b"<e>", at)]
        for chunk_bytes in ["1", "32768"]:
            found = output("dups", "--element", "e", "--chunk-bytes", chunk_bytes, "-",
                           data=tar([("1.xml", document), ("2.xml", b"<q><e>only here</e></q>"), ("3.xml", document)]))
            expected = [f"{number} {path}:{starts[at]}" for number, equal in [(1, [0, 2, 4]), (2, [1]), (3, [3])]
                        for path in ["1.xml", "3.xml"] for at in equal]
            self.assertEqual(expected, found.decode().splitlines())
        self.assertEqual(b"", output("dups", "--element", "g", "-", data=document))

    def test_equal_elements_of_random_documents_are_those_of_a_plain_comparison(self):
        for seed in range(60):
            chance = random.Random(seed)
            document, starts, ends = b"", [], {}

            def element(depth):
                nonlocal document
                name = chance.choice([b"e", b"e", b"f"])
                start = len(document)
                if name == b"e":
                    starts.append(start)
                document += b"<" + name + chance.choice([b"", b' a="1"', b' b="1"', b' a="1" b="2"']) + b">"
                for _ in range(chance.randrange(4) if depth < 7 else 0):
                    element(depth + 1)
                document += chance.choice([b"", b"x", b"xy"]) + b"</" + name + b">"
                ends[start] = len(document)

            document += b"<r>"
            for _ in range(6):
                element(0)
            document += b"</r>"
            places = {}
            for start in starts:
                places.setdefault(document[start:ends[start]], []).append(start)
            expected = [[{"path": "stdin", "offset": at} for at in found] for found in places.values() if len(found) > 1]
            for chunk_bytes in ["1", "32768"]:
                found = output("dups", "--element", "e", "--json", "--chunk-bytes", chunk_bytes, "-", data=document)
                with self.subTest(seed=seed, chunk_bytes=chunk_bytes):
                    self.assertEqual(expected, [json.loads(line) for line in found.splitlines()])


if __name__ == "__main__":
    unittest.main(verbosity=2)
