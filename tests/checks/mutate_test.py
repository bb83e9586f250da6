"""Where scripts/mutate changes a source, and where it does not."""
import importlib.machinery
import importlib.util
import unittest
from pathlib import Path

SCRIPT = str(Path(__file__).resolve().parents[2] / "scripts/mutate")
spec = importlib.util.spec_from_loader("mutate", importlib.machinery.SourceFileLoader("mutate", SCRIPT))
mutate = importlib.util.module_from_spec(spec)
spec.loader.exec_module(mutate)


def changed_lines(line, is_header=False):
    """All that can become of a line that stands in a function."""
    text = f"void f()\n{{\n{line}\n}}\n"
    sites = mutate.sites_of(text, is_header).get(3, [])
    return {site.apply(text).split("\n")[2].strip() for site in sites}


class Mutate(unittest.TestCase):
    def test_operators(self):
        self.assertIn("x = a <= b;", changed_lines("x = a < b;"))
        self.assertIn("x = a || b;", changed_lines("x = a && b;"))
        self.assertIn("x = a - b;", changed_lines("x = a + b;"))
        self.assertIn("--x;", changed_lines("++x;"))

    def test_constants(self):
        self.assertLessEqual({"x = y[1];", "x = y[3];"}, changed_lines("x = y[2];"))
        self.assertIn("return false;", changed_lines("return true;"))
        self.assertIn('f("text~");', changed_lines('f("text");'))
        self.assertIn("f('~');", changed_lines("f('a');"))
        self.assertIn("f(256U);", changed_lines("f(0xFFU);"))

    def test_conditions(self):
        self.assertIn("if (!(g(a)))", changed_lines("if (g(a))"))
        self.assertIn("if (a)", changed_lines("if (!a)"))

    def test_statements(self):
        for line in ("g(a, b);", "object.call(1);", "x = 5;", "m_x[3] += y;", "break;", "throw Error(1);"):
            self.assertIn(";", changed_lines(line), line)

    def test_a_statement_of_two_lines_is_dropped_whole(self):
        text = "void f()\n{\n    g(a,\n      b);\n    h();\n}\n"
        dropped = [s for s in mutate.sites_of(text, False)[3] if s.kind == "statement"]
        self.assertEqual([s.apply(text) for s in dropped], ["void f()\n{\n    \n;\n    h();\n}\n"])

    def test_declarations_are_not_dropped(self):
        for line in ("int x(5);", "const int y = z;", "auto x = y;", "return x;", "Type name(argument);", "delete x;"):
            self.assertNotIn(";", changed_lines(line), line)
        self.assertNotIn(";", changed_lines("Type(int number);", is_header=True))

    def test_what_is_left_alone(self):
        for line in ("// a < b", "/* x = 5; */", "#define X 5", "static_assert(a < 5);", "using X = Y<5>;",
                     "std::vector<int> x;", "x.reserve(5);", "virtual void f() const = 0;", '#include "a.hpp"'):
            self.assertEqual(changed_lines(line), set(), line)

    def test_a_comment_behind_code_is_left_alone(self):
        self.assertEqual(changed_lines("x = y; // 5 < 6"), {"; // 5 < 6"})


if __name__ == "__main__":
    unittest.main()
