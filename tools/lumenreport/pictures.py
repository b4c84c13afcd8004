"""Pictures of failed cases: reference, result and their difference, as PNG in data URIs."""

import base64
import re
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

import lumenpng
import numpy as np
import numpy.typing as npt

MAX_FILE = 64 << 20  # bytes of a picture file that is read
MAX_SIDE = 256  # pixels of a shown picture
MAX_ENLARGED = 16  # a pixel's side in the page
MARGIN = 8  # pixels around the differences that are shown where all of the picture is too large

# P5 and P6, with comments between the fields, and one blank before the pixels.
_GAP = rb"(?:\s|#[^\n]*\n)+"
_SIZE = _GAP + rb"(\d{1,6})" + _GAP + rb"(\d{1,6})"
_PNM = re.compile(rb"(P[56])" + _SIZE + _GAP + rb"(\d{1,5})\s")

Pixels = npt.NDArray[np.int32]  # rows, columns, channels: 1 or 3


class PictureError(ValueError):
    """Why there is no picture."""


@dataclass(frozen=True)
class Shown:
    title: str
    uri: str
    width: int  # in the page
    height: int


@dataclass(frozen=True)
class Difference:
    pictures: list[Shown]
    caption: str


def picture_of_difference(folders: list[Path], reference: str, result: str) -> Difference:
    """The two files are in the first of the folders that has them."""
    try:
        expected, got = (_read(_find(folders, name)) for name in (reference, result))
    except (OSError, RuntimeError) as error:  # the latter where links go in a circle
        raise PictureError(str(error)) from error
    if expected.pixels.shape != got.pixels.shape:
        raise PictureError("reference and result differ in size")
    difference = np.abs(got.pixels - expected.pixels)
    largest = int(difference.max())
    differing = int(np.count_nonzero(difference.any(axis=2)))
    region = _region(difference)
    brightest = max(expected.maximum, got.maximum)
    pictures = [
        _shown("reference", _thinned(expected.pixels[region]), brightest),
        _shown("result", _thinned(got.pixels[region]), brightest),
        _shown("difference, amplified", _thinned(difference[region], keep_largest=True),
               max(largest, 1)),
    ]
    return Difference(pictures, _caption(region, difference.shape, differing, largest))


@dataclass(frozen=True)
class _Picture:
    pixels: Pixels
    maximum: int


def _find(folders: list[Path], name: str) -> Path:
    """A record may name files in its directory, not anywhere."""
    for folder in folders:
        path = (folder / name).resolve()
        if not path.is_relative_to(folder.resolve()):
            raise PictureError(f"{name} is not a file of the saved case")
        if path.is_file():
            return path
    raise PictureError(f"{name} is not there")


def _read(path: Path) -> _Picture:
    if path.stat().st_size > MAX_FILE:
        raise PictureError(f"{path.name} is too large")
    content = path.read_bytes()
    header = _PNM.match(content)
    if not header:
        raise PictureError(f"{path.name} is neither PGM nor PPM")
    width, height, maximum = (int(header[group]) for group in (2, 3, 4))
    channels = 1 if header[1] == b"P5" else 3
    dtype = np.dtype("u1" if maximum < 256 else ">u2")
    size = width * height * channels
    if not size or not maximum or maximum > 65535:
        raise PictureError(f"{path.name} holds no pixels")
    if len(content) - header.end() < size * dtype.itemsize:
        raise PictureError(f"{path.name} is too short")
    pixels = np.frombuffer(content, dtype, size, header.end())
    return _Picture(pixels.reshape(height, width, channels).astype(np.int32), maximum)


def _region(difference: Pixels) -> tuple[slice, slice]:
    """All of a small picture; of a large one, what differs and a little around it."""

    def side(differs: npt.NDArray[np.bool_]) -> slice:
        places = np.flatnonzero(differs)
        if len(differs) <= MAX_SIDE or not len(places):
            return slice(0, len(differs))
        return slice(max(0, places[0] - MARGIN), min(len(differs), places[-1] + 1 + MARGIN))

    return side(difference.any(axis=(1, 2))), side(difference.any(axis=(0, 2)))


def _thinned(pixels: Pixels, keep_largest: bool = False) -> Pixels:
    """At most MAX_SIDE pixels a side: every so many, or the largest of so many, so that a lone
    pixel is not lost."""
    step = -(-max(pixels.shape[:2]) // MAX_SIDE)
    if step > 1 and keep_largest:
        rows, columns = (-size % step for size in pixels.shape[:2])
        padded = np.pad(pixels, ((0, rows), (0, columns), (0, 0)))
        height, width, channels = padded.shape
        blocks = padded.reshape(height // step, step, width // step, step, channels)
        return blocks.max(axis=(1, 3))
    return pixels[::step, ::step]


def _shown(title: str, pixels: Pixels, brightest: int) -> Shown:
    height, width = pixels.shape[:2]
    image = np.rint(np.clip(pixels / brightest, 0, 1) * 255).astype(np.uint8)
    enlarged = min(MAX_ENLARGED, max(1, MAX_SIDE // max(height, width)))
    uri = "data:image/png;base64," + base64.b64encode(lumenpng.encode(image)).decode("ascii")
    return Shown(title, uri, width * enlarged, height * enlarged)


def _caption(region: tuple[slice, slice], shape: tuple[int, ...], differing: int,
             largest: int) -> str:
    height, width = shape[:2]
    share = f"{differing} of {width * height} pixels differ, by at most {largest}"
    rows, columns = region
    if rows == slice(0, height) and columns == slice(0, width):
        return f"{width} x {height}: {share}"
    return (f"{width} x {height}: {share}; shown are columns {columns.start} to {columns.stop - 1} "
            f"of rows {rows.start} to {rows.stop - 1}")


class Budget:
    """What pictures may still add to the page."""

    def __init__(self, size: int) -> None:
        self._left = size

    def take(self, difference: Difference) -> bool:
        size = sum(len(picture.uri) for picture in difference.pictures)
        fits = size <= self._left
        self._left -= size if fits else 0
        return fits


def possible_folders(record: Path, saved: str) -> Iterator[Path]:
    """Where a directory that a record names may be: a relative one was relative to where the run
    was started, and may have come along with the record since."""
    folder = Path(saved)
    yield record.parent / folder
    yield record.parent / folder.name
    yield folder
