"""The status file: what the render is doing right now."""

from __future__ import annotations

import os

from . import exchange_text, whole_file


class Status:
    """Keeps one status file up to date, written whole each time.

    A status that cannot be written costs the user a progress line, not the picture: failures are ignored.
    """

    def __init__(self, path: str) -> None:
        self._path = path
        self._last: tuple[str, str] = ("", "")

    def tell(self, phase: str, message: str, progress: float | None = None) -> None:
        """`progress` is the share of the whole job that is done, 0 to 1; it is added to the message as a percentage."""
        if progress is not None:
            message = f"{message} ({int(100 * min(max(progress, 0.0), 1.0))} %)"
        told = (phase, exchange_text.readable(message))
        if told == self._last or not self._path:
            return
        self._last = told
        members: dict[str, object] = {"phase": told[0], "message": told[1]}
        if progress is not None:
            members["progress"] = round(progress, 3)
        try:
            whole_file.write_whole(self._path, exchange_text.to_json(members))
        except OSError:
            pass

    @property
    def folder(self) -> str:
        return os.path.dirname(self._path)
