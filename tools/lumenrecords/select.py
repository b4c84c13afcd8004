"""What tools ask of a record: verdicts, timings, tolerances with slack, failures."""

import shlex
from collections import defaultdict
from collections.abc import Iterable
from dataclasses import dataclass, replace
from pathlib import Path

import numpy as np

from .record import REFERENCE_SLOT, Bench, Case, Check, Record, Row, Subject, slot_order
from .verdict import Verdict, worst

PROGRAM = "lumenTest"
ROW_CHECK = "golden"  # the check that control-script rows belong to

Checks = dict[Subject, dict[str, Check]]


def checks_of(record: Record) -> Checks:
    """The sum of each check; repetitions are put together. Where a run was cut off before a sum
    was written, what is known of rows and cases stands in, but cannot make the check pass."""
    lines: dict[tuple[Subject, str], list[Check]] = defaultdict(list)
    for check in record.checks:
        lines[check.subject, check.check].append(check)
    summed = set(lines)
    details: list[Row | Case] = [*record.rows, *record.cases]
    for item in details:
        name = item.check if isinstance(item, Case) else ROW_CHECK
        if (item.subject, name) not in summed:
            lines[item.subject, name].append(_unproven(item, name))
    checks: Checks = defaultdict(dict)
    for (subject, name), several in lines.items():
        checks[subject][name] = _together(several)
    return dict(checks)


def _unproven(item: Row | Case, check: str) -> Check:
    verdict = Verdict.UNKNOWN if item.verdict is Verdict.PASS else item.verdict
    return Check(item.subject, check, verdict, 1, verdict.is_failure, item.difference,
                 item.tolerance)


def _together(checks: list[Check]) -> Check:
    if len(checks) == 1:
        return checks[0]

    def values(name: str) -> list[float]:
        return [value for check in checks if (value := getattr(check, name)) is not None]

    return replace(
        checks[0],
        verdict=worst(check.verdict for check in checks),
        **{name: sum(values(name)) for name in ("cases", "failed_cases", "seconds")},
        **{name: max(values(name), default=None) for name in ("difference", "tolerance")},
        detail=next((check.detail for check in checks if check.detail), ""),
    )


def function_verdicts(record: Record) -> dict[Subject, Verdict]:
    """Of all checks of each function in each slot."""
    return {
        subject: worst(check.verdict for check in checks.values())
        for subject, checks in checks_of(record).items()
    }


def module_verdicts(record: Record) -> dict[str, Verdict]:
    """In the order of the run. UNKNOWN for a module that has no verdict since the run was cut off,
    unless something in it failed."""
    verdicts: dict[str, list[Verdict]] = {}
    for line in record.modules:
        verdicts.setdefault(line.module, []).append(line.verdict)
    concluded = set(verdicts)
    for subject, verdict in function_verdicts(record).items():
        if subject.module not in concluded:
            verdicts.setdefault(subject.module, [Verdict.UNKNOWN]).append(verdict)
    return {module: worst(of_module) for module, of_module in verdicts.items()}


def overall_verdict(record: Record) -> Verdict:
    """The program's own verdict, but at best FAIL when a check failed that did not decide it."""
    own = record.end.verdict if record.end else Verdict.CRASHED
    failed = any(verdict.is_failure for verdict in function_verdicts(record).values())
    return worst([own, Verdict.FAIL]) if failed else own


def subjects_in_order(subjects: Iterable[Subject], record: Record) -> list[Subject]:
    """By module and function as the run met them, then by slot; strangers to the run come last."""
    modules: dict[str, int] = {}
    functions: dict[tuple[str, str], int] = {}
    for subject in record.subjects:
        modules.setdefault(subject.module, len(modules))
        functions.setdefault((subject.module, subject.function), len(functions))
    return sorted(
        subjects,
        key=lambda subject: (
            modules.get(subject.module, len(modules)),
            subject.module,
            functions.get((subject.module, subject.function), len(functions)),
            subject.function,
            slot_order(subject.slot),
        ),
    )


@dataclass(frozen=True)
class TimingKey:
    subject: Subject
    width: float | None
    height: float | None
    state: str

    @property
    def size(self) -> str:
        return " x ".join("?" if n is None else f"{n:g}" for n in (self.width, self.height))

    def __str__(self) -> str:
        return f"{self.subject} {self.size} {self.state}".rstrip()

    @property
    def order(self) -> tuple[float, float, bool, str]:
        """A sort key: by size, hot first."""
        return (self.width or 0, self.height or 0, self.state != "hot", self.state)

    @property
    def reference(self) -> "TimingKey":
        """The same in the reference slot."""
        return replace(self, subject=replace(self.subject, slot=REFERENCE_SLOT))


def repetitions(record: Record) -> dict[TimingKey, list[Bench]]:
    """The timings of each function, slot, size and state: several where the run was repeated."""
    found: dict[TimingKey, list[Bench]] = defaultdict(list)
    for bench in record.benches:
        found[TimingKey(bench.subject, bench.width, bench.height, bench.state)].append(bench)
    return dict(found)


def timings(record: Record) -> dict[TimingKey, Bench]:
    """One of each that has a median; all samples of its repetitions count."""
    pooled = {key: _pooled(benches) for key, benches in repetitions(record).items()}
    return {key: bench for key, bench in pooled.items() if bench.median is not None}


def ratio(value: float | None, base: float | None) -> float | None:
    """None where a ratio of times says nothing: a call can seem to take no time at all."""
    return value / base if value and base and value > 0 and base > 0 else None


def _pooled(benches: list[Bench]) -> Bench:
    first = benches[0]
    if len(benches) == 1 and (first.median is not None or not first.samples):
        return first
    samples = np.array([sample for bench in benches for sample in bench.samples])
    if not samples.size:
        return first
    median = float(np.median(samples))
    spread = float(np.median(np.abs(samples - median)))
    pixels = (first.width or 0) * (first.height or 0)
    return replace(
        first,
        min=float(samples.min()),
        median=median,
        p95=float(np.percentile(samples, 95)),
        rmad=spread / median if median > 0 else None,
        count=float(samples.size),
        unstable=any(bench.unstable for bench in benches),
        ns_per_pixel=median / pixels if pixels else None,
        samples=tuple(samples.tolist()),
    )


@dataclass(frozen=True)
class Slack:
    """A tolerance that is far above every difference that was seen."""

    subject: Subject
    tolerance: float
    difference: float
    cases: int  # or rows that were compared

    @property
    def factor(self) -> float:
        return self.tolerance / self.difference if self.difference else float("inf")


def slack_tolerances(record: Record, factor: float) -> list[Slack]:
    """The slackest first: tolerances that are at least `factor` times the largest difference."""
    largest: dict[tuple[Subject, float], float] = defaultdict(float)
    cases: dict[tuple[Subject, float], float] = defaultdict(float)
    for subject, checks in checks_of(record).items():
        for check in checks.values():
            if check.tolerance is None or check.difference is None or not check.cases:
                continue  # nothing was compared
            key = (subject, check.tolerance)
            largest[key] = max(largest[key], check.difference)
            cases[key] += check.cases
    found = [Slack(*key, largest[key], int(cases[key])) for key in largest]
    return sorted(
        (slack for slack in found if slack.tolerance > 0 and slack.factor >= factor),
        key=lambda slack: (-slack.factor, -slack.tolerance),
    )


def slowest_checks(record: Record, count: int) -> list[Check]:
    timed = [check for of in checks_of(record).values() for check in of.values() if check.seconds]
    return sorted(timed, key=lambda check: -(check.seconds or 0))[:count]


def failed_cases(record: Record) -> list[Case]:
    return [case for case in record.cases if case.verdict is not Verdict.PASS]


def failed_rows(record: Record) -> list[Row]:
    return [row for row in record.rows if row.verdict is not Verdict.PASS]


def failed_checks_without_case(record: Record) -> list[Check]:
    """Failures that are told by nothing but the check's sum."""
    told = {(case.subject, case.check) for case in failed_cases(record)}
    told |= {(row.subject, ROW_CHECK) for row in failed_rows(record)}
    return [
        check
        for subject, checks in checks_of(record).items()
        for name, check in checks.items()
        if check.verdict.is_failure and (subject, name) not in told
    ]


def repeating_command(record: Record, subject: Subject) -> str:
    """The run's own command, for one function and slot alone and without its record's files."""
    words = list(record.run.arguments)
    if not words or Path(words[0]).name != PROGRAM:
        words.insert(0, PROGRAM)
    dropped = ("--json=", "--junit=", "--filter=", "--exclude=")
    words += record.run.options.split()
    kept = [word for word in words if not word.startswith(dropped)]
    return shlex.join([*kept, f"--filter={subject}"])
