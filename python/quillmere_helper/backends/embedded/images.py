"""What every step of a drawing is made with: pictures read as 8-bit RGB, tone curves, seeded noise."""

import io
import math
import random
import struct
import threading
import zlib
from functools import lru_cache
from typing import Any, Callable, NamedTuple, Sequence

from PIL import Image, ImageChops, ImageFilter, PngImagePlugin, UnidentifiedImageError

from ... import png
from ...errors import HelperError, reason_of
from ...request import LARGEST_AREA
from ...untrusted import LARGEST_PICTURE, read_file

FINER = 2.7  # how much finer than clouds the shapes in them are
Steps = Sequence["tuple[int, float]"]  # in what part of the sides a blur of so many pixels or more is done
STEPS = ((4, 3.5), (2, 2.0))
COARSE_STEPS = ((2, 1.2),)  # of colours, and of thick lines
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

    def _coarse(self, cell: float) -> Image.Image:
        """A pixel for about `cell` pixels of the picture."""
        return self._drawn(*(max(2, round(side / max(cell, 1.0)) + 2) for side in self._size))

    def _drawn(self, width: int, height: int) -> Image.Image:
        content = self._random.getrandbits(8 * width * height).to_bytes(width * height, "little")
        return Image.frombytes("L", (width, height), content)

    def clouds(self, cell: float) -> "Clouds":
        """Soft shapes about `cell` pixels across with finer ones in them."""
        fine = cell / FINER
        step = 4 if fine >= 8 and min(self._size) >= 16 else 1
        return Clouds(self._coarse(cell), self._coarse(fine), self._size, step)

    def between(self, least: float, most: float) -> float:
        return self._random.uniform(least, most)


class Clouds(NamedTuple):
    """Soft shapes that are drawn as noise already, but not yet as large as the picture: which takes a while, and can be
    done in any order."""

    coarse: Image.Image
    fine: Image.Image
    size: "tuple[int, int]"
    step: int

    def shaped(self, table: "list[int]") -> Image.Image:
        """The picture of them, around 128 before they go through the table."""
        return enlarged(self._mixed(), self.size, self.step).point(table)

    def faint(self, table: "list[int]") -> Image.Image:
        """The same in a third of the time, in squares of a few pixels: for what is wide, and changes little after the
        table, so that a step between two squares is less than what 8 bits tell apart in the drawing."""
        return enlarged(self._mixed().point(table), self.size, self.step, Image.NEAREST)

    def _mixed(self) -> Image.Image:
        small = (-(-self.size[0] // self.step), -(-self.size[1] // self.step))
        return Image.blend(self.coarse.resize(small, Image.BICUBIC), self.fine.resize(small, Image.BICUBIC), 0.35)


class Beside:
    """Work on a thread of its own while this one goes on: Pillow lets others run in most of what takes long."""

    def __init__(self, work: Callable[[], Any]) -> None:
        self._done: "list[Any]" = []
        self._failed: "list[BaseException]" = []
        self._thread = threading.Thread(target=self._run, args=(work,), daemon=True)  # nobody waits for it at the end
        self._thread.start()

    def _run(self, work: Callable[[], Any]) -> None:
        try:
            self._done.append(work())
        except BaseException as error:  # for the thread that asks for the result
            self._failed.append(error)

    def result(self) -> Any:
        """Waits for it. Raises what the work has raised."""
        self._thread.join()
        if self._failed:
            raise self._failed[0]
        return self._done[0]


def blurred(picture: Image.Image, radius: float, steps: "Steps" = STEPS) -> Image.Image:
    """A Gaussian blur; a wide one is done in a smaller picture, where it takes a fraction of the time."""
    step = step_for(picture, radius, steps)
    return enlarged(softened(shrunk(picture, step), radius, step), picture.size, step)


def step_for(picture: Image.Image, radius: float, steps: "Steps" = STEPS) -> int:
    """How many pixels of a side one may stand for, where the picture is blurred so far anyway."""
    return next((step for step, least in steps if radius >= least and min(picture.size) >= 16), 1)


def softened(small: Image.Image, radius: float, step: int) -> Image.Image:
    """What is the picture with a blur of `radius` when it is enlarged by `step`; `small` is the picture made smaller."""
    added = (step**2 - 1) / 12 + step**2 / 6 if step > 1 else 0.0  # to the square, by making smaller and larger
    square = max(radius**2 - added, 0.0) / step**2
    return small.filter(ImageFilter.GaussianBlur(math.sqrt(square)))


def shrunk(picture: Image.Image, step: int) -> Image.Image:
    return picture if step == 1 else picture.reduce(step)


def without(whole: Image.Image, part: Image.Image) -> Image.Image:
    """`whole` less `part`, at least 0; takes a tenth of the time of ImageChops.subtract."""
    return ImageChops.subtract_modulo(ImageChops.lighter(whole, part), part)


def enlarged(small: Image.Image, size: tuple[int, int], step: int, kind: int = Image.BILINEAR) -> Image.Image:
    """The reverse of `shrunk`: each pixel of `small` stands for `step` pixels of a side."""
    return small if step == 1 else small.resize(size, kind, box=(0, 0, size[0] / step, size[1] / step))


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
    own encoder tries every way to store a row, which gains nothing on the grain of paper; nor is there anything in it
    that repeats: looking for that takes as long again for a tenth of the size."""
    above = Image.new("RGB", picture.size)
    above.paste(picture, (0, 1))
    stored, length = ImageChops.subtract_modulo(picture, above).tobytes(), 3 * picture.width
    rows = b"".join([b"\2" + stored[place : place + length] for place in range(0, len(stored), length)])
    middle = picture.height // 2 * (length + 1)

    def pack(part: bytes, end: int) -> bytes:
        packer = zlib.compressobj(1, zlib.DEFLATED, -zlib.MAX_WBITS, 9, zlib.Z_HUFFMAN_ONLY)
        return packer.compress(part) + packer.flush(end)

    first = Beside(lambda: pack(rows[:middle], zlib.Z_SYNC_FLUSH))
    second = pack(rows[middle:], zlib.Z_FINISH)
    header = struct.pack(">IIBBBBB", *picture.size, 8, 2, 0, 0, 0)
    whole = ZLIB_HEAD + first.result() + second + zlib.adler32(rows).to_bytes(4, "big")
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


TWICE = curve(lambda value: 2 * value)


@lru_cache(maxsize=None)
def fade(strength: float) -> list[int]:
    """A covering of 0..1 as the light that it lets through: 1 down to 1 - `strength`."""
    return curve(lambda value: 1 - strength * value)
