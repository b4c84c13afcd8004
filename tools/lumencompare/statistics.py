"""Whether two sets of samples differ, and by how much."""

import functools
import math
from collections.abc import Iterable, Sequence
from dataclasses import dataclass

import numpy as np
from scipy import stats

CONFIDENCE = 0.95  # of the interval that holds the median

Samples = Sequence[float]


@dataclass(frozen=True)
class Interval:
    low: float
    high: float

    def overlaps(self, other: "Interval") -> bool:
        return self.low <= other.high and other.low <= self.high


def median_interval(samples: Samples) -> Interval:
    """Between two of the sorted samples, whatever their distribution. Boundless when there are too
    few (below six)."""
    ordered = np.sort(samples)
    rank = _interval_rank(len(ordered))
    if rank == 0:
        return Interval(-math.inf, math.inf)
    return Interval(float(ordered[rank - 1]), float(ordered[-rank]))


@functools.cache
def _interval_rank(count: int) -> int:
    """Of the sample, from either end, that bounds the interval. The number of samples below the
    true median is binomial."""
    return int(stats.binom.ppf((1 - CONFIDENCE) / 2, count, 0.5))


def spanned(intervals: Iterable[Interval]) -> Interval:
    """The smallest that holds all of them."""
    several = list(intervals)
    return Interval(min(one.low for one in several), max(one.high for one in several))


def middle_half(samples: Samples) -> Interval:
    low, high = np.percentile(samples, [25, 75])
    return Interval(float(low), float(high))


def difference_probability(a: Samples, b: Samples) -> float:
    """Two-sided p of the Mann-Whitney U test: how likely is such a difference in rank when there
    is none."""
    if not len(a) or not len(b):
        return 1.0
    p = float(stats.mannwhitneyu(a, b, alternative="two-sided").pvalue)
    return 1.0 if math.isnan(p) else p  # all samples alike


def holm_adjusted(probabilities: Sequence[float]) -> list[float]:
    """Holm and Bonferroni's step-down: raised so that the chance of a single false alarm among all
    of them stays below the level."""
    adjusted = [1.0] * len(probabilities)
    highest = 0.0
    ascending = sorted(range(len(probabilities)), key=lambda index: probabilities[index])
    for rank, index in enumerate(ascending):
        highest = max(highest, min(1.0, (len(probabilities) - rank) * probabilities[index]))
        adjusted[index] = highest
    return adjusted


def geometric_mean(ratios: Sequence[float]) -> float:
    return math.exp(math.fsum(map(math.log, ratios)) / len(ratios))
