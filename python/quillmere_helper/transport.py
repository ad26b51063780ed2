"""The bytes of one exchange with a server: no more of them, and for no longer, than was agreed."""

import contextlib
import io
import select
import socket
import ssl
import time
from dataclasses import dataclass
from typing import Any, Union

SPAN = 30.0  # seconds
MOVED = 256 << 10  # bytes that have to pass in each span, so that long transfers may take their time but move
PIECE = 64 << 10  # bytes to take at once
ALIVE = (("KEEPIDLE", 60), ("KEEPALIVE", 60), ("KEEPINTVL", 20), ("KEEPCNT", 3))  # seconds, seconds, seconds, times


@dataclass(frozen=True)
class Limits:
    """Of one answer."""

    size: int  # bytes, with headers and all
    time: float  # seconds, from the end of the request or, for one that is waited for, from the answer's first byte


class TooMuch(Exception):
    """An answer that is larger than was agreed. The caller says what that means."""


class Transport:
    """Takes the place of the connected socket of an http.client connection, which it owns until `hang_up`.

    Whatever that module reads goes through here: headers, the 100s before an answer, the sizes of chunks. Raises
    OSError when time is up, and TooMuch.
    """

    def __init__(self, connected: Any, limits: Limits, pause: float) -> None:
        """`pause`: seconds without a byte after which the exchange has failed."""
        self._socket, self._limits, self._pause = connected, limits, pause
        self._ahead = b""  # taken from the socket already
        self._taken = self._passed = 0  # bytes: in all, in this span
        self._end = self._span_end = float("inf")
        _ask_whether_alive(connected)

    def sendall(self, data: Any) -> None:
        view = memoryview(data).cast("B")
        self._socket.settimeout(min(self._pause, SPAN))  # for each piece as a whole
        for start in range(0, len(view), MOVED):
            self._socket.sendall(view[start : start + MOVED])

    def begins_within(self, seconds: float) -> bool:
        """Whether an answer has begun, or the connection has ended. What TLS says on its own account is neither."""
        if not select.select([self._socket], [], [], seconds)[0]:
            return False
        self._socket.settimeout(0)
        try:
            self._ahead = self._socket.recv(PIECE)
        except (BlockingIOError, ssl.SSLWantReadError):
            return False
        except OSError:
            pass  # whoever reads on finds the end
        return True

    def start_clock(self) -> None:
        """The time of the answer runs from here."""
        self._end = time.monotonic() + self._limits.time

    def makefile(self, _mode: str) -> io.BufferedReader:
        return io.BufferedReader(_Reader(self), PIECE)

    def read_into(self, buffer: Any) -> int:
        """At least a byte unless the other side has ended; blocks."""
        left = self._end - time.monotonic()
        if self._ahead:
            count = min(len(buffer), len(self._ahead))
            buffer[:count], self._ahead = self._ahead[:count], self._ahead[count:]
        else:
            count = self._received(buffer, left)
        self._check(count)
        return count

    def _received(self, buffer: Any, left: float) -> int:
        try:
            self._socket.settimeout(max(min(self._pause, left), 0.001))
            return int(self._socket.recv_into(buffer))
        except socket.timeout as error:
            quiet = f"silent for {self._pause:g} seconds"
            raise TimeoutError(quiet if self._pause < left else self._late()) from error

    def _late(self) -> str:
        return f"no whole answer in {self._limits.time:g} seconds"

    def _check(self, count: int) -> None:
        self._taken += count
        if self._taken > self._limits.size:
            raise TooMuch
        now = time.monotonic()
        if now > self._end:
            raise TimeoutError(self._late())
        if now > self._span_end and self._passed < MOVED:
            raise TimeoutError(f"only {self._passed} bytes in {SPAN:g} seconds")
        if now > self._span_end or self._taken == count:
            self._span_end, self._passed = now + SPAN, 0
        self._passed += count

    def close(self) -> None:
        """Does nothing: http.client lets go of a connection while its answer is still being read."""

    def hang_up(self) -> None:
        self._socket.close()


class _Reader(io.RawIOBase):
    def __init__(self, transport: Transport) -> None:
        self._transport = transport

    def readable(self) -> bool:
        return True

    def readinto(self, buffer: Union[bytearray, memoryview]) -> int:  # type: ignore[override]
        return self._transport.read_into(buffer)


def _ask_whether_alive(connected: Any) -> None:
    """So that a machine that has gone without a word is noticed also by who waits for a long job."""
    with contextlib.suppress(OSError):  # of a system that leaves the times as they are
        connected.setsockopt(socket.SOL_SOCKET, socket.SO_KEEPALIVE, 1)
        for name, value in ALIVE:
            if hasattr(socket, f"TCP_{name}"):
                connected.setsockopt(socket.IPPROTO_TCP, getattr(socket, f"TCP_{name}"), value)
