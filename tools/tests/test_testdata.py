"""Proves the shipped test data right and strong, and the tool that makes them.

Run with: /usr/bin/python3 -m unittest discover tools/tests
"""

import contextlib
import hashlib
import io
import math
import re
import struct
import sys
import tempfile
import unittest
from collections.abc import Callable, Iterator
from dataclasses import dataclass, replace
from pathlib import Path
from unittest import mock

TOOLS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOOLS), str(TOOLS / "tests")]

from lumentestdata import cli, photographs, profiling, tree  # noqa: E402
from reader import TYPES, Buffer, Number, converted, read_buffer, read_table  # noqa: E402

DATA = TOOLS.parent / "testdata"
MODULE = DATA / "lumenabsdiff"
REFERENCES = DATA / "lumTestRef"
FORMS = {"": 1, "V": 1, "Vc3": 3, "Vc4": 4}  # channels
WRAP = 2**32

Difference = Callable[[Number, Number], Number]


def difference_u8(a: Number, b: Number) -> Number:
    return abs(a - b)


def difference_s32(a: Number, b: Number) -> Number:
    wrapped = (a - b) % WRAP
    return min(wrapped, WRAP - wrapped)


def difference_f32(a: Number, b: Number) -> Number:
    # A double holds enough bits that rounding the difference twice changes nothing.
    return abs(converted(a - b, "f"))


DIFFERENCES: dict[str, Difference] = {
    "u8": difference_u8,
    "s32": difference_s32,
    "f32": difference_f32,
}


@dataclass
class Row:
    """One test case as a module test sees it."""

    title: str
    source: Buffer
    operand: Buffer | list[Number]
    reference: Buffer
    destination_stride: int

    def run(self, difference: Difference, skew: int = 0, tail: int = 0) -> list[Number]:
        """The destination's region after a call on the rows that the files hold: with `skew` it
        takes source rows to be that much shorter, with `tail` it stops short of the rows' ends."""
        source = self.source
        width, height = source.width, self.reference.rows_given
        pitch = source.stride - skew
        destination: list[Number] = [0] * (self.destination_stride * height)
        for y in range(height):
            for x in range(width - tail):
                at = y * pitch + x
                if isinstance(self.operand, Buffer):
                    other = self.operand.at(at)
                else:
                    other = self.operand[x % len(self.operand)]
                result = difference(source.at(at), other)
                destination[y * self.destination_stride + x] = result
        return self._region(destination)

    def passes(self, region: list[Number]) -> bool:
        """What a comparison with tolerance 0 says; a NaN difference is no mismatch."""
        return not any(abs(e - r) > 0 for e, r in zip(self.expected(), region, strict=True))

    def expected(self) -> list[Number]:
        return self._region(self.reference.elements)

    def _region(self, elements: list[Number]) -> list[Number]:
        stride, width = self.reference.stride, self.reference.width
        rows = range(0, self.reference.rows_given * stride, stride)
        return [element for row in rows for element in elements[row : row + width]]


def rows_of(script: Path, directory: Path) -> Iterator[Row]:
    names, types, lines = read_table(script)
    for number, line in enumerate(lines):
        buffers, values = {}, []
        for name, kind, field in zip(names, types, line):
            if kind.endswith("[]") and (directory / field).parent.name != "generated":
                buffers[name] = read_buffer(directory / field, kind[:-2])
            elif kind in TYPES:
                values.append(converted(float(field), TYPES[kind][0]))
        if "ref" in buffers:
            reference = buffers["ref"]
            source = buffers.get("src1") or buffers["src"]
            operand = buffers.get("src2", values)
            # Two-source tests pass the second source's stride for the destination's.
            stride = operand.stride if isinstance(operand, Buffer) else reference.stride
            yield Row(f"{script.name} row {number}", source, operand, reference, stride)


def scripts(kind: str = "") -> Iterator[tuple[str, str, list[Row]]]:
    """Form, element type and rows of each script of a kind."""
    for path in sorted(MODULE.glob(f"control_script_{kind}*.csv")):
        match = re.fullmatch(rf"control_script_{kind}(V|Vc3|Vc4|)(u8|s32|f32)\.csv", path.name)
        if match:
            yield match[1], match[2], list(rows_of(path, REFERENCES if kind else MODULE))


class ShippedData(unittest.TestCase):
    def test_references(self) -> None:
        self.assertEqual(len(list(scripts())), 12)
        self.assertEqual(len(list(scripts("profiling_"))), 6)
        for form, element, rows in [*scripts(), *scripts("profiling_")]:
            for row in rows:
                with self.subTest(row.title):
                    self.assertEqual(row.run(DIFFERENCES[element]), row.expected())
                    self.assert_shapes_fit(row, FORMS[form])

    def assert_shapes_fit(self, row: Row, channels: int) -> None:
        source, reference = row.source, row.reference
        self.assertEqual((source.width, source.height), (reference.width, reference.height))
        self.assertEqual(source.width % channels, 0)
        if isinstance(row.operand, Buffer):
            shapes = [replace(b, elements=[]) for b in (source, row.operand, reference)]
            self.assertEqual(shapes, shapes[:1] * 3)
            given = max(source.rows_given, row.operand.rows_given)
            self.assertLessEqual(given, reference.rows_given, "rows left out have the result 0")
        elif reference.rows_given < reference.height:
            self.assertEqual(row.operand, [0], "rows left out have the result 0")

    def test_profiling_rows_are_the_resolutions(self) -> None:
        sizes = [(640, 480), (800, 480), (320, 240), (239, 161)]
        generated = ["1920x1080", "3264x2448", "3840x2160", "4000x3000"]
        for form, element, rows in scripts("profiling_"):
            self.assertEqual([(row.source.width, row.source.height) for row in rows], sizes)
            _, _, lines = read_table(MODULE / f"control_script_profiling_{form}{element}.csv")
            for line, size in zip(lines[4:], generated, strict=True):
                self.assertTrue(line[0].startswith(f"generated/{size}_src1_{element}.data"))

    def test_every_row_fails_a_function_that_does_nothing(self) -> None:
        for _, _, rows in [*scripts(), *scripts("profiling_")]:
            for row in rows:
                self.assertFalse(row.passes([0] * len(row.run(lambda a, b: 0))), row.title)

    def test_faults_are_caught(self) -> None:
        for form, element, rows in scripts():
            right = DIFFERENCES[element]
            faults: dict[str, Callable[[Row], list[Number]]] = {
                "sign kept": lambda row: row.run(lambda a, b: converted_signed(a - b, element)),
                "negative results cut off": lambda row: row.run(
                    lambda a, b: right(a, b) if a > b else 0
                ),
                "operand ignored": lambda row: row.run(lambda a, b: right(a, 0)),
                "source ignored": lambda row: row.run(lambda a, b: right(0, b)),
                "row's last element left out": lambda row: row.run(right, tail=1),
                "source padding ignored": lambda row: row.run(
                    right, skew=row.source.stride - row.source.width
                ),
            }
            if form.startswith("Vc"):
                faults["channels turned"] = lambda row: replace(
                    row, operand=row.operand[1:] + row.operand[:1]
                ).run(right)
            if form.startswith("V"):
                faults["source stride for the destination"] = lambda row: replace(
                    row, destination_stride=row.source.stride
                ).run(right)
            if element == "s32":
                faults["differences saturate"] = lambda row: row.run(
                    lambda a, b: min(abs(a - b), 2**31 - 1)
                )
            if element == "f32":
                faults["rounded toward zero"] = lambda row: row.run(truncated_difference)
                faults["infinity cut to the largest"] = lambda row: row.run(
                    lambda a, b: min(right(a, b), 3.4028234663852886e38)
                )
            for fault, run in faults.items():
                with self.subTest(form=form, element=element, fault=fault):
                    self.assertTrue(any(not row.passes(run(row)) for row in rows))

    def test_padding_is_never_what_a_call_leaves(self) -> None:
        padded = 0
        for _, _, rows in scripts():
            for row in rows:
                operand = [row.operand] if isinstance(row.operand, Buffer) else []
                for buffer in [row.source, row.reference, *operand]:
                    for start in range(0, len(buffer.elements), buffer.stride):
                        padding = buffer.elements[start + buffer.width : start + buffer.stride]
                        self.assertTrue(all(padding), row.title)
                        padded += len(padding)
        self.assertGreater(padded, 0)

    def test_floats_are_normal(self) -> None:
        """Vector units of 32-bit ARM flush subnormal numbers, and no comparison sees a NaN."""
        for _, element, rows in scripts():
            for row in rows if element == "f32" else []:
                operand = row.operand.elements if isinstance(row.operand, Buffer) else row.operand
                for value in [*row.source.elements, *operand, *row.reference.elements]:
                    self.assertTrue(value == 0 or abs(value) >= 2**-126, row.title)

    def test_every_file_is_used(self) -> None:
        used = {"MANIFEST"}
        for script in MODULE.glob("control_script_*.csv"):
            used.add(script.name)
            used |= {Path(field).name for line in read_table(script)[2] for field in line}
        present = {path.name for path in [*MODULE.iterdir(), *REFERENCES.iterdir()]}
        self.assertEqual(present - used - {"generated"}, set())

    def test_test_table_tests_the_public_functions(self) -> None:
        headers = "".join(
            header.read_text() for header in (TOOLS.parent / "include/lumen").glob("lumen*.h")
        )
        names, types, rows = read_table(DATA / "LumenTestTable.csv")
        self.assertEqual(len(names), 14)
        self.assertEqual(types, ["char*"] + ["unsignedchar"] * 4 + ["int"] + ["float"] * 8)
        self.assertEqual(len({row[0] for row in rows}), 485)
        tested = {row[0] for row in rows if row[1:] == ["1"] * 5 + ["0"] * 8}
        known = {row[0] for row in rows}
        declared = set(re.findall(r"^LUMEN_API \w+ (lum\w+)\(", headers, re.MULTILINE))
        self.assertLessEqual(declared & known, tested)
        untested = {row[0] for row in rows if row[1:] == ["0"] * 13}
        self.assertEqual(len(tested) + len(untested), len(rows))

    def test_manifests(self) -> None:
        for directory in (DATA, MODULE, REFERENCES):
            lines = (directory / "MANIFEST").read_text().splitlines()
            self.assertIn("# licence: own work, CC0-1.0", lines)
            entries = [line.split(" ") for line in lines if not line.startswith("#")]
            for digest, size, name in entries:
                content = (directory / name).read_bytes()
                self.assertEqual(int(size), len(content))
                self.assertEqual(digest, hashlib.sha256(content).hexdigest())
            files = {path.name for path in directory.iterdir() if path.is_file()}
            self.assertEqual({entry[2] for entry in entries} | {"MANIFEST"}, files)


def converted_signed(difference: Number, element: str) -> Number:
    """The difference as a function that forgets the absolute value stores it."""
    if element == "f32":
        return converted(difference, "f")
    return difference % (256 if element == "u8" else WRAP)


def truncated_difference(a: Number, b: Number) -> Number:
    rounded = difference_f32(a, b)
    if not abs(a - b) < rounded < math.inf:
        return rounded
    bits = int.from_bytes(struct.pack("<f", rounded), "little")
    return struct.unpack("<f", (bits - 1).to_bytes(4, "little"))[0]


class Tool(unittest.TestCase):
    def setUp(self) -> None:
        self.directory = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def run_tool(self, *arguments: object) -> tuple[int, str]:
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            status = cli.main([str(argument) for argument in arguments])
        return status, output.getvalue()

    def test_shipped_data_are_what_the_tool_makes(self) -> None:
        self.assertEqual(self.run_tool("--check", DATA), (0, ""))

    def test_check_lists_every_departure(self) -> None:
        self.assertEqual(self.run_tool("--output", self.directory)[0], 0)
        self.assertEqual(self.run_tool("--check", self.directory), (0, ""))
        module = self.directory / "lumenabsdiff"
        with (module / "w17_ref_u8.data").open("ab") as file:
            file.write(b"\0")
        (module / "w17_src1_u8.data").unlink()
        (module / "more.csv").touch()
        generated = self.directory / "lumTestRef/generated"
        generated.mkdir()
        (generated / "any.data").touch()
        status, output = self.run_tool("--check", self.directory)
        self.assertEqual(status, 1)
        self.assertEqual(
            output.splitlines(),
            [
                "unexpected: lumenabsdiff/more.csv",
                "different: lumenabsdiff/w17_ref_u8.data",
                "missing: lumenabsdiff/w17_src1_u8.data",
            ],
        )
        # Writing again repairs what belongs there and leaves the rest alone.
        status, output = self.run_tool("--output", self.directory)
        self.assertEqual(status, 0)
        self.assertIn(" 2 written", output)
        self.assertIn("unexpected: lumenabsdiff/more.csv (left alone)", output)

    def test_too_large_a_tree_is_refused(self) -> None:
        with mock.patch.object(tree.Tree, "size", return_value=tree.LIMIT + 1):
            status, output = self.run_tool("--output", self.directory)
        self.assertEqual(status, 1)
        self.assertIn(f"at most {tree.LIMIT}", output)
        self.assertEqual(list(self.directory.iterdir()), [])

    def test_another_photograph_is_refused(self) -> None:
        with mock.patch.dict(photographs.SHA256, {"coffee.pgm": "0" * 64}):
            status, output = self.run_tool("--check", DATA)
        self.assertEqual(status, 1)
        self.assertIn("coffee.pgm is not the photograph", output)

    def test_profiling_of_shipped_resolutions_makes_no_other_files(self) -> None:
        self.assertEqual(self.run_tool("--output", self.directory, "--profiling", 3)[0], 0)
        self.assertEqual(self.run_tool("--check", self.directory), (0, ""))
        self.assertFalse((self.directory / "lumTestRef/generated").exists())

    def test_generated_files(self) -> None:
        small = (profiling.RESOLUTIONS[0], profiling.Resolution(9, 5))
        written = list(profiling.write_generated(self.directory, small))
        self.assertEqual(len(written), 12)
        self.assertEqual(list(profiling.write_generated(self.directory, small)), [])
        broken = written[5]
        content = broken.read_bytes()
        for bad in (content[:-1], content.replace(b"version", b"Version")):
            broken.write_bytes(bad)
            self.assertEqual(list(profiling.write_generated(self.directory, small)), [broken])
            self.assertEqual(broken.read_bytes(), content)
        for element, keyword in {"u8": "unsignedchar", "s32": "int", "f32": "float"}.items():
            files = {}
            for role in profiling.ROLES:
                kind = "unsignedint" if role.startswith("ref") and element == "s32" else keyword
                path = self.directory / f"lumTestRef/generated/9x5_{role}_{element}.data"
                files[role] = read_buffer(path, kind)
            for operand, role in ((files["src2"], "ref"), (self.value(element), "refV")):
                row = Row(role, files["src1"], operand, files[role], 9)
                self.assertEqual(row.run(DIFFERENCES[element]), row.expected())

    def value(self, element: str) -> list[Number]:
        script = read_table(MODULE / f"control_script_profiling_V{element}.csv")
        return [converted(float(script[2][7][1]), "f" if element == "f32" else "i")]


if __name__ == "__main__":
    unittest.main()
