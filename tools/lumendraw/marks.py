"""Crosses, outlines and boxes. Places are those of the picture, which may be enlarged to draw on."""

from typing import Any

import numpy as np
from numpy.typing import NDArray

from .images import Pixels

Colour = tuple[int, int, int]
Points = NDArray[np.integer[Any]]  # n x 2: x and y

ARM = 3  # pixels, as lumenTest draws crosses


def crosses(canvas: Pixels, points: Points, colour: Colour, times: int) -> None:
    """A cross over each place, clipped to the picture. Unlike lumenTest's, which brightens, it
    covers what is below, so that it shows on white too."""
    height, width, _ = canvas.shape
    for x, y in points.astype(np.int64) * times + times // 2:
        canvas[max(y - ARM, 0):y + ARM + 1, x] = colour
        canvas[y, max(x - ARM, 0):x + ARM + 1] = colour


def outline(canvas: Pixels, points: Points, colour: Colour, times: int) -> None:
    """The pixels of a region that have one of their four neighbours outside it."""
    left, top = points.min(axis=0)
    width, height = points.max(axis=0) - (left, top) + 1
    inside = np.zeros((height, width), bool)
    inside[points[:, 1] - top, points[:, 0] - left] = True
    inside = np.repeat(np.repeat(inside, times, axis=0), times, axis=1)
    around = np.pad(inside, 1)
    interior = around[:-2, 1:-1] & around[2:, 1:-1] & around[1:-1, :-2] & around[1:-1, 2:]
    y, x = np.nonzero(inside & ~interior)
    canvas[y + int(top) * times, x + int(left) * times] = colour


def box(canvas: Pixels, rectangle: tuple[int, int, int, int], colour: Colour, times: int) -> None:
    """Left, top, right and bottom, all of them inside."""
    left, top = rectangle[0] * times, rectangle[1] * times
    right, bottom = (rectangle[2] + 1) * times - 1, (rectangle[3] + 1) * times - 1
    canvas[[top, bottom], left:right + 1] = colour
    canvas[top:bottom + 1, [left, right]] = colour
