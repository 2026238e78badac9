"""The progress bar: shown on a terminal while the work goes on, taken away at its end, and shown nowhere else."""
import json
import os
import pty
import select
import subprocess
import time
import unittest

from support.tool import ENVIRONMENT, TIMEOUT, TOOL

BLOCK = b"<e>text</e>\n" * 1000


class OnTerminal:
    """The tool with its standard error on a terminal, fed through a pipe."""

    def __init__(self, *options):
        self.terminal, tools_end = pty.openpty()
        self.process = subprocess.Popen([TOOL, *options, "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=tools_end, env=ENVIRONMENT)
        os.close(tools_end)
        self.shown = b""
        self.process.stdin.write(b"<r>")

    def feed(self):
        self.process.stdin.write(BLOCK)
        self.process.stdin.flush()
        while select.select([self.terminal], [], [], 0)[0]:
            self.shown += os.read(self.terminal, 4096)

    def finish(self):
        out = self.process.communicate(b"</r>", timeout=TIMEOUT)[0]
        try:
            while True:
                self.shown += os.read(self.terminal, 4096)
        except OSError:  # how a terminal says that its other end is closed
            os.close(self.terminal)
        assert self.process.returncode == 0
        return out


class Bar(unittest.TestCase):
    def test_it_comes_and_goes(self):
        shown = OnTerminal("stats", "--json")
        blocks = 0
        enough = time.monotonic() + TIMEOUT
        while b"MB read" not in shown.shown:
            self.assertLess(time.monotonic(), enough, "no bar comes")
            shown.feed()
            blocks += 1
        out = shown.finish()
        self.assertEqual(1000 * blocks + 1, json.loads(out)["elements"])
        self.assertTrue(shown.shown.endswith(b"\r\x1b[K"), shown.shown[-100:])

        hidden = OnTerminal("stats", "--quiet")
        for _ in range(2 * blocks):
            hidden.feed()
        hidden.finish()
        self.assertEqual(b"", hidden.shown)


if __name__ == "__main__":
    unittest.main(verbosity=2)
