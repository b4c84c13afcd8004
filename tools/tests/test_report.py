"""Proves lumen-report: what its pages say, and that they are safe and stand alone."""

import contextlib
import io
import re
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

TOOLS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOOLS), str(TOOLS / "tests")]

from lumenreport import cli  # noqa: E402
from lumenreport.markup import tag  # noqa: E402
from pagereader import Element, PageReader, decode_png, section  # noqa: E402
from runrecord import RunRecord, plausible_run, samples  # noqa: E402

EVIL = "\"'><script>alert(1)</script>&amp;<img src=http://example.com/x.png>"


class ReportCase(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.output = self.folder / "page.html"

    def run_tool(self, *arguments: object) -> tuple[int, str]:
        errors = io.StringIO()
        with contextlib.redirect_stderr(errors):
            status = cli.main([*map(str, arguments), "-o", str(self.output)])
        return status, errors.getvalue()

    def page(self, *runs: RunRecord, cut: int = 0) -> Element:
        paths = [run.write(self.folder / f"run{index}.jsonl", cut)
                 for index, run in enumerate(runs)]
        self.assertEqual(self.run_tool(*paths)[0], 0)
        return PageReader(self.output.read_text("utf-8")).root

    def badges(self, element: Element) -> list[tuple[str, set[str]]]:
        return [(item.text, item.classes - {"badge", "big"})
                for item in element.all("span", "badge")]


class WholePage(ReportCase):
    def test_stands_alone(self) -> None:
        root = self.page(plausible_run(), plausible_run(2, faults=False))
        text = self.output.read_text("utf-8")
        self.assertNotRegex(text, r"https?:|//|@import|url\(|<script|<link|<iframe|\son[a-z]+=")
        self.assertLess(len(text), 1_000_000)
        ids = [item.attributes["id"] for item in root.all() if "id" in item.attributes]
        self.assertEqual(len(ids), len(set(ids)))
        links = [item.attributes["href"] or "" for item in root.all("a")]
        self.assertTrue(links)
        for link in links:
            self.assertIn(link.removeprefix("#"), ids)

    def test_what_a_record_says_is_text(self) -> None:
        run = RunRecord(host=EVIL, cpu=EVIL, arguments=[EVIL], build=EVIL)
        subject = "/".join([EVIL.replace("/", "|")] * 3)
        run.module(EVIL, "NOT_BUILT").module(EVIL + "2").row(subject, verdict="FAIL", script=EVIL)
        run.check(subject, "FAIL", check=EVIL, detail=EVIL, tolerance=100)
        run.case(subject, check=EVIL, case=EVIL, command=EVIL, detail=EVIL, buffer=EVIL, offset=1,
                 access="read", saved=EVIL, reference=EVIL, result=EVIL)
        run.bench(subject, [1.0, 2.0], state=EVIL).end()
        other = RunRecord(cpu="other").check(subject).bench(subject, [1.0], state=EVIL).end()
        root = self.page(run, other)
        self.assertEqual(root.all("script") + root.all("img"), [])
        self.assertEqual([item.text for item in root.all("pre")][0], EVIL)
        self.assertEqual({name for item in root.all() for name in item.attributes
                          if name.startswith("on") or name == "style"}, set())

    def test_attributes_are_escaped_too(self) -> None:
        (element,) = PageReader(tag("a", "x", href=EVIL, id=None, open=True)).root.all()
        self.assertEqual(element.attributes, {"href": EVIL, "open": None})

    def test_a_run_that_was_cut_off(self) -> None:
        run = plausible_run(faults=False)
        root = self.page(run, cut=len(run.text()) // 2)
        self.assertEqual(self.badges(root)[0], ("CUT OFF", {"bad"}))
        warning = root.all("p", "cut")[0].text
        self.assertRegex(warning, r"no end.* ABSDIFF/lumAbsDiff\w+/[A-Z]")
        self.assertTrue(root.all("p", "warning", "is cut off"))
        self.assertTrue(section(root, "Functions").all("article"))

    def test_the_head_warns_of_times_that_say_little(self) -> None:
        run = RunRecord(buildType="Debug", emulated=True)
        run.add("environment", when="before", governor=["performance", "powersave"])
        run.bench("M/f/C", [1.0, 9.0, 1.5], unstable=True).end()
        warnings = " ".join(item.text for item in self.page(run).all("p", "warning"))
        for word in ("Debug", "emulated", "powersave", "1 of 1 timing"):
            self.assertIn(word, warnings)

    def test_a_failed_check_outweighs_exit_status_0(self) -> None:
        root = self.page(RunRecord().check("M/f/C", "FAIL", check="poison").module("M").end())
        self.assertEqual(self.badges(root)[0], ("FAIL", {"bad"}))
        self.assertIn("the program's own verdict is PASS, exit status 0", root.text)


class Sections(ReportCase):
    def test_not_built_is_counted_and_never_green(self) -> None:
        run = RunRecord().module("HW").module("DEPTH", "NOT_BUILT").module("DOT", "NOT_BUILT")
        run.check("M/f/C").check("M/f/G", "NOT_BUILT").check("M/g/G").module("M").end()
        part = section(self.page(run), "Modules and slots")
        self.assertIn("2 of 4 modules NOT BUILT", part.text)
        chips = part.all("div", "chips")[0]
        self.assertEqual(self.badges(chips), [("DEPTH", {"none"}), ("DOT", {"none"})])
        cells = part.all("tr", text="M PASS")[0].all("td")
        self.assertEqual(self.badges(cells[1]), [("1 PASS", {"good"})])
        self.assertEqual(self.badges(cells[2]), [("1 NOT BUILT", {"none"}), ("1 PASS", {"good"})])

    def test_the_matrix_shows_the_worst_first(self) -> None:
        run = RunRecord().check("M/f/V").check("M/f/V", "CRASHED", check="guard").check("M/g/V")
        run.check("M/h/V", "FELL_BACK", check="attest").check("M/h/C", "FELL_BACK").end()
        cells = section(self.page(run), "Modules and slots").all("tr")[1].all("td")
        self.assertEqual(self.badges(cells[1]), [("1 FELL BACK", {"odd"})])
        self.assertEqual(self.badges(cells[2]), [
            ("1 CRASHED", {"bad"}), ("1 FELL BACK", {"odd"}), ("1 PASS", {"good"})])

    def test_times_of_a_function(self) -> None:
        run = RunRecord().bench("M/f/C", samples(6000)).bench("M/f/V", samples(1000))
        run.bench("M/f/V", samples(2000), state="flushed")  # without its reference
        run.bench("M/f/G", [1500.0, 3000.0, 4500.0], unstable=True)
        run.bench("M/f/Q", [1.0], median=0, rmad=None).bench("M/f/L", [-5.0, -1.0]).end()
        part = section(self.page(run), "Functions")
        hot, flushed = (table.all("tr") for table in part.all("table", "times"))
        ups = {row.all("td")[0].text[0]: row.all("td")[2].text for row in hot[1:]}
        self.assertEqual(ups, {"C": "1.00 ×", "V": "6.00 ×", "Q": "–", "G": "2.00 ×", "L": "–"})
        bars = {row.all("td")[0].text[0]: row.all("path", "bar") for row in hot[1:]}
        length = {slot: float(re.findall(r"H([\d.]+)V", found[0].attributes["d"] or "")[0])
                  for slot, found in bars.items() if found}
        self.assertAlmostEqual(length["V"] / length["C"], 6, delta=0.05)
        self.assertEqual(flushed[1].all("td")[2].text, "–")
        drawn = {row.all("td")[0].text[0] for row in hot[1:] if row.all("svg", "dist")}
        self.assertEqual(drawn, {"C", "V", "G"})
        self.assertEqual([row.all("td")[0].text for row in hot if "unstable" in row.text],
                         ["G unstable"])

    def test_a_histogram_shows_every_sample(self) -> None:
        times = [100.0] * 30 + [101.0] * 10 + [400.0]
        run = RunRecord().bench("M/f/C", times).end()
        path = section(self.page(run), "Functions").all("path", "hist")[0].attributes["d"] or ""
        heights = [22 - int(height) for height in re.findall(r"V(\d+)", path)]
        self.assertEqual(max(heights), 21)
        self.assertEqual(heights[-2:], [1, 0])  # the one that is far out

    def test_slack_and_slow(self) -> None:
        run = RunRecord()
        for slot in "CV":
            run.check(f"M/f/{slot}", tolerance=1, difference=0.04, seconds=0.5)
        run.check("M/g/C", tolerance=1, difference=0.9, seconds=2).end()
        root = self.page(run)
        rows = section(root, "Slack tolerances").all("tr")
        self.assertEqual([row.text for row in rows[1:]], ["f C V 1 0.04 25.0 × 24"])
        slow = [row.text for row in section(root, "Slowest checks").all("tr")[1:]]
        self.assertEqual(slow[0].split()[:5], ["g", "C", "golden", "2.00", "s"])
        self.assertEqual(len(slow), 3)

    def test_records_side_by_side(self) -> None:
        first = RunRecord().check("M/f/V", "FAIL").bench("M/f/V", [100.0] * 9).end("FAIL")
        second = RunRecord(cpu="Other").check("M/f/V").bench("M/f/V", [150.0] * 9)
        second.bench("M/g/V", [1.0] * 9).end()
        part = section(self.page(first, second), "Side by side")
        self.assertIn("processor Example CPU 3000 and Other", part.all("p", "warning")[0].text)
        rows = [row.text for row in part.all("tr")]
        self.assertIn("f V 640 x 480 hot 100 ns 150 ns 1.500", rows)
        self.assertIn("g V 640 x 480 hot – 1.00 ns –", rows)
        self.assertIn("f V FAIL PASS", rows)


class Failures(ReportCase):
    def failing(self, reference: bytes, result: bytes, name: str = "m/reference") -> Element:
        saved = self.folder / "saved" / "m"
        saved.mkdir(parents=True, exist_ok=True)
        (saved / "reference").write_bytes(reference)
        (saved / "result").write_bytes(result)
        run = RunRecord().case("M/f/V", saved="saved", reference=name, result="m/result")
        return section(self.page(run.end("FAIL")), "Failures")

    def test_each_failure_has_its_command(self) -> None:
        run = RunRecord().case("M/f/V", command="lumenTest d --case=a", buffer="src1", offset=4096,
                               access="write", detail="fault").check("M/f/V", "FAIL", check="sweep")
        run.case("M/f/V", "CRASHED", check="guard", command="lumenTest d --case=b")
        run.row("M/g/C", verdict="FAIL", row=7, difference=5).check("M/g/C", "FAIL")
        run.row("M/g/C", verdict="FAIL", row=9, difference=2)
        run.row("M/h/C").check("M/h/C", "TIMEOUT", check="isolate").end("FAIL")
        cards = section(self.page(run), "Failures").all("div", "card")
        self.assertEqual([card.all("h3")[0].text for card in cards],
                         ["f, slot V", "g, slot C", "h, slot C"])
        self.assertEqual(self.badges(cards[0]), [("CRASHED", {"bad"})])
        self.assertEqual([item.text for item in cards[0].all("pre")],
                         ["lumenTest d --case=a", "lumenTest d --case=b"])
        self.assertIn("wrote to src1, 4 096 bytes after its start", cards[0].text)
        self.assertIn("rows 7, 9 of control_script_u8.csv", cards[1].text)
        self.assertIn("largest difference 5, allowed 0", cards[1].text)
        self.assertEqual(cards[2].all("pre")[0].text, "lumenTest testdata --filter=M/h/C")

    def test_the_difference_is_shown_amplified(self) -> None:
        pixels = bytearray(range(12))
        changed = bytearray(pixels)
        changed[5] += 2
        changed[6] -= 1
        header = b"P5\n# made by hand\n4 3\n255\n"
        part = self.failing(header + pixels, header + changed)
        reference, result, difference = (
            decode_png(item.attributes["src"]) for item in part.all("img"))
        self.assertEqual(sum(reference, []), list(pixels))
        self.assertEqual(sum(result, []), list(changed))
        self.assertEqual(sum(difference, []), [0, 0, 0, 0, 0, 255, 128, 0, 0, 0, 0, 0])
        self.assertIn("2 of 12 pixels differ, by at most 2", part.text)

    def test_large_pictures_lose_no_difference(self) -> None:
        header, size = b"P6\n1000 700\n65535\n", 1000 * 700 * 6
        pixels = bytes(size)
        for places, most in (([3 * 6 + 1, size - 1], 256), ([size - 1], 20)):
            changed = bytearray(pixels)
            for place in places:
                changed[place] = 9
            part = self.failing(header + pixels, header + changed)
            rows = decode_png(part.all("img")[2].attributes["src"])
            self.assertLessEqual(max(len(rows), len(rows[0]) // 3), most)
            self.assertEqual(sum(value == 255 for row in rows for value in row), len(places))

    def test_pictures_that_cannot_be_shown_are_named(self) -> None:
        good = b"P5 2 2 255\nabcd"
        (self.folder / "secret.pgm").write_bytes(good)
        (self.folder / "saved").mkdir()
        (self.folder / "saved" / "circle").symlink_to("circle")
        for content in (b"P5 2 2 255\nabc", b"P5 0 2 255\n", b"P5 2 2 0\nabcd", b"root:x:0:0",
                        b"P5 999999 999999 255\nabcd", b"P5 2 1 255\nab"):
            part = self.failing(content, good)
            self.assertEqual(part.all("img"), [], content)
            self.assertIn("No picture: ", part.text)
        for name in ("missing", "../secret.pgm", str(self.folder / "secret.pgm"), "circle", "m",
                     "x" * 5000):
            part = self.failing(good, good, name)
            self.assertEqual(part.all("img"), [], name)
            self.assertIn("No picture: ", part.text)
        self.assertEqual(len(self.failing(good, good).all("img")), 3)


class CommandLine(ReportCase):
    def test_what_cannot_be_read_or_written(self) -> None:
        good = RunRecord().end().write(self.folder / "good.jsonl")
        (self.folder / "bad.jsonl").write_text("no record\n")
        for arguments in (["missing"], ["bad.jsonl"], ["good.jsonl", "bad.jsonl"], ["."]):
            status, errors = self.run_tool(*(self.folder / name for name in arguments))
            self.assertEqual((status, self.output.exists()), (2, False), arguments)
            self.assertRegex(errors, "^lumen-report: .+")
        self.output = good
        self.assertEqual(self.run_tool(good)[0], 2)
        self.assertEqual(good.read_text(), RunRecord().end().text())
        self.output = self.folder / "no such folder" / "page.html"
        self.assertEqual(self.run_tool(good)[0], 2)
        self.output = self.folder / "page.html"
        with mock.patch("os.replace", side_effect=OSError("disk full")):
            self.assertEqual(self.run_tool(good)[0], 2)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()),
                         ["bad.jsonl", "good.jsonl"])

    def test_problems_of_a_record_are_told(self) -> None:
        path = RunRecord().end().write(self.folder / "run.jsonl", cut=5)
        status, errors = self.run_tool(path)
        self.assertEqual(status, 0)
        self.assertIn("line 2, the last one, is cut off", errors)
        self.assertEqual([path.name for path in self.folder.glob(".*")], [])


if __name__ == "__main__":
    unittest.main()
