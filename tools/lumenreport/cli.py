"""The command line of lumen-report."""

import argparse
import os
import sys
import tempfile
from pathlib import Path

from lumenrecords.reader import RecordError, read_record

from .page import MAX_RECORDS, page

UNUSABLE = 2  # exit status


def main(arguments: list[str] | None = None) -> int:
    options = _parse(arguments)
    try:
        _require_usable(options.records, options.output)
        records = [(path, read_record(path)) for path in options.records]
        _write(options.output, page(records))
    except (OSError, RecordError) as error:
        print(f"lumen-report: {error}", file=sys.stderr)
        return UNUSABLE
    for _, record in records:
        for problem in record.problems:
            print(f"lumen-report: {record.name}: {problem}", file=sys.stderr)
    return 0


def _parse(arguments: list[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="lumen-report",
        description="Makes one self-contained HTML page of what lumenTest --json=FILE recorded: "
        "verdicts of modules and slots, failures with the commands that repeat them, speed-ups, "
        "samples, slack tolerances and slow checks. With several records, a table compares them "
        "side by side.",
        epilog="A record that a crash cut off is shown as far as it goes. Exit status: 0 when the "
        "page was written, 2 when something cannot be read or written.",
    )
    parser.add_argument("records", type=Path, nargs="+", metavar="RECORD",
                        help=f"records of runs, {MAX_RECORDS} at most")
    parser.add_argument("-o", "--output", type=Path, required=True, metavar="FILE.html",
                        help="the page to write")
    return parser.parse_args(arguments)


def _require_usable(records: list[Path], output: Path) -> None:
    if len(records) > MAX_RECORDS:
        raise RecordError(f"{len(records)} records are more than the {MAX_RECORDS} a page takes")
    if output.exists() and any(path.exists() and path.samefile(output) for path in records):
        raise RecordError(f"{output} is one of the records")


def _write(output: Path, text: str) -> None:
    """All of it or nothing."""
    if output.exists() and not output.is_file():
        output.write_text(text, "utf-8")  # a pipe or a terminal
        return
    descriptor, name = tempfile.mkstemp(dir=output.parent, prefix=f".{output.name}.")
    try:
        with os.fdopen(descriptor, "w", encoding="utf-8") as file:
            file.write(text)
        umask = os.umask(0)
        os.umask(umask)
        os.chmod(name, 0o666 & ~umask)
        os.replace(name, output)
    except BaseException:
        os.unlink(name)
        raise
