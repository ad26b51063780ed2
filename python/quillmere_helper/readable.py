"""Texts as people get to see them in a terminal, a log or the host: bounded, without logins, and without what could
steer a terminal.

Also runs on interpreters older than the rest of the package supports.
"""

import re
import sys

LONGEST_LINE = 2000  # characters: two paths of the usual length, a server's words and a remedy
SHORTEST_SECRET = 4  # characters; what is shorter stands in every text
HIDDEN = "***"
SHOWN_INSTEAD = "\ufffd"

# Controls (C0, C1), marks that turn the writing direction or break the line, and halves of surrogate pairs.
_STEERING = re.compile("[\x00-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069\ufeff\ud800-\udfff]")
_secrets = set()


def hide(secret: str) -> None:
    """From now on this text is shown nowhere, whoever repeats it."""
    if len(secret) >= SHORTEST_SECRET:
        _secrets.add(secret)


def masked(text: str) -> str:
    for secret in sorted(_secrets, key=len, reverse=True):
        text = text.replace(secret, HIDDEN)
    return text


def cut(text: str, most: int = LONGEST_LINE) -> str:
    """Without its middle when it is longer than `most`: what begins a text names the thing, what ends it the remedy."""
    half = (most - 5) // 2
    return text if len(text) <= most else text[:half] + " ... " + text[-half:]


def readable(text: str) -> str:
    """`text` as one line."""
    return _STEERING.sub(SHOWN_INSTEAD, " ".join(cut(masked(text)).split()))


def readable_lines(text: str, most: int) -> str:
    """The lines of `text`, at most `most` characters of them."""
    lines = cut(masked(text), most).split("\n")
    return "\n".join(_STEERING.sub(SHOWN_INSTEAD, line.rstrip("\r").replace("\t", "    ")) for line in lines)


def complain(text: str) -> None:
    """Puts a line on standard error. Nobody may be reading there any more, which keeps nothing else from being done."""
    try:
        sys.stderr.write("quillmere_render_helper: {}\n".format(readable(text)))
        sys.stderr.flush()
    except (AttributeError, OSError, ValueError):
        pass
