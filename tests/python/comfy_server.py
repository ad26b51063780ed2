"""A small server that speaks ComfyUI's protocol over real sockets on loopback, its traps included."""

import base64
import hashlib
import json
import re
import ssl
import struct
import sys
import threading
import time
import urllib.parse
import uuid
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from comfy_classes import CLASSES, class_info
from scratch_render import png


class QuietServer(ThreadingHTTPServer):
    """Clients that go away in the middle are part of the tests."""

    daemon_threads = True

    def handle_error(self, request, client_address):
        if not isinstance(sys.exc_info()[1], (ConnectionError, ssl.SSLError)):
            super().handle_error(request, client_address)


class ComfyServer:
    """Runs one job after the other. Tests change the attributes below before or while a render runs."""

    def __init__(self):
        self.version = "0.3.64"
        self.invents_ids = False  # servers of before 2025-07
        self.has_sockets = True
        self.forgets_new_sockets = False  # the newer of two connections with one ID goes silent
        self.login = None  # the Authorization header to insist on
        self.go_on = threading.Event()  # jobs wait for it in their sampler
        self.go_on.set()
        self.foreign_done = threading.Event()
        self.node_time = 0.0  # seconds that each node takes
        self.failure = None  # (exception type, message) for every job
        self.submit_answer = None  # (status, content type, body) in place of taking a job
        self.submit_errors = {}  # node_errors beside a job that is taken all the same
        self.hangs_up_on_submit = 0  # so many jobs are taken, but the connection ends without an answer
        self.view_answers = []  # functions of the picture, each answering one download instead of the plain one
        self.submit_delay = self.view_delay = 0.0
        self.picture = None  # what jobs make; None: a small one in the colour of the guide
        self.log = []  # (method, path, headers, body) of every request
        self.submitted, self.deleted, self.interrupted = [], [], []
        self.uploads, self.files, self.known_clients = {}, {}, set()
        self._lock = threading.RLock()
        self._stopped = False
        self._forget()
        self.start(0)

    def start(self, port=None):
        server, self._stopped = self, False

        class Handler(_Handler):
            comfy = server

        self._http = QuietServer(("127.0.0.1", self.port if port is None else port), Handler)
        self.port = self._http.server_address[1]
        self.url = f"http://127.0.0.1:{self.port}"
        threading.Thread(target=self._http.serve_forever, args=(0.02,), daemon=True).start()
        threading.Thread(target=self._work, daemon=True).start()

    def encrypt(self, certificate, key):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        self._http.socket = context.wrap_socket(self._http.socket, server_side=True)
        self.url = f"https://127.0.0.1:{self.port}"

    def stop(self):
        """Like the end of the server's process: queue and history are gone, uploads and pictures stay."""
        self._stopped = True
        self._http.shutdown()
        self._http.server_close()
        self.drop_sockets()
        with self._lock:
            self._forget()

    def _forget(self):
        self.pending, self.running, self.history, self.sockets = [], None, {}, {}
        self.number, self._interrupt = 0, None

    def drop_sockets(self):
        for connection in list(self.sockets.values()):
            connection.shutdown()

    def add_foreign(self, behind=False):
        """A job of somebody else, which runs until `foreign_done`; in front of everything else unless `behind`."""
        job = f"foreign-{uuid.uuid4()}"
        with self._lock:
            self.number += 1
            number = self.number if behind else -self.number
            self.pending.append([number, job, {"foreign": {}}, {"client_id": "foreign"}, ["9"]])
        return job

    def take(self, body):
        """Puts a posted graph into the queue and returns the answer."""
        if self.submit_answer:
            return self.submit_answer
        posted, errors = body["prompt"], self._errors(body["prompt"])
        if errors:
            error = {
                "type": "prompt_outputs_failed_validation",
                "message": "Prompt outputs failed validation",
                "details": "",
            }
            return 400, "application/json", json.dumps({"error": error, "node_errors": errors}).encode()
        job = str(uuid.uuid4()) if self.invents_ids else body["prompt_id"]
        with self._lock:
            self.number += 1
            self.pending.append([self.number, job, posted, {"client_id": body["client_id"]}, ["9"]])
            self.submitted.append(job)
        self.send("", "status", {"status": {"exec_info": {"queue_remaining": 1}}})
        answer = {"prompt_id": job, "number": self.number, "node_errors": self.submit_errors}
        return 200, "application/json", json.dumps(answer).encode()

    def _errors(self, posted):
        errors = {}
        for identifier, node in posted.items():
            for name, value in node["inputs"].items():
                problem = self._problem(node["class_type"], name, value)
                if problem:
                    told = {"errors": [problem], "dependent_outputs": ["9"], "class_type": node["class_type"]}
                    errors[identifier] = told
        return errors

    def _problem(self, kind, name, value):
        extra = {"input_name": name, "received_value": value}
        if kind == "LoadImage" and value not in self.uploads:
            return {
                "type": "custom_validation_failed",
                "details": f"image - Invalid image file: {value}",
                "extra_info": extra,
            }
        spec = CLASSES[kind][0].get(name)
        if kind != "LoadImage" and spec and isinstance(spec[0], list) and value not in spec[0]:
            extra["input_config"] = [spec[0], {}]
            return {"type": "value_not_in_list", "details": "", "extra_info": extra}
        if name in ("width", "height") and value > spec[1].get("max", value):
            return {"type": "value_bigger_than_max", "details": "max 16384", "extra_info": extra}
        return None

    def send(self, client, kind, data):
        """To one client, or to all when `client` is empty."""
        text = json.dumps({"type": kind, "data": data}).encode()
        for name, connection in list(self.sockets.items()):
            if not client or name == client:
                connection.send(1, text)

    def _work(self):
        http = self._http
        while not self._stopped and http is self._http:
            with self._lock:
                self.pending.sort(key=lambda item: item[0])
                self.running = self.pending.pop(0) if self.pending and self.running is None else self.running
            if self.running:
                self._run(self.running, http)
            time.sleep(0.005)

    def _run(self, item, http):
        _, job, posted, extra, _ = item
        client, messages, outputs = extra["client_id"], [], {}

        def tell(kind, **data):
            messages.append([kind, {**data, "prompt_id": job}])
            self.send(client, kind, {**data, "prompt_id": job})

        ended = self._run_nodes(posted, job, tell, outputs, http)
        if self._stopped or http is not self._http:
            return
        messages = [message for message in messages if message[0].startswith("execution")]
        status = {"status_str": "success" if ended else "error", "completed": ended, "messages": messages}
        with self._lock:
            self.history[job] = {"prompt": item, "outputs": outputs, "status": status, "meta": {}}
            self.running = None
        self.send(client, "executing", {"node": None, "prompt_id": job})

    def _run_nodes(self, posted, job, tell, outputs, http):
        def stopped():
            return self._interrupt == job or self._stopped or http is not self._http

        if "foreign" in posted:
            while not (self.foreign_done.wait(0.005) or stopped()):
                pass
            return not stopped()
        tell("execution_start")
        tell("execution_cached", nodes=["1"])
        for identifier, node in posted.items():
            tell("executing", node=identifier, display_node=identifier)
            self.send("", "crystools.monitor", {"cpu": 3})
            time.sleep(self.node_time)
            if node["class_type"] == "KSampler":
                for step in range(1, 5):
                    tell("progress", value=step, max=4, node=identifier)
                while not (self.go_on.wait(0.005) or stopped()):
                    pass
            if stopped():
                tell("execution_interrupted", node_id=identifier, node_type=node["class_type"])
                return False
            if node["class_type"] == "KSampler" and self.failure:
                kind, message = self.failure
                tell(
                    "execution_error",
                    node_id=identifier,
                    node_type="KSampler",
                    exception_type=kind,
                    exception_message=message,
                )
                return False
            if node["class_type"] in ("SaveImage", "PreviewImage"):
                outputs[identifier] = {"images": [self._save(node, posted)]}
                tell("executed", node=identifier, display_node=identifier, output=outputs[identifier])
        tell("execution_success")
        return True

    def _save(self, node, posted):
        guide = self.uploads[next(n["inputs"]["image"] for n in posted.values() if n["class_type"] == "LoadImage")]
        subfolder, _, name = node["inputs"].get("filename_prefix", "temp").rpartition("/")
        picture = {"filename": f"{name}_00001_.png", "subfolder": subfolder, "type": "output"}
        content = self.picture or png(16, 9, hashlib.sha256(guide).digest()[:3])
        self.files[(subfolder, picture["filename"])] = content
        return picture


class _Socket:
    """One WebSocket connection, as the server keeps it."""

    def __init__(self, raw):
        self._raw, self._lock = raw, threading.Lock()

    def send(self, code, data):
        size = len(data)
        head = bytes((0x80 | code, size)) if size < 126 else bytes((0x80 | code, 126)) + struct.pack(">H", size)
        try:
            with self._lock:
                self._raw.sendall(head + data)
        except OSError:
            pass

    def shutdown(self):
        try:
            self._raw.shutdown(2)
        except OSError:
            pass


class _Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *_):
        pass

    def do_GET(self):
        url = urllib.parse.urlsplit(self.path)
        query = dict(urllib.parse.parse_qsl(url.query))
        self.comfy.log.append(("GET", url.path, dict(self.headers), b""))
        if self.refused():
            return
        step, _, rest = url.path[1:].partition("/")
        rest = urllib.parse.unquote(rest)
        comfy = self.comfy
        if step == "ws" and comfy.has_sockets:
            self.listen(query["clientId"])
        elif step == "system_stats":
            self.reply(
                {"system": {"comfyui_version": comfy.version} if comfy.version else {"os": "posix"}, "devices": []}
            )
        elif step == "object_info":
            self.reply(class_info(rest))
        elif step == "queue":
            with comfy._lock:
                self.reply({"queue_running": [comfy.running] if comfy.running else [], "queue_pending": comfy.pending})
        elif step == "history":
            self.reply({rest: comfy.history[rest]} if rest in comfy.history else {} if rest else comfy.history)
        elif step == "view":
            self.view(query)
        else:
            self.reply(b"404: Not Found", 404, "text/plain")

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        self.comfy.log.append(("POST", self.path, dict(self.headers), body))
        if self.refused():
            return
        comfy = self.comfy
        if self.path == "/upload/image":
            self.upload(body)
        elif self.path == "/prompt":
            time.sleep(comfy.submit_delay)
            status, kind, answer = comfy.take(json.loads(body))
            if comfy.hangs_up_on_submit:
                comfy.hangs_up_on_submit -= 1
                self.close_connection = True
                self.connection.shutdown(2)
            else:
                self.reply(answer, status, kind)
        elif self.path == "/queue":
            deleted = json.loads(body)["delete"]
            comfy.deleted += deleted
            with comfy._lock:
                comfy.pending = [item for item in comfy.pending if item[1] not in deleted]
            self.reply(b"")
        elif self.path == "/interrupt":
            job = json.loads(body).get("prompt_id") if comfy.version >= "0.3.57" else None
            if comfy.running and job in (None, comfy.running[1]):
                comfy._interrupt = comfy.running[1]
                comfy.interrupted.append(comfy.running[1])
            self.reply(b"")

    def refused(self):
        if self.headers.get("Origin"):
            self.reply(b"", 403)
            return True
        if self.comfy.login and self.headers.get("Authorization") != self.comfy.login:
            self.reply(b"401: Unauthorized", 401, "text/plain")
            return True
        return False

    def reply(self, content, status=200, kind="application/json"):
        content = content if isinstance(content, bytes) else json.dumps(content).encode()
        self.send_response(status)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)

    def upload(self, body):
        fields = dict(re.findall(rb'name="(type|subfolder|overwrite)"\r\n\r\n(.*?)\r\n', body))
        match = re.search(rb'name="image"; filename="([^"]+)"\r\nContent-Type: \S+\r\n\r\n(.*)\r\n--', body, re.S)
        name, subfolder = match.group(1).decode(), fields[b"subfolder"].decode()
        self.comfy.uploads[f"{subfolder}/{name}"] = match.group(2)
        self.reply({"name": name, "subfolder": subfolder, "type": fields[b"type"].decode()})

    def view(self, query):
        time.sleep(self.comfy.view_delay)
        content = self.comfy.files.get((query["subfolder"], query["filename"]))
        if self.comfy.view_answers:
            self.comfy.view_answers.pop(0)(self, content)
        elif content is None:
            self.reply(b"", 404, "text/plain")
        else:
            self.reply(content, kind="image/png")

    def cut_off(self, content):
        """Begins to send `content` and goes away in the middle."""
        self.send_response(200)
        self.send_header("Content-Type", "image/png")
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content[: len(content) // 2])
        self.wfile.flush()
        self.close_connection = True
        self.connection.shutdown(2)

    def listen(self, client):
        accept = hashlib.sha1(
            self.headers["Sec-WebSocket-Key"].encode() + b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11"
        ).digest()
        self.send_response(101)
        for name, value in (("Upgrade", "websocket"), ("Connection", "Upgrade")):
            self.send_header(name, value)
        self.send_header("Sec-WebSocket-Accept", base64.b64encode(accept).decode())
        self.end_headers()
        self.wfile.flush()
        self.close_connection = True
        sockets, connection = self.comfy.sockets, _Socket(self.connection)
        renewed = client in self.comfy.known_clients
        self.comfy.known_clients.add(client)
        if not (renewed and self.comfy.forgets_new_sockets):
            sockets[client] = connection
        self.comfy.forgets_new_sockets = self.comfy.forgets_new_sockets and not renewed
        connection.send(1, json.dumps({"type": "status", "data": {"status": {}, "sid": client}}).encode())
        try:
            self.echo(connection)
        finally:
            if sockets.get(client) is connection:
                del sockets[client]

    def echo(self, connection):
        """Answers pings and farewells until the client goes."""
        while True:
            head = self.rfile.read(2)
            if len(head) < 2:
                return
            size = head[1] & 0x7F
            mask, data = self.rfile.read(4), self.rfile.read(size)
            assert head[1] & 0x80, "client frames have to be masked"
            plain = bytes(byte ^ mask[place % 4] for place, byte in enumerate(data))
            if head[0] & 0x0F == 8:
                connection.send(8, plain)
                return
            if head[0] & 0x0F == 9:
                connection.send(10, plain)
