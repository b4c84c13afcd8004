"""The command line of lumen-draw."""

import argparse
import sys
from pathlib import Path

from . import detectors, picture
from .library import Library, LibraryError
from .picture import Array, Colour, PictureError

DESCRIPTION = """\
Runs a detector of the library on a PGM or PPM picture and draws what it finds onto it: corners as
crosses, regions as outlines or boxes.
"""

CORNER: Colour = (255, 64, 64)
DARK_REGION: Colour = (255, 200, 0)
BRIGHT_REGION: Colour = (0, 200, 255)


def main(words: list[str] | None = None) -> int:
    options = _parse(words)
    try:
        image = picture.read(options.input)
        marked, summary = draw(image, options)
        picture.write(options.output, marked)
    except (OSError, PictureError, LibraryError) as error:
        print(f"lumen-draw: {error}", file=sys.stderr)
        return 1
    print(f"{options.output}: {summary}")
    return 0


def draw(image: Array, options: argparse.Namespace) -> tuple[Array, str]:
    """The picture with marks, and what they are."""
    library = Library(options.library)
    grey = picture.grey(image)
    times = options.enlarge
    marked = picture.enlarged(picture.dimmed(image, options.brightness), times)
    if options.detector == "mser":
        regions = detectors.mser(library, grey, options)
        for region in regions:
            colour = DARK_REGION if region.polarity > 0 else BRIGHT_REGION
            if options.show == "box":
                picture.put_box(marked, *(times * value for value in region.box), colour)
            else:
                picture.put_outline(marked, picture.enlarged_points(region.points, times), colour)
        return marked, f"{len(regions)} regions"
    corners = _find_corners(library, grey, options)
    for x, y in corners:
        picture.put_cross(marked, *(int(value) * times + times // 2 for value in (x, y)), CORNER)
    full = " (no room for more)" * (len(corners) == options.max)
    return marked, f"{len(corners)} corners{full}"


def _find_corners(library: Library, grey: Array, options: argparse.Namespace) -> Array:
    if options.detector == "harris":
        return detectors.harris(library, grey, options)
    if options.detector == "features":
        return detectors.features(library, grey, options)
    return detectors.fast(library, grey, options, 9 if options.detector == "fast9" else 10)


def _parse(words: list[str] | None) -> argparse.Namespace:
    files = argparse.ArgumentParser(add_help=False)
    files.add_argument("input", type=Path, help="binary PGM or PPM with 8 bits a value")
    files.add_argument("output", type=Path, help="a name that ends in .png or .ppm")
    files.add_argument("--library", help="liblumen.so to use (default: $LUMEN_LIBRARY, that of "
                       "build/, that of the system)")  # fmt: skip
    files.add_argument("--brightness", type=_number(0, 100), default=60, metavar="PERCENT",
                       help="of the picture under the marks (default %(default)s)")  # fmt: skip
    files.add_argument("--enlarge", type=_number(1, 16), default=1, metavar="TIMES",
                       help="the picture, not the marks (default %(default)s)")  # fmt: skip
    files.add_argument("--max", type=_number(1, 10**6), default=10000, metavar="COUNT",
                       help="room for corners or regions (default %(default)s)")  # fmt: skip
    parser = argparse.ArgumentParser(prog="lumen-draw", description=DESCRIPTION)
    commands = parser.add_subparsers(dest="detector", required=True, metavar="detector")

    def add(name: str, text: str) -> argparse.ArgumentParser:
        return commands.add_parser(name, help=text, description=text, parents=[files])

    for name, text, threshold in (
        ("fast9", "FAST corners with arcs of 9 pixels", 20),
        ("fast10", "FAST corners with arcs of 10 pixels", 20),
        ("harris", "Harris corners", 100000),
    ):
        corner = add(name, text)
        corner.add_argument("--threshold", type=_number(-(2**31), 2**31 - 1), default=threshold,
                            help="of the strength (default %(default)s)")  # fmt: skip
        corner.add_argument("--all", action="store_true", help="weaker neighbours too")
        _add_border(corner)
    feature = add("features", "Good features to track")
    feature.add_argument("--quality", type=float, default=0.02,
                         help="least part of the strongest one's strength (default %(default)s)")  # fmt: skip
    feature.add_argument("--distance", type=_number(0, 2**32 - 1), default=5,
                         help="least, in pixels (default %(default)s)")  # fmt: skip
    _add_border(feature)
    region = add("mser", "Maximally stable extremal regions; dark ones yellow, bright ones blue")
    region.add_argument("--show", choices=("outline", "box"), default="outline")
    region.add_argument("--neighbours", type=int, choices=(4, 8), default=4)
    region.add_argument("--delta", type=int, default=5, help="grey levels (default %(default)s)")
    region.add_argument("--min-area", type=_number(0, 2**31), default=30)
    region.add_argument("--max-area", type=_number(0, 2**31), default=0,
                        help="0, the default: a quarter of the picture")  # fmt: skip
    region.add_argument("--max-variation", type=float, default=0.25)
    region.add_argument("--min-diversity", type=float, default=0.2)
    return parser.parse_args(words)


def _add_border(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--border", type=_number(0, 2**31), default=0,
                        help="pixels at the edges without corners")  # fmt: skip


def _number(least: int, greatest: int):  # noqa: ANN202
    def number(text: str) -> int:
        value = int(text)
        if not least <= value <= greatest:
            raise argparse.ArgumentTypeError(f"must be from {least} to {greatest}")
        return value

    return number
