"""A small server that speaks ComfyUI's protocol over real sockets on loopback, with the faults of such servers.

Somebody else uses it too: their messages come by its own clock, whatever happens to our jobs.
"""

import base64
import contextlib
import hashlib
import json
import re
import ssl
import struct
import threading
import time
import urllib.parse
import uuid

from comfy_run import Run
from comfy_validation import problems_of
from loopback_server import Answering, LoopbackServer

import comfy_classes

IMAGE, NUMBER = {"image": ["IMAGE"]}, ["INT", {"default": 8, "min": 1, "max": 4096}]
SHOWN = {"images": ["IMAGE"]}
MORE = {  # classes without a model, of every real server
    "EmptyImage": ({"width": NUMBER, "height": NUMBER, "batch_size": NUMBER, "color": ["INT", {}]}, ["IMAGE"], False),
    "ImageInvert": (IMAGE, ["IMAGE"], False),
    "ImageCrop": ({**IMAGE, "width": NUMBER, "height": NUMBER, "x": ["INT", {}], "y": ["INT", {}]}, ["IMAGE"], False),
    "SaveImageWebsocket": (SHOWN, [], True),
}


def class_info(name):
    if name not in MORE:
        return comfy_classes.class_info(name)
    inputs, outputs, is_output = MORE[name]
    return {name: {"input": {"required": inputs}, "output": outputs, "output_node": is_output}}


class ComfyServer:
    """Runs one job after the other. Tests change the attributes below before or while a render runs."""

    def __init__(self):
        self.version = "0.3.64"
        self.invents_ids = False  # servers of before 2025-07
        self.has_sockets = True
        self.lacks = ()  # names of node classes
        self.forgets_new_sockets = False  # the newer of two connections with one ID goes silent
        self.writes_metadata = True
        self.hides_jobs = False  # as some that stand before a server do with the jobs of others
        self.previews = None  # picture to send with each step
        self.clock = 0.1  # seconds between two messages about the others
        self.upload_limit = 100 << 20
        self.has_features = True  # servers since 2025
        self.login = None  # the Authorization header to insist on
        self.go_on = threading.Event()  # jobs wait for it in their sampler
        self.go_on.set()
        self.foreign_done = threading.Event()
        self.node_time = 0.0  # seconds that each node takes
        self.failure = None  # (exception type, message) for every job
        self.submit_answer = None  # (status, content type, content) in place of taking a job
        self.hangs_up_on_submit = 0  # so many jobs are taken, but the connection ends without an answer
        self.view_answers = []  # functions of the handler and the picture, each answering one download in its own way
        self.submit_delay = self.view_delay = 0.0
        self.picture = None  # what jobs make; None: a small one in the colour of the guide
        self.log = []  # (method, path, headers, body) of every request
        self.submitted, self.deleted, self.interrupted = [], [], []
        self.uploads, self.files, self.known_clients, self.flags = {}, {}, set(), {}
        self._lock = threading.RLock()
        self._forget()
        self.port = 0
        self.start()

    def start(self):
        self.ended = threading.Event()
        self._http = LoopbackServer(self, _Handler, self.port)
        self.port = self._http.server_address[1]
        self.url = f"http://127.0.0.1:{self.port}"
        for work in (self._work, self._chatter):
            threading.Thread(target=work, args=(self.ended,), daemon=True).start()

    def encrypt(self, certificate, key):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        self._http.socket = context.wrap_socket(self._http.socket, server_side=True)
        self.url = f"https://127.0.0.1:{self.port}"

    def stop(self):
        """Like the end of the server's process: queue and history are gone, uploads and pictures stay."""
        self.ended.set()
        self._http.shutdown()
        self._http.server_close()
        self.drop_sockets()
        with self._lock:
            self._forget()

    def _forget(self):
        self.pending, self.running, self.history, self.sockets, self.cache = [], None, {}, {}, {}
        self.number, self._interrupt, self.node = 0, None, None

    def drop_sockets(self):
        for handler in list(self.sockets.values()):
            handler.hang_up()

    def add_foreign(self, behind=False):
        """A job of somebody else, which runs until `foreign_done`; in front of everything else unless `behind`."""
        return self._queue(f"foreign-{uuid.uuid4()}", {"foreign": {}}, None, 1 if behind else -1, {})

    def delete(self, jobs):
        with self._lock:
            self.pending = [item for item in self.pending if item[1] not in jobs]
        self.tell_queue()

    def interrupt(self, job):
        with self._lock:
            if self.running and job in (None, self.running[1]):
                self._interrupt = self.running[1]
                self.interrupted.append(self.running[1])

    def _queue(self, job, posted, client, sign, extra, outputs=()):
        with self._lock:
            self.number += 1
            self.pending.append([sign * self.number, job, posted, {**extra, "client_id": client}, list(outputs)])
        self.tell_queue()
        return job

    def take(self, body):
        """Puts a posted graph into the queue and returns status, content type and body of the answer."""
        if self.submit_answer:
            return self.submit_answer
        error, node_errors, outputs = problems_of(body.get("prompt"), class_info, self.uploads)
        if error:
            return 400, "application/json", {"error": error, "node_errors": node_errors}
        job = None if self.invents_ids else body.get("prompt_id")
        job, extra = job or str(uuid.uuid4()), body.get("extra_data", {})
        self._queue(job, body["prompt"], body.get("client_id"), 1, extra, outputs)
        self.submitted.append(job)
        return 200, "application/json", {"prompt_id": job, "number": self.number, "node_errors": node_errors}

    def send(self, client, kind, data):
        """To one client, or to all when `client` is empty."""
        self.send_frame(client, 1, json.dumps({"type": kind, "data": data}).encode())

    def send_frame(self, client, code, content):
        for name, handler in list(self.sockets.items()):
            if not client or name == client:
                handler.send(code, content)

    def tell_queue(self):
        remaining = len(self.pending) + (1 if self.running else 0)
        self.send("", "status", {"status": {"exec_info": {"queue_remaining": remaining}}})

    def _chatter(self, ended):
        while not ended.wait(self.clock):
            self.tell_queue()
            self.send("", "crystools.monitor", {"cpu": 3})
            self.send("", "progress", {"value": 9, "max": 9, "node": "7", "prompt_id": "foreign"})

    def _work(self, ended):
        while not ended.wait(0.005):
            with self._lock:
                self.pending.sort(key=lambda item: item[0])
                self.running = self.pending.pop(0) if self.pending and self.running is None else self.running
            if self.running:
                self._run(self.running, ended)

    def _run(self, item, ended):
        job, extra = item[1], item[3]
        messages, outputs = [], {}

        def tell(kind, **data):
            messages.append([kind, {**data, "prompt_id": job}])
            self.send(extra["client_id"], *messages[-1])

        def goes_on_after(event):
            while not (event.wait(0.005) or self._interrupt == job or ended.is_set()):
                pass
            return self._interrupt != job and not ended.is_set()

        if "foreign" in item[2]:
            done = goes_on_after(self.foreign_done)
        else:
            done = Run(self, item, tell, outputs).done(goes_on_after)
        if ended.is_set():
            return
        messages = [message for message in messages if message[0].startswith("execution")]
        status = {"status_str": "success" if done else "error", "completed": done, "messages": messages}
        meta = {name: {"node_id": name, "display_node": name} for name in outputs}
        with self._lock:
            self.history[job] = {"prompt": item, "outputs": outputs, "status": status, "meta": meta}
            self.running = self.node = None
        self.tell_queue()
        self.send(extra["client_id"], "executing", {"node": None, "prompt_id": job})


class _Handler(Answering):
    def do_GET(self):
        if not self.admitted():
            return
        comfy, url = self.server.owner, urllib.parse.urlsplit(self.path)
        query = dict(urllib.parse.parse_qsl(url.query))
        step, _, rest = urllib.parse.unquote(re.sub("^/api/", "/", url.path)[1:]).partition("/")
        if step == "ws" and comfy.has_sockets:
            self.listen(query["clientId"])
        elif step == "system_stats":
            self.reply({"system": {"comfyui_version": comfy.version} if comfy.version else {}, "devices": []})
        elif step == "features" and comfy.has_features:
            self.reply({"supports_preview_metadata": True, "max_upload_size": comfy.upload_limit})
        elif step == "object_info":
            self.reply({} if rest in comfy.lacks else class_info(rest))
        elif step == "prompt":
            self.reply({"exec_info": {"queue_remaining": len(comfy.pending) + (1 if comfy.running else 0)}})
        elif step == "queue":
            with comfy._lock:
                running, pending = [comfy.running] if comfy.running else [], comfy.pending[::-1]
                hidden = [{}] if comfy.hides_jobs else None
                self.reply({"queue_running": hidden or running, "queue_pending": hidden or pending})
        elif step == "history":
            entries = list(comfy.history.items())[-int(query.get("max_items", 0)) :]
            self.reply({job: entry for job, entry in entries if rest in ("", job)})
        elif step == "view":
            self.view(query)
        else:
            self.reply(b"404: Not Found", 404, "text/plain")

    def do_POST(self):
        comfy, length, path = self.server.owner, int(self.headers["Content-Length"]), re.sub("^/api/", "/", self.path)
        if length > comfy.upload_limit:
            self.rfile.read(1024)
            self.reply(b"Maximum request body size exceeded", 413, "text/plain")
            return self.hang_up()
        body = self.rfile.read(length)
        if not self.admitted(body):
            return
        if path == "/upload/image":
            return self.upload(body)
        try:
            content = json.loads(body)
        except ValueError:
            return self.reply(b"500 Internal Server Error\n\nServer got itself in trouble", 500, "text/plain")
        if path == "/prompt":
            return self.submit(content)
        if path == "/queue":
            comfy.deleted += content["delete"]
            comfy.delete(content["delete"])
        elif path == "/interrupt":
            comfy.interrupt(content.get("prompt_id") if comfy.version >= "0.3.57" else None)
        self.reply(b"", kind="application/octet-stream")

    def submit(self, body):
        comfy = self.server.owner
        time.sleep(comfy.submit_delay)
        status, kind, answer = comfy.take(body)
        if comfy.hangs_up_on_submit:
            comfy.hangs_up_on_submit -= 1
            self.hang_up()
        else:
            self.reply(answer, status, kind)

    def upload(self, body):
        uploads = self.server.owner.uploads
        fields = dict(re.findall(r'name="(type|subfolder|overwrite)"\r\n\r\n(.*?)\r\n', body.decode("latin-1")))
        match = re.search(rb'name="image"; filename="([^"]+)"\r\nContent-Type: \S+\r\n\r\n(.*)\r\n--', body, re.S)
        if not match or ".." in fields["subfolder"] + match.group(1).decode():
            return self.reply(b"", 400, "application/octet-stream")
        if fields["type"] not in ("input", "temp", "output"):
            return self.reply(b"500 Internal Server Error", 500, "text/plain")
        name, subfolder, content = match.group(1).decode(), fields["subfolder"], match.group(2)
        while fields.get("overwrite") != "true" and uploads.get(f"{subfolder}/{name}", content) != content:
            name = name.replace(".", " (1).", 1)
        uploads[f"{subfolder}/{name}"] = content
        self.reply({"name": name, "subfolder": subfolder, "type": fields["type"]})

    def view(self, query):
        comfy, kind, subfolder = self.server.owner, query.get("type", "output"), query.get("subfolder", "")
        time.sleep(comfy.view_delay)
        if ".." in subfolder + query.get("filename", "") or kind not in ("output", "temp", "input"):
            return self.reply(b"", 400, "application/octet-stream")
        content = comfy.files.get((kind, subfolder, query.get("filename")))
        if comfy.view_answers:
            comfy.view_answers.pop(0)(self, content)
        else:
            self.reply(content or b"", 200 if content else 404, "image/png")

    def listen(self, client):
        """Turns the connection into a WebSocket and keeps it until the client closes it or goes."""
        comfy, key = self.server.owner, self.headers["Sec-WebSocket-Key"]
        accept = hashlib.sha1(key.encode() + b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11").digest()
        self.send_response(101)
        self.send_header("Upgrade", "websocket")
        self.send_header("Connection", "Upgrade")
        self.send_header("Sec-WebSocket-Accept", base64.b64encode(accept).decode())
        self.end_headers()
        self.close_connection = True
        renewed = client in comfy.known_clients
        comfy.known_clients.add(client)
        if not (renewed and comfy.forgets_new_sockets):
            comfy.sockets[client] = self
        comfy.forgets_new_sockets = comfy.forgets_new_sockets and not renewed
        self.send(1, json.dumps({"type": "status", "data": {"status": {}, "sid": client}}).encode())
        if comfy.node and comfy.running and comfy.running[3]["client_id"] == client:
            comfy.send(client, "executing", {"node": comfy.node})
        try:
            self.hear(client)
        finally:
            if comfy.sockets.get(client) is self:
                del comfy.sockets[client]

    def hear(self, client):
        """Frames of a client are short and masked."""
        while (head := self.rfile.read(2)) and head[0] != 0x88:
            mask, data = self.rfile.read(4), self.rfile.read(head[1] & 0x7F)
            data = bytes(byte ^ mask[place % 4] for place, byte in enumerate(data))
            if head[0] == 0x89:
                self.send(10, data)
            elif head[0] == 0x81:
                told = json.loads(data)
                flags = told["data"] if told["type"] == "feature_flags" else {}
                self.server.owner.flags[client] = flags.get("supports_preview_metadata")
        self.send(8, b"")

    def send(self, code, data):
        """One WebSocket frame; nothing when the client has gone."""
        size = len(data)
        short = bytes((size,)) if size < 126 else b"\x7e" + struct.pack(">H", size) if size < 1 << 16 else b""
        with self.server.owner._lock, contextlib.suppress(OSError):
            self.connection.sendall(bytes((0x80 | code,)) + (short or b"\x7f" + struct.pack(">Q", size)) + data)
