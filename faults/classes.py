"""The classes of faults. Each takes a place, renders there with one fault and returns how that ended."""

from __future__ import annotations

import os
import pathlib
import resource
import signal
import subprocess
import threading
import time
from typing import Callable

from place import Ended, Place

MB = 1 << 20
DEADLY = ("KILL", "TERM", "QUIT", "USR1", "ABRT", "XCPU", "ALRM", "SEGV", "HUP")


def _name_of(process: int) -> str:
    try:
        return pathlib.Path(f"/proc/{process}/comm").read_text().strip()
    except OSError:
        return ""


def _kill(process: int, name: str) -> None:
    try:
        os.kill(process, getattr(signal, "SIG" + name))
    except ProcessLookupError:
        pass


def no_fault(place: Place) -> Ended:
    return place.end_of(place.start())


def _something_below_killed(place: Place, wanted: Callable[[str], bool]) -> Ended:
    process = place.start()
    place.a_while()
    end = time.monotonic() + 0.5
    while process.poll() is None and time.monotonic() < end:
        below = [one for one in place.processes() if one != process.pid and wanted(_name_of(one))]
        if below:
            _kill(place.chance.choice(below), place.chance.choice(DEADLY))
            break
    return place.end_of(process)


def helper_killed(place: Place) -> Ended:
    return _something_below_killed(place, lambda name: name.startswith(("python", "sleep")))


def shell_killed(place: Place) -> Ended:
    return _something_below_killed(place, lambda name: name.endswith("sh"))


def host_killed(place: Place) -> Ended:
    process = place.start(prepare=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
    place.a_while()
    _kill(process.pid, place.chance.choice(DEADLY))
    return place.end_of(process)


def host_broken_off(place: Place) -> Ended:
    """One break or several, to the host or to everything at the terminal."""
    process = place.start()
    to_group = place.chance.random() < 0.5
    for _ in range(place.chance.randint(1, 3)):
        place.a_while(0.3)
        number = place.chance.choice([signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
        try:
            (os.killpg if to_group else os.kill)(process.pid, number)
        except ProcessLookupError:
            pass
    return place.end_of(process)


def reader_goes_away(place: Place) -> Ended:
    process = place.start(*place.chance.choice([["--json"], [], ["--quiet"]]))
    place.a_while(0.4)
    stream = place.chance.choice([process.stdout, process.stderr])
    assert stream is not None
    stream.close()
    if stream is process.stdout:
        process.stdout = None
    else:
        process.stderr = None
    return place.end_of(process)


def full_pipe(place: Place) -> Ended:
    """A reader that doesn't read for a while."""
    reading, writing = os.pipe()
    os.set_blocking(writing, False)
    try:
        while os.write(writing, b"\n" * 4096):
            pass
    except BlockingIOError:
        os.set_blocking(writing, True)
    process = place.start("--json", stdout=writing)
    os.close(writing)
    place.a_while()
    chunks = []
    drain = threading.Thread(target=lambda: chunks.extend(iter(lambda: os.read(reading, 65536), b"")))
    drain.start()
    ended = place.end_of(process)
    drain.join(5)
    os.close(reading)
    return Ended(ended.status, b"".join(chunks).decode("utf-8", "replace"), ended.errors)


def full_output_device(place: Place) -> Ended:
    with open("/dev/full", "wb") as full:
        return place.end_of(place.start(*place.chance.choice([["--json"], []]), stdout=full.fileno()))


def _limited(place: Place, which: int, most: int) -> Ended:
    return place.end_of(place.start(prepare=lambda: resource.setrlimit(which, (most, most))))


def small_files(place: Place) -> Ended:
    return _limited(place, resource.RLIMIT_FSIZE, place.chance.choice([0, 100, 5000, MB, 2 * MB]))


def few_descriptors(place: Place) -> Ended:
    return _limited(place, resource.RLIMIT_NOFILE, place.chance.randint(3, 40))


def little_memory(place: Place) -> Ended:
    return _limited(place, resource.RLIMIT_AS, place.chance.randint(70, 500) * MB)


def little_time(place: Place) -> Ended:
    return _limited(place, resource.RLIMIT_CPU, 1)


def full_disk(place: Place) -> Ended:
    """A small disk under the exchange files, the pictures, or the frames, which fills before or while it is used."""
    where = place.folder / place.chance.choice(["write", "pictures"])
    where.mkdir()
    size = place.chance.choice([MB // 2, 2 * MB, 4 * MB])
    options = ["-o", f"size={size},mode=755"]
    if subprocess.run(["mount", "-t", "tmpfs", *options, "none", where], capture_output=True).returncode != 0:
        return small_files(place)  # who isn't root mounts nothing
    try:
        process = place.start()
        place.a_while(0.4)
        try:
            (where / "filler").write_bytes(bytes(size))
        except OSError:
            pass
        ended = place.end_of(process)
        kept = [(file.name, file.read_bytes()) for file in where.rglob("*.png")]
    finally:
        subprocess.run(["umount", "-l", where], capture_output=True)
    for name, content in kept:
        (place.folder / f"kept_{name}").write_bytes(content)
    return ended


def read_only_folder(place: Place) -> Ended:
    """Of no effect for root, who may write there all the same."""
    folder = place.folder / place.chance.choice(["write", "pictures", "write/quillmere/c4d/runtime"])
    folder.mkdir(parents=True, exist_ok=True)
    folder.chmod(0o555)
    ended = place.end_of(place.start())
    folder.chmod(0o755)
    return ended


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


# Name, what is done, the exit statuses that are true of it; signals that killed the host are negative.
KILLED = tuple(-getattr(signal, "SIG" + name) for name in DEADLY)
CLASSES: "list[tuple[str, Callable[[Place], Ended], tuple[int, ...]]]" = [
    ("no fault", no_fault, (0, 1)),
    ("helper killed", helper_killed, (0, 1)),
    ("shell killed", shell_killed, (0, 1)),
    ("host killed", host_killed, (0, 1, 130, *KILLED)),
    ("host broken off", host_broken_off, (0, 1, 130, -signal.SIGINT, -signal.SIGTERM, -signal.SIGHUP)),
    ("reader goes away", reader_goes_away, (0, 1)),
    ("full pipe", full_pipe, (0, 1)),
    ("full output device", full_output_device, (1,)),
    ("small files", small_files, (0, 1)),
    ("few descriptors", few_descriptors, (0, 1, 127)),  # 127: the loader found no descriptor for a library
    ("little memory", little_memory, (0, 1)),
    ("little time", little_time, (0, 1, -signal.SIGXCPU, -signal.SIGKILL)),
    ("full disk", full_disk, (0, 1)),
    ("read-only folder", read_only_folder, (0, 1)),
    ("files changed between", files_changed_between, (0, 1)),
    ("two on one folder", two_on_one_folder, (0, 1)),
    ("two on one output", two_on_one_output, (0, 1)),
]
