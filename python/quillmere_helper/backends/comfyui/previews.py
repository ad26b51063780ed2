"""The preview pictures that a ComfyUI server sends while it samples, kept in one file for the host to show."""

import os
from contextlib import suppress
from typing import Optional

from ... import pictures
from ...exchange import write_whole
from ...untrusted import as_object, json_of

WANTED = "QUILLMERE_PREVIEWS"  # environment: set by a host that shows them
FLAGS = '{"type":"feature_flags","data":{"supports_preview_metadata":true}}'  # servers then tell whose preview it is
PLAIN, TOLD = 1, 4  # the server's numbers for a preview by itself and for one with what it is of
LARGEST = 8 << 20  # bytes
PAUSE = 0.2  # seconds between two that are kept
KINDS = ("jpg", "png")


class Previews:
    """One file for one run, `preview_<frame>.<kind>` beside the status file; written whole, gone when the run ends."""

    def __init__(self, status_path: str, frame: int) -> None:
        self.wanted = bool(status_path and os.environ.get(WANTED))
        self.path = ""  # of the file that is there
        self._stem = os.path.join(os.path.dirname(status_path), f"preview_{frame}.") if status_path else ""
        self._kept_at = 0.0
        self.remove()  # what a run that was killed has left

    def take(self, message: bytes, job: str, now: float) -> bool:
        """Keeps the picture of a message at the time `now`, in seconds; returns whether it did.

        What is not a whole preview picture, or is of another job than `job`, changes nothing.
        """
        if not self.wanted or now - self._kept_at < PAUSE:
            return False
        picture = _picture_in(message, job)
        if picture is None:
            return False
        self._kept_at, path = now, self._stem + picture[1]
        try:
            write_whole(path, picture[0])
        except OSError:  # a preview less costs no picture
            return False
        if self.path != path:
            self.remove(except_for=path)
        self.path = path
        return True

    def remove(self, except_for: str = "") -> None:
        self.path = ""
        for kind in KINDS if self._stem else ():
            if self._stem + kind != except_for:
                with suppress(OSError):
                    os.unlink(self._stem + kind)


def _picture_in(message: bytes, job: str) -> Optional[pictures.Picture]:
    event, number = int.from_bytes(message[:4], "big"), int.from_bytes(message[4:8], "big")
    if event == PLAIN:  # the number tells its kind, which the picture itself tells too
        content = message[8:]
    elif event == TOLD and as_object(json_of(message[8 : 8 + number])).get("prompt_id") == job:
        content = message[8 + number :]
    else:
        return None
    kind = pictures.kind_of(content) if len(content) <= LARGEST else None
    return (content, kind) if kind in KINDS else None
