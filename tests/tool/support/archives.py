"""Archives that tests make: plain ones of a folder, and ones with members that no tool would make."""
import io
import os
import subprocess
import tarfile
import tempfile
import zipfile

from support.tool import InFolder, run

XML = b'<?xml version="1.0"?>\n<r><e a="1">x &amp; \xc3\xa4</e><e a="2"/><e a="1">x &amp; \xc3\xa4</e></r>\n'


def tar(members, form=tarfile.PAX_FORMAT):
    """A tar archive as bytes. Members: (name, content) or a TarInfo with content."""
    out = io.BytesIO()
    with tarfile.open(fileobj=out, mode="w", format=form, errors="surrogateescape") as archive:
        for member, content in members:
            if not isinstance(member, tarfile.TarInfo):
                member = tarfile.TarInfo(member)
                member.mtime = 1600000000
            member.size = len(content or b"")
            archive.addfile(member, io.BytesIO(content or b""))
    return out.getvalue()


def tar_entry(name, **fields):
    member = tarfile.TarInfo(name)
    for field, value in fields.items():
        setattr(member, field, value)
    return member


def make_zip(members, method=zipfile.ZIP_DEFLATED):
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w", method) as archive:
        for name, content in members:
            archive.writestr(zipfile.ZipInfo(name) if name.endswith("/") else name, content)
    return out.getvalue()


def packed(program, data):
    return subprocess.run([program, "-c"], input=data, stdout=subprocess.PIPE, check=True).stdout


def bsdtar(path, form, filters, folder, names):
    """Makes an archive of files of a folder. (Into a pipe bsdtar pads what it writes, which breaks zstd.)"""
    subprocess.run(["bsdtar", "-cf", path, "--format", form, *filters, "-C", folder, *names], check=True)
    return path


def bsdtar_of(files, form, filters=()):
    """The bytes of an archive that bsdtar makes of files with these contents."""
    with tempfile.TemporaryDirectory() as folder:
        for name, content in files.items():
            with open(os.path.join(folder, name), "wb") as file:
                file.write(content)
        return contents(bsdtar(os.path.join(folder, "archive"), form, filters, folder, files))


def contents(path):
    with open(path, "rb") as file:
        return file.read()


def make_old(folder):
    """Gives all that lies below a folder times of its own, long past."""
    for path, folders, files in os.walk(folder):
        for number, name in enumerate(sorted(folders + files)):
            os.utime(os.path.join(path, name), (0, 1500000000 + number * 100), follow_symlinks=False)


def tree_of(folder):
    """What lies below a folder: path -> kind, mode, time in seconds, and content or target."""
    found = {}
    for path, folders, files in os.walk(os.fsencode(folder)):
        for name in folders + files:
            full = os.path.join(path, name)
            status = os.lstat(full)
            kind = status.st_mode & 0o170000
            read = {0o100000: contents, 0o120000: os.readlink}.get(kind, lambda _: None)
            mode = status.st_mode if kind != 0o120000 else kind
            found[os.path.relpath(full, os.fsencode(folder))] = (mode, status.st_mtime_ns // 10**9, read(full))
    return found


def contents_of(tree):
    """Path -> content of what tree_of() has found."""
    return {name: content for name, (_, _, content) in tree.items()}


class IntoTarget(InFolder):
    def extract(self, *arguments, **options):
        """Extracts into a folder of its own and answers the result and what is there; around it must be nothing."""
        around = tempfile.mkdtemp(dir=self.folder)
        os.mkdir(around + "/target")
        result = run("extract", "-C", around + "/target", *arguments, **options)
        self.assertEqual(["target"], os.listdir(around))
        return result, tree_of(around + "/target")

    def extracted(self, *arguments, **options):
        """What is there after an extraction that has nothing to complain of."""
        result, found = self.extract(*arguments, **options)
        self.assertEqual((0, ""), (result.status, result.err))
        return found
