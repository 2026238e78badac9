"""Archives of all formats, nested in each other: listed and extracted as bsdtar, dpkg-deb and unzip do, and searched."""
import json
import os
import random
import subprocess
import sys
import tarfile
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "support"))
from archives import XML, bsdtar, make_old, make_zip, packed, tar, tar_entry, tree_of  # noqa: E402
from tool import ENVIRONMENT, TIMEOUT, InFolder, canonical, run, stats  # noqa: E402

FORMATS = {"tar": ("gnutar", []), "tar.gz": ("pax", ["-z"]), "tar.bz2": ("ustar", ["-j"]), "tar.xz": ("pax", ["-J"]),
           "tar.zst": ("pax", ["--zstd"]), "v7.tar": ("v7", []), "cpio": ("newc", []), "odc.cpio": ("odc", []),
           "cpio.gz": ("newc", ["-z"]), "zip": ("zip", []), "7z": ("7zip", []), "xar": ("xar", []),
           "tar.lzma": ("pax", ["--lzma"]), "iso": ("iso9660", [])}
FILES = {"a.txt": b"plain\n", "dir/b.xml": XML, "dir/empty": b"", "dir/big": bytes(range(256)) * 4000}
# Three levels: a zip in a compressed tar in a tar.
NESTED = tar([("mid.tar.gz", packed("gzip", tar([("in.zip", make_zip([("b.xml", XML), ("t", b"text")])), ("x", b"1")]))),
              ("last.xml", XML)])


def output(*command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, check=True, timeout=TIMEOUT, env=UTF8, **options)
    return done.stdout


UTF8 = dict(ENVIRONMENT, LC_ALL="C.UTF-8")


class Formats(InFolder):
    def test_each_format_is_listed_and_extracted_as_bsdtar_does(self):
        for name, data in FILES.items():
            self.write("in/" + name, data)
        os.symlink("b.xml", os.path.join(self.folder, "in/dir/link"))
        os.chmod(self.new_folder("in/dir/closed"), 0o500)
        make_old(self.folder + "/in")
        for extension, (form, filters) in FORMATS.items():
            with self.subTest(extension):
                names = ["a.txt", "dir"]
                archive = bsdtar(self.folder + "/a." + extension, form, filters, self.folder + "/in", names)
                listed = run("ls", archive)
                self.assertEqual((0, ""), (listed.status, listed.err))
                self.assertEqual(output("bsdtar", "-tf", archive), listed.out)
                with open(archive, "rb") as file:
                    self.assertEqual(listed.out, run("ls", "-", stdin=file).out)
                ours, theirs = self.new_folder("ours-" + extension), self.new_folder("theirs-" + extension)
                output("bsdtar", "-xf", archive, "-C", theirs)
                result = run("extract", "-C", ours, archive)
                self.assertEqual((0, ""), (result.status, result.err))
                self.assertEqual(tree_of(theirs), tree_of(ours))
                figures = stats(archive)
                self.assertEqual((1, 1, 4), (figures["archives"], figures["documents"], figures["elements"]))

    def test_hard_links_share_their_content_wherever_the_archive_keeps_it(self):
        names = ["1.xml", "2.xml", "3.xml"]
        first = self.write("in/1.xml", XML)
        for name in names[1:]:
            os.link(first, os.path.join(self.folder, "in", name))
        for form in ["newc", "odc", "pax"]:
            with self.subTest(form):
                archive = bsdtar(self.folder + "/" + form, form, [], self.folder + "/in", names)
                target = self.new_folder("out-" + form)
                result = run("extract", "-C", target, archive)
                self.assertEqual((0, ""), (result.status, result.err))
                self.assertEqual({name.encode(): XML for name in names},
                                 {name: item[2] for name, item in tree_of(target).items()})
                for number, (pattern, chosen) in enumerate([("1*", [b"1.xml"]), ("2*", [b"2.xml"]), ("3*", [b"3.xml"]),
                                                            ("[12]*", [b"1.xml", b"2.xml"]), ("[23]*", [b"2.xml", b"3.xml"])]):
                    target = self.new_folder(form + str(number))
                    result = run("extract", "-C", target, "--member", pattern, archive)
                    if form == "pax" and b"1.xml" not in chosen:  # which has the content only with the first name
                        self.assertEqual((1, len(chosen), {}), (result.status, result.err.count("was not extracted"), tree_of(target)))
                    else:
                        self.assertEqual((0, ""), (result.status, result.err))
                        self.assertEqual(dict.fromkeys(chosen, XML), {name: item[2] for name, item in tree_of(target).items()})

    def test_archives_that_are_read_back_and_forth_within_others(self):
        self.write("in/b.xml", XML)
        for form in ["7zip", "xar"]:
            with open(bsdtar(self.folder + "/" + form, form, [], self.folder + "/in", ["b.xml"]), "rb") as inner:
                result = run("text", "-", data=tar([("i", inner.read())]))
            self.assertEqual((0, ""), (result.status, result.err))
            self.assertEqual(run("text", "-", data=XML).out, result.out)

    def test_the_tables_of_a_static_library_are_no_members(self):
        def entry(name, data):
            return f"{name:16}{0:<12}{0:<6}{0:<6}{644:<8}{len(data):<10}`\n".encode() + data + b"\n" * (len(data) % 2)
        library = b"!<arch>\n" + entry("/", bytes(4)) + entry("//", b"a_rather_long_name.o/\n") + entry("/0", b"1") + entry("b.o/", b"2")
        tables = b"!<arch>\n" + entry("/", b"") * 100_000
        self.assertEqual((0, b"a.a\n"), (run("ls", "-", data=tar([("a.a", tables)])).status, run("ls", "-", data=tar([("a.a", tables)])).out))
        result = run("extract", "-C", self.folder, "-", data=library)
        self.assertEqual((0, ""), (result.status, result.err))
        self.assertEqual({b"a_rather_long_name.o": b"1", b"b.o": b"2"}, {name: item[2] for name, item in tree_of(self.folder).items()})

    def test_a_package_of_rpm_is_an_archive_behind_headers(self):
        header = b"\x8e\xad\xe8\x01" + bytes(4) + (1).to_bytes(4, "big") + (5).to_bytes(4, "big") + bytes(16) + b"store"
        self.write("in/b.xml", XML)
        with open(bsdtar(self.folder + "/cpio", "newc", [], self.folder + "/in", ["b.xml"]), "rb") as file:
            content = file.read()
        for program in ["gzip", "xz", "zstd"]:
            package = b"\xed\xab\xee\xdb\3\0" + bytes(90) + header + bytes(-len(header) % 8) + header + packed(program, content)
            self.assertEqual(b"p.rpm\np.rpm/b.xml\n", run("ls", "-", data=tar([("p.rpm", package)])).out)
            self.assertEqual(2, stats("-", data=tar([("p.rpm", package)]))["archives"])
            self.assertEqual(1, run("stats", "-", data=package[:-20]).status)

    def test_compressed_xml_is_xml_and_other_compressed_files_are_files(self):
        for program in ["gzip", "xz", "zstd", "bzip2"]:
            with self.subTest(program):
                data = packed(program, XML)
                self.assertEqual(canonical(XML), canonical(run("xml", "-", data=data).out))
                archive = tar([("m.xml.z", data), ("t.z", packed(program, b"text" * 1000)), ("last", b"")])
                kinds = [json.loads(line)["kind"] for line in run("ls", "--json", "-", data=archive).out.splitlines()]
                self.assertEqual(["tree", "file", "file"], kinds)
                folder = self.new_folder(program)
                self.assertEqual(0, run("extract", "-C", folder, "-", data=archive).status)
                with open(folder + "/t.z", "rb") as file:
                    self.assertEqual(packed(program, b"text" * 1000), file.read())
                with open(folder + "/m.xml.z", "rb") as file:
                    self.assertEqual(data, file.read())


class Packages(InFolder):
    def package(self):
        """A Debian package of files of this system, made by dpkg-deb."""
        root = self.folder + "/root"
        self.write("root/DEBIAN/control", b"Package: p\nVersion: 1\nArchitecture: all\nMaintainer: m <m@m>\nDescription: d\n")
        output("sh", "-c", 'cp -a /usr/share/doc/libc6 /usr/share/doc/xz-utils "$0" 2>/dev/null || true', self.folder)
        os.makedirs(root + "/usr/share")
        for name in os.listdir(self.folder):
            if name != "root":
                os.rename(os.path.join(self.folder, name), os.path.join(root, "usr/share", name))
        self.write("root/usr/lib/a%b ä.xml", XML)
        output("dpkg-deb", "--root-owner-group", "-b", root, self.folder + "/p.deb")
        return self.folder + "/p.deb"

    def test_a_debian_package_is_listed_and_extracted_as_dpkg_deb_does(self):
        package = self.package()
        prefix = b"data.tar.xz/"
        lines = run("ls", package).out.splitlines()
        ours = [line[len(prefix):] for line in lines if line.startswith(prefix)]
        fields = [line.split(None, 5) for line in output("dpkg-deb", "-c", package).splitlines()]
        self.assertEqual([field[5].split(b" -> ")[0] for field in fields], [name.replace(b"\\", b"\\") for name in ours])
        self.assertEqual([field[0] for field in fields], [
            json.loads(line)["mode"].encode() for line in run("ls", "--json", package).out.splitlines()
            if json.loads(line)["path"].startswith("data.tar.xz/")])
        mine, theirs = self.new_folder("mine"), self.new_folder("theirs")
        output("dpkg-deb", "-x", package, theirs)
        result = run("extract", "-C", mine, "--member", "data.tar.xz/*", package)
        self.assertEqual((0, ""), (result.status, result.err))
        self.assertEqual(tree_of(theirs), tree_of(mine + "/data.tar.xz"))

    def test_a_zip_file_is_extracted_as_unzip_does(self):
        for name, data in FILES.items():
            self.write("in/" + name, data)
        make_old(self.folder + "/in")
        output("zip", "-qr", self.folder + "/a.zip", ".", cwd=self.folder + "/in")
        mine, theirs = self.new_folder("mine"), self.new_folder("theirs")
        output("unzip", "-q", self.folder + "/a.zip", "-d", theirs)
        self.assertEqual(0, run("extract", "-C", mine, self.folder + "/a.zip").status)
        self.assertEqual(tree_of(theirs), tree_of(mine))
        self.assertEqual(sorted(output("unzip", "-Z1", self.folder + "/a.zip").splitlines()),
                         sorted(run("ls", self.folder + "/a.zip").out.splitlines()))


class Nested(InFolder):
    def test_listing_and_reading_through_three_levels(self):
        self.assertEqual(b"mid.tar.gz\nmid.tar.gz/in.zip\nmid.tar.gz/in.zip/b.xml\nmid.tar.gz/in.zip/t\nmid.tar.gz/x\n"
                         b"last.xml\n", run("ls", "-", data=NESTED).out)
        self.assertEqual(b"mid.tar.gz\n  in.zip\n    b.xml\n    t\n  x\nlast.xml\n", run("ls", "--tree", "-", data=NESTED).out)
        inner = run("xml", "--member", "mid.tar.gz/in.zip/b.xml", "-", data=NESTED)
        self.assertEqual((0, canonical(XML)), (inner.status, canonical(inner.out)))
        text = "x & äx & ä\n".encode()
        self.assertEqual(text, run("text", "--member", "last.xml", "-", data=NESTED).out)
        self.assertEqual(text * 2, run("text", "-", data=NESTED).out)

    def test_listings_do_not_depend_on_the_chunk_size(self):
        for chunk_bytes in ["1", "300", "1000000"]:
            self.assertEqual(run("ls", "-", data=NESTED).out, run("ls", "--chunk-bytes", chunk_bytes, "-", data=NESTED).out)

    # Members whose kind shows at once, late in their beginning, only in all of a tar header, or never.
    KINDS = {"declared": (XML, "tree"), "blank.xml": (b" " * 300 + b"<r/>", "tree"), "blank": (b" " * 300 + b"<r/>", "file"),
             "blanker.xml": (b" " * 600 + b"<r/>", "file"), "r.xml": (b"no markup", "file"), "short": (b"P", "file"),
             "zip": (make_zip([("x", b"1")]), "forest"), "tar": (tar([("x", b"1")], tarfile.GNU_FORMAT), "forest"),
             "packed": (packed("gzip", tar([("x", b"1")])), "forest"), "digits": (b"7" * 1000, "file"), "empty": (b"", "file"),
             "none.tar": (bytes(1024), "forest"), "zeros": (bytes(1024), "file"), "none.tar.gz": (packed("gzip", bytes(1024)), "forest"),
             "words": (b"some words in lines\n" * 1000, "file"), "random": (bytes(range(256)) * 40, "file")}

    def test_kinds_do_not_depend_on_how_the_archive_is_read(self):
        members = [(name, content) for name, (content, _) in self.KINDS.items()]
        for data in [tar(members), make_zip(members), make_zip(members[::-1])]:
            for path, kind_of in [("-", ""), (self.write("a", data), ""), (self.write("n", tar([("n", data)])), "n/")]:
                found = [json.loads(line) for line in run("ls", "--json", path, data=data if path == "-" else None).out.splitlines()]
                kinds = {member["path"][len(kind_of):]: member["kind"] for member in found if member["path"] != "n"}
                self.assertEqual({name: kind for name, (_, kind) in self.KINDS.items()},
                                 {name: kind for name, kind in kinds.items() if "/" not in name})
                self.assertEqual([member["path"] for member in found],
                                 run("ls", path, data=data if path == "-" else None).out.decode().splitlines())

    def test_details(self):
        entry = tar_entry("dir/link", type=b"2", linkname="t\nx", mtime=0, mode=0o777)
        data = tar([("dir/a.xml", XML), (entry, None), (tar_entry("s", mode=0o4755, mtime=1), b"")])
        self.assertEqual([b"tree   -rw-r--r-- %12d 2020-09-13T12:26:40Z dir/a.xml" % len(XML),
                          b"file   lrwxrwxrwx            0 1970-01-01T00:00:00Z dir/link -> t\\nx",
                          b"file   -rwsr-xr-x            0 1970-01-01T00:00:01Z s"],
                         run("ls", "--long", "-", data=data).out.splitlines())
        self.assertEqual({"kind": "file", "path": "dir/link", "size": 0, "time": "1970-01-01T00:00:00Z",
                          "mode": "lrwxrwxrwx", "link": "t\\nx"},
                         json.loads(run("ls", "--json", "-", data=data).out.splitlines()[1]))

    def test_an_input_that_is_no_archive_is_its_only_member(self):
        path, target = self.write("a.dat", b"data"), self.new_folder("target")
        os.chmod(path, 0o640)
        os.utime(path, (0, 1500000000))
        self.assertEqual(b"file   -rw-r-----            4 2017-07-14T02:40:00Z a.dat\n", run("ls", "--long", path).out)
        self.assertEqual(0, run("extract", "-C", target, path).status)
        self.assertEqual({b"a.dat": (0o100640, 1500000000, b"data")}, tree_of(target))

    def test_nested_archives_are_extracted_as_folders_or_kept(self):
        unpacked, kept = self.new_folder("unpacked"), self.new_folder("kept")
        self.assertEqual(0, run("extract", "-C", unpacked, "-", data=NESTED).status)
        self.assertEqual({b"last.xml", b"mid.tar.gz", b"mid.tar.gz/in.zip", b"mid.tar.gz/x", b"mid.tar.gz/in.zip/b.xml",
                          b"mid.tar.gz/in.zip/t"}, set(tree_of(unpacked)))
        self.assertEqual(XML, tree_of(unpacked)[b"mid.tar.gz/in.zip/b.xml"][2])
        self.assertEqual(0, run("extract", "-C", kept, "--keep-archives", "-", data=NESTED).status)
        self.assertEqual({b"last.xml", b"mid.tar.gz"}, set(tree_of(kept)))
        self.assertTrue(tree_of(kept)[b"mid.tar.gz"][2].startswith(b"\x1f\x8b"))

    def test_a_pattern_chooses_members_and_what_is_in_them(self):
        inside = {b"mid.tar.gz/in.zip", b"mid.tar.gz/in.zip/b.xml", b"mid.tar.gz/in.zip/t"}
        for pattern, members in {"mid.tar.gz/in.zip": inside, "mid.tar.gz/in.zip/": inside, "*/in.???": inside, "*.xml": {b"last.xml"} | inside - {b"mid.tar.gz/in.zip/t"},
                                 "mid.tar.gz": inside | {b"mid.tar.gz/x"}, "mid.tar.gz/[!i]": {b"mid.tar.gz/x"}, "in.zip": set()}.items():
            with self.subTest(pattern):
                folder = tempfile.mkdtemp(dir=self.folder)
                result = run("extract", "-C", folder, "--member", pattern, "-", data=NESTED)
                self.assertEqual((0, "") if members else (1, "arbtree: <stdin>: no member matches in.zip\n"), (result.status, result.err))
                self.assertEqual(members, set(tree_of(folder)) - {b"mid.tar.gz"})

    def test_folders_have_the_times_of_their_last_entry_or_of_their_archive(self):
        inner = tar([("in", b""), (tar_entry("in2/", type=b"5", mtime=5, mode=0o755), None)])
        folder = (tar_entry("d/", type=b"5", mtime=3, mode=0o700), None)
        data = tar([folder, (tar_entry("n.tar", mtime=4), inner), (tar_entry("d/e/", type=b"5", mtime=6, mode=0o555), None),
                    ("d/e/f", b"1"), (tar_entry("d/", type=b"5", mtime=7, mode=0o511), None), (tar_entry("d/l", type=b"2", linkname="e/f", mtime=8), None)])
        target = self.new_folder("target")
        self.assertEqual(0, run("extract", "-C", target, "-", data=data).status)
        found = {name: (mode & 0o777, time) for name, (mode, time, _) in tree_of(target).items() if mode & 0o40000}
        self.assertEqual({b"n.tar": (0o755, 4), b"n.tar/in2": (0o755, 5), b"d/e": (0o555, 6), b"d": (0o511, 7)}, found)
        self.assertEqual(8, tree_of(target)[b"d/l"][1])

    def test_xml_of_an_archive_needs_a_member(self):
        self.assertEqual(2, run("xml", "-", data=NESTED).status)
        for command in ["xml", "text"]:
            result = run(command, "--member", "no/such", "-", data=NESTED)
            self.assertEqual((1, b""), (result.status, result.out))
            self.assertIn("no/such", result.err)


class Names(InFolder):
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
                    lines = run("ls", "-", data=data).out.decode().splitlines()
                    self.assertEqual(prefix + shown, lines[-1])
                    if b"\\" in data_name:
                        continue
                    folder = tempfile.mkdtemp(dir=self.folder)
                    self.assertEqual(0, run("extract", "-C", folder, "-", data=data).status)
                    path = os.path.join(os.fsencode(folder), prefix.encode(), data_name)
                    with open(path, "rb") as file:
                        self.assertEqual(b"content", file.read())

    # A name and its decomposed form are two; bytes that are no UTF-8 may stand where an archive says that there is UTF-8.
    TWINS = {"caf\u00e9": b"composed", "cafe\u0301": b"decomposed"}

    def test_names_in_utf8_are_kept_to_the_byte(self):
        twins = list(self.TWINS.items())
        damaged = make_zip([("caf\u00e9", b"1"), ("z\u00e9", b"2")]).replace("\u00e9".encode(), b"\xe9\xe8")
        for form, data in [("pax", tar(twins)), ("zip", make_zip(twins)), ("in tar", tar([("z.zip", make_zip(twins))]))]:
            with self.subTest(form):
                folder = tempfile.mkdtemp(dir=self.folder)
                path = self.write(form, data)
                for source, given in [(path, None), ("-", data)]:
                    names = [line.rpartition("/")[2] for line in run("ls", source, data=given).out.decode().splitlines()]
                    self.assertEqual(list(self.TWINS), names[-2:])
                self.assertEqual(0, run("extract", "-C", folder, path).status)
                found = {os.path.basename(name).decode(): what[-1] for name, what in tree_of(folder).items()}
                self.assertEqual(self.TWINS, {name: found[name] for name in self.TWINS})
        self.assertEqual(b"caf\\351\\350\nz\\351\\350\n", run("ls", "-", data=damaged).out)

    def test_members_that_do_not_say_what_they_are_are_files(self):
        for name, data in [("x.xml", XML), ("plain", b"plain")]:
            self.write(name, data)
        subprocess.run(["ar", "rcD", "a.ar", "x.xml", "plain"], cwd=self.folder, check=True)
        archive = self.folder + "/a.ar"
        self.assertEqual(1, stats(archive)["documents"])
        self.assertEqual(0, run("extract", "-C", self.new_folder("out"), archive).status)
        with open(self.folder + "/out/plain", "rb") as file:
            self.assertEqual(b"plain", file.read())


class Searching(InFolder):
    def test_places_of_elements(self):
        first, third = XML.index(b"<e a"), XML.rindex(b"<e a")
        for path in ["mid.tar.gz/in.zip/b.xml", "last.xml"]:
            found = run("find", "--element", "e", "--attribute", "a=1", "-", data=NESTED).out.decode().splitlines()
            self.assertIn(f"{path}:{first}", found)
            self.assertIn(f"{path}:{third}", found)
            self.assertEqual(4, len(found))
        named = b'<r><e/><e xml:id="x"/><e id="x"/><f id="y"/></r>'
        for identifier, place in {"x": "stdin:7\n", "y": "", "z": ""}.items():
            self.assertEqual(place, run("find", "--element", "e", "--id", identifier, "-", data=named).out.decode())
        limited = run("find", "--element", "e", "--limit", "01", "--json", "-", data=NESTED).out
        self.assertEqual({"path": "mid.tar.gz/in.zip/b.xml", "offset": first}, json.loads(limited))
        self.assertEqual((0, b""), (run("find", "--element", "none", "-", data=NESTED).status,
                                    run("find", "--element", "e", "--attribute", "a=3", "-", data=NESTED).out))

    def test_what_comes_from_an_entity_is_where_the_reference_is(self):
        document = b"<!DOCTYPE r [<!ENTITY i '<e/>text<e/>'><!ENTITY o '<e/>&i;<e/>&i;'>]><r><e/>&i;<e/> &o;<e/></r>"
        at = document.index(b"<r>") + 3
        places = [at] + [at + 4] * 2 + [at + 7] + [at + 12] * 6 + [at + 15]
        for chunk_bytes in ["1", "32768"]:
            found = run("find", "--element", "e", "--chunk-bytes", chunk_bytes, "-", data=document).out
            self.assertEqual([b"stdin:%d" % place for place in places], found.splitlines())

    def test_a_limit_is_a_decimal_number(self):
        result = run("find", "--element", "e", "--limit", "010", "-", data=b"<r>" + b"<e/>" * 20 + b"</r>")
        self.assertEqual((0, 10), (result.status, result.out.count(b"\n")))

    def test_a_limit_ends_reading(self):
        # The input stays open and never ends; only what is found can end the work.
        with subprocess.Popen([os.environ["ARBTREE_TOOL"], "find", "--element", "e", "--limit", "2", "-"], bufsize=0,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, env=ENVIRONMENT) as tool:
            tool.stdin.write(b"<r><e/>" + b" " * 20000 + b"<e/>" + b"<x>y</x>" * 1000)
            self.assertEqual(0, tool.wait(TIMEOUT))
            self.assertEqual(b"stdin:3\nstdin:20007\n", tool.stdout.read())

    def test_equal_elements_are_reported_once_with_their_places(self):
        document = b"<r><e><f a='1'/>t</e><e><f a='2'/>t</e><e><f a='1'/>t</e><e>t<f a='1'/></e><g><e><f a='1'/>t</e></g></r>"
        starts = [at for at in range(len(document)) if document.startswith(b"<e>", at)]
        for chunk_bytes in ["1", "32768"]:
            result = run("dups", "--element", "e", "--chunk-bytes", chunk_bytes, "-",
                         data=tar([("1.xml", document), ("2.xml", b"<q><e>only here</e></q>"), ("3.xml", document)]))
            expected = [f"{number} {path}:{starts[at]}" for number, members in [(1, [0, 2, 4]), (2, [1]), (3, [3])]
                        for path in ["1.xml", "3.xml"] for at in members]
            self.assertEqual(expected, result.out.decode().splitlines())
        self.assertEqual(b"", run("dups", "--element", "g", "-", data=document).out)
        sets = run("dups", "--element", "e", "--json", "-", data=document).out.decode().splitlines()
        self.assertEqual([[{"path": "stdin", "offset": starts[at]} for at in [0, 2, 4]]], [json.loads(line) for line in sets])

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
                document += b"<" + name + chance.choice([b"", b"", b' a="1"']) + b">"
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
                found = run("dups", "--element", "e", "--json", "--chunk-bytes", chunk_bytes, "-", data=document).out
                with self.subTest(seed=seed, chunk_bytes=chunk_bytes):
                    self.assertEqual(expected, [json.loads(line) for line in found.splitlines()])


if __name__ == "__main__":
    unittest.main(verbosity=2)
