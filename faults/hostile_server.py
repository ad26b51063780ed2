"""A stand-in for a render server behind a line that harms what goes over it, connection by connection."""

from __future__ import annotations

import contextlib
import itertools
import json
import random
import re
import signal
import socket
import struct
import subprocess
import threading
from typing import Callable, Iterator

from place import Ended, Place

from comfy_classes import graph
from comfy_server import ComfyServer

PATIENCE = 4.0  # seconds, after which the user stops waiting
RESET = struct.pack("ii", 1, 0)  # lingers no time: the other side is told of an error
CONTINUE = b"HTTP/1.1 100 Continue\r\n\r\n"
CHUNKED = b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n"
PONG = b"\x8a\x00"


def _message(content: object) -> bytes:
    text = json.dumps(content).encode()
    return b"\x81" + (bytes([len(text)]) if len(text) < 126 else b"\x7e" + len(text).to_bytes(2, "big")) + text


FOREIGN = _message({"type": "progress", "data": {"value": 1, "max": 4, "node": "7", "prompt_id": "long ended"}})

# What becomes of the pieces that a server sends: the pieces that arrive instead, each after its pause in seconds.
Harm = Callable[["random.Random", Iterator[bytes]], "Iterator[tuple[float, bytes]]"]


def nothing(_: random.Random, pieces: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
    return ((0.0, piece) for piece in pieces)


def drip(chance: random.Random, pieces: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
    pause = chance.choice((0.001, 0.02, 0.5))
    return ((pause, piece[place : place + 1]) for piece in pieces for place in range(len(piece)))


def silence(_: random.Random, pieces: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
    return ((3600.0, piece) for piece in pieces)


def endless(*more: bytes) -> Harm:
    """Instead of an answer."""
    start, again = b"".join(more[:-1]), more[-1]

    def harm(chance: random.Random, _: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
        pause = chance.choice((0.0, 0.01))
        return ((pause, piece) for piece in itertools.chain([start], itertools.repeat(again * chance.choice((1, 50)))))

    return harm


def endless_after(more: bytes) -> Harm:
    """Behind the answer to the opening of a WebSocket; elsewhere behind an answer that is over."""

    def harm(chance: random.Random, pieces: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
        pause = chance.choice((0.0, 0.01))
        yield 0.0, next(pieces, b"")
        yield from ((pause, more) for _ in itertools.repeat(None))

    return harm


def cut_off(chance: random.Random, pieces: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
    left = chance.randrange(2000)
    for piece in pieces:
        yield 0.0, piece[:left]
        left -= len(piece)
        if left <= 0:
            return


def wrong_length(chance: random.Random, pieces: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
    length = chance.choice((b"0", b"3", b"99999", b"-5", b"9" * 30, b"x", b""))
    return ((0.0, re.sub(rb"(?i)(content-length: )\d+", rb"\g<1>" + length, piece)) for piece in pieces)


def noise(chance: random.Random, pieces: Iterator[bytes]) -> "Iterator[tuple[float, bytes]]":
    for piece in pieces:
        changed = bytearray(piece)
        for _ in range(chance.randint(0, 3)):
            changed[chance.randrange(len(changed))] = chance.randrange(256)
        yield 0.0, bytes(changed)


HARMS: "tuple[Harm, ...]" = (
    *(drip, silence, cut_off, wrong_length, noise, endless(CONTINUE), endless(CHUNKED, b"1\r\n \r\n")),
    *(endless(b"HTTP/1.1 200 OK\r\n", b"X: y\r\n"), endless_after(PONG), endless_after(FOREIGN)),
)


class Line:
    """Stands before `server`; of its connections about every `one_in`th is harmed."""

    def __init__(self, chance: random.Random, server: ComfyServer) -> None:
        self._chance, self._port = chance, server.port
        self._harm, self._one_in = chance.choice(HARMS), chance.choice((2, 6, 15))
        self._listener = socket.create_server(("127.0.0.1", 0))
        self._over = threading.Event()
        self.url = f"http://127.0.0.1:{self._listener.getsockname()[1]}"
        threading.Thread(target=self._accept, daemon=True).start()

    def stop(self) -> None:
        self._over.set()
        self._listener.close()

    def _accept(self) -> None:
        with contextlib.suppress(OSError):
            while True:
                client = self._listener.accept()[0]
                harm = self._harm if self._chance.randrange(self._one_in) == 0 else nothing
                chance = random.Random(self._chance.random())
                threading.Thread(target=self._serve, args=(client, harm, chance), daemon=True).start()

    def _serve(self, client: socket.socket, harm: Harm, chance: random.Random) -> None:
        with client, contextlib.suppress(OSError, StopIteration):
            with socket.create_connection(("127.0.0.1", self._port)) as server:
                threading.Thread(target=_copy, args=(client, server), daemon=True).start()
                for pause, piece in harm(chance, iter(lambda: server.recv(1 << 16), b"")):
                    if self._over.wait(pause):
                        break
                    client.sendall(piece)
                if chance.random() < 0.5:
                    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET)


def _copy(client: socket.socket, server: socket.socket) -> None:
    with contextlib.suppress(OSError):
        while piece := client.recv(1 << 16):
            server.sendall(piece)
        server.shutdown(socket.SHUT_WR)


def hostile_server(place: Place) -> Ended:
    """A render on such a server, which its user stops when it takes too long."""
    server = ComfyServer()
    line = Line(place.chance, server)
    (place.folder / "graph.json").write_text(json.dumps(graph()))
    place.environment.update(QUILLMERE_COMFYUI_URL=line.url, QUILLMERE_SERVER_PATIENCE=str(place.chance.choice((0, 1, 9))))
    server.picture = bytes(place.chance.randrange(4)) if place.chance.random() < 0.2 else None
    process = place.start("--workflow", "graph.json")
    try:
        process.wait(PATIENCE)
    except subprocess.TimeoutExpired:
        process.send_signal(signal.SIGINT)
    try:
        return place.end_of(process)
    finally:
        line.stop()
        server.stop()
