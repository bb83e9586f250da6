"""How scripts/benchmark shows what it has measured."""
import sys
import unittest
from pathlib import Path
from xml.etree import ElementTree

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "benchmarks"))

from measure import cost, plot, report  # noqa: E402
from measure.row import BARE, BEAST, CURL, OURS, Row, Section, Target, number  # noqa: E402

SVG = "{http://www.w3.org/2000/svg}"


class Targets(unittest.TestCase):
    def test_a_limit_is_met_up_to_its_value(self):
        self.assertTrue(Target(10).is_met({OURS: 10}))
        self.assertFalse(Target(10).is_met({OURS: 10.01}))

    def test_every_part_of_a_target_has_to_be_met(self):
        target = Target(10, {BEAST: 1, CURL: 1})
        self.assertTrue(target.is_met({OURS: 5, BEAST: 6, CURL: 7}))
        self.assertFalse(target.is_met({OURS: 5, BEAST: 6, CURL: 4}))
        self.assertFalse(target.is_met({OURS: 11, BEAST: 12, CURL: 12}))
        self.assertEqual(str(target), "≤ 10, ≤ Beast, ≤ libcurl")

    def test_without_a_target_there_is_nothing_to_meet(self):
        self.assertIsNone(Target().is_met({OURS: 10}))


class Rows(unittest.TestCase):
    def test_the_ratio_is_to_the_best_library(self):
        row = Row("a page", {OURS: 8, BARE: 1, BEAST: 16, CURL: 80})
        self.assertEqual((row.against, row.ratio), (BEAST, 0.5))

    def test_the_ratio_is_to_what_the_target_names(self):
        row = Row("a body", {OURS: 1.02, BARE: 1, CURL: 1.1}, Target(times={BARE: 1.05}))
        self.assertEqual((row.against, row.ratio), (BARE, 1.02))

    def test_the_ratio_is_to_the_bare_loop_where_there_is_no_library(self):
        self.assertEqual(Row("a byte", {OURS: 3, BARE: 2}).against, BARE)

    def test_what_nobody_else_does_has_no_ratio(self):
        self.assertIsNone(Row("a growth", {OURS: 3}).ratio)

    def test_a_target_for_string_instructions_taken_once_looks_at_that_cost(self):
        self.assertTrue(Row("a copy", {OURS: 1.25}, Target(0.5, once=True), once=0.25).is_met)
        self.assertFalse(Row("a copy", {OURS: 1.25}, Target(0.5), once=0.25).is_met)
        self.assertEqual(str(Target(0.5, once=True)), "≤ 0.5 (rep once)")

    def test_numbers_are_short(self):
        for value, text in ((12345.6, "12 346"), (99.96, "99.96"), (1.5, "1.5"), (0.0123456, "0.0123"), (0, "0"),
                            (0.000312, "0.000312")):
            self.assertEqual(number(value), text)


def cells_of(section):
    """The cells of a section's table, a list for each line."""
    lines = report.section_table(section).splitlines()
    return [[cell.strip() for cell in line.strip("|").split("|")] for line in lines[2:]]


class Results(unittest.TestCase):
    SECTIONS = [Section("Pages", [Row("a page", {OURS: 8, BARE: 1, BEAST: 16}, Target(10)),
                                  Row("over TLS", {OURS: 9, CURL: 4}, Target(times={CURL: 1}))]),
                Section("Copies", [Row("a copy", {OURS: 1.25}, once=0.25)])]

    def test_the_table_has_target_others_and_ratio(self):
        cells = cells_of(self.SECTIONS[0])
        self.assertEqual(cells[0], ["work", OURS, "target", "", BARE, BEAST, CURL, "ratio"])
        self.assertEqual(cells[2], ["a page", "8", "≤ 10", "✓", "1", "16", "", "0.5 × Beast"])
        self.assertEqual(cells[3], ["over TLS", "9", "≤ libcurl", "✗", "", "", "4", "2.25 × libcurl"])

    def test_a_column_shows_string_instructions_taken_once_where_that_changes_a_row(self):
        header, _, row = cells_of(self.SECTIONS[1])
        self.assertEqual(row[header.index("rep once")], "0.25")
        self.assertNotIn("rep once", cells_of(self.SECTIONS[0])[0])

    def test_every_column_has_a_rule(self):
        for cell in cells_of(self.SECTIONS[0])[1]:
            self.assertRegex(cell, "^-{2,}:?$")

    def test_the_page_names_what_it_was_measured_on(self):
        page = report.markdown(self.SECTIONS, {"processor": "a fast one"}, "plot.svg", is_quick=True)
        self.assertIn("| a fast one |", page)
        self.assertIn("(plot.svg)", page)
        self.assertIn("figures are rough", page)

    def test_the_plot_has_a_line_for_each_work_that_others_do(self):
        root = ElementTree.fromstring(plot.svg(self.SECTIONS))
        texts = [text.text for text in root.iter(f"{SVG}text")]
        self.assertIn("a page", texts)
        self.assertIn("over TLS", texts)
        self.assertNotIn("a copy", texts)
        titles = [title.text for title in root.iter(f"{SVG}title")]
        self.assertEqual(sorted(titles), ["Beast: 2", "bare loop: 0.125", "libcurl: 0.444", "libzol_http: 1",
                                          "libzol_http: 1"])

    def test_costs_outside_the_scale_stand_at_its_border(self):
        self.assertEqual(plot.position(1e9), plot.LABELS + plot.WIDTH)
        self.assertEqual(plot.position(1e-9), plot.LABELS)


class Marginal(unittest.TestCase):
    def test_what_a_start_costs_drops_out(self):
        self.assertEqual(cost.marginal(lambda size: 1000 + 3 * size, lambda size: size, 10, 20), 3)
        self.assertEqual(cost.marginal(lambda size: (1000 + 3 * size, size), lambda size: size, 10, 20), (3, 1))


if __name__ == "__main__":
    unittest.main()
