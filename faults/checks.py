"""What must be true after every run, whatever the fault was."""

from __future__ import annotations

import json
import os
import pathlib
import re
import time
import zlib
from typing import Iterator

from place import FORMER, Ended, Place
from quillmere_helper import png

SOON = 4.0  # seconds in which the processes below a host that was killed end
CRASH = re.compile(r"terminate called|Traceback|[Aa]ssertion|failed unexpectedly \((?!MemoryError|OSError)")


def findings(place: Place, ended: Ended, statuses: "tuple[int, ...]") -> Iterator[str]:
    if ended.status is None:
        yield "it hangs"
    elif ended.status not in statuses or (place.must_succeed and ended.status != 0):
        yield f"exit status {ended.status}: {ended.errors[-300:]}"
    yield from _texts(ended)
    yield from _processes(place)
    yield from _pictures(place, ended)
    yield from _records(place, ended)
    yield from _temporary_files(place)


def _texts(ended: Ended) -> Iterator[str]:
    crash = CRASH.search(ended.errors)
    if crash and "KeyboardInterrupt" not in ended.errors:  # a break while Python starts is told so by itself
        yield f"its errors tell of a crash: {ended.errors[crash.start() :][-1500:]}"
    errors = [line for line in ended.errors.splitlines() if line.startswith("quillmere: ")]
    for error in sorted(error for error in set(errors) if errors.count(error) > 1):
        yield f"an error is told twice: {error}"


def _processes(place: Place) -> Iterator[str]:
    end = time.monotonic() + SOON
    while left := place.processes():
        if time.monotonic() > end:
            names = [pathlib.Path(f"/proc/{one}/cmdline").read_bytes().replace(b"\0", b" ").decode() for one in left]
            yield f"left running: {'; '.join(names)[:300]}"
            return
        time.sleep(0.01)


def _pictures(place: Place, ended: Ended) -> Iterator[str]:
    frames = [file for file in sorted(place.folder.glob("render_*.png")) if file.read_bytes() != FORMER]
    made = [*place.folder.glob("pictures/*.png")]
    if place.helper != "real" or place.fault == "files changed between":
        made = []  # by a helper that promises nothing, or changed by the fault itself
    for picture in [*frames, *made]:
        if picture.is_file() and not _is_whole(picture.read_bytes()):
            yield f"{picture.name} is not whole: {picture.stat().st_size} bytes"
    if ended.status == 0 and len(frames) != place.frames:
        yield f"{place.frames} frames are done, {len(frames)} pictures are there"


def _records(place: Place, ended: Ended) -> Iterator[str]:
    """What isn't on record although it is done has to be told, and nothing takes a record away but the fault itself."""
    if ended.status != 0 or "incomplete on disk" in ended.errors or place.fault == "files changed between":
        return
    for frame in range(place.frames):
        if not any(map(_is_json, place.folder.glob(f"write*/quillmere/c4d/history/*/render_f{frame}.json"))):
            yield f"frame {frame} is done and not on record"


def _is_json(file: pathlib.Path) -> bool:
    try:
        return bool(json.loads(file.read_bytes()))
    except ValueError:
        return False


def _is_whole(content: bytes) -> bool:
    try:
        parts = [(bytes(kind), bytes(data)) for kind, data in png.chunks(content)]
        zlib.decompress(b"".join(data for kind, data in parts if kind == b"IDAT"))
        return parts[-1][0] == b"IEND"
    except (png.BadPng, zlib.error, IndexError):
        return False


def _temporary_files(place: Place) -> Iterator[str]:
    """Those of processes that were killed are swept by the next render, once they have lain for a minute."""
    left = list(place.folder.rglob("*.part"))
    if not left:
        return
    for file in left:
        os.utime(file, (0, 0), follow_symlinks=False)
    place.end_of(place.start("--quiet"))
    left = [file for file in left if file.exists()]
    if left:
        yield f"left on disk: {', '.join(str(file.relative_to(place.folder)) for file in left)}"
