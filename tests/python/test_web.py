"""What comes over the network, right and wrong: each exchange ends within its limits, with a reason, and the frames of a
WebSocket of every shape are understood or end it."""

import base64
import contextlib
import hashlib
import mmap
import os
import socket
import ssl
import threading
import time
import unittest
from unittest import mock

from loopback_server import OPENSSL, ScriptedServer, frame, self_signed
from scratch_render import RenderCase

from quillmere_helper import transport, untrusted, web
from quillmere_helper.backends.comfyui import websocket
from quillmere_helper.backends.comfyui.websocket import ClosedConnection, WebSocket
from quillmere_helper.errors import HelperError

OK = b"HTTP/1.1 200 OK\r\n"
CHUNKED = OK + b"Transfer-Encoding: chunked\r\n\r\n"
LONG = OK + b"Content-Length: 1000000000000\r\n\r\n"
SHORT, PATIENT = transport.Limits(64 << 10, 0.3), transport.Limits(1 << 20, 60)
HOSTILE = (
    # what the server sends: at first, then again and again, with a pause of so many seconds; what the error names
    ("nothing", b"", b"", 0.05, SHORT, "no whole answer"),
    ("a status, byte by byte", b"HTTP/1.1 200 ", b"x", 0.02, SHORT, "no whole answer in 0.3 seconds"),
    ("a header, byte by byte", OK + b"X: ", b"x", 0.02, SHORT, "no whole answer in 0.3 seconds"),
    ("promises to go on", b"", b"HTTP/1.1 100 Continue\r\n\r\n", 0.01, SHORT, "no whole answer in 0.3 seconds"),
    ("promises to go on, fast", b"", b"HTTP/1.1 100 Continue\r\n\r\n" * 99, 0, SHORT, "more than"),
    ("tiny chunks", CHUNKED, b"1\r\nx\r\n", 0.01, SHORT, "no whole answer in 0.3 seconds"),
    ("tiny chunks, fast", CHUNKED, b"1\r\nx\r\n" * 999, 0, PATIENT, "more than"),
    ("a picture, byte by byte", LONG, b"x", 0.02, PATIENT, "bytes in 0.4 seconds"),
    ("a body without end", OK + b"\r\n", bytes(1 << 16), 0, PATIENT, "more than"),
    ("a trailer without end", CHUNKED + b"0\r\n", b"X: y\r\n", 0.01, SHORT, "no whole answer"),
)
BROKEN = (
    # whole answers, after which the server hangs up
    *(b"", b"\n", b"SSH-2.0\r\n", OK, OK + b"X\r\n\r\n", OK + b"X: y\r\n" * 999 + b"\r\n", LONG, CHUNKED),
    *(CHUNKED + size + b"\r\nx\r\n" for size in (b"-5", b"-1", b"zz", b"f" * 99, b"", b"2;" + b"x" * 70_000)),
    OK + b"Content-Length: 5\r\n\r\nabc",
)


class Exchanges(RenderCase):
    def setUp(self):
        super().setUp()
        patch = mock.patch.multiple(transport, SPAN=0.4, MOVED=32 << 10)
        patch.start()
        self.addCleanup(patch.stop)

    def get(self, limits, *script, timeout=web.ANSWER_TIME):
        server = ScriptedServer(*script)
        self.addCleanup(server.stop)
        started = time.monotonic()
        try:
            return web.Site(server.url, timeout=timeout).get("/x", None, limits)
        finally:
            self.assertLess(time.monotonic() - started, 8)

    def test_no_answer_takes_more_time_or_memory_than_it_may(self):
        for what, start, more, pause, limits, named in HOSTILE:
            with self.subTest(what), self.assertRaisesRegex(HelperError, named):
                self.get(limits, start, more, pause)

    def test_who_has_less_patience_waits_no_longer_for_the_whole(self):
        with self.assertRaisesRegex(web.UnreachableServer, "no whole answer in 0.2 seconds"):
            self.get(PATIENT, OK + b"X: ", b"x", 0.02, timeout=0.2)

    def test_a_download_takes_its_time_as_long_as_it_moves(self):
        answer = self.get(PATIENT, OK + b"\r\n", bytes(20 << 10), 0.1, 15)
        self.assertEqual(len(answer.body), 15 * 20 << 10)

    def test_a_picture_goes_to_the_disk_and_its_failure_is_told_as_such(self):
        server = ScriptedServer(OK + b"Content-Length: 4194304\r\n\r\n", bytes(1 << 20), 0, 4)
        self.addCleanup(server.stop)
        limits, folder = transport.Limits(8 << 20, 60), str(self.folder)
        answer = web.Site(server.url).get("/x", None, limits, untrusted.Spool(folder))
        self.assertIsInstance(answer.body, mmap.mmap)
        self.assertEqual(answer.body[:], bytes(4 << 20))
        full, other = untrusted.Spool(folder), ScriptedServer(OK + b"\r\n", bytes(1 << 20), 0, 4)
        self.addCleanup(other.stop)
        full._file.close()
        full._file = open("/dev/full", "r+b", buffering=0)
        self.addCleanup(full._file.close)
        with self.assertRaisesRegex(HelperError, "No space left on device; free some space"):
            web.Site(other.url).get("/x", None, limits, full)

    @unittest.skipUnless(OPENSSL, "NO OPENSSL: encrypted answers are not waited for")
    def test_what_tls_says_by_itself_is_not_taken_for_the_answer(self):
        certificate, key = self_signed(self.folder)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        server = ScriptedServer(b"", OK + b"Content-Length: 2\r\n\r\nhi", 1.0, 1, context)
        self.addCleanup(server.stop)
        with mock.patch.dict(os.environ, SSL_CERT_FILE=certificate):
            exchange = web.Exchange(web.Site(server.url), "GET", "/x", None, {}, SHORT)
        self.assertEqual([exchange.begins_within(0.1) for _ in range(3)], [False] * 3)
        while not exchange.begins_within(5):
            pass
        self.assertEqual(exchange.answer().body, b"hi")
        exchange.close()

    def test_what_is_no_http_is_no_answer(self):
        for content in BROKEN:
            with self.subTest(content[-30:]):
                try:
                    self.assertEqual(self.get(PATIENT, content, b"", 0, 0).body, b"")
                except web.UnreachableServer:
                    pass

    def test_numbers_and_nesting_that_break_readers_are_no_json(self):
        for text in ("9" * 400, "1e400", "-" + "9" * 10**6, "[" * 10**6, "NaN9", '"\\ud800'):
            self.assertIsNone(web.Answer(200, "application/json", text.encode()).json(), text[:20])


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
                received = [client.receive(60) for _ in range(6)]
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
