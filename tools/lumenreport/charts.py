"""Small charts as inline SVG. Their colours are classes of the page's style sheet."""

import math
from collections.abc import Iterable, Sequence
from dataclasses import dataclass

import numpy as np

from .markup import Html, tag

BINS = 32
BAR_WIDTH, BAR_HEIGHT = 120, 14
PLOT_WIDTH, PLOT_HEIGHT = 4 * BINS, 22

_NICE = (0.02, 0.05, 0.1, 0.2, 0.3, 0.5, 1)


def bar(value: float, largest: float, mark: float | None = None) -> Html:
    """A bar from 0 to the value, with a line across at `mark`. The value stands beside it."""
    scale = BAR_WIDTH / largest if largest > 0 else 0
    length = max(1.0, min(value, largest) * scale)
    parts = [tag("path", class_="bar", d=f"M0 2H{_short(length)}V{BAR_HEIGHT - 2}H0Z")]
    if mark is not None and 0 < mark <= largest:
        x = _short(min(mark * scale, BAR_WIDTH - 0.5))
        parts.append(tag("path", class_="mark", d=f"M{x} 0V{BAR_HEIGHT}"))
    return _svg(BAR_WIDTH, BAR_HEIGHT, parts, class_="bars", aria_hidden="true")


@dataclass(frozen=True)
class Axis:
    """Parts of the median below and above it that the distributions of a group show. What lies
    beyond gathers in the outermost bins."""

    below: float
    above: float

    def __str__(self) -> str:
        return f"−{self.below:.0%} to +{self.above:.0%} of the median".replace("%", " %")


def common_axis(distributions: Iterable[Sequence[float]]) -> Axis:
    """Wide enough for most samples of each; a few that are far out shall not make it a line."""
    below = above = 0.0
    for samples in distributions:
        median = float(np.median(samples))
        if median > 0:
            low, high = np.percentile(samples, [2, 90]) / median
            below, above = max(below, 1 - low), max(above, high - 1)
    return Axis(_nice(below), _nice(above * 1.25))


def distribution(samples: Sequence[float], axis: Axis, label: str) -> Html | None:
    """A histogram with a line at the median; None where there is nothing to relate samples to."""
    if len(samples) < 2 or np.median(samples) <= 0:
        return None
    relative = np.clip(np.array(samples) / np.median(samples) - 1, -axis.below, axis.above)
    counts, _ = np.histogram(relative, BINS, (-axis.below, axis.above))
    x = _short(PLOT_WIDTH * axis.below / (axis.below + axis.above))
    parts = [
        tag("path", class_="hist", d=_outline(counts)),
        tag("path", class_="mark", d=f"M{x} 0V{PLOT_HEIGHT}"),
    ]
    return _svg(PLOT_WIDTH, PLOT_HEIGHT, parts, class_="dist", role="img", aria_label=label)


def _outline(counts: np.ndarray) -> str:
    """The histogram's path. A bin that holds anything is seen."""
    step = PLOT_WIDTH // BINS
    tallest = counts.max()
    path, last = f"M0 {PLOT_HEIGHT}", 0
    for index, value in enumerate(counts):
        height = math.ceil((PLOT_HEIGHT - 1) * value / tallest) if value else 0
        if height != last:
            path += f"H{index * step}V{PLOT_HEIGHT - height}"
            last = height
    return path + f"H{PLOT_WIDTH}V{PLOT_HEIGHT}Z"


def _nice(value: float) -> float:
    return next((nice for nice in _NICE if value <= nice), _NICE[-1])


def _svg(width: int, height: int, parts: list[Html], **attributes: str) -> Html:
    # Stretched to the width of its cell.
    return tag("svg", *parts, viewBox=f"0 0 {width} {height}", preserveAspectRatio="none",
               **attributes)


def _short(value: float) -> str:
    return f"{value:.1f}".removesuffix(".0")
