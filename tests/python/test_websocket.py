"""The WebSocket client against frames of every shape, right and wrong."""

import base64
import contextlib
import hashlib
import socket
import struct
import sys
import threading
import time
import unittest
from unittest import mock

from scratch_render import ROOT

sys.path.insert(0, str(ROOT / "python"))

from quillmere_helper import web
from quillmere_helper.backends.comfyui import websocket
from quillmere_helper.backends.comfyui.websocket import ClosedConnection, WebSocket


def frame(code, data, final=True):
    size = len(data)
    if size < 126:
        length = bytes([size])
    else:
        length = b"\x7e" + struct.pack(">H", size) if size < 1 << 16 else b"\x7f" + struct.pack(">Q", size)
    return bytes([(0x80 if final else 0) | code]) + length + data


class WebSockets(unittest.TestCase):
    def connect(self, content, accept=None, pieces=1 << 20, pause=0.0):
        """A client of a server that sends `content` after its hand shake and then hangs up."""
        listener = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(listener.close)
        self.received = b""

        def serve():
            with contextlib.suppress(OSError), listener.accept()[0] as connection:
                head = connection.recv(4096).decode()
                key = next(line.split(": ")[1] for line in head.split("\r\n") if line.startswith("Sec-WebSocket-Key"))
                right = hashlib.sha1(key.encode() + b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11").digest()
                answer = accept or b"HTTP/1.1 101 x\r\nsec-websocket-accept: " + base64.b64encode(right) + b"\r\n\r\n"
                for start in range(0, len(answer + content), pieces):
                    connection.sendall((answer + content)[start : start + pieces])
                    time.sleep(pause)
                connection.shutdown(socket.SHUT_WR)
                while data := connection.recv(4096):
                    self.received += data

        self.thread = threading.Thread(target=serve, daemon=True)
        self.thread.start()
        client = WebSocket(web.Site(f"http://127.0.0.1:{listener.getsockname()[1]}"), "/ws", {"clientId": "a b"})
        self.addCleanup(client.close)
        return client

    def test_messages_of_any_length_and_in_any_pieces_arrive_whole(self):
        texts = ["", "x" * 125, "y" * 126, "z" * 70_000]
        content = b"".join(frame(1, text.encode()) for text in texts)
        content += frame(1, b"in ", final=False) + frame(9, b"ping") + frame(0, "zwölf".encode()) + frame(2, b"\0\1")
        for pieces in (1 << 20, 7):
            with self.subTest(pieces=pieces):
                client = self.connect(content, pieces=pieces)
                received = [client.receive(5) for _ in range(6)]
                self.assertEqual(received, [*texts, "in zwölf", b"\0\1"])
                client.close()
                self.thread.join(5)
                self.assertEqual(self.received[:2], b"\x8a\x84", "a ping is answered by a masked pong")

    def test_what_is_not_websocket_ends_the_connection(self):
        endless, masked, cut_off = b"\x82\x7f" + b"\xff" * 8, b"\x81\x81\0\0\0\0a", b"\x81\x05ab"
        for content in (b"", frame(8, b"\x03\xe8"), b"\xf1\x00", masked, endless, cut_off):
            with self.subTest(content):
                client = self.connect(content)
                with self.assertRaises(ClosedConnection):
                    client.receive(5)

    def test_another_answer_than_a_hand_shake_is_refused(self):
        for accept in (b"HTTP/1.1 404 Not Found\r\n\r\n", b"HTTP/1.1 101 x\r\n\r\n", b"\r\n\r\n", b"x" * 100_000):
            with self.subTest(accept[:20]), self.assertRaises(ClosedConnection):
                self.connect(b"", accept)

    def test_a_hand_shake_byte_by_byte_is_not_waited_for(self):
        started = time.monotonic()
        with mock.patch.object(websocket, "HANDSHAKE_TIME", 0.5), self.assertRaises(ClosedConnection):
            self.connect(b"", b"HTTP/1.1 101 x\r\nX: " + b"x" * 5000, pieces=1, pause=0.01)
        self.assertLess(time.monotonic() - started, 5)

    def test_what_is_no_message_keeps_nobody_waiting(self):
        for content in (frame(10, b"x") * 3_000_000, frame(1, b"", False) + frame(0, b"", False) * 3_000_000):
            with self.subTest(content[:3]):
                client, started = self.connect(content), time.monotonic()
                self.assertIsNone(client.receive(0.3))
                self.assertLess(time.monotonic() - started, 5)
