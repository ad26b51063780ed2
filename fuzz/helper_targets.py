"""What of the render helper is fed by helper_fuzz.py: readers by themselves, and whole renders on a server of paper."""

import base64
import hashlib
import http.client
import importlib.util
import json
import os
import socket
import struct
import time
import zlib
from unittest import mock

from comfy_classes import class_info, graph
from helper_mutation import changed, changed_json
from scratch_render import png
from test_comfyui_editor import BOTH, instance, usual, with_instance

from quillmere_helper import (
    backends,
    cancellation,
    exchange,
    outputs,
    passes,
    pictures,
    pool,
    request,
    servers,
    web,
    workflows,
)
from quillmere_helper import png as png_files
from quillmere_helper.backends.comfyui import websocket
from quillmere_helper.backends.comfyui.client import KIND
from quillmere_helper.errors import HelperError

MOST_EXCHANGES = 200  # of one render: a server may keep a job waiting for ever
STRETCH = 50.0  # seconds of a render's clock between two exchanges


class Enough(BaseException):
    """A render goes on as long as its server says so."""


ALLOWED = (HelperError, png_files.BadPng, cancellation.Cancellation, websocket.ClosedConnection, Enough)

TEXT = png_files.with_text
NODES = [
    {"id": 1, "type": "LoadImage", "outputs": [{"name": "IMAGE", "type": "IMAGE", "links": [1]}], "widgets_values": ["a.png", "image"]},
    {"id": 2, "type": "Reroute", "inputs": [{"name": "", "type": "*", "link": 1}], "outputs": [{"links": [2]}]},
    {"id": 3, "type": "SaveImage", "inputs": [{"name": "images", "type": "IMAGE", "link": 2}], "widgets_values": ["{prompt}"], "mode": 0},
]
EDITOR = {"nodes": NODES, "links": [[1, 1, 0, 2, 0, "IMAGE"], [2, 2, 0, 3, 0, "IMAGE"]], "version": 0.4}
LOADER = {"class_type": "LoadImage", "inputs": {"image": "a.png"}, "_meta": {"title": "Quillmere Depth"}}
WORKFLOWS = [
    graph(),
    EDITOR,
    usual(),
    with_instance(instance(20, [30, "outer words"], BOTH, [["3", "steps"], ["2", "text"]])),
    {"backend": "comfyui", "url": "http://127.0.0.1:8188", "graph": graph(), "parameters": {"seed": "frame"}},
    {"backend": "a1111", "parameters": {"seed": 4, "steps": 9, "pictures": 2, "controlnet": "required"}},
    {"backend": "a1111", "url": ["http://a:1", "http://b"], "units": [{"pass": "depth"}, {"pass": "guide", "end": 0.5}]},
    {"backend": "comfyui", "graph": {**graph(), "4": LOADER}, "without_passes": "guide", "url": "http://a:1, http://b"},
    {"backend": "embedded", "parameters": {"seed": "random", "layers": 3, "line": 0.5}},
]
REQUEST = {"workflow_path": "w", "output_dir": "out", "output_prefix": "shot", "effective_prompt": "a barn"}
REQUEST.update(reference_image="guide.png", locked_style_image="", status_path="status", width=64, height=36, frame=3)


def jpeg():
    """Enough of one for its headers to be read: a baseline picture of one block."""
    tables = b"\xff\xdb\0\x43\0" + b"\1" * 64 + b"\xff\xc0\0\x0b\x08\0\x08\0\x08\1\1\x11\0"
    tables += b"\xff\xc4\0\x14\0\1" + bytes(15) + b"\0" + b"\xff\xc4\0\x14\x10\1" + bytes(15) + b"\0"
    return b"\xff\xd8" + tables + b"\xff\xda\0\x08\1\1\0\0\x3f\0\x00\xff\xd9"


def packed(keyword, text):
    return png_files.chunk(b"zTXt", keyword + b"\0\0" + zlib.compress(text))


def pictures_of_all_kinds():
    plain, record = png(20, 10), json.dumps({"workflow": WORKFLOWS[-1]})
    webp = b"RIFF\x1a\0\0\0WEBPVP8L\x0d\0\0\0\x2f\0\0\0\x10\x07\x10\x11\x11\x88\x88\xfe\x07\0"
    return [plain, png(5, 5, depth=16), TEXT(plain, "quillmere", record), TEXT(plain, "prompt", json.dumps(graph())),
            plain[:33] + packed(b"workflow", json.dumps(EDITOR).encode()) + plain[33:], jpeg(), webp]


def workflow_files():
    return [json.dumps(content).encode() for content in WORKFLOWS] * 4 + pictures_of_all_kinds()


class PaperServer:
    """Takes the place of web.Exchange: answers as both kinds of server do, now and then with something changed."""

    def __init__(self, chance, folder):
        self.chance, self.folder, self.count, self.now = chance, folder, 0, 1000.0
        self.harm = chance.choice((0.01, 0.05, 0.1, 0.3))

    def __call__(self, site, method, target, body, headers, limits):
        self.count += 1
        if self.count > MOST_EXCHANGES:
            raise Enough
        self.now += self.chance.choice((0, 0, 1, STRETCH))
        self.target, self.body = target, body
        return self

    def begins_within(self, seconds):
        self.now += seconds
        return self.chance.random() < 0.5

    def close(self):
        pass

    def answer(self, into=None):
        kind, content = self._content(self.target.split("?")[0])
        status = 200
        if self.chance.random() < self.harm:
            content = changed(self.chance, content)
            status = self.chance.choice((200, 200, 200, 400, 404, 413, 500))
        if self.chance.random() < self.harm / 10:
            raise web.UnreachableServer("gone")
        (self.folder / f"answer-{self.count:03}").write_bytes(self.target.encode(errors="replace") + b"\n" + content)
        if into and status == 200:
            into.write(content)
            content = into.content()
        return web.Answer(status, kind, content)

    def _content(self, path):
        if path.startswith("/view"):
            return "image/png", self.chance.choice(pictures_of_all_kinds())
        if path.startswith("/object_info/"):
            return "application/json", json.dumps(class_info(path.rpartition("/")[2])).encode()
        content = self._known(path)
        return "application/json", json.dumps(content).encode()

    def _known(self, path):
        picture = base64.b64encode(png(4, 4)).decode()
        done = {"images": [{"filename": "a.png", "subfolder": "q", "type": "output"}]}
        job = self.job()
        messages = [["execution_error", {"node_id": "7", "exception_type": "E", "exception_message": "m", "traceback": ["t"]}]]
        status = self.chance.choice(({"status_str": "success"}, {"status_str": "error", "messages": messages}))
        entry = {"prompt": [1, job, {}, {"client_id": "c"}, ["9"]], "outputs": {"9": done}, "status": status}
        errors = {"7": {"errors": [{"type": "value_not_in_list", "details": "d", "extra_info": {"input_name": "x"}}]}}
        refusal = {"error": {"type": "prompt_outputs_failed_validation", "message": "m"}, "node_errors": errors}
        info = {"all_seeds": [4, 5], "index_of_first_image": 0}
        waiting = {"queue_running": [[0, job, {}, {}, []]], "queue_pending": [[2, "other", {}, {"client_id": "d"}, []]]}
        idle = {"queue_running": [], "queue_pending": []}
        for start, answers in (
            ("/system_stats", [{"system": {"comfyui_version": "0.3.64"}}]),
            ("/features", [{"max_upload_size": 1 << 26}]),
            ("/upload", [{"name": "a.png", "subfolder": "q"}]),
            ("/prompt", [{"prompt_id": job, "number": 1, "node_errors": {}}] * 3 + [refusal]),
            ("/queue", [waiting, idle]),
            ("/history", [{job: entry}, {}]),
            ("/sdapi/v1/options", [{"sd_model_checkpoint": "base"}]),
            ("/sdapi/v1/progress", [{"progress": 0.5, "state": {"interrupted": False}, "current_task": "t"}]),
            ("/sdapi/v1/img2img", [{"images": [picture] * 2, "info": json.dumps(info)}]),
            ("/sdapi/v1/samplers", [[{"name": "Euler a"}]]),
            ("/controlnet/model_list", [{"model_list": ["control_canny [a1]"]}]),
        ):
            if path.startswith(start):
                return self.chance.choice(answers)
        return {}

    def job(self):
        with_body = json.loads(self.body) if self.body and self.body[:1] == b"{" else {}
        self.known = with_body.get("prompt_id") or getattr(self, "known", "j")
        return self.known

    def message(self, _socket, seconds):
        """In place of WebSocket.receive."""
        self.now += self.chance.choice((0, seconds))
        data = self.chance.choice((
            {"type": "progress", "data": {"value": 1, "max": 4, "node": "7", "prompt_id": self.job()}},
            {"type": "executing", "data": {"node": self.chance.choice(("7", None)), "prompt_id": self.job()}},
            {"type": "progress_state", "data": {"prompt_id": self.job(), "nodes": {"7": {"state": "running", "value": 1, "max": 2}}}},
            {"type": "status", "data": {"status": {"exec_info": {"queue_remaining": 1}}, "sid": "s"}},
            {"type": "execution_cached", "data": {"nodes": ["1"], "prompt_id": self.job()}},
            {"type": "execution_success", "data": {"prompt_id": self.job()}},
        ))
        sent = changed(self.chance, json.dumps(data).encode())
        self.count += 0.1
        if self.count > MOST_EXCHANGES:
            raise Enough
        return self.chance.choice((None, sent, sent.decode("utf-8", "replace"), struct.pack(">II", 1, 1) + png(4, 4)))

    def sleep(self, seconds):
        self.now += seconds

    def clock(self):
        self.now += 0.001
        return self.now

    def instead(self):
        """The patches that put this server in the place of the world."""
        stack = mock.patch.multiple(web, Exchange=self), mock.patch.multiple(time, sleep=self.sleep, monotonic=self.clock)
        quiet = {"__init__": lambda *_: None, "receive": lambda *given: self.message(*given), "close": lambda _: None}
        quiet["send"] = lambda *_: None
        waits = mock.patch.object(cancellation, "stop_if_orphaned")  # which a forked process is in its eyes
        return (*stack, waits, mock.patch.multiple(websocket.WebSocket, **quiet, create=True))


def _under(patches, work):
    if not patches:
        return work()
    with patches[0]:
        return _under(patches[1:], work)


def _prepare(folder, workflow):
    (folder / "w").write_bytes(workflow)
    (folder / "guide.png").write_bytes(png(64, 36))
    os.environ.update(QUILLMERE_SERVER_PATIENCE="5", QUILLMERE_PREVIEWS="1", QUILLMERE_CREDENTIALS=str(folder / "logins"))
    return workflows.read_workflow(str(folder / "w"), backends.MODULES)


def workflow(chance, folder):
    content = changed(chance, chance.choice(workflow_files()))
    content = _summed(content) if content.startswith(png_files.SIGNATURE) else content
    if chance.random() < 0.3:
        (folder / "inner").write_bytes(content)
        controls = {"seed": 4, "steps": 8, "Paint.steps": 8, "line": 0.5}
        content = json.dumps({"workflow": str(folder / "inner"), "controls": changed_json(chance, controls)}).encode()
    found = _prepare(folder, content)
    backend = backends.load(found.backend)
    look = getattr(backend, chance.choice(("check", "controls")), backend.check)
    _under(PaperServer(chance, folder).instead(), lambda: look(found))


def answers(chance, folder):
    found = _prepare(folder, json.dumps(chance.choice(WORKFLOWS[:-1])).encode())
    paths = {"output_dir": "out", "status_path": "status", "reference_image": "guide.png"}
    wanted = request.RenderRequest(**{**REQUEST, **{key: str(folder / name) for key, name in paths.items()}})
    status, made = exchange.Status(str(folder / "status")), outputs.Outputs(str(folder / "out"), "shot", 3)
    made.prepare()
    job = backends.Job(wanted, found, status, made)
    with mock.patch.object(os, "fsync"):
        _under(PaperServer(chance, folder).instead(), lambda: backends.load(found.backend).make(job))


def request_file(chance, folder):
    (folder / "request").write_bytes(changed(chance, json.dumps(REQUEST).encode()))
    request.read_request(str(folder / "request"))


def logins(chance, folder):
    content = {"https://host:8188": {"token": "abcd"}, "http://10.0.0.7:7860": {"basic": "user:password"}}
    (folder / "logins").write_bytes(changed(chance, json.dumps(content).encode()))
    (folder / "logins").chmod(0o600)
    os.environ["QUILLMERE_CREDENTIALS"] = str(folder / "logins")
    url = changed(chance, b"https://host:8188").decode("utf-8", "surrogateescape")
    servers.sites_for(KIND, chance.choice((url, [url], "https://host:8188 http://10.0.0.7")), "the workflow")
    (folder / pool.FILE).write_bytes(changed(chance, b'{"http://a": {"until": 1e9, "rest": 60.0}}'))
    pool.Rests(str(folder / "status")).fail("http://a")


def told_passes(chance, folder):
    """What the host tells of passes, and their pictures."""
    content = changed(chance, png(20, 10, (9, 9, 9)))
    (folder / "pass").write_bytes(_summed(content))
    one = {"file": str(folder / "pass"), "kind": "inverse", "near": 0.5, "far": 80.0}
    told = {"version": 1, "frame": 3, "depth": one, "normal": {**one, "kind": "bae"}, "lines": one, "object": one}
    told["mattes"] = [{"name": "Boat", "of": "object", "file": one["file"]}]
    (folder / "told").write_bytes(json.dumps({"passes": changed_json(chance, told)}).encode())
    with mock.patch.dict(os.environ, {request.FILE_FROM_HOST: str(folder / "told")}):
        known = passes.Passes(request.told_by_host().get("passes"), 3)
    for word in chance.sample(("depth", "normal:bae", "lines", "object", "matte:Boat"), 2):
        pictures.with_mask(known.picture(word, png(20, 10), "the workflow", chance.random() < 0.5).content)


def png_file(chance, folder):
    content = changed(chance, chance.choice(pictures_of_all_kinds()[:5]))
    if chance.random() < 0.5:
        content = _summed(content)
    (folder / "picture").write_bytes(content)
    pictures.kind_of(content)
    if content.startswith(png_files.SIGNATURE):
        png_files.texts(content, ("quillmere", "prompt", "workflow"))
    pictures.given_picture(str(folder / "picture"), "style")


def _summed(content):
    """With the sums of its chunks right again, so that more than the first is read."""
    result, place = bytearray(content[:8]), 8
    while place + 12 <= len(content):
        size = int.from_bytes(content[place : place + 4], "big")
        kind, data = content[place + 4 : place + 8], content[place + 8 : min(place + 8 + size, len(content) - 4)]
        result += png_files.chunk(kind, data)
        place += 12 + size
    return bytes(result)


def picture_header(chance, folder):
    from quillmere_helper.backends.embedded import images

    content = changed(chance, chance.choice(pictures_of_all_kinds()))
    (folder / "picture").write_bytes(_summed(content) if content.startswith(png_files.SIGNATURE) else content)
    images.read_picture(str(folder / "picture"), "style image", "choose another one")


_stay: list[socket.socket] = []


def _connected(content):
    """A connection over which `content` comes, and then the end; who sends it stays, whatever it is sent."""
    _stay.clear()

    class Connection(http.client.HTTPConnection):
        def connect(self):
            self.sock, other = socket.socketpair()
            other.sendall(content)
            other.shutdown(socket.SHUT_WR)
            self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 1 << 20)  # for answers to every ping
            _stay.append(other)

    return lambda *_: Connection("host")


def http_answer(chance, folder):
    chunked = b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\n{\"a\"\r\n2;x=y\r\n:1\r\n1\r\n}\r\n0\r\nX: y\r\n\r\n"
    whole = b"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Type: application/json; charset=utf-8\r\n"
    whole += b'Content-Length: 8\r\n\r\n{"a": 1}'
    content = changed(chance, chance.choice((chunked, whole)))[: 100 << 10]
    (folder / "answer").write_bytes(content)
    with mock.patch.object(web.Site, "connect", _connected(content)):
        web.Site("http://host", {"Authorization": "Bearer x"}).get("/x", {"a": "b"}).json()


def frames(chance, folder):
    with mock.patch.object(os, "urandom", return_value=bytes(16)):
        key = base64.b64encode(bytes(16)) + b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11"
        accept = base64.b64encode(hashlib.sha1(key).digest())
        head = b"HTTP/1.1 101 x\r\nUpgrade: websocket\r\nSec-WebSocket-Accept: " + accept + b"\r\n\r\n"
        body = b'\x81\x02{}\x01\x01a\x89\x02hi\x80\x01b\x82\x7e\x01\x00' + bytes(256) + b"\x8a\x00\x88\x02\x03\xe8"
        content = head + changed(chance, body) if chance.random() < 0.8 else changed(chance, head + body)
        (folder / "frames").write_bytes(content)
        with mock.patch.object(web.Site, "connect", _connected(content[: 100 << 10])):
            client = websocket.WebSocket(web.Site("http://host"), "/ws", {"clientId": "c"})
            for _ in range(2000):
                client.receive(0)


TARGETS = [
    (each.__name__.replace("_", " "), each)
    for each in (
        *(workflow, answers, workflow, answers, request_file, logins, png_file, picture_header, http_answer, frames),
        told_passes,
    )
]
if importlib.util.find_spec("PIL") is None:
    TARGETS = [one for one in TARGETS if one[1] is not picture_header]
