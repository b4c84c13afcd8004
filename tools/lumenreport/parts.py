"""Pieces that several sections of the page share."""

import re
from collections import Counter
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path

from lumenrecords.record import SLOTS, Record
from lumenrecords.verdict import Verdict

from .markup import Html, tag
from .pictures import Budget

_CLASSES = {
    Verdict.PASS: "good",
    Verdict.SKIPPED: "skipped",
    Verdict.NOT_BUILT: "none",
    Verdict.FELL_BACK: "odd",
    Verdict.UNKNOWN: "odd",
}


@dataclass(frozen=True)
class Source:
    """A record in the page, where there may be several."""

    record: Record
    path: Path
    label: str  # "A", "B", ...; "" when it is the only one
    budget: Budget

    def anchor(self, *words: str) -> str:
        """An id within the page."""
        plain = (re.sub(r"[^A-Za-z0-9]+", "_", word) for word in words)
        return "-".join([f"r{self.label}", *plain])


def badge(verdict: Verdict, text: str = "", class_: str = "") -> Html:
    classes = f"badge {_CLASSES.get(verdict, 'bad')} {class_}".strip()
    return tag("span", text or verdict.label, class_=classes)


def tally(verdicts: Iterable[Verdict]) -> list[tuple[Verdict, str]]:
    """How many there are of each, as "1 FAIL" and "11 PASS", the worst first."""
    counts = Counter(verdicts)
    kinds = sorted(counts, key=lambda verdict: -verdict.severity)
    return [(verdict, f"{counts[verdict]} {verdict.label}") for verdict in kinds]


def tally_text(verdicts: Iterable[Verdict]) -> str:
    return ", ".join(text for _, text in tally(verdicts))


def slot_head(slot: str) -> Html:
    return tag("th", slot, tag("span", SLOTS.get(slot, ""), class_="small"))


def section(title: str, *content: object, id_: str | None = None) -> Html:
    return tag("section", tag("h2", title), *content, id=id_)


def facts(items: Iterable[tuple[str, object]]) -> Html:
    """What is empty is left out."""
    given = [(name, value) for name, value in items if value not in ("", None)]
    return tag(
        "dl",
        *(tag("div", tag("dt", name), tag("dd", value)) for name, value in given),
        class_="facts",
    )


def warning(*content: object, cut: bool = False) -> Html:
    return tag("p", *content, class_="warning cut" if cut else "warning", role="note")


def note(*content: object) -> Html:
    return tag("p", *content, class_="note")
