"""What page_commands.py finds wrong with a page."""
import stat
import tempfile
import unittest
from pathlib import Path

from page_commands import ROOT, problems_of, unknown_options

PAGE = ROOT / "PAGE.md"


def problems(block):
    return list(problems_of(PAGE, f"```\n{block}\n```\n"))


class PageCommands(unittest.TestCase):
    def test_what_is_there(self):
        for block in ("scripts/test -R Headers   # ctest's", "scripts/test --preset tsan", "make && sudo make install",
                      "cmake --preset release && cmake --build --preset release",
                      "build/clang/bin/fuzz_chunked -max_total_time=60 tests/fuzz/corpus/chunked"):
            self.assertEqual(problems(block), [], block)

    def test_what_is_not_there(self):
        for block in ("scripts/tset", "scripts/check --frmat", "scripts/test --preset fast", "make everything",
                      "cmake --preset fast", "cmake -S . -B b -DZOL_NO_SUCH_OPTION=ON", "build/clang/bin/fuzz_nothing",
                      "build/clang/bin/fuzz_chunked tests/fuzz/corpus/nothing", "wget something"):
            self.assertEqual(len(problems(block)), 1, block)

    def test_inline_commands(self):
        text = "```\nmake\n```\nFor the pages, `make pages`.\n"
        self.assertEqual(list(problems_of(PAGE, text)), ["make pages: make has no target pages"])

    def test_links_and_headers(self):
        text = "```\nmake\n```\n[a](docs/nothing.md) [b](README.md) `#include \"zol/nothing.hpp\"`\n"
        self.assertEqual(list(problems_of(PAGE, text)),
                         ["the link to docs/nothing.md leads nowhere", "there is no header zol/nothing.hpp"])

    def test_a_page_without_commands(self):
        self.assertEqual(list(problems_of(PAGE, "Nothing.\n")), ["no command is shown"])

    def test_options_of_zolget(self):
        with tempfile.TemporaryDirectory() as folder:
            program = Path(folder) / "zolget"
            program.write_text("#!/bin/sh\necho '  -o,--output FILE  where to'\n")
            program.chmod(program.stat().st_mode | stat.S_IXUSR)
            text = "```\nzolget -o a --output b http://localhost/ --no-such\n```\n"
            self.assertEqual(list(unknown_options(program, text)),
                             ["zolget -o a --output b http://localhost/ --no-such: zolget does not know --no-such"])


if __name__ == "__main__":
    unittest.main()
