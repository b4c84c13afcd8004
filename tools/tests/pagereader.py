"""Reads pages of lumen-report, and the pictures in them, for the tests of it."""

import base64
import struct
import zlib
from dataclasses import dataclass, field
from html.parser import HTMLParser

VOID = {"meta", "img", "br"}


@dataclass
class Element:
    name: str
    attributes: dict[str, str | None]
    own: list["Element | str"] = field(default_factory=list)

    @property
    def text(self) -> str:
        return " ".join(
            " ".join(item if isinstance(item, str) else item.text for item in self.own).split())

    @property
    def classes(self) -> set[str]:
        return set((self.attributes.get("class") or "").split())

    def all(self, name: str = "", class_: str = "", text: str = "") -> list["Element"]:
        """Elements within, in their order."""
        found = []
        for item in self.own:
            if isinstance(item, Element):
                if name in ("", item.name) and (not class_ or class_ in item.classes) \
                        and text in item.text:
                    found.append(item)
                found += item.all(name, class_, text)
        return found


class PageReader(HTMLParser):
    """Strict: elements close in the order in which they opened."""

    def __init__(self, text: str) -> None:
        super().__init__()
        self.root = Element("", {})
        self.open = [self.root]
        self.feed(text)
        self.close()
        if len(self.open) != 1:
            raise ValueError(f"{self.open[-1].name} is not closed")

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        element = Element(tag, dict(attrs))
        self.open[-1].own.append(element)
        if tag not in VOID:
            self.open.append(element)

    def handle_endtag(self, tag: str) -> None:
        if self.open.pop().name != tag:
            raise ValueError(f"{tag} closes another element")

    def handle_data(self, data: str) -> None:
        self.open[-1].own.append(data)


def section(root: Element, title: str) -> Element:
    return next(item for item in root.all("section") if item.all("h2", text=title))


def decode_png(uri: str | None) -> list[list[int]]:
    """Rows of bytes of an image with one or three channels and no filters."""
    prefix = "data:image/png;base64,"
    if not uri or not uri.startswith(prefix):
        raise ValueError("no PNG")
    content = base64.b64decode(uri[len(prefix):], validate=True)
    if content[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("no PNG signature")
    place, chunks = 8, {}
    while place < len(content):
        size, kind = struct.unpack_from(">I4s", content, place)
        body = content[place + 8 : place + 8 + size]
        (checksum,) = struct.unpack_from(">I", content, place + 8 + size)
        if checksum != zlib.crc32(kind + body):
            raise ValueError("wrong checksum")
        chunks[kind] = body
        place += 12 + size
    width, height, depth, colour, *_ = struct.unpack(">IIBBBBB", chunks[b"IHDR"])
    stride = 1 + width * {0: 1, 2: 3}[colour]
    data = zlib.decompress(chunks[b"IDAT"])
    if depth != 8 or len(data) != stride * height:
        raise ValueError("wrong size")
    rows = [list(data[y * stride : (y + 1) * stride]) for y in range(height)]
    if any(row[0] for row in rows):
        raise ValueError("filtered")
    return [row[1:] for row in rows]
