"""Data of the YCbCr-layout module: 4:4:4, 4:2:2 and 4:2:0, planar and pseudo-planar."""

import itertools
from dataclasses import dataclass

import numpy as np

from .color_rgb import padded
from .elements import U8, Array
from .formats import encode, table
from .tree import Tree

DIRECTORY = "lumencoloryuv"
SUBSAMPLINGS = {"444": (1, 1), "422": (1, 2), "420": (2, 2)}  # rows, columns of a sample
KINDS = {"Planar": ("cb", "cr"), "PseudoPlanar": ("c",)}
LAYOUTS = tuple(itertools.product(SUBSAMPLINGS, KINDS))
SWAP = "lumColorCbCrSwapu8"


@dataclass(frozen=True)
class Case:
    stem: str
    note: str
    width: int
    height: int
    padding: int = 0

    @property
    def suffix(self) -> str:
        return "csv" if self.padding else "data"

    def luma(self) -> Array:
        return U8.random(f"{DIRECTORY}/{self.stem}_y", (self.height, self.width))

    def chroma(self, subsampling: str) -> Array:
        """Samples of both components, in an array of shape (2, rows, columns)."""
        down, across = SUBSAMPLINGS[subsampling]
        rows, columns = -(-self.height // down), -(-self.width // across)
        name = f"{DIRECTORY}/{self.stem}_{subsampling}"
        samples = U8.random(name, (2 * rows, columns)).reshape(2, rows, columns)
        if self.stem == "extremes":
            samples = np.where(samples % 4 < 2, samples // 128 * 255, samples % 4 + 126)
        return samples.astype(np.uint8)


CASES = (
    Case("pixel", "1 x 1: a single sample of each", 1, 1),
    Case("three", "3 x 3: means with a pixel that is not there", 3, 3),
    Case("extremes", "32 x 4: sums that need more than 8 bits, and halves to round", 32, 4),
    Case("odd", "131 x 5: odd ways, beyond vectors of 64", 131, 5),
    Case("padded", "13 x 4: rows with padding that no call may take in", 13, 4, 5),
)


def resampled(samples: Array, source: str, target: str, width: int, height: int) -> Array:
    """Every pixel's own chroma, and then the mean over the pixels of each sample of the target. The
    pixels of a sample of a coarser source are all alike, so that they do not change a mean."""
    down, across = SUBSAMPLINGS[source]
    pixels = samples.astype(np.int64).repeat(down, axis=1).repeat(across, axis=2)
    pixels = pixels[:, :height, :width]
    down, across = SUBSAMPLINGS[target]
    pixels = np.pad(pixels, ((0, 0), (0, height % down), (0, width % across)), mode="edge")
    sums = sum(pixels[:, j::down, i::across] for j in range(down) for i in range(across))
    count = down * across
    return ((sums + count // 2) // count).astype(np.uint8)


def function_names() -> list[str]:
    return [name for name, *_ in _functions()] + [SWAP]


def _functions() -> list[tuple[str, tuple[str, str], tuple[str, str]]]:
    return [
        (f"lumColorYCbCr{''.join(source)}ToYCbCr{''.join(target)}u8", source, target)
        for source, target in itertools.permutations(LAYOUTS, 2)
    ]


def add_all(tree: Tree) -> None:
    for name, source, target in _functions():
        sources = [("srcY", "unsignedchar[]"), *_columns("src", source[1])]
        references = [("refY", "unsignedchar[]"), *_columns("ref", target[1])]
        rows = []
        for case in CASES:
            luma = _add(tree, case, "y", case.luma())
            samples = case.chroma(source[0])
            read = _add_chroma(tree, case, source[0], source[1], samples)
            result = resampled(samples, source[0], target[0], case.width, case.height)
            stem = source[0] if source[0] == target[0] else f"{source[0]}to{target[0]}"
            written = _add_chroma(tree, case, stem, target[1], result)
            rows.append([luma, *read, luma, *written, case.note])
        columns = [*sources, *references, ("note", "comment")]
        _add_script(tree, name, columns, rows)
    swaps = []
    for case in CASES:
        samples = case.chroma("444")
        read = _add_chroma(tree, case, "444", "PseudoPlanar", samples)
        written = _add_chroma(tree, case, "444swapped", "PseudoPlanar", samples[::-1])
        swaps.append([*read, *written, case.note])
    columns = [("src", "unsignedchar[]"), ("ref", "unsignedchar[]"), ("note", "comment")]
    _add_script(tree, SWAP, columns, swaps)


def _columns(prefix: str, kind: str) -> list[tuple[str, str]]:
    return [(prefix + component.capitalize(), "unsignedchar[]") for component in KINDS[kind]]


def _add_script(
    tree: Tree, name: str, columns: list[tuple[str, str]], rows: list[list[str]]
) -> None:
    path = f"{DIRECTORY}/control_script_{name.removeprefix('lumColor')}.csv"
    tree.add(path, table(columns, rows))


def _add_chroma(tree: Tree, case: Case, stem: str, kind: str, samples: Array) -> list[str]:
    if kind == "Planar":
        return [_add(tree, case, stem + "_" + c, s) for c, s in zip(KINDS[kind], samples)]
    pairs = np.moveaxis(samples, 0, -1).reshape(samples.shape[1], -1)
    return [_add(tree, case, stem + "_c", pairs)]


def _add(tree: Tree, case: Case, role: str, rows: Array) -> str:
    name = f"{case.stem}_{role}.{case.suffix}"
    # Planes differ in their padding, so that no stride can stand for another.
    padding = case.padding and case.padding + sum(role.encode()) % 7
    tree.add(f"{DIRECTORY}/{name}", encode(case.suffix, padded(rows, padding), U8.source))
    return name
