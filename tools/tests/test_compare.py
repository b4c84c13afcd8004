"""Proves lumen-compare: verdicts on times and failures, what it refuses, its exit status."""

import contextlib
import importlib.util
import io
import json
import random
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any
from unittest import mock

TOOLS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOOLS), str(TOOLS / "tests")]

if importlib.util.find_spec("scipy") is None:
    raise unittest.SkipTest("needs scipy (Debian: python3-scipy)")

from lumencompare import cli, statistics  # noqa: E402
from runrecord import RunRecord, plausible_run, samples  # noqa: E402

U8 = "ABSDIFF/lumAbsDiffu8/V"


class Statistics(unittest.TestCase):
    def test_median_interval(self) -> None:
        # Ranks as in tables for 95 %.
        for count, low, high in ((6, 1, 6), (8, 1, 8), (9, 2, 8), (10, 2, 9), (20, 6, 15),
                                 (50, 18, 33), (100, 40, 61)):
            numbers = random.Random(count).sample(range(1, count + 1), count)
            interval = statistics.median_interval(numbers)
            self.assertEqual((interval.low, interval.high), (low, high), count)
        self.assertTrue(statistics.median_interval([1.0] * 5).overlaps(
            statistics.Interval(900, 901)))
        self.assertFalse(statistics.Interval(1, 2).overlaps(statistics.Interval(3, 4)))
        self.assertTrue(statistics.Interval(3, 5).overlaps(statistics.Interval(1, 3)))

    def test_intervals_hold_the_median_as_often_as_they_say(self) -> None:
        source = random.Random(7)
        held = sum(
            interval.low <= 0.6931 <= interval.high
            for _ in range(1000)
            for interval in [statistics.median_interval(
                [source.expovariate(1) for _ in range(31)])]
        )
        self.assertGreaterEqual(held, 945)

    def test_mann_whitney(self) -> None:
        # Of two fives without overlap, both tails: 2 / C(10, 5).
        self.assertAlmostEqual(
            statistics.difference_probability([1, 2, 3, 4, 5], [6, 7, 8, 9, 10]), 2 / 252)
        for a, b in (([5.0] * 40, [5.0] * 40), ([], [1.0]), ([1.0], [])):
            self.assertEqual(statistics.difference_probability(a, b), 1.0)

    def test_holm(self) -> None:
        for raw, adjusted in (
            ([0.01, 0.04, 0.03, 0.005], [0.03, 0.06, 0.06, 0.02]),
            ([0.5, 0.9], [1.0, 1.0]),
            ([0.001], [0.001]),
            ([], []),
        ):
            found = statistics.holm_adjusted(raw)
            self.assertEqual([round(p, 9) for p in found], adjusted)


class CompareCase(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def run_tool(self, *arguments: object) -> tuple[int, str, str]:
        output, errors = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
            status = cli.main([*map(str, arguments)])
        return status, output.getvalue(), errors.getvalue()

    def compare(self, a: RunRecord, b: RunRecord, *options: str, cut: tuple[int, int] = (0, 0)
                ) -> tuple[int, str, str]:
        paths = (run.write(self.folder / f"{name}.jsonl", characters)
                 for name, run, characters in (("a", a, cut[0]), ("b", b, cut[1])))
        return self.run_tool(*paths, *options)

    def data(self, a: RunRecord, b: RunRecord, *options: str, cut: tuple[int, int] = (0, 0)
             ) -> tuple[int, Any]:
        status, output, errors = self.compare(a, b, "--json", *options, cut=cut)
        self.assertEqual(errors, "")
        return status, json.loads(output)


class Times(CompareCase):
    def verdict(self, a: list[float], b: list[float], *options: str, **members: Any
                ) -> tuple[int, str]:
        runs = (RunRecord().bench(U8, times, **members).end() for times in (a, b))
        status, found = self.data(*runs, *options)
        return status, found["timings"][0]["verdict"]

    def test_verdicts(self) -> None:
        before = samples(1000, seed=1)
        for name, after, expected in (
            ("the same", before, (0, "SAME")),
            ("another run", samples(1000, seed=2), (0, "SAME")),
            ("8 % slower", samples(1080, seed=2), (1, "SLOW")),
            ("8 % faster", samples(920, seed=2), (0, "FAST")),
            ("1 % slower, surely but slightly", samples(1010, seed=2), (0, "SAME")),
            ("few samples", samples(1080, count=5, seed=2), (0, "UNSURE")),
            ("noise", samples(1060, seed=2, noise=0.5), (0, "UNSURE")),
            ("a median of nothing", [0.0] * 60, (0, "UNSURE")),
            ("below nothing", [-1.0] * 60, (0, "UNSURE")),
        ):
            with self.subTest(name):
                self.assertEqual(self.verdict(before, after, rmad=0.01, unstable=False), expected)
        self.assertEqual(self.verdict([10.0] * 30, [10.0] * 30), (0, "SAME"))
        self.assertEqual(self.verdict([10.0] * 30, [11.0] * 30), (1, "SLOW"))

    def test_the_threshold(self) -> None:
        before, after = samples(1000, seed=1), samples(1080, seed=2)
        for threshold, expected in (("0", "SLOW"), ("7", "SLOW"), ("10", "SAME"), ("8", "UNSURE")):
            self.assertEqual(self.verdict(before, after, "--threshold", threshold)[1], expected)
        # Near the threshold times are not shown to be the same.
        self.assertEqual(self.verdict(before, samples(1029, seed=2))[1], "UNSURE")

    def test_unstable_times_must_lie_farther_apart(self) -> None:
        # A processor with two speeds, at the lower one more often in B.
        before = [100.0] * 70 + [130.0] * 30
        after = [100.0] * 30 + [130.0] * 70
        self.assertEqual(self.verdict(before, after, unstable=False), (1, "SLOW"))
        self.assertEqual(self.verdict(before, after, unstable=True), (0, "UNSURE"))
        self.assertEqual(self.verdict(before, [time * 2 for time in before], unstable=True),
                         (1, "SLOW"))

    def test_significance_counts_all_comparisons(self) -> None:
        # Eight samples below eight others: p is 2 / C(16, 8), enough for 64 comparisons.
        def run(count: int, slower: float) -> RunRecord:
            record = RunRecord().bench(U8, [1000 * slower + index for index in range(8)])
            for index in range(1, count):
                record.bench(f"M/f{index}/C", [10.0] * 8)
            return record.end()

        for count, expected in ((64, "SLOW"), (65, "UNSURE")):
            found = self.data(run(count, 1), run(count, 1.5))[1]["timings"]
            self.assertEqual({item["verdict"] for item in found}, {expected, "SAME"})

    def test_repetitions_show_how_medians_drift(self) -> None:
        def run(*medians: float) -> RunRecord:
            record = RunRecord()
            for seed, median in enumerate(medians):
                record.bench(U8, samples(median, seed=seed), unstable=False)
            return record.end()

        for after, expected in (((1080, 1090, 1100), "UNSURE"), ((1140, 1150, 1160), "SLOW")):
            found = self.data(run(1000, 1010, 1100), run(*after))[1]["timings"]
            self.assertEqual([item["verdict"] for item in found], [expected])
            self.assertEqual(found[0]["samplesA"], 180)

    def test_no_false_alarm_among_many(self) -> None:
        def run(seed: int) -> RunRecord:
            record = RunRecord()
            for index in range(150):
                record.bench(f"M/f{index}/C", samples(1000, 30, seed + index, noise=0.1))
            return record.end()

        status, found = self.data(run(1000), run(5000), "--threshold", "0")
        self.assertEqual((status, found["counts"]["SLOW"], found["counts"]["FAST"]), (0, 0, 0))

    def test_each_size_and_state_on_its_own(self) -> None:
        def run(large: float, flushed: float) -> RunRecord:
            record = RunRecord().bench(U8, samples(10))
            record.bench(U8, samples(large), width=1920, height=1080)
            return record.bench(U8, samples(flushed), state="flushed").end()

        status, found = self.data(run(100, 15), run(200, 7.5))
        verdicts = {(item["width"], item["state"]): item["verdict"] for item in found["timings"]}
        self.assertEqual(verdicts, {(640, "hot"): "SAME", (1920, "hot"): "SLOW",
                                    (640, "flushed"): "FAST"})
        self.assertEqual(status, 1)
        (mean,) = found["modules"]
        self.assertEqual((mean["module"], mean["timings"]), ("ABSDIFF", 3))
        self.assertAlmostEqual(mean["geometricMean"], 1.0, places=2)

    def test_text(self) -> None:
        status, output, _ = self.compare(plausible_run(), plausible_run(9, slower=1.2, build="b2"))
        self.assertEqual(status, 1)
        lines = output.splitlines()
        columns = [line.split() for line in lines if line.startswith("ABSDIFF/lumAbsDiffu8 ")]
        self.assertEqual(len(columns), 16)
        self.assertEqual(columns[2][:6], ["ABSDIFF/lumAbsDiffu8", "V", "640", "x", "480", "hot"])
        self.assertEqual(columns[2][-1], "SLOW")
        self.assertIn("  ABSDIFF/lumAbsDiffu8/V 640 x 480 hot: 1.198", lines)
        self.assertIn("ABSDIFF: geometric mean of B / A 1.023 (160 timings)", lines)
        self.assertRegex(lines[-1], r"^REGRESSION: \d+ SAME, 0 FAST, 20 SLOW, .*; 0 newly failing$")


class Verdicts(CompareCase):
    def lists(self, a: RunRecord, b: RunRecord, *options: str, cut: tuple[int, int] = (0, 0)
              ) -> tuple[int, list[str]]:
        """Names of what fails newly, "+" before what is mended, "?" before what is untested."""
        status, found = self.data(a, b, *options, cut=cut)
        names = []
        for sign, title in (("", "newlyFailing"), ("+", "mended"), ("?", "untested")):
            for item in found[title]:
                parts = (item["module"], item["function"], item["slot"], item["check"])
                names.append(sign + ("/".join(filter(None, parts)) or "run"))
        return status, names

    def test_changes_of_a_check(self) -> None:
        name = U8 + "/golden"
        for before, after, expected in (
            ("PASS", "FAIL", (1, [name])),
            ("PASS", "CRASHED", (1, [name])),
            ("PASS", "TIMEOUT", (1, [name])),
            ("PASS", "FELL_BACK", (1, [name])),
            ("PASS", "NOT_BUILT", (1, [name])),
            ("PASS", "A new word", (1, [name])),
            ("SKIPPED", "FAIL", (1, [name])),
            ("FELL_BACK", "FAIL", (1, [name])),
            ("PASS", "SKIPPED", (0, ["?" + name])),
            ("FAIL", "FAIL", (0, [])),
            ("FAIL", "CRASHED", (0, [])),
            ("FAIL", "PASS", (0, ["+" + name])),
            ("FELL_BACK", "FELL_BACK", (0, [])),
            ("NOT_BUILT", "PASS", (0, [])),
        ):
            with self.subTest(before=before, after=after):
                self.assertEqual(
                    self.lists(RunRecord().check(U8, before).end(),
                               RunRecord().check(U8, after).end()), expected)

    def test_a_check_that_is_new_or_gone(self) -> None:
        plain = RunRecord().check(U8).end()
        for verdict, expected in (("FAIL", (1, [U8 + "/sweep"])), ("PASS", (0, [])),
                                  ("FELL_BACK", (0, []))):
            more = RunRecord().check(U8).check(U8, verdict, check="sweep").end()
            self.assertEqual(self.lists(plain, more), expected)
        more = RunRecord().check(U8).check(U8, check="sweep").end()
        self.assertEqual(self.lists(more, plain), (0, ["?" + U8 + "/sweep"]))

    def test_modules_and_the_run_where_no_check_tells(self) -> None:
        def run(hw: str, end: str, check: str = "PASS") -> RunRecord:
            return RunRecord().module("HW", hw).check(U8, check).module("ABSDIFF", check).end(end)

        good = run("PASS", "PASS")
        self.assertEqual(self.lists(good, run("FAIL", "FAIL")), (1, ["HW"]))
        self.assertEqual(self.lists(good, run("PASS", "FAIL")), (1, ["run"]))
        self.assertEqual(self.lists(good, run("NOT_BUILT", "PASS")), (1, ["HW"]))
        self.assertEqual(self.lists(good, run("PASS", "FAIL", "FAIL")), (1, [U8 + "/golden"]))
        self.assertEqual(self.lists(run("FAIL", "FAIL"), good), (0, ["+HW"]))

    def test_a_run_that_was_cut_off_fails(self) -> None:
        whole = plausible_run(faults=False)
        cut = len(whole.text()) // 2
        status, names = self.lists(whole, whole, cut=(0, cut))
        self.assertEqual((status, [name for name in names if "?" not in name][-1]), (1, "run"))
        self.assertTrue(any(name.startswith("?AVERAGE") for name in names))
        self.assertEqual(self.lists(whole, whole, cut=(cut, cut))[0], 0)
        self.assertEqual(self.lists(whole, whole, cut=(cut, 0))[0], 0)
        self.assertIn("B has no end", self.compare(whole, whole, cut=(0, cut))[1])


class Comparable(CompareCase):
    def test_unlike_runs_are_refused(self) -> None:
        def run(**machine: Any) -> RunRecord:
            return RunRecord(**machine).check(U8).bench(U8, samples(10)).end()

        good = run()
        for member, value in (("machine", "aarch64"), ("cpu", "Other"), ("compiler", "Clang 14"),
                              ("buildType", "Debug"), ("vectorTarget", "sse4"),
                              ("emulated", True), ("cpu", "")):
            other = run(**{member: value})
            status, output, errors = self.compare(good, other)
            self.assertEqual((status, output), (2, ""), member)
            self.assertIn("not comparable", errors)
            self.assertIn("--different-ok", errors)
            status, _, errors = self.compare(good, other, "--different-ok")
            self.assertEqual((status, errors), (0, ""), member)
            status, output, _ = self.compare(good, other, "--json")
            self.assertEqual((status, json.loads(output)["comparable"]), (2, False))
        status, output, _ = self.compare(good, run(build="other", host="h2"))
        self.assertEqual(status, 0)
        self.assertIn("hosts differ: bench1 and h2", output)

    def test_runs_that_share_nothing_are_refused(self) -> None:
        times = RunRecord().check(U8).bench(U8, samples(10)).end()
        for other in (RunRecord().check(U8).end(),
                      RunRecord().check(U8).bench(U8, samples(10), width=1).end()):
            status, _, errors = self.compare(times, other)
            self.assertEqual(status, 2)
            self.assertIn("none of A's times", errors)
        self.assertEqual(self.compare(times, RunRecord().check(U8, "CRASHED").end("FAIL"))[0], 1)
        self.assertEqual(self.compare(RunRecord().check(U8).end(), times)[0], 0)
        status, _, errors = self.compare(RunRecord().end(), RunRecord().check("M/f/C").end())
        self.assertEqual(status, 2)
        self.assertIn("no function and slot is in both", errors)

    def test_what_cannot_be_read(self) -> None:
        good = plausible_run().write(self.folder / "good.jsonl")
        (self.folder / "bad.jsonl").write_text("[]\n")
        for name in ("missing", "bad.jsonl", "."):
            status, output, errors = self.run_tool(good, self.folder / name)
            self.assertEqual((status, output), (2, ""), name)
            self.assertRegex(errors, "^lumen-compare: .+")
        for threshold in ("-1", "nan", "inf", "much"):
            with self.assertRaises(SystemExit) as exit_, contextlib.redirect_stderr(io.StringIO()):
                self.run_tool(good, good, f"--threshold={threshold}")
            self.assertEqual(exit_.exception.code, 2)

    def test_a_reader_that_stops_early_changes_nothing(self) -> None:
        paths = (plausible_run(seed, slower=slower).write(self.folder / f"{seed}.jsonl")
                 for seed, slower in ((1, 1.0), (2, 1.3)))
        with subprocess.Popen([TOOLS / "lumen-compare", *paths], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as process:
            assert process.stdout and process.stderr
            process.stdout.close()
            self.assertEqual((process.wait(), process.stderr.read()), (1, b""))

    def test_without_scipy_it_says_what_to_install(self) -> None:
        good = plausible_run().write(self.folder / "good.jsonl")
        for name in [name for name in sys.modules if name.startswith("lumencompare.")]:
            if name != "lumencompare.cli":
                self.addCleanup(sys.modules.__setitem__, name, sys.modules.pop(name))
        with mock.patch.dict(sys.modules, {"scipy": None}):
            status, _, errors = self.run_tool(good, good)
        self.assertEqual(status, 2)
        self.assertIn("python3-scipy", errors)


if __name__ == "__main__":
    unittest.main()
