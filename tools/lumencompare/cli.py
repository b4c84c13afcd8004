"""The command line of lumen-compare."""

import argparse
import json
import math
import os
import sys
from pathlib import Path

from lumenrecords.reader import RecordError, read_record

REGRESSED, NOT_COMPARABLE = 1, 2  # exit statuses


def main(arguments: list[str] | None = None) -> int:
    options = _parse(arguments)
    try:
        return _compare(options)
    except (OSError, RecordError) as error:
        return _refuse(str(error))
    except ModuleNotFoundError as error:
        return _refuse(f"needs the Python module {error.name} (Debian: python3-{error.name})")


def _compare(options: argparse.Namespace) -> int:
    from .compare import compare, obstacles  # needs scipy
    from .text import data, text

    a, b = read_record(options.a), read_record(options.b)
    threshold = options.threshold / 100
    comparison = compare(a, b, threshold)
    found = obstacles(comparison, options.different_ok)
    if found:
        if options.json:
            _print(json.dumps({"comparable": False, "differences": found}))
        return _refuse(f"not comparable: {'; '.join(found)}")
    if options.json:
        _print(json.dumps({"comparable": True, **data(comparison, threshold)}, indent=1))
    else:
        _print(text(comparison, threshold))
    return REGRESSED if comparison.regressed else 0


def _print(text: str) -> None:
    """Whoever reads may stop early; the exit status tells all the same."""
    try:
        print(text, flush=True)
    except BrokenPipeError:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())


def _refuse(message: str) -> int:
    print(f"lumen-compare: {message}", file=sys.stderr)
    return NOT_COMPARABLE


def _parse(arguments: list[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="lumen-compare",
        description="Compares two records that lumenTest --json=FILE wrote: is B slower than A, "
        "or does it fail where A did not? A time is SLOW or FAST when its change is significant "
        "(Mann-Whitney U test, p < 0.01 over all comparisons together), when the medians' "
        "confidence intervals lie apart, and when the medians differ by more than the threshold. "
        "It is SAME when those intervals leave room for less than the threshold, else UNSURE.",
        epilog="Exit status: 0 no regression, 1 slower or newly failing, 2 not comparable or "
        "unreadable. docs/records.md says more.",
    )
    parser.add_argument("a", type=Path, metavar="A", help="record of the run to compare with")
    parser.add_argument("b", type=Path, metavar="B", help="record of the run in question")
    parser.add_argument("--different-ok", action="store_true",
                        help="compare records of different machines or kinds of build too")
    parser.add_argument("--threshold", type=_percent, default=3.0, metavar="PERCENT",
                        help="change of a median that does not count (default: 3)")
    parser.add_argument("--json", action="store_true", help="write JSON for machines")
    return parser.parse_args(arguments)


def _percent(word: str) -> float:
    value = float(word)
    if not math.isfinite(value) or value < 0:
        raise argparse.ArgumentTypeError(f"{word} is no percentage from 0 up")
    return value
