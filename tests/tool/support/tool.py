"""What all tests of the tool share: running it, and the canonical form of documents.

ARBTREE_TOOL names the program under test. xmllint (package libxml2-utils) is the judge of canonical forms.
"""
import json
import os
import subprocess
import tempfile
import unittest

TOOL = os.environ["ARBTREE_TOOL"]
TIMEOUT = 240

# Where the tool is built with the address sanitizer: freed memory must not stay in quarantine, as it would look as if
# the tool had kept it. Catalogs would make xmllint load document types that the tool never loads.
ENVIRONMENT = dict(os.environ, ASAN_OPTIONS="quarantine_size_mb=1:thread_local_quarantine_size_kb=64",
                   XML_CATALOG_FILES="", LC_ALL="C")


class Result:
    def __init__(self, done):
        self.status = done.returncode
        self.out = done.stdout
        self.err = done.stderr.decode()


def run(*arguments, data=None, **options):
    """Runs the tool; `data` is its standard input."""
    command = [TOOL] + [os.fspath(argument) for argument in arguments]
    if data is not None:
        options["input"] = data
    elif "stdin" not in options:
        options["stdin"] = subprocess.DEVNULL
    return Result(subprocess.run(command, capture_output=True, timeout=TIMEOUT, env=ENVIRONMENT, **options))


def start(*arguments, **options):
    """The tool at work, with unbuffered pipes to all its streams that the options do not say something else of."""
    pipes = dict.fromkeys(["stdin", "stdout", "stderr"], subprocess.PIPE)
    return subprocess.Popen([TOOL, *arguments], env=ENVIRONMENT, bufsize=0, **{**pipes, **options})


class InFolder(unittest.TestCase):
    """Tests with a folder of their own, removed after each."""

    def setUp(self):
        keeper = tempfile.TemporaryDirectory()
        self.addCleanup(keeper.cleanup)
        self.folder = keeper.name

    def write(self, name, data):
        path = os.path.join(os.fsencode(self.folder), os.fsencode(name))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        return os.fsdecode(path)

    def new_folder(self, name):
        path = os.path.join(self.folder, name)
        os.mkdir(path)
        return path


def output(*arguments, **options):
    """What a run writes that has nothing to complain of."""
    result = run(*arguments, **options)
    assert (result.status, result.err) == (0, ""), (arguments, result.status, result.err)
    return result.out


def stats(*arguments, **options):
    """The figures of `stats --json`."""
    return json.loads(output("stats", "--json", *arguments, **options))


def canonical(document):
    """The canonical form of a document given as bytes, or None when xmllint rejects it."""
    done = subprocess.run(["xmllint", "--nonet", "--c14n", "-"], input=document, capture_output=True, timeout=TIMEOUT,
                          env=ENVIRONMENT)
    return done.stdout if done.returncode == 0 else None

