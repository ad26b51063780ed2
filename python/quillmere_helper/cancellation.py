"""A stop by the user, which reaches this process as signal 15."""

import os
import signal
from contextlib import contextmanager
from typing import Iterator

SIGNALS = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)
TEXT = "Quillmere render cancelled"
LONGEST_END = 0.8  # seconds from the signal to the end of this process, whatever still has to be tidied up

_parent = os.getppid()


class Cancellation(BaseException):
    """Not an Exception, so that no handler for failures mistakes it for one. Its text tells what was stopped."""


def listen() -> None:
    """From now on a signal raises Cancellation in the main thread, also one that the host blocks or ignores."""
    for number in SIGNALS:
        signal.signal(number, _cancel)
    signal.signal(signal.SIGALRM, signal.SIG_DFL)
    signal.pthread_sigmask(signal.SIG_UNBLOCK, (*SIGNALS, signal.SIGALRM))


def stop_if_orphaned() -> None:
    """Raises Cancellation when the process that started this one is gone and nobody waits for the picture any more."""
    if os.getppid() != _parent:
        _cancel()


@contextmanager
def ending_at_once() -> Iterator[None]:
    """Within this, a signal ends the process at once.

    For long work in C code, where a handler would have to wait for the code to return. Such work must leave nothing
    half-done outside this process; the response on disk already tells how a stopped run ends.
    """
    former = {number: signal.signal(number, signal.SIG_DFL) for number in SIGNALS}
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
