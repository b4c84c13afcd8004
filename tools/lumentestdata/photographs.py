"""Natural photographs: not made here, but kept beside the record of their licence."""

import hashlib
from pathlib import Path

import numpy as np

from .elements import Array
from .tree import LICENCE, Tree

DIRECTORY = "photographs"
SHA256 = {
    "coffee.pgm": "5a4f34c02d510d0fd862614ccb0f0d558d2dc0517fa1565abfe21fcd1950e725",
    "photographer.pgm": "ae70810e8d3a8800d9498b37333e9c488406a36c1b95db7066c44ba2700f6d04",
}
NAMES = tuple(SHA256)
_KEPT = Path(__file__).resolve().parents[2] / "testdata" / DIRECTORY


def add_all(tree: Tree) -> None:
    tree.add(f"{DIRECTORY}/{LICENCE}", (_KEPT / LICENCE).read_bytes())
    for name in NAMES:
        tree.add(f"{DIRECTORY}/{name}", _content(name))


def pixels(name: str) -> Array:
    """The photograph's rows."""
    _magic, size, _maximum, rest = _content(name).split(b"\n", 3)
    width, height = map(int, size.split())
    return np.frombuffer(rest, np.uint8).reshape(height, width)


def _content(name: str) -> bytes:
    content = (_KEPT / name).read_bytes()
    if hashlib.sha256(content).hexdigest() != SHA256[name]:
        raise ValueError(f"{_KEPT / name} is not the photograph that its licence is of")
    return content
