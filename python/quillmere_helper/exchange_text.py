"""JSON text for a reader that undoes only the escapes of the double quote, the backslash and the line feed.

Also runs on interpreters older than the rest of the package supports.
"""

import json
from typing import Any, Dict


def to_json(members: Dict[str, Any]) -> bytes:
    """One member per line, in the order given; non-ASCII text stays as it is, as do file names that are not UTF-8."""
    text = json.dumps(members, ensure_ascii=False, indent=2) + "\n"
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError:
        return text.encode("utf-8", "replace")


def readable(text: str) -> str:
    """`text` as a status line: on one line, and without characters that the reader would show as escapes."""
    flat = " ".join(str(text).replace("\\", "/").split())
    return "".join(letter for letter in flat if letter >= " " and letter != "\x7f")


def reads_back(text: str) -> bool:
    """Whether the reader gets `text` back unchanged."""
    return "\\" not in text and all(letter >= " " or letter == "\n" for letter in text)
