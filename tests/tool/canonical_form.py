"""`arbtree xml` writes documents whose canonical form is that of its input: over a table of documents that are hard to
get right, each at several chunk sizes, and over the XML files of this machine.
"""
import glob
import os
import sys
import unittest
from concurrent.futures import ThreadPoolExecutor

from support.tool import InFolder, canonical, output, run

UTF16_TEXT = '<?xml version="1.0" encoding="UTF-16"?><r a="ä🌲">ä日🌲𝄞</r>'
MANY_ATTRIBUTES = " ".join(f'a{i}="{i}"' for i in range(1000))
GROWING_ATTRIBUTES = "".join(f'<e {" ".join(f"a{j}={chr(34)}{i}{chr(34)}" for j in range(i))}/>' for i in range(60))

DOCUMENTS = {
    "one empty element": "<r/>",
    "start and end tag": "<r></r>",
    "prefixes": '<p:r xmlns:p="urn:1" xmlns:q="urn:2" q:a="1" p:a="2" a="3"><q:e/><p:e xmlns:p="urn:3"/></p:r>',
    "default namespaces": '<r xmlns="urn:1"><e xmlns=""/><f xmlns="urn:2"><g xmlns="urn:1"/></f></r>',
    "same names, other prefixes": '<r xmlns:a="urn:u" xmlns:b="urn:u"><a:e/><b:e/><a:e/></r>',
    "xml attributes": '<r xml:lang="de" xml:space="preserve">  <e xml:id="x"/>  </r>',
    "markup as text": "<r>&lt;a&gt; &amp;amp; &quot; &apos; ]]&gt; ]] &gt;</r>",
    "character data sections": "<r><![CDATA[<&>]]>x<![CDATA[]]]]><![CDATA[>]]><![CDATA[]]></r>",
    "character references": "<r a='&#65;&#x1F332;&#xD;'>&#9;&#10;&#13;&#32;&#x1F332;&#xE9;</r>",
    "space in attributes": "<r a='1\t2\n3\r\n4 5' b='&#9;&#10;&#13;&#32; '/>",
    "quotes in attributes": "<r a='\"' b=\"'\" c='&quot;&apos;&lt;&amp;>'/>",
    "line ends": "<r>\r\n a\rb\n\r\n</r>\r\n",
    "only space": "<r>   \n\t </r>",
    "text around children": "<r>a<e>b</e>c<e/>d<!-- x -->e<?p?>f</r>",
    "comments and instructions everywhere":
        "<!--1--><?a 1?>\n<!-- 2 --><r><!----><?b?><!-- - -->x<?c  d ?></r><?e f?><!--3-->\n\n<?g?>",
    "comments of the document type": "<!DOCTYPE r [<!--no--><?no no?><!ELEMENT r ANY>]><!--yes--><r/>",
    "attribute defaults": '<!DOCTYPE r [<!ATTLIST r a CDATA "&lt;1&#10;" b (x|y) "x"><!ATTLIST e c CDATA #FIXED "3">]>'
                          '<r b="y"><e/><e c="3"/></r>',
    "attribute types": '<!DOCTYPE r [<!ATTLIST r a NMTOKENS #IMPLIED b CDATA #IMPLIED>]><r a="  x  y " b="  x  y "/>',
    "entities": '<!DOCTYPE r [<!ENTITY t "text &amp; &#38;lt;"><!ENTITY m "<e a=\'&t;\'>&t;</e>&t;">]>'
                '<r a="&t;">1&t;2&m;3&m;</r>',
    "entity around elements": '<!DOCTYPE r [<!ENTITY a "x<e/>y"><!ENTITY b "&a;&a;<f>&a;</f>">]><r>&b;<g/>&b;</r>',
    "names beyond ASCII": "<été ñ='1'><日本/><x.y-z_·/></été>",
    "attributes in changing order": '<r><e a="1" b="2" c="3"/><e c="1" a="2"/><e b="1" d="2" a="3"/></r>',
    "many attributes": f"<r {MANY_ATTRIBUTES}><e {MANY_ATTRIBUTES}/></r>",
    "attributes that become more": f"<r>{GROWING_ATTRIBUTES}{GROWING_ATTRIBUTES}</r>",
    "long attribute": f'<r a="{"x" * 300000}" b="{"🌲" * 50000}">{"<e a=" + chr(34) + "y" * 5000 + chr(34) + "/>"}</r>',
    "text longer than a node": "<r>" + "abcdefg🌲" * 20000 + "</r>",
    "pair at the end of a node": "<r>" + "x" * 16383 + "🌲" * 20000 + "</r>",
    "long comment": f"<r><!--{'c' * 200000}--><?p {'d' * 200000}?></r>",
    "deep": "<a>" * 200 + "x" + "</a>" * 200,
    "wide": "<r>" + "<e>1</e>\n" * 5000 + "</r>",
    "byte order mark": b"\xef\xbb\xbf<r>x</r>",
    "UTF-16, little end first": b"\xff\xfe" + UTF16_TEXT.encode("utf-16-le"),
    "UTF-16, big end first": b"\xfe\xff" + UTF16_TEXT.encode("utf-16-be"),
    "ISO-8859-1": '<?xml version="1.0" encoding="ISO-8859-1"?><r é="ü">ÿ</r>'.encode("latin-1"),
    "US-ASCII": b'<?xml version="1.0" encoding="US-ASCII"?><r>&#xE9;</r>',
    "windows-1252": '<?xml version="1.0" encoding="windows-1252"?><r>€“x”</r>'.encode("cp1252"),
    "Shift_JIS": '<?xml version="1.0" encoding="Shift_JIS"?><表 日="本">ソ能</表>'.encode("shift_jis"),
    "EUC-JP, longer than a read": ('<?xml version="1.0" encoding="EUC-JP"?><r>' + "日本x" * 50000 + "</r>").encode("euc-jp"),
}

CHUNK_BYTES = ["1", "1000", "32768"]


def as_bytes(document):
    return document if isinstance(document, bytes) else document.encode()


class Table(unittest.TestCase):
    def test_each_document_at_each_chunk_size(self):
        for name, document in DOCUMENTS.items():
            with self.subTest(name):
                expected = canonical(as_bytes(document))
                self.assertIsNotNone(expected)
                for chunk_bytes in CHUNK_BYTES:
                    written = output("xml", "--chunk-bytes", chunk_bytes, "-", data=as_bytes(document))
                    self.assertEqual(expected, canonical(written), chunk_bytes)
                self.assertEqual(written, output("xml", "-", data=written), "what was written is written so again")

    def test_what_the_canonical_form_does_not_tell_is_kept_too(self):
        document = b'<?xml version="1.0" encoding="UTF-8"?>\n<?a?>\n<r><e b="1" a="2"/><e a="1" b="2"/></r>\n'
        self.assertEqual(document, output("xml", "-", data=document))


class LeftOut(InFolder):
    def test_entities_that_are_not_in_the_document_are_left_out_with_a_warning(self):
        attributes = '<!DOCTYPE r SYSTEM "missing.dtd" [<!ENTITY y "2">]>\n<q b="&amp;"><r a="1&x;&y;&#51;" b="&x;"/></q>'
        cases = {
            "external": ('<!DOCTYPE r [<!ENTITY x SYSTEM "missing.ent">]>\n<r>1&x;2&x;3</r>', "<r>123</r>", "2:5"),
            "declared elsewhere": ('<!DOCTYPE r SYSTEM "missing.dtd">\n<r>1&x;2&x;3</r>', "<r>123</r>", "2:5"),
            "in attributes": (attributes, '<q b="&amp;"><r a="123" b=""/></q>', "2:14"),
            "in attributes in UTF-16": (attributes.encode("utf-16"), '<q b="&amp;"><r a="123" b=""/></q>', "2:14"),
            "with the big end first": (("\ufeff" + attributes).encode("utf-16-be"), '<q b="&amp;"><r a="123" b=""/></q>', "2:14"),
            "in Latin-1": ('<?xml version="1.0" encoding="ISO-8859-1"?><!DOCTYPE r SYSTEM "m.dtd" [<!ENTITY \u00e9 "2">]>\n<r a="1&x;&\u00e9;&x;"/>'
                           .encode("latin-1"), '<r a="12"/>', "2:1"),
            "behind a parameter": ("<!DOCTYPE r [<!ENTITY % p ''> %p;]>\n<r a='1&x;2&x;3'/>", '<r a="123"/>', "2:1"),
        }
        for name, (document, expected, place) in cases.items():
            with self.subTest(name):
                result = run("xml", self.write("d.xml", as_bytes(document)))
                self.assertEqual((0, expected), (result.status, result.out.decode().splitlines()[1]))
                self.assertRegex(result.err, rf'^arbtree: \S*d\.xml:{place}: warning: entity "x" .*\(2 .*\)\n$')

    def test_what_only_looks_like_a_reference_is_none(self):
        document = '<!DOCTYPE r SYSTEM "m.dtd">\n<r a="sun \u2600; \u2602\n\u1b00;"/>'
        for encoding in ["utf-8", "utf-16-le", "utf-16-be"]:
            self.assertIn("☂".encode(), output("xml", "-", data=("\ufeff" + document).encode(encoding)))

    def test_external_entities_are_never_loaded(self):
        secret = self.write("secret.xml", b"<secret/>")
        for declaration in [f'[<!ENTITY x SYSTEM "{secret}">]', f'[<!ENTITY % p SYSTEM "{secret}"> %p;]', f'SYSTEM "{secret}"']:
            with self.subTest(declaration):
                self.assertNotIn(b"secret", run("xml", "-", data=f"<!DOCTYPE r {declaration}><r>&x;</r>".encode()).out)


class SystemFiles(unittest.TestCase):
    """A bare machine has none; on others there are hundreds, of every kind."""

    def compare(self, path):
        with open(path, "rb") as file:
            expected = canonical(file.read())
        if expected is not None:
            self.assertTrue(expected == canonical(output("xml", path)), path)
        return expected is not None

    def test_each_file_that_xmllint_accepts(self):
        files = [path for path in glob.glob("/usr/share/**/*.xml", recursive=True) if os.path.isfile(path)]
        if not files:
            self.skipTest("there are no XML files in /usr/share")
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            compared = sum(pool.map(self.compare, files))
        self.assertLess(0, compared)
        print(f"compared {compared} of {len(files)} XML files of /usr/share; xmllint itself rejects the others", file=sys.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
