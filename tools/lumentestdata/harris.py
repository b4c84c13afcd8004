"""Data of the Harris corner module: responses of whole images with numpy, rules pixel by pixel."""

from collections.abc import Iterator
from dataclasses import dataclass, field, replace
from math import hypot, isqrt

import numpy as np

from . import fast, photographs
from .elements import INT32_MIN, U8, Array, Storage
from .fast import Mask
from .formats import Image, encode, table
from .tree import Tree

DIRECTORY = "lumencornerharris"

_U32 = Storage("unsignedint", "unsigned_int", np.dtype("<u4"))
_S32 = Storage("int", "int", np.dtype("<i4"))

REACH = 3  # pixels at the edges have no response

Corner = tuple[int, int, int]  # x, y, response


@dataclass(frozen=True)
class Case:
    stem: str  # of the image's file
    note: str
    pixels: Array = field(repr=False)
    threshold: int = 100000
    border: int = 5
    capacity: int = 300
    padding: int = 0
    suffix: str = "pgm"
    mask: Mask | None = None
    suppress: int = 1  # of the function that can do without
    quality: float = 0.0625  # of good features
    distance: int = 0


def function_names() -> list[str]:
    shapes = ("", "InMask", "Adaptive", "Score")
    names = [f"lumCornerHarris{shape}u8" for shape in shapes]
    return [*names, "lumLocalHarrisMaxu8", "lumGoodFeatureToTracku8"]


def add_all(tree: Tree) -> None:
    plain, number, count = [("threshold", "int")], "unsignedint", "unsignedint[]"
    size = [("border", number), ("nCornersMax", number)]
    scripts = {
        "u8": ([*plain, *size], corners, _cases()),
        "Adaptiveu8": ([*plain, *size], adaptive, _adaptive_cases()),
        "InMasku8": ([*plain, *size, ("maskWidth", number), ("maskHeight", number)], corners,
                     _masked_cases()),
        "Scoreu8": ([*plain, *size, ("nmsEnabled", number)], corners, _scored_cases()),
        "GoodFeatureu8": ([("qualityLevel", "float"), *size, ("minDistance", number)], features,
                          _feature_cases()),
    }  # fmt: skip
    for suffix, (numbers, find, cases) in scripts.items():
        masks = [("mask", "unsignedchar[]")] * (suffix == "InMasku8")
        scores = [("scores", "int[]")] * (suffix == "Scoreu8")
        columns = [("src", "unsignedchar[]"), *masks, *numbers, ("xy", number + "[]"), *scores,
                   ("nCorners", count), ("note", "comment")]  # fmt: skip
        names = [name for name, _ in numbers]
        rows = [_row(tree, suffix, names, find(case), case) for case in cases]
        tree.add(f"{DIRECTORY}/control_script_{suffix}.csv", table(columns, rows))
    columns = [("src", "unsignedchar[]"), ("posX", number), ("posY", number), ("maxX", count),
               ("maxY", count), ("maxScore", "int[]"), ("note", "comment")]  # fmt: skip
    tree.add(f"{DIRECTORY}/control_script_LocalMaxu8.csv", table(columns, _local_rows(tree)))


def _row(
    tree: Tree, suffix: str, numbers: list[str], found: list[Corner], case: Case
) -> list[str]:
    values = {
        "threshold": case.threshold,
        "border": case.border,
        "nCornersMax": case.capacity,
        "maskWidth": case.mask.width if case.mask else 0,
        "maskHeight": case.mask.height if case.mask else 0,
        "nmsEnabled": case.suppress,
        "qualityLevel": case.quality,
        "minDistance": case.distance,
    }
    fields = [_add_source(tree, case)]
    if case.mask:
        fields.append(_add_mask(tree, case.mask))
    fields += [str(values[name]) for name in numbers]
    rows = max(case.capacity, 1)
    limits = "_".join(str(values[name]).replace("-", "m").replace(".", "d") for name in numbers)
    stem = f"{case.stem.removesuffix('.pgm')}_{suffix}_{limits}"
    places = [corner[:2] for corner in found]
    fields.append(_add_list(tree, f"{stem}_xy", places, 2, rows, _U32))
    if suffix == "Scoreu8":
        scores = [corner[2:] for corner in found]
        fields.append(_add_list(tree, f"{stem}_scores", scores, 1, rows, _S32))
    return [*fields, _add_number(tree, len(found), _U32), case.note]


def _add_source(tree: Tree, case: Case) -> str:
    if case.stem in photographs.NAMES:
        return f"../{photographs.DIRECTORY}/{case.stem}"
    height, width = case.pixels.shape
    padding = np.full((height, case.padding), 77, np.uint8)
    image = Image(np.hstack((case.pixels, padding)), width, height)
    name = f"{case.stem}.{case.suffix}"
    tree.add(f"{DIRECTORY}/{name}", encode(case.suffix, image, U8.source))
    return name


def _add_mask(tree: Tree, mask: Mask) -> str:
    name = f"mask_{mask.width}x{mask.height}.data"
    bits = np.packbits(mask.places, axis=1)
    tree.add(f"{DIRECTORY}/{name}", encode("data", Image(bits, *bits.shape[::-1]), U8.source))
    return name


def _add_list(
    tree: Tree, stem: str, values: list, width: int, rows: int, storage: Storage
) -> str:
    stored = np.array(values, storage.dtype).reshape(-1, width)
    tree.add(f"{DIRECTORY}/{stem}.csv", encode("csv", Image(stored, width, rows), storage))
    return f"{stem}.csv"


def _add_number(tree: Tree, value: int, storage: Storage) -> str:
    name = f"number{value}".replace("-", "m")
    return _add_list(tree, name, [[value]], 1, 1, storage)


def sums(pixels: Array) -> tuple[Array, Array, Array]:
    """Sxx, Syy, Sxy of every pixel that has them; 0 elsewhere."""
    image = pixels.astype(np.int64)
    ix, iy = np.zeros_like(image), np.zeros_like(image)
    ix[:, 1:-1] = (image[:, 2:] - image[:, :-2]) // 2
    iy[1:-1, :] = (image[2:, :] - image[:-2, :]) // 2
    return _smooth(ix * ix), _smooth(iy * iy), _smooth(ix * iy)


def _smooth(products: Array) -> Array:
    height, width = products.shape
    smoothed = np.zeros_like(products)
    if min(height, width) < 2 * REACH + 1:
        return smoothed
    inner = smoothed[REACH:-REACH, REACH:-REACH]
    for v, row_weight in enumerate((1, 4, 6, 4, 1), 1):
        for u, weight in enumerate((1, 4, 6, 4, 1), 1):
            part = products[v : v + inner.shape[0], u : u + inner.shape[1]]
            inner += row_weight * weight * part
    inner //= 256
    return smoothed


def responses(pixels: Array) -> Array:
    sxx, syy, sxy = sums(pixels)
    return sxx * syy - sxy**2 - (sxx + syy) ** 2 // 16


def _inside(case: Case) -> Iterator[tuple[int, int]]:
    """The places between the borders, in raster order."""
    height, width = case.pixels.shape
    border = max(case.border, 5)
    for y in range(border, height - border):
        for x in range(border, width - border):
            yield x, y


def corners(case: Case) -> list[Corner]:
    height, width = case.pixels.shape
    if case.mask and not case.mask.fits(width, height):
        return []
    response = responses(case.pixels)
    found: list[Corner] = []
    for x, y in _inside(case):
        if case.mask and case.mask.excludes(x, y, width, height):
            continue
        value = int(response[y, x])
        window = response[y - 2 : y + 3, x - 2 : x + 3]
        is_maximum = value == window.max() and (window == value).sum() == 1
        if value > case.threshold and (is_maximum or not case.suppress):
            found.append((x, y, value))
        if len(found) >= case.capacity:
            break
    return found


def adaptive(case: Case) -> list[Corner]:
    found = corners(replace(case, capacity=case.pixels.size))
    if len(found) <= case.capacity:
        return found
    threshold = sorted((corner[2] for corner in found), reverse=True)[case.capacity]
    return [corner for corner in found if corner[2] > threshold and case.capacity > 0]


def features(case: Case) -> list[Corner]:
    sxx, syy, sxy = sums(case.pixels)
    root = np.array([isqrt(v) for v in ((sxx - syy) ** 2 + 4 * sxy**2).flat]).reshape(sxx.shape)
    strength = sxx + syy - root
    candidates = []
    for x, y in _inside(case):
        value = int(strength[y, x])
        around = strength[y - 1 : y + 2, x - 1 : x + 2].ravel()
        if value > 0 and value > around[:4].max() and value >= around[5:].max():
            candidates.append((x, y, value))
    level = np.float32(min(max(case.quality, 0), 1))
    least = level * np.float32(max((corner[2] for corner in candidates), default=0))
    taken: list[Corner] = []
    for x, y, value in sorted(candidates, key=lambda corner: -corner[2]):
        if len(taken) == case.capacity or np.float32(value) < least:
            break
        if all(hypot(x - u, y - v) >= case.distance for u, v, _ in taken):
            taken.append((x, y, value))
    return taken


def _local_rows(tree: Tree) -> Iterator[list[str]]:
    name = photographs.NAMES[0]
    photograph = Case(name, "", photographs.pixels(name))
    plateau = Case("dots", "", _dots())
    narrow = Case("narrow", "", _noise("narrow", 40, 6), suffix="data")
    places = [
        (photograph, 90, 80, "the middle of a photograph"),
        (photograph, 0, 0, "the top left corner"),
        (photograph, 191, 159, "the bottom right corner"),
        (photograph, 17, 120, "another place"),
        (plateau, 27, 26, "several equal ones: the first"),
        (narrow, 20, 3, "an image without responses: the place itself"),
    ]
    for case, x, y, note in places:
        response = responses(case.pixels)
        height, width = response.shape
        columns = range(max(x - 5, REACH), min(x + 6, width - REACH))
        rows = range(max(y - 5, REACH), min(y + 6, height - REACH))
        around = [(-int(response[v, u]), v, u) for v in rows for u in columns]
        value, v, u = min(around, default=(-INT32_MIN, y, x))
        results = [
            _add_number(tree, u, _U32),
            _add_number(tree, v, _U32),
            _add_number(tree, -value, _S32),
        ]
        yield [_add_source(tree, case), str(x), str(y), *results, note]


def _noise(name: str, width: int, height: int) -> Array:
    return U8.random(f"{DIRECTORY}/{name}", (height, width))


def _boxes() -> Array:
    """Rectangles of all sizes and contrasts."""
    scene = np.full((64, 72), 90, np.uint8)
    for k in range(16):
        x, y = k % 4 * 17 + 4, k // 4 * 15 + 4
        scene[y : y + 3 + k % 4 * 2, x : x + 4 + k % 3 * 4] = (k * 57) % 256
    return scene


def _dots() -> Array:
    """Equal responses far apart, and a dot of even size with four equal ones side by side."""
    scene = np.full((45, 50), 60, np.uint8)
    for y in (12, 22, 32):
        scene[y : y + 1 + (y == 22), 10:40:10] = 220
        scene[y : y + 1 + (y == 22), 11:41:10] = 220
    return scene


def _slopes() -> Array:
    """Steps of 255 each way, which make the greatest products and sums."""
    y, x = np.mgrid[0:40, 0:47]
    return (((x // 2 + y // 2) % 2) * 255).astype(np.uint8)


def _cases() -> Iterator[Case]:
    boxes = Case("boxes", "boxes", _boxes(), capacity=200)
    yield boxes
    for border in (0, 6, 9, 31, 32, 100, 2**32 - 1):
        yield replace(boxes, note=f"a border of {border}", border=border)
    for capacity in (0, 1, 7):
        yield replace(boxes, note=f"room for {capacity}", capacity=capacity)
    strongest = max(corner[2] for corner in corners(boxes))
    for threshold in (-(2**31), -1, 0, strongest - 1, strongest, 2**31 - 1):
        yield replace(boxes, note=f"a threshold of {threshold}", threshold=threshold)
    yield Case("padded", "a stride", _boxes()[:30, :61], suffix="csv", padding=5)
    yield Case("dots", "equal responses", _dots(), 0)
    yield Case("slopes", "the greatest gradients", _slopes(), -(2**31))
    noise = _noise("noise", 77, 29)
    yield Case("noise", "noise", noise, 0, suffix="data")
    for size in (5, 7, 10, 11):
        crop = noise[3 : 3 + size, 4 : 4 + size]
        yield Case(f"least{size}", f"{size} x {size}", crop, -(2**31), suffix="data")
    flat = np.hstack([np.full((14, 20), 9, np.uint8)] * 2)
    yield Case("flat", "nothing to find", flat, -(2**31))
    for name, threshold in zip(photographs.NAMES, (50000, 500000)):
        yield Case(name, "a photograph", photographs.pixels(name), threshold, capacity=900)


def _adaptive_cases() -> Iterator[Case]:
    boxes = Case("boxes", "boxes", _boxes(), 0)
    for capacity in (0, 1, 9, 20, 300):
        yield replace(boxes, note=f"room for {capacity}", capacity=capacity)
    yield Case("dots", "equal responses leave together", _dots(), 0, capacity=2)
    noise = _noise("noise", 77, 29)
    yield Case("noise", "noise", noise, -(2**31), capacity=11, suffix="data")
    name = photographs.NAMES[0]
    yield Case(name, "a photograph", photographs.pixels(name), capacity=100)


def _scored_cases() -> Iterator[Case]:
    boxes = Case("boxes", "boxes", _boxes())
    yield boxes
    for capacity in (0, 5, 400):
        yield replace(boxes, note=f"all, room for {capacity}", capacity=capacity, suppress=0)
    yield Case("slopes", "scores below 0", _slopes(), -(2**31), suppress=0, capacity=1200)
    name = photographs.NAMES[1]
    photograph = Case(name, "a photograph", photographs.pixels(name), 1000000)
    yield photograph
    yield replace(photograph, note="all of a photograph", suppress=0, capacity=1500)


def _masked_cases() -> Iterator[Case]:
    boxes = Case("boxes", "", _boxes()[:64, :64], 0)
    boxes = replace(boxes, stem="square")
    sizes = [(64 * 8 >> k, 64 * 8 >> k) for k in range(7)] + [(128, 64), (63, 63), (192, 192)]
    for width, height in sizes:
        mask = fast.mask_of(64, 64, width, height)
        yield replace(boxes, note=f"a mask of {width} x {height}", mask=mask)
    mask = fast.mask_of(64, 64, 64, 64)
    for capacity in (0, 3):
        yield replace(boxes, note=f"room for {capacity}", capacity=capacity, mask=mask)
    noise, mask = _noise("noise", 77, 29), fast.mask_of(77, 29, 77, 29)
    note = "rows of the mask that are no whole bytes"
    yield Case("noise", note, noise, 0, suffix="data", mask=mask)
    tiny = Case("tiny", "too small for any corner", noise[:3, :4], 0, suffix="data")
    yield replace(tiny, mask=fast.mask_of(4, 3, 4, 3))


def _feature_cases() -> Iterator[Case]:
    boxes = Case("boxes", "boxes", _boxes())
    yield boxes
    for quality in (-1.0, 0.0, 0.75, 1.0, 2.0):
        yield replace(boxes, note=f"a quality of {quality}", quality=quality)
    for distance in (1, 2, 3, 10, 1000):
        note = f"a distance of {distance}"
        yield replace(boxes, note=note, quality=0.015625, distance=distance)
    for capacity, border in ((0, 5), (4, 5), (300, 12)):
        note = f"room for {capacity}, a border of {border}"
        yield replace(boxes, note=note, capacity=capacity, border=border)
    yield Case("dots", "equal ones side by side", _dots(), quality=0.0)
    yield Case("noise", "noise", _noise("noise", 77, 29), suffix="data", distance=4)
    for name in photographs.NAMES:
        yield Case(name, "a photograph", photographs.pixels(name), distance=6)
