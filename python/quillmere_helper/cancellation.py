"""A stop by the user, which reaches this process as signal 15, and the end of the host, which this process looks for."""

import os
import select
import signal
import stat
import threading
import time
from contextlib import contextmanager, suppress
from typing import Iterator, Optional

SIGNALS = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)
TEXT = "Quillmere render cancelled"
LONGEST_END = 0.8  # seconds from the signal to the end of this process, whatever still has to be tidied up
LOOK = 0.5  # seconds from one look for the host to the next
ENDED = 143  # exit status of what was stopped
HOST_PIPE = "QUILLMERE_HOST_PIPE"  # environment: number and inode of a pipe whose other end only the host holds


class Cancellation(BaseException):
    """Not an Exception, so that no handler for failures mistakes it for one. Its text tells what was stopped."""


def listen() -> None:
    """From now on a signal raises Cancellation in the main thread, also one that the host blocks or ignores; so does
    the end of the host. A hang-up that is ignored, as under nohup, stays so: the host goes on then, too."""
    for number in SIGNALS:
        if number != signal.SIGHUP or signal.getsignal(number) != signal.SIG_IGN:
            signal.signal(number, _cancel)
    signal.signal(signal.SIGALRM, signal.SIG_DFL)
    signal.pthread_sigmask(signal.SIG_UNBLOCK, (*SIGNALS, signal.SIGALRM))
    threading.Thread(target=_watch, daemon=True).start()


@contextmanager
def ending_with_reader() -> Iterator[None]:
    """Within this, the process ends when nobody reads the pipe any more that is its standard output: what it is to print
    is an answer to whoever started it, and finding it may take as long as servers take.

    Such work must leave nothing half-done outside this process.
    """
    with suppress(OSError):  # no standard output
        if stat.S_ISFIFO(os.fstat(1).st_mode):
            signal.signal(signal.SIGALRM, _leave_without_reader)
            signal.setitimer(signal.ITIMER_REAL, LOOK, LOOK)  # a thread would take memory that may be scarce
    try:
        yield
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)


def has_host() -> bool:
    """Whether the stand-alone host has started this process, and is told what the response says."""
    return _host is not None


def stop_if_orphaned() -> None:
    """Raises Cancellation when the host is gone and nobody waits for the picture any more, at once instead of at the
    next look."""
    if _orphaned():
        _cancel()


@contextmanager
def ending_at_once() -> Iterator[None]:
    """Within this, a signal ends the process at once.

    For long work in C code, where a handler would have to wait for the code to return. Such work must leave nothing
    half-done outside this process; the response on disk already tells how a stopped run ends.
    """
    former = {number: signal.getsignal(number) for number in SIGNALS}
    for number, handler in former.items():
        if handler != signal.SIG_IGN:
            signal.signal(number, signal.SIG_DFL)
    try:
        yield
    finally:
        for number, handler in former.items():
            signal.signal(number, handler)


def _cancel(*_: object) -> None:
    for number in SIGNALS:
        signal.signal(number, signal.SIG_IGN)
    # The alarm ends this process even when the tidying up hangs.
    signal.setitimer(signal.ITIMER_REAL, LONGEST_END)
    raise Cancellation


def _watch() -> None:
    signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)  # they are the main thread's, which may have to be woken by them
    while not _orphaned():
        time.sleep(LOOK)
    signal.pthread_kill(threading.main_thread().ident or 0, signal.SIGTERM)


def _leave_without_reader(*_: object) -> None:
    pipe = select.poll()
    pipe.register(1, 0)  # reported all the same: that its other end is gone
    if pipe.poll(0):
        os._exit(ENDED)


def _orphaned() -> bool:
    if _host is not None:  # nobody writes into it, so there is nothing to read before its end
        looked = select.poll()
        looked.register(_host, select.POLLIN)
        return bool(looked.poll(0))
    if os.getppid() != _parent:
        return True
    return _above_shell is not None and _parent_of_shell(_parent) not in (_above_shell, None)


def _host_pipe() -> Optional[int]:
    """The pipe that the stand-alone host has left open for this process; None elsewhere, and when it was closed on the
    way here."""
    try:
        number, inode = (int(part) for part in os.environ[HOST_PIPE].split(":"))
        facts = os.fstat(number)
    except (KeyError, ValueError, OSError):
        return None
    return number if stat.S_ISFIFO(facts.st_mode) and facts.st_ino == inode else None


def _parent_of_shell(process: int) -> Optional[int]:
    """The parent of the shell between the host and this process; None when `process` is no shell, or can't be seen."""
    above, name = _parent_and_name(process)
    return above if name.endswith("sh") else None


def _parent_and_name(process: int) -> tuple[Optional[int], str]:
    try:
        with open(f"/proc/{process}/stat", "rb") as file:
            facts = file.read().decode("ascii", "replace")
        return int(facts[facts.rindex(")") + 1 :].split()[1]), facts[facts.index("(") + 1 : facts.rindex(")")]
    except (OSError, ValueError):
        return (None, "") if os.path.exists("/proc/self/stat") else _told_by_ps(process)


def _told_by_ps(process: int) -> tuple[Optional[int], str]:
    import subprocess

    command = ["ps", "-o", "ppid=", "-o", "comm=", "-p", str(process)]
    try:
        told = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=5).stdout.decode().split()
        return int(told[0]), told[-1]
    except (OSError, ValueError, IndexError, subprocess.SubprocessError):
        return None, ""


_host = _host_pipe()
_parent = os.getppid()
_above_shell = _parent_of_shell(_parent)  # the application, where the pipe doesn't tell
