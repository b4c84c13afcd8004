"""Detectors of the shared library."""

import ctypes
from collections.abc import Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .images import Pixels

Corners = NDArray[np.uint32]  # n x 2: x and y

_BUILT = Path(__file__).resolve().parents[2] / "build" / "liblumen.so"
_VECTOR, _REFERENCE = 3, 0x80000002  # operation modes
_UNTOUCHED = 0xFFFFFFFF  # a count that a refused call leaves behind

_U32, _S32, _F32, _ADDRESS = ctypes.c_uint32, ctypes.c_int32, ctypes.c_float, ctypes.c_void_p


class LibraryError(Exception):
    """A library that cannot be used, or a call that it did not carry out."""


@dataclass(frozen=True)
class Region:
    points: NDArray[np.uint16]  # n x 2: x and y
    box: tuple[int, int, int, int]  # left, top, right, bottom
    bright: bool  # than what is around it


@dataclass(frozen=True)
class MserLimits:
    delta: int
    min_area: int
    max_area: int
    max_variation: float
    min_diversity: float
    neighbours: int


class Library:
    def __init__(self, path: Path | None, reference: bool) -> None:
        name = str(path or (_BUILT if _BUILT.exists() else "liblumen.so"))
        try:
            self._library = ctypes.CDLL(name)
        except OSError as error:
            raise LibraryError(f"cannot load the library: {error}") from error
        self._name = name
        self._function("lumSetOperationMode", [_U32])(_REFERENCE if reference else _VECTOR)

    def fast(self, arc: int, image: Pixels, barrier: int, border: int, capacity: int,
             suppress: bool) -> Corners:
        name = {9: "lumCornerFast9Scoreu8_v2", 10: "lumCornerFast10Scoreu8"}[arc]
        find = self._function(name, [_ADDRESS, _U32, _U32, _U32, _S32, _U32, _ADDRESS, _ADDRESS,
                                     _U32, _ADDRESS, _U32, _ADDRESS])
        scores = np.empty(capacity, np.uint32)
        work = np.empty(3 * capacity + image.shape[0], np.uint32)

        def call(*place: Any) -> None:
            xy, count = place
            find(*_image(image), barrier, border, xy, _at(scores), capacity, count, suppress,
                 _at(work))

        return self._corners(name, capacity, call)

    def harris(self, image: Pixels, threshold: int, border: int, capacity: int) -> Corners:
        name = "lumCornerHarrisu8"
        find = self._function(name, [_ADDRESS, _U32, _U32, _U32, _U32, _ADDRESS, _U32, _ADDRESS,
                                     _S32])
        return self._corners(name, capacity, lambda xy, count: find(
            *_image(image), border, xy, capacity, count, threshold))

    def good_features(self, image: Pixels, quality: float, distance: int, border: int,
                      capacity: int) -> Corners:
        name = "lumGoodFeatureToTracku8"
        find = self._function(name, [_ADDRESS, _U32, _U32, _U32, _U32, _ADDRESS, _U32, _ADDRESS,
                                     _F32, _U32])
        return self._corners(name, capacity, lambda xy, count: find(
            *_image(image), border, xy, capacity, count, quality, distance))

    def mser(self, image: Pixels, limits: MserLimits, capacity: int) -> tuple[list[Region], bool]:
        """The regions, and whether there were more."""
        make = "lumMserInit" if limits.neighbours == 4 else "lumMserNN8Init"
        init = self._function(make, [_U32] * 5 + [_F32, _F32, _ADDRESS], _S32)
        find = self._function("lumMserExtu8_v2", [_ADDRESS, _ADDRESS, _U32, _U32, _U32, _U32]
                              + [_ADDRESS] * 4 + [_U32] + [_ADDRESS] * 4, _S32)
        release = self._function("lumMserRelease", [_ADDRESS])
        height, width = image.shape
        handle = _ADDRESS()
        if not init(width, height, limits.delta, limits.min_area, limits.max_area,
                    limits.max_variation, limits.min_diversity, ctypes.byref(handle)):
            raise LibraryError(f"{make} made no handle; its message says why")
        try:
            return self._regions(find, handle, image, capacity, limits.max_area)
        finally:
            release(handle)

    def _regions(self, find: Any, handle: ctypes.c_void_p, image: Pixels, capacity: int,
                 max_area: int) -> tuple[list[Region], bool]:
        # Memory that nothing is written to is never really taken.
        room = min(capacity * max_area, 1 << 27)
        points = np.empty((room, 2), np.uint16)
        sizes, variation, node, counter = np.empty((4, capacity), np.uint32)
        boxes = np.empty((capacity, 4), np.uint16)
        polarity = np.empty(capacity, np.int32)
        count = _U32(_UNTOUCHED)
        result = find(handle, *_image(image), capacity, ctypes.byref(count), _at(sizes), _at(boxes),
                      _at(points), room, _at(variation), _at(polarity), _at(node), _at(counter))
        if result not in (1, 2) or count.value > capacity:
            raise LibraryError("lumMserExtu8_v2 gave no regions; its message says why")
        ends = np.cumsum(sizes[:count.value], dtype=np.int64)
        regions = []
        for i, end in enumerate(ends):
            left, top, right, bottom = map(int, boxes[i])
            regions.append(Region(points[end - sizes[i]:end], (left, top, right, bottom),
                                  bool(polarity[i] < 0)))
        return regions, result == 2

    def _corners(self, name: str, capacity: int, call: Any) -> Corners:
        xy = np.empty((capacity, 2), np.uint32)
        count = _U32(_UNTOUCHED)
        call(_at(xy), ctypes.byref(count))
        if count.value > capacity:
            raise LibraryError(f"{name} refused the picture; its message says why")
        return xy[:count.value]

    def _function(self, name: str, arguments: Sequence[Any], result: Any = None) -> Any:
        try:
            function = getattr(self._library, name)
        except AttributeError:
            raise LibraryError(f"{self._name} has no function {name}") from None
        function.argtypes, function.restype = arguments, result
        return function


def _at(array: NDArray[Any]) -> int:
    return array.ctypes.data


def _image(pixels: Pixels) -> tuple[int, int, int, int]:
    """The arguments that every detector begins with; rows have no gaps between them."""
    height, width = pixels.shape
    return _at(pixels), width, height, width
