"""What the stand-in servers share: real sockets on loopback, and no noise when a client goes away in the middle."""

import contextlib
import json
import ssl
import sys
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer


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
