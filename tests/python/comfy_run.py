"""One job's way through its graph, as a ComfyUI server goes it."""

import hashlib
import json
import struct
import threading
import time

from scratch_render import png

from quillmere_helper.png import with_ascii_text


class Run:
    """Only what the outputs need, and of that only what is not known from before."""

    def __init__(self, server, item, tell, outputs):
        self.server, self.tell, self.outputs, self.states = server, tell, outputs, {}
        _, self.job, self.posted, self.extra, self.ends = item

    def order(self, names=None):
        """Sources before those that need them."""
        found = {}
        for name in self.ends if names is None else names:
            links = [value[0] for value in self.posted[name]["inputs"].values() if isinstance(value, list)]
            found.update(dict.fromkeys([*self.order(links), name]))
        return list(found)

    def signature(self, name):
        node = self.posted[name]
        inputs = [self.signature(value[0]) if isinstance(value, list) else value for value in node["inputs"].values()]
        picture = self.server.uploads.get(str(node["inputs"].get("image")), b"")
        return json.dumps([node["class_type"], inputs, hashlib.sha256(picture).hexdigest()])

    def done(self, goes_on_after):
        server, cache = self.server, self.server.cache
        self.tell("execution_start", timestamp=1)
        cached = [name for name in self.order() if self.signature(name) in cache]
        self.tell("execution_cached", nodes=cached)
        for name in self.order():
            made = cache.get(self.signature(name))
            if name not in cached:
                if not self.run(name, goes_on_after):
                    return False
                made = cache[self.signature(name)] = self.save(name)
            if made:
                self.outputs[name] = made
                self.tell("executed", node=name, display_node=name, output=made)
        self.tell("execution_success", timestamp=2)
        return not server.ended.is_set()

    def run(self, name, goes_on_after):
        server, kind, always = self.server, self.posted[name]["class_type"], threading.Event()
        always.set()
        server.node = name
        self.tell("executing", node=name, display_node=name)
        self.state(name, "running", 0, 1)
        time.sleep(server.node_time)
        for step in (1, 2, 3, 4, 1) if kind == "KSampler" else ():  # some begin anew
            self.tell("progress", value=step, max=4, node=name)
            self.state(name, "running", step, 4)
            self.preview(name, server.previews)
            time.sleep(server.node_time / 5)
        if not goes_on_after(server.go_on if kind == "KSampler" else always):
            self.tell("execution_interrupted", node_id=name, node_type=kind, executed=[])
            return False
        if kind == "KSampler" and server.failure:
            reason = dict(zip(("exception_type", "exception_message"), server.failure))
            self.tell("execution_error", node_id=name, node_type=kind, **reason)
            return False
        if kind == "SaveImageWebsocket":
            self.preview(name, png(8, 8))
            time.sleep(0.3)
        self.state(name, "finished", 1, 1)
        return True

    def state(self, name, state, value, most):
        told = {"state": state, "value": value, "max": most, "prompt_id": self.job, "parent_node_id": None}
        self.states[name] = {**told, "node_id": name, "display_node_id": name, "real_node_id": name}
        self.tell("progress_state", nodes=dict(self.states))

    def preview(self, name, picture):
        client = self.extra["client_id"]
        if picture and self.server.flags.get(client):
            told = json.dumps({"node_id": name, "prompt_id": self.job, "image_type": "image/png"}).encode()
            self.server.send_frame(client, 2, struct.pack(">II", 4, len(told)) + told + picture)
        elif picture:
            self.server.send_frame(client, 2, struct.pack(">II", 1, 2) + picture)

    def save(self, name):
        node, server = self.posted[name], self.server
        if node["class_type"] not in ("SaveImage", "PreviewImage"):
            return {}
        guides = [n["inputs"]["image"] for n in self.posted.values() if n["class_type"] == "LoadImage"]
        subfolder, _, stem = node["inputs"].get("filename_prefix", "temp").rpartition("/")
        kind = "output" if "filename_prefix" in node["inputs"] else "temp"
        told = {"filename": f"{stem}_{name}_.png", "subfolder": subfolder, "type": kind}
        seen = server.uploads[guides[0]] if guides else b""
        content = server.picture or png(16, 9, hashlib.sha256(seen).digest()[:3])
        if server.writes_metadata:
            for keyword, value in {"prompt": self.posted, **self.extra.get("extra_pnginfo", {})}.items():
                content = with_ascii_text(content, keyword, json.dumps(value))
        server.files[(kind, subfolder, told["filename"])] = content
        return {"images": [told]}
