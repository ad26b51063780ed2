"""The guide and the style image, as servers are given them."""

from __future__ import annotations

from . import picture_files, plain_png
from .errors import HelperError
from .json_reader import read_file
from .png_chunks import BadPng

LARGEST_PICTURE = 512 << 20  # bytes


def ready(path: str, role: str) -> tuple[bytes, str]:
    """The picture as it is sent, and its kind: PNG as 8-bit RGB, others as they are. Raises HelperError."""
    remedy = "render the frame again" if role == "guide" else "choose another one, or none"
    content = read_file(path, f"{role} image", LARGEST_PICTURE, remedy)
    kind = picture_files.kind_of(content)
    if kind is None:
        raise HelperError(f'The {role} image "{path}" is no whole PNG, JPEG or WebP picture; {remedy}')
    if kind != "png":
        return content, kind
    try:
        return plain_png.as_plain(content), kind
    except BadPng as error:
        raise HelperError(f'Cannot use the {role} image "{path}": {error}; {remedy}') from error
