"""Which kind of picture some bytes are, judged by the bytes alone."""

from __future__ import annotations

import struct
from typing import Optional

from . import png_chunks


def kind_of(content: bytes) -> Optional[str]:
    """ "png", "jpg" or "webp" when `content` is a whole picture file of that kind, else None."""
    if content.startswith(png_chunks.SIGNATURE):
        return "png" if _is_whole_png(content) else None
    if content.startswith(b"\xff\xd8\xff"):
        return "jpg" if content.rstrip(b"\0").endswith(b"\xff\xd9") else None
    if content.startswith(b"RIFF") and content[8:12] == b"WEBP":
        (length,) = struct.unpack_from("<I", content, 4)
        return "webp" if len(content) >= length + 8 else None
    return None


def _is_whole_png(content: bytes) -> bool:
    try:
        return any(kind == b"IDAT" for kind in [kind for kind, _ in png_chunks.chunks(content)])
    except png_chunks.BadPng:
        return False
