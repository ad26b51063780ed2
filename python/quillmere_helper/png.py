"""PNG files as the chunks that they are made of, and the texts in them. The format is that of RFC 2083 and its iTXt."""

import mmap
import zlib
from typing import Collection, Iterator, Sequence, Union

SIGNATURE = b"\x89PNG\r\n\x1a\n"
MOST_CHUNKS = 200_000  # encoders put a few kilobytes into each
LONGEST_KEYWORD = 79  # bytes
DEFLATE_RATIO = 1032  # what deflate can make of a byte at most
LARGEST_TEXT = 32 << 20  # bytes of one text, and of all that are unpacked together

Content = Union[bytes, mmap.mmap]  # a whole file, held in memory or mapped from the disk
Parts = Sequence[Union[bytes, memoryview, mmap.mmap]]  # of a file, in order: what is large isn't copied


class BadPng(ValueError):
    """Not a whole PNG file."""


def chunks(png: Content) -> Iterator[tuple[bytes, memoryview]]:
    """Type and data of every chunk up to and including IEND. Raises BadPng at the first that is cut off or damaged."""
    if png[: len(SIGNATURE)] != SIGNATURE:
        raise BadPng("no PNG signature")
    view, place = memoryview(png), len(SIGNATURE)
    for _ in range(MOST_CHUNKS):
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
    raise BadPng(f"it has more than {MOST_CHUNKS} parts")


def chunk(kind: bytes, data: bytes) -> bytes:
    return len(data).to_bytes(4, "big") + kind + data + zlib.crc32(kind + data).to_bytes(4, "big")


def file_of(*parts: tuple[bytes, bytes]) -> bytes:
    """The file of these chunks; IEND is added."""
    return SIGNATURE + b"".join(chunk(kind, data) for kind, data in (*parts, (b"IEND", b"")))


def texts(png: Content, wanted: Collection[str]) -> dict[str, str]:
    """The texts of the file under the `wanted` keywords; of several under one the first counts. No other is unpacked.
    Damaged texts, and those that are too large together, are left out."""
    found: dict[str, str] = {}
    inflater = _Inflater()
    for kind, data in chunks(png):
        if kind not in (b"tEXt", b"zTXt", b"iTXt") or len(data) > LARGEST_TEXT:
            continue
        keyword, separator, _ = bytes(data[: LONGEST_KEYWORD + 1]).partition(b"\0")
        name = keyword.decode("latin-1")
        if separator and name in wanted and name not in found:
            try:
                found[name] = _text(kind, bytes(data[len(keyword) + 1 :]), inflater)
            except (ValueError, zlib.error):
                continue
    return found


def with_text(png: bytes, keyword: str, text: str) -> bytes:
    """`png` with one more text right after its header; `png` must be a PNG file."""
    return b"".join(with_chunk(png, text_chunk(keyword, text)))


def with_ascii_text(png: bytes, keyword: str, text: str) -> bytes:
    """The same with the kind of text that `ascii_text_chunk` makes."""
    return b"".join(with_chunk(png, ascii_text_chunk(keyword, text)))


def text_chunk(keyword: str, text: str) -> bytes:
    """An iTXt: UTF-8, not compressed."""
    return chunk(b"iTXt", keyword.encode("latin-1") + b"\0\0\0\0\0" + text.encode("utf-8", "replace"))


def ascii_text_chunk(keyword: str, text: str) -> bytes:
    """A tEXt, the only kind that some readers know; `text` must be ASCII."""
    return chunk(b"tEXt", f"{keyword}\0{text}".encode("ascii"))


def with_chunk(png: Content, added: bytes) -> Parts:
    """The file `png` with one more chunk right after its header."""
    header_end = len(SIGNATURE) + 12 + int.from_bytes(png[len(SIGNATURE) : len(SIGNATURE) + 4], "big")
    return [png[:header_end], added, memoryview(png)[header_end:]]


def _text(kind: bytes, content: bytes, inflater: "_Inflater") -> str:
    """`content`: what follows the keyword."""
    if kind == b"tEXt":
        return _as_text(content)
    if kind == b"zTXt":
        return _as_text(inflater.inflated(content[1:]))
    parts = content[2:].split(b"\0", 2)
    if len(parts) < 3:
        raise ValueError("a text without its language")
    return (inflater.inflated(parts[2]) if content[:1] != b"\0" else parts[2]).decode("utf-8")


def _as_text(data: bytes) -> str:
    """The format wants Latin-1; programs that put JSON there often write UTF-8."""
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return data.decode("latin-1")


class _Inflater:
    """Takes no more time and memory for all texts of a file than one of them may take."""

    def __init__(self) -> None:
        self._room = LARGEST_TEXT

    def inflated(self, data: bytes) -> bytes:
        """Raises ValueError for a text that is too large or cut off, zlib.error for a damaged one."""
        if self._room <= 0:
            raise ValueError("texts without end")
        before, self._room = self._room, max(self._room - DEFLATE_RATIO * len(data), 0)
        decompressor = zlib.decompressobj()
        text = decompressor.decompress(data, before)
        if not decompressor.eof:
            raise ValueError("a text without end")
        self._room = before - len(text)
        return text
