"""Proves lumen-draw: pictures in and out, every mark, the detectors' calls, what it refuses."""

import contextlib
import io
import struct
import sys
import tempfile
import unittest
import zlib
from pathlib import Path

TOOLS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOOLS)]

import numpy as np  # noqa: E402

from lumendraw import cli, library, picture  # noqa: E402

PHOTOGRAPH = TOOLS.parent / "testdata" / "photographs" / "coffee.pgm"
COLOUR = (9, 200, 30)


def black(width: int, height: int) -> np.ndarray:
    return np.zeros((height, width, 3), np.uint8)


def marked(image: np.ndarray) -> set[tuple[int, int]]:
    """The places with any of the colour, as x and y."""
    return {(int(x), int(y)) for y, x in np.argwhere(image.max(axis=2) > 0)}


def png_pixels(content: bytes) -> np.ndarray:
    """A reader of its own for the files that are written."""
    chunks, position = {}, 8
    while position < len(content):
        (length,) = struct.unpack_from(">I", content, position)
        kind, data = content[position + 4 : position + 8], content[position + 8 :][:length]
        (check,) = struct.unpack_from(">I", content, position + 8 + length)
        assert check == zlib.crc32(kind + data)
        chunks[kind] = data
        position += 12 + length
    width, height = struct.unpack_from(">II", chunks[b"IHDR"])
    rows = np.frombuffer(zlib.decompress(chunks[b"IDAT"]), np.uint8).reshape(height, -1)
    assert (rows[:, 0] == 1).all()
    differences = rows[:, 1:].reshape(height, width, 3).astype(np.uint64)
    return (differences.cumsum(axis=1) % 256).astype(np.uint8)


class WithFiles(unittest.TestCase):
    def setUp(self) -> None:
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)

    def path(self, name: str, content: bytes = b"") -> Path:
        (self.directory / name).write_bytes(content)
        return self.directory / name


class Files(WithFiles):
    def test_reads_grey_and_colour_with_comments(self) -> None:
        grey = picture.read(self.path("a", b"P5 # one\n2 1\n# two\n255\n\x07\x0a"))
        np.testing.assert_array_equal(grey, [[[7] * 3, [10] * 3]])
        colour = picture.read(self.path("b", b"P6\n1 2\n255\n\x01\x02\x03#\x20\x06"))
        np.testing.assert_array_equal(colour, [[[1, 2, 3]], [[35, 32, 6]]])
        for value in range(256):
            self.assertEqual(picture.grey(np.full((1, 1, 3), value, np.uint8))[0, 0], value)

    def test_refuses_other_files(self) -> None:
        for content in (b"", b"P2\n1 1\n255\n7", b"P5\n2 2\n255\n\x01\x02\x03", b"P5\n1 1\n",
                        b"P5\n0 1\n255\n", b"P5\n1 1\n65535\n\x01\x02", b"P5\n-1 1\n255\n\x01",
                        b"P6\n1 1\n255\n\x01\x02", b"P5\n1 1 # no end"):  # fmt: skip
            with self.assertRaises(picture.PictureError, msg=content):
                picture.read(self.path("bad", content))

    def test_writes_what_others_read(self) -> None:
        image = np.random.default_rng(1).integers(0, 256, (5, 7, 3), np.uint8)
        picture.write(self.directory / "a.ppm", image)
        np.testing.assert_array_equal(picture.read(self.directory / "a.ppm"), image)
        picture.write(self.directory / "a.PNG", image)
        np.testing.assert_array_equal(png_pixels((self.directory / "a.PNG").read_bytes()), image)
        with self.assertRaises(picture.PictureError):
            picture.write(self.directory / "a.jpg", image)


class Marks(unittest.TestCase):
    def test_crosses_are_clipped(self) -> None:
        image = black(9, 10)
        picture.put_cross(image, 4, 5, COLOUR)
        self.assertEqual(marked(image), {(4, y) for y in range(2, 9)} | {(x, 5) for x in range(1, 8)})
        image = black(9, 10)
        picture.put_cross(image, 0, 0, COLOUR)
        self.assertEqual(marked(image), {(0, 0), (0, 1), (0, 2), (0, 3), (1, 0), (2, 0), (3, 0)})
        image = black(9, 10)
        picture.put_cross(image, 8, 9, COLOUR)  # the last row has no horizontal arm
        self.assertEqual(marked(image), {(8, 6), (8, 7), (8, 8), (8, 9)})
        image = black(9, 10)
        for x, y in ((-1, 3), (4, -2), (20, 5), (4, 13)):
            picture.put_cross(image, x, y, COLOUR)
        self.assertEqual(marked(image), {(0, 3), (1, 3), (2, 3), (4, 0), (4, 1)})

    def test_marks_only_brighten(self) -> None:
        image = np.full((3, 3, 3), 100, np.uint8)
        picture.put_cross(image, 1, 1, COLOUR)
        self.assertEqual(image[0, 1].tolist(), [100, 200, 100])
        self.assertEqual(image[0, 0].tolist(), [100, 100, 100])

    def test_boxes_and_outlines(self) -> None:
        ring = {(x, y) for x in range(2, 6) for y in range(1, 4)} - {(3, 2), (4, 2)}
        image = black(8, 6)
        picture.put_box(image, 2, 1, 4, 3, COLOUR)
        self.assertEqual(marked(image), ring)
        image = black(8, 6)
        points = np.array([(x, y) for x in range(2, 6) for y in range(1, 4)])
        picture.put_outline(image, points, COLOUR)
        self.assertEqual(marked(image), ring)
        image = black(8, 6)
        picture.put_outline(image, np.array([(0, 0), (7, 5)]), COLOUR)
        picture.put_box(image, 6, 0, 9, 9, COLOUR)
        self.assertEqual(marked(image), {(0, 0), (7, 5), (7, 0)} | {(6, y) for y in range(6)})

    def test_enlarges(self) -> None:
        points = picture.enlarged_points(np.array([(1, 2)]), 2)
        self.assertEqual({tuple(p) for p in points.tolist()}, {(2, 4), (3, 4), (2, 5), (3, 5)})
        self.assertEqual(picture.enlarged(black(2, 3), 4).shape, (12, 8, 3))


@unittest.skipUnless(library.candidates(), "needs the built library")
class Detectors(WithFiles):
    def run_tool(self, *words: object) -> tuple[int, str]:
        out = io.StringIO()
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(out):
            status = cli.main([str(word) for word in words])
        return status, out.getvalue()

    def squares(self, count: int) -> Path:
        """Bright squares of 12 pixels, 30 apart, on a dark ground."""
        image = np.full((40, 30 * count + 10), 50, np.uint8)
        for k in range(count):
            image[14:26, 30 * k + 14 : 30 * k + 26] = 200
        return self.path("squares.pgm", f"P5\n{image.shape[1]} 40\n255\n".encode() + image.tobytes())

    def detect(self, detector: str, *words: object) -> np.ndarray:
        output = self.directory / "out.ppm"
        status, text = self.run_tool(detector, "--brightness", 0, *words, self.squares(2), output)
        if "has no lum" in text:
            self.skipTest(f"the library lacks {detector}")
        self.assertEqual(status, 0, text)
        return picture.read(output)

    def test_corners_of_squares(self) -> None:
        for words in (("fast9", "--all"), ("fast10", "--threshold", 30, "--all"), ("harris",),
                      ("features", "--quality", 0.5)):  # fmt: skip
            reds = marked(self.detect(*words))
            for k, x, y in ((k, x, y) for k in (0, 1) for x in (14, 25) for y in (14, 25)):
                near = {(u, v) for u, v in reds if abs(u - 30 * k - x) < 3 and abs(v - y) < 3}
                self.assertTrue(near, (words, k, x, y))
            # Crosses reach four pixels outside the squares at the most.
            self.assertFalse({p for p in reds if not (8 <= p[1] <= 31)}, words)

    def test_limits_and_enlargement(self) -> None:
        one = marked(self.detect("harris", "--max", 1, "--enlarge", 3))
        self.assertEqual(len(one), 13)
        self.assertEqual(self.detect("harris", "--enlarge", 2).shape, (80, 140, 3))
        self.assertFalse(marked(self.detect("harris", "--threshold", 2**31 - 1)))
        self.assertFalse(marked(self.detect("features", "--border", 30)))

    def test_regions(self) -> None:
        rings = {(x, y) for k in (0, 1) for x in range(30 * k + 14, 30 * k + 26)
                 for y in range(14, 26)
                 if x - 30 * k in (14, 25) or y in (14, 25)}  # fmt: skip
        for show in ("outline", "box"):
            image = self.detect("mser", "--show", show, "--max-area", 1000)
            self.assertEqual(marked(image), rings, show)
            self.assertEqual(tuple(image[14, 14]), cli.BRIGHT_REGION)

    def test_refusals(self) -> None:
        output = self.directory / "out.png"
        tiny = self.path("tiny.pgm", b"P5\n4 4\n255\n" + bytes(16))
        for words, expected in (
            (("harris", tiny, output), "refuses a picture of 4 x 4"),
            (("mser", tiny, output), "mser takes pictures"),
            (("mser", "--delta", 0, PHOTOGRAPH, output), "delta from 1"),
            (("mser", "--min-area", 9, "--max-area", 10, PHOTOGRAPH, output), "min-area"),
            (("harris", "--library", tiny, PHOTOGRAPH, output), "cannot open"),
            (("harris", self.directory / "none.pgm", output), "No such file"),
            (("harris", PHOTOGRAPH, self.directory / "out.gif"), "must end in"),
        ):
            status, text = self.run_tool(*words)
            self.assertEqual(status, 1, words)
            self.assertIn(expected, text)
        with self.assertRaises(SystemExit), contextlib.redirect_stderr(io.StringIO()):
            cli.main(["harris", "--max", "0", str(PHOTOGRAPH), str(output)])
        self.assertFalse(output.exists())


if __name__ == "__main__":
    unittest.main()
