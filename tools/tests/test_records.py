"""Proves that records are read right, whatever happened to them."""

import itertools
import json
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any

TOOLS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOOLS), str(TOOLS / "tests")]

from lumenrecords import select, show  # noqa: E402
from lumenrecords.reader import RecordError, read_record  # noqa: E402
from lumenrecords.record import Record, Subject  # noqa: E402
from lumenrecords.verdict import Verdict, verdict_of, worst  # noqa: E402
from lumenreport.page import page  # noqa: E402
from runrecord import RunRecord  # noqa: E402

U8 = "ABSDIFF/lumAbsDiffu8/V"
SUBJECT = Subject("ABSDIFF", "lumAbsDiffu8", "V")
ODD_VALUES = (None, True, -1, 0, 1e300, 10**400, float("nan"), float("-inf"), "", "x", [],
              ["x", 1, None, float("inf")], {"a": 1})


def one_of_each() -> RunRecord:
    record = RunRecord()
    record.add("environment", when="before", governor=["powersave"], frequency=[8e5],
               temperature=[40.0])
    record.module("HW").module("DEPTH", "NOT_BUILT")
    record.row(U8, verdict="FAIL", difference=2).case(U8, buffer="src1", offset=-1, access="read")
    record.check(U8, "FAIL", failedCases=1).bench(U8, [10.0, 11.0, 12.0])
    record.bench("ABSDIFF/lumAbsDiffu8/C", [20.0, 22.0, 21.0])
    return record.module("ABSDIFF", "FAIL").end("FAIL")


class RecordCase(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = Path(folder.name) / "run.jsonl"

    def read(self, content: str | bytes | RunRecord) -> Record:
        if isinstance(content, RunRecord):
            content = content.text()
        self.path.write_bytes(content.encode() if isinstance(content, str) else content)
        return read_record(self.path)


class Reading(RecordCase):
    def test_every_type_of_line_and_member_arrives(self) -> None:
        record = self.read(one_of_each())
        self.assertEqual(record.problems, [])
        self.assertEqual((record.run.build_type, record.run.hardware_mask), ("Release", 6))
        self.assertEqual(record.run.arguments[1], "testdata")
        self.assertIs(record.run.emulated, False)
        self.assertEqual(record.environments[0].frequency, (8e5,))
        self.assertEqual((record.rows[0].subject, record.rows[0].difference), (SUBJECT, 2))
        self.assertEqual((record.cases[0].offset, record.cases[0].access), (-1, "read"))
        self.assertEqual((record.checks[0].failed_cases, record.checks[0].cases), (1, 24))
        self.assertEqual(record.benches[0].samples, (10.0, 11.0, 12.0))
        self.assertAlmostEqual(record.benches[0].ns_per_pixel or 0, 11 / (640 * 480))
        self.assertEqual(record.modules[1].verdict, Verdict.NOT_BUILT)
        assert record.end
        self.assertEqual((record.end.exit_status, record.end.seconds), (1, 12.5))

    def test_a_record_that_ends_anywhere_is_shown_as_cut_off(self) -> None:
        text = one_of_each().text()
        first, end = text.index("\n") + 1, len(text) - 2
        for length in [*range(first, end, 97), *range(end - 80, end)]:
            with self.subTest(length=length):
                record = self.read(text[:length])
                self.assertTrue(record.cut_off)
                half = text[length - 1] not in "}\n"
                self.assertEqual(any("is cut off" in line for line in record.problems), half)
                whole = text[:length].count("\n") + (text[length - 1] == "}")
                kinds = (record.environments, record.rows, record.cases, record.checks,
                         record.benches, record.modules)
                self.assertEqual(1 + sum(map(len, kinds)), whole)
                self.assertIn("CUT OFF", page([(self.path, record)]))

    def test_a_broken_line_costs_no_other(self) -> None:
        text = one_of_each().text()
        for broken in (b"{", b"7", b"\xff\xfe", b'{"no": "type"}', b"[" * 100_000, b"9" * 5000):
            with self.subTest(broken=broken[:20]):
                lines = text.encode().splitlines()
                lines.insert(3, broken)
                record = self.read(b"\n".join(lines) + b"\n")
                self.assertEqual(len(record.problems), 1)
                self.assertIn("line 4", record.problems[0])
                self.assertEqual(len(record.benches), 2)
                self.assertFalse(record.cut_off)

    def test_what_is_no_record_is_refused(self) -> None:
        text = one_of_each().text()
        for content in ("", "\n\n", "hello\n", "[]\n", "null", b"\x89PNG\r\n\x1a\n", text + text):
            with self.subTest(content=content[:20]), self.assertRaises(RecordError):
                self.read(content)

    def test_unknown_types_members_and_verdicts(self) -> None:
        record = self.read(RunRecord(shiny=1).add("future", verdict="PASS")
                           .check(U8, "SPLENDID").end())
        self.assertEqual(record.problems, [])
        self.assertEqual(select.function_verdicts(record), {SUBJECT: Verdict.UNKNOWN})
        for word in (None, "pass", [], {}, 1):
            self.assertIs(verdict_of(word), Verdict.UNKNOWN)

    def test_another_schema_and_lost_first_line_are_told(self) -> None:
        self.assertIn("schema 2", self.read(RunRecord(schema=2).end()).problems[0])
        headless = self.read(one_of_each().text().split("\n", 1)[1])
        self.assertIn("first line", headless.problems[0])
        self.assertEqual(len(headless.benches), 2)

    def test_no_value_of_any_member_stops_reading_or_the_page(self) -> None:
        lines = one_of_each().lines
        for index, line in enumerate(lines):
            for key, value in itertools.product(line, ODD_VALUES):
                changed: list[dict[str, Any]] = [*lines]
                changed[index] = {**line, key: value}
                with self.subTest(type=line["type"], key=key, value=str(value)[:20]):
                    text = "\n".join(map(json.dumps, changed))
                    self.assertTrue(page([(self.path, self.read(text))]))

    def test_texts_cannot_steer_a_terminal_or_reorder_text(self) -> None:
        detail = "a\x1b[2Jb\x00c\u202ed\ud800e\nf\u2028g"
        record = self.read(RunRecord().check(U8, detail=detail))
        self.assertEqual(record.checks[0].detail, "a\ufffd[2Jb\ufffdc\ufffdd\ufffde f g")


class Selecting(RecordCase):
    def test_the_worst_verdict_speaks(self) -> None:
        self.assertIs(worst([]), Verdict.SKIPPED)
        ascending = ["SKIPPED", "PASS", "NOT_BUILT", "FELL_BACK", "FAIL", "TIMEOUT", "CRASHED"]
        for low, high in itertools.combinations(map(Verdict, ascending), 2):
            self.assertIs(worst([high, low]), high)
        record = self.read(RunRecord().check(U8).check(U8, "FAIL", cases=3, failedCases=1,
                                                       difference=9).module("ABSDIFF").end())
        together = select.checks_of(record)[SUBJECT]["golden"]
        self.assertEqual((together.verdict, together.cases, together.failed_cases,
                          together.difference), (Verdict.FAIL, 27, 1, 9))
        self.assertIs(select.overall_verdict(record), Verdict.FAIL)

    def test_a_check_that_was_cut_off_cannot_pass(self) -> None:
        record = self.read(RunRecord().row(U8).row(U8))
        self.assertEqual(select.function_verdicts(record), {SUBJECT: Verdict.UNKNOWN})
        self.assertEqual(select.module_verdicts(record), {"ABSDIFF": Verdict.UNKNOWN})
        failed = self.read(RunRecord().row(U8).case(U8, "CRASHED"))
        self.assertEqual(select.function_verdicts(failed), {SUBJECT: Verdict.CRASHED})
        summed = self.read(RunRecord().row(U8).check(U8))
        self.assertEqual(select.function_verdicts(summed), {SUBJECT: Verdict.PASS})

    def test_repeated_timings_are_pooled(self) -> None:
        record = self.read(RunRecord().bench(U8, [10.0, 10.0, 10.0]).bench(U8, [30.0] * 4)
                           .bench(U8, [7.0, 8.0, 9.0], state="flushed"))
        medians = {key.state: bench.median for key, bench in select.timings(record).items()}
        self.assertEqual(medians, {"hot": 30.0, "flushed": 8.0})
        lost = self.read(RunRecord().bench(U8, [7.0, 8.0, 9.0], median=None, min=None))
        self.assertEqual([bench.min for bench in select.timings(lost).values()], [7.0])
        empty = RunRecord().add("bench", module="M", function="f", slot="C", count=0)
        self.assertEqual(select.timings(self.read(empty)), {})

    def test_order_is_the_run_s(self) -> None:
        names = ["Z/b/V", "Z/b/C", "Z/a/S", "A/c/Q"]
        run = RunRecord()
        for name in names:
            run.check(name)
        record = self.read(run)
        found = select.subjects_in_order(set(record.subjects), record)
        self.assertEqual([str(item) for item in found], ["Z/b/C", "Z/b/V", "Z/a/S", "A/c/Q"])

    def test_slack_is_a_tolerance_that_nothing_came_near_to(self) -> None:
        record = self.read(
            RunRecord()
            .check("M/exact/C", tolerance=0, difference=0)
            .check("M/near/C", tolerance=1, difference=0.5)
            .check("M/far/C", tolerance=1, difference=0.1)
            .check("M/never/C", tolerance=2, difference=0)
            .check("M/idle/C", tolerance=2, difference=0, cases=0)
            .check("M/far/V", tolerance=1, difference=0.1)
            .check("M/far/V", tolerance=1, difference=0.9, check="sweep"))
        found = [(str(item.subject), item.factor) for item in select.slack_tolerances(record, 10)]
        self.assertEqual(found, [("M/never/C", float("inf")), ("M/far/C", 10)])

    def test_the_command_repeats_one_function_and_spares_the_record(self) -> None:
        run = RunRecord(arguments=["build/lumenTest", "my data", "-U", "--json=run.jsonl",
                                   "--filter=*u8", "--poison"], options="--sweep=quick --junit=x")
        command = select.repeating_command(self.read(run), SUBJECT)
        self.assertEqual(
            command,
            "build/lumenTest 'my data' -U --poison --sweep=quick --filter=ABSDIFF/lumAbsDiffu8/V")
        bare = select.repeating_command(self.read(RunRecord(arguments=["testdata"])), SUBJECT)
        self.assertTrue(bare.startswith("lumenTest testdata --filter="))

    def test_numbers_as_people_read_them(self) -> None:
        times = {0: "0.00 ns", 999.4: "999 ns", 999.6: "1.00 µs", 12_340: "12.3 µs",
                 5e8: "500 ms", 9.995e8: "1.00 s", 6e10: "60.0 s"}
        for nanoseconds, text in times.items():
            self.assertEqual(show.duration(nanoseconds), text)
        self.assertEqual([show.number(n) for n in (None, 1234567, 0.25, 1e300)],
                         ["–", "1234567", "0.25", "1e+300"])
        self.assertEqual(show.count(1, "case"), "1 case")


if __name__ == "__main__":
    unittest.main()
