"""Data of the FAST corner modules: every rule, by brute force over all arcs of all pixels."""

from collections.abc import Iterator
from dataclasses import dataclass, field, replace

import numpy as np

from . import photographs
from .elements import U8, Array, Storage
from .formats import Image, encode, table
from .tree import Tree

DIRECTORY = "lumencornerfast"

_U32 = Storage("unsignedint", "unsigned_int", np.dtype("<u4"))

# The circle of radius 3 in order, as (dx, dy), y growing downwards.
CIRCLE = (
    *((0, 3), (1, 3), (2, 2), (3, 1), (3, 0), (3, -1), (2, -2), (1, -3)),
    *((0, -3), (-1, -3), (-2, -2), (-3, -1), (-3, 0), (-3, 1), (-2, 2), (-1, 3)),
)

Corner = tuple[int, int, int]  # x, y, score


@dataclass(frozen=True)
class Function:
    arc: int
    masked: bool = False
    scored: bool = False
    suppresses: bool = False  # takes nmsEnabled
    version: str = ""

    @property
    def suffix(self) -> str:
        shape = ("InMask" if self.masked else "") + ("Score" if self.scored else "")
        return f"{self.arc}{shape}u8{self.version}"


FUNCTIONS = (
    Function(9),
    Function(9, masked=True),
    Function(9, scored=True),
    Function(9, masked=True, scored=True),
    Function(9, scored=True, suppresses=True, version="_v2"),
    Function(9, masked=True, scored=True, suppresses=True, version="_v2"),
    Function(10),
    Function(10, masked=True),
    Function(10, scored=True, suppresses=True),
    Function(10, masked=True, scored=True, suppresses=True),
)


@dataclass(frozen=True)
class Mask:
    name: str
    width: int
    height: int
    places: Array  # a truth value for each place

    def excludes(self, x: int, y: int, width: int, height: int) -> bool:
        """`width` and `height` are the image's."""
        if self.width >= width:
            return bool(self.places[y * self.height // height, x * self.width // width])
        return bool(self.places[y // (height // self.height), x // (width // self.width)])

    def fits(self, width: int, height: int) -> bool:
        pairs = [(self.width, self.height, width, height), (width, height, self.width, self.height)]
        return any(
            mw == w * times and mh == h * times for mw, mh, w, h in pairs for times in (1, 2, 4, 8)
        )


@dataclass(frozen=True)
class Case:
    stem: str  # of the image's file
    note: str
    pixels: Array = field(repr=False)
    barrier: int = 20
    border: int = 3
    capacity: int = 300
    padding: int = 0
    suffix: str = "pgm"
    mask: Mask | None = None  # of functions that take one


def function_names() -> list[str]:
    return [f"lumCornerFast{function.suffix}" for function in FUNCTIONS]


def add_all(tree: Tree) -> None:
    for function in FUNCTIONS:
        rows = [row for case in _cases(function) for row in _rows(tree, function, case)]
        path = f"{DIRECTORY}/control_script_{function.suffix}.csv"
        tree.add(path, table(_columns(function), rows))


def _columns(function: Function) -> list[tuple[str, str]]:
    number = "unsignedint"
    columns = [("src", "unsignedchar[]")]
    columns += [("mask", "unsignedchar[]")] * function.masked
    columns += [("barrier", "int"), ("border", number), ("nCornersMax", number)]
    columns += [("maskWidth", number), ("maskHeight", number)] * function.masked
    columns += [("nmsEnabled", number)] * function.suppresses
    columns += [("xy", number + "[]")]
    columns += [("scores", number + "[]")] * function.scored
    return [*columns, ("nCorners", number + "[]"), ("note", "comment")]


def _rows(tree: Tree, function: Function, case: Case) -> Iterator[list[str]]:
    source = f"{case.stem}.{case.suffix}"
    if case.stem in photographs.NAMES:
        source = f"../{photographs.DIRECTORY}/{case.stem}"
    else:
        padding = np.full((case.pixels.shape[0], case.padding), 77, U8.source.dtype)
        image = Image(np.hstack((case.pixels, padding)), case.pixels.shape[1], case.pixels.shape[0])
        tree.add(f"{DIRECTORY}/{source}", encode(case.suffix, image, U8.source))
    for suppress in (0, 1) if function.suppresses else (0,):
        corners = find(function.arc, case, bool(suppress), case.mask if function.masked else None)
        fields = [source]
        numbers = [case.barrier, case.border, case.capacity]
        if function.masked:
            assert case.mask
            fields.append(_add_mask(tree, case.mask))
            numbers += [case.mask.width, case.mask.height]
        numbers += [suppress] * function.suppresses
        fields += map(str, numbers)
        fields += _add_lists(tree, function, case, corners, suppress)
        yield [*fields, case.note]


def _add_mask(tree: Tree, mask: Mask) -> str:
    name = f"{mask.name}_{mask.width}x{mask.height}.data"
    bits = np.packbits(mask.places, axis=1)
    image = Image(bits, bits.shape[1], bits.shape[0])
    tree.add(f"{DIRECTORY}/{name}", encode("data", image, U8.source))
    return name


def _add_lists(
    tree: Tree, function: Function, case: Case, corners: list[Corner], suppress: int
) -> list[str]:
    """Files of functions with the same result are the same file."""
    mask = f"_{case.mask.width}x{case.mask.height}" if function.masked and case.mask else ""
    limits = f"b{case.barrier}e{case.border}n{case.capacity}".replace("-", "m")
    stem = f"{case.stem.removesuffix('.pgm')}_{function.arc}{limits}{mask}{'_nms' * suppress}"
    rows = max(case.capacity, 1)
    lists = {"xy": [corner[:2] for corner in corners]}
    if function.scored:
        lists["scores"] = [corner[2:] for corner in corners]
    names = []
    for name, values in lists.items():
        width = 2 if name == "xy" else 1
        stored = np.array(values, _U32.dtype).reshape(-1, width)
        names.append(f"{stem}_{name}.csv")
        tree.add(f"{DIRECTORY}/{names[-1]}", encode("csv", Image(stored, width, rows), _U32))
    count = f"count{len(corners)}.csv"
    stored = np.array([[len(corners)]], _U32.dtype)
    tree.add(f"{DIRECTORY}/{count}", encode("csv", Image(stored, 1, 1), _U32))
    return [*names, count]


def find(arc: int, case: Case, suppress: bool, mask: Mask | None) -> list[Corner]:
    """The corners as the functions define them, from the scores of all pixels."""
    strength = strengths(case.pixels, arc)
    height, width = strength.shape
    border = max(case.border, 3)
    found = []
    if mask and not mask.fits(width, height):
        return []
    for y in range(border, height - border):
        for x in range(border, width - border):
            if strength[y, x] < case.barrier or (mask and mask.excludes(x, y, width, height)):
                continue
            # Scores are unsigned: a negative one is the highest of all.
            found.append((x, y, int(strength[y, x]) % 2**32))
    found = found[: max(case.capacity, 1)]
    if not suppress:
        return found
    score = {(x, y): s for x, y, s in found}
    around = [(dx, dy) for dx in (-1, 0, 1) for dy in (-1, 0, 1) if dx or dy]
    return [
        (x, y, s)
        for x, y, s in found
        if all(score.get((x + dx, y + dy), -1) < s for dx, dy in around)
    ]


def strengths(pixels: Array, arc: int) -> Array:
    """For each pixel the largest barrier with which it is a corner; far below 0 at the edges. It is
    a corner with b when all differences of some arc are greater than b, so the largest is one less
    than the least difference of the best arc."""
    image = pixels.astype(np.int64)
    height, width = image.shape
    best = np.full(image.shape, -1000, np.int64)
    inner = image[3 : height - 3, 3 : width - 3]
    circle = [image[3 + dy : height - 3 + dy, 3 + dx : width - 3 + dx] for dx, dy in CIRCLE]
    for sign in (1, -1):
        differences = [sign * (ring - inner) for ring in circle]
        for begin in range(16):
            least = np.minimum.reduce([differences[(begin + i) % 16] for i in range(arc)])
            part = best[3 : height - 3, 3 : width - 3]
            np.maximum(part, least - 1, out=part)
    return best


def _arcs() -> Array:
    """Circles with arcs of 8 to 12 pixels from each place on, brighter and darker, by exactly the
    barrier of 20 or by one more."""
    lengths, step = (8, 9, 10, 12), 8
    scene = np.full((step * 16 + 2, step * len(lengths) * 2), 100, np.uint8)
    for begin in range(16):
        for column, length in enumerate(lengths * 2):
            sign = 1 if column < len(lengths) else -1
            x, y = column * step + 4, begin * step + 4
            for i in range(length):
                dx, dy = CIRCLE[(begin + i) % 16]
                exactly = begin % 4 == 3 and i == length // 2
                scene[y + dy, x + dx] = 100 + sign * (20 if exactly else 21 + i)
    return scene


def _boxes() -> Array:
    """Rectangles of all sizes and contrasts: equal scores side by side, strong and weak corners."""
    scene = np.full((64, 64), 90, np.uint8)
    for k in range(16):
        x, y = k % 4 * 16 + 3, k // 4 * 16 + 3
        scene[y : y + 2 + k % 5 * 2, x : x + 3 + k % 3 * 3] = (k * 57) % 256
    return scene


def _noise(name: str, width: int, height: int) -> Array:
    return U8.random(f"{DIRECTORY}/{name}", (height, width))


def _extremes() -> Array:
    """Single bright and dark pixels, and centres so near 0 and 255 that sums leave the range."""
    scene = _noise("extremes", 40, 20) // 4
    scene[:, 20:] += 192
    scene[6, 6], scene[8, 30], scene[12, 12], scene[13, 31] = 255, 0, 254, 1
    return scene


def mask_of(width: int, height: int, mask_width: int, mask_height: int) -> Mask:
    """Stripes and spots that are not the same in rows as in columns."""
    y, x = np.mgrid[0:mask_height, 0:mask_width]
    fx, fy = width / mask_width, height / mask_height
    places = ((x * fx).astype(int) // 5 + (y * fy).astype(int) // 3) % 3 == 0
    if mask_width > width:
        places |= (x % 2 == 1) | (y % 2 == 1)  # only the top left bit of a block counts
    return Mask("mask", mask_width, mask_height, places)


def _cases(function: Function) -> Iterator[Case]:
    if function.masked:
        yield from _masked_cases()
    else:
        yield from _whole_cases()


def _whole_cases() -> Iterator[Case]:
    yield Case("arcs", "arcs of 8, 9, 10 and 12 from each place on", _arcs())
    boxes = Case("boxes", "equal scores side by side", _boxes(), barrier=15, capacity=400)
    yield boxes
    for border in (0, 9, 31):
        yield replace(boxes, note=f"a border of {border}", border=border, capacity=60)
    for capacity in (0, 1, 7):
        yield replace(boxes, note=f"room for {capacity}", capacity=capacity)
    yield replace(boxes, note="a stride", stem="strided", suffix="csv", padding=5, capacity=60)
    extremes = Case("extremes", "beyond the range of pixels", _extremes(), suffix="data")
    for barrier in (-1, 0, 1, 62, 190, 253, 254, 255, 256):
        yield replace(extremes, note=f"a barrier of {barrier}", barrier=barrier, capacity=250)
    yield Case("noise", "noise", _noise("noise", 71, 13), barrier=5, suffix="data")
    yield Case("least", "one pixel to look at", _boxes()[13:20, 16:23], barrier=0, suffix="data")
    for name, barrier in zip(photographs.NAMES, (20, 40)):
        yield Case(name, "a photograph", photographs.pixels(name), barrier, capacity=900)


def _masked_cases() -> Iterator[Case]:
    boxes = Case("boxes", "", _boxes(), barrier=15)
    sizes = [(64 * 8 >> k, 64 * 8 >> k) for k in range(7)] + [(128, 64), (63, 63), (192, 192)]
    for mask_width, mask_height in sizes:
        mask = mask_of(64, 64, mask_width, mask_height)
        yield replace(boxes, note=f"a mask of {mask_width} x {mask_height}", mask=mask)
    noise = _noise("noise", 71, 13)
    yield Case(
        "noise",
        "rows of the mask that are no whole bytes",
        noise,
        barrier=5,
        suffix="data",
        mask=mask_of(71, 13, 71, 13),
    )
    yield replace(
        boxes, note="room for 5", capacity=5, border=5, mask=mask_of(64, 64, 64, 64)
    )
    name = photographs.NAMES[0]
    pixels = photographs.pixels(name)
    mask = mask_of(192, 160, 48, 40)
    yield Case(name, "a photograph", pixels, capacity=900, mask=mask)
