"""Makes records of runs for the tests of the tools that read them."""

import json
import random
from pathlib import Path
from typing import Any

MACHINE = {
    "schema": 1, "version": "1.7.1", "started": "2024-05-01T12:00:00Z",
    "arguments": ["lumenTest", "testdata", "--json=run.jsonl"], "seed": 1234567,
    "machine": "x86_64", "system": "Linux 6.1.0", "host": "bench1", "cpu": "Example CPU 3000",
    "cpus": 8, "compiler": "GNU 12.2.0", "buildType": "Release", "build": "4f2a91c0",
    "vectorTarget": "avx2", "hardwareMask": 6, "emulated": False,
}
SIZE = {"width": 640, "height": 480}
NOT_BUILT = ("DEPTH", "DOT", "SSD", "IIMG", "IDIFF", "TRNS", "WARP", "SCALE", "BLUR", "EDGES",
             "FAST10", "THRESH", "COPY", "KMEANS", "BITCNT", "CONTOUR", "REMAP", "PYRAMID", "MSER")
FORMS = ("u8", "s32", "f32", "Vu8", "Vs32", "Vf32", "Vc3u8", "Vc3s32", "Vc3f32", "Vc4u8")
SPEED = {"C": 1.0, "V": 6.0, "Q": 5.6, "G": 5.8, "L": 1.01, "P": 6.1, "F": 5.9, "S": 6.0}


class RunRecord:
    """Lines of a record. Members that a test does not care about have plausible values."""

    def __init__(self, **machine: Any) -> None:
        self.lines: list[dict[str, Any]] = []
        self.add("run", **{**MACHINE, **machine})

    def add(self, type_name: str, **members: Any) -> "RunRecord":
        self.lines.append({"type": type_name, **members})
        return self

    def module(self, module: str, verdict: str = "PASS") -> "RunRecord":
        return self.add("module", module=module, verdict=verdict)

    def row(self, subject: str, **members: Any) -> "RunRecord":
        return self.add("row", **_subject(subject), **{
            "script": "control_script_u8.csv", "row": 1, "verdict": "PASS", "difference": 0,
            "tolerance": 0, **members})

    def check(self, subject: str, verdict: str = "PASS", **members: Any) -> "RunRecord":
        return self.add("check", **_subject(subject), **{
            "check": "golden", "verdict": verdict, "cases": 24, "failedCases": 0, "difference": 0,
            "tolerance": 0, "seconds": 0.01, "detail": "", **members})

    def case(self, subject: str, verdict: str = "FAIL", **members: Any) -> "RunRecord":
        return self.add("case", **_subject(subject), **{
            "check": "sweep", "case": "w=17,h=3", "command": "lumenTest testdata --case=w=17,h=3",
            "verdict": verdict, "difference": 3, "tolerance": 0, "detail": "", **members})

    def bench(self, subject: str, samples: list[float], **members: Any) -> "RunRecord":
        ordered = sorted(samples)
        median = ordered[len(ordered) // 2]
        deviations = sorted(abs(sample - median) for sample in samples)
        rmad = deviations[len(samples) // 2] / median if median else None
        return self.add("bench", **_subject(subject), **{
            **SIZE, "state": "hot", "min": ordered[0], "median": median,
            "p95": ordered[int(len(ordered) * 0.95)], "rmad": rmad,
            "count": len(samples), "batch": 4, "unstable": bool(rmad and rmad > 0.05),
            "nsPerPixel": median / (640 * 480), "samples": samples, **members})

    def end(self, verdict: str = "PASS") -> "RunRecord":
        return self.add("end", verdict=verdict, exitStatus=int(verdict != "PASS"), seconds=12.5)

    def text(self) -> str:
        return "".join(json.dumps(line) + "\n" for line in self.lines)

    def write(self, path: Path, cut: int = 0) -> Path:
        """Without its last `cut` characters."""
        text = self.text()
        path.write_text(text[: len(text) - cut], "utf-8")
        return path


def _subject(words: str) -> dict[str, str]:
    """From "ABSDIFF/lumAbsDiffu8/V"."""
    return dict(zip(("module", "function", "slot"), words.split("/")))


def samples(median: float, count: int = 60, seed: int = 1, noise: float = 0.01) -> list[float]:
    """Times as they are: skewed, with a few far out."""
    source = random.Random(seed)
    return [
        round(median * (1 + noise * source.gauss(0, 1) + (0.2 * (source.random() < 0.02))), 1)
        for _ in range(count)
    ]


def plausible_run(seed: int = 1, faults: bool = True, slower: float = 1.0,
                  **machine: Any) -> RunRecord:
    """A run of two modules with functions, two without, and many that are not built."""
    record = RunRecord(**machine)
    record.add("environment", when="before", governor=["performance"] * 8,
               frequency=[3000000.0] * 8, temperature=[41.0, 43.5])
    for name in ("HW", "MEM"):
        record.module(name)
    for name in NOT_BUILT:
        record.module(name, "NOT_BUILT")
    _module(record, "ABSDIFF", "lumAbsDiff", seed, faults, slower)
    _module(record, "AVERAGE", "lumAverage", seed + 1000, False, 1.0)
    record.add("environment", when="after", governor=["performance"] * 8,
               frequency=[2900000.0, 3000000.0] * 4, temperature=[61.0, 63.5])
    return record.end("FAIL" if faults else "PASS")


def _module(record: RunRecord, module: str, prefix: str, seed: int, faults: bool,
            slower: float) -> None:
    for place, form in enumerate(FORMS):
        function = prefix + form
        for slot, speed in SPEED.items():
            subject = f"{module}/{function}/{slot}"
            faulty = faults and (form, slot) == ("Vu8", "V")
            if faulty:
                record.case(subject, detail="pixel (3, 1): 17 for 20")
            record.check(subject, tolerance=1 if module == "AVERAGE" else 0,
                         difference=0.04 if form == "f32" else 0, seconds=0.01 * (place + 1))
            record.check(subject, "FAIL" if faulty else "PASS", check="sweep", cases=4200,
                         failedCases=17 if faulty else 0, difference=3 if faulty else 0)
            fell_back = faults and slot in "QG"
            record.check(subject, "FELL_BACK" if fell_back else "PASS", check="attest", cases=1,
                         difference=None, tolerance=None)
            for index, state in enumerate(("hot", "flushed")):
                median = 5e4 * (1 + place / 3) * (1 + index * 0.4) / speed
                noise = 0.08 if (form, slot) == ("s32", "G") else 0.01
                record.bench(subject, samples(median * (slower if slot == "V" else 1),
                                              seed=seed + place * 16 + index, noise=noise),
                             state=state)
    record.module(module, "FAIL" if faults else "PASS")
