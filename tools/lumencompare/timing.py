"""The times of two runs, one verdict for each function, slot, size and state."""

import math
from collections import defaultdict
from collections.abc import Sequence
from dataclasses import dataclass, replace
from enum import StrEnum

from lumenrecords.record import Bench, Record
from lumenrecords.select import TimingKey, ratio, repetitions, subjects_in_order, timings

from .statistics import (
    Interval,
    difference_probability,
    geometric_mean,
    holm_adjusted,
    median_interval,
    middle_half,
    spanned,
)

LEVEL = 0.01  # of significance, over all comparisons together


class Change(StrEnum):
    SAME = "SAME"  # shown to be within the threshold
    FAST = "FAST"
    SLOW = "SLOW"
    UNSURE = "UNSURE"


@dataclass(frozen=True)
class TimingComparison:
    key: TimingKey
    median_a: float
    median_b: float
    samples_a: int
    samples_b: int
    interval_a: Interval
    interval_b: Interval
    ratio: float | None  # of the medians, b to a
    p: float
    apart: bool  # intervals of the medians; of unstable times, the middle halves too
    unstable: bool
    p_adjusted: float = 1.0
    change: Change = Change.UNSURE


def compare_timings(a: Record, b: Record, threshold: float) -> list[TimingComparison]:
    """The threshold is a fraction: 0.03 takes factors between 1 / 1.03 and 1.03 for the same."""
    times_a, times_b = timings(a), timings(b)
    intervals_a, intervals_b = _intervals(a), _intervals(b)
    common = times_a.keys() & times_b.keys()
    raw = [_compared(key, times_a[key], times_b[key], intervals_a[key], intervals_b[key])
           for key in common]
    adjusted = holm_adjusted([comparison.p for comparison in raw])
    concluded = [
        replace(comparison, p_adjusted=p, change=_change(comparison, p, threshold))
        for comparison, p in zip(raw, adjusted)
    ]
    order = {subject: place for place, subject in enumerate(
        subjects_in_order({key.subject for key in common}, a))}
    return sorted(concluded, key=lambda item: (order[item.key.subject], item.key.order))


def module_means(comparisons: Sequence[TimingComparison]) -> dict[str, tuple[float, int]]:
    """The geometric mean of each module's ratios, and how many they are."""
    ratios: dict[str, list[float]] = defaultdict(list)
    for comparison in comparisons:
        if comparison.ratio is not None:
            ratios[comparison.key.subject.module].append(comparison.ratio)
    return {module: (geometric_mean(of), len(of)) for module, of in ratios.items()}


def _intervals(record: Record) -> dict[TimingKey, Interval]:
    """What the medians of all repetitions may be: these drift more than the samples of one tell."""
    return {
        key: spanned(median_interval(bench.samples) for bench in benches)
        for key, benches in repetitions(record).items()
    }


def _compared(key: TimingKey, a: Bench, b: Bench, interval_a: Interval,
              interval_b: Interval) -> TimingComparison:
    unstable = a.unstable is True or b.unstable is True
    apart = not interval_a.overlaps(interval_b)
    if unstable and apart:
        apart = not middle_half(a.samples).overlaps(middle_half(b.samples))
    return TimingComparison(
        key, a.median or 0, b.median or 0, len(a.samples), len(b.samples), interval_a, interval_b,
        ratio(b.median, a.median), difference_probability(a.samples, b.samples), apart, unstable,
    )


def _change(comparison: TimingComparison, p: float, threshold: float) -> Change:
    if comparison.ratio is None:
        return Change.UNSURE
    limit = 1 + threshold
    if max(comparison.ratio, 1 / comparison.ratio) > limit:
        if p < LEVEL and comparison.apart:
            return Change.SLOW if comparison.ratio > 1 else Change.FAST
        return Change.UNSURE
    lowest, highest = _ratio_bounds(comparison)
    return Change.SAME if 1 / limit <= lowest and highest <= limit else Change.UNSURE


def _ratio_bounds(comparison: TimingComparison) -> tuple[float, float]:
    """How far apart the medians can be within their intervals."""
    a, b = comparison.interval_a, comparison.interval_b
    if a.low <= 0 or math.isinf(a.high):
        return 0.0, math.inf
    return b.low / a.high, b.high / a.low
