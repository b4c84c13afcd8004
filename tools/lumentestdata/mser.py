"""Data of the region module: scenes made here, whose every fault is meant, and the photographs."""

import itertools
from collections.abc import Iterator
from dataclasses import dataclass, replace

import numpy as np

from . import photographs
from .elements import U8, Array
from .formats import Image, encode, table
from .mserwalk import Parameters, Region, extract
from .tree import Tree

DIRECTORY = "lumenmser"

_WIDTH = {"corners": 4, "sizes": 4, "points": 2}  # of a reference's rows, where it is not 1

Row = list[str]
Columns = list[tuple[str, str]]
Numbers = list[list[int]]  # rows of a reference


@dataclass(frozen=True)
class Form:
    """What one function writes."""

    name: str
    extended: bool = False
    rectangles: str = ""  # "corners" or "sizes"
    split: bool = False
    neighbours: int = 4

    @property
    def columns(self) -> Columns:
        columns = [("src", "unsignedchar[]"), ("wider", "int"), ("higher", "int")]
        columns += [(name, "unsignedint") for name in ("delta", "minArea", "maxArea")]
        columns += [("maxVariation", "float"), ("minDiversity", "float")]
        columns += [("maxContours", "unsignedint"), ("pointsArraySize", "unsignedint")]
        columns += [("threading", "unsignedchar")]
        columns += [(name, f"{keyword}[]") for name, keyword in self.references]
        return [*columns, ("note", "comment")]

    @property
    def references(self) -> list[tuple[str, str]]:
        columns = [("minus", "unsignedint"), ("plus", "unsignedint")]
        if not self.split:
            columns = [("contours", "unsignedint")]
        columns.append(("counts", "unsignedint"))
        if self.rectangles:
            columns += [(self.rectangles, "unsignedshort"), ("points", "unsignedshort")]
        else:
            columns.append(("points", "unsignedint"))
        if self.extended:
            columns.append(("variation", "unsignedint"))
            if not self.split:
                columns.append(("polarity", "int"))
            columns += [("nodeId", "unsignedint"), ("nodeCounter", "unsignedint")]
        return columns


FORMS = (
    Form("u8"),
    Form("Extu8", extended=True),
    Form("NN8u8", neighbours=8),
    Form("ExtNN8u8", extended=True, neighbours=8),
    Form("u8_v2", rectangles="corners"),
    Form("Extu8_v2", extended=True, rectangles="corners"),
    Form("SplitExtu8", extended=True, rectangles="corners", split=True),
    Form("Extu8_v3", extended=True, rectangles="sizes"),
)


@dataclass(frozen=True)
class Case:
    """A call."""

    name: str
    note: str
    source: str  # the image's file
    image: Array
    parameters: Parameters
    wider: int = 0
    higher: int = 0
    capacity: int = 60
    room: int | None = None  # for points; none: as many as there are
    threading: int = 0

    def result(self, neighbours: int) -> tuple[list[Region], int, int]:
        """Regions, how many of them are bright, and the room for points."""
        height, width = self.image.shape
        handle = max(width + self.wider, 51), max(height + self.higher, 6)
        parameters = replace(self.parameters, neighbours=neighbours)
        room = 10**9 if self.room is None else self.room
        regions, minus = extract(self.image, parameters, handle, self.capacity, room)
        count = sum(len(region.pixels) for region in regions)
        return regions, minus, count if self.room is None else self.room


def function_names() -> list[str]:
    return [f"lumMser{form.name}" for form in FORMS]


def add_all(tree: Tree) -> None:
    cases = list(_cases(tree))
    results = {
        (case.name, neighbours): case.result(neighbours)
        for case, neighbours in itertools.product(cases, (4, 8))
    }
    for form in FORMS:
        rows = [_row(tree, case, form, results[case.name, form.neighbours]) for case in cases]
        tree.add(f"{DIRECTORY}/control_script_{form.name}.csv", table(form.columns, rows))


def _row(tree: Tree, case: Case, form: Form, result: tuple[list[Region], int, int]) -> Row:
    regions, minus, room = result
    # What each reference has a row for, and for how many there is room.
    lists: dict[str, tuple[Numbers, int]] = {
        "contours": ([[len(regions)]], 1),
        "minus": ([[minus]], 1),
        "plus": ([[len(regions) - minus]], 1),
        "counts": ([[len(region.pixels)] for region in regions], case.capacity),
        "corners": ([_corners(region) for region in regions], case.capacity),
        "sizes": ([_sizes(region) for region in regions], case.capacity),
        "points": ([list(pixel) for region in regions for pixel in region.pixels], room),
        "variation": ([[region.variation] for region in regions], case.capacity),
        "polarity": ([[region.polarity] for region in regions], case.capacity),
        "nodeId": ([[region.node_id] for region in regions], case.capacity),
        "nodeCounter": ([[region.node_counter] for region in regions], case.capacity),
    }
    limits = case.parameters
    fields = [case.source, case.wider, case.higher, limits.delta, limits.min_area, limits.max_area]
    fields += [limits.max_variation, limits.min_diversity, case.capacity, room, case.threading]
    for name, _ in form.references:
        content = _list(*lists[name], _WIDTH.get(name, 1))
        fields.append(_shared(tree, f"{case.name}_{name}{form.neighbours}.csv", content))
    return [*map(str, fields), case.note]


def _shared(tree: Tree, name: str, content: bytes) -> str:
    """The name of a file with this content, which may be there already: lists come again."""
    for path, known in tree.files.items():
        if known == content and path.startswith(f"{DIRECTORY}/"):
            return path.removeprefix(f"{DIRECTORY}/")
    tree.add(f"{DIRECTORY}/{name}", content)
    return name


def _list(rows: Numbers, room: int, width: int) -> bytes:
    """A file that ends before the room does."""
    lines = [[width, max(room, 1), 0, 0, width, max(room, 1)], *rows]
    return "".join(",".join(map(str, line)) + "\n" for line in lines).encode("ascii")


def _corners(region: Region) -> list[int]:
    x, y = zip(*region.pixels)
    return [min(x), min(y), max(x), max(y)]


def _sizes(region: Region) -> list[int]:
    left, top, right, bottom = _corners(region)
    return [left, top, right - left + 1, bottom - top + 1]


# Parameters that find much in little.
EASY = Parameters(delta=2, min_area=5, max_area=700, max_variation=3.0, min_diversity=0.1)
SMALL = replace(EASY, max_area=100)


def _cases(tree: Tree) -> Iterator[Case]:
    yield from _scenes(tree)
    for name, max_area in (("photographer", 250), ("coffee", 200)):
        path = f"{photographs.DIRECTORY}/{name}.pgm"
        image = photographs.pixels(f"{name}.pgm")
        limits = Parameters(4, 30, max_area, 0.25, 0.5)
        for threading in (0, 1):
            note = f"a photograph, on {threading + 1} thread{'s' if threading else ''}"
            yield Case(name, note, f"../{path}", image, limits, threading=threading)


def _scenes(tree: Tree) -> Iterator[Case]:
    nested = _nested()
    name = _add_image(tree, "nested", nested)
    case = Case("nested", "blobs in blobs, dark and bright", name, nested, EASY)
    yield case
    least, most = replace(EASY, delta=1), replace(EASY, delta=60)
    yield replace(case, name="old", note="delta 1", parameters=least)
    yield replace(case, name="young", note="delta 60: older than all history", parameters=most)
    regions, minus, points = case.result(4)
    plus = len(regions) - minus
    note = "as many regions and points as there is room for"
    yield replace(case, name="exact", note=note, capacity=len(regions))
    note = "the larger polarity is cut"
    yield replace(case, name="larger", note=note, capacity=max(minus, plus) + 1)
    note = "both polarities overflow"
    yield replace(case, name="half", note=note, capacity=min(minus, plus) - 1)
    yield replace(case, name="none", note="no room for a region", capacity=0)
    yield replace(case, name="full", note="a point too many", room=points - 1)
    yield replace(case, name="part", note="an image smaller than the handle", wider=23, higher=9)
    yield replace(case, name="refused", note="an image larger than the handle", wider=-1)
    sizes = sorted({len(region.pixels) for region in regions})
    bounds = replace(EASY, min_area=sizes[1], max_area=sizes[-2])
    note = "areas equal to a bound are left out"
    yield replace(case, name="bounds", note=note, parameters=bounds)
    for levels in (2, 128):
        image = _steps(f"steps{levels}", levels)
        name = _add_image(tree, f"steps{levels}", image)
        yield Case(f"steps{levels}", f"plateaus of {levels} levels", name, image, SMALL)
    flat = np.full((6, 51), 77, np.uint8)
    name = _add_image(tree, "flat", flat)
    yield Case("flat", "the least handle, all one level", name, flat, EASY)
    for width, height in ((1, 1), (2, 9), (3, 3)):
        tiny = np.arange(width * height, dtype=np.uint8).reshape(height, width)
        name = _add_image(tree, f"tiny{width}", tiny)
        note = f"{width} x {height}: hardly anything inside the frame"
        yield Case(f"tiny{width}", note, name, tiny, EASY)
    padded = _steps("padded", 32)[:, :57]
    rows = np.hstack([padded, np.tile(np.array([0, 255, 9], np.uint8), (len(padded), 1))])
    content = encode("csv", Image(rows, padded.shape[1], len(padded)), U8.source)
    tree.add(f"{DIRECTORY}/padded_src.csv", content)
    yield Case("padded", "rows with gaps", "padded_src.csv", padded, SMALL)


def _add_image(tree: Tree, name: str, image: Array) -> str:
    file_name = f"{name}_src.pgm"
    content = encode("pgm", Image(image, image.shape[1], image.shape[0]), U8.source)
    tree.add(f"{DIRECTORY}/{file_name}", content)
    return file_name


def _nested() -> Array:
    """Cones that end at a cliff: ten dark ones, three bright ones, and one of each kind in a larger
    one of the other. All of it is rough: a component that meets the next one is not looked at, so
    that a smooth slope, walked down step by step, gives no region."""
    y, x = np.mgrid[0:54, 0:96]
    image = np.full((54, 96), 128)

    def cone(centre: tuple[int, int], radius: int, sign: int) -> None:
        distance = np.floor(np.hypot(x - centre[0], y - centre[1])).astype(int)
        np.copyto(image, 128 - sign * (60 - 2 * distance), where=distance < radius)

    for k in range(13):
        cone((8 + 13 * (k % 7), 8 + 12 * (k // 7)), 4 + k % 3, -1 if k in (2, 5, 9) else 1)
    for k, sign in enumerate((1, -1)):
        cone((26 + 42 * k, 39), 13, sign)
        cone((26 + 42 * k, 39), 6, -sign)
    rough = U8.random(f"{DIRECTORY}/nested", image.shape).astype(int) % 7
    return (image + rough).astype(np.uint8)


def _steps(name: str, levels: int) -> Array:
    """A random surface with steps."""
    noise = U8.random(f"{DIRECTORY}/{name}", (30, 64)).astype(int)
    smooth = sum(np.roll(noise, (dy, dx), (0, 1)) for dy in range(3) for dx in range(3)) // 9
    low, high = smooth.min(), smooth.max()
    return ((smooth - low) * (levels - 1) // (high - low) * (255 // (levels - 1))).astype(np.uint8)
