"""Element types of images: how they are stored and named, random contents, the references."""

import hashlib
from collections.abc import Callable
from dataclasses import dataclass

import numpy as np

from . import SEED

Array = np.ndarray
Shape = tuple[int, int]  # rows, elements in a row

FLT_MAX = float(np.finfo(np.float32).max)
FLT_MIN = float(np.finfo(np.float32).tiny)  # the smallest normal number
INT32_MIN, INT32_MAX = -(2**31), 2**31 - 1


@dataclass(frozen=True)
class Storage:
    """A C type: its keyword in control scripts, its tag in .data files, its bytes."""

    keyword: str
    tag: str
    dtype: np.dtype

    def text(self, value: np.generic) -> str:
        """Decimal text that gives exactly `value` when it is read as a double and converted."""
        if self.dtype.kind != "f":
            return str(int(value))
        candidates = (f"{float(value):.{digits}g}" for digits in range(1, 18))
        return min((text for text in candidates if self._reads_as(text, value)), key=len)

    def _reads_as(self, text: str, value: np.generic) -> bool:
        # A double beyond FLT_MAX is out of float's range, even where it would round to it.
        in_range = abs(float(text)) <= FLT_MAX or bool(np.isinf(value))
        return in_range and self.dtype.type(float(text)).tobytes() == value.tobytes()


@dataclass(frozen=True)
class Element:
    """An element type that functions work on, named as function names end."""

    name: str
    source: Storage
    result: Storage
    absolute_difference: Callable[[Array, Array], Array]
    from_bits: Callable[[Array], Array]  # any values, from random 32-bit numbers
    short_from_bits: Callable[[Array], Array]  # values of few digits, for text files
    extremes: tuple[float, ...]  # the first few most unlike each other

    def random(self, name: str, shape: Shape, short: bool = False) -> Array:
        """Contents that depend on the name alone, so that other files never change them."""
        bits = _random_bits(name, shape[0] * shape[1])
        values = (self.short_from_bits if short else self.from_bits)(bits)
        return values.astype(self.source.dtype).reshape(shape)


def _random_bits(name: str, count: int) -> Array:
    digest = hashlib.sha256(f"{SEED}:{name}".encode()).digest()
    generator = np.random.PCG64(int.from_bytes(digest[:16], "little"))
    raw = generator.random_raw((count + 1) // 2)
    return np.asarray(raw, dtype="<u8").view("<u4")[:count]


def _difference_u8(a: Array, b: Array) -> Array:
    return np.abs(a.astype(np.int16) - b.astype(np.int16)).astype(np.uint8)


def _difference_s32(a: Array, b: Array) -> Array:
    """The difference wraps at 32 bits; the magnitude of the lowest value is 2147483648."""
    wrapped = a.view("<u4") - b.view("<u4")
    return np.where(wrapped >> 31, np.uint32(0) - wrapped, wrapped)


def _difference_f32(a: Array, b: Array) -> Array:
    with np.errstate(over="ignore"):
        return np.abs(np.subtract(a, b, dtype=np.float32))


def _floats(bits: Array) -> Array:
    """Both signs, 2^-8 to just below 2^8, all bits of the mantissa: no result is subnormal."""
    exponent = 127 - 8 + (bits >> 23 & 15)
    return ((bits & 0x807FFFFF) | exponent << 23).astype("<u4").view("<f4")


_U8 = Storage("unsignedchar", "unsigned_char", np.dtype("<u1"))
_S32 = Storage("int", "int", np.dtype("<i4"))
_U32 = Storage("unsignedint", "unsigned_int", np.dtype("<u4"))
_F32 = Storage("float", "float", np.dtype("<f4"))

U8 = Element(
    name="u8",
    source=_U8,
    result=_U8,
    absolute_difference=_difference_u8,
    from_bits=lambda bits: bits >> 24,
    short_from_bits=lambda bits: bits >> 24,
    extremes=(255, 0, 128, 127, 1, 254),
)
S32 = Element(
    name="s32",
    source=_S32,
    result=_U32,
    absolute_difference=_difference_s32,
    from_bits=lambda bits: bits.view("<i4"),
    short_from_bits=lambda bits: (bits >> 8).astype(np.int64) % 199 - 99,
    extremes=(INT32_MIN, INT32_MAX, -1, 0, 1, INT32_MAX - 1, INT32_MIN + 1),
)
F32 = Element(
    name="f32",
    source=_F32,
    result=_F32,
    absolute_difference=_difference_f32,
    from_bits=_floats,
    short_from_bits=lambda bits: ((bits >> 8).astype(np.int64) % 79 - 39) / 4,
    extremes=(FLT_MAX, -FLT_MAX, FLT_MIN, -FLT_MIN, 1.0, -0.0, 0.0),
)
ELEMENTS = (U8, S32, F32)
