"""A small server that speaks ComfyUI's protocol over real sockets on loopback, with the faults of such servers."""

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

from comfy_classes import CLASSES, class_info
from loopback_server import Answering, LoopbackServer
from scratch_render import png


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
        self.submit_answer = None  # (status, content type, content) in place of taking a job
        self.submit_errors = {}  # node_errors beside a job that is taken all the same
        self.hangs_up_on_submit = 0  # so many jobs are taken, but the connection ends without an answer
        self.view_answers = []  # functions of the handler and the picture, each answering one download in its own way
        self.submit_delay = self.view_delay = 0.0
        self.picture = None  # what jobs make; None: a small one in the colour of the guide
        self.log = []  # (method, path, headers, body) of every request
        self.submitted, self.deleted, self.interrupted = [], [], []
        self.uploads, self.files, self.known_clients = {}, {}, set()
        self._lock = threading.RLock()
        self._forget()
        self.port = 0
        self.start()

    def start(self):
        self._ended = threading.Event()
        self._http = LoopbackServer(self, _Handler, self.port)
        self.port = self._http.server_address[1]
        self.url = f"http://127.0.0.1:{self.port}"
        threading.Thread(target=self._work, args=(self._ended,), daemon=True).start()

    def encrypt(self, certificate, key):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        self._http.socket = context.wrap_socket(self._http.socket, server_side=True)
        self.url = f"https://127.0.0.1:{self.port}"

    def stop(self):
        """Like the end of the server's process: queue and history are gone, uploads and pictures stay."""
        self._ended.set()
        self._http.shutdown()
        self._http.server_close()
        self.drop_sockets()
        with self._lock:
            self._forget()

    def _forget(self):
        self.pending, self.running, self.history, self.sockets = [], None, {}, {}
        self.number, self._interrupt = 0, None

    def drop_sockets(self):
        for handler in list(self.sockets.values()):
            handler.hang_up()

    def add_foreign(self, behind=False):
        """A job of somebody else, which runs until `foreign_done`; in front of everything else unless `behind`."""
        return self._queue(f"foreign-{uuid.uuid4()}", {"foreign": {}}, "foreign", 1 if behind else -1)

    def _queue(self, job, posted, client, sign=1):
        with self._lock:
            self.number += 1
            self.pending.append([sign * self.number, job, posted, {"client_id": client}, ["9"]])
        return job

    def take(self, body):
        """Puts a posted graph into the queue and returns status, content type and body of the answer."""
        if self.submit_answer:
            return self.submit_answer
        errors = self._errors(body["prompt"])
        if errors:
            error = {"type": "prompt_outputs_failed_validation", "message": "Prompt outputs failed validation"}
            return 400, "application/json", {"error": error, "node_errors": errors}
        job = str(uuid.uuid4()) if self.invents_ids else body["prompt_id"]
        self.submitted.append(self._queue(job, body["prompt"], body["client_id"]))
        self.send("", "status", {"status": {"exec_info": {"queue_remaining": 1}}})
        return 200, "application/json", {"prompt_id": job, "number": 1, "node_errors": self.submit_errors}

    def _errors(self, posted):
        errors = {}
        for identifier, node in posted.items():
            choices = {name: spec[0] for name, spec in CLASSES[node["class_type"]][0].items()}
            if node["class_type"] == "LoadImage":
                choices["image"] = list(self.uploads)
            for name, value in node["inputs"].items():
                if isinstance(choices.get(name), list) and value not in choices[name]:
                    extra = {"input_name": name, "received_value": value, "input_config": [choices[name], {}]}
                    problem = {"type": "value_not_in_list", "details": "", "extra_info": extra}
                    errors[identifier] = {"errors": [problem], "class_type": node["class_type"]}
        return errors

    def send(self, client, kind, data):
        """To one client, or to all when `client` is empty."""
        text = json.dumps({"type": kind, "data": data}).encode()
        for name, handler in list(self.sockets.items()):
            if not client or name == client:
                handler.send(1, text)

    def _work(self, ended):
        while not ended.wait(0.005):
            with self._lock:
                self.pending.sort(key=lambda item: item[0])
                self.running = self.pending.pop(0) if self.pending and self.running is None else self.running
            if self.running:
                self._run(self.running, ended)

    def _run(self, item, ended):
        _, job, posted, extra, _ = item
        messages, outputs = [], {}

        def tell(kind, **data):
            messages.append([kind, {**data, "prompt_id": job}])
            self.send(extra["client_id"], *messages[-1])

        def goes_on_after(event):
            while not (event.wait(0.005) or self._interrupt == job or ended.is_set()):
                pass
            return self._interrupt != job and not ended.is_set()

        if "foreign" in posted:
            done = goes_on_after(self.foreign_done)
        else:
            done = self._made(posted, tell, outputs, goes_on_after)
        if ended.is_set():
            return
        messages = [message for message in messages if message[0].startswith("execution")]
        status = {"status_str": "success" if done else "error", "completed": done, "messages": messages}
        with self._lock:
            self.history[job] = {"prompt": item, "outputs": outputs, "status": status, "meta": {}}
            self.running = None
        self.send(extra["client_id"], "executing", {"node": None, "prompt_id": job})

    def _made(self, posted, tell, outputs, goes_on_after):
        """Runs the nodes of a graph; whether all of them ended well."""
        tell("execution_start")
        tell("execution_cached", nodes=["1"])
        for identifier, node in posted.items():
            kind = node["class_type"]
            tell("executing", node=identifier, display_node=identifier)
            self.send("", "crystools.monitor", {"cpu": 3})
            time.sleep(self.node_time)
            for step in (1, 2, 3, 4, 1) if kind == "KSampler" else ():  # some begin anew
                tell("progress", value=step, max=4, node=identifier)
                time.sleep(self.node_time / 5)
            if kind == "KSampler" and not goes_on_after(self.go_on):
                tell("execution_interrupted", node_id=identifier, node_type=kind)
                return False
            if kind == "KSampler" and self.failure:
                reason = dict(zip(("exception_type", "exception_message"), self.failure))
                tell("execution_error", node_id=identifier, node_type=kind, **reason)
                return False
            if kind in ("SaveImage", "PreviewImage"):
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


class _Handler(Answering):
    def do_GET(self):
        if not self.admitted():
            return
        comfy, url = self.server.owner, urllib.parse.urlsplit(self.path)
        query = dict(urllib.parse.parse_qsl(url.query))
        step, _, rest = urllib.parse.unquote(url.path[1:]).partition("/")
        if step == "ws" and comfy.has_sockets:
            self.listen(query["clientId"])
        elif step == "system_stats":
            self.reply({"system": {"comfyui_version": comfy.version} if comfy.version else {}, "devices": []})
        elif step == "object_info":
            self.reply(class_info(rest))
        elif step == "queue":
            with comfy._lock:
                self.reply({"queue_running": [comfy.running] if comfy.running else [], "queue_pending": comfy.pending[::-1]})
        elif step == "history":
            self.reply({job: entry for job, entry in comfy.history.items() if rest in ("", job)})
        elif step == "view":
            self.view((query["subfolder"], query["filename"]))
        else:
            self.reply(b"404: Not Found", 404, "text/plain")

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        if not self.admitted(body):
            return
        comfy = self.server.owner
        if self.path == "/upload/image":
            self.upload(body)
        elif self.path == "/prompt":
            self.submit(json.loads(body))
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
        fields = dict(re.findall(rb'name="(type|subfolder|overwrite)"\r\n\r\n(.*?)\r\n', body))
        match = re.search(rb'name="image"; filename="([^"]+)"\r\nContent-Type: \S+\r\n\r\n(.*)\r\n--', body, re.S)
        name, subfolder = match.group(1).decode(), fields[b"subfolder"].decode()
        self.server.owner.uploads[f"{subfolder}/{name}"] = match.group(2)
        self.reply({"name": name, "subfolder": subfolder, "type": fields[b"type"].decode()})

    def view(self, place):
        comfy = self.server.owner
        time.sleep(comfy.view_delay)
        content = comfy.files.get(place)
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
        try:
            while self.rfile.read(1) not in (b"\x88", b""):
                pass
            self.send(8, b"")
        finally:
            if comfy.sockets.get(client) is self:
                del comfy.sockets[client]

    def send(self, code, data):
        """One WebSocket frame; nothing when the client has gone."""
        size = len(data)
        head = bytes((0x80 | code, size)) if size < 126 else bytes((0x80 | code, 126)) + struct.pack(">H", size)
        with self.server.owner._lock, contextlib.suppress(OSError):
            self.connection.sendall(head + data)
