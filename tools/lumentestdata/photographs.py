"""Natural photographs: not made here, but kept beside the record of their licence."""

from pathlib import Path

import numpy as np

from .elements import Array
from .tree import LICENCE, Tree

DIRECTORY = "photographs"
NAMES = ("coffee.pgm", "photographer.pgm")
_KEPT = Path(__file__).resolve().parents[2] / "testdata" / DIRECTORY


def add_all(tree: Tree) -> None:
    for name in (LICENCE, *NAMES):
        tree.add(f"{DIRECTORY}/{name}", (_KEPT / name).read_bytes())


def pixels(name: str) -> Array:
    """The photograph's rows."""
    content = (_KEPT / name).read_bytes()
    _magic, size, _maximum, rest = content.split(b"\n", 3)
    width, height = map(int, size.split())
    return np.frombuffer(rest, np.uint8).reshape(height, width)
