"""Whether the status tells a failure that may pass from one that will not."""

import json
from unittest import mock

from comfy_case import ComfyCase
from comfy_classes import graph

OVERRUN = (503, "text/html", b"<html>")
FAULTS = (
    # what the server does, the kind of failure
    ({"failure": ("torch.OutOfMemoryError", "Allocation on device")}, "passing"),
    ({"failure": ("ValueError", "bad shape")}, "lasting"),
    ({"submit_answer": OVERRUN}, "passing"),
    ({"submit_answer": (400, "application/json", {"error": {"type": "prompt_no_outputs"}})}, "lasting"),
    ({"login": "Basic YTpi"}, "lasting"),
)


class FailureKind(ComfyCase):
    def assert_kind(self, kind):
        status, response = self.run_helper()
        self.assertEqual((status, response["ok"]), (1, False))
        told = json.loads(self.status_file.read_text())
        self.assertEqual((told.get("failure"), bool(told["message"])), (kind, True), response)

    def test_it_follows_from_what_the_server_says(self):
        for attributes, kind in FAULTS:
            with self.subTest(**attributes), mock.patch.multiple(self.server, **attributes):
                self.assert_kind(kind)

    def test_a_server_that_is_away_may_come_back_and_a_missing_node_or_a_bad_request_stays(self):
        self.use({**graph(), "8": {"class_type": "Unheard", "inputs": {}}})
        self.assert_kind("lasting")
        self.members["width"] = 0
        self.assert_kind("lasting")
        self.members["width"] = 64
        self.use(graph())
        self.server.stop()
        self.assert_kind("passing")
        self.server.start()
        self.environment["QUILLMERE_COMFYUI_URL"] = self.server.url
        self.assert_rendered()
        self.assertNotIn("failure", json.loads(self.status_file.read_text()))
