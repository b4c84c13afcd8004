"""Reads test data as docs/testdata.md describes them; shares nothing with the code that writes."""

import csv
import struct
from dataclasses import dataclass
from pathlib import Path

# The type keyword of a buffer column: how an element is packed, and the tag of .data files.
TYPES = {
    "unsignedchar": ("B", "unsigned_char"),
    "int": ("i", "int"),
    "unsignedint": ("I", "unsigned_int"),
    "float": ("f", "float"),
}

Number = int | float


def converted(value: Number, code: str) -> Number:
    """A double converted to the element type."""
    if code != "f":
        return struct.unpack("<" + code, struct.pack("<" + code, int(value)))[0]
    try:
        return struct.unpack("<f", struct.pack("<f", value))[0]
    except OverflowError:
        return float("inf") if value > 0 else float("-inf")


@dataclass
class Buffer:
    stride: int
    height: int
    width: int  # of the region of interest, which begins at 0, 0 and has `height` rows
    elements: list[Number]  # of the rows that the file holds; the others are zero

    @property
    def rows_given(self) -> int:
        return len(self.elements) // self.stride

    def at(self, index: int) -> Number:
        return self.elements[index] if index < len(self.elements) else 0


def read_table(path: Path) -> tuple[list[str], list[str], list[list[str]]]:
    """Names, types and rows of a control script."""
    with path.open(newline="") as file:
        names, types, *rows = csv.reader(file)
    if not all(len(row) == len(names) for row in [types, *rows]):
        raise ValueError(f"{path}: a row has too few or too many fields")
    return names, types, rows


def read_buffer(path: Path, keyword: str) -> Buffer:
    code, tag = TYPES[keyword]
    if path.suffix == ".csv":
        return _read_csv(path, code)
    content = path.read_bytes()
    if path.suffix == ".pgm":
        (magic, size, maximum), payload = _header(content, 3)
        if keyword != "unsignedchar" or magic != b"P5" or maximum != b"255":
            raise ValueError(f"{path}: not an image of bytes")
    else:
        (written, size, channels), payload = _header(content, 3)
        if written != tag.encode() or channels != b"1":
            raise ValueError(f"{path}: not of {tag} with one channel")
    width, height = map(int, size.split())
    elements = struct.unpack(f"<{width * height}{code}", payload)  # exactly as many bytes
    return Buffer(width, height, width, list(elements))


def _read_csv(path: Path, code: str) -> Buffer:
    first, *lines = path.read_text("ascii").splitlines()
    stride, height, x, y, width, region_height = map(int, first.split(","))
    if (x, y) != (0, 0) or region_height > height or width > stride or len(lines) > height:
        raise ValueError(f"{path}: unusual shape")
    elements = []
    for line in lines:
        fields = line.split(",")
        if len(fields) != stride:
            raise ValueError(f"{path}: a line of {len(fields)} values")
        elements += [converted(float(field), code) for field in fields]
    return Buffer(stride, region_height, width, elements)


def _header(content: bytes, count: int) -> tuple[list[bytes], bytes]:
    lines: list[bytes] = []
    while len(lines) < count:
        line, content = content.split(b"\n", 1)
        if line.strip() and not line.lstrip().startswith(b"#"):
            lines.append(line)
    return lines, content
