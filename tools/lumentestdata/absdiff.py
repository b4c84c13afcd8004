"""Data of the absolute-difference module: twelve functions, four forms of three element types."""

import itertools
from collections.abc import Iterator
from dataclasses import dataclass

import numpy as np

from . import profiling
from .elements import ELEMENTS, F32, FLT_MAX, U8, Array, Element
from .formats import Image, encode, table
from .tree import REFERENCES, Tree

DIRECTORY = "lumenabsdiff"

Row = list[str]  # the fields of a script's row


@dataclass(frozen=True)
class Form:
    """What a source is compared with: a second source, or a value for each channel."""

    suffix: str
    channels: int = 1
    values: int = 0

    def columns(self, element: Element) -> list[tuple[str, str]]:
        source = element.source.keyword
        if not self.values:
            inputs = [("src1", source + "[]"), ("src2", source + "[]")]
        elif self.values == 1:
            inputs = [("src", source + "[]"), ("value", source)]
        else:
            values = [(f"value{k + 1}", source) for k in range(self.values)]
            inputs = [("src", source + "[]"), *values]
        return [*inputs, ("ref", element.result.keyword + "[]"), ("note", "comment")]

    @property
    def source_role(self) -> str:
        """One-channel forms share their first source."""
        return "src1" if self.channels == 1 else f"srcC{self.channels}"


FORMS = (
    Form(""),
    Form("V", values=1),
    Form("Vc3", channels=3, values=3),
    Form("Vc4", channels=4, values=4),
)

# Numbers so far apart that differences are rounded, ties among them.
ROUNDED = (16777216.0, 0.1, -0.5, 33554432.0, 1 + 2.0**-23, -3.0, 1.5, 1 / 3, -1e10, 2.0**-30)

# Infinity less infinity is left out: a comparison never finds a NaN different.
INFINITIES, FINITE = (np.inf, -np.inf), (1.0, 0.0, -FLT_MAX, -1.5)

Numbers = tuple[float, ...]
ValueSet = tuple[str, Array]  # what to add to the reference's name; a value for each channel


@dataclass(frozen=True)
class Case:
    """A size in pixels, with random contents."""

    stem: str
    note: str
    width: int
    height: int
    suffix: str = "data"
    padding: int = 0  # elements after each row
    comment: str = ""  # in the files' headers

    def suffix_of(self, role: str) -> str:
        """One file of a picture is an image, since results are not pictures."""
        return "data" if self.suffix == "pgm" and role != "src1" else self.suffix

    def file_name(self, role: str, element: Element) -> str:
        return f"{self.stem}_{role}_{element.name}.{self.suffix_of(role)}"

    def source(self, role: str, form: Form, element: Element) -> Array:
        shape = (self.height, self.width * form.channels)
        name = f"{DIRECTORY}/{self.file_name(role, element)}"
        return element.random(name, shape, short=self.suffix == "csv")

    def value_sets(self, form: Form, element: Element) -> Iterator[ValueSet]:
        name = f"{DIRECTORY}/{self.stem}_{form.suffix}_{element.name}"
        yield "", element.random(name, (1, form.values), short=self.suffix == "csv")[0]


@dataclass(frozen=True)
class ListedCase(Case):
    """Each of some values against each of the others."""

    columns: Numbers = ()
    rows: Numbers = ()

    @staticmethod
    def of(stem: str, note: str, columns: Numbers, rows: Numbers, suffix: str) -> "ListedCase":
        size = len(columns), len(rows)
        return ListedCase(stem, note, *size, suffix, columns=columns, rows=rows)

    def source(self, role: str, form: Form, element: Element) -> Array:
        dtype = element.source.dtype
        if role == "src2":
            return np.repeat(np.array(self.rows, dtype), self.width).reshape(-1, self.width)
        row = np.repeat(np.array(self.columns, dtype), form.channels)
        return np.tile(row, (self.height if form.channels == 1 else 1, 1))

    def value_sets(self, form: Form, element: Element) -> Iterator[ValueSet]:
        starts = (0, 1, 2) if form.channels == 1 else (0, 3)
        for mark, start in zip(("", "-2", "-3"), starts):
            chosen = [self.rows[(start + k) % len(self.rows)] for k in range(form.values)]
            yield mark, np.array(chosen, element.source.dtype)


def function_names() -> list[str]:
    return [f"lumAbsDiff{form.suffix}{element.name}" for form in FORMS for element in ELEMENTS]


def add_all(tree: Tree) -> None:
    for element, form in itertools.product(ELEMENTS, FORMS):
        rows = []
        if form.channels == 1:
            rows.append(_odd_row(form, element))
            _add_script(tree, form, element, "profiling_", _profiling_rows(form, element))
        if form.channels == 1 and element is U8:
            rows += _whole_rows(tree, form)
        for case in _cases(form, element):
            rows += _rows(tree, case, form, element)
        _add_script(tree, form, element, "", rows)


def _add_script(tree: Tree, form: Form, element: Element, kind: str, rows: list[Row]) -> None:
    path = f"{DIRECTORY}/control_script_{kind}{form.suffix}{element.name}.csv"
    tree.add(path, table(form.columns(element), rows))


def _cases(form: Form, element: Element) -> Iterator[Case]:
    yield Case("pixel", "1 x 1: the smallest image", 1, 1)
    yield Case("column", "1 x 29: a row is a single pixel", 1, 29)
    for width in _widths(form, element):
        height = 3 if width < 18 else 2 if width < 40 else 1
        if width % 16 == 0:  # sizes that remote units take
            height += height % 2
        against = {0: "whole vectors", 1: "one more than whole vectors"}
        note = f"{width} x {height}: {against.get(width % 4, 'one short of whole vectors')}"
        yield Case(f"w{width}", note, width, height)
    if element is U8 and form.channels == 1:
        note = "121 x 79: a picture of odd size"
        yield Case("picture", note, 121, 79, "pgm", comment="lumen-testdata")
    extremes = element.extremes
    suffix = "data" if element is F32 else "csv"  # text need not know of infinity
    yield ListedCase.of("extremes", "extremes of the type", extremes, extremes, suffix)
    if element is F32:
        note = "differences that must be rounded"
        yield ListedCase.of("rounding", note, ROUNDED, ROUNDED, "data")
        if form.channels == 1:
            note = "infinity less a number: a finite result or a lost sign fails"
            yield ListedCase.of("infinity", note, INFINITIES, FINITE, "data")
    note = "13 x 4: rows with padding that no call may take in"
    yield Case("padded", note, 13, 4, "csv", padding=8)


def _widths(form: Form, element: Element) -> tuple[int, ...]:
    """Widths in pixels about multiples of the vector lengths: 16 to 64 bytes."""
    if element is U8:
        return (15, 16, 17, 31, 32, 33, 63, 64, 65) if form.channels == 1 else (15, 17, 33, 64, 65)
    return (5, 15, 16, 17, 31, 32, 33, 65) if form.channels == 1 else (5, 15, 16, 17, 33)


def _rows(tree: Tree, case: Case, form: Form, element: Element) -> Iterator[Row]:
    """The rows of a case, one for each set of values; their files are added to the tree."""
    source = case.source(form.source_role, form, element)
    source_name = _add_image(tree, case, form.source_role, element, _padded(source, case.padding))
    if not form.values:
        second = case.source("src2", form, element)
        second_name = _add_image(tree, case, "src2", element, _padded(second, case.padding))
        reference = _padded(_reference(element, source, second), case.padding)
        name = _add_image(tree, case, "ref", element, reference)
        yield [source_name, second_name, name, case.note]
        return
    for mark, values in case.value_sets(form, element):
        operand = np.tile(values, source.shape[1] // form.values)
        # Not the sources' padding: the destination has a stride of its own.
        reference = _padded(_reference(element, source, operand), case.padding * 3 // 4)
        name = _add_image(tree, case, f"ref{form.suffix}{mark}", element, reference)
        texts = [element.source.text(value) for value in values]
        yield [source_name, *texts, name, case.note]


def _reference(element: Element, source: Array, operand: Array) -> Array:
    reference = element.absolute_difference(source, operand)
    if not reference.any():
        raise ValueError("a function that does nothing would pass: destinations start as zeros")
    return reference


def _padded(image: Array, padding: int) -> Image:
    """With padding that is never zero, as the padding of an untouched destination is."""
    height, width = image.shape
    junk = np.arange(height * padding).reshape(height, padding) % 9 + 91
    return Image(np.hstack([image, junk.astype(image.dtype)]), width, height)


def _add_image(tree: Tree, case: Case, role: str, element: Element, image: Image) -> str:
    name = case.file_name(role, element)
    storage = element.result if role.startswith("ref") else element.source
    tree.add(f"{DIRECTORY}/{name}", encode(case.suffix_of(role), image, storage, case.comment))
    return name


def _odd_row(form: Form, element: Element) -> Row:
    """The profiling data of the odd resolution, one directory further."""
    odd = profiling.ODD
    files = {
        role: f"../{REFERENCES}/{odd.file_name(role, element)}" for role in profiling.ROLES
    }
    return _fields(form, element, files, odd.value(element), odd.note(form.values > 0))


def _whole_rows(tree: Tree, form: Form) -> list[Row]:
    """Every pixel of the odd resolution, for one large file: a picture less zero is the picture."""
    odd = profiling.ODD
    shape = odd.height, odd.width
    picture, zeros = "whole_src1_u8.pgm", "whole_zeros_u8.csv"
    pixels = np.maximum(U8.random(f"{DIRECTORY}/{picture}", shape), 1)
    size = odd.width, odd.height
    tree.add(f"{DIRECTORY}/{picture}", encode("pgm", Image(pixels, *size), U8.source))
    nothing = Image(np.zeros((0, odd.width), pixels.dtype), *size)
    tree.add(f"{DIRECTORY}/{zeros}", encode("csv", nothing, U8.source))
    note = f"{odd.width} x {odd.height}: a whole picture, no pixel 0, less zero"
    if form.values:
        return [[picture, "0", picture, note]]
    return [[picture, zeros, picture, note], [zeros, picture, picture, note]]


def _profiling_rows(form: Form, element: Element) -> list[Row]:
    rows = []
    for resolution in profiling.RESOLUTIONS:
        files = {role: resolution.file_name(role, element) for role in profiling.ROLES}
        note = resolution.note(form.values > 0)
        rows.append(_fields(form, element, files, resolution.value(element), note))
    return rows


def _fields(
    form: Form, element: Element, files: dict[str, str], value: np.generic, note: str
) -> Row:
    if not form.values:
        return [files["src1"], files["src2"], files["ref"], note]
    return [files["src1"], element.source.text(value), files["refV"], note]
