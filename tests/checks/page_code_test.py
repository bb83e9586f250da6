"""Which lines of C++ page_code.py finds in a page, and what it says of one that does not compile.

usage: page_code_test.py --compiler PROGRAM
"""
import sys
import unittest
from pathlib import Path

from page_code import lines_of, problems_of

ROOT = Path(__file__).resolve().parents[2]
COMPILER = sys.argv.pop() if "--compiler" in sys.argv else "c++"


def page(*cells):
    return "| the trap | the safe line | test |\n|---|---|---|\n" + "".join(f"| odd | {cell} | `A.B` |\n" for cell in cells)


def problems(*cells):
    return list(problems_of(page(*cells), COMPILER, ROOT.glob("src/*/*/include")))


class PageCode(unittest.TestCase):
    def test_statements_of_the_second_column_are_found(self):
        text = page("`a;` or, with `b`, `if (c \\|\\| d) {}`") + "\n`e;` in prose\n"
        self.assertEqual(list(lines_of(text)), [("odd", "a;"), ("odd", "if (c || d) {}")])

    def test_lines_that_compile(self):
        self.assertEqual(problems("`HTTP::exchange(request);`", "`reply.writeTo(file);`"), [])

    def test_a_line_that_does_not_compile_is_named(self):
        found = problems("`HTTP::exchange(request);`", "`reply.noSuchMember();`")
        self.assertEqual(found[0], "reply.noSuchMember(); does not compile, shown for: odd")

    def test_a_page_without_lines(self):
        self.assertEqual(problems("nothing"), ["no line is shown"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
