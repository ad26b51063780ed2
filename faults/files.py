"""Files that others change, or use, at the same time."""

from __future__ import annotations

import os
import pathlib
import time

from place import Ended, Place


def files_changed_between(place: Place) -> Ended:
    """Whatever the command and its helper exchange is cut off, emptied, removed or replaced while they run."""
    process = place.start()
    end = time.monotonic() + 3
    while process.poll() is None and time.monotonic() < end:
        time.sleep(place.chance.random() * 0.03)
        files = [file for folder in (place.runtime, place.folder / "pictures") for file in _files_in(folder)]
        if files:
            _change(place, place.chance.choice(files))
    return place.end_of(process)


def inputs_changed(place: Place) -> Ended:
    """What the command was given is cut off, emptied, removed or replaced while it is read."""
    given = place.folder / "settings.json"
    given.write_text('{"format": "quillmere settings", "version": 1, "parameters": {"QUILLMERE_PROMPT": "fog"}}')
    process = place.start("--settings", "settings.json")
    for _ in range(place.chance.randint(1, 4)):
        place.a_while(0.15)
        _change(place, place.chance.choice([place.folder / "scene.glb", given]))
    return place.end_of(process)


def _files_in(folder: pathlib.Path) -> list[pathlib.Path]:
    try:
        return [file for file in folder.iterdir() if file.is_file() and file.suffix in (".json", ".png")]
    except OSError:
        return []


def _change(place: Place, file: pathlib.Path) -> None:
    pipe = ["pipe"] if place.helper == "real" else []  # for which the scripted helpers would wait
    kind = place.chance.choice(["cut off", "empty", "remove", "replace", *pipe])
    try:
        if kind == "cut off":
            os.truncate(file, max(0, file.stat().st_size // 2))
        elif kind == "empty":
            os.truncate(file, 0)
        elif kind == "replace":
            file.write_bytes(place.chance.randbytes(200))
        else:
            file.unlink()
            if kind == "pipe":
                os.mkfifo(file)
    except OSError:
        pass


def two_on_one_folder(place: Place) -> Ended:
    """One of them is refused."""
    first, second = place.start(), place.start("--quiet")
    ended, other = place.end_of(first), place.end_of(second)
    return max(ended, other, key=lambda one: (one.status is None, one.status))


def two_on_one_output(place: Place) -> Ended:
    first, second = place.start(), place.start("--write-dir", "write2", "--quiet")
    ended, other = place.end_of(first), place.end_of(second)
    return other if other.status is None else ended
