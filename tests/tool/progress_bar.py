"""The progress bar: shown on a terminal while the work goes on, taken away at its end, and shown nowhere else."""
import json
import os
import pty
import select
import time
import unittest

from support.tool import TIMEOUT, start

BLOCK = b"<e>text</e>\n" * 1000


def run_on_terminal(*options, enough):
    """Feeds the tool, whose standard error is a terminal, until there is enough: what the terminal shows, the number of
    blocks, and what is written."""
    terminal, tools_end = pty.openpty()
    shown, blocks = b"", 0
    with start(*options, "-", stderr=tools_end) as tool:
        os.close(tools_end)
        tool.stdin.write(b"<r>")
        while not enough(shown, blocks):
            tool.stdin.write(BLOCK)
            blocks += 1
            while select.select([terminal], [], [], 0)[0]:
                shown += os.read(terminal, 4096)
        written = tool.communicate(b"</r>", timeout=TIMEOUT)[0]
    assert tool.returncode == 0
    try:
        while True:
            shown += os.read(terminal, 4096)
    except OSError:  # how a terminal says that its other end is closed
        os.close(terminal)
    return shown, blocks, written


class Bar(unittest.TestCase):
    def test_it_comes_and_goes(self):
        limit = time.monotonic() + TIMEOUT
        shown, blocks, written = run_on_terminal("stats", "--json", enough=lambda shown, _: b"MB read" in shown or time.monotonic() > limit)
        self.assertIn(b"MB read", shown)
        self.assertTrue(shown.endswith(b"\r\x1b[K"), shown[-100:])
        self.assertEqual(1000 * blocks + 1, json.loads(written)["elements"])
        self.assertEqual(b"", run_on_terminal("stats", "--quiet", enough=lambda _, fed: fed == 2 * blocks)[0])


if __name__ == "__main__":
    unittest.main(verbosity=2)
