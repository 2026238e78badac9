"""The command line: what is asked for, help, and what is refused with exit status 2."""
import os
import re
import subprocess
import unittest

from support.tool import InFolder, output, run, stats

COMMANDS = ["ls", "text", "xml", "find", "extract", "dups", "stats"]
SOURCE = os.environ["ARBTREE_SOURCE"]


class CommandLine(InFolder):
    def test_usage_errors(self):
        cases = [[], ["nothing"], ["xml"], ["stats"], ["ls", "--tree", "--json", "a"], ["find", "a"], ["dups", "a"],
                 ["extract", "a"], ["find", "--element", "e", "--attribute", "k", "a"], ["find", "--element", "e", "--limit", "0", "a"],
                 ["find", "--element", "", "a"], ["text", "--member", "", "a"], ["extract", "-C", ".", "--member", "", "a"],
                 ["xml", "a", "b"], ["xml", "--no-such", "a"], ["--json", "a"],
                 ["xml", "--json", "a"], ["xml", "--max-depth", "0", "a"], ["xml", "--max-depth", "x", "a"],
                 ["xml", "--max-depth", "-1", "a"],
                 ["xml", "--max-depth", "18446744073709551616", "a"], ["xml", "--max-depth", "1x", "a"], ["stats", "--chunk-bytes", "4294967296", "a"]]
        for arguments in cases:
            with self.subTest(arguments):
                result = run(*arguments)
                self.assertEqual((2, b""), (result.status, result.out))
                self.assertRegex(result.err, r"^arbtree: .+\nRun `arbtree --help` .+\n\Z")

    def test_an_unknown_command_is_named(self):
        self.assertIn("arbtree: no command is called lss\n", run("lss", "a").err)

    def test_help_goes_to_standard_output_and_has_examples(self):
        for arguments in [["--help"], ["xml", "-h"]] + [[command, "--help"] for command in COMMANDS]:
            with self.subTest(arguments):
                self.assertIn(b"Examples:\n  arbtree ", output(*arguments))

    def test_help_manual_and_completion_name_the_same_commands_and_options(self):
        with open(os.path.join(SOURCE, "docs/arbtree.1")) as file:
            manual = file.read().replace("\\-", "-")
        with open(os.path.join(SOURCE, "tools/arbtree/completion/arbtree")) as file:
            completion = file.read()
        known = {"--help", "--version"}
        for command in COMMANDS:
            options = set(re.findall(r"(?<![\w-])--[a-z-]+", run(command, "--help").out.decode().split("Examples:")[0]))
            known |= options
            for option in options - {"--help", "--directory", "--version"}:
                with self.subTest(command, option=option):
                    self.assertIn(option, manual)
                    self.assertIn(option, completion)
                    done = subprocess.run(["bash", "-c", f'source "$0"; COMP_WORDS=(arbtree {command} {option}); COMP_CWORD=2; '
                                           '_arbtree; echo "${COMPREPLY[@]}"', SOURCE + "/tools/arbtree/completion/arbtree"],
                                          capture_output=True, text=True, check=True)
                    self.assertIn(option, done.stdout.split())

        for text in [manual, completion.replace("--max-*", "").replace("--*-threshold", "")]:
            self.assertEqual(set(), set(re.findall(r"(?<![\w-])--[a-z-]+", text)) - known)

    def test_version(self):
        self.assertRegex(output("--version"), rb"^arbtree \d+\.\d+\.\d+\n\Z")

    def test_a_file_is_read_like_standard_input(self):
        for name, shown in {"plain.xml": "plain.xml", "-dash.xml": "-dash.xml", 'quo"te\\.xml': 'quo"te\\\\.xml',
                            "new\nline.xml": "new\\nline.xml", b"not-utf8-\xff.xml": "not-utf8-\\377.xml"}.items():
            with self.subTest(name):
                path = self.write(name, b"<a>x</a>")
                self.assertEqual(output("xml", "-", data=b"<a>x</a>"), output("xml", path))
                self.assertEqual(shown, stats("--", name, cwd=self.folder)["file"])


class Figures(unittest.TestCase):
    DOCUMENT = (b"<!-- 1 --><?a?><!DOCTYPE r [<!-- no -->]><r x='1' y='2'><e/><e z='3'>t<f>t</f>t</e><!-- 2 -->"
                b"<![CDATA[u]]>&amp;v</r><?b?>")
    # By the names that --json has for them, the names that the lines begin with, and the values.
    EXPECTED = {"elements": ("elements", 4), "elementNames": ("different element names", 3), "attributes": ("attributes", 3),
                "textNodes": ("text nodes", 4), "comments": ("comments", 2), "depth": ("depth of elements", 3),
                "processingInstructions": ("processing instructions", 2)}

    def test_json_and_text(self):
        expected = {"complete": True, **{key: value for key, (_, value) in self.EXPECTED.items()}}
        for chunk_bytes in ["1", "300", "32768"]:
            with self.subTest(chunk_bytes):
                self.assertLessEqual(expected.items(), stats("--chunk-bytes", chunk_bytes, "-", data=self.DOCUMENT).items())
        lines = [line.rsplit(maxsplit=1) for line in output("stats", "-", data=self.DOCUMENT).decode().splitlines()]
        for label, value in self.EXPECTED.values():
            self.assertIn([label, str(value)], lines)

    def test_runs_and_live_nodes_follow_the_chunk_size(self):
        document = b"<r>" + b"<e>x</e>" * 1000 + b"</r>"
        small = stats("--chunk-bytes", "1", "-", data=document)
        large = stats("--chunk-bytes", "100000000", "-", data=document)
        # A break after each of 1001 start tags and one before the end of the input; no break at all.
        self.assertEqual(1003, small["runs"])
        self.assertEqual(1, large["runs"])
        # The root, r, an e and its text that the walk still holds, the next e; and everything at once.
        self.assertLessEqual(small["mostLiveNodes"], 5)
        self.assertEqual(2002, large["mostLiveNodes"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
