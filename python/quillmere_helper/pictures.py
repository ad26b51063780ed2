"""Pictures on their way to servers and back, told and converted with the standard library alone."""

import struct
import zlib
from itertools import accumulate
from typing import Iterator, NamedTuple, Optional

from . import png, untrusted
from .errors import HelperError

Picture = tuple[bytes, str]  # a whole file and its kind: "png", "jpg" or "webp"

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}  # by colour type
INVERTED = bytes(range(255, -1, -1))
LARGEST_PIXELS = 64_000_000


class Header(NamedTuple):
    width: int
    height: int
    depth: int  # bits a sample: 8 or 16
    colour: int  # colour type: 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGB and alpha

    @property
    def step(self) -> int:
        """Bytes from one pixel to the next."""
        return CHANNELS[self.colour] * self.depth // 8


def given_picture(path: str, role: str) -> Picture:
    """The guide or the style image as servers are given it, and its kind: PNG as 8-bit RGB, others as they are.

    Raises HelperError.
    """
    remedy = "render the frame again" if role == "guide" else "choose another one, or none"
    content = untrusted.read_file(path, f"{role} image", untrusted.LARGEST_PICTURE, remedy)
    kind = kind_of(content)
    if kind is None:
        raise HelperError(f'The {role} image "{path}" is no whole PNG, JPEG or WebP picture; {remedy}')
    try:
        return (plain_png(content) if kind == "png" else content), kind
    except png.BadPng as error:
        raise HelperError(f'Cannot use the {role} image "{path}": {error}; {remedy}') from error


def kind_of(content: bytes) -> Optional[str]:
    """ "png", "jpg" or "webp" when `content` is a whole picture file of that kind, else None."""
    if content.startswith(png.SIGNATURE):
        try:
            return "png" if b"IDAT" in {kind for kind, _ in png.chunks(content)} else None
        except png.BadPng:
            return None
    if content.startswith(b"\xff\xd8\xff"):
        return "jpg" if content.rstrip(b"\0").endswith(b"\xff\xd9") else None
    if content.startswith(b"RIFF") and content[8:12] == b"WEBP":
        return "webp" if len(content) >= int.from_bytes(content[4:8], "little") + 8 else None
    return None


def plain_png(content: bytes) -> bytes:
    """A PNG as 8-bit RGB: itself when it is that already, else rewritten with the alpha dropped. Raises BadPng.

    Servers read 16-bit and transparent pictures in several ways, all of them wrong for a guide; this has one reading.
    """
    used = (b"IHDR", b"PLTE", b"tRNS", b"IDAT")
    parts = [(kind, bytes(data)) for kind, data in png.chunks(content) if kind in used]
    header = header_of(content)
    if (header.depth, header.colour) == (8, 2) and all(kind != b"tRNS" for kind, _ in parts):
        return content
    palette, packed = (b"".join(data for kind, data in parts if kind == name) for name in (b"PLTE", b"IDAT"))
    rows = b"".join(b"\0" + _rgb(row, header, palette) for row in _rows(packed, header))
    size = struct.pack(">IIBBBBB", header.width, header.height, 8, 2, 0, 0, 0)
    return png.file_of((b"IHDR", size), (b"IDAT", zlib.compress(rows, 1)))


def with_mask(content: bytes) -> bytes:
    """A grey 8-bit RGB PNG with an alpha that is 0 where it is white: servers' loaders make masks of 1 - alpha, and leave
    the colour as it is. Raises BadPng."""
    header = header_of(content)
    if (header.depth, header.colour) != (8, 2):
        raise png.BadPng("it is no 8-bit RGB picture")
    packed = b"".join(bytes(data) for kind, data in png.chunks(content) if kind == b"IDAT")
    rows = bytearray()
    for grey in _rows(packed, header, 0):
        row = bytearray(4 * header.width)
        row[0::4] = row[1::4] = row[2::4] = grey
        row[3::4] = grey.translate(INVERTED)
        rows += b"\0" + row
    size = struct.pack(">IIBBBBB", header.width, header.height, 8, 6, 0, 0, 0)
    return png.file_of((b"IHDR", size), (b"IDAT", zlib.compress(rows, 1)))


def header_of(content: bytes) -> Header:
    """Of a PNG. Raises BadPng for one that is none, or has a form that few programs write."""
    kind, data = next(iter(png.chunks(content)))
    if kind != b"IHDR" or len(data) != 13:
        raise png.BadPng("it has no header")
    width, height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", data)
    if colour not in CHANNELS or depth not in (8, 16) or (colour == 3 and depth != 8) or interlaced:
        raise png.BadPng("it is interlaced or has an unusual number of bits; save it as 8-bit RGB")
    if not 0 < width * height <= LARGEST_PIXELS:
        raise png.BadPng(f"it has {width} x {height} pixels")
    return Header(width, height, depth, colour)


def _rows(packed: bytes, header: Header, channel: Optional[int] = None) -> Iterator[bytes]:
    """The rows with their filters undone; of 8-bit pictures one `channel` alone, which has nothing to do with the rest."""
    length = header.width * header.step + 1
    decompressor = zlib.decompressobj()
    try:
        data = decompressor.decompress(packed, length * header.height)
    except zlib.error as error:
        raise png.BadPng("its content is damaged") from error
    if len(data) < length * header.height:
        raise png.BadPng("it is cut off")
    offset, step = (0, 1) if channel is None else (channel, header.step)
    above = bytes((length - 1) // step)
    for start in range(0, len(data), length):
        row = data[start + 1 + offset : start + length : step]
        above = _unfiltered(data[start], row, above, header.step // step)
        yield above


def _unfiltered(kind: int, row: bytes, above: bytes, step: int) -> bytes:
    if kind == 0:
        return row
    if kind in (2, 4) and row.count(0) == len(row):  # most rows of a matte
        return above
    if kind == 1:
        out = bytearray(row)
        for channel in range(step):
            out[channel::step] = bytes(total & 255 for total in accumulate(row[channel::step]))
        return bytes(out)
    if kind == 2:
        return bytes((value + up) & 255 for value, up in zip(row, above))
    if kind in (3, 4):
        return _unpredicted(kind, row, above, step)
    raise png.BadPng("its content is damaged")


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
