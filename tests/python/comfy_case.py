"""A render on a ComfyUI server: on any, and on one of its own."""

import json
import time

from comfy_classes import graph
from comfy_server import ComfyServer
from scratch_render import RenderCase


class AnyComfyCase(RenderCase):
    def setUp(self):
        super().setUp()
        self.shown = []

    def use(self, content):
        self.members["workflow_path"] = self.write("workflow.json", content)

    def run_helper(self, seconds=30, **start):
        """Runs the helper and keeps the messages that it shows in `shown`."""
        process = self.start(**start)
        self.watch(process, seconds)
        self.errors = process.stderr.read()
        return process.wait(), self.response()

    def watch(self, process, seconds=30):
        end = time.monotonic() + seconds
        while process.poll() is None:
            self.assertLess(time.monotonic(), end, self.shown)
            if self.status_file.exists():
                status = json.loads(self.status_file.read_text())
                if [status] != self.shown[-1:]:
                    self.shown.append(status)
            time.sleep(0.001)

    def messages(self):
        return [status["message"] for status in self.shown]


class ComfyCase(AnyComfyCase):
    def setUp(self):
        super().setUp()
        self.server = ComfyServer()
        self.addCleanup(self.server.stop)
        self.use(graph())
        self.environment.update(QUILLMERE_COMFYUI_URL=self.server.url, QUILLMERE_SERVER_PATIENCE="8")
        self.members.update(width=1000, height=500)

    def run_helper(self, **start):
        rendered = super().run_helper(**start)
        for _, path, headers, _ in self.server.log:
            self.assertNotIn("Origin", headers, path)
        return rendered

    def posted(self):
        return [json.loads(body)["prompt"] for _, path, _, body in self.server.log if path == "/prompt"]
