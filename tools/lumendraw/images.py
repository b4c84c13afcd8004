"""Pictures from and to files."""

import re
from collections.abc import Callable
from pathlib import Path

import lumenpng
import numpy as np
from numpy.typing import NDArray

from lumentestdata.formats import pgm_header
from lumentestdata.tree import write_file

Pixels = NDArray[np.uint8]  # height x width, or height x width x 3

MAX_SIDE = 65536  # as lumenTest reads pictures
# A number of the header ends with a blank; comments may stand before it.
_NUMBER = rb"(?:\s|#[^\n]*\n)+(\d{1,9})"
_HEADER = re.compile(rb"P([56])" + _NUMBER * 3 + rb"\s")


class ImageError(Exception):
    """A picture that cannot be read, or may not be written."""


def read(path: Path) -> Pixels:
    """A PGM or PPM file of the binary kind, 8 bits a value."""
    content = path.read_bytes()
    header = _HEADER.match(content)
    if not header:
        raise ImageError(f"{path}: neither a PGM (P5) nor a PPM (P6) file")
    width, height, greatest = (int(number) for number in header.groups()[1:])
    if not (1 <= width <= MAX_SIDE and 1 <= height <= MAX_SIDE):
        raise ImageError(f"{path}: sides have 1 to {MAX_SIDE} pixels, not {width} x {height}")
    if greatest != 255:
        raise ImageError(f"{path}: the greatest value is 255 in files of 8 bits, not {greatest}")
    shape = (height, width) if header[1] == b"5" else (height, width, 3)
    size = int(np.prod(shape, dtype=np.int64))
    if len(content) - header.end() < size:
        raise ImageError(f"{path}: ends before the last pixel")
    return np.frombuffer(content, np.uint8, size, header.end()).reshape(shape)


def grey(pixels: Pixels) -> Pixels:
    """What detectors look at: the picture itself, or its luma."""
    if pixels.ndim == 2:
        return np.ascontiguousarray(pixels)
    weighted = pixels.astype(np.uint32) @ np.array([77, 150, 29], np.uint32)
    return ((weighted + 128) >> 8).astype(np.uint8)


def canvas(pixels: Pixels, times: int) -> Pixels:
    """A picture in colour to draw on, each pixel enlarged to a square."""
    colour = pixels if pixels.ndim == 3 else np.repeat(pixels[:, :, None], 3, axis=2)
    return np.repeat(np.repeat(colour, times, axis=0), times, axis=1)


def require_writable(path: Path, source: Path) -> None:
    """Before any work is done: a name of a kind that is known, and not the picture's own."""
    if path.suffix.lower() not in _ENCODERS:
        raise ImageError(f"{path}: pictures are written as .png or .ppm")
    if path.exists() and source.exists() and path.samefile(source):
        raise ImageError(f"{path} is the picture itself")


def write(path: Path, pixels: Pixels) -> None:
    write_file(path, _ENCODERS[path.suffix.lower()](pixels))


def _ppm(pixels: Pixels) -> bytes:
    height, width, _ = pixels.shape
    return pgm_header(width, height).replace(b"P5", b"P6", 1) + pixels.tobytes()


_ENCODERS: dict[str, Callable[[Pixels], bytes]] = {".png": lumenpng.encode, ".ppm": _ppm}
