"""Natural photographs: not made here, but kept beside the record of their licence."""

import hashlib
from pathlib import Path

from .tree import LICENCE, Tree

DIRECTORY = "photographs"
SHA256 = {
    "coffee.pgm": "5a4f34c02d510d0fd862614ccb0f0d558d2dc0517fa1565abfe21fcd1950e725",
    "photographer.pgm": "ae70810e8d3a8800d9498b37333e9c488406a36c1b95db7066c44ba2700f6d04",
}
_KEPT = Path(__file__).resolve().parents[2] / "testdata" / DIRECTORY


def add_all(tree: Tree) -> None:
    tree.add(f"{DIRECTORY}/{LICENCE}", (_KEPT / LICENCE).read_bytes())
    for name, digest in SHA256.items():
        content = (_KEPT / name).read_bytes()
        if hashlib.sha256(content).hexdigest() != digest:
            raise ValueError(f"{_KEPT / name} is not the photograph that its licence is of")
        tree.add(f"{DIRECTORY}/{name}", content)
