"""PNG files as the chunks that they are made of, and the texts in them. The format is that of RFC 2083 and its iTXt."""

import zlib
from typing import Iterator

SIGNATURE = b"\x89PNG\r\n\x1a\n"
LARGEST_TEXT = 64 << 20  # bytes of one text when it is unpacked


class BadPng(ValueError):
    """Not a whole PNG file."""


def chunks(png: bytes) -> Iterator[tuple[bytes, memoryview]]:
    """Type and data of every chunk up to and including IEND. Raises BadPng at the first that is cut off or damaged."""
    if not png.startswith(SIGNATURE):
        raise BadPng("no PNG signature")
    view, place = memoryview(png), len(SIGNATURE)
    while True:
        end = place + 12 + int.from_bytes(view[place : place + 4], "big")
        if end > len(view):
            raise BadPng("it is cut off")
        if zlib.crc32(view[place + 4 : end - 4]) != int.from_bytes(view[end - 4 : end], "big"):
            raise BadPng("its content is damaged")
        kind = bytes(view[place + 4 : place + 8])
        yield kind, view[place + 8 : end - 4]
        if kind == b"IEND":
            return
        place = end


def chunk(kind: bytes, data: bytes) -> bytes:
    return len(data).to_bytes(4, "big") + kind + data + zlib.crc32(kind + data).to_bytes(4, "big")


def file_of(*parts: tuple[bytes, bytes]) -> bytes:
    """The file of these chunks; IEND is added."""
    return SIGNATURE + b"".join(chunk(kind, data) for kind, data in (*parts, (b"IEND", b"")))


def texts(png: bytes) -> dict[str, str]:
    """The texts of the file by keyword; of several under one keyword the first counts. Damaged texts are left out."""
    found: dict[str, str] = {}
    for kind, data in chunks(png):
        if kind in (b"tEXt", b"zTXt", b"iTXt"):
            try:
                keyword, text = _text(kind, bytes(data))
            except (ValueError, zlib.error):
                continue
            found.setdefault(keyword, text)
    return found


def with_text(png: bytes, keyword: str, text: str) -> bytes:
    """`png` with one more text (iTXt, UTF-8, not compressed) right after its header; `png` must be a PNG file."""
    return _with_chunk(png, b"iTXt", keyword.encode("latin-1") + b"\0\0\0\0\0" + text.encode("utf-8", "replace"))


def with_ascii_text(png: bytes, keyword: str, text: str) -> bytes:
    """The same with a tEXt, the only kind that some readers know; `text` must be ASCII."""
    return _with_chunk(png, b"tEXt", f"{keyword}\0{text}".encode("ascii"))


def _with_chunk(png: bytes, kind: bytes, data: bytes) -> bytes:
    header_end = len(SIGNATURE) + 12 + int.from_bytes(png[len(SIGNATURE) : len(SIGNATURE) + 4], "big")
    return png[:header_end] + chunk(kind, data) + png[header_end:]


def _text(kind: bytes, data: bytes) -> tuple[str, str]:
    keyword, separator, rest = data.partition(b"\0")
    if not separator:
        raise ValueError("no keyword")
    name = keyword.decode("latin-1")
    if kind == b"tEXt":
        return name, _as_text(rest)
    if kind == b"zTXt":
        return name, _as_text(_unpacked(rest[1:]))
    compressed, content = rest[:1] != b"\0", rest[2:].split(b"\0", 2)[2]
    return name, (_unpacked(content) if compressed else content).decode("utf-8")


def _as_text(data: bytes) -> str:
    """The format wants Latin-1; programs that put JSON there often write UTF-8."""
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return data.decode("latin-1")


def _unpacked(data: bytes) -> bytes:
    decompressor = zlib.decompressobj()
    text = decompressor.decompress(data, LARGEST_TEXT)
    if decompressor.unconsumed_tail:
        raise ValueError("a text without end")
    return text
