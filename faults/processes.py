"""Processes that end before their time, or are told to: the host, its helper, the shell in between."""

from __future__ import annotations

import os
import pathlib
import resource
import signal
import time
from typing import Callable

from place import Ended, Place

DEADLY = ("KILL", "TERM", "QUIT", "USR1", "ABRT", "XCPU", "ALRM", "SEGV", "HUP")
KILLED = tuple(-getattr(signal, "SIG" + name) for name in DEADLY)  # exit statuses of a host that one of them ended


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


def group_killed(place: Place) -> Ended:
    """Everything at the terminal at once, once or twice."""
    process = place.start(prepare=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
    for _ in range(place.chance.randint(1, 2)):
        place.a_while()
        try:
            os.killpg(process.pid, getattr(signal, "SIG" + place.chance.choice(DEADLY)))
        except ProcessLookupError:
            pass
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
