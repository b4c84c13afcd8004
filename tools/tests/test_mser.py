"""The search for regions by which golden rows are made, against the definition of a region."""

import sys
import unittest
from pathlib import Path

import numpy as np

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from lumentestdata import mser, photographs  # noqa: E402
from lumentestdata.mserwalk import CLOCKWISE, Parameters, extract, search, trimmed  # noqa: E402
from lumentestdata.tree import Tree  # noqa: E402


def component(levels: np.ndarray, start: tuple[int, int], limit: int, neighbours: int) -> set:
    """The pixels inside the frame that are connected with `start` at levels up to `limit`."""
    height, width = levels.shape
    found, waiting = {start}, [start]
    while waiting:
        x, y = waiting.pop()
        for dx, dy in CLOCKWISE[:: 8 // neighbours]:
            other = x + dx, y + dy
            inside = 0 < other[0] < width - 1 and 0 < other[1] < height - 1
            if inside and other not in found and levels[other[1], other[0]] <= limit:
                found.add(other)
                waiting.append(other)
    return found


class Regions(unittest.TestCase):
    def check(self, image: np.ndarray, parameters: Parameters) -> tuple[int, int]:
        """How many regions there are, and how many of them are whole components. One that met a
        smaller one in its last level is reported without the pixels of that level still to come,
        the one among them where both met."""
        count = whole = 0
        for polarity in (1, -1):
            levels = image.astype(int) if polarity > 0 else 255 - image.astype(int)
            for region in search(image, parameters, polarity, 10**6).regions:
                pixels = set(region.pixels)
                self.assertEqual(len(pixels), len(region.pixels))
                self.assertLess(parameters.min_area, len(pixels))
                self.assertLess(len(pixels), parameters.max_area)
                limit = max(levels[y, x] for x, y in pixels)
                around = component(levels, region.pixels[0], limit, parameters.neighbours)
                count += 1
                whole += pixels == around
        return count, whole

    def test_regions_are_components_of_a_threshold_set(self) -> None:
        for neighbours in (4, 8):
            for image in (photographs.pixels("coffee.pgm"), photographs.pixels("photographer.pgm")):
                count, whole = self.check(image, Parameters(4, 30, 400, 0.25, 0.5, neighbours))
                self.assertGreater(count, 15)
                self.assertGreater(whole, count * 0.8)

    def test_polarities_mirror_each_other(self) -> None:
        image = photographs.pixels("coffee.pgm")[:60, :80]
        parameters = Parameters(2, 5, 300, 1.0, 0.1)
        dark = search(image, parameters, 1, 100).regions
        bright = search(255 - image, parameters, -1, 100).regions
        self.assertEqual([r.pixels for r in dark], [r.pixels for r in bright])
        self.assertGreater(len(dark), 5)

    def test_trims_as_told(self) -> None:
        self.assertEqual(trimmed(3, 8, 8), (3, 5))  # ten, of which the walk keeps eight
        self.assertEqual(trimmed(7, 7, 7), (3, 3))
        self.assertEqual(trimmed(4, 4, 8), (4, 4))

    def test_scenes_meet_their_purpose(self) -> None:
        cases = {case.name: case for case in mser._cases(Tree())}
        count = {name: len(case.result(4)[0]) for name, case in cases.items()}
        self.assertEqual(count["exact"], count["nested"])
        self.assertEqual(count["larger"], cases["larger"].capacity)
        self.assertEqual(count["half"], cases["half"].capacity // 2 * 2)
        for name in ("none", "full", "refused", "flat"):
            self.assertEqual(count[name], 0)
        self.assertLess(count["bounds"], count["nested"])
        self.assertEqual(extract(cases["nested"].image, mser.EASY, (95, 54), 60, 10**6), ([], 0))


if __name__ == "__main__":
    unittest.main()
