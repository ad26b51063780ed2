"""Several servers: which one a frame goes to, and what becomes of those that fail."""

import json
import os
from pathlib import Path
from unittest import mock

from a1111_server import A1111Server
from comfy_case import ComfyCase
from comfy_classes import graph
from comfy_server import ComfyServer
from scratch_render import RenderCase

from quillmere_helper import backends, pool
from quillmere_helper.pool import LONGEST_REST, Rests
from quillmere_helper.workflows import read_workflow


class SeveralComfy(ComfyCase):
    def setUp(self):
        super().setUp()
        self.other = ComfyServer()
        self.addCleanup(self.other.stop)
        self.environment.update(QUILLMERE_COMFYUI_URL=f"{self.server.url}, {self.other.url}")
        self.use(graph())

    def maker(self, frame):
        self.members["frame"] = frame
        record = json.loads(Path(self.assert_rendered()["first_output"] + ".json").read_text())
        return record["server"]

    def test_frames_are_spread_and_the_busy_server_is_spared(self):
        self.assertEqual([self.maker(frame) for frame in (2, 3)], [self.server.url, self.other.url])
        for server, free in ((self.server, self.other), (self.other, self.server)):
            job = server.add_foreign()
            for frame in (4, 5):
                self.assertEqual(self.maker(frame), free.url)
            server.foreign_done.set()
            self.wait_for(lambda: not server.running and not server.pending, f"the end of {job}")

    def test_a_server_that_lacks_a_node_or_a_model_or_fails_is_passed_over(self):
        for patch in ({"lacks": ("VAEDecode",)}, {"failure": ("torch.OutOfMemoryError", "")}):
            with self.subTest(**patch), mock.patch.multiple(self.server, **patch):
                self.assertEqual(self.maker(2), self.other.url)
                self.assertIn("passed over", self.response()["notes"][0])
        self.assertEqual(self.maker(4), self.other.url)  # the other one's turn, but it is left alone
        told = self.folder / "servers.json"
        self.assertEqual((list(json.loads(told.read_text())), told.stat().st_mode & 0o077), ([self.server.url], 0))

    def test_a_look_tells_how_many_there_are(self):
        with mock.patch.dict(os.environ, self.environment):
            told = backends.load("comfyui").check(read_workflow(self.members["workflow_path"], backends.MODULES))
        self.assertEqual((told["servers"], told["problem"], told["server"]), (2, "", self.server.url))

    def test_one_that_is_away_costs_no_frame_and_all_of_them_are_named(self):
        self.server.stop()
        self.assertEqual(self.maker(2), self.other.url)
        self.other.stop()
        error = self.run_helper()[1]["error"]
        self.assertIn(self.server.url, error)
        self.assertIn(self.other.url, error)
        self.assertEqual(json.loads(self.status_file.read_text())["failure"], "passing")


class SeveralA1111(RenderCase):
    def test_a_busy_server_and_one_without_the_model_are_spared(self):
        servers = [A1111Server(), A1111Server()]
        for server in servers:
            self.addCleanup(server.stop)
        content = {"backend": "a1111", "url": [server.url for server in servers], "units": [{"pass": "guide"}]}
        self.members["workflow_path"] = self.write("workflow.json", content)
        self.members["frame"] = 4  # the first one's turn
        done = servers[0].run_foreign()
        self.assertEqual(self.run_helper()[0], 0, self.errors)
        done.set()
        servers[1].models = ["control_depth [b2]"]
        self.members["frame"] = 5  # the second one's turn
        self.assertEqual(self.run_helper()[0], 0, self.errors)
        self.assertEqual([len(server.calls) for server in servers], [1, 1])


class Resting(RenderCase):
    def test_a_rest_grows_with_each_failure_and_ends(self):
        rests, now = Rests(str(self.status_file)), 1e9
        lengths = []
        with mock.patch.object(pool.time, "time", lambda: now):
            for _ in range(6):
                rests.fail("http://a")
                start = now
                while rests.left_alone("http://a"):
                    now += 30
                lengths.append(now - start)
            self.assertEqual(lengths, [60, 120, 240, 480, LONGEST_REST, LONGEST_REST])
            rests.succeed("http://a")
            rests.fail("http://a")
            now += 60
            self.assertFalse(rests.left_alone("http://a"))

    def test_a_file_that_somebody_has_changed_leaves_no_server_alone(self):
        for told in (5, {"until": "x", "rest": 1}, {"until": 9e99, "rest": 1}):
            self.write("servers.json", {"http://a": told})
            self.assertFalse(Rests(str(self.status_file)).left_alone("http://a"))
