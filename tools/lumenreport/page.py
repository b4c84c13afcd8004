"""The page as a whole."""

from collections.abc import Sequence
from pathlib import Path
from string import ascii_uppercase

from lumenrecords import show
from lumenrecords.record import Record

from .failures import failures
from .functions import MAX_DISTRIBUTIONS, functions
from .head import head, legend
from .lists import NOTABLE, SLACK, SLOWEST, differing_verdicts, side_by_side, slack, slowest
from .markup import Html, tag
from .matrix import matrix
from .parts import Source, note, section, warning
from .pictures import Budget

PICTURES = 1_500_000  # bytes of all pictures
MAX_RECORDS = len(ascii_uppercase)

# The page needs nothing from anywhere and runs nothing.
_POLICY = "default-src 'none'; style-src 'unsafe-inline'; img-src data:"


def page(records: Sequence[tuple[Path, Record]]) -> str:
    budget = Budget(PICTURES)
    labels = ascii_uppercase if len(records) > 1 else [""]
    sources = [Source(record, path, label, budget)
               for (path, record), label in zip(records, labels)]
    body = tag(
        "body",
        tag("h1", "lumenTest report"),
        *(head(source) for source in sources),
        legend(),
        *(_comparison(sources) if len(sources) > 1 else []),
        *(part for source in sources for part in _record(source)),
    )
    style = Html(Path(__file__).with_name("style.css").read_text("utf-8"))
    names = ", ".join(source.path.name for source in sources)
    page_head = tag(
        "head",
        tag("meta", charset="utf-8"),
        tag("meta", name="viewport", content="width=device-width, initial-scale=1"),
        tag("meta", http_equiv="Content-Security-Policy", content=_POLICY),
        tag("title", f"lumenTest: {names}"),
        tag("style", style),
    )
    return f"<!DOCTYPE html>\n{tag('html', page_head, body, lang='en')}\n"


def _record(source: Source) -> list[Html]:
    record = source.record
    suffix = f" ({source.label})" if source.label else ""
    blocks = functions(source)
    return [
        section(f"Modules and slots{suffix}", matrix(source)),
        section(f"Failures{suffix}", *failures(source)),
        section(f"Functions{suffix}", *_undrawn(record),
                note("Below a check's verdict: cases, and the largest difference that was seen "
                     "beside what is allowed."),
                *(blocks or [note("No line is about a function.")])),
        section(f"Slack tolerances{suffix}",
                note(f"What is allowed is at least {SLACK} times the largest difference that was "
                     "seen; – where none was seen at all."),
                slack(record)),
        section(f"Slowest checks{suffix}",
                note(f"The {show.count(SLOWEST, 'check')} that took longest."), slowest(record)),
    ]


def _undrawn(record: Record) -> list[Html]:
    if len(record.benches) <= MAX_DISTRIBUTIONS:
        return []
    return [note("To keep the page small, only unstable timings show their samples.")]


def _comparison(sources: Sequence[Source]) -> list[Html]:
    content = [
        note("Medians of a call, and their ratio to those of A: above 1 is slower. Ratios that "
             f"are off by more than {NOTABLE * 100:g} % are bold; whether a change is more "
             "than noise, lumen-compare tells."),
        *_strangers(sources),
        side_by_side(sources),
        tag("h4", "Verdicts that differ"),
        differing_verdicts(sources),
    ]
    return [section("Side by side", tag("div", *content, class_="card"))]


def _strangers(sources: Sequence[Source]) -> list[Html]:
    """Records whose times have little to do with each other."""
    first = sources[0].record.run
    return [
        warning(f"{source.label} was not run like A: {', '.join(names)}.")
        for source in sources[1:]
        if (names := first.differences(source.record.run))
    ]
