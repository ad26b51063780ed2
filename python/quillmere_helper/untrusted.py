"""Files and JSON that others wrote: files whole and up to a size, values of the kind that is asked for or empty."""

import json
import os
import stat
from typing import Any, Union

from .errors import HelperError, reason_of

LONGEST_INTEGER = 20  # digits; 64-bit seeds have that many, and converting a million digits takes minutes


def read_file(path: str, what: str, largest: int, remedy: str) -> bytes:
    """The file at `path`, of at most `largest` bytes. Raises HelperError that calls it `what` and ends in `remedy`."""
    name = f'the {what} "{path}"'
    try:
        with open(path, "rb", opener=_regular) as file:
            raw = file.read(largest + 1)
    except (OSError, ValueError) as error:
        raise HelperError(f"Cannot read {name}: {reason_of(error)}; {remedy}") from error
    if len(raw) > largest:
        raise HelperError(f"T{name[1:]} is larger than {largest >> 20} MB; {remedy}")
    return raw


def read_object(path: str, what: str, largest: int, remedy: str) -> dict[str, Any]:
    """The JSON object in the file at `path`; see `read_file` and `parse_object`."""
    return parse_object(read_file(path, what, largest, remedy), f'The {what} "{path}"', remedy)


def parse_object(raw: bytes, name: str, remedy: str) -> dict[str, Any]:
    """Bytes that are not UTF-8 become lone surrogates, from which `os.fsencode` makes the same bytes again; control
    characters in texts are let through. NaN and its like, which some writers leave in JSON, become null.

    Raises HelperError that begins with `name` and ends in `remedy`.
    """
    try:
        text = raw.decode("utf-8-sig", "surrogateescape")
        value = json.loads(text, strict=False, parse_int=_integer, parse_constant=lambda word: None)
    except (ValueError, RecursionError) as error:
        raise HelperError(f"{name} is not JSON: {reason_of(error)}; {remedy}") from error
    if not isinstance(value, dict):
        raise HelperError(f"{name} is not a JSON object; {remedy}")
    return value


def json_of(sent: Union[bytes, str]) -> Any:
    """The JSON value that a server sent, or None when it is none."""
    try:
        return json.loads(sent)
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


def _integer(digits: str) -> int:
    if len(digits) > LONGEST_INTEGER + 1:
        raise ValueError(f"a number of {len(digits)} digits")
    return int(digits)
