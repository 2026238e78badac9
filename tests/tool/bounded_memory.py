"""Memory stays flat: over the number of records, the length of a text, the size of attributes; and what does grow, the
depth and the number of different names, has its limit or its bounds. The figures are those that `stats` prints.
"""
import os
import random
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "support"))
from tool import ENVIRONMENT, TIMEOUT, TOOL, run, stats  # noqa: E402

MEBIBYTE = 2**20


def records(count):
    chooser = random.Random(count)
    yield b"<records>\n"
    for i in range(count):
        text = "wörter und 🌲 " * chooser.randrange(1, 60)
        yield f'  <record id="r{i}" kind="k">\n    <title>{text}</title><empty/>\n  </record>\n'.encode()
    yield b"</records>\n"


def long_text(pieces):
    yield b"<r>"
    for _ in range(pieces):
        yield "0123456789äöü🌲 ".encode() * 5000
    yield b"</r>"


def large_attributes(count):
    yield b"<r>"
    for _ in range(count):
        yield b"<e a='" + b"x" * 20000 + b"'/>"
    yield b"</r>"


def comments(count):
    yield b"<r>"
    for _ in range(count):
        yield b"<!--" + b"x" * 20000 + b"-->"
    yield b"</r>"


def siblings(count):
    yield b"<r>"
    for _ in range(count // 1000):
        yield b"<e/>" * 1000
    yield b"</r>"


# Generator, sizes to compare, nodes of the larger one.
SHAPES = {
    "records": (records, 2000, 20000, lambda figures: figures["elements"] == 60001),
    "one text of 50 MB": (long_text, 10, 440, lambda figures: figures["textNodes"] > 2000),
    "large attributes": (large_attributes, 50, 2000, lambda figures: figures["attributes"] == 2000),
    "large comments": (comments, 50, 2000, lambda figures: figures["comments"] == 2000),
    "empty siblings": (siblings, 10000, 500000, lambda figures: figures["elements"] == 500001),
}


class Flat(unittest.TestCase):
    def test_peak_memory_does_not_grow_with_the_document(self):
        for name, (generate, small, large, is_whole) in SHAPES.items():
            with self.subTest(name):
                of_small = stats("-", data=b"".join(generate(small)))
                of_large = stats("-", data=b"".join(generate(large)))
                self.assertTrue(is_whole(of_large), of_large)
                self.assertLess(of_large["peakMemoryBytes"] - of_small["peakMemoryBytes"], MEBIBYTE)

    def test_text_of_any_length_passes_in_pieces_without_a_change(self):
        document = b"".join(long_text(20))
        result = run("xml", "-", data=document)
        self.assertEqual(document, result.out.split(b"\n", 1)[1].rstrip(b"\n"))


class Depth(unittest.TestCase):
    def test_tokens_of_any_length(self):
        long = b"x" * 30_000_000
        for document in [b"<!--" + long + b"--><r/>", b"<r><!--" + long + b"--></r>", b"<r><?p " + long + b"?></r>",
                         b'<r a="' + long + b'"></r>', b"<r" + b" " * len(long) + b"/>"]:
            with self.subTest(document[:8]):
                self.assertEqual((0, 1), (run("stats", "-", data=document).status, stats("-", data=document)["elements"]))

    def test_the_limit_is_exact_and_can_be_set(self):
        for limit, depth, accepted in [(None, 100000, True), (None, 100001, False), (1, 1, True), (1, 2, False),
                                       (300000, 300000, True)]:
            with self.subTest(limit=limit, depth=depth):
                options = [] if limit is None else ["--max-depth", str(limit)]
                result = run("stats", *options, "-", data=b"<a>" * depth + b"</a>" * depth)
                self.assertEqual(0 if accepted else 3, result.status)
                self.assertEqual(not accepted, "(see --max-depth)" in result.err)
                figures = dict(line.rsplit(maxsplit=1) for line in result.out.decode().splitlines())
                self.assertEqual(str(depth if accepted else depth - 1), figures["depth of elements"])

    def test_depth_takes_no_stack(self):
        depth = 200000
        document = b"<a>" * depth + b"x" + b"</a>" * depth
        done = subprocess.run(["sh", "-c", f'ulimit -s 512; "$0" xml --max-depth {depth} -', TOOL], input=document,
                              capture_output=True, timeout=TIMEOUT, env=ENVIRONMENT)
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        self.assertEqual(document, done.stdout.split(b"\n", 1)[1].rstrip(b"\n"))


class Names(unittest.TestCase):
    def test_more_element_names_than_one_namespace_holds(self):
        count = 2**20 + 10
        document = b"<r>" + b"".join(b"<e%x/>" % i for i in range(count)) + b"</r>"
        result = run("xml", "--max-names", "2000000", "-", data=document)
        self.assertEqual((0, ""), (result.status, result.err))
        self.assertEqual(document, result.out.split(b"\n", 1)[1].rstrip(b"\n"))
        self.assertEqual(3, run("xml", "-", data=document).status)

    def test_many_attribute_names_on_one_element(self):
        document = b"<r>" + b"".join(b'<e a%d="1" b="2"/>' % i for i in range(30000)) + b"</r>"
        self.assertEqual(document, run("xml", "-", data=document).out.split(b"\n", 1)[1].rstrip(b"\n"))


class Pieces(unittest.TestCase):
    """The input may come in pieces of any size."""

    DOCUMENT = ('<?xml version="1.0" encoding="{}"?><!-- ä --><r a="ä&lt;🌲"><e>ä日🌲</e><![CDATA[<ü>]]></r>')

    def test_a_byte_at_a_time(self):
        for encoding, bom in [("UTF-8", b""), ("UTF-16LE", b"\xff\xfe"), ("UTF-16BE", b"\xfe\xff"),
                              ("GB18030", b"")]:
            with self.subTest(encoding):
                declared = "UTF-16" if encoding.startswith("UTF-16") else encoding
                data = bom + self.DOCUMENT.format(declared).encode(encoding)
                whole = run("xml", "-", data=data)
                self.assertEqual((0, ""), (whole.status, whole.err))
                tool = subprocess.Popen([TOOL, "xml", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        env=ENVIRONMENT, bufsize=0)
                for i in range(len(data)):
                    tool.stdin.write(data[i:i + 1])
                self.assertEqual(whole.out, tool.communicate(timeout=TIMEOUT)[0])


if __name__ == "__main__":
    unittest.main(verbosity=2)
