"""What the stand-in servers share: real sockets on loopback, and no noise when a client goes away in the middle."""

import contextlib
import json
import shutil
import socket
import ssl
import struct
import subprocess
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer


def frame(code, data, final=True):
    """Of a WebSocket, as servers send it."""
    size = len(data)
    short = bytes((size,)) if size < 126 else b"\x7e" + struct.pack(">H", size) if size < 1 << 16 else b""
    return bytes(((0x80 if final else 0) | code,)) + (short or b"\x7f" + struct.pack(">Q", size)) + data


def self_signed(folder):
    """The files of a certificate for this machine and of its key."""
    files = f"{folder}/certificate.pem", f"{folder}/key.pem"
    command = ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-out", files[0], "-keyout", files[1]]
    names = ["-subj", "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1"]
    subprocess.run([*command, *names], check=True, capture_output=True)
    return files


OPENSSL = shutil.which("openssl")


class LoopbackServer(ThreadingHTTPServer):
    """Serves from the start; its handlers find the state of the stand-in, with its `log` and `login`, as `owner`."""

    daemon_threads = True

    def __init__(self, owner, handler, port=0):
        super().__init__(("127.0.0.1", port), handler)
        self.owner = owner
        threading.Thread(target=self.serve_forever, args=(0.02,), daemon=True).start()

    def handle_error(self, request, client_address):
        if not isinstance(sys.exc_info()[1], (ConnectionError, ssl.SSLError)):
            super().handle_error(request, client_address)


class Answering(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *_):
        pass

    def admitted(self, body=b""):
        """Puts the request into the log; refuses it when it lacks the login that the owner insists on."""
        owner = self.server.owner
        owner.log.append((self.command, self.path.split("?")[0], dict(self.headers), body))
        if owner.login in (None, self.headers.get("Authorization")):
            return True
        self.reply(b"401: Unauthorized", 401, "text/plain")
        return False

    def reply(self, content, status=200, kind="application/json", length=None):
        content = content if isinstance(content, bytes) else json.dumps(content).encode()
        self.send_response(status)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(length or len(content)))
        self.end_headers()
        self.wfile.write(content)

    def hang_up(self):
        self.close_connection = True
        with contextlib.suppress(OSError):
            self.connection.shutdown(2)


class ScriptedServer:
    """Answers each connection, once something has come over it, with `start` and then with `more` again and again, a
    `pause` in seconds in between and before; `times` as often (for ever when None), then it hangs up. `tls`: a context
    to encrypt with."""

    def __init__(self, start, more=b"", pause=0.0, times=None, tls=None):
        self._script, self._tls = (start, more, pause, times), tls
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.url = f"http{'s' if tls else ''}://127.0.0.1:{self._listener.getsockname()[1]}"
        threading.Thread(target=self._serve, daemon=True).start()

    def stop(self):
        self._listener.close()

    def _serve(self):
        start, more, pause, times = self._script
        with contextlib.suppress(OSError):
            while True:
                connection = self._listener.accept()[0]
                if self._tls:
                    connection = self._tls.wrap_socket(connection, server_side=True)
                with connection, contextlib.suppress(OSError):
                    connection.recv(1 << 16)
                    connection.sendall(start)
                    while times is None or times > 0:
                        time.sleep(pause)
                        connection.sendall(more)
                        times = times and times - 1
