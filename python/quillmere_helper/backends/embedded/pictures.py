"""Reading the pictures that a drawing is made from; whatever is in the file, the result is 8-bit RGB or an error."""

from __future__ import annotations

import os

from PIL import Image

from ...errors import HelperError, reason_of
from ...request import LARGEST_AREA

FORMATS = ("PNG", "JPEG", "WEBP", "TIFF", "BMP")


def read_picture(path: str, what: str, remedy: str) -> Image.Image:
    """Raises HelperError that calls the picture `what` and ends in `remedy`. Transparency is ignored."""
    name = f'the {what} "{path}"'
    if os.path.exists(path) and not os.path.isfile(path):
        raise HelperError(f"Cannot read {name}: not a file; {remedy}")
    try:
        with Image.open(path, formats=FORMATS) as file:
            if file.width * file.height > LARGEST_AREA:
                raise HelperError(f"{name} is larger than {LARGEST_AREA // 1_000_000} megapixels; {remedy}")
            return _as_rgb(file)
    except HelperError:
        raise
    except Exception as error:  # a damaged file makes the decoders raise almost anything
        raise HelperError(f"Cannot read {name}: {reason_of(error)}; {remedy}") from error


def _as_rgb(file: Image.Image) -> Image.Image:
    if file.mode.startswith("I"):  # 16 bits of grey, of which a plain conversion would clip all but the darkest
        return file.convert("I").point(lambda value: value * (1 / 257)).convert("L").convert("RGB")
    return file.convert("RGB")
