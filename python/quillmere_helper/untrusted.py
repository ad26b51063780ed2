"""Files and JSON that others wrote: files whole and up to a size, values of the kind that is asked for or empty."""

import io
import json
import math
import mmap
import os
import stat
from typing import Any, Union, cast

from . import png
from .errors import HelperError, reason_of

LARGEST_PICTURE = 256 << 20  # bytes of a file; 64 megapixels of 8-bit RGB take three quarters of that at most
LONGEST_INTEGER = 20  # digits; 64-bit seeds have that many, and converting a million digits takes minutes


def read_file(path: str, what: str, largest: int, remedy: str, largest_png: int = 0) -> bytes:
    """The file at `path`, of at most `largest` bytes, or `largest_png` for a PNG. Raises HelperError that calls it
    `what` and ends in `remedy`."""
    name = f'the {what} "{path}"'
    try:
        with open(path, "rb", opener=_regular) as file:
            raw = file.read(len(png.SIGNATURE))
            largest = max(largest, largest_png) if raw == png.SIGNATURE else largest
            raw += file.read(max(largest + 1 - len(raw), 0))
    except (OSError, ValueError) as error:
        raise HelperError(f"Cannot read {name}: {reason_of(error)}", remedy=remedy) from error
    if len(raw) > largest:
        raise HelperError(f"T{name[1:]} is larger than {largest >> 20} MB", remedy=remedy)
    return raw


class Spool:
    """A file for what a server sends that has no name in its folder: it is gone with the last that uses it, however
    that ends, and nobody else can shorten it. Raises HelperError."""

    def __init__(self, folder: str) -> None:
        import tempfile  # which takes as long to load as all of a drawing's own modules

        self._folder = folder
        try:
            self._file = cast(io.BufferedRandom, tempfile.TemporaryFile(dir=folder))
        except OSError as error:
            raise self._failed(error) from error

    def write(self, piece: Union[png.Content, memoryview]) -> None:
        try:
            self._file.write(piece)
        except OSError as error:
            raise self._failed(error) from error

    def content(self) -> png.Content:
        """All that was written; nothing can be written any more."""
        try:
            with self._file as file:
                file.flush()
                return _mapped(file) if file.tell() else b""
        except OSError as error:
            raise self._failed(error) from error

    def _failed(self, error: OSError) -> HelperError:
        text = f'Cannot keep what the server sends in "{self._folder}": {reason_of(error)}'
        return HelperError(text, remedy="free some space there")


def _mapped(file: io.BufferedRandom) -> png.Content:
    try:
        return mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
    except OSError:  # of a file system that maps nothing
        file.seek(0)
        return file.read()


def read_object(path: str, what: str, largest: int, remedy: str) -> dict[str, Any]:
    """The JSON object in the file at `path`; see `read_file` and `parse_object`."""
    return parse_object(read_file(path, what, largest, remedy), f'The {what} "{path}"', remedy)


def parse_object(raw: bytes, name: str, remedy: str) -> dict[str, Any]:
    """Bytes that are not UTF-8 become lone surrogates, from which `os.fsencode` makes the same bytes again; control
    characters in texts are let through. NaN and its like, which some writers leave in JSON, become null.

    Raises HelperError that begins with `name` and ends in `remedy`.
    """
    if not raw.strip():
        raise HelperError(f"{name} is empty: the disk may be full", remedy=remedy)
    try:
        text = raw.decode("utf-8-sig", "surrogateescape")
        value = _parsed(text, strict=False)
    except (ValueError, RecursionError) as error:
        raise HelperError(f"{name} is not JSON: {reason_of(error)}", remedy=remedy) from error
    if not isinstance(value, dict):
        raise HelperError(f"{name} is not a JSON object", remedy=remedy)
    return value


def json_of(sent: Union[bytes, str]) -> Any:
    """The JSON value that a server sent, or None when it is none."""
    try:
        return _parsed(sent if isinstance(sent, str) else sent.decode("utf-8-sig"))
    except (ValueError, RecursionError):
        return None


def as_object(value: Any) -> dict[str, Any]:
    """A value of JSON when it is an object, else an empty one."""
    return value if isinstance(value, dict) else {}


def as_text(value: Any) -> str:
    return value if isinstance(value, str) else ""


def as_list(value: Any) -> list[Any]:
    return value if isinstance(value, list) else []


def objects_in(value: Any) -> list[dict[str, Any]]:
    """The objects among the members of a list."""
    return [member for member in as_list(value) if isinstance(member, dict)]


def _regular(path: str, flags: int) -> int:
    """Opens a regular file; anything else is refused, and a pipe without a writer is not waited for."""
    descriptor = os.open(path, flags | os.O_NONBLOCK)
    if not stat.S_ISREG(os.fstat(descriptor).st_mode):
        os.close(descriptor)
        raise OSError("not a file")
    return descriptor


def _parsed(text: str, strict: bool = True) -> Any:
    """Numbers are finite, and whole ones have few digits; NaN and its like become null."""
    return json.loads(text, strict=strict, parse_int=_integer, parse_float=_finite, parse_constant=lambda word: None)


def _finite(digits: str) -> float:
    number = float(digits)
    if not math.isfinite(number):
        raise ValueError("a number that is too large")
    return number


def _integer(digits: str) -> int:
    if len(digits) > LONGEST_INTEGER + 1:
        raise ValueError(f"a number of {len(digits)} digits")
    return int(digits)
