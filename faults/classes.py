"""The classes of faults."""

from __future__ import annotations

import signal
from dataclasses import dataclass
from typing import Callable

import files
import processes
import system
from hostile_server import hostile_server
from place import Ended, Place
from processes import KILLED


@dataclass(frozen=True)
class Fault:
    name: str
    render: Callable[[Place], Ended]  # renders in a place with this fault
    statuses: "tuple[int, ...]" = (0, 1, 2)  # that are true of it; of signals that ended the host, their negative numbers
    helper: str = ""  # the one that it is for; else any


def no_fault(place: Place) -> Ended:
    return place.end_of(place.start())


BROKEN_OFF = (0, 1, 2, 130, -signal.SIGINT, -signal.SIGTERM, -signal.SIGHUP)
CLASSES = [
    Fault("no fault", no_fault),
    Fault("helper killed", processes.helper_killed),
    Fault("shell killed", processes.shell_killed),
    Fault("host killed", processes.host_killed, (0, 1, 2, 130, *KILLED)),
    Fault("group killed", processes.group_killed, (0, 1, 2, 130, *KILLED)),
    Fault("host broken off", processes.host_broken_off, BROKEN_OFF),
    Fault("reader goes away", system.reader_goes_away),
    Fault("full pipe", system.full_pipe),
    Fault("full output device", system.full_output_device, (1,)),
    Fault("small files", system.small_files),
    Fault("few descriptors", system.few_descriptors, (0, 1, 2, 127)),  # 127: the loader found none for a library
    Fault("few processes", system.few_processes),
    Fault("little memory", system.little_memory),
    Fault("little time", system.little_time, (0, 1, 2, -signal.SIGXCPU, -signal.SIGKILL)),
    Fault("clock jumps", system.clock_jumps),
    Fault("full disk", system.full_disk),
    Fault("read-only disk", system.read_only_disk),
    Fault("read-only folder", system.read_only_folder),
    Fault("files changed between", files.files_changed_between),
    Fault("inputs changed", files.inputs_changed),
    Fault("two on one folder", files.two_on_one_folder),
    Fault("two on one output", files.two_on_one_output),
    Fault("hostile server", hostile_server, (0, 1, 2, 130), helper="real"),
]
