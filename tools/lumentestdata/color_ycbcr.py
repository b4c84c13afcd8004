"""Data of the conversions between YCbCr and RGB.

References are formulas of whole numbers on whole planes: chroma is spread over the pixels that share
it, or the pixels that give it are picked out of a whole plane. Conversions that differ in the layout
alone share their files.
"""

import itertools
from collections.abc import Iterator
from dataclasses import dataclass

import numpy as np

from .elements import U8, Array
from .formats import Image, encode, table
from .tree import Tree

DIRECTORY = "lumcolor"
SUBSAMPLINGS = {"444": (1, 1), "422": (2, 1), "420": (2, 2)}
FORMATS = {"RGB565": 2, "RGB888": 3, "RGBA8888": 4}  # bytes of a pixel
MACROBLOCKS = ("H1V1", "H1V2", "H2V1", "H2V2")
FRAMES = {"YUV420toRGB8888u8": "RGBA8888", "YUV420toRGB565u8": "RGB565"}
TURNED_FRAME, TURNED = "YUV420toRGB565u8Rotate180", "RGB888ToRGB565Rotate180u8"

LEVELS = (0, 1, 127, 128, 255)  # each with each other, in a row of their own

Rgb = tuple[Array, Array, Array]


def function_names() -> list[str]:
    names = [
        name
        for sub, rgb, layout in itertools.product(SUBSAMPLINGS, FORMATS, ("Planar", "PseudoPlanar"))
        for name in (f"YCbCr{sub}{layout}To{rgb}u8", f"{rgb}ToYCbCr{sub}{layout}u8")
    ]
    names += [f"YCrCb{block}toRGB888u8" for block in MACROBLOCKS]
    return [f"lumColor{name}" for name in (*names, *FRAMES, TURNED_FRAME, TURNED)]


@dataclass(frozen=True)
class Case:
    """A size in pixels. `padding` follows the rows, and files are then text, which can say so."""

    name: str
    width: int
    height: int
    note: str
    padding: int = 0
    levels: bool = False

    def samples(self, sub: str) -> tuple[int, int]:
        """Of chroma: columns and rows."""
        x, y = SUBSAMPLINGS[sub]
        return -(-self.width // x), -(-self.height // y)

    def converted_rows(self, sub: str) -> int:
        """Rows that share chroma are converted together, also one past the last."""
        y = SUBSAMPLINGS[sub][1]
        return -(-self.height // y) * y


def _cases(sub: str, rgb: str, to_rgb: bool) -> Iterator[Case]:
    x, y = SUBSAMPLINGS[sub]
    yield Case("least", x, 1 if y == 1 else 2, "the least size")
    yield Case("wide", 66, 2, "66 x 2: a little more than one of the longest vectors")
    odd = 19 if to_rgb or x == 1 else 18
    yield Case("odd", odd, 3, f"{odd} x 3: odd sizes and padding", padding=5)
    pixels = x * len(LEVELS) ** 3
    if rgb != "RGBA8888":  # where they would be those of RGB888 again
        yield Case("levels", pixels, y, "extremes each with each other", levels=True)
    if not to_rgb and x == 2:
        yield Case("none", 3, 2, "3 x 2: of an odd width nothing is written")


def add_all(tree: Tree) -> None:
    for sub, rgb in itertools.product(SUBSAMPLINGS, FORMATS):
        _add_to_rgb(tree, sub, rgb)
        _add_from_rgb(tree, sub, rgb)
    for function, rgb in (*FRAMES.items(), (TURNED_FRAME, "RGB565")):
        _add_frames(tree, function, rgb)
    for block in MACROBLOCKS:
        _add_macroblocks(tree, block)
    _add_turned(tree)


def _add_to_rgb(tree: Tree, sub: str, rgb: str) -> None:
    planar, pairs = [], []
    for case in _cases(sub, rgb, to_rgb=True):
        y, cb, cr = _planes(case, sub)
        width = case.width
        samples, chroma_rows = case.samples(sub)
        pixels = packed(rgb_of(y, *(spread(plane, sub, y.shape) for plane in (cb, cr))), rgb)
        y_name = _add(tree, case, f"y{sub}", y, width, case.height)
        reference = _add(tree, case, f"{sub}{rgb}", pixels, width * FORMATS[rgb], case.height)
        c_names = [
            _add(tree, case, f"{sub}{role}", plane, samples, chroma_rows)
            for role, plane in (("cb", cb), ("cr", cr))
        ]
        c_name = _add(tree, case, f"{sub}c", _interleaved(cb, cr), 2 * samples, chroma_rows)
        planar.append([y_name, *c_names, reference, case.note])
        pairs.append([y_name, c_name, reference, case.note])
    _add_script(tree, f"YCbCr{sub}PlanarTo{rgb}u8", ["srcY", "srcCb", "srcCr", "ref"], planar)
    _add_script(tree, f"YCbCr{sub}PseudoPlanarTo{rgb}u8", ["srcY", "srcC", "ref"], pairs)


def _add_from_rgb(tree: Tree, sub: str, rgb: str) -> None:
    planar, pairs = [], []
    x, y = SUBSAMPLINGS[sub]
    for case in _cases(sub, rgb, to_rgb=False):
        source, channels = _source(case, sub, rgb)
        luma, cb, cr = (plane.astype(np.uint8) for plane in ycc_of(*channels))
        cb, cr = cb[::y, ::x], cr[::y, ::x]
        if case.width % x:
            luma, cb, cr = (np.zeros_like(plane) for plane in (luma, cb, cr))
        samples, chroma_rows = case.samples(sub)
        name = _add(tree, case, f"{rgb}in{sub}", source, case.width * FORMATS[rgb], case.height)
        y_name = _add(tree, case, f"{rgb}y{sub}", luma, case.width, case.height)
        c_names = [
            _add(tree, case, f"{rgb}{role}{sub}", plane, samples, chroma_rows)
            for role, plane in (("cb", cb), ("cr", cr))
        ]
        c_plane = _interleaved(cb, cr)
        c_name = _add(tree, case, f"{rgb}c{sub}", c_plane, 2 * samples, chroma_rows)
        planar.append([name, y_name, *c_names, case.note])
        pairs.append([name, y_name, c_name, case.note])
    _add_script(tree, f"{rgb}ToYCbCr{sub}Planaru8", ["src", "refY", "refCb", "refCr"], planar)
    _add_script(tree, f"{rgb}ToYCbCr{sub}PseudoPlanaru8", ["src", "refY", "refC"], pairs)


def _add_frames(tree: Tree, function: str, rgb: str) -> None:
    """Frames are planes one behind the other, with pairs that begin with Cr."""
    rows = []
    for case in _cases("420", rgb, to_rgb=True):
        if case.padding:
            continue
        y, cb, cr = _planes(case, "420")
        frame = np.vstack([y, _interleaved(cr, cb)])
        spread_cb, spread_cr = (spread(plane, "420", y.shape) for plane in (cb, cr))
        channels = rgb_of(y, spread_cb, spread_cr)
        role = f"420{rgb}"
        if function == TURNED_FRAME:
            channels = tuple(channel[::-1, ::-1] for channel in channels)
            role += "turned"
        source = _add(tree, case, "frame", frame, case.width, len(frame))
        pixels = packed(channels, rgb)
        reference = _add(tree, case, role, pixels, case.width * FORMATS[rgb], case.height)
        rows.append([source, reference, case.note])
    _add_script(tree, function, ["src", "ref"], rows)


def _add_macroblocks(tree: Tree, block: str) -> None:
    h, v = int(block[1]), int(block[3])
    size = 64 * (h * v + 2)
    rows = []
    for name, across, down, note in (
        ("one", 1, 1, "one macroblock"),
        ("some", 3, 2, "three macroblocks side by side, two one above the other"),
    ):
        case = Case(name, 8 * h * across, 8 * v * down, note)
        data = _bytes(f"{name}_{block}", (down, across * size))
        image = np.zeros((case.height, case.width * 3), np.uint8)
        for y, x in itertools.product(range(case.height), range(case.width)):
            macroblock = data[y // (8 * v), x // (8 * h) * size :][:size].astype(int)
            in_y, in_x = y % (8 * v), x % (8 * h)
            luma = macroblock[(in_y // 8 * h + in_x // 8) * 64 + in_y % 8 * 8 + in_x % 8]
            cb, cr = (macroblock[64 * (h * v + k) + in_y // v * 8 + in_x // h] for k in (0, 1))
            image[y, 3 * x : 3 * x + 3] = macroblock_rgb(luma, cb, cr)
        source = _add(tree, case, block, data, data.shape[1], down)
        reference = _add(tree, case, f"{block}RGB888", image, case.width * 3, case.height)
        rows.append([source, reference, note])
    _add_script(tree, f"YCrCb{block}toRGB888u8", ["src", "ref"], rows)


def _add_turned(tree: Tree) -> None:
    rows = []
    for case in _cases("444", "RGB888", to_rgb=False):
        source, _ = _source(case, "444", "RGB888")
        pixels = source.reshape(len(source), -1, 3)[::-1, ::-1]
        r, g, b = (pixels[..., k].astype(int) for k in range(3))
        name = _add(tree, case, "RGB888in444", source, case.width * 3, case.height)
        turned = packed((r, g, b), "RGB565")
        reference = _add(tree, case, "turned565", turned, case.width * 2, case.height)
        rows.append([name, reference, case.note])
    _add_script(tree, TURNED, ["src", "ref"], rows)


def rgb_of(y: Array, cb: Array, cr: Array) -> Rgb:
    """Full-range BT.601 in 256ths, rounded and clamped."""
    y, d, e = y.astype(int), cb.astype(int) - 128, cr.astype(int) - 128
    sums = (256 * y + 359 * e, 256 * y - 88 * d - 183 * e, 256 * y + 454 * d)
    r, g, b = (np.clip(np.floor_divide(total + 128, 256), 0, 255) for total in sums)
    return r, g, b


def ycc_of(r: Array, g: Array, b: Array) -> Rgb:
    luma = np.floor_divide(77 * r + 150 * g + 29 * b + 128, 256)
    cb = 128 + np.floor_divide(-43 * r - 85 * g + 128 * b + 128, 256)
    cr = 128 + np.floor_divide(128 * r - 107 * g - 21 * b + 128, 256)
    return luma, np.minimum(cb, 255), np.minimum(cr, 255)


def macroblock_rgb(y: int, cb: int, cr: int) -> list[int]:
    """In 32768ths, with chroma about 127.5."""
    u, v = 2 * cb - 255, 2 * cr - 255
    sums = (22970 * v, -5638 * u - 11700 * v, 29032 * u)
    return [min(max(y + (total + 16384) // 32768, 0), 255) for total in sums]


def packed(channels: Rgb, rgb: str) -> Array:
    r, g, b = channels
    if rgb == "RGB565":
        bits = r // 8 * 2048 + g // 4 * 32 + b // 8
        parts = [bits % 256, bits // 256]
    else:
        parts = [r, g, b, np.full_like(r, 255)][: FORMATS[rgb]]
    return np.stack(parts, axis=-1).astype(np.uint8).reshape(len(r), -1)


def unpacked(source: Array, rgb: str) -> Rgb:
    pixels = source.reshape(len(source), -1, FORMATS[rgb]).astype(int)
    if rgb == "RGB565":
        bits = pixels[..., 0] + 256 * pixels[..., 1]
        r, g, b = bits // 2048, bits // 32 % 64, bits % 32
        return r * 8 + r // 4, g * 4 + g // 16, b * 8 + b // 4
    order = (2, 1, 0) if rgb == "RGB888" else (0, 1, 2)
    r, g, b = (pixels[..., k] for k in order)
    return r, g, b


def spread(plane: Array, sub: str, shape: tuple[int, int]) -> Array:
    """A sample for each pixel."""
    x, y = SUBSAMPLINGS[sub]
    return np.repeat(np.repeat(plane, y, axis=0), x, axis=1)[: shape[0], : shape[1]]


def _planes(case: Case, sub: str) -> Rgb:
    """Y with the row past an odd height, Cb and Cr."""
    rows, (samples, chroma_rows) = case.converted_rows(sub), case.samples(sub)
    if case.levels:
        y, cb, cr = (np.array(level, np.uint8) for level in zip(*itertools.product(LEVELS, repeat=3)))
        luma = np.repeat(y[None, :], SUBSAMPLINGS[sub][0], axis=1)
        luma = np.vstack([luma, 255 - luma][:rows])
        return luma, cb[None, :], cr[None, :]
    y = _bytes(f"{case.name}_y", (rows, case.width))
    cb, cr = (_bytes(f"{case.name}_{sub}{role}", (chroma_rows, samples)) for role in ("cb", "cr"))
    return y, cb, cr


def _source(case: Case, sub: str, rgb: str) -> tuple[Array, Rgb]:
    """Packed pixels with the row past an odd height, and their channels."""
    rows, size = case.converted_rows(sub), FORMATS[rgb]
    if case.levels:
        x = SUBSAMPLINGS[sub][0]
        pixels = np.array(list(itertools.product(LEVELS, repeat=3)), int)
        r, g, b = (np.repeat(pixels[:, k][None, :], x, axis=1) for k in range(3))
        for channel in (r, g, b):
            channel[:, 1::2] = channel[:, 1::2] if x == 1 else 255 - channel[:, 1::2]
        r, g, b = (np.vstack([channel, 255 - channel][:rows]) for channel in (r, g, b))
        source = packed((b, g, r) if rgb == "RGB888" else (r, g, b), rgb)
    else:
        source = _bytes(f"{case.name}_{rgb}in{case.width}", (rows, case.width * size))
    return source, unpacked(source, rgb)


def _bytes(name: str, shape: tuple[int, int]) -> Array:
    """Random bytes with extremes frequent among them."""
    values = U8.random(f"{DIRECTORY}/{name}", shape)
    choice = U8.random(f"{DIRECTORY}/{name}/extremes", shape)
    values[choice < 32] = 0
    values[choice > 223] = 255
    return values


def _interleaved(first: Array, second: Array) -> Array:
    return np.stack([first, second], axis=-1).reshape(len(first), -1)


def _add(tree: Tree, case: Case, role: str, plane: Array, width: int, height: int) -> str:
    """`plane` may have more rows than the image that is told."""
    plane = plane.astype(np.uint8)
    suffix = "data"
    image = Image(plane, width, height)
    if case.padding or len(plane) > height:
        suffix = "csv"
        junk = np.arange(len(plane) * case.padding).reshape(len(plane), -1) % 9 + 91
        image = Image(np.hstack([plane, junk.astype(np.uint8)]), width, height)
    name = f"{case.name}_{role}.{suffix}"
    tree.add(f"{DIRECTORY}/{name}", encode(suffix, image, U8.source))
    return name


def _add_script(tree: Tree, function: str, columns: list[str], rows: list[list[str]]) -> None:
    typed = [(column, "unsignedchar[]") for column in columns]
    path = f"{DIRECTORY}/control_script_{function}.csv"
    tree.add(path, table([*typed, ("note", "comment")], rows))
