"""What each function came to: checks by slots, speed-up, samples."""

from collections import defaultdict
from dataclasses import replace

from lumenrecords import show
from lumenrecords.record import Bench, Check, slot_order
from lumenrecords.select import Checks, TimingKey, checks_of, ratio, subjects_in_order, timings
from lumenrecords.verdict import Verdict, worst

from .charts import Axis, bar, common_axis, distribution
from .markup import Html, number_cell, number_head, table, tag
from .parts import Source, badge, slot_head, tally_text

MAX_DISTRIBUTIONS = 2000  # where there are more timings, only unstable ones show their samples

Times = dict[TimingKey, Bench]


def functions(source: Source) -> list[Html]:
    """One block for each module."""
    record = source.record
    checks, times = checks_of(record), _drawn(timings(record))
    subjects = subjects_in_order({*checks, *(key.subject for key in times)}, record)
    names: dict[str, dict[str, None]] = defaultdict(dict)  # of functions, in their order
    for subject in subjects:
        names[subject.module][subject.function] = None
    blocks = []
    for module, of_module in names.items():
        cards = [_function(source, module, name, checks, times) for name in of_module]
        summary = f"{module or '(no module)'}: {show.count(len(cards), 'function')}"
        blocks.append(tag("details", tag("summary", summary), *cards, open=True,
                          id=source.anchor("module", module)))
    return blocks


def _drawn(times: Times) -> Times:
    """Without the samples that would make the page too large."""
    if len(times) <= MAX_DISTRIBUTIONS:
        return times
    return {key: bench if bench.unstable else replace(bench, samples=())
            for key, bench in times.items()}


def _function(source: Source, module: str, name: str, checks: Checks, times: Times) -> Html:
    own_checks = {
        subject.slot: of for subject, of in checks.items()
        if (subject.module, subject.function) == (module, name)
    }
    own_times = {
        key: bench for key, bench in times.items()
        if (key.subject.module, key.subject.function) == (module, name)
    }
    slots = [worst(check.verdict for check in of.values()) for of in own_checks.values()]
    verdict = badge(worst(slots), f"slots: {tally_text(slots)}" if slots else "not checked")
    return tag(
        "article",
        tag("div", tag("h3", name), verdict, class_="line"),
        _check_table(own_checks) if own_checks else None,
        *_time_tables(own_times),
        class_="card",
        id=source.anchor("function", module, name),
    )


def _check_table(checks: dict[str, dict[str, Check]]) -> Html:
    slots = sorted(checks, key=slot_order)
    names = dict.fromkeys(name for of in checks.values() for name in of)
    rows = [
        [tag("th", name or "?", scope="row"),
         *(_check_cell(checks[slot].get(name)) for slot in slots)]
        for name in names
    ]
    return table(["check", *map(slot_head, slots)], rows)


def _check_cell(check: Check | None) -> Html:
    if check is None:
        return tag("td", "–")
    cases = show.count(check.cases, "case") if check.cases is not None else ""
    if check.failed_cases:
        failed = " failed" if check.verdict.is_failure else ""
        cases = f"{show.number(check.failed_cases)} of {cases or '?'}{failed}"
    seen = ""
    if check.difference is not None and check.tolerance is not None:
        relation = "≤" if check.difference <= check.tolerance else ">"
        seen = f"{show.number(check.difference)} {relation} {show.number(check.tolerance)}"
    return tag(
        "td",
        badge(check.verdict),
        tag("span", cases, class_="small") if cases else None,
        tag("span", seen, class_="small") if seen else None,
    )


def _time_tables(times: Times) -> list[Html]:
    if not times:
        return []
    ups = {key: ratio(times[key.reference].median, bench.median)
           for key, bench in times.items() if key.reference in times}
    largest = max((up for up in ups.values() if up), default=1.0)
    drawn = [bench.samples for bench in times.values() if len(bench.samples) > 1]
    axis = common_axis(drawn) if drawn else None
    groups: dict[tuple[str, str], list[TimingKey]] = defaultdict(list)
    for key in times:
        groups[key.size, key.state].append(key)
    tables = []
    for (size, state), keys in groups.items():  # in the order of the run
        title = f"{size} pixels, {state}" if state else f"{size} pixels"
        rows = [_time_row(key, times[key], ups.get(key), largest, axis)
                for key in sorted(keys, key=lambda key: slot_order(key.subject.slot))]
        tables += [tag("h4", title), table(_head(axis), rows, "times")]
    return tables


def _head(axis: Axis | None) -> list[object]:
    return [
        "slot",
        number_head("median"),
        tag("th", "speed-up over C", colspan=2),
        tag("th", "samples", tag("span", axis, class_="small") if axis else None),
        tag("th", "spread", class_="n wide", title="median absolute deviation of the median"),
        tag("th", "fastest", class_="n wide"),
        tag("th", "95th percentile", class_="n wide"),
        tag("th", "a pixel", class_="n wide"),
        tag("th", "samples × calls", class_="n wide"),
    ]


def _time_row(key: TimingKey, bench: Bench, up: float | None, largest: float,
              axis: Axis | None) -> list[object]:
    chart = None
    if axis and len(bench.samples) > 1:
        chart = distribution(bench.samples, axis, f"distribution of {len(bench.samples)} samples")
    unstable = badge(Verdict.UNKNOWN, "unstable") if bench.unstable else None
    return [
        tag("td", key.subject.slot, " ", unstable),
        number_cell(show.duration(bench.median)),
        number_cell(show.factor(up)),
        tag("td", bar(up, largest, 1.0) if up else None),
        tag("td", chart),
        *(tag("td", text, class_="n wide") for text in (
            show.percent(bench.rmad),
            show.duration(bench.min),
            show.duration(bench.p95),
            "–" if bench.ns_per_pixel is None else f"{bench.ns_per_pixel:.3g} ns",
            _sample_count(bench),
        )),
    ]


def _sample_count(bench: Bench) -> str:
    count = show.number(bench.count if bench.count is not None else len(bench.samples))
    return f"{count} × {show.number(bench.batch)}" if bench.batch else count
