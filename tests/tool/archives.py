"""Archives within archives: what the commands show and write, compared with bsdtar and dpkg-deb, whole and damaged."""
import concurrent.futures
import filecmp
import gzip
import io
import json
import os
import pathlib
import signal
import subprocess
import tarfile
import tempfile
import time
import unittest
import zipfile

from support.tool import ENVIRONMENT, TOOL, run, stats

FORMATS = {  # bsdtar's options for each kind of archive
    "tar": ["--format", "ustar"], "tar.gz": ["-z"], "tar.bz2": ["-j"], "tar.xz": ["-J"], "tar.zst": ["--zstd"],
    "pax": ["--format", "pax"], "zip": ["--format", "zip"], "cpio": ["--format", "newc"], "7z": ["--format", "7zip"],
}
XML = '<?xml version="1.0"?><r xmlns:p="u"><a k="1" id="one">Grüße</a><a k="2">x</a><a k="1" id="one">Grüße</a></r>'


def listing(folder):
    """Every path below a folder, with its type, mode, content or link, and for files the time."""
    found = {}
    for path in sorted(pathlib.Path(os.fsencode(folder).decode("utf-8", "surrogateescape")).rglob("*")):
        status = path.lstat()
        name = os.fsencode(path.relative_to(folder))
        if path.is_symlink():
            found[name] = os.readlink(os.fsencode(path))
        elif path.is_dir():
            found[name] = (status.st_mode & 0o777, None)
        else:
            found[name] = (status.st_mode & 0o777, int(status.st_mtime), path.read_bytes())
    return found


class Folder(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)

    def sample(self):
        """A folder with XML, text, bytes, an empty file, directories and a link."""
        top = self.folder / "sample"
        (top / "deep/er").mkdir(parents=True)
        (top / "a.xml").write_text(XML)
        (top / "deep/words.txt").write_text("words\n" * 1000)
        (top / "deep/er/bytes").write_bytes(os.urandom(300_000))
        (top / "empty").touch()
        (top / "link").symlink_to("deep/words.txt")
        (top / "deep/words.txt").chmod(0o640)
        os.utime(top / "a.xml", (1_000_000_000, 1_000_000_000))
        return top

    def pack(self, name, top, *options):
        archive = self.folder / name
        subprocess.run(["bsdtar", "-c", *options, "-f", archive, "-C", top, *sorted(os.listdir(top))], check=True)
        return archive

    def unpack(self, archive, *options):
        out = self.folder / ("out-" + archive.name + "".join(options))
        result = run("extract", archive, "-C", out, *options)
        return result, out


class Formats(Folder):
    def test_each_format_is_listed_and_extracted_as_bsdtar_does(self):
        top = self.sample()
        for name, options in FORMATS.items():
            with self.subTest(name):
                archive = self.pack("sample." + name, top, *options)
                told = subprocess.run(["bsdtar", "-tf", archive], check=True, capture_output=True).stdout
                self.assertEqual(told, run("ls", archive).out)
                theirs = self.folder / ("theirs-" + name)
                theirs.mkdir()
                subprocess.run(["bsdtar", "-xpf", archive, "-C", theirs], check=True)
                result, ours = self.unpack(archive)
                self.assertEqual((0, ""), (result.status, result.err))
                self.assertEqual(listing(theirs), listing(ours))

    def test_what_needs_no_seeking_can_come_through_a_pipe(self):
        top = self.sample()
        for name in ["tar.gz", "zip", "cpio"]:
            archive = self.pack("sample." + name, top, *FORMATS[name])
            self.assertEqual(run("ls", archive).out, run("ls", "-", data=archive.read_bytes()).out)

    def test_archives_in_archives(self):
        top = self.sample()
        for depth, name in enumerate(["tar.xz", "zip", "cpio"]):
            inner = self.pack(f"level{depth}.{name}", top, *FORMATS[name])
            top = self.folder / f"top{depth}"
            top.mkdir()
            inner.rename(top / inner.name)
        outer = self.pack("outer.tar", top)
        path = "level2.cpio/level1.zip/level0.tar.xz/"
        paths = run("ls", outer).out.decode().split()
        self.assertEqual(["level2.cpio", "level2.cpio/level1.zip", path[:-1]], paths[:3])
        self.assertIn(path + "deep/er/bytes", paths)
        self.assertEqual(XML.count("<a "), run("find", outer, "--element", "a").out.count(b"\n"))
        self.assertEqual("Grüßexx"[:-1] + "Grüße\n", run("text", outer, "--member", path + "a.xml").out.decode())
        self.assertEqual(run("xml", self.folder / "sample/a.xml").out, run("xml", outer, "--member", path + "a.xml").out)
        self.assertEqual((1, 3, 4), tuple(stats(outer)[key] for key in ["xmlDocuments", "archives", "elements"]))
        result, out = self.unpack(outer)
        self.assertEqual(0, result.status)
        self.assertTrue(filecmp.cmp(self.folder / "sample/deep/er/bytes", out / path / "deep/er/bytes", shallow=False))
        result, out = self.unpack(outer, "--keep-archives")
        self.assertTrue((out / "level2.cpio").is_file())

    def test_a_debian_package(self):
        root = self.folder / "root"
        (root / "DEBIAN").mkdir(parents=True)
        (root / "DEBIAN/control").write_text("Package: p\nVersion: 1\nArchitecture: all\nMaintainer: m <m@n>\n"
                                             "Description: d\n")
        self.sample().rename(root / "usr")
        package = self.folder / "p.deb"
        subprocess.run(["dpkg-deb", "--root-owner-group", "-b", root, package], check=True, capture_output=True)
        theirs = self.folder / "theirs"
        subprocess.run(["dpkg-deb", "-x", package, theirs], check=True)
        result, out = self.unpack(package)
        self.assertEqual((0, ""), (result.status, result.err))
        self.assertEqual(listing(theirs), listing(next(out.glob("data.tar*"))))

    def test_a_compressed_file_is_no_archive(self):
        packed = gzip.compress(XML.encode())
        (self.folder / "a.xml.gz").write_bytes(packed)
        self.assertEqual(b"a.xml\n", run("ls", self.folder / "a.xml.gz").out)
        self.assertEqual(XML.count("<a "), run("find", "-", "--element", "a", data=packed).out.count(b"\n"))


class Searches(Folder):
    def test_find_and_dups(self):
        (self.folder / "a.xml").write_text(XML)
        places = [XML.encode().index(b"<a"), XML.encode().index(b'<a k="2"'), XML.encode().rindex(b"<a")]
        cases = {("--element", "a"): places, ("--element", "a", "--attribute", "k=1"): [places[0], places[2]],
                 ("--id", "one"): [places[0]], ("--element", "a", "--limit", "1"): [places[0]], ("--element", "b"): []}
        for options, offsets in cases.items():
            with self.subTest(options):
                told = run("find", self.folder / "a.xml", *options).out.decode()
                self.assertEqual("".join(f"a.xml:{offset}\n" for offset in offsets), told)
        self.assertEqual(f"2 equal: a.xml:{places[0]} a.xml:{places[2]}\n",
                         run("dups", self.folder / "a.xml", "--element", "a").out.decode())

    def test_a_limit_ends_the_reading(self):
        tool = subprocess.Popen([TOOL, "find", "-", "--element", "a", "--limit", "1"], stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, env=ENVIRONMENT)
        with self.assertRaises(BrokenPipeError):  # the writer would go on for ever
            tool.stdin.write(b"<r><a/>")
            while True:
                tool.stdin.write(b"<b/>" * 10000)
        self.assertEqual(b"stdin:3\n", tool.stdout.read())
        tool.stdout.close()
        self.assertEqual(0, tool.wait())


class Escapes(Folder):
    REFUSED = {  # by the name that is shown
        "../up": {}, "/absolute": {}, "C:/drive": {}, "a\\x5cb": {"name": "a\\b"}, "a/../../up": {},
        "out": {"type": tarfile.SYMTYPE, "linkname": "../.."}, "away": {"type": tarfile.SYMTYPE, "linkname": "/tmp"},
        "hard": {"type": tarfile.LNKTYPE, "linkname": "../secret"}, "device": {"type": tarfile.CHRTYPE},
        "pipe": {"type": tarfile.FIFOTYPE}, "n" * 300: {},
    }

    def test_nothing_gets_out(self):
        (self.folder / "secret").write_text("secret")
        archive = self.folder / "bad.tar"
        with tarfile.open(archive, "w", format=tarfile.PAX_FORMAT) as tar:
            for shown, fields in {"first": {}, **self.REFUSED, "s/uid": {"mode": 0o6755}, "last": {}}.items():
                info = tarfile.TarInfo(fields.get("name", shown))
                for field, value in fields.items():
                    setattr(info, field, value)
                info.size = 4 if info.type == tarfile.REGTYPE else 0
                tar.addfile(info, io.BytesIO(b"data"))
        result, out = self.unpack(archive)
        self.assertEqual(1, result.status)
        lines = result.err.splitlines()
        for shown in self.REFUSED:
            self.assertEqual(1, sum(line.startswith(f"arbtree: {archive}: {shown}: ") for line in lines), shown)
        self.assertEqual(len(self.REFUSED), len(lines))
        self.assertEqual({b"first", b"s", b"s/uid", b"last"}, set(listing(out)))
        self.assertEqual(0o755, (out / "s/uid").stat().st_mode & 0o7777)
        self.assertEqual({"secret", "bad.tar", out.name}, set(os.listdir(self.folder)))

    def test_no_file_goes_through_a_link(self):
        outside = self.folder / "outside"
        outside.mkdir()
        archive = self.folder / "link.tar"
        with tarfile.open(archive, "w") as tar:
            for name, kind, target in [("in", tarfile.SYMTYPE, "sub"), ("in/file", tarfile.REGTYPE, ""),
                                       ("d", tarfile.SYMTYPE, "../outside"), ("d/file", tarfile.REGTYPE, "")]:
                info = tarfile.TarInfo(name)
                info.type, info.linkname = kind, target
                tar.addfile(info, io.BytesIO())
        result, out = self.unpack(archive)
        self.assertEqual(1, result.status)
        self.assertEqual([], os.listdir(outside))
        (out / "e").symlink_to(outside)  # one that was there before
        with tarfile.open(archive, "w") as tar:
            tar.addfile(tarfile.TarInfo("e/file"), io.BytesIO())
        result, out = self.unpack(archive)
        self.assertEqual((1, []), (result.status, os.listdir(outside)))

    def test_names_are_kept_exactly_and_shown_on_one_line(self):
        names = {b"caf\xe9": "caf\\xe9", b"new\nline": "new\\x0aline", b"100%": "100\\x25", "ü".encode(): "ü"}
        archive = self.folder / "names.tar"
        with tarfile.open(archive, "w", encoding="utf-8", errors="surrogateescape") as tar:
            for name in names:
                tar.addfile(tarfile.TarInfo(name.decode("utf-8", "surrogateescape")), io.BytesIO())
        self.assertEqual("".join(shown + "\n" for shown in names.values()), run("ls", archive).out.decode())
        objects = [json.loads(line) for line in run("ls", "--json", archive).out.splitlines()]
        self.assertEqual(list(names.values()), [entry["path"] for entry in objects])
        _, out = self.unpack(archive)
        self.assertEqual(set(names), set(os.listdir(os.fsencode(out))))

    def test_folded_names(self):
        archive = self.folder / "fold.tar"
        with tarfile.open(archive, "w", format=tarfile.GNU_FORMAT) as packed:
            for name in ["Name", "nAME", "\u00e9", "e\u0301", "other"]:
                packed.addfile(tarfile.TarInfo(name), io.BytesIO())
        result, out = self.unpack(archive, "--fold-names")
        self.assertEqual((1, 3), (result.status, len(os.listdir(out))))
        self.assertEqual(2, result.err.count("\n"))

    def test_an_interrupt_leaves_nothing_half_written(self):
        for number in [signal.SIGINT, signal.SIGTERM]:
            out = self.folder / f"out{number}"
            tool = subprocess.Popen([TOOL, "extract", "-", "-C", out], stdin=subprocess.PIPE, stderr=subprocess.PIPE,
                                    env=ENVIRONMENT)
            info = tarfile.TarInfo("large")
            info.size = 1 << 30
            tool.stdin.write(info.tobuf() + bytes(1 << 20))
            tool.stdin.flush()
            for _ in range(1000):
                if out.exists() and os.listdir(out):
                    break
                time.sleep(0.01)
            self.assertEqual(1, len(os.listdir(out)))
            tool.send_signal(number)
            self.assertEqual(130, tool.wait(60))
            self.assertEqual([], os.listdir(out))
            tool.stdin.close()
            tool.stderr.close()


class Limits(Folder):
    def nested(self, depth):
        data = XML.encode()
        for level in range(depth):
            packed = io.BytesIO()
            with zipfile.ZipFile(packed, "w") as archive:
                archive.writestr("a.xml" if level == 0 else "in.zip", data)
            data = packed.getvalue()
        return data

    def test_each_limit_has_its_message_and_status_3(self):
        many = io.BytesIO()
        with zipfile.ZipFile(many, "w", zipfile.ZIP_DEFLATED) as archive:
            for i in range(20):
                archive.writestr(f"m{i}.xml", "<a>" + "x" * 20_000_000 + "</a>" if i == 19 else "<a/>")
        cases = {"--max-nesting": (5, self.nested(7)), "--max-members": (10, many.getvalue()),
                 "--max-bytes": (1_000_000, many.getvalue()), "--max-depth": (1, b"<a><b/></a>")}
        for option, (limit, data) in cases.items():
            with self.subTest(option):
                result = run("stats", "--json", option, str(limit), "-", data=data)
                self.assertEqual(3, result.status)
                self.assertIn(option, result.err)
                self.assertFalse(json.loads(result.out)["complete"])
        bomb = gzip.compress(b"<a>" + b"x" * 100_000_000 + b"</a>")
        result = run("text", "--max-ratio", "100", "-", data=bomb)
        self.assertEqual(3, result.status)
        self.assertIn("--max-ratio", result.err)
        self.assertGreater(len(result.out), 60_000_000)


class Damage(Folder):
    def test_a_cut_archive_never_passes_for_a_whole_one(self):
        top = self.sample()
        # What follows the last member is no loss: a zip's directory is not needed to read it, nor a tar's end.
        for name, cuts, tail in [("tar.gz", 250, 0), ("zip", 250, 0), ("tar.xz", 150, 0)]:
            whole = self.pack("cut." + name, top, *FORMATS[name]).read_bytes()
            points = sorted({1 + i * (len(whole) - tail - 2) // cuts for i in range(cuts)})

            def status(length, whole=whole):
                return run("stats", "-", data=whole[:length]).status

            with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
                passed = [length for length, code in zip(points, pool.map(status, points)) if code == 0]
            self.assertEqual([], passed, name)

    def test_an_encrypted_member_is_named_and_the_others_are_read(self):
        top = self.folder / "top"
        top.mkdir()
        (top / "a.xml").write_text(XML)
        archive = self.folder / "enc.zip"
        subprocess.run(["bsdtar", "-c", "--format", "zip", "--options", "zip:encryption=zipcrypt", "--passphrase", "p",
                        "-f", archive, "-C", top, "a.xml"], check=True)
        with zipfile.ZipFile(archive, "a") as packed:
            packed.writestr("plain.txt", "plain")
        result, out = self.unpack(archive)
        self.assertEqual((1, ["plain.txt"]), (result.status, os.listdir(out)))
        self.assertRegex(result.err, r"^arbtree: [^\n]*enc.zip: a.xml: [^\n]+\n\Z")


if __name__ == "__main__":
    unittest.main(verbosity=2)
