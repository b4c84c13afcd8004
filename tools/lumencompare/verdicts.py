"""Which verdicts of a run changed against another's."""

from collections.abc import Iterator
from dataclasses import dataclass
from enum import Enum, auto

from lumenrecords.record import Record, Subject
from lumenrecords.select import checks_of, module_verdicts, overall_verdict, subjects_in_order
from lumenrecords.verdict import Verdict


class Kind(Enum):
    NEWLY_FAILING = auto()  # fails and did not, or passed and comes to less now
    MENDED = auto()
    UNTESTED = auto()  # has a verdict that tells something in the first run alone
    NONE = auto()


@dataclass(frozen=True)
class VerdictChange:
    subject: Subject  # of a module or of the whole run where parts of it are empty
    check: str
    a: Verdict | None  # None: not in the record
    b: Verdict | None

    @property
    def kind(self) -> Kind:
        failed = self.a is not None and self.a.is_failure
        if self.b is None or self.b is Verdict.SKIPPED:
            told = self.a is not None and self.a not in (Verdict.SKIPPED, Verdict.NOT_BUILT)
            return Kind.UNTESTED if told else Kind.NONE
        if failed:
            return Kind.MENDED if self.b is Verdict.PASS else Kind.NONE
        lost = self.a is Verdict.PASS and self.b is not Verdict.PASS
        return Kind.NEWLY_FAILING if lost or self.b.is_failure else Kind.NONE

    def __str__(self) -> str:
        return f"{self.subject} {self.check}".strip() or "the run"


def verdict_changes(a: Record, b: Record) -> list[VerdictChange]:
    """Of checks; of modules and of the run where no check tells the same already."""
    changes = list(_of_checks(a, b))
    told = {(change.subject.module, change.kind) for change in changes}
    changes += [change for change in _of_modules(a, b)
                if (change.subject.module, change.kind) not in told]
    run = VerdictChange(Subject(), "", overall_verdict(a), overall_verdict(b))
    if b.cut_off or not any(change.kind is run.kind for change in changes):
        changes.append(run)
    return [change for change in changes if change.kind is not Kind.NONE]


def _of_checks(a: Record, b: Record) -> Iterator[VerdictChange]:
    checks_a, checks_b = checks_of(a), checks_of(b)
    for subject in subjects_in_order(checks_a.keys() | checks_b.keys(), a):
        of_a, of_b = checks_a.get(subject, {}), checks_b.get(subject, {})
        for name in dict.fromkeys([*of_a, *of_b]):
            yield VerdictChange(subject, name, *(
                of[name].verdict if name in of else None for of in (of_a, of_b)))


def _of_modules(a: Record, b: Record) -> Iterator[VerdictChange]:
    modules_a, modules_b = module_verdicts(a), module_verdicts(b)
    for module in dict.fromkeys([*modules_a, *modules_b]):
        yield VerdictChange(Subject(module), "", modules_a.get(module), modules_b.get(module))
