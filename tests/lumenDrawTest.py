"""tools/lumen-draw calls the library as its headers declare it: detectors find the corners and
regions of plain scenes, the same in both columns. Those that no header declares are refused.

Arguments: the tool's folder, the shared library, the folder of the headers.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

import numpy as np

tools, built, headers = map(pathlib.Path, sys.argv[1:])
sys.path.insert(0, str(tools))

from lumendraw import cli, images, marks  # noqa: E402

WIDTH, HEIGHT, LEFT, TOP, RIGHT, BOTTOM = 121, 83, 40, 20, 78, 60  # of the scene, of its rectangle
REACH = 9  # pixels: how far from a corner of the rectangle a detector may put it, and an arm ends
DECLARED = {
    name
    for header in headers.glob("*.h")
    for name in re.findall(r"^LUMEN_API\b[^;(]*?(\w+)\(", header.read_text(), re.MULTILINE)
}
DETECTORS = {
    "fast9": "lumCornerFast9Scoreu8_v2",
    "fast10": "lumCornerFast10Scoreu8",
    "harris": "lumCornerHarrisu8",
    "good": "lumGoodFeatureToTracku8",
    "mser": "lumMserExtu8_v2",
}
failures = 0


def require(condition: bool, what: str) -> None:
    global failures
    if not condition:
        failures += 1
        print(f"FAILED: {what}")


def places(pixels: np.ndarray, colour: tuple[int, int, int]) -> set[tuple[int, int]]:
    y, x = np.nonzero((pixels == colour).all(axis=2))
    return set(zip(x.tolist(), y.tolist()))


def run(*words: object) -> subprocess.CompletedProcess[str]:
    command = [sys.executable, tools / "lumen-draw", *words]
    return subprocess.run(list(map(str, command)), text=True, capture_output=True)


def check_corners(detector: str, said: str, pixels: np.ndarray) -> None:
    marked = places(pixels, cli.CORNER)
    count = re.match(r"(\d+) corners\n$", said)
    require(bool(count) and 4 <= int(count[1]) <= 12, f"{detector} said {said!r}")
    near = [{(x, y) for x, y in marked if max(abs(x - u), abs(y - v)) <= REACH}
            for u in (LEFT, RIGHT) for v in (TOP, BOTTOM)]
    require(all(near), f"{detector} missed a corner of the rectangle")
    require(set().union(*near) == marked, f"{detector} marked what is no corner")


def draw_region(canvas: np.ndarray, form: tuple[str, ...], level: int) -> None:
    y, x = np.nonzero(disc >= level)
    if "--boxes" in form:
        extent = int(x.min()), int(y.min()), int(x.max()), int(y.max())
        marks.box(canvas, extent, cli.BRIGHT, 1)
    else:
        marks.outline(canvas, np.stack([x, y], axis=1), cli.BRIGHT, 1)


def check_regions(form: tuple[str, ...], said: str, pixels: np.ndarray) -> None:
    """Regions of the disc are all that is as bright as some level, one in another."""
    count = re.match(r"0 dark and (\d+) bright regions\n$", said)
    require(bool(count) and int(count[1]) >= 3, f"mser {form} said {said!r}")
    drawn = (pixels == cli.BRIGHT).all(axis=2)
    require(drawn.any() and not places(pixels, cli.DARK), f"mser {form} drew other colours")
    if not drawn.any():
        return
    expected = images.canvas(disc, 1)
    middle = disc[HEIGHT // 2].astype(int)
    for x in np.flatnonzero(drawn[HEIGHT // 2, : WIDTH // 2]):  # where regions begin
        for level in range(middle[x - 1] + 1, middle[x] + 1):
            alone = expected.copy()
            draw_region(alone, form, level)
            if not ((alone == cli.BRIGHT).all(axis=2) & ~drawn).any():
                expected = alone
                break
    require(np.array_equal(expected, pixels), f"mser {form} drew other regions")


def bright_regions(*options: object) -> int:
    ran = run("mser", *options, "--library", built, picture, result)
    require(ran.returncode == 0, f"mser {options}: {ran.stderr}")
    return int(re.search(r"(\d+) bright", ran.stdout)[1])


scene = np.full((HEIGHT, WIDTH), 40, np.uint8)
scene[TOP:BOTTOM + 1, LEFT:RIGHT + 1] = 200
scene[[TOP, TOP, BOTTOM, BOTTOM], [LEFT, RIGHT, LEFT, RIGHT]] = 230  # without equal neighbours
row, column = np.mgrid[:HEIGHT, :WIDTH]
distance = np.hypot(column - WIDTH // 2, row - HEIGHT // 2)
disc = (40 + 160 / (1 + np.exp(distance / 5 - 4))).astype(np.uint8)
called = 0
with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    picture, result = folder / "in.pgm", folder / "out.ppm"
    header = b"P5\n%d %d\n255\n" % (WIDTH, HEIGHT)
    for detector, function in DETECTORS.items():
        forms = (("--boxes",), ("--neighbours", "8"), ()) if detector == "mser" else ((),)
        shown = disc if detector == "mser" else scene
        picture.write_bytes(header + shown.tobytes())
        for form in forms:
            drawn = []
            for column in ((), ("--reference",)):
                ran = run(detector, *form, *column, "--library", built, picture, result)
                if function not in DECLARED:
                    require(ran.returncode == cli.UNUSABLE and "has no function" in ran.stderr,
                            f"{detector}: {ran.stderr}")
                    continue
                require(ran.returncode == 0, f"{detector}: {ran.stderr}")
                if ran.returncode:
                    continue
                called += 1
                drawn.append(images.read(result))
                if detector == "mser":
                    check_regions(form, ran.stdout, drawn[-1])
                else:
                    check_corners(detector, ran.stdout, drawn[-1])
                result.unlink()
            same = all(np.array_equal(drawn[0], other) for other in drawn[1:])
            require(same, f"{detector}: the columns differ")
    picture.write_bytes(header + disc.tobytes())
    usual = bright_regions("--max", 100)
    # Each option reaches the parameter of its name: these leave nothing of the disc, or less or more.
    for none in ("--max-variation", 0.01), ("--delta", 60), ("--max-area", 200):
        require(bright_regions(*none) == 0, f"mser {none} found regions")
    for less in ("--min-diversity", 0.9), ("--min-area", 2000), ("--max", 2):
        require(0 < bright_regions(*less) < usual, f"mser {less} found all or none")
    require(bright_regions("--min-diversity", 0) > usual, "mser --min-diversity 0 left regions out")
    result.unlink()
    if "lumCornerFast9Scoreu8_v2" in DECLARED:
        ran = run("fast9", "--border", "50", "--library", built, picture, result)
        require(ran.returncode == cli.UNUSABLE and "refused the picture" in ran.stderr,
                f"a border without pixels: {ran.stderr}")
        require(not result.exists(), "a refused picture was written")

print(f"{called} calls of detectors, {failures} failures")
sys.exit(failures > 0)
