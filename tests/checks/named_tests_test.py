"""What named_tests.py takes for the name of a test."""
import unittest

from named_tests import listed_by, problems_of

TESTS = ["unit_http.Headers.FirstWins", "unit_http.Headers.LastLoses", "unit_text.Refused/Head.Outcome/InTheFirstLine",
         "package.headers"]


def problems(names):
    page = "| behaviour | why | test |\n|---|---|---|\n| odd | known | " + names + " |\n"
    return list(problems_of(page, TESTS))


class NamedTests(unittest.TestCase):
    def test_names_that_exist(self):
        for names in ("`Headers.FirstWins`", "`Headers.FirstWins`, `.LastLoses`", "`Refused/Head.Outcome/InTheFirstLine`",
                      "`Refused/Head.Outcome`", "`Head.Outcome`", "`package.headers`"):
            self.assertEqual(problems(names), [], names)

    def test_a_name_that_does_not_exist(self):
        for names in ("`Headers.FirstLoses`", "`.FirstWins`", "`Headers`", "`Refused/Head.Outcome/InTheLastLine`",
                      "`Headers.FirstWins`, `.FirstLoses`"):
            self.assertEqual(len(problems(names)), 1, names)

    def test_a_name_for_several(self):
        for names in ("`Headers.*`", "`Headers.F*`", "`Refused/H*.Outcome`", "`Headers.FirstWins`, `.L*`"):
            self.assertEqual(problems(names), [], names)
        for names in ("`Headers.X*`", "`Footers.*`", "`Headers.F*`, `.X*`"):
            self.assertEqual(len(problems(names)), 1, names)

    def test_the_list_of_a_program(self):
        listed = ("Running main() from here\nHeaders.\n  FirstWins\nRefused/Head.\n"
                  "  Outcome/0  # GetParam() = \"a. b\"\nTyped/0.  # TypeParam = int\n  Works\n")
        self.assertEqual(list(listed_by(listed, "unit")),
                         ["unit.Headers.FirstWins", "unit.Refused/Head.Outcome/0", "unit.Typed/0.Works"])

    def test_a_row_without_a_name(self):
        self.assertEqual(problems("later"), ["no test is named for: odd"])

    def test_a_page_without_rows(self):
        self.assertEqual(list(problems_of("Nothing.\n", TESTS)), ["no row names a test"])

    def test_a_bar_within_a_cell(self):
        page = "| behaviour | why | test |\n|---|---|---|\n| a \\| b | known | `Headers.FirstWins` |\n"
        self.assertEqual(list(problems_of(page, TESTS)), [])


if __name__ == "__main__":
    unittest.main()
