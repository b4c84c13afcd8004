"""Lists that help to tend the tests: tolerances with slack, slow checks; and several records side
by side."""

from collections import defaultdict
from collections.abc import Sequence

from lumenrecords import show
from lumenrecords.record import Record
from lumenrecords.select import (
    function_verdicts,
    ratio,
    slack_tolerances,
    slowest_checks,
    subjects_in_order,
    timings,
)
from lumenrecords.verdict import Verdict

from .charts import bar
from .markup import Html, number_cell, number_head, table, tag
from .parts import Source, badge, note

SLACK = 10  # times the largest difference
MAX_SLACK = 100
SLOWEST = 10
NOTABLE = 0.03  # a change of a median that is set in bold


def slack(record: Record) -> Html:
    found = slack_tolerances(record, SLACK)
    if not found:
        return note("None.")
    slots: dict[tuple[str, ...], list[str]] = defaultdict(list)  # that share all else
    for item in found:
        factor = show.factor(item.factor) if item.difference else "–"
        numbers = map(show.number, (item.tolerance, item.difference))
        slots[item.subject.function, *numbers, factor, show.number(item.cases)].append(
            item.subject.slot)
    rows = [
        [function, " ".join(of), *map(number_cell, numbers)]
        for (function, *numbers), of in list(slots.items())[:MAX_SLACK]
    ]
    head = ["function", "slots", *map(number_head, ("allowed", "largest seen", "factor", "cases"))]
    left = len(slots) - len(rows)
    return tag("div", table(head, rows), note(f"{left} more.") if left else None, class_="card")


def slowest(record: Record) -> Html:
    checks = slowest_checks(record, SLOWEST)
    if not checks:
        return note("No check says how long it took.")
    longest = checks[0].seconds or 0
    rows = []
    for check in checks:
        seconds = check.seconds or 0
        time = show.duration(seconds * 1e9)
        rows.append([check.subject.function, check.subject.slot, check.check, number_cell(time),
                     tag("td", bar(seconds, longest)),
                     number_cell(show.number(check.cases))])
    head = ["function", "slot", "check", number_head("time"), "", number_head("cases")]
    return tag("div", table(head, rows), class_="card")


def side_by_side(sources: Sequence[Source]) -> Html:
    """Medians of all records and their ratio to the first."""
    of_record = [timings(source.record) for source in sources]
    keys = dict.fromkeys(key for times in of_record for key in times)
    if not keys:
        return note("No record has times.")
    order = {subject: place for place, subject in enumerate(
        subjects_in_order({key.subject for key in keys}, sources[0].record))}
    head: list[object] = ["function", "slot", "size", "state", number_head(sources[0].label)]
    for source in sources[1:]:
        head += map(number_head, (source.label, f"{source.label} / {sources[0].label}"))
    rows = []
    for key in sorted(keys, key=lambda key: (order[key.subject], key.order)):
        medians = [times[key].median if key in times else None for times in of_record]
        cells: list[object] = [key.subject.function, key.subject.slot, key.size, key.state,
                               number_cell(show.duration(medians[0]))]
        for median in medians[1:]:
            cells += [number_cell(show.duration(median)), _ratio_cell(ratio(median, medians[0]))]
        rows.append(cells)
    return table(head, rows)


def _ratio_cell(value: float | None) -> Html:
    if value is None:
        return number_cell("–")
    notable = max(value, 1 / value) > 1 + NOTABLE
    text = f"{value:.3f}"
    return number_cell(tag("span", text, class_="slow") if notable else text)


def differing_verdicts(sources: Sequence[Source]) -> Html:
    of_record = [function_verdicts(source.record) for source in sources]
    subjects = {subject for verdicts in of_record for subject in verdicts}
    differing = [
        subject
        for subject in subjects_in_order(subjects, sources[0].record)
        if len({verdicts.get(subject) for verdicts in of_record}) > 1
    ]
    if not differing:
        return note("No function's verdict differs.")
    rows = [
        [subject.function, subject.slot,
         *(_verdict_cell(verdicts.get(subject)) for verdicts in of_record)]
        for subject in differing
    ]
    return table(["function", "slot", *(source.label for source in sources)], rows)


def _verdict_cell(verdict: Verdict | None) -> Html:
    return tag("td", "–" if verdict is None else badge(verdict))
