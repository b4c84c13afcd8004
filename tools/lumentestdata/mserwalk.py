"""Maximally stable extremal regions in plain Python: a component holds its pixels and its past as
lists, and every neighbour's state is looked up where it is asked for."""

from collections.abc import Iterator
from dataclasses import dataclass, field, replace

import numpy as np

Array = np.ndarray
Pixel = tuple[int, int]  # x, y

CLOCKWISE = ((1, 0), (1, 1), (0, 1), (-1, 1), (-1, 0), (-1, -1), (0, -1), (1, -1))


@dataclass(frozen=True)
class Parameters:
    delta: int
    min_area: int
    max_area: int
    max_variation: float
    min_diversity: float
    neighbours: int = 4

    def for_image(self, handle: tuple[int, int], size: tuple[int, int]) -> "Parameters":
        """The greatest area goes with the image's, in single precision."""
        if handle == size:
            return self
        f32 = np.float32
        share = f32(self.max_area) / f32(handle[0] * handle[1])
        scaled = int(share * f32(size[0]) * f32(size[1]))
        return replace(self, max_area=scaled)


@dataclass(frozen=True)
class Region:
    pixels: list[Pixel]
    variation: int
    polarity: int
    node_id: int
    node_counter: int


@dataclass
class Past:
    """A component at an earlier level, and what was before that."""

    level: int
    size: int
    older: "Past | None"


@dataclass
class Component:
    level: int
    node_id: int
    pixels: list[Pixel] = field(default_factory=list)
    past: Past | None = None
    reported: int = 0
    variation: np.float32 = np.float32(0)
    rising: bool = True

    @property
    def size(self) -> int:
        return len(self.pixels)


@dataclass
class Polarity:
    """What was found of one polarity."""

    regions: list[Region]
    nodes: int
    overflow: bool = False


def search(image: Array, parameters: Parameters, polarity: int, capacity: int) -> Polarity:
    """Polarity 1 finds dark regions; -1 bright ones, as dark ones of the inverted image."""
    levels = image.astype(int) if polarity > 0 else 255 - image.astype(int)
    return _Walk(levels, parameters, polarity, capacity).run()


class _Walk:
    def __init__(self, levels: Array, parameters: Parameters, polarity: int, capacity: int) -> None:
        self.levels = levels
        self.parameters = parameters
        self.polarity = polarity
        self.capacity = capacity
        height, width = levels.shape
        self.seen = np.ones(levels.shape, bool)
        self.seen[1 : height - 1, 1 : width - 1] = False
        self.boundary: list[list[Pixel]] = [[] for _ in range(256)]
        self.stack = [Component(256, -1)]
        self.found = Polarity([], 0)
        self.steps = CLOCKWISE[:: 8 // parameters.neighbours]

    def level(self, pixel: Pixel) -> int:
        return int(self.levels[pixel[1], pixel[0]])

    def unseen(self, pixel: Pixel) -> Iterator[Pixel]:
        for dx, dy in self.steps:
            neighbour = pixel[0] + dx, pixel[1] + dy
            if not self.seen[neighbour[1], neighbour[0]]:
                yield neighbour

    def enter(self, pixel: Pixel) -> Pixel:
        """Begins a component at a pixel that was not seen."""
        self.seen[pixel[1], pixel[0]] = True
        self.stack.append(Component(self.level(pixel), self.found.nodes))
        self.found.nodes += 1
        return pixel

    def run(self) -> Polarity:
        if self.seen.all():
            return self.found
        pixel: Pixel | None = self.enter((1, 1))
        while pixel is not None:
            own = self.level(pixel)
            darker = next((n for n in self.unseen(pixel) if self.level(n) < own), None)
            if darker is not None:
                self.boundary[self.level(pixel)].append(pixel)
                pixel = self.enter(darker)
                continue
            for neighbour in self.unseen(pixel):
                self.seen[neighbour[1], neighbour[0]] = True
                self.boundary[self.level(neighbour)].append(neighbour)
            self.stack[-1].pixels.append(pixel)
            pixel = self.next_pixel(self.level(pixel))
        return self.found

    def next_pixel(self, level: int) -> Pixel | None:
        for higher in range(level, 256):
            if self.boundary[higher]:
                if higher != level and not self.rise(higher):
                    return None
                return self.boundary[higher].pop()
        return None

    def rise(self, level: int) -> bool:
        """The top component has grown up to a level; False when there is no room for its region."""
        top, below = self.stack[-1], self.stack[-2]
        if below.level <= level:
            assert below.level == level
            self.stack.pop()
            self.merge(below, top)
            return True
        if self.is_stable(top) and not self.record(top):
            return False
        top.past = Past(top.level, top.size, top.past)
        top.level = level
        return True

    @staticmethod
    def merge(below: Component, top: Component) -> None:
        if top.size >= below.size:
            past = Past(top.level, top.size, top.past)
            below.variation, below.rising = top.variation, top.rising
            below.pixels = top.pixels + below.pixels
        else:
            past = Past(below.level, below.size, below.past)
            below.pixels = below.pixels + top.pixels
        below.past = past
        below.reported = max(below.reported, top.reported)

    def is_stable(self, component: Component) -> bool:
        last, limits = component.past, self.parameters
        if last is None or not limits.min_area < last.size < limits.max_area:
            return False
        target = component.level - limits.delta
        if last.level <= target and last.older:
            reference = last.older
        else:
            reference = last
            while reference.level > target and reference.older:
                reference = reference.older
        f32 = np.float32
        variation = f32(component.size - reference.size) / f32(reference.size)
        rising = bool(component.variation < variation) or last.level + 1 < component.level
        stable = (
            rising
            and not component.rising
            and component.variation < f32(limits.max_variation)
            and f32(last.size - component.reported) / f32(last.size) > f32(limits.min_diversity)
        )
        component.variation, component.rising = variation, rising
        if stable:
            component.reported = last.size
        return bool(stable)

    def record(self, component: Component) -> bool:
        if len(self.found.regions) == self.capacity:
            self.found.overflow = True
            return False
        self.found.regions.append(
            Region(
                component.pixels[: component.reported],
                min(int(component.variation * np.float32(10000)), 2**32 - 1),
                self.polarity,
                component.node_id,
                self.found.nodes,
            )
        )
        return True


def trimmed(minus: int, plus: int, capacity: int) -> tuple[int, int]:
    """How many regions of each polarity remain of these."""
    if minus + plus <= capacity:
        return minus, plus
    if minus >= capacity and plus >= capacity:
        return capacity // 2, capacity // 2
    return (capacity - plus, plus) if minus > plus else (minus, capacity - minus)


def extract(
    image: Array, parameters: Parameters, handle: tuple[int, int], capacity: int, room: int
) -> tuple[list[Region], int]:
    """What a call gives, and how many of the regions are bright; `room` is for points."""
    height, width = image.shape
    if width > handle[0] or height > handle[1]:
        return [], 0
    limits = parameters.for_image(handle, (width, height))
    minus = search(image, limits, -1, capacity)
    plus = search(image, limits, 1, capacity)
    count = trimmed(len(minus.regions), len(plus.regions), capacity)
    regions = minus.regions[: count[0]] + [
        replace(r, node_id=r.node_id + minus.nodes, node_counter=r.node_counter + minus.nodes)
        for r in plus.regions[: count[1]]
    ]
    if sum(len(region.pixels) for region in regions) > room:
        return [], 0
    return regions, count[0]
