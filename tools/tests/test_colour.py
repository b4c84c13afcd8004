"""Proves the data of the conversions between YCbCr and RGB right, pixel by pixel in plain numbers.

Run with: /usr/bin/python3 -m unittest discover tools/tests
"""

import re
import sys
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOOLS), str(TOOLS / "tests")]

from reader import Buffer, read_buffer, read_table  # noqa: E402

MODULE = TOOLS.parent / "testdata" / "lumcolor"
BYTES = {"RGB565": 2, "RGB888": 3, "RGBA8888": 4, "RGB8888": 4}
SUBSAMPLINGS = {"444": (1, 1), "422": (2, 1), "420": (2, 2)}

Pixel = tuple[int, int, int]


def clamped(value: int) -> int:
    return 0 if value < 0 else 255 if value > 255 else value


def rgb_of(y: int, cb: int, cr: int) -> Pixel:
    d, e = cb - 128, cr - 128
    sums = 256 * y + 359 * e, 256 * y - 88 * d - 183 * e, 256 * y + 454 * d
    r, g, b = (clamped((total + 128) >> 8) for total in sums)
    return r, g, b


def ycc_of(r: int, g: int, b: int) -> Pixel:
    y = (77 * r + 150 * g + 29 * b + 128) >> 8
    cb = 128 + ((-43 * r - 85 * g + 128 * b + 128) >> 8)
    cr = 128 + ((128 * r - 107 * g - 21 * b + 128) >> 8)
    return y, clamped(cb), clamped(cr)


def written(pixel: Pixel, size: int) -> list[int]:
    r, g, b = pixel
    if size == 2:
        return list((r >> 3 << 11 | g >> 2 << 5 | b >> 3).to_bytes(2, "little"))
    return [r, g, b, 255][:size]


def read(data: list[int], size: int) -> Pixel:
    if size != 2:
        return (data[2], data[1], data[0]) if size == 3 else (data[0], data[1], data[2])
    bits = data[0] | data[1] << 8
    r, g, b = bits >> 11, bits >> 5 & 63, bits & 31
    return r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2


def region(buffer: Buffer) -> list[list[int]]:
    rows = range(buffer.height)
    return [
        [int(buffer.at(row * buffer.stride + column)) for column in range(buffer.width)]
        for row in rows
    ]


def to_rgb(function: re.Match[str], inputs: list[Buffer]) -> list[list[list[int]]]:
    (x, y), size = SUBSAMPLINGS[function["sub"]], BYTES[function["to"]]
    luma, *chroma = inputs

    def samples(column: int, row: int) -> tuple[int, int]:
        if len(chroma) == 2:
            cb, cr = (int(plane.at(row * plane.stride + column)) for plane in chroma)
        else:
            at = row * chroma[0].stride + 2 * column
            cb, cr = int(chroma[0].at(at)), int(chroma[0].at(at + 1))
        return cb, cr

    image = [
        [
            byte
            for column in range(luma.width)
            for byte in written(
                rgb_of(int(luma.at(row * luma.stride + column)), *samples(column // x, row // y)),
                size,
            )
        ]
        for row in range(luma.height)
    ]
    return [image]


def from_rgb(function: re.Match[str], inputs: list[Buffer]) -> list[list[list[int]]]:
    (x, y), size = SUBSAMPLINGS[function["sub"]], BYTES[function["from"]]
    rows = region(inputs[0])
    pixels = [
        [ycc_of(*read(row[at : at + size], size)) for at in range(0, len(row), size)] for row in rows
    ]
    width = len(pixels[0])
    luma = [[pixel[0] for pixel in row] for row in pixels]
    chroma = [[row[column] for column in range(0, width, x)] for row in pixels[::y]]
    if width % x:
        luma = [[0] * width for _ in pixels]
        chroma = [[(0, 0, 0)] * len(row) for row in chroma]
    if function["layout"] == "Planar":
        return [luma, *([[pixel[k] for pixel in row] for row in chroma] for k in (1, 2))]
    return [luma, [[value for pixel in row for value in pixel[1:]] for row in chroma]]


def frame(function: re.Match[str], inputs: list[Buffer]) -> list[list[list[int]]]:
    rows = region(inputs[0])
    width, height, size = len(rows[0]), len(rows) * 2 // 3, BYTES[function["to"]]
    pixels = [
        [
            rgb_of(
                rows[row][column],
                rows[height + row // 2][column // 2 * 2 + 1],
                rows[height + row // 2][column // 2 * 2],
            )
            for column in range(width)
        ]
        for row in range(height)
    ]
    if function["turned"]:
        pixels = [row[::-1] for row in pixels[::-1]]
    return [[[byte for pixel in row for byte in written(pixel, size)] for row in pixels]]


def turned(function: re.Match[str], inputs: list[Buffer]) -> list[list[list[int]]]:
    rows = region(inputs[0])
    pixels = [
        [(row[at], row[at + 1], row[at + 2]) for at in range(0, len(row), 3)][::-1]
        for row in rows[::-1]
    ]
    return [[[byte for pixel in row for byte in written(pixel, 2)] for row in pixels]]


def macroblocks(function: re.Match[str], inputs: list[Buffer]) -> list[list[list[int]]]:
    h, v = int(function["h"]), int(function["v"])
    size = 64 * (h * v + 2)
    image = []
    for blocks in region(inputs[0]):
        for y in range(8 * v):
            row = []
            for x in range(8 * h * len(blocks) // size):
                block = blocks[x // (8 * h) * size :]
                luma = block[64 * (x // 8 % h + y // 8 * h) + 8 * (y % 8) + x % 8]
                cb, cr = (
                    2 * block[64 * (h * v + k) + 8 * (y // v) + x % (8 * h) // h] - 255
                    for k in (0, 1)
                )
                sums = 22970 * cr, -5638 * cb - 11700 * cr, 29032 * cb
                row += [clamped((32768 * luma + total + 16384) >> 15) for total in sums]
            image.append(row)
    return [image]


FAMILIES = {
    r"YCbCr(?P<sub>\d+)(?P<layout>Planar|PseudoPlanar)To(?P<to>\w+)u8": to_rgb,
    r"(?P<from>RGB\w+)ToYCbCr(?P<sub>\d+)(?P<layout>Planar|PseudoPlanar)u8": from_rgb,
    r"YUV420to(?P<to>RGB\d+)u8(?P<turned>Rotate180)?": frame,
    r"RGB888ToRGB565Rotate180u8": turned,
    r"YCrCbH(?P<h>\d)V(?P<v>\d)toRGB888u8": macroblocks,
}


class Colour(unittest.TestCase):
    def test_every_reference_is_what_its_function_gives(self) -> None:
        scripts = sorted(MODULE.glob("control_script_*.csv"))
        self.assertEqual(len(scripts), 44)
        for script in scripts:
            name = script.stem.removeprefix("control_script_")
            matches = ((re.fullmatch(pattern, name), f) for pattern, f in FAMILIES.items())
            function, compute = next((m, f) for m, f in matches if m)
            _, types, rows = read_table(script)
            self.assertGreaterEqual(len(rows), 2, name)
            for row in rows:
                with self.subTest(function=name, row=row[-1]):
                    buffers = [
                        read_buffer(MODULE / field, keyword.removesuffix("[]"))
                        for field, keyword in zip(row, types)
                        if keyword != "comment"
                    ]
                    outputs = self.outputs_of(function, len(buffers))
                    inputs = len(buffers) - outputs
                    self.assertEqual(
                        [region(buffer) for buffer in buffers[inputs:]],
                        compute(function, buffers[:inputs]),
                    )

    @staticmethod
    def outputs_of(function: re.Match[str], columns: int) -> int:
        """One image to RGB, all but one from RGB."""
        return columns - 1 if "from" in function.groupdict() else 1


if __name__ == "__main__":
    unittest.main()
