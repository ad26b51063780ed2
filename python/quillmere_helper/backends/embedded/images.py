"""What every step of a drawing is made with: pictures read as 8-bit RGB, tone curves, seeded noise."""

import io
import random
from typing import Any, Callable

from PIL import Image, UnidentifiedImageError

from ...errors import HelperError, reason_of
from ...request import LARGEST_AREA
from ...untrusted import LARGEST_PICTURE, read_file

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

    def grains(self, cell: float = 0.0) -> Image.Image:
        """Every pixel by itself, evenly spread over 0 to 255; smooth over about `cell` pixels when that is given."""
        width, height = self._size
        if cell:
            width, height = (max(2, round(side / max(cell, 1.0)) + 2) for side in self._size)
        content = self._random.getrandbits(8 * width * height).to_bytes(width * height, "little")
        grains = Image.frombytes("L", (width, height), content)
        return grains.resize(self._size, Image.BICUBIC) if cell else grains

    def clouds(self, cell: float) -> Image.Image:
        """Soft shapes about `cell` pixels across with finer ones in them, around 128."""
        coarse = self.grains(cell)
        return Image.blend(coarse, self.grains(cell / 2.7), 0.35)

    def between(self, least: float, most: float) -> float:
        return self._random.uniform(least, most)


def read_picture(path: str, what: str, remedy: str) -> Image.Image:
    """Raises HelperError that calls the picture `what` and ends in `remedy`. Transparency is ignored."""
    content = read_file(path, what, LARGEST_PICTURE, remedy)
    name = f'the {what} "{path}"'
    try:
        with Image.open(io.BytesIO(content), formats=FORMATS) as file:
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


def picture_of(content: bytes) -> Image.Image:
    """Of a PNG whose header has been checked, as 8-bit RGB. Raises HelperError."""
    try:
        return Image.open(io.BytesIO(content), formats=("PNG",)).convert("RGB")
    except Exception as error:  # a damaged file makes the decoder raise almost anything
        raise HelperError(f"A pass cannot be read: {reason_of(error)}; render the frame again") from error


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


def ramp(start: float, end: float) -> list[int]:
    """From 0 at `start` to 1 at `end` with soft ends; falling when `start` lies above `end`."""

    def shape(value: float) -> float:
        share = min(max((value - start) / (end - start), 0.0), 1.0)
        return share * share * (3 - 2 * share)

    return curve(shape)


def fade(strength: float) -> list[int]:
    """A covering of 0..1 as the light that it lets through: 1 down to 1 - `strength`."""
    return curve(lambda value: 1 - strength * value)
