"""Records of whole runs, as other readers of JSON and XML see them, and what docs/records.md says.

Arguments: lumenTest, the test data, docs/records.md.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

program, data, guide = map(pathlib.Path, sys.argv[1:])

ARGUMENTS = ["-m", "ABSDIFF", "-f", "lumAbsDiffu8", "-U"]
SCRIPT = "lumenabsdiff/control_script_u8.csv"
SLOTS = "CVQG"
FAILING_ROW = 2


def run(directory, options=""):
    environment = {**os.environ, "LUMEN_TEST_OPTS": options}
    return subprocess.run([program, directory, *ARGUMENTS], env=environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def without_times(text):
    return [line for line in text.splitlines() if not re.search("Time taken|cpu[0-9]:", line)]


def documented():
    """The members of each type of line."""
    text = guide.read_text()
    rows = re.findall(r"^\| `(\w+)` \| (.*) \|$", text, re.MULTILINE)
    # What stands in brackets explains a member.
    return {kind: set(re.findall(r"`(\w+)`", re.sub(r"\([^()]*\)", "", members)))
            for kind, members in rows}


class RecordTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        root = pathlib.Path(cls.folder.name)
        cls.bad = root / "data & \"more\""
        shutil.copytree(data / "lumenabsdiff", cls.bad / "lumenabsdiff")
        (cls.bad / "lumTestRef").symlink_to(data.resolve() / "lumTestRef")
        shutil.copy(data / "LumenTestTable.csv", cls.bad)
        lines = (data / SCRIPT).read_text().splitlines()
        columns = lines[2 + FAILING_ROW].split(",")
        lines[2 + FAILING_ROW] = ",".join([*columns[:2], columns[0], *columns[3:]])
        (cls.bad / SCRIPT).write_text("\n".join(lines) + "\n")
        cls.rows = len(lines) - 2

        cls.plain = run(cls.bad)
        json_file, junit_file = root / "run.json", root / "run.xml"
        cls.recorded = run(cls.bad, f"--json={json_file} --junit={junit_file}")
        cls.lines = [json.loads(line) for line in json_file.read_text().splitlines()]
        cls.suites = ElementTree.parse(junit_file).getroot()
        run(data, f"--json={json_file} --bench=0.01")
        cls.timed = [json.loads(line) for line in json_file.read_text().splitlines()]

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def of_type(self, kind):
        return [line for line in self.lines if line["type"] == kind]

    def test_a_run_is_the_same_with_records(self):
        self.assertEqual(self.plain.returncode, 1)
        self.assertEqual(self.recorded.returncode, 1)
        self.assertEqual(without_times(self.recorded.stdout), without_times(self.plain.stdout))
        self.assertEqual(without_times(self.recorded.stderr), without_times(self.plain.stderr))

    def test_lines_have_the_members_of_the_guide(self):
        members = documented()
        for line in self.lines + self.timed:
            kind = line["type"]
            if kind in ("row", "check", "bench"):
                self.assertEqual(line["module"], "ABSDIFF")
                self.assertEqual(line["function"], "lumAbsDiffu8")
                self.assertIn(line["slot"], SLOTS)
                expected = members[kind] | {"module", "function", "slot"}
            elif kind == "module":
                expected = members[kind] | {"module"}
            else:
                expected = members[kind]
            self.assertEqual(line.keys() - {"type"}, expected, kind)
        self.assertEqual([self.lines[0]["type"], self.lines[-1]["type"]], ["run", "end"])

    def test_the_run_is_known(self):
        line = self.lines[0]
        self.assertEqual(line["arguments"], [str(program), str(self.bad), *ARGUMENTS])
        self.assertEqual(line["seed"], 1246302971)
        self.assertEqual(line["machine"], os.uname().machine)
        self.assertEqual(line["emulated"], False)
        self.assertGreater(line["hardwareMask"], 0)
        self.assertRegex(line["started"], r"^20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ$")

    def test_each_row_is_there_with_its_difference(self):
        rows = self.of_type("row")
        self.assertEqual([(line["slot"], line["row"]) for line in rows],
                         [(slot, row) for slot in SLOTS for row in range(self.rows)])
        for line in rows:
            fails = line["row"] == FAILING_ROW
            self.assertEqual(line["script"], SCRIPT)
            self.assertEqual(line["verdict"], "FAIL" if fails else "PASS")
            self.assertEqual(line["difference"] > line["tolerance"], fails)

    def test_verdicts_follow_from_the_rows(self):
        checks = self.of_type("check")
        self.assertEqual([line["slot"] for line in checks], list(SLOTS))
        for line in checks:
            self.assertEqual((line["check"], line["verdict"]), ("golden", "FAIL"))
            self.assertEqual((line["cases"], line["failedCases"]), (self.rows, 1))
            self.assertIn(f"row {FAILING_ROW} of {SCRIPT}", line["detail"])
        self.assertEqual([line["verdict"] for line in self.of_type("module")], ["FAIL"])
        self.assertEqual([(line["verdict"], line["exitStatus"]) for line in self.of_type("end")],
                         [("FAIL", 1)])

    def test_junit_has_a_case_for_each_check(self):
        names = [case.get("name") for case in self.suites.iter("testcase")]
        self.assertEqual(names, [f"lumAbsDiffu8/{slot}/golden" for slot in SLOTS])
        for element in [self.suites, *self.suites.iter("testsuite")]:
            for attribute, tag in (("tests", "testcase"), ("failures", "failure"),
                                   ("errors", "error"), ("skipped", "skipped")):
                self.assertEqual(int(element.get(attribute)), len(list(element.iter(tag))))
        self.assertEqual(len(list(self.suites.iter("failure"))), len(SLOTS))

    def test_times_agree_with_their_samples(self):
        timings = [line for line in self.timed if line["type"] == "bench"]
        self.assertEqual([(line["slot"], line["state"]) for line in timings],
                         [(slot, state) for slot in SLOTS for state in ("hot", "flushed")])
        for line in timings:
            samples = line["samples"]
            self.assertEqual(len(samples), min(line["count"], 1000))
            self.assertTrue(min(samples) >= line["min"] - 0.01)
            self.assertTrue(line["min"] <= line["median"] <= line["p95"])
            self.assertEqual((line["width"], line["height"]), (640, 480))
            self.assertAlmostEqual(line["nsPerPixel"] * 640 * 480, line["median"], 3)


unittest.main(argv=sys.argv[:1])
