"""Reads records. What a crash or a stranger did to a file is noted in the record's problems; only
a file that is no record at all is refused."""

import json
import math
import re
from collections.abc import Callable
from dataclasses import fields
from pathlib import Path
from typing import Any

from .record import (
    Bench,
    Case,
    Check,
    End,
    Environment,
    Flag,
    Module,
    Number,
    Numbers,
    Record,
    Row,
    Run,
    Subject,
    Text,
    Texts,
)
from .verdict import Verdict, verdict_of

SCHEMA = 1
MAX_PROBLEMS = 20  # that are listed; the others are counted

# Blanks of all kinds, and what would steer a terminal, reorder text or not survive in UTF-8.
_BLANKS = re.compile(r"[\t-\r\x85\u2028\u2029]+")
_UNPRINTABLE = re.compile(
    "[\x00-\x1f\x7f-\x9f\u200b-\u200f\u202a-\u202e\u2060-\u206f\ud800-\udfff\ufeff\ufffe\uffff]"
)


class RecordError(ValueError):
    """The file is no record."""


def read_record(path: Path) -> Record:
    content = path.read_bytes()
    record = Record(name=printable(str(path)))
    state = _Reading(record)
    lines = content.split(b"\n")
    for number, line in enumerate(lines, 1):
        if line.strip():
            state.take(number, line, is_last=number == len(lines))
    state.finish()
    return record


def printable(text: str) -> str:
    """On one line, without characters that a terminal or a page would obey rather than show."""
    return _UNPRINTABLE.sub("\ufffd", _BLANKS.sub(" ", text))


class _Reading:
    def __init__(self, record: Record) -> None:
        self.record = record
        self.first_type: str | None = None
        self.problems = 0
        self.ended = False

    def take(self, number: int, line: bytes, is_last: bool) -> None:
        members = _parsed(line)
        if members is None:
            cut = is_last and not self.ended
            self._problem(
                f"line {number}, the last one, is cut off" if cut
                else f"line {number} is no JSON object"
            )
            return
        type_name = members.get("type")
        if not isinstance(type_name, str):
            self._problem(f"line {number} has no type")
            return
        if self.ended:
            self._problem(f"line {number} follows the end of the run")
        if self.first_type is None:
            self.first_type = type_name
            if type_name != "run":
                self._problem("the first line is not about the run: machine and build unknown")
        elif type_name == "run":
            raise RecordError(
                f"{self.record.name}: line {number} begins another run; give each a file of its own"
            )
        self._add(number, type_name, members)

    def finish(self) -> None:
        if self.first_type is None:
            raise RecordError(f"{self.record.name}: no record of a run")
        if self.problems > MAX_PROBLEMS:
            self.record.problems.append(f"... and {self.problems - MAX_PROBLEMS} more like these")

    def _add(self, number: int, type_name: str, members: dict[str, Any]) -> None:
        record = self.record
        if type_name == "run":
            record.run = _object(Run, members)
            if record.run.schema != SCHEMA:
                self._problem(f"schema {record.run.schema} is read as if it were {SCHEMA}")
        elif type_name == "end":
            record.end = _object(End, members)
            self.ended = True
        elif type_name in _PLAIN:
            kind, name = _PLAIN[type_name]
            getattr(record, name).append(_object(kind, members))
        elif type_name in _ABOUT_FUNCTIONS:
            kind, name = _ABOUT_FUNCTIONS[type_name]
            item = _object(kind, members)
            if not (item.subject.function and item.subject.slot):
                self._problem(f"line {number} does not say which function and slot it is about")
                return
            record.subjects.setdefault(item.subject)
            record.last_subject = item.subject
            getattr(record, name).append(item)

    def _problem(self, text: str) -> None:
        self.problems += 1
        if self.problems <= MAX_PROBLEMS:
            self.record.problems.append(text)


# Types of lines: the class that holds one, and the list of the record that it goes to.
_PLAIN: dict[str, tuple[type, str]] = {
    "environment": (Environment, "environments"),
    "module": (Module, "modules"),
}
_ABOUT_FUNCTIONS: dict[str, tuple[type, str]] = {
    "row": (Row, "rows"),
    "case": (Case, "cases"),
    "check": (Check, "checks"),
    "bench": (Bench, "benches"),
}


def _parsed(line: bytes) -> dict[str, Any] | None:
    try:
        value = json.loads(line.decode("utf-8", "replace"))
    except (ValueError, RecursionError):
        return None
    return value if isinstance(value, dict) else None


def _object(kind: type, members: dict[str, Any]) -> Any:
    """An object of the class, with what the line has for its fields."""
    values = {}
    for item in fields(kind):
        if item.type is Subject:
            values[item.name] = _object(Subject, members)
        else:
            values[item.name] = _CONVERSIONS[item.type](members.get(_camel_case(item.name)))
    return kind(**values)


def _camel_case(name: str) -> str:
    first, *others = name.split("_")
    return first + "".join(word.capitalize() for word in others)


def _text(value: object) -> Text:
    return printable(value) if isinstance(value, str) else ""


def _number(value: object) -> Number:
    if isinstance(value, bool) or not isinstance(value, int | float):
        return None
    try:
        number = float(value)
    except OverflowError:
        return None
    return number if math.isfinite(number) else None


def _flag(value: object) -> Flag:
    return value if isinstance(value, bool) else None


def _texts(value: object) -> Texts:
    return tuple(map(_text, value)) if isinstance(value, list) else ()


def _numbers(value: object) -> Numbers:
    converted = map(_number, value) if isinstance(value, list) else ()
    return tuple(number for number in converted if number is not None)


_CONVERSIONS: dict[Any, Callable[[object], Any]] = {
    Text: _text,
    Number: _number,
    Flag: _flag,
    Texts: _texts,
    Numbers: _numbers,
    Verdict: verdict_of,
}
