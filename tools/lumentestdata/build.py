"""The whole test-data tree."""

import re
from pathlib import Path

from . import (
    absdiff,
    color_layout,
    color_rgb,
    color_ycbcr,
    fast,
    harris,
    mser,
    photographs,
    profiling,
)
from .formats import table
from .tree import Tree

_FUNCTION_LIST = Path(__file__).parents[2] / "tst" / "lumenTestFunctions.def"

# Each has add_all(tree) and function_names().
_FAMILIES = (absdiff, color_layout, color_rgb, color_ycbcr, fast, harris, mser)

_UNITS = ("C", "Vorta", "ZDSP", "GPU")
_TEST_TABLE_COLUMNS = [
    ("name", "char*"),
    *((f"impl{unit}", "unsignedchar") for unit in _UNITS),
    ("numTolerances", "int"),
    *((f"tolerance{row}{unit}", "float") for row in range(2) for unit in _UNITS),
]


def build_tree() -> Tree:
    """Every file that is shipped, manifests included."""
    tree = Tree()
    tree.add("LumenTestTable.csv", _test_table())
    for family in _FAMILIES:
        family.add_all(tree)
    photographs.add_all(tree)
    profiling.add_shipped(tree)
    tree.add_manifests()
    return tree


def _test_table() -> bytes:
    """A row for every function that the test program knows. Every unit implements those with data
    here, and to the last bit: one row of zero tolerances. No unit implements the others yet."""
    built = {name for family in _FAMILIES for name in family.function_names()}
    rows = []
    for name in _known_functions():
        flag = "1" if name in built else "0"
        rows.append([name, *[flag] * 4, flag, *["0"] * 8])
    return table(_TEST_TABLE_COLUMNS, rows)


def _known_functions() -> list[str]:
    text = _FUNCTION_LIST.read_text("ascii")
    return re.findall(r"^LUMEN_TEST_FUNC\( *\d+, (\w+)\)", text, re.MULTILINE)
