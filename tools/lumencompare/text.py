"""A comparison as text, and as data for machines."""

from collections.abc import Iterable, Iterator, Sequence
from typing import Any

from lumenrecords import show
from lumenrecords.record import Run

from .compare import Comparison
from .timing import Change, TimingComparison
from .verdicts import Kind, VerdictChange

MAX_LISTED = 20  # of what is only in A

_HEAD = ("function", "slot", "size", "state", "A", "B", "B / A", "p", "verdict")
_LEFT = 4  # columns that are aligned to the left


def text(comparison: Comparison, threshold: float) -> str:
    lines = [
        f"A: {comparison.a.name} {_run(comparison.a.run)}",
        f"B: {comparison.b.name} {_run(comparison.b.run)}",
        *(f"Note: {note}" for note in comparison.notes),
    ]
    if comparison.timings:
        lines += ["", *_aligned([_HEAD, *map(_row, comparison.timings)]), ""]
        lines += [
            f"{module or '(no module)'}: geometric mean of B / A {mean:.3f} "
            f"({show.count(number, 'timing')})"
            for module, (mean, number) in comparison.means.items()
        ]
    slow = (timing for timing in comparison.timings if timing.change is Change.SLOW)
    lines += _listed("Slower", map(_slower, slow), None)
    for title, kind in (("Newly failing", Kind.NEWLY_FAILING), ("Mended", Kind.MENDED)):
        lines += _listed(title, map(_change, comparison.of(kind)), None)
    lines += _listed("Tested in A only", map(_change, comparison.of(Kind.UNTESTED)), MAX_LISTED)
    lines += _listed("Timed in A only", comparison.untimed, MAX_LISTED)
    return "\n".join([*lines, "", _summary(comparison, threshold)])


def data(comparison: Comparison, threshold: float) -> dict[str, Any]:
    return {
        "a": {"record": comparison.a.name, "build": comparison.a.run.build},
        "b": {"record": comparison.b.name, "build": comparison.b.run.build},
        "threshold": threshold,
        "notes": comparison.notes,
        "timings": [_timing_data(timing) for timing in comparison.timings],
        "modules": [
            {"module": module, "geometricMean": mean, "timings": number}
            for module, (mean, number) in comparison.means.items()
        ],
        "counts": {change.value: comparison.count(change) for change in Change},
        "newlyFailing": [_change_data(item) for item in comparison.of(Kind.NEWLY_FAILING)],
        "mended": [_change_data(item) for item in comparison.of(Kind.MENDED)],
        "untested": [_change_data(item) for item in comparison.of(Kind.UNTESTED)],
        "untimed": comparison.untimed,
        "regressed": comparison.regressed,
    }


def _run(run: Run) -> str:
    parts = (run.build and f"build {run.build}", run.started)
    return f"({', '.join(filter(None, parts)) or 'build unknown'})"


def _row(timing: TimingComparison) -> Sequence[str]:
    key = timing.key
    function = f"{key.subject.module}/{key.subject.function}"
    return (
        function, key.subject.slot, key.size, key.state,
        show.duration(timing.median_a), show.duration(timing.median_b),
        "–" if timing.ratio is None else f"{timing.ratio:.3f}",
        f"{timing.p_adjusted:.1e}" if timing.p_adjusted < 0.001 else f"{timing.p_adjusted:.3f}",
        timing.change + (" (unstable)" if timing.unstable else ""),
    )


def _aligned(rows: Sequence[Sequence[str]]) -> Iterator[str]:
    widths = [max(map(len, column)) for column in zip(*rows)]
    for row in rows:
        cells = (
            cell.ljust(width) if index < _LEFT or index == len(row) - 1 else cell.rjust(width)
            for index, (cell, width) in enumerate(zip(row, widths))
        )
        yield "  ".join(cells).rstrip()


def _slower(timing: TimingComparison) -> str:
    return f"{timing.key}: {timing.ratio:.3f}"


def _change(change: VerdictChange) -> str:
    before = change.a.label if change.a else "not tested"
    return f"{change}: {before} -> {change.b.label if change.b else 'not tested'}"


def _listed(title: str, items: Iterable[str], most: int | None) -> list[str]:
    lines = list(items)
    if not lines:
        return []
    shown = [f"  {line}" for line in lines[:most]]
    if len(shown) < len(lines):
        shown.append(f"  ... and {len(lines) - len(shown)} more")
    return ["", f"{title}:", *shown]


def _summary(comparison: Comparison, threshold: float) -> str:
    counts = ", ".join(f"{comparison.count(change)} {change}" for change in Change)
    failing = len(comparison.of(Kind.NEWLY_FAILING))
    return (f"{'REGRESSION' if comparison.regressed else 'No regression'}: {counts} "
            f"(threshold {threshold * 100:g} %); {failing} newly failing")


def _timing_data(timing: TimingComparison) -> dict[str, Any]:
    key = timing.key
    return {
        "module": key.subject.module,
        "function": key.subject.function,
        "slot": key.subject.slot,
        "width": key.width,
        "height": key.height,
        "state": key.state,
        "medianA": timing.median_a,
        "medianB": timing.median_b,
        "samplesA": timing.samples_a,
        "samplesB": timing.samples_b,
        "ratio": timing.ratio,
        "p": timing.p,
        "pAdjusted": timing.p_adjusted,
        "apart": timing.apart,
        "unstable": timing.unstable,
        "verdict": timing.change.value,
    }


def _change_data(change: VerdictChange) -> dict[str, Any]:
    return {
        "module": change.subject.module,
        "function": change.subject.function,
        "slot": change.subject.slot,
        "check": change.check,
        "a": change.a and change.a.value,
        "b": change.b and change.b.value,
    }
