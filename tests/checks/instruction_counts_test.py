"""What scripts/benchmark --check makes of counts, and what it counts."""
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "benchmarks"))

from measure import counts  # noqa: E402
from measure.callgrind import Profile  # noqa: E402

GCC = "GNU 12.2.0"


def judge(medians, recorded, compiler=GCC):
    lines, failed = counts.judge(compiler, medians, GCC, recorded)
    return failed, "\n".join(lines)


class InstructionCounts(unittest.TestCase):
    def test_four_percent_above_fails(self):
        failed, said = judge({"page": 10_400}, {"page": 10_000})
        self.assertTrue(failed)
        self.assertIn("page: 10400, recorded 10000 (+4.0%), too many", said)

    def test_two_percent_above_passes(self):
        self.assertEqual(judge({"page": 10_200}, {"page": 10_000}), (False, "page: 10200, recorded 10000 (+2.0%)"))

    def test_fewer_pass(self):
        self.assertFalse(judge({"page": 5_000}, {"page": 10_000})[0])

    def test_one_work_above_among_others_fails(self):
        self.assertTrue(judge({"a": 1, "b": 1.04, "c": 1}, {"a": 1, "b": 1, "c": 1})[0])

    def test_another_compiler_only_warns(self):
        failed, said = judge({"page": 10_400}, {"page": 10_000}, compiler="Clang 14.0.6")
        self.assertFalse(failed)
        self.assertIn("warning: page above what is recorded, but for GNU 12.2.0; this is Clang 14.0.6", said)

    def test_another_version_of_the_compiler_only_warns(self):
        self.assertFalse(judge({"page": 10_400}, {"page": 10_000}, compiler="GNU 12.3.0")[0])

    def test_a_work_whose_runs_vary_is_skipped(self):
        self.assertIsNone(counts.median_of([1000, 1000, 1011]))
        failed, said = judge({"page": None, "other": 1}, {"page": 1, "other": 1})
        self.assertFalse(failed)
        self.assertIn("page: skipped", said)

    def test_runs_that_lie_close_together_have_their_median(self):
        self.assertEqual(counts.median_of([1008, 1000, 1001]), 1001)

    def test_nothing_to_compare_fails(self):
        for medians, recorded in (({"page": None}, {"page": 1}), ({"page": 1}, {}), ({}, {"page": 1})):
            failed, said = judge(medians, recorded)
            self.assertTrue(failed, said)

    def test_a_work_without_a_recorded_count_is_told(self):
        failed, said = judge({"page": 10, "new": 5}, {"page": 10})
        self.assertFalse(failed)
        self.assertIn("new: 5, not recorded yet", said)

    def test_a_recorded_count_without_its_work_is_told(self):
        self.assertIn("old: recorded, but not measured any more", judge({"page": 1}, {"page": 1, "old": 2})[1])

    def test_an_update_is_read_back(self):
        text = counts.update(GCC, {"page": 10_400.0, "byte": 0.0123456}, {"page": 10_000.0})
        self.assertEqual(counts.parse_counts(text), (GCC, {"page": 10_400.0, "byte": 0.0123456}))

    def test_an_update_keeps_the_count_of_a_work_that_varies_and_drops_one_that_is_gone(self):
        text = counts.update(GCC, {"page": None, "new": None}, {"page": 10_000.0, "old": 1.0})
        self.assertEqual(counts.parse_counts(text), (GCC, {"page": 10_000.0}))

    def test_the_file_of_counts_names_its_compiler_and_works_that_are_measured(self):
        from measure.works import WORKS
        file = Path(counts.__file__).parents[1] / "results/counts.tsv"
        compiler, recorded = counts.parse_counts(file.read_text())
        self.assertRegex(compiler, r"^\w+ [\d.]+$")
        self.assertLessEqual(set(recorded), {work.name for work in WORKS if work.checked})
        self.assertGreater(len(recorded), 10)


PROFILE = """\
ob=/build/lib/ours.so
fn=f
0x10 1 5
0x12 2 7
cfn=g
calls=3 0x99
0x12 2 1000
ob=/build/bin/program
0x10 1 11
ob=/buildings/other.so
0x10 1 100
ob=/lib/libc.so.6
0x20 0 200
"""


class InstructionsOfObjects(unittest.TestCase):
    def setUp(self):
        self.profile = Profile(PROFILE.splitlines())

    def test_the_total_leaves_out_what_calls_cost_the_caller(self):
        self.assertEqual(self.profile.total, 5 + 7 + 11 + 100 + 200)

    def test_those_below_a_folder_are_counted_alone(self):
        self.assertEqual(self.profile.below(Path("/build")), 5 + 7 + 11)


if __name__ == "__main__":
    unittest.main()
