"""Memory stays flat: over the number of records, the length of a text, the size of attributes; and what does grow, the
depth and the number of different names, has its limit or its bounds. The figures are those that `stats` prints.
"""
import json
import subprocess
import unittest

from support.archives import tar
from support.tool import ENVIRONMENT, TIMEOUT, TOOL, output, run, start, stats

MEBIBYTE = 2**20
DECLARATION = b'<?xml version="1.0" encoding="UTF-8"?>\n'

# Of each shape: what is repeated in the root element, how often in the smaller and the larger document to compare, and a
# figure of the larger one.
SHAPES = {
    "records": ('<record id="r" kind="k">\n  <title>' + "wörter und 🌲 " * 30 + "</title><empty/>\n</record>\n", 2000, 20000,
                "elements", 60001),
    "one text of 50 MB": ("0123456789äöü🌲 " * 5000, 10, 440, "textNodes", 2820),
    "large attributes": ("<e a='" + "x" * 20000 + "'/>", 50, 2000, "attributes", 2000),
    "large comments": ("<!--" + "x" * 20000 + "-->", 50, 2000, "comments", 2000),
    "empty siblings": ("<e/>", 10000, 500000, "elements", 500001),
}


def repeated(piece, count):
    return b"<r>" + piece.encode() * count + b"</r>"


class Flat(unittest.TestCase):
    def test_peak_memory_does_not_grow_with_the_document(self):
        for name, (piece, small, large, figure, expected) in SHAPES.items():
            with self.subTest(name):
                of_small, of_large = (stats("-", data=repeated(piece, count)) for count in [small, large])
                self.assertEqual(expected, of_large[figure])
                self.assertLess(of_large["peakMemoryBytes"] - of_small["peakMemoryBytes"], MEBIBYTE)

    def test_compressed_content_that_stays_empty_is_not_kept(self):
        empty = subprocess.run(["gzip", "-n"], input=b"", stdout=subprocess.PIPE, check=True).stdout
        result = run("stats", "--json", "-", data=tar([("e.gz", empty * 2_000_000)]))
        self.assertEqual((1, True), (result.status, "taken for a file" in result.err))
        self.assertLess(json.loads(result.out)["peakMemoryBytes"], 48 * MEBIBYTE)


class Length(unittest.TestCase):
    def test_content_of_any_length_passes_without_a_change(self):
        attributes = "".join(f'<e a{i}="1" b="2"/>' for i in range(30000))
        for document in [repeated("0123456789äöü🌲 ", 100_000), repeated(attributes, 1)]:
            self.assertEqual(DECLARATION + document + b"\n", output("xml", "-", data=document))

    def test_tokens_of_any_length(self):
        long = b"x" * 30_000_000
        for document in [b"<!--" + long + b"--><r/>", b"<r><!--" + long + b"--></r>", b"<r><?p " + long + b"?></r>",
                         b'<r a="' + long + b'"></r>', b"<r" + b" " * len(long) + b"/>"]:
            with self.subTest(document[:8]):
                self.assertEqual(1, stats("-", data=document)["elements"])


class Depth(unittest.TestCase):
    def test_the_limit_is_exact_and_can_be_set(self):
        for limit, depth, accepted in [(None, 100000, True), (None, 100001, False), (1, 1, True), (1, 2, False),
                                       (300000, 300000, True)]:
            with self.subTest(limit=limit, depth=depth):
                options = [] if limit is None else ["--max-depth", str(limit)]
                result = run("stats", *options, "-", data=b"<a>" * depth + b"</a>" * depth)
                self.assertEqual((0, False) if accepted else (3, True), (result.status, "(see --max-depth)" in result.err))
                self.assertRegex(result.out, rb"depth of elements +%d\n" % (depth if accepted else depth - 1))

    def test_depth_takes_no_stack(self):
        depth = 200000
        document = b"<a>" * depth + b"x" + b"</a>" * depth
        done = subprocess.run(["sh", "-c", f'ulimit -s 512; "$0" xml --max-depth {depth} -', TOOL], input=document,
                              capture_output=True, timeout=TIMEOUT, env=ENVIRONMENT)
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        self.assertEqual(DECLARATION + document + b"\n", done.stdout)


class Names(unittest.TestCase):
    def test_more_element_names_than_one_namespace_holds(self):
        document = repeated("".join(f"<e{i:x}/>" for i in range(2**20 + 10)), 1)
        self.assertEqual(DECLARATION + document + b"\n", output("xml", "--max-names", "2000000", "-", data=document))
        self.assertEqual(3, run("xml", "-", data=document).status)


class Pieces(unittest.TestCase):
    """The input may come in pieces of any size."""

    DOCUMENT = ('<?xml version="1.0" encoding="{}"?><!-- ä --><r a="ä&lt;🌲"><e>ä日🌲</e><![CDATA[<ü>]]></r>')

    def test_a_byte_at_a_time(self):
        for encoding, bom in [("UTF-8", b""), ("UTF-16LE", b"\xff\xfe"), ("UTF-16BE", b"\xfe\xff"), ("GB18030", b"")]:
            with self.subTest(encoding):
                declared = "UTF-16" if encoding.startswith("UTF-16") else encoding
                data = bom + self.DOCUMENT.format(declared).encode(encoding)
                with start("xml", "-") as tool:
                    for byte in data:
                        tool.stdin.write(bytes([byte]))
                    self.assertEqual(output("xml", "-", data=data), tool.communicate(timeout=TIMEOUT)[0])


if __name__ == "__main__":
    unittest.main(verbosity=2)
