"""Natural photographs: not made here, but kept beside the record of their licence."""

from pathlib import Path

from .tree import LICENCE, Tree

DIRECTORY = "photographs"
NAMES = ("coffee.pgm", "photographer.pgm")
_KEPT = Path(__file__).resolve().parents[2] / "testdata" / DIRECTORY


def add_all(tree: Tree) -> None:
    for name in (LICENCE, *NAMES):
        tree.add(f"{DIRECTORY}/{name}", (_KEPT / name).read_bytes())
