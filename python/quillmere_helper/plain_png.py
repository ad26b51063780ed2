"""Pictures for servers: 8-bit RGB without transparency, made with the standard library alone.

Servers read 16-bit and transparent pictures in several ways, all of them wrong for a guide; 8-bit RGB has one reading.
"""

from __future__ import annotations

import struct
import zlib
from dataclasses import dataclass
from itertools import accumulate
from typing import Iterable, Iterator

from . import png_chunks

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}  # by colour type
LARGEST_PIXELS = 64_000_000


@dataclass(frozen=True)
class Header:
    width: int
    height: int
    depth: int  # bits a sample
    colour: int  # colour type: 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGB and alpha

    @property
    def step(self) -> int:
        """Bytes from one pixel to the next, as the row filters count them."""
        return max(1, CHANNELS[self.colour] * self.depth // 8)

    @property
    def row_bytes(self) -> int:
        return (self.width * CHANNELS[self.colour] * self.depth + 7) // 8


def as_plain(png: bytes) -> bytes:
    """`png` as 8-bit RGB: itself when it is that already, else rewritten with the alpha dropped. Raises BadPng."""
    parts = [
        (kind, bytes(data)) for kind, data in png_chunks.chunks(png) if kind in (b"IHDR", b"PLTE", b"tRNS", b"IDAT")
    ]
    if not parts or parts[0][0] != b"IHDR" or len(parts[0][1]) != 13:
        raise png_chunks.BadPng("it has no header")
    header = _header(parts[0][1])
    if (header.depth, header.colour) == (8, 2) and all(kind != b"tRNS" for kind, _ in parts):
        return png
    palette = b"".join(data for kind, data in parts if kind == b"PLTE")
    packed = b"".join(data for kind, data in parts if kind == b"IDAT")
    rows = b"".join(b"\0" + _rgb(row, header, palette) for row in _rows(packed, header))
    size = struct.pack(">IIBBBBB", header.width, header.height, 8, 2, 0, 0, 0)
    body = png_chunks.chunk(b"IHDR", size) + png_chunks.chunk(b"IDAT", zlib.compress(rows, 1))
    return png_chunks.SIGNATURE + body + png_chunks.chunk(b"IEND", b"")


def _header(data: bytes) -> Header:
    width, height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", data)
    if colour not in CHANNELS or depth not in (8, 16) or (colour == 3 and depth != 8) or interlaced:
        raise png_chunks.BadPng("it is interlaced or has an unusual number of bits; save it as 8-bit RGB")
    if not 0 < width * height <= LARGEST_PIXELS:
        raise png_chunks.BadPng(f"it has {width} x {height} pixels")
    return Header(width, height, depth, colour)


def _rows(packed: bytes, header: Header) -> Iterator[bytes]:
    """The rows with their filters undone."""
    length = header.row_bytes + 1
    decompressor = zlib.decompressobj()
    try:
        data = decompressor.decompress(packed, length * header.height)
    except zlib.error as error:
        raise png_chunks.BadPng("its content is damaged") from error
    if len(data) < length * header.height:
        raise png_chunks.BadPng("it is cut off")
    above = bytes(header.row_bytes)
    for start in range(0, len(data), length):
        above = _unfiltered(data[start], data[start + 1 : start + length], above, header.step)
        yield above


def _unfiltered(kind: int, row: bytes, above: bytes, step: int) -> bytes:
    if kind == 0:
        return row
    if kind == 1:
        out = bytearray(row)
        for channel in range(step):
            sums: Iterable[int] = accumulate(iter(row[channel::step]), _add)
            out[channel::step] = bytes(sums)
        return bytes(out)
    if kind == 2:
        return bytes((value + up) & 255 for value, up in zip(row, above))
    if kind in (3, 4):
        return _unpredicted(kind, row, above, step)
    raise png_chunks.BadPng("its content is damaged")


def _add(left: int, value: int) -> int:
    return (left + value) & 255


def _unpredicted(kind: int, row: bytes, above: bytes, step: int) -> bytes:
    """Rows that were stored as the difference from a mean (3) or from the nearest (4) of three neighbours."""
    out = bytearray(step) + row
    corner = bytes(step) + above
    for place in range(step, len(out)):
        left, up, diagonal = out[place - step], corner[place], corner[place - step]
        if kind == 3:
            guess = (left + up) >> 1
        else:
            to_left, to_up, to_corner = abs(up - diagonal), abs(left - diagonal), abs(left + up - 2 * diagonal)
            if to_left <= to_up and to_left <= to_corner:
                guess = left
            else:
                guess = up if to_up <= to_corner else diagonal
        out[place] = (out[place] + guess) & 255
    return bytes(out[step:])


def _rgb(row: bytes, header: Header, palette: bytes) -> bytes:
    if header.depth == 16:
        row = row[0::2]  # the high bytes
    out = bytearray(3 * header.width)
    for channel in range(3):
        if header.colour == 3:
            table = palette[channel::3]
            out[channel::3] = row.translate(table + bytes(256 - len(table)))
        else:
            count = CHANNELS[header.colour]
            out[channel::3] = row[channel if count > 2 else 0 :: count]
    return bytes(out)
