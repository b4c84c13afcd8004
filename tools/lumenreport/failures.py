"""Failures, each with the command that repeats it."""

from collections import defaultdict

from lumenrecords import show
from lumenrecords.record import Case, Check, Row, Subject
from lumenrecords.select import (
    ROW_CHECK,
    failed_cases,
    failed_checks_without_case,
    failed_rows,
    repeating_command,
    subjects_in_order,
)
from lumenrecords.verdict import worst

from .markup import Html, join, tag
from .parts import Source, badge, note
from .pictures import PictureError, picture_of_difference, possible_folders

MAX_SHOWN = 200


Failure = Case | Check


def failures(source: Source) -> list[Html]:
    """A card for each function and slot."""
    record = source.record
    found: list[Failure] = [
        *failed_cases(record),
        *_row_cases(failed_rows(record)),
        *failed_checks_without_case(record),
    ]
    if not found:
        return [note("None is known." if record.cut_off else "None.")]
    by_subject: dict[Subject, list[Failure]] = defaultdict(list)
    for item in found[:MAX_SHOWN]:
        by_subject[item.subject].append(item)
    shown = [_card(source, subject, by_subject[subject])
             for subject in subjects_in_order(by_subject, record)]
    if len(found) > MAX_SHOWN:
        shown.append(note(f"{len(found) - MAX_SHOWN} more are in the record."))
    return shown


def _row_cases(rows: list[Row]) -> list[Case]:
    """One for each script: the same command repeats all of its rows."""
    by_script: dict[tuple[Subject, str], list[Row]] = defaultdict(list)
    for row in rows:
        by_script[row.subject, row.script].append(row)
    cases = []
    for (subject, script), of_script in by_script.items():
        numbers = ", ".join(dict.fromkeys(show.number(row.row) for row in of_script))
        most = max(of_script, key=lambda row: row.difference or 0)
        cases.append(Case(
            subject, ROW_CHECK, f"{ROW_CHECK}, rows {numbers} of {script or '?'}",
            verdict=worst(row.verdict for row in of_script),
            difference=most.difference, tolerance=most.tolerance))
    return cases


def _card(source: Source, subject: Subject, items: list[Failure]) -> Html:
    title = tag("h3", f"{subject.function}, slot {subject.slot}")
    verdict = badge(worst(item.verdict for item in items))
    return tag("div", tag("div", title, verdict, class_="line"),
               *(_failure(source, item) for item in items), class_="card")


def _failure(source: Source, item: Failure) -> Html:
    if isinstance(item, Case):
        # The case's text mostly says which check it is of.
        what = item.case if item.check in item.case else f"{item.check}: {item.case}"
        texts = [what, _difference(item), _access(item), item.detail]
    else:
        texts = [item.check, _difference(item), item.detail]
    command = item.command if isinstance(item, Case) else ""
    return tag(
        "div",
        *(tag("p", text) for text in texts if text),
        tag("pre", command or repeating_command(source.record, item.subject)),
        *(_pictures(source, item) if isinstance(item, Case) else []),
        class_="failure",
    )


def _difference(item: Failure) -> str:
    if item.difference is None:
        return ""
    allowed = f", allowed {show.number(item.tolerance)}" if item.tolerance is not None else ""
    return f"largest difference {show.number(item.difference)}{allowed}"


def _access(case: Case) -> str:
    if not case.access and case.offset is None:
        return ""
    verb = {"read": "read from", "write": "wrote to"}.get(case.access, "touched")
    if case.offset is None:
        return f"{verb} {case.buffer or 'a buffer'}"
    side = "before" if case.offset < 0 else "after"
    distance = show.count(abs(case.offset), "byte")
    return f"{verb} {case.buffer or 'a buffer'}, {distance} {side} its start"


def _pictures(source: Source, case: Case) -> list[Html]:
    if not case.saved:
        return []
    saved = join(["saved in ", tag("code", case.saved), "."])
    if not (case.reference and case.result):
        return [note(saved)]
    folders = list(possible_folders(source.path, case.saved))
    try:
        difference = picture_of_difference(folders, case.reference, case.result)
    except PictureError as error:
        return [note(f"No picture: {error}; ", saved)]
    if not source.budget.take(difference):
        return [note("No picture: the page holds enough of them; ", saved)]
    figures = (
        tag("figure",
            tag("img", src=shown.uri, width=shown.width, height=shown.height, alt=shown.title),
            tag("figcaption", shown.title))
        for shown in difference.pictures
    )
    return [tag("div", *figures, class_="pictures"), note(difference.caption, "; ", saved)]
