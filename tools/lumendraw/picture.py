"""Pictures: arrays of rows, columns and three colours; their files; what is drawn on them."""

import struct
import zlib
from pathlib import Path

import numpy as np

Array = np.ndarray
Colour = tuple[int, int, int]

ARM = 3  # pixels of a cross on each side of its middle


class PictureError(Exception):
    """A file that is no picture."""


def read(path: Path) -> Array:
    """A binary PGM or PPM with 8 bits a value, as a colour picture."""
    content = path.read_bytes()
    magic, position = _word(content, 0)
    if magic not in (b"P5", b"P6"):
        raise PictureError(f"{path}: no binary PGM or PPM (P5 or P6)")
    numbers = []
    for _ in range(3):
        word, position = _word(content, position)
        if not word.isdigit() or len(word) > 9:
            raise PictureError(f"{path}: the header lacks width, height or greatest value")
        numbers.append(int(word))
    width, height, greatest = numbers
    if width == 0 or height == 0 or greatest != 255:
        raise PictureError(f"{path}: {width} x {height} up to {greatest}; needs pixels up to 255")
    channels = 1 if magic == b"P5" else 3
    pixels = content[position + 1 :]
    if len(pixels) < width * height * channels:
        raise PictureError(f"{path}: {len(pixels)} bytes of pixels of {width * height * channels}")
    values = np.frombuffer(pixels, np.uint8, width * height * channels)
    return np.broadcast_to(values.reshape(height, width, channels), (height, width, 3)).copy()


def _word(content: bytes, position: int) -> tuple[bytes, int]:
    """The next word of a header and where it ends. A comment goes from # to the end of its line."""
    while position < len(content) and content[position : position + 1] in b" \t\r\n#":
        if content[position : position + 1] == b"#":
            end = content.find(b"\n", position)
            position = end if end >= 0 else len(content)
        else:
            position += 1
    end = position
    while end < len(content) and content[end : end + 1] not in b" \t\r\n#":
        end += 1
    return content[position:end], end


def write(path: Path, picture: Array) -> None:
    """A PNG or a PPM, by the file's name."""
    kind = path.suffix.lower()
    if kind not in (".png", ".ppm"):
        raise PictureError(f"{path}: the name must end in .png or .ppm")
    path.write_bytes(_png(picture) if kind == ".png" else _ppm(picture))


def _ppm(picture: Array) -> bytes:
    height, width, _ = picture.shape
    return f"P6\n{width} {height}\n255\n".encode("ascii") + picture.tobytes()


def _png(picture: Array) -> bytes:
    """Rows as differences to the left, which photographs pack better as."""
    height, width, _ = picture.shape
    left = np.zeros_like(picture)
    left[:, 1:] = picture[:, :-1]
    rows = np.ones((height, 1 + width * 3), np.uint8)  # each begins with its filter: 1, to the left
    rows[:, 1:] = (picture - left).reshape(height, -1)

    def chunk(kind: bytes, data: bytes) -> bytes:
        checked = kind + data
        return struct.pack(">I", len(data)) + checked + struct.pack(">I", zlib.crc32(checked))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(rows.tobytes(), 9))
        + chunk(b"IEND", b"")
    )


def grey(picture: Array) -> Array:
    """As detectors take it: (77 R + 150 G + 29 B + 128) / 256, which leaves grey pictures alone."""
    return ((picture.astype(np.uint32) @ (77, 150, 29) + 128) >> 8).astype(np.uint8)


def dimmed(picture: Array, percent: int) -> Array:
    """A darker picture, for bright marks."""
    return (picture.astype(np.uint32) * percent // 100).astype(np.uint8)


def enlarged(picture: Array, times: int) -> Array:
    """Each pixel as a square of `times` pixels each way."""
    return picture.repeat(times, axis=0).repeat(times, axis=1)


def enlarged_points(points: Array, times: int) -> Array:
    """The pixels of such squares, as rows of x and y."""
    inside = np.stack(np.mgrid[0:times, 0:times], axis=-1).reshape(1, -1, 2)
    return (points[:, np.newaxis, :] * times + inside).reshape(-1, 2)


def _mark(part: Array, colour: Colour) -> None:
    """Each channel becomes the greater of its own value and the colour's."""
    np.maximum(part, np.array(colour, np.uint8), out=part)


def put_cross(picture: Array, x: int, y: int, colour: Colour) -> None:
    """A cross of the image utilities of lumenTest, bounds included: both arms are clipped to the
    picture, and the last row has no horizontal arm."""
    height, width, _ = picture.shape
    if 0 <= x < width and -ARM <= y < height + ARM:
        _mark(picture[max(y - ARM, 0) : max(y + ARM + 1, 0), x], colour)
    if 0 <= y < height - 1 and -ARM <= x < width + ARM:
        _mark(picture[y, max(x - ARM, 0) : max(x + ARM + 1, 0)], colour)


def put_box(picture: Array, left: int, top: int, width: int, height: int, colour: Colour) -> None:
    """The outermost pixels of a rectangle, clipped to the picture."""
    right, bottom = left + width - 1, top + height - 1
    rows, columns, _ = picture.shape
    across, down = slice(max(left, 0), right + 1), slice(max(top, 0), bottom + 1)
    for y in {top, bottom}:
        if 0 <= y < rows:
            _mark(picture[y, across], colour)
    for x in {left, right}:
        if 0 <= x < columns:
            _mark(picture[down, x], colour)


def put_outline(picture: Array, points: Array, colour: Colour) -> None:
    """The pixels of a region, given as rows of x and y, that have another beside them."""
    left, top = points.min(axis=0) - 1
    shape = tuple(points.max(axis=0)[::-1] - (top, left) + 2)
    inside = np.zeros(shape, bool)
    inside[points[:, 1] - top, points[:, 0] - left] = True
    inner = inside[1:-1, :-2] & inside[1:-1, 2:] & inside[:-2, 1:-1] & inside[2:, 1:-1]
    y, x = np.nonzero(inside[1:-1, 1:-1] & ~inner)
    marked = picture[y + top + 1, x + left + 1]
    _mark(marked, colour)
    picture[y + top + 1, x + left + 1] = marked
