"""A WebSocket client (RFC 6455), as much of it as listening to a server takes."""

import base64
import hashlib
import os
import select
import struct
import time
from typing import Mapping, NamedTuple, Optional, Union

from ... import web
from ...errors import reason_of

KEY_SUFFIX = b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11"  # section 1.3 of the RFC
CONTINUED, TEXT, BINARY, CLOSE, PING, PONG = 0, 1, 2, 8, 9, 10
LARGEST_MESSAGE = 32 << 20  # bytes; previews and the states of big graphs
LARGEST_HANDSHAKE = 64 << 10  # bytes
HANDSHAKE_TIME = 10.0  # seconds for all of it
STEP_TIME = 5.0  # seconds to connect, to send a frame, for the rest of a TLS record
PING_EVERY = 20.0  # seconds; the server never pings, and what sits in between forgets quiet connections
CLOSE_TIME = 0.5  # seconds to wait for the other side's close frame

Message = Union[str, bytes]


class ClosedConnection(OSError):
    """The connection has ended, or what came over it was not WebSocket."""


class _Frame(NamedTuple):
    final: bool
    code: int
    data: bytes


class WebSocket:
    """An open connection. Not for several threads."""

    def __init__(self, site: web.Site, path: str, query: Mapping[str, str]) -> None:
        """Connects. Raises ClosedConnection, also when the server answers with something else than a WebSocket."""
        self._buffer = bytearray()
        self._parts = bytearray()
        self._code = 0
        self._pinged = time.monotonic()
        connection = site.connect(STEP_TIME)
        try:
            connection.connect()
            self._socket = connection.sock
            assert self._socket is not None
            self._shake_hands(site, site.target(path, query))
        except (OSError, ValueError) as error:
            connection.close()
            raise ClosedConnection(f"no WebSocket at {site.url}: {reason_of(error)}") from error

    def receive(self, seconds: float) -> Optional[Message]:
        """The next message, or None when none has come within `seconds`. Raises ClosedConnection."""
        end = time.monotonic() + seconds
        if time.monotonic() - self._pinged > PING_EVERY:
            self._pinged = time.monotonic()
            self._send(PING)
        while True:
            frame = self._next_frame()
            if frame is not None:
                message = self._message(frame)
                if message is not None:
                    return message
            elif self._readable(max(end - time.monotonic(), 0.0)):
                self._read_some()
            if time.monotonic() >= end:
                return None  # whatever has come: pings and fragments without end are no message

    def close(self) -> None:
        """Sends a close frame and waits for the other side's, so that the server has forgotten this connection before
        another one with the same identifier takes its place."""
        try:
            self._send(CLOSE, struct.pack(">H", 1000))
            end = time.monotonic() + CLOSE_TIME
            while time.monotonic() < end and self._readable(end - time.monotonic()):
                self._read_some()
                frame = self._next_frame()
                if frame is not None and frame.code == CLOSE:
                    break
        except OSError:
            pass
        finally:
            self._socket.close()

    def _shake_hands(self, site: web.Site, target: str) -> None:
        key = base64.b64encode(os.urandom(16))
        host = site.parts.netloc
        lines = [f"GET {target} HTTP/1.1", f"Host: {host}", "Upgrade: websocket", "Connection: Upgrade"]
        lines += [f"Sec-WebSocket-Key: {key.decode()}", "Sec-WebSocket-Version: 13"]
        lines += [f"{name}: {value}" for name, value in site.login.items()]
        self._socket.sendall("\r\n".join([*lines, "", ""]).encode("ascii"))
        end = time.monotonic() + HANDSHAKE_TIME
        while b"\r\n\r\n" not in self._buffer:
            left = end - time.monotonic()
            if len(self._buffer) > LARGEST_HANDSHAKE or left <= 0:
                raise ClosedConnection("an answer without end")
            self._socket.settimeout(min(STEP_TIME, left))
            self._read_some()
        self._socket.settimeout(STEP_TIME)
        head, _, rest = bytes(self._buffer).partition(b"\r\n\r\n")
        self._buffer = bytearray(rest)
        status, *fields = head.decode("latin-1").split("\r\n")
        headers = {name.strip().lower(): value.strip() for name, _, value in (line.partition(":") for line in fields)}
        expected = base64.b64encode(hashlib.sha1(key + KEY_SUFFIX).digest()).decode()
        if status.split(" ")[1:2] != ["101"] or headers.get("sec-websocket-accept") != expected:
            raise ClosedConnection(f'the server answers "{status[:80]}"')

    def _message(self, frame: _Frame) -> Optional[Message]:
        """The message that `frame` completes, if it does; answers to control frames are sent here."""
        if frame.code == CLOSE:
            raise ClosedConnection("the server closed the connection")
        if frame.code == PING:
            self._send(PONG, frame.data)
        if frame.code > BINARY:
            return None
        if frame.code != CONTINUED:
            self._parts, self._code = bytearray(), frame.code
        self._parts += frame.data
        if len(self._parts) > LARGEST_MESSAGE:
            raise ClosedConnection("a message without end")
        if not frame.final:
            return None
        data, self._parts = bytes(self._parts), bytearray()
        return data.decode("utf-8", "replace") if self._code == TEXT else data

    def _next_frame(self) -> Optional[_Frame]:
        """Takes one whole frame from what has been read, or nothing. Server frames are not masked."""
        if len(self._buffer) < 2:
            return None
        length, start = self._buffer[1] & 0x7F, 2
        if length >= 126:
            start = 4 if length == 126 else 10
            if len(self._buffer) < start:
                return None
            length = int.from_bytes(self._buffer[2:start], "big")
        if self._buffer[0] & 0x70 or self._buffer[1] & 0x80 or length > LARGEST_MESSAGE:
            raise ClosedConnection("frames that are not WebSocket")
        if len(self._buffer) < start + length:
            return None
        head, data = self._buffer[0], bytes(self._buffer[start : start + length])
        del self._buffer[: start + length]
        return _Frame(bool(head & 0x80), head & 0x0F, data)

    def send(self, text: str) -> None:
        """A short message, of at most 125 bytes. Raises OSError."""
        self._send(TEXT, text.encode())

    def _send(self, code: int, data: bytes = b"") -> None:
        """One frame, masked as a client has to; at most 125 bytes of data."""
        mask = os.urandom(4)
        masked = bytes(byte ^ mask[place % 4] for place, byte in enumerate(data[:125]))
        try:
            self._socket.sendall(bytes((0x80 | code, 0x80 | len(masked))) + mask + masked)
        except OSError as error:
            raise ClosedConnection(reason_of(error)) from error

    def _readable(self, seconds: float) -> bool:
        pending = getattr(self._socket, "pending", None)  # what TLS has unpacked already
        return bool(pending and pending()) or bool(select.select([self._socket], [], [], seconds)[0])

    def _read_some(self) -> None:
        try:
            data = self._socket.recv(1 << 16)
        except OSError as error:
            raise ClosedConnection(reason_of(error)) from error
        if not data:
            raise ClosedConnection("the server went away")
        self._buffer += data
