"""Servers that keep a client waiting, or send without end: each exchange ends within its limits, with a reason."""

import mmap
import os
import shutil
import ssl
import subprocess
import tempfile
import time
import unittest
from unittest import mock

from loopback_server import ScriptedServer
from scratch_render import ROOT

from quillmere_helper import transport, untrusted, web
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


class Exchanges(unittest.TestCase):
    def setUp(self):
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
        folder = tempfile.TemporaryDirectory(prefix="quillmere-")
        self.addCleanup(folder.cleanup)
        server = ScriptedServer(OK + b"Content-Length: 4194304\r\n\r\n", bytes(1 << 20), 0, 4)
        self.addCleanup(server.stop)
        limits = transport.Limits(8 << 20, 60)
        answer = web.Site(server.url).get("/x", None, limits, untrusted.Spool(folder.name))
        self.assertIsInstance(answer.body, mmap.mmap)
        self.assertEqual((answer.body[:], os.listdir(folder.name)), (bytes(4 << 20), []))
        full, other = untrusted.Spool(folder.name), ScriptedServer(OK + b"\r\n", bytes(1 << 20), 0, 4)
        self.addCleanup(other.stop)
        full._file.close()
        full._file = open("/dev/full", "r+b", buffering=0)
        self.addCleanup(full._file.close)
        with self.assertRaisesRegex(HelperError, "No space left on device; free some space"):
            web.Site(other.url).get("/x", None, limits, full)

    @unittest.skipUnless(shutil.which("openssl"), "NO OPENSSL: encrypted answers are not waited for")
    def test_what_tls_says_by_itself_is_not_taken_for_the_answer(self):
        folder = tempfile.TemporaryDirectory(prefix="quillmere-")
        self.addCleanup(folder.cleanup)
        key, certificate = f"{folder.name}/key.pem", f"{folder.name}/certificate.pem"
        command = ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", certificate]
        names = ["-subj", "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1"]
        subprocess.run([*command, *names], check=True, capture_output=True, cwd=ROOT)
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
