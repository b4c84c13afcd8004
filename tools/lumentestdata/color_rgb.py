"""Data of the packed-RGB module: formats into each other, gray, YCrCb, HSV and Lab.

Colours are integer arrays of shape (rows, pixels, 4) with R, G, B and alpha.
"""

from collections.abc import Callable
from dataclasses import dataclass

import numpy as np

from .elements import U8, Array
from .formats import Image, encode, table
from .tree import Tree

DIRECTORY = "lumencolorrgb"
COLUMNS = [("src", "unsignedchar[]"), ("ref", "unsignedchar[]"), ("note", "comment")]

PADDING = 8  # bytes after each row of the padded case


@dataclass(frozen=True)
class Format:
    name: str
    size: int  # bytes to a pixel
    is_bgr: bool

    def bytes_of(self, colours: Array) -> Array:
        """Rows of bytes."""
        r, g, b, a = (colours[..., channel] for channel in ((2, 1, 0, 3) if self.is_bgr else range(4)))
        if self.size == 2:
            word = (r // 8) * 2048 + (g // 4) * 32 + b // 8
            channels = [word % 256, word // 256]
        else:
            channels = [r, g, b, a][: self.size]
        return np.stack(channels, axis=-1).reshape(colours.shape[0], -1).astype(np.uint8)

    def colours_of(self, rows: Array) -> Array:
        pixels = rows.astype(np.int64).reshape(rows.shape[0], -1, self.size)
        opaque = np.full(pixels.shape[:2], 255)
        if self.size == 2:
            word = pixels[..., 0] + 256 * pixels[..., 1]
            # The highest bits once more below: as many whole times as they fit.
            channels = [
                word // 2048 * 33 // 4,
                word // 32 % 64 * 65 // 16,
                word % 32 * 33 // 4,
                opaque,
            ]
        else:
            channels = [*np.moveaxis(pixels, -1, 0), opaque][:4]
        order = (2, 1, 0, 3) if self.is_bgr else (0, 1, 2, 3)
        return np.stack([channels[channel] for channel in order], axis=-1)


SOURCES = tuple(Format(name, size, False) for name, size in (("RGB565", 2), ("RGB888", 3), ("RGBA8888", 4)))
TARGETS = SOURCES + tuple(
    Format(name, size, True) for name, size in (("BGR565", 2), ("BGR888", 3), ("BGRA8888", 4))
)


def gray(colours: Array) -> Array:
    r, g, b = _channels(colours)
    return ((77 * r + 150 * g + 29 * b + 128) // 256)[..., None]


def ycrcb(colours: Array) -> Array:
    r, g, b = _channels(colours)
    cr = 128 + (128 * r - 107 * g - 21 * b + 128) // 256
    cb = 128 + (-43 * r - 85 * g + 128 * b + 128) // 256
    return np.stack([gray(colours)[..., 0], np.minimum(cr, 255), np.minimum(cb, 255)], axis=-1)


def hsv(colours: Array) -> Array:
    """In whole numbers: a quotient q / d is rounded half up as (2 q + d) // (2 d)."""
    r, g, b = _channels(colours)
    value = np.maximum(np.maximum(r, g), b)
    distance = value - np.minimum(np.minimum(r, g), b)
    divisor = np.maximum(distance, 1)
    turned = np.where(
        value == r,
        30 * (g - b),
        np.where(value == g, 30 * (b - r) + 60 * distance, 30 * (r - g) + 120 * distance),
    )
    hue = (2 * turned + divisor) // (2 * divisor) % 180
    largest = np.maximum(value, 1)
    saturation = (510 * distance + largest) // (2 * largest)
    return np.stack([np.where(distance > 0, hue, 0), saturation, value], axis=-1)


def lab(colours: Array) -> Array:
    """The fixed-point arithmetic of the definition, with tables from floating-point functions."""
    v = np.arange(256) / 255
    linear = np.where(v <= 0.04045, v / 12.92, ((v + 0.055) / 1.055) ** 2.4)
    linear16 = np.floor(linear * 65535 + 0.5).astype(np.int64)
    t = np.arange(8193) * 2**17 / (65535 * 2**14)
    f = np.where(t > (6 / 29) ** 3, np.cbrt(t), t * (29 / 6) ** 2 / 3 + 4 / 29)
    f15 = np.floor(f * 2**15 + 0.5).astype(np.int64)
    weights = np.array([[7110, 6164, 3110], [3484, 11717, 1183], [291, 1793, 14300]])
    xyz = np.tensordot(linear16[colours[..., :3]], weights.T, axes=1)
    fx, fy, fz = np.moveaxis(f15[(xyz + 2**16) // 2**17], -1, 0)
    lightness = (fy * 18931 - 85563802 + 2**20) // 2**21
    a = (500 * (fx - fy) + 2**14) // 2**15 + 128
    b = (200 * (fy - fz) + 2**14) // 2**15 + 128
    return np.stack([lightness, a, b], axis=-1)


def real_lab(colours: Array) -> Array:
    """CIE 1976 L*a*b* of sRGB at D65 in real numbers, scaled to bytes and not rounded."""
    v = colours[..., :3] / 255
    linear = np.where(v <= 0.04045, v / 12.92, ((v + 0.055) / 1.055) ** 2.4)
    matrix = np.array(
        [
            [0.4124564, 0.3575761, 0.1804375],
            [0.2126729, 0.7151522, 0.0721750],
            [0.0193339, 0.1191920, 0.9503041],
        ]
    )
    t = linear @ (matrix / matrix.sum(axis=1, keepdims=True)).T
    f = np.where(t > (6 / 29) ** 3, np.cbrt(t), t * (29 / 6) ** 2 / 3 + 4 / 29)
    fx, fy, fz = np.moveaxis(f, -1, 0)
    return np.stack([(116 * fy - 16) * 2.55, 500 * (fx - fy) + 128, 200 * (fy - fz) + 128], axis=-1)


def _channels(colours: Array) -> Array:
    return np.moveaxis(colours[..., :3].astype(np.int64), -1, 0)


@dataclass(frozen=True)
class Function:
    name: str
    source: Format
    target: str  # as in the names of files
    convert: Callable[[Array], Array]  # rows of the source to rows of the result, in bytes


def _values(name: str, source: Format, target: str, of: Callable[[Array], Array]) -> Function:
    def convert(rows: Array) -> Array:
        values = of(source.colours_of(rows))
        if values.min() < 0 or values.max() > 255:
            raise ValueError(f"{name}: a value is no byte")
        return values.reshape(rows.shape[0], -1).astype(np.uint8)

    return Function(name, source, target, convert)


def _reordering(source: Format, target: Format) -> Function:
    return Function(
        f"lumColor{source.name}To{target.name}u8",
        source,
        f"{source.name}To{target.name}",
        lambda rows: target.bytes_of(source.colours_of(rows)),
    )


FUNCTIONS = (
    *(_reordering(s, t) for s in SOURCES for t in TARGETS if s != t),
    _values("lumColorRGB888ToGrayu8", SOURCES[1], "Gray", gray),
    _values("lumColorRGB888toYCrCbu8", SOURCES[1], "YCrCb", ycrcb),
    _values("lumColorRGB888ToHSV888u8", SOURCES[1], "HSV", hsv),
    _values("lumColorRGBA8888ToLABu8", SOURCES[2], "LAB", lab),
)


def _extremes() -> Array:
    """Colours at the edges of the definitions, 64 to a row."""
    levels = np.arange(64) * 4 + np.arange(64) % 4
    zero, full = np.zeros(64, np.int64), np.full(64, 255)
    x = np.arange(64)
    corners = np.array([0, 1, 254, 255])[np.array([x // 16, x // 4 % 4, x % 4])]
    rows = [
        (levels, levels, levels),  # gray
        (levels, zero, full),
        (full, levels, zero),
        tuple(corners),
        (x, x // 2, 63 - x),  # dark: L* is linear there; all steps of 5 and 6 bits below
        (x * 2 + 128, full - x, x * 4),
    ]
    alpha = [levels, full, zero, levels[::-1], full - 1, zero + 1]
    return np.array([np.stack([*rgb, a], axis=-1) for rgb, a in zip(rows, alpha)])


@dataclass(frozen=True)
class Case:
    stem: str
    note: str
    width: int
    height: int
    padding: int = 0

    @property
    def suffix(self) -> str:
        return "csv" if self.padding else "data"

    def source(self, source: Format) -> Array:
        if self.stem == "extremes":
            return source.bytes_of(_extremes())
        shape = self.height, self.width * source.size
        return U8.random(f"{DIRECTORY}/{self.stem}_{source.name}", shape)


CASES = (
    Case("pixel", "1 x 1: the smallest image", 1, 1),
    Case("extremes", "64 x 6: grays, edges of the cube, corners, dark colours", 64, 6),
    Case("w17", "17 x 3: one more than a vector of 16", 17, 3),
    Case("w65", "65 x 2: one more than a vector of 64", 65, 2),
    Case("padded", "13 x 4: rows with padding that no call may take in", 13, 4, PADDING),
)


def function_names() -> list[str]:
    return [function.name for function in FUNCTIONS]


def add_all(tree: Tree) -> None:
    for function in FUNCTIONS:
        rows = []
        for case in CASES:
            source = case.source(function.source)
            source_name = f"{case.stem}_{function.source.name}.{case.suffix}"
            _add(tree, source_name, source, case.padding)
            name = f"{case.stem}_{function.target}.{case.suffix}"
            _add(tree, name, function.convert(source), case.padding // 2)
            rows.append([source_name, name, case.note])
        suffix = function.name.removeprefix("lumColor")
        tree.add(f"{DIRECTORY}/control_script_{suffix}.csv", table(COLUMNS, rows))


def padded(rows: Array, padding: int) -> Image:
    """With padding that is never zero."""
    height, width = rows.shape
    junk = np.arange(height * padding).reshape(height, padding) % 9 + 91
    return Image(np.hstack([rows, junk.astype(np.uint8)]), width, height)


def _add(tree: Tree, name: str, rows: Array, padding: int) -> None:
    image = padded(rows, padding)
    tree.add(f"{DIRECTORY}/{name}", encode(name.split(".")[1], image, U8.source))
