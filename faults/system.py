"""A system at its limits: pipes, disks, memory, descriptors, processes, time."""

from __future__ import annotations

import atexit
import contextlib
import functools
import os
import pathlib
import resource
import shutil
import subprocess
import tempfile
import threading
from typing import Iterator, Optional

from app_case import PLUGIN, QUILLMERE, SANITIZER
from place import Ended, Place

MB = 1 << 20
HOUR = 3600
OWN_FILE = 1 << 16  # bytes for one that the thread sanitizer writes first
FIRST_USER = 200_000  # of users that nobody is; each run is one of its own, so that it is alone in being counted

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
    most = place.chance.choice([0, 100, 5000, MB, 2 * MB])
    return _limited(place, resource.RLIMIT_FSIZE, max(most, OWN_FILE) if SANITIZER == "thread" else most)


def few_descriptors(place: Place) -> Ended:
    return _limited(place, resource.RLIMIT_NOFILE, place.chance.randint(3, 40))


def little_memory(place: Place) -> Ended:
    if SANITIZER:  # whose own maps need terabytes of addresses
        return little_time(place)
    return _limited(place, resource.RLIMIT_AS, place.chance.randint(70, 500) * MB)


def little_time(place: Place) -> Ended:
    return _limited(place, resource.RLIMIT_CPU, 1)


def full_disk(place: Place) -> Ended:
    """A small disk under the exchange files or the pictures, which fills before or while it is used."""
    size = place.chance.choice([MB // 2, 2 * MB, 4 * MB])
    with _disk(place, size) as disk:
        if disk is None:  # who isn't root mounts nothing
            return small_files(place)
        process = place.start()
        place.a_while(0.4)
        with contextlib.suppress(OSError):
            (disk / "filler").write_bytes(bytes(size))
        return place.end_of(process)


def read_only_disk(place: Place) -> Ended:
    """One that can't be written to any more, before or while it is used."""
    with _disk(place, 64 * MB) as disk:
        if disk is None:
            return read_only_folder(place)
        if place.chance.random() < 0.3:
            _make_read_only(disk)
        process = place.start()
        for _ in range(100):  # it can't be as long as a file is open for writing there
            place.a_while(0.05)
            if process.poll() is not None or _make_read_only(disk):
                break
        return place.end_of(process)


def _make_read_only(disk: pathlib.Path) -> bool:
    return subprocess.run(["mount", "-o", "remount,ro", disk], capture_output=True).returncode == 0


@contextlib.contextmanager
def _disk(place: Place, size: int) -> "Iterator[Optional[pathlib.Path]]":
    """A disk of its own under the exchange files or the pictures, whose files are kept; None: there can be none."""
    where, kept = place.folder / place.chance.choice(["write", "pictures"]), place.folder / "kept"
    where.mkdir()
    options = ["-o", f"size={size},mode=755"]
    mounted = subprocess.run(["mount", "-t", "tmpfs", *options, "none", where], capture_output=True).returncode == 0
    try:
        yield where if mounted else None
        if mounted:
            shutil.copytree(where, kept)
    finally:
        if mounted:
            subprocess.run(["umount", "-l", where], capture_output=True)
    if mounted:
        where.rmdir()
        kept.rename(where)


def read_only_folder(place: Place) -> Ended:
    """Of no effect for root, who may write there all the same."""
    folder = place.folder / place.chance.choice(["write", "pictures", "write/quillmere/c4d/runtime"])
    folder.mkdir(parents=True, exist_ok=True)
    folder.chmod(0o555)
    ended = place.end_of(place.start())
    folder.chmod(0o755)
    return ended


def few_processes(place: Place) -> Ended:
    """Too few for threads, or for the helper. Root has no such limit, so the run is that of a user without a name."""
    most = place.chance.randint(1, 12)
    if os.getuid() != 0:
        return _limited(place, resource.RLIMIT_NPROC, most)
    if not all(_is_open(folder) for folder in (pathlib.Path(QUILLMERE), PLUGIN.resolve(), PLUGIN.joinpath("python").resolve())):
        return little_time(place)  # a build below a closed home, which no other user can run
    user = FIRST_USER + place.chance.randrange(1 << 20)
    for path in (place.folder, *place.folder.rglob("*")):
        os.chown(path, user, user, follow_symlinks=False)

    def become() -> None:
        resource.setrlimit(resource.RLIMIT_NPROC, (most, most))
        os.setgroups([])
        os.setgid(user)
        os.setuid(user)

    return place.end_of(place.start(prepare=become))


def _is_open(path: pathlib.Path) -> bool:
    return all(one.stat().st_mode & 0o005 == 0o005 for one in (path, *path.parents))


def clock_jumps(place: Place) -> Ended:
    """The time of day goes hours ahead and back all the while, for everything that the command starts too."""
    hours = place.chance.choice([1, 24, 24 * 365 * 30])
    place.environment.update(LD_PRELOAD=str(clock_shim()), QUILLMERE_FAULTS_JUMP=str(hours * HOUR))
    place.environment["ASAN_OPTIONS"] += ":verify_asan_link_order=0"
    return place.end_of(place.start())


@functools.lru_cache(None)
def clock_shim() -> pathlib.Path:
    """Built once a run, for what it takes half a second."""
    folder = tempfile.mkdtemp(prefix="quillmere-clock-")
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    source, library = pathlib.Path(__file__).with_name("clock_shim.cpp"), pathlib.Path(folder, "clock_shim.so")
    subprocess.run(["c++", "-std=c++17", "-O1", "-shared", "-fPIC", "-o", library, source], check=True)
    return library
