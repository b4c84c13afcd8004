"""Natural photographs: not made here, but kept beside the record of their licence."""

from pathlib import Path

import numpy as np

from .tree import LICENCE, Tree

DIRECTORY = "photographs"
NAMES = ("coffee.pgm", "photographer.pgm")
_KEPT = Path(__file__).resolve().parents[2] / "testdata" / DIRECTORY


def add_all(tree: Tree) -> None:
    for name in (LICENCE, *NAMES):
        tree.add(f"{DIRECTORY}/{name}", (_KEPT / name).read_bytes())


def pixels(name: str) -> np.ndarray:
    """A photograph, by its name without an ending."""
    magic, size, greatest, values = (_KEPT / f"{name}.pgm").read_bytes().split(b"\n", 3)
    if magic != b"P5" or greatest != b"255":
        raise ValueError(f"{name}.pgm is no photograph of ours")
    width, height = map(int, size.split())
    return np.frombuffer(values, np.uint8).reshape(height, width)
