"""What a check, a function or a module came to."""

from collections.abc import Iterable
from enum import StrEnum


class Verdict(StrEnum):
    """In the order of how much attention each needs; of several, the last one speaks for all."""

    SKIPPED = "SKIPPED"
    PASS = "PASS"
    NOT_BUILT = "NOT_BUILT"
    FELL_BACK = "FELL_BACK"
    UNKNOWN = "UNKNOWN"  # a word that this reader does not know, or none
    FAIL = "FAIL"
    TIMEOUT = "TIMEOUT"
    CRASHED = "CRASHED"

    @property
    def severity(self) -> int:
        return _SEVERITY[self]

    @property
    def is_failure(self) -> bool:
        return self.severity >= Verdict.FAIL.severity

    @property
    def label(self) -> str:
        return self.value.replace("_", " ")


_SEVERITY = {verdict: index for index, verdict in enumerate(Verdict)}


def verdict_of(word: object) -> Verdict:
    if isinstance(word, str) and word in Verdict.__members__:
        return Verdict(word)
    return Verdict.UNKNOWN


def worst(verdicts: Iterable[Verdict]) -> Verdict:
    """SKIPPED where there is none."""
    return max(verdicts, key=lambda verdict: verdict.severity, default=Verdict.SKIPPED)
