"""Inputs and outputs that fail: what came before is delivered, one line says where and why, and the exit status is 1.
"""
import json
import re
import subprocess
import unittest

from support.tool import ENVIRONMENT, TIMEOUT, TOOL, run, start

DECLARATION = b'<?xml version="1.0" encoding="UTF-8"?>\n'

# Input, what `xml` writes before it fails (null: nothing at all), line and column of the message, and a part of the reason.
INPUTS = {
    "empty": (b"", None, "1:1", "empty"),
    "only space": (b" \n\n ", None, "3:2", "without an element"),
    "only a comment": (b"<!-- x -->", b"<!-- x -->\n", "1:11", "without an element"),
    "no XML": (b"hello", None, "1:1", "neither XML nor an archive"),
    "ends in an element": (b"<a><b>hi", b"<a><b>hi</b></a>\n", "1:9", "inside element <b>"),
    "ends in a tag": (b"<a>x<b c='", b"<a>x</a>\n", "1:5", "unclosed token"),
    "ends in a comment": (b"<a>x<!-- y", b"<a>x</a>\n", "1:5", "unclosed token"),
    "wrong end tag": (b"<a>\n<b>x</c></a>", b"<a>\n<b>x</b></a>\n", "2:7", "mismatched tag"),
    "second root": (b"<a/>\n<b/>", b"<a/>\n", "2:1", "junk after document element"),
    "attribute twice": (b"<a><b/><c x='1' x='2'/></a>", b"<a><b/></a>\n", "1:17", "duplicate attribute"),
    "unknown entity": (b"<a>1&x;2</a>", b"<a>1</a>\n", "1:5", "undefined entity"),
    "entity that holds itself": (b'<!DOCTYPE a [<!ENTITY x "1&x;">]><a>&x;</a>', b"<a>1</a>\n", "1:37", "recursive"),
    "control character": (b"<a>x\x01</a>", b"<a>x</a>\n", "1:5", "invalid token"),
    "no UTF-8": (b"<a>x\n\xff</a>", b"<a>x\n</a>\n", "2:1", "invalid token"),
    "UTF-8 of a surrogate": (b"<a>x\xed\xa0\x80</a>", b"<a>x</a>\n", "1:5", "invalid token"),
    "half a pair in UTF-16": ("\ufeff\n<a>x".encode("utf-16-le") + b"\x00\xd8" + "y</a>".encode("utf-16-le"),
                              b"<a>x</a>\n", "2:5", "surrogate"),
    "other half in UTF-16": ("\ufeff\n<a>x".encode("utf-16-be") + b"\xdc\x00" + "y</a>".encode("utf-16-be"),
                             b"<a>x</a>\n", "2:5", "surrogate"),
    "UTF-16 that ends in a unit": ("\ufeff\n<a>x".encode("utf-16-le") + b"y", b"<a>x</a>\n", "2:5", "unclosed token"),
    "declared UTF-16, is not": (b'<?xml version="1.0" encoding="UTF-16"?><a/>', None, "1:31", "encoding"),
    "unknown encoding": (b'<?xml version="1.0" encoding="no-such"?><a/>', None, "1:31", "unknown encoding"),
    "no Shift_JIS": (b'<?xml version="1.0" encoding="Shift_JIS"?><a>x\x81\x00</a>', b"<a>x</a>\n", "1:47", "Shift_JIS"),
    "ends in a character": (b'<?xml version="1.0" encoding="EUC-JP"?><a>x\xc6', b"<a>x</a>\n", "1:44", "EUC-JP"),
    "too deep": (b"<a>" * 100000 + b"x<b>", b"<a>" * 100000 + b"x" + b"</a>" * 100000 + b"\n", "1:300002",
                 "100000 deep (see --max-depth)"),
}


class Inputs(unittest.TestCase):
    def check_message(self, result, place, reason):
        self.assertEqual(3 if "(see --max-" in reason else 1, result.status)
        self.assertRegex(result.err, rf"^arbtree: <stdin>:{place}: .*{re.escape(reason)}.*\n\Z")

    def test_each_failing_input(self):
        for name, (data, delivered, place, reason) in INPUTS.items():
            for chunk_bytes in ["1", "32768"]:
                with self.subTest(name, chunk_bytes=chunk_bytes):
                    result = run("xml", "--chunk-bytes", chunk_bytes, "-", data=data)
                    self.check_message(result, place, reason)
                    self.assertEqual(b"" if delivered is None else DECLARATION + delivered, result.out)

    def test_stats_count_what_came_before(self):
        result = run("stats", "--json", "-", data=b"<a><b/><c>x</c><!-- --><?p?><d>")
        self.check_message(result, "1:32", "inside element <d>")
        self.assertLessEqual({"complete": False, "elements": 4, "textNodes": 1, "comments": 1, "depth": 2,
                              "processingInstructions": 1, "elementNames": 4}.items(), json.loads(result.out).items())

    def test_files_that_cannot_be_read(self):
        for command in [["ls"], ["xml"], ["find", "--element", "e"], ["extract", "-C", "/"]]:
            for path, reason in [("/no/such.xml", "No such file or directory"), ("/usr", "Is a directory")]:
                result = run(*command, path)
                self.assertEqual((1, b"", f"arbtree: {path}: {reason}\n"), (result.status, result.out, result.err))

    def test_the_amplification_of_entities_is_limited(self):
        entities = "".join(f'<!ENTITY e{i + 1} "{f"&e{i};" * 20}">' for i in range(8))
        bomb = f'<!DOCTYPE a [<!ENTITY e0 "{"x" * 1000}">{entities}]><a>&e8;</a>'
        result = run("stats", "-", data=bomb.encode())
        self.assertEqual(3, result.status)
        self.assertIn("(see --max-amplification)", result.err)

    def test_an_input_that_is_cut_anywhere_fails(self):
        document = ('<?xml version="1.0"?>\n<!-- c --><!DOCTYPE r [<!ENTITY e "x<i/>y">]>\n<r a="1 &amp; 2"><!-- d -->'
                    + "<e b='3'>text ä🌲 &e; <![CDATA[z]]></e><?p q?>\n" * 20 + "</r>").encode()
        for length in range(len(document) - 1):
            with self.subTest(length=length):
                result = run("xml", "-", data=document[:length])
                self.assertEqual(1, result.status)
                self.assertRegex(result.err, r"^arbtree: <stdin>:\d+:\d+: .+\n\Z")


class Outputs(unittest.TestCase):
    def test_an_output_that_takes_nothing(self):
        full, closed = "No space left on device", "Bad file descriptor"
        for command, reason in {"xml - >/dev/full": full, "stats - >/dev/full": full, "--help >/dev/full": full, "xml - >&-": closed}.items():
            with self.subTest(command):
                done = subprocess.run(["sh", "-c", '"$0" ' + command, TOOL], input=b"<a>x</a>", stderr=subprocess.PIPE,
                                      timeout=TIMEOUT, env=ENVIRONMENT)
                self.assertEqual((1, f"arbtree: standard output: {reason}\n"), (done.returncode, done.stderr.decode()))

    def test_a_reader_that_goes_away_ends_the_work_at_once_and_in_silence(self):
        with start("xml", "-") as tool:
            tool.stdout.close()
            with self.assertRaises(BrokenPipeError):
                tool.stdin.write(b"<a>")
                for _ in range(10000):  # far more than all buffers hold
                    tool.stdin.write(b"<b>text</b>" * 1000)
            self.assertEqual((1, b""), (tool.wait(TIMEOUT), tool.stderr.read()))


if __name__ == "__main__":
    unittest.main(verbosity=2)
