"""Images and tables as the bytes of files."""

from collections.abc import Iterable, Sequence
from dataclasses import dataclass

import numpy as np

from .elements import Array, Storage


@dataclass(frozen=True)
class Image:
    """Rows of stored elements. `width` elements of a row are the image, the rest is padding; rows
    up to `height` that `rows` does not hold are zero, and rows beyond it are padding too."""

    rows: Array
    width: int
    height: int

    @property
    def stride(self) -> int:
        return self.rows.shape[1]


def encode(suffix: str, image: Image, storage: Storage, comment: str = "") -> bytes:
    """The image in the format of a file-name suffix: "csv", "data" or "pgm"."""
    _require_usable(image, storage)
    if suffix == "csv":
        return _encode_csv(image, storage)
    if image.rows.shape != (image.height, image.width):
        raise ValueError(f".{suffix} files hold whole images without padding")
    if suffix == "pgm":
        if storage.tag != "unsigned_char":
            raise ValueError(".pgm files hold bytes")
        header = pgm_header(image.width, image.height, comment)
    else:
        header = data_header(storage, image.width, image.height, comment)
    return header + image.rows.tobytes()


def data_header(storage: Storage, width: int, height: int, comment: str = "") -> bytes:
    return f"{storage.tag}\n{_comment(comment)}{width} {height}\n1\n".encode()


def pgm_header(width: int, height: int, comment: str = "") -> bytes:
    return f"P5\n{_comment(comment)}{width} {height}\n255\n".encode()


def table(columns: Sequence[tuple[str, str]], rows: Iterable[Sequence[str]]) -> bytes:
    """A control script: columns are pairs of a name and a type."""
    names, types = zip(*columns)
    lines = [names, types, *rows]
    if any(len(line) != len(columns) for line in lines):
        raise ValueError("a row must have a field for each column")
    return "".join(",".join(map(_field, line)) + "\n" for line in lines).encode("ascii")


def _encode_csv(image: Image, storage: Storage) -> bytes:
    stored = max(image.height, len(image.rows))  # rows that follow the image are padding as well
    lines = [f"{image.stride},{stored},0,0,{image.width},{image.height}"]
    lines += [",".join(map(storage.text, row)) for row in image.rows]
    return "".join(line + "\n" for line in lines).encode("ascii")


def _comment(text: str) -> str:
    return f"# {text}\n" if text else ""


def _field(text: str) -> str:
    if '"' in text or "\n" in text:
        raise ValueError(f"a field cannot hold {text!r}")
    return f'"{text}"' if "," in text else text


def _require_usable(image: Image, storage: Storage) -> None:
    """No NaN, which a comparison never finds different, and no subnormal number, which vector
    units of 32-bit ARM take for zero."""
    if image.rows.dtype != storage.dtype:
        raise ValueError(f"{image.rows.dtype} elements in a file of {storage.tag}")
    if storage.dtype.kind == "f":
        magnitude = np.abs(image.rows)
        smallest = np.finfo(storage.dtype).tiny
        if not np.all((magnitude == 0) | (magnitude >= smallest)):
            raise ValueError("a NaN or a subnormal number")
