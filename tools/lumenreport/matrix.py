"""The matrix of verdicts, modules by slots."""

from collections import defaultdict

from lumenrecords import show
from lumenrecords.record import slot_order
from lumenrecords.select import function_verdicts, module_verdicts
from lumenrecords.verdict import Verdict

from .markup import Html, join, table, tag
from .parts import Source, badge, note, slot_head, tally


def matrix(source: Source) -> Html:
    """Modules that are not built have no slots: they are listed below the matrix."""
    record = source.record
    modules = module_verdicts(record)
    cells: dict[tuple[str, str], list[Verdict]] = defaultdict(list)
    for subject, verdict in function_verdicts(record).items():
        cells[subject.module, subject.slot].append(verdict)
    slots = sorted({slot for _, slot in cells}, key=slot_order)
    tested = {module for module, _ in cells}
    not_built = [
        module
        for module, verdict in modules.items()
        if verdict is Verdict.NOT_BUILT and module not in tested
    ]
    rows = [
        [_name(source, module, module in tested), badge(verdict),
         *(_cell(cells.get((module, slot), [])) for slot in slots)]
        for module, verdict in modules.items()
        if module not in not_built
    ]
    return tag(
        "div",
        note("Numbers count functions." if rows else "No module was tested."),
        table(["module", "verdict", *map(slot_head, slots)], rows, "matrix") if rows else None,
        *_not_built(not_built, len(modules)),
        class_="card",
    )


def _name(source: Source, module: str, has_functions: bool) -> Html:
    name = module or "(no module)"
    link = tag("a", name, href="#" + source.anchor("module", module)) if has_functions else name
    return tag("th", link, scope="row")


def _cell(verdicts: list[Verdict]) -> Html:
    if not verdicts:
        return tag("td", "–", title="no function was tested here")
    return tag("td", join((badge(*item) for item in tally(verdicts)), " "))


def _not_built(names: list[str], total: int) -> list[Html]:
    if not names:
        return []
    chips = (badge(Verdict.NOT_BUILT, name or "(no module)") for name in names)
    title = f"{len(names)} of {show.count(total, 'module')} NOT BUILT"
    return [tag("h4", title), tag("div", *chips, class_="chips")]
