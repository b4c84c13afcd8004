"""PNG files as bytes."""

import struct
import zlib
from typing import TYPE_CHECKING

import numpy as np

if TYPE_CHECKING:
    from numpy.typing import NDArray


def encode(pixels: "NDArray[np.uint8]") -> bytes:
    """An image of height x width x channels, of which there are one or three."""
    height, width, channels = pixels.shape
    colour_type = 0 if channels == 1 else 2
    rows = np.zeros((height, 1 + width * channels), np.uint8)  # a filter byte before each row
    rows[:, 1:] = pixels.reshape(height, -1)
    chunks = [
        (b"IHDR", struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0)),
        (b"IDAT", zlib.compress(rows.tobytes(), 9)),
        (b"IEND", b""),
    ]
    return b"\x89PNG\r\n\x1a\n" + b"".join(_chunk(kind, content) for kind, content in chunks)


def _chunk(kind: bytes, content: bytes) -> bytes:
    return struct.pack(">I", len(content)) + kind + content + struct.pack(
        ">I", zlib.crc32(kind + content)
    )
