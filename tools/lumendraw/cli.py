"""The command line of lumen-draw."""

import argparse
import math
import sys
from collections.abc import Callable
from pathlib import Path
from typing import TYPE_CHECKING

if TYPE_CHECKING:  # those need numpy, whose absence is to be said in plain words
    from .images import Pixels
    from .library import Corners, Library

    # What a detector finds in the grey picture is drawn on the canvas; the text tells how much.
    Draw = Callable[[argparse.Namespace, Library, Pixels, Pixels], str]

UNUSABLE = 2  # exit status

CORNER, DARK, BRIGHT = (255, 48, 0), (0, 200, 255), (255, 160, 0)


def main(arguments: list[str] | None = None) -> int:
    options = _parse(arguments)
    try:
        from . import images, library  # need numpy
    except ModuleNotFoundError as error:
        return _refuse(f"needs the Python module {error.name} (Debian: python3-{error.name})")
    try:
        images.require_writable(options.output, options.input)
        picture = images.read(options.input)
        canvas = images.canvas(picture, options.enlarge)
        lumen = library.Library(options.library, options.reference)
        print(options.draw(options, lumen, images.grey(picture), canvas))
        images.write(options.output, canvas)
    except (OSError, images.ImageError, library.LibraryError) as error:
        return _refuse(str(error))
    except MemoryError:
        return _refuse("not enough memory for a picture of that size")
    return 0


def _refuse(message: str) -> int:
    print(f"lumen-draw: {message}", file=sys.stderr)
    return UNUSABLE


def _fast(arc: int) -> "Draw":
    def draw(options: argparse.Namespace, lumen: "Library", grey: "Pixels",
             canvas: "Pixels") -> str:
        return _corners(options, canvas, lumen.fast(
            arc, grey, options.threshold, options.border, options.max, not options.all))
    return draw


def _harris(options: argparse.Namespace, lumen: "Library", grey: "Pixels",
            canvas: "Pixels") -> str:
    return _corners(options, canvas, lumen.harris(grey, options.threshold, options.border,
                                                  options.max))


def _good(options: argparse.Namespace, lumen: "Library", grey: "Pixels",
          canvas: "Pixels") -> str:
    return _corners(options, canvas, lumen.good_features(
        grey, options.quality, options.distance, options.border, options.max))


def _corners(options: argparse.Namespace, canvas: "Pixels", corners: "Corners") -> str:
    from . import marks

    marks.crosses(canvas, corners, CORNER, options.enlarge)
    full = len(corners) == options.max
    return f"{len(corners)} corners" + ("; there may be more, see --max" if full else "")


def _mser(options: argparse.Namespace, lumen: "Library", grey: "Pixels",
          canvas: "Pixels") -> str:
    from . import marks
    from .library import LibraryError, MserLimits

    height, width = grey.shape
    inside = (width - 2) * (height - 2)
    if not (51 <= width <= 8160 and 6 <= height <= 65535):
        raise LibraryError("regions are found in pictures of 51 x 6 to 8160 x 65535 pixels")
    largest = options.max_area or inside // 4
    if not options.min_area + 1 < largest <= 0xFFFFFFFF or options.min_area >= inside:
        raise LibraryError(f"no region has an area between {options.min_area} and {largest}")
    regions, more = lumen.mser(grey, MserLimits(
        options.delta, options.min_area, largest, options.max_variation, options.min_diversity,
        options.neighbours), options.max)
    # Regions lie in one another: small ones last, so that they stay to be seen.
    for region in sorted(regions, key=lambda each: -len(each.points)):
        colour = BRIGHT if region.bright else DARK
        if options.boxes:
            marks.box(canvas, region.box, colour, options.enlarge)
        else:
            marks.outline(canvas, region.points, colour, options.enlarge)
    bright = sum(region.bright for region in regions)
    return (f"{len(regions) - bright} dark and {bright} bright regions"
            + ("; there are more, see --max" if more else ""))


def _parse(arguments: list[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="lumen-draw",
        description="Finds corners or regions in a picture and draws them on it: crosses on "
        "corners, outlines (or boxes) around regions, dark ones blue and bright ones orange.",
        epilog="Each detector has options of its own: lumen-draw fast9 --help. Exit status: 0 when "
        "the picture was written, 2 when something cannot be read, found or written.",
    )
    detectors = parser.add_subparsers(metavar="DETECTOR", required=True)
    for arc in (9, 10):
        fast = _detector(detectors, f"fast{arc}", f"FAST corners with arcs of {arc}", _fast(arc))
        fast.add_argument("--threshold", type=_whole(0, 255), default=20, metavar="T",
                          help="how much brighter or darker the arc is, in grey levels (20)")
        fast.add_argument("--all", action="store_true",
                          help="keep corners that have a neighbour at least as good")
        _corner_options(fast)
    harris = _detector(detectors, "harris", "Harris corners", _harris)
    harris.add_argument("--threshold", type=_whole(-(2**31), 2**31 - 1), default=20000,
                        metavar="T", help="what a response has to exceed (20000)")
    _corner_options(harris)
    good = _detector(detectors, "good", "good features to track, the strongest ones", _good)
    good.add_argument("--quality", type=_fraction, default=0.02, metavar="Q",
                      help="least strength as a part of the strongest corner's (0.02)")
    good.add_argument("--distance", type=_whole(0, 65536), default=8, metavar="PIXELS",
                      help="least distance of two corners (8)")
    _corner_options(good)
    mser = _detector(detectors, "mser", "maximally stable extremal regions", _mser)
    mser.add_argument("--delta", type=_whole(1, 255), default=5, metavar="LEVELS",
                      help="grey levels over which a region is to be stable (5)")
    mser.add_argument("--min-area", type=_whole(0, 2**31), default=30, metavar="PIXELS",
                      help="areas are greater than this (30)")
    mser.add_argument("--max-area", type=_whole(2, 2**32 - 1), metavar="PIXELS",
                      help="areas are smaller than this (a quarter of the picture)")
    mser.add_argument("--max-variation", type=_positive, default=0.25, metavar="V",
                      help="most growth over those levels, as a part of the area (0.25)")
    mser.add_argument("--min-diversity", type=_fraction, default=0.2, metavar="D",
                      help="least part of a region that is not in the one inside it (0.2)")
    mser.add_argument("--neighbours", type=int, choices=(4, 8), default=4,
                      help="of a pixel that are connected to it (4)")
    mser.add_argument("--boxes", action="store_true", help="bounding boxes instead of outlines")
    mser.add_argument("--max", type=_whole(1, 10**6), default=5000, metavar="N",
                      help="most regions (5000)")
    return parser.parse_args(arguments)


def _detector(detectors: "argparse._SubParsersAction[argparse.ArgumentParser]", name: str,
              what: str, draw: "Draw") -> argparse.ArgumentParser:
    parser = detectors.add_parser(name, help=what, description=what[0].upper() + what[1:] + ".")
    parser.set_defaults(draw=draw)
    parser.add_argument("input", type=Path, metavar="PICTURE", help="a .pgm or .ppm file")
    parser.add_argument("output", type=Path, metavar="RESULT", help="a .png or .ppm file")
    parser.add_argument("--enlarge", type=_whole(1, 16), default=1, metavar="N",
                        help="draw on the picture enlarged this many times (1)")
    parser.add_argument("--library", type=Path, metavar="FILE",
                        help="the shared library (build/liblumen.so, else the installed one)")
    parser.add_argument("--reference", action="store_true",
                        help="reference implementations instead of vector ones")
    return parser


def _corner_options(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--border", type=_whole(0, 65536), default=0, metavar="PIXELS",
                        help="no corner is nearer to an edge (the detector's own least)")
    parser.add_argument("--max", type=_whole(1, 10**7), default=100000, metavar="N",
                        help="most corners (100000)")


def _whole(least: int, greatest: int) -> Callable[[str], int]:
    def parse(word: str) -> int:
        value = int(word)
        if not least <= value <= greatest:
            raise argparse.ArgumentTypeError(f"from {least} to {greatest}")
        return value
    parse.__name__ = "whole number"
    return parse


def _positive(word: str) -> float:
    value = float(word)
    if not (math.isfinite(value) and value > 0):
        raise argparse.ArgumentTypeError("more than 0")
    return value


def _fraction(word: str) -> float:
    value = float(word)
    if not 0 <= value <= 1:
        raise argparse.ArgumentTypeError("from 0 to 1")
    return value
