"""PNG pictures of 8-bit RGB for tests, written and read to the last pixel with Python's own library."""

from __future__ import annotations

import pathlib
import struct
import zlib


def chunk(kind: bytes, data: bytes) -> bytes:
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def write(file: pathlib.Path, width: int, height: int, colour: tuple[int, int, int]) -> None:
    head = chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
    rows = zlib.compress((b"\0" + bytes(colour) * width) * height)
    file.write_bytes(b"\x89PNG\r\n\x1a\n" + head + chunk(b"IDAT", rows) + chunk(b"IEND", b""))


def read(file: pathlib.Path) -> list[bytes]:
    """The rows, 3 bytes a pixel; raises unless every chunk and every row is there."""
    content, at, packed, kind = file.read_bytes(), 8, b"", b""
    while kind != b"IEND":
        length, kind = struct.unpack_from(">I4s", content, at)
        data = content[at + 8:at + 8 + length]
        assert struct.unpack_from(">I", content, at + 8 + length)[0] == zlib.crc32(kind + data), file
        if kind == b"IHDR":
            width, height, depth, colours = struct.unpack_from(">IIBB", data)
            assert (depth, colours) == (8, 2), (depth, colours)
        packed += data if kind == b"IDAT" else b""
        at += 12 + length
    lines, stride = zlib.decompress(packed), 3 * width + 1
    assert len(lines) == stride * height, file
    rows: list[bytes] = []
    for y in range(height):
        rows.append(unfiltered(lines[y * stride], lines[y * stride + 1:(y + 1) * stride], rows[-1] if rows else bytes(stride - 1)))
    return rows


def unfiltered(kind: int, line: bytes, above: bytes) -> bytes:
    row = bytearray(line)
    for i in range(len(row)):
        left, up, corner = (row[i - 3] if i > 2 else 0), above[i], (above[i - 3] if i > 2 else 0)
        nearest = min((left, up, corner), key=lambda one: abs(left + up - corner - one))
        row[i] = (row[i] + (0, left, up, (left + up) // 2, nearest)[kind]) & 255
    return bytes(row)
