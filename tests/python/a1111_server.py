"""A small server that speaks the API of A1111's web UI over real sockets on loopback, its traps included."""

import base64
import json
import threading
import time
from http.server import BaseHTTPRequestHandler

from comfy_server import QuietServer
from scratch_render import png


class A1111Server:
    """Runs one call after the other, each when it gets the lock. Tests change the attributes below."""

    def __init__(self):
        self.models = ["control_canny [a1]", "control_depth [b2]"]  # None: no ControlNet
        self.go_on = threading.Event()  # calls wait for it in the middle
        self.go_on.set()
        self.tells_task = True  # False: servers of before 1.7
        self.answer = None  # (status, content) in place of pictures
        self.hangs_up = 0  # so many calls end without an answer
        self.extra_before, self.extra_after = 0, 0  # pictures beside those that were asked for
        self.login = None
        self.has_api = True
        self.calls, self.interrupted, self.log = [], [], []
        self.task, self.progress, self._interrupt = None, 0.0, False
        self._lock = threading.Lock()
        server = self

        class Handler(_Handler):
            a1111 = server

        self._http = QuietServer(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self._http.server_address[1]}"
        threading.Thread(target=self._http.serve_forever, args=(0.02,), daemon=True).start()

    def stop(self):
        self.go_on.set()
        self._http.shutdown()
        self._http.server_close()

    def run_foreign(self, seconds):
        """Somebody else's call, which takes the server for `seconds`."""
        started = threading.Event()

        def run():
            with self._lock:
                self.task = "task(foreign)"
                started.set()
                end = time.monotonic() + seconds
                while time.monotonic() < end and not self._interrupt:
                    time.sleep(0.01)
                self.task = None

        threading.Thread(target=run, daemon=True).start()
        started.wait()

    def make(self, body):
        with self._lock:
            self.task, self._interrupt = body.get("force_task_id"), False
            for step in range(1, 5):
                self.progress = step / 4
                time.sleep(0.1)
            while not (self.go_on.wait(0.01) or self._interrupt):
                pass
            self.task, self.progress = None, 0.0
        count = body["n_iter"]
        extra = base64.b64encode(png(2, 2, (0, 0, 0))).decode()
        made = [base64.b64encode(png(16, 9, (number + 1, 0, 0))).decode() for number in range(count)]
        info = {
            "all_seeds": [body["seed"] + number for number in range(count)],
            "index_of_first_image": self.extra_before,
        }
        return {"images": [extra] * self.extra_before + made + [extra] * self.extra_after, "info": json.dumps(info)}


class _Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *_):
        pass

    def do_GET(self):
        path, server = self.path.split("?")[0], self.server_state()
        if server is None:
            return
        state = {"job_count": int(server.task is not None), "interrupted": server._interrupt}
        progress = {"progress": server.progress, "state": state}
        if server.tells_task:
            progress["current_task"] = server.task
        answers = {
            "/sdapi/v1/options": {"sd_model_checkpoint": "base.safetensors [9f]"},
            "/sdapi/v1/progress": progress,
            "/sdapi/v1/samplers": [{"name": "Euler a"}],
            "/sdapi/v1/sd-models": [{"title": "base.safetensors [9f]"}],
        }
        if server.models is not None:
            answers["/controlnet/model_list"] = {"model_list": server.models}
        self.reply(answers.get(path, {"detail": "Not Found"}), 200 if path in answers and server.has_api else 404)

    def do_POST(self):
        body = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        server = self.server_state()
        if server is None:
            return
        if self.path == "/sdapi/v1/interrupt":
            server.interrupted.append(server.task)
            server._interrupt = True
            self.reply({})
            return
        server.calls.append(body)
        content = server.answer or (200, server.make(body))
        if server.hangs_up:
            server.hangs_up -= 1
            self.close_connection = True
            self.connection.shutdown(2)
        else:
            self.reply(content[1], content[0])

    def server_state(self):
        """The server, unless this request is refused."""
        self.a1111.log.append((self.path, dict(self.headers)))
        if self.a1111.login and self.headers.get("Authorization") != self.a1111.login:
            self.reply({"detail": "Incorrect username or password"}, 401)
            return None
        return self.a1111

    def reply(self, content, status=200):
        data = content if isinstance(content, bytes) else json.dumps(content).encode()
        self.send_response(status)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(data)))
        self.end_headers()
        self.wfile.write(data)
