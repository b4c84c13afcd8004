"""Proves lumen-draw: what it reads, where it marks what was found, and what it refuses. The library
itself takes no part; tests/lumenDrawTest.py calls it."""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import numpy as np

TOOLS = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOOLS), str(TOOLS / "tests")]

import lumenpng  # noqa: E402
from lumendraw import cli, images, library, marks  # noqa: E402
from pagereader import decode_png  # noqa: E402

RED = (255, 0, 0)


def marked(canvas: np.ndarray) -> set[tuple[int, int]]:
    y, x = np.nonzero((canvas == RED).all(axis=2))
    return set(zip(x.tolist(), y.tolist()))


class Marks(unittest.TestCase):
    def setUp(self) -> None:
        self.canvas = np.full((12, 14, 3), 255, np.uint8)

    def test_crosses_have_arms_of_three_pixels_and_stay_inside(self) -> None:
        marks.crosses(self.canvas, np.array([[6, 5], [0, 0], [13, 11]]), RED, 1)
        expected = {(6 + d, 5) for d in range(-3, 4)} | {(6, 5 + d) for d in range(-3, 4)}
        expected |= {(d, 0) for d in range(4)} | {(0, d) for d in range(4)}
        expected |= {(13 - d, 11) for d in range(4)} | {(13, 11 - d) for d in range(4)}
        self.assertEqual(marked(self.canvas), expected)

    def test_crosses_stand_on_the_middle_of_enlarged_pixels(self) -> None:
        canvas = images.canvas(np.zeros((12, 14), np.uint8), 3)
        self.assertEqual(canvas.shape, (36, 42, 3))
        marks.crosses(canvas, np.array([[6, 5]]), RED, 3)
        self.assertEqual(marked(canvas), {(19 + d, 16) for d in range(-3, 4)}
                         | {(19, 16 + d) for d in range(-3, 4)})

    def test_outlines_are_the_region_s_own_pixels(self) -> None:
        ring = [(x, y) for x in range(2, 9) for y in range(1, 8) if (x, y) != (5, 4)]
        marks.outline(self.canvas, np.array(ring, np.uint16), RED, 1)
        around_hole = {(4, 4), (6, 4), (5, 3), (5, 5)}
        rim = {(x, y) for x, y in ring if x in (2, 8) or y in (1, 7)}
        self.assertEqual(marked(self.canvas), rim | around_hole)

    def test_enlarged_boxes_and_outlines_of_rectangles_agree(self) -> None:
        box, outline = self.canvas.repeat(2, 0).repeat(2, 1), self.canvas.repeat(2, 0).repeat(2, 1)
        marks.box(box, (2, 3, 6, 11), RED, 2)
        points = np.array([(x, y) for x in range(2, 7) for y in range(3, 12)], np.uint16)
        marks.outline(outline, points, RED, 2)
        self.assertEqual(len(marked(box)), 2 * (10 + 18) - 4)
        np.testing.assert_array_equal(box, outline)


class FakeLibrary:
    """Finds what it is told to."""

    corners = np.array([[4, 3], [20, 30]], np.uint32)
    seen: list[object] = []

    def __init__(self, path: Path | None, reference: bool) -> None:
        type(self).seen = [path, reference]

    def harris(self, image: np.ndarray, *numbers: int) -> np.ndarray:
        type(self).seen += [image, *numbers]
        return self.corners

    def mser(self, image: np.ndarray, limits: library.MserLimits, capacity: int):
        type(self).seen += [image, limits, capacity]
        large = np.array([(x, y) for x in range(10, 30) for y in range(5, 25)], np.uint16)
        small = large[(large[:, 0] < 15) & (large[:, 1] < 15)]
        return [library.Region(small, (10, 5, 14, 14), True),
                library.Region(large, (10, 5, 29, 24), False)], True


class Tool(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.grey = np.random.default_rng(1).integers(0, 256, (60, 70), np.uint8)
        self.picture = self.folder / "in.pgm"
        self.picture.write_bytes(b"P5\n# made here\n70 60\n255\n" + self.grey.tobytes())
        patch = mock.patch.object(library, "Library", FakeLibrary)
        patch.start()
        self.addCleanup(patch.stop)

    def run_tool(self, *arguments: object) -> tuple[int, str, str]:
        output, errors = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
            status = cli.main([str(word) for word in arguments])
        return status, output.getvalue(), errors.getvalue()

    def test_corners_on_grey_and_numbers_as_given(self) -> None:
        result = self.folder / "out.ppm"
        status, said, _ = self.run_tool("harris", "--threshold", "-7", "--border", 9, "--max", 2,
                                        "--reference", self.picture, result)
        self.assertEqual((status, said), (0, "2 corners; there may be more, see --max\n"))
        self.assertEqual(FakeLibrary.seen[1], True)
        np.testing.assert_array_equal(FakeLibrary.seen[2], self.grey)
        self.assertEqual(FakeLibrary.seen[3:], [-7, 9, 2])
        expected = images.canvas(self.grey, 1)
        marks.crosses(expected, FakeLibrary.corners, cli.CORNER, 1)
        np.testing.assert_array_equal(images.read(result), expected)

    def test_small_regions_are_drawn_over_large_ones(self) -> None:
        result = self.folder / "out.ppm"
        status, said, _ = self.run_tool("mser", "--boxes", self.picture, result)
        self.assertEqual((status, said), (0, "1 dark and 1 bright regions; there are more, "
                                             "see --max\n"))
        self.assertEqual(FakeLibrary.seen[3].max_area, 68 * 58 // 4)
        pixels = images.read(result)
        self.assertEqual(tuple(pixels[5, 10]), cli.BRIGHT)
        self.assertEqual(tuple(pixels[5, 20]), cli.DARK)

    def test_colour_pictures_are_looked_at_in_grey_and_drawn_in_colour(self) -> None:
        colour = np.random.default_rng(2).integers(0, 256, (60, 70, 3), np.uint8)
        self.picture.write_bytes(b"P6 70 60 255\n" + colour.tobytes())
        result = self.folder / "out.png"
        self.assertEqual(self.run_tool("harris", self.picture, result)[0], 0)
        red, green, blue = (colour[:, :, k].astype(float) for k in range(3))
        luma = 0.299 * red + 0.587 * green + 0.114 * blue
        self.assertLess(np.abs(FakeLibrary.seen[2] - luma).max(), 1.5)
        marks.crosses(colour, FakeLibrary.corners, cli.CORNER, 1)
        self.assertEqual(result.read_bytes(), lumenpng.encode(colour))

    def test_png_is_read_by_others(self) -> None:
        import base64

        colour = images.canvas(self.grey, 1)
        uri = "data:image/png;base64," + base64.b64encode(lumenpng.encode(colour)).decode("ascii")
        self.assertEqual(decode_png(uri), colour.reshape(60, -1).tolist())

    def test_refusals_write_nothing(self) -> None:
        result = self.folder / "out.png"
        pixels = self.grey.tobytes()
        for content, complaint in (
            (b"P2\n70 60\n255\n", "neither"),
            (b"P5\n70 60\n65535\n" + pixels, "not 65535"),
            (b"P5\n70 60\n255\n" + pixels[:-1], "ends before"),
            (b"P5\n0 60\n255\n", "not 0 x 60"),
            (b"P5\n70 99999999\n255\n", "not 70 x 99999999"),
        ):
            bad = self.folder / "bad.pgm"
            bad.write_bytes(content)
            status, _, errors = self.run_tool("harris", bad, result)
            self.assertEqual(status, cli.UNUSABLE)
            self.assertIn(complaint, errors)
        colour = self.folder / "in.ppm"
        colour.write_bytes(b"P6 70 60 255\n" + pixels * 3)
        before = colour.read_bytes()
        for arguments, complaint in (
            (("harris", self.folder / "none.pgm", result), "No such file"),
            (("harris", self.picture, self.folder / "out.jpg"), "as .png or .ppm"),
            (("harris", colour, colour), "the picture itself"),
            (("mser", "--min-area", 2000, self.picture, result), "no region has an area"),
        ):
            status, _, errors = self.run_tool(*arguments)
            self.assertEqual(status, cli.UNUSABLE)
            self.assertIn(complaint, errors)
        self.assertFalse(result.exists())
        self.assertEqual(colour.read_bytes(), before)

    def test_numbers_out_of_range_are_refused(self) -> None:
        for words in (("fast9", "--threshold", "256"), ("good", "--quality", "nan"),
                      ("mser", "--max-variation", "0"), ("harris", "--enlarge", "0")):
            with self.assertRaises(SystemExit) as end:
                self.run_tool(*words, self.picture, self.folder / "out.png")
            self.assertEqual(end.exception.code, 2)


if __name__ == "__main__":
    unittest.main()
