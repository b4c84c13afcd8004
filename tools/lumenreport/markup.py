"""HTML and SVG as text that escapes by default: whatever is not Html already becomes text."""

import html
from collections.abc import Iterable


class Html(str):
    """Markup; may stand in a page as it is."""


def tag(name: str, /, *children: object, **attributes: object) -> Html:
    """An element. Attributes that are None are left out, True has no value; `class_` is class and
    `_` in names is `-`."""
    given = "".join(
        _attribute(key, value) for key, value in attributes.items() if value is not None
    )
    if name in _VOID:
        return Html(f"<{name}{given}>")
    return Html(f"<{name}{given}>{join(children)}</{name}>")


def join(children: Iterable[object], separator: str = "") -> Html:
    return Html(separator.join(_text(child) for child in children if child is not None))


def table(head: Iterable[object], rows: Iterable[Iterable[object]], class_: str = "") -> Html:
    """A table that scrolls on its own where it is wider than the page. Items that are no cells
    become ones."""
    content = [
        tag("thead", tag("tr", *(_cell("th", item) for item in head))),
        tag("tbody", *(tag("tr", *(_cell("td", item) for item in row)) for row in rows)),
    ]
    return tag("div", tag("table", *content, class_=class_ or None), class_="scroll")


def number_cell(content: object) -> Html:
    return tag("td", content, class_="n")


def number_head(content: object) -> Html:
    return tag("th", content, class_="n")


_VOID = {"meta", "img", "br"}


def _cell(name: str, item: object) -> Html:
    is_cell = isinstance(item, Html) and item.startswith(("<td", "<th"))
    return Html(item) if is_cell else tag(name, item)


def _text(child: object) -> str:
    return child if isinstance(child, Html) else html.escape(str(child))


def _attribute(key: str, value: object) -> str:
    name = key.rstrip("_").replace("_", "-")
    if value is True:
        return f" {name}"
    return f' {name}="{html.escape(str(value))}"'
