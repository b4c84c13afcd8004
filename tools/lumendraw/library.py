"""The shared library, found and called."""

import ctypes
import ctypes.util
import os
from collections.abc import Iterable
from pathlib import Path
from typing import Any

import numpy as np

_ROOT = Path(__file__).resolve().parents[2]
_CPU_PERFORMANCE = 3  # LUMEN_OP_CPU_PERFORMANCE: vector implementations


class LibraryError(Exception):
    """No library, one without a function, or a call that it refuses."""


def candidates() -> list[str]:
    """Where the library is looked for: the environment, the tree's own build, the system."""
    named = os.environ.get("LUMEN_LIBRARY")
    if named:
        return [named]
    built = _ROOT / "build" / "liblumen.so"
    installed = ctypes.util.find_library("lumen")
    return [str(built)] * built.is_file() + [installed] * (installed is not None)


class Library:
    """`call` takes numbers and arrays and hands them on as C does: an int is a uint32_t unless it
    is wrapped, an array is a pointer to its elements."""

    def __init__(self, path: str | None = None) -> None:
        paths = [path] if path else candidates()
        if not paths:
            raise LibraryError("no liblumen.so: build the library, or name one with --library")
        try:
            self._library = ctypes.CDLL(paths[0])
        except OSError as error:
            raise LibraryError(f"cannot open {paths[0]}: {error}") from error
        self.call("lumSetOperationMode", _CPU_PERFORMANCE)

    def call(self, name: str, *arguments: Any, result: Any = None) -> Any:
        try:
            function = getattr(self._library, name)
        except AttributeError:
            raise LibraryError(f"this library has no {name}") from None
        function.restype = result
        return function(*_converted(arguments))


def _converted(arguments: Iterable[Any]) -> list[Any]:
    converted: list[Any] = []
    for argument in arguments:
        if isinstance(argument, np.ndarray):
            if not argument.flags.c_contiguous:
                raise ValueError("an array with gaps")
            converted.append(argument.ctypes.data_as(ctypes.c_void_p))
        elif isinstance(argument, float):
            converted.append(ctypes.c_float(argument))
        elif isinstance(argument, int):
            converted.append(ctypes.c_uint32(argument))
        else:
            converted.append(argument)
    return converted
