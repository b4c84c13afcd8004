"""The command line of lumen-testdata."""

import argparse
import sys
from pathlib import Path

from . import profiling
from .build import build_tree
from .tree import GENERATED

REPOSITORY = Path(__file__).resolve().parents[2]


def main(arguments: list[str] | None = None) -> int:
    options = _parse(arguments)
    try:
        if options.check:
            return _check(options.check)
        if options.profiling is not None:
            return _prepare_profiling(options.output, options.profiling)
        return _write(options.output)
    except (OSError, ValueError) as error:
        print(f"lumen-testdata: {error}", file=sys.stderr)
        return 1


def _parse(arguments: list[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="lumen-testdata",
        description="Writes the test data of lumenTest: control scripts, inputs and references. "
        "The same version writes the same bytes everywhere.",
        epilog="docs/testdata.md describes the files and how to add some for a new function.",
    )
    parser.add_argument(
        "--output",
        type=Path,
        metavar="DIR",
        default=REPOSITORY / "testdata",
        help="the test-data directory (default: testdata in the repository)",
    )
    task = parser.add_mutually_exclusive_group()
    task.add_argument(
        "--check",
        type=Path,
        metavar="DIR",
        help="write nothing; list the files of DIR that are missing, unexpected or different "
        f"(leaving out {GENERATED}), and exit with 1 if there are any",
    )
    task.add_argument(
        "--profiling",
        type=int,
        metavar="N",
        choices=range(len(profiling.RESOLUTIONS)),
        help="make sure that the inputs for profiling resolutions 0 to N (0..7, as lumenTest -S "
        "has them) exist: files of the tree that are missing are written, and what is not "
        f"part of the tree is made in {GENERATED} (75 MB for 4, 1.1 GB for 7)",
    )
    return parser.parse_args(arguments)


def _write(output: Path) -> int:
    tree = build_tree()
    written = tree.write(output)
    print(f"{output}: {len(tree.files)} files, {tree.size()} bytes, {written} written")
    for line in tree.differences(output):
        print(f"{line} (left alone)", file=sys.stderr)
    return 0


def _check(directory: Path) -> int:
    if not directory.is_dir():
        raise ValueError(f"{directory} is no directory")
    tree = build_tree()
    tree.require_limit()
    differences = list(tree.differences(directory))
    for line in differences:
        print(line)
    return 1 if differences else 0


def _prepare_profiling(output: Path, last: int) -> int:
    written = build_tree().write(output, keep_existing=True)
    for path in profiling.write_generated(output, profiling.RESOLUTIONS[: last + 1]):
        print(path)
        written += 1
    print(f"{output}: resolutions 0 to {last} are there, {written} files written")
    return 0
