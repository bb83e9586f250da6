"""What examples_in_guide.py wants of a program and of the guide."""
import unittest

from examples_in_guide import MOST_LINES, problems_of

GUIDE = "[fetch](../examples/fetch.cpp)"
PROGRAM = '// Fetches a URL: fetch URL\nint main() { std::cerr << "usage: fetch URL\\n"; }\n'
TESTS = 'run("fetch", {});'


def problems(guide=GUIDE, program=PROGRAM, tests=TESTS):
    return list(problems_of(guide, {"fetch": program}, tests))


class ExamplesInGuide(unittest.TestCase):
    def test_what_is_right(self):
        self.assertEqual(problems(), [])
        self.assertEqual(problems(program="// Fetches a URL:\n// fetch URL\n"), [])

    def test_a_program_that_is_not_in_the_guide(self):
        self.assertEqual(problems(guide="fetch"), ["fetch is not in the guide"])

    def test_a_link_to_no_program(self):
        self.assertEqual(problems(guide=GUIDE + " [a](../examples/a.cpp)"), ["a is in the guide and not among the programs"])

    def test_a_program_that_is_long(self):
        self.assertEqual(problems(program=PROGRAM + "\n" * (MOST_LINES - 2)), [])
        self.assertEqual(problems(program=PROGRAM + "\n" * (MOST_LINES - 1)), [f"fetch has {MOST_LINES + 1} lines"])

    def test_how_a_program_is_called(self):
        self.assertEqual(problems(program="// Fetches a URL\n"), ["fetch does not say in its first lines how it is called"])
        self.assertEqual(problems(program=PROGRAM.replace("usage: fetch URL", "usage: fetch FILE")),
                         ['fetch is called as "fetch URL" and says "fetch FILE"'])

    def test_a_program_without_a_test(self):
        self.assertEqual(problems(tests=""), ["fetch is not run by a test"])

    def test_no_program(self):
        self.assertEqual(list(problems_of("", {}, "")), ["there is no program"])


if __name__ == "__main__":
    unittest.main()
