"""The whole test-data tree."""

from . import absdiff, profiling
from .formats import table
from .tree import Tree

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
    absdiff.add_all(tree)
    profiling.add_shipped(tree)
    tree.add_manifests()
    return tree


def _test_table() -> bytes:
    """Every unit implements the functions, and to the last bit: one row of zero tolerances."""
    implemented, tolerances, spare = ["1"] * 4, ["0"] * 4, ["0"] * 4
    return table(
        _TEST_TABLE_COLUMNS,
        [[name, *implemented, "1", *tolerances, *spare] for name in absdiff.function_names()],
    )
