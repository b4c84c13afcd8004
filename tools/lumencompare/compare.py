"""The whole comparison of two records."""

from dataclasses import dataclass

from lumenrecords.record import Record
from lumenrecords.select import checks_of, timings

from .timing import Change, TimingComparison, compare_timings, module_means
from .verdicts import Kind, VerdictChange, verdict_changes


@dataclass(frozen=True)
class Comparison:
    a: Record
    b: Record
    timings: list[TimingComparison]
    changes: list[VerdictChange]
    untimed: list[str]  # what has a time in A alone

    def of(self, kind: Kind) -> list[VerdictChange]:
        return [change for change in self.changes if change.kind is kind]

    def count(self, change: Change) -> int:
        return sum(timing.change is change for timing in self.timings)

    @property
    def means(self) -> dict[str, tuple[float, int]]:
        return module_means(self.timings)

    @property
    def regressed(self) -> bool:
        return bool(self.of(Kind.NEWLY_FAILING)) or self.count(Change.SLOW) > 0

    @property
    def notes(self) -> list[str]:
        """What does not keep two records from being compared but is good to know."""
        notes = []
        for name, record in (("A", self.a), ("B", self.b)):
            notes += [f"{name}: {problem}" for problem in record.problems]
            if record.cut_off:
                notes.append(f"{name} has no end: the run crashed, was stopped or still goes on")
        run_a, run_b = self.a.run, self.b.run
        if run_a.host != run_b.host:
            notes.append(f"hosts differ: {run_a.host or 'unknown'} and {run_b.host or 'unknown'}")
        if run_a.build and run_a.build == run_b.build:
            notes.append("both are runs of the same build: how their times differ is noise")
        return notes


def compare(a: Record, b: Record, threshold: float) -> Comparison:
    times_b = timings(b)
    untimed = [str(key) for key in timings(a) if key not in times_b]
    return Comparison(a, b, compare_timings(a, b, threshold), verdict_changes(a, b), untimed)


def obstacles(comparison: Comparison, different_ok: bool) -> list[str]:
    """Why the comparison would say nothing of worth."""
    a, b = comparison.a, comparison.b
    found = [] if different_ok else [
        f"{difference} (--different-ok compares nevertheless)"
        for difference in a.run.differences(b.run)
    ]
    if comparison.regressed:
        return found
    if comparison.untimed and not comparison.timings:
        found.append("B has none of A's times")
    elif not comparison.timings and not checks_of(a).keys() & checks_of(b).keys():
        found.append("no function and slot is in both")
    return found
