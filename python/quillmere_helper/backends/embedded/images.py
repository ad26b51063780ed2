"""What every step of a drawing is made with: pictures read as 8-bit RGB, tone curves, seeded noise."""

import io
import math
import random
import struct
import threading
import zlib
from functools import lru_cache
from typing import Any, Callable

from PIL import Image, ImageChops, ImageFilter, PngImagePlugin, UnidentifiedImageError

from ... import png
from ...errors import HelperError, reason_of
from ...request import LARGEST_AREA
from ...untrusted import LARGEST_PICTURE, read_file

FINER = 2.7  # how much finer than clouds the shapes in them are
HALVED, QUARTERED = 2.0, 5.0  # pixels: blurs from which on a picture of half, or a quarter, of the sides will do
PACKING = 1  # of 1 to 9: more makes noise no smaller
ZLIB_HEAD = b"\x78\x01"
MOST_SCANS = 100  # real progressive files have about ten
MOST_SCANNED = 1 << 30  # pixels of all scans
MOST_PIXELS_OF_A_BYTE = 8 * 64  # a block of 8 x 8 takes a bit at least
Image.MAX_IMAGE_PIXELS = None  # ours is smaller, and no warning
FORMATS = ("PNG", "JPEG", "WEBP", "TIFF", "BMP")


class Noise:
    """A source of 8-bit noise pictures of one size, each different from the one before.

    The same seed and size give the same pictures on every machine.
    """

    def __init__(self, seed: int, size: tuple[int, int]) -> None:
        self._random = random.Random(seed)
        self._size = size

    def grains(self) -> Image.Image:
        """Every pixel by itself, evenly spread over 0 to 255."""
        return self._drawn(*self._size)

    def _coarse(self, cell: float, size: tuple[int, int]) -> Image.Image:
        """Smooth over about `cell` pixels of the picture, in a picture of `size`."""
        width, height = (max(2, round(side / max(cell, 1.0)) + 2) for side in self._size)
        return self._drawn(width, height).resize(size, Image.BICUBIC)

    def _drawn(self, width: int, height: int) -> Image.Image:
        content = self._random.getrandbits(8 * width * height).to_bytes(width * height, "little")
        return Image.frombytes("L", (width, height), content)

    def clouds(self, cell: float, shape: "list[int]") -> Image.Image:
        """Soft shapes about `cell` pixels across with finer ones in them, around 128; `shape` is a table for them."""
        fine = cell / FINER
        step = 4 if fine >= 8 and min(self._size) >= 16 else 1
        small = (-(-self._size[0] // step), -(-self._size[1] // step))
        mixed = Image.blend(self._coarse(cell, small), self._coarse(fine, small), 0.35)
        return mixed.point(shape) if step == 1 else enlarged(mixed.point(shape), self._size, step)

    def between(self, least: float, most: float) -> float:
        return self._random.uniform(least, most)


def blurred(picture: Image.Image, radius: float) -> Image.Image:
    """A Gaussian blur; a wide one is done in a smaller picture, where it takes a fraction of the time."""
    step = 1 if min(picture.size) < 16 or radius < HALVED else 2 if radius < QUARTERED else 4
    if step == 1:
        return picture.filter(ImageFilter.GaussianBlur(radius))
    spread = radius**2 - (step**2 - 1) / 12 - step**2 / 6  # of its square, what making smaller and larger adds
    small = picture.reduce(step).filter(ImageFilter.GaussianBlur(math.sqrt(max(spread, 0.0)) / step))
    return enlarged(small, picture.size, step)


def enlarged(small: Image.Image, size: tuple[int, int], step: int) -> Image.Image:
    """The reverse of `reduce`: each pixel of `small` stands for `step` pixels of a side."""
    return small.resize(size, Image.BILINEAR, box=(0, 0, size[0] / step, size[1] / step))


def read_picture(path: str, what: str, remedy: str) -> Image.Image:
    """Raises HelperError that calls the picture `what` and ends in `remedy`. Transparency is ignored."""
    content = read_file(path, what, LARGEST_PICTURE, remedy)
    name = f'the {what} "{path}"'
    try:
        with _opened(content) as file:
            area = file.width * file.height
            if area > LARGEST_AREA:
                raise HelperError(f"T{name[1:]} is larger than {LARGEST_AREA // 1_000_000} megapixels; {remedy}")
            if content.startswith(b"\xff\xd8"):
                _check_jpeg(content, area)
            return _as_rgb(file)
    except HelperError:
        raise
    except UnidentifiedImageError as error:
        raise HelperError(f"T{name[1:]} is no picture that can be read ({', '.join(FORMATS)}); {remedy}") from error
    except Exception as error:  # a damaged file makes the decoders raise almost anything
        raise HelperError(f"Cannot read {name}: {reason_of(error)}; {remedy}") from error


def _opened(content: bytes) -> Image.Image:
    """Pillow loads the readers of all formats before it opens the first file, which takes as long as reading a guide."""
    if content.startswith(png.SIGNATURE):
        return PngImagePlugin.PngImageFile(io.BytesIO(content))
    return Image.open(io.BytesIO(content), formats=FORMATS)


def picture_of(content: bytes) -> Image.Image:
    """Of a PNG whose header has been checked, as 8-bit RGB. Raises HelperError."""
    try:
        return PngImagePlugin.PngImageFile(io.BytesIO(content)).convert("RGB")
    except Exception as error:  # a damaged file makes the decoder raise almost anything
        raise HelperError(f"A pass cannot be read: {reason_of(error)}; render the frame again") from error


def png_of(picture: Image.Image) -> bytes:
    """The file of an RGB picture: each row as what it differs from the one above, in two halves at the same time. Pillow's
    own encoder tries every way to store a row, which gains nothing on the grain of paper."""
    above = Image.new("RGB", picture.size)
    above.paste(picture, (0, 1))
    stored, length = ImageChops.subtract_modulo(picture, above).tobytes(), 3 * picture.width
    rows = b"".join([b"\2" + stored[place : place + length] for place in range(0, len(stored), length)])
    middle = picture.height // 2 * (length + 1)
    packed = [b"", b""]

    def pack(half: int, part: bytes, end: int) -> None:
        packer = zlib.compressobj(PACKING, zlib.DEFLATED, -zlib.MAX_WBITS)
        packed[half] = packer.compress(part) + packer.flush(end)

    thread = threading.Thread(target=pack, args=(0, rows[:middle], zlib.Z_SYNC_FLUSH))
    thread.start()
    pack(1, rows[middle:], zlib.Z_FINISH)
    thread.join()
    header = struct.pack(">IIBBBBB", *picture.size, 8, 2, 0, 0, 0)
    whole = ZLIB_HEAD + packed[0] + packed[1] + zlib.adler32(rows).to_bytes(4, "big")
    return png.file_of((b"IHDR", header), (b"IDAT", whole))


def _check_jpeg(content: bytes, area: int) -> None:
    """Raises ValueError for a file that takes work out of all proportion to what it shows."""
    scans = content.count(b"\xff\xda")  # those of a thumbnail included
    if scans > MOST_SCANS or scans * area > MOST_SCANNED:
        raise ValueError(f"it has {scans} scans")
    if area > MOST_PIXELS_OF_A_BYTE * len(content):
        raise ValueError("it is too short for the size that it claims")


def _as_rgb(file: Image.Image) -> Image.Image:
    if file.mode.startswith("I"):  # 16 bits of grey, of which a plain conversion would clip all but the darkest
        return file.convert("I").point(lambda value: value * (1 / 257)).convert("L").convert("RGB")
    return file.convert("RGB")


def curve(shape: Callable[[float], Any]) -> list[int]:
    """A table of 256 values for `Image.point`, of a function from 0..1 to 0..1; values outside are held at the ends."""
    return [round(255 * min(max(shape(value / 255), 0.0), 1.0)) for value in range(256)]


@lru_cache(maxsize=None)
def ramp(start: float, end: float) -> list[int]:
    """From 0 at `start` to 1 at `end` with soft ends; falling when `start` lies above `end`."""

    def shape(value: float) -> float:
        share = min(max((value - start) / (end - start), 0.0), 1.0)
        return share * share * (3 - 2 * share)

    return curve(shape)


@lru_cache(maxsize=None)
def fade(strength: float) -> list[int]:
    """A covering of 0..1 as the light that it lets through: 1 down to 1 - `strength`."""
    return curve(lambda value: 1 - strength * value)
