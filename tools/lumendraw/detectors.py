"""The detectors' calls: numbers in, corners or regions out."""

import ctypes
from argparse import Namespace
from dataclasses import dataclass

import numpy as np

from .library import Library, LibraryError

Array = np.ndarray

_UNTOUCHED = 2**32 - 1  # a count that no call gives: the call was refused


@dataclass(frozen=True)
class Region:
    points: Array  # rows of x and y
    box: tuple[int, int, int, int]  # left, top, width, height
    polarity: int  # 1: darker than what is around it; -1: brighter


def _finish(name: str, count: Array, image: Array) -> int:
    if count[0] == _UNTOUCHED:
        height, width = image.shape
        raise LibraryError(f"{name} refuses a picture of {width} x {height} with these numbers")
    return int(count[0])


def _lists(capacity: int) -> tuple[Array, Array]:
    """Room for places, one at least, and for their count."""
    return np.zeros((max(capacity, 1), 2), np.uint32), np.array([_UNTOUCHED], np.uint32)


def fast(library: Library, image: Array, options: Namespace, arc: int) -> Array:
    height, width = image.shape
    xy, count = _lists(options.max)
    scores = np.zeros(len(xy), np.uint32)
    work = np.zeros(3 * len(xy) + height, np.uint32)
    name = "lumCornerFast9Scoreu8_v2" if arc == 9 else "lumCornerFast10Scoreu8"
    library.call(name, image, width, height, width, ctypes.c_int32(options.threshold),
                 options.border, xy, scores, options.max, count, int(not options.all),
                 work)  # fmt: skip
    return xy[: _finish(name, count, image)]


def harris(library: Library, image: Array, options: Namespace) -> Array:
    height, width = image.shape
    xy, count = _lists(options.max)
    name = "lumCornerHarrisScoreu8"
    library.call(name, image, width, height, width, options.border, xy,
                 np.zeros(len(xy), np.int32), options.max, count,
                 ctypes.c_int32(options.threshold), int(not options.all))  # fmt: skip
    return xy[: _finish(name, count, image)]


def features(library: Library, image: Array, options: Namespace) -> Array:
    height, width = image.shape
    xy, count = _lists(options.max)
    name = "lumGoodFeatureToTracku8"
    library.call(name, image, width, height, width, options.border, xy, options.max, count,
                 options.quality, options.distance)  # fmt: skip
    return xy[: _finish(name, count, image)]


def mser(library: Library, image: Array, options: Namespace) -> list[Region]:
    height, width = image.shape
    area = (width - 2) * (height - 2)
    # Numbers out of range end the process, so that they must not reach the library.
    if not (50 < width <= 8160 and 5 < height < 2**16):
        raise LibraryError(f"mser takes pictures of 51 x 6 to 8160 x 65535, not {width} x {height}")
    most = options.max_area or area // 4
    if not (1 <= options.delta <= 255 and options.min_area + 1 < most and options.min_area < area):
        raise LibraryError("mser needs a delta from 1 to 255, and a min-area less than max-area")
    if not (options.max_variation > 0 and 0 <= options.min_diversity < 256):
        raise LibraryError("mser needs a max-variation above 0 and a min-diversity below 256")
    by_eight = options.neighbours == 8
    handle = ctypes.c_void_p()
    made = library.call("lumMserNN8Init" if by_eight else "lumMserInit", width, height,
                        options.delta, options.min_area, most, options.max_variation,
                        options.min_diversity, ctypes.byref(handle), result=ctypes.c_int)  # fmt: skip
    if not made:
        raise LibraryError("mser: no handle for this picture")
    try:
        return _regions(library, image, handle, options.max)
    finally:
        library.call("lumMserRelease", handle)


def _regions(library: Library, image: Array, handle: ctypes.c_void_p, most: int) -> list[Region]:
    height, width = image.shape
    count = np.array([_UNTOUCHED], np.uint32)
    boxes, lengths = np.zeros((most, 4), np.uint16), np.zeros(most, np.uint32)
    room = 64 * width * height
    points = np.zeros((room, 2), np.uint16)
    polarity = np.zeros(most, np.int32)
    others = [np.zeros(most, np.uint32) for _ in range(3)]
    library.call("lumMserExtu8_v2", handle, image, width, height, width, most, count, boxes,
                 lengths, points, room, others[0], polarity, others[1], others[2])  # fmt: skip
    regions, first = [], 0
    for i in range(_finish("lumMserExtu8_v2", count, image)):
        last = first + int(lengths[i])
        box = tuple(int(value) for value in boxes[i])
        regions.append(Region(points[first:last].astype(np.int64), box, int(polarity[i])))
        first = last
    return regions
