"""Profiling data of the absolute-difference module: row i of a script is resolution i.

The four small resolutions are shipped as CSV files of full declared size that end after a row or
two; what they leave out reads as zero. Text has no element type, so that small integers serve s32
and f32 alike. The large resolutions are .data files, made when they are wanted.
"""

import itertools
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

import numpy as np

from . import SEED, VERSION
from .elements import ELEMENTS, F32, S32, U8, Array, Element, Storage
from .formats import Image, data_header, encode
from .tree import GENERATED, REFERENCES, Tree, write_file

ROLES = ("src1", "src2", "ref", "refV")


@dataclass(frozen=True)
class Resolution:
    width: int
    height: int
    rows_given: int = 0  # in the shipped files; 0: not shipped

    @property
    def shipped(self) -> bool:
        return self.rows_given > 0

    def file_name(self, role: str, element: Element) -> str:
        """Relative to the directory of profiling data."""
        size = f"{self.width}x{self.height}"
        if not self.shipped:
            directory = GENERATED.removeprefix(REFERENCES + "/")
            return f"{directory}/{size}_{role}_{element.name}.data"
        if element is U8 and role == "refV":
            role = "src1"  # with the value 0 the source is its own reference
        return f"{size}_{role}_{(S32 if element is F32 else element).name}.csv"

    def value(self, element: Element) -> np.generic:
        """The value of the value forms; 0 where rows are left out, since their result is zero."""
        if self.shipped:
            return element.source.dtype.type(0)
        return element.random(f"{REFERENCES}/value_{element.name}", (1, 1))[0, 0]

    def note(self, with_value: bool) -> str:
        size = f"{self.width} x {self.height}"
        if not self.shipped:
            return f"{size}: made by tools/lumen-testdata --profiling"
        given = "row 0" if self.rows_given == 1 else f"rows 0 to {self.rows_given - 1}"
        note = f"{size}: files end after {given} and the rest reads as zeros"
        return note + ("; so the value is 0" if with_value else "")


RESOLUTIONS = (
    Resolution(640, 480, rows_given=1),
    Resolution(800, 480, rows_given=1),
    Resolution(320, 240, rows_given=1),
    Resolution(239, 161, rows_given=2),
    Resolution(1920, 1080),
    Resolution(3264, 2448),
    Resolution(3840, 2160),
    Resolution(4000, 3000),
)
ODD = RESOLUTIONS[3]


def add_shipped(tree: Tree) -> None:
    for resolution in filter(lambda each: each.shipped, RESOLUTIONS):
        for element, role in itertools.product((U8, S32), ROLES):
            rows = _rows(resolution, element, role)
            image = Image(rows, resolution.width, resolution.height)
            path = f"{REFERENCES}/{resolution.file_name(role, element)}"
            tree.add(path, encode("csv", image, _storage(element, role)))


def write_generated(output: Path, resolutions: tuple[Resolution, ...]) -> Iterator[Path]:
    """Makes the files of resolutions that are not shipped, and yields those that were wanting."""
    for resolution in filter(lambda each: not each.shipped, resolutions):
        for element, role in itertools.product(ELEMENTS, ROLES):
            target = output / REFERENCES / resolution.file_name(role, element)
            if _make_if_wanting(target, resolution, element, role):
                yield target


def _make_if_wanting(target: Path, resolution: Resolution, element: Element, role: str) -> bool:
    """The header tells the version, so a file of that header and the right size is complete."""
    storage = _storage(element, role)
    comment = f"lumen-testdata version {VERSION}, seed {SEED}"
    header = data_header(storage, resolution.width, resolution.height, comment)
    size = len(header) + resolution.width * resolution.height * storage.dtype.itemsize
    if target.is_file() and target.stat().st_size == size:
        with target.open("rb") as file:
            if file.read(len(header)) == header:
                return False
    write_file(target, header, _rows(resolution, element, role).tobytes())
    return True


def _storage(element: Element, role: str) -> Storage:
    return element.result if role.startswith("ref") else element.source


def _rows(resolution: Resolution, element: Element, role: str) -> Array:
    """The rows that the file of a role holds."""
    if role.startswith("src"):
        name = f"{REFERENCES}/{resolution.file_name(role, element)}"
        shape = (resolution.rows_given or resolution.height, resolution.width)
        return element.random(name, shape, short=resolution.shipped)
    src1 = _rows(resolution, element, "src1")
    if role == "refV":
        return element.absolute_difference(src1, resolution.value(element))
    return element.absolute_difference(src1, _rows(resolution, element, "src2"))
