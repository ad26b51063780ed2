"""Whole renders on a server with the API of A1111's web UI, with all that such servers do wrong."""

import base64
import json
import struct
import time
from pathlib import Path
from unittest import mock

from a1111_server import A1111Server, in_base64
from scratch_render import RenderCase

from quillmere_helper import png, web
from quillmere_helper.backends.a1111 import rendering
from quillmere_helper.backends.a1111.payload import received

MEMORY = {"error": "OutOfMemoryError", "detail": "", "errors": "CUDA out of memory"}
SCHEMA = {"detail": [{"loc": ["body", "steps"], "msg": "value is not a valid integer", "type": "type_error"}]}
PLAIN = {"has_api": True}
REFUSALS = (
    # what the server does, parameters of the workflow, what the error has to name
    ({"answer": (500, MEMORY)}, {}, "ran out of memory"),
    ({"answer": (422, SCHEMA)}, {}, "steps: value is not a valid integer"),
    ({"answer": (404, {"detail": "Sampler not found"})}, {}, "Sampler not found"),
    ({"answer": (500, b"<html>")}, {}, "status 500"),
    ({"answer": (200, {"images": [], "info": "{}"})}, {}, "no picture"),
    ({"answer": (200, {"images": ["bm8="], "info": 3})}, {}, "no whole PNG"),
    ({"answer": (200, [])}, {}, "no picture"),
    ({"has_api": False}, {}, "--api"),
    ({"login": "Basic x"}, {}, "QUILLMERE_A1111_AUTH"),
    ({"models": None}, {"controlnet": "required"}, "has no ControlNet"),
    (PLAIN, {"controlnet": "required", "controlnet_model": "tile"}, "control_canny"),
    (PLAIN, {"controlnet": "perhaps"}, '"when there", "required", "off"'),
    (PLAIN, {"steps": 0}, "1 to 150"),
)


class A1111(RenderCase):
    def setUp(self):
        super().setUp()
        self.server = A1111Server()
        self.addCleanup(self.server.stop)
        self.use()

    def use(self, **parameters):
        content = {"backend": "a1111", "url": self.server.url, "parameters": parameters}
        self.members["workflow_path"] = self.write("workflow.json", content)

    def begin(self):
        """Starts a render that waits on the server for `go_on`."""
        self.server.go_on.clear()
        process = self.start()
        self.wait_for(lambda: self.server.task and "quillmere" in self.server.task, "our task")
        return process

    def test_the_guide_becomes_pictures_and_what_made_them_is_kept(self):
        self.use(seed=40, pictures=2, sampler="Euler a", negative_prompt="blurry")
        self.server.extra_before, self.server.extra_after = 1, 1  # an overview and a ControlNet map
        response = self.assert_rendered()
        self.assertEqual(len(response["outputs"]), 2)
        for path in response["outputs"]:
            header = dict(png.chunks(Path(path).read_bytes()))[b"IHDR"]
            self.assertEqual(struct.unpack(">II", header[:8]), (16, 9), "the overview was taken for a picture")
        facts, second = (json.loads((self.outputs / f"shot_f3_{number}.png.json").read_text()) for number in (1, 2))
        wanted = {"seed": 40, "checkpoint": "base.safetensors [9f]", "controlnet": "control_canny [a1]"}
        self.assertEqual({key: facts[key] for key in wanted}, wanted)
        self.assertEqual(second["seed"], 41)
        call = self.server.calls[0]
        guide = (self.folder / "reference_3.png").read_bytes()
        sent = {"prompt": "a quiet street", "negative_prompt": "blurry", "width": 64, "seed": 40, "save_images": True}
        sent.update(sampler_name="Euler a", init_images=[base64.b64encode(guide).decode()])
        self.assertEqual({key: call[key] for key in sent}, sent)
        self.assertEqual(call["alwayson_scripts"]["controlnet"]["args"][0]["model"], "control_canny [a1]")

    def test_a_server_without_controlnet_or_task_names_makes_pictures_too(self):
        self.server.models, self.server.tells_task = None, False
        self.assert_rendered()
        self.assertNotIn("alwayson_scripts", self.server.calls[0])

    def test_what_a_server_refuses_is_told_with_the_remedy(self):
        for attributes, parameters, named in REFUSALS:
            with self.subTest(named), mock.patch.multiple(self.server, **attributes):
                self.use(**parameters)
                self.assert_fails(named)

    def test_an_answer_that_an_idle_server_owes_is_lost(self):
        render, call = rendering.Rendering.__new__(rendering.Rendering), mock.Mock(wait=lambda seconds: None)
        render._task, render._server, render._interrupted = "t", mock.Mock(), False
        for progress, ends in (({"current_task": None}, True), ({"current_task": "t"}, False), ({}, False)):
            render._server.progress.side_effect = [progress] * 3
            with self.subTest(progress), mock.patch.object(rendering, "IDLE", 0):
                with self.assertRaises(web.UnreachableServer if ends else StopIteration):
                    render._followed(call)

    def test_of_more_pictures_than_were_asked_for_the_rest_is_left(self):
        content = {"images": [in_base64(1, 2, 3)] * 50, "info": json.dumps({"all_seeds": list(range(50))})}
        pictures, seeds = received(content, 7, 2)
        self.assertEqual((len(pictures), seeds), (2, [0, 1]))

    def test_a_login_that_the_server_repeats_is_shown_nowhere_and_nothing_steers_the_terminal(self):
        self.environment.update(QUILLMERE_A1111_URL=self.server.url, QUILLMERE_A1111_TOKEN="open-sesame")
        self.server.answer = 500, "You sent open-sesame\x1b]0;x\x07 \x9b2J \u202e".encode()
        self.assertEqual(self.run_helper()[0], 1)
        log = Path(self.response()["log"]).read_text()
        for shown in (self.errors, self.response()["error"], log):
            self.assertIn("You sent ***", shown)
            self.assertNotIn("sesame", shown)
            self.assertNotRegex(shown, "[\x00-\x09\x0b-\x1f\x7f-\x9f\u202e]")

    def test_a_lost_connection_asks_again_for_the_very_same_picture(self):
        self.use(seed="random")
        self.server.hangs_up = 1
        self.assert_rendered()
        first, second = ({**call, "force_task_id": ""} for call in self.server.calls)
        self.assertEqual((first, self.server.overlaps), (second, 0))

    def test_progress_is_told_only_for_our_own_job(self):
        done = self.server.run_foreign()
        process = self.start()
        self.wait_for(lambda: "busy with another job" in self.message(), "the other job")
        done.set()
        self.wait_for(lambda: "%" in self.message(), "our progress")
        self.assertEqual(process.wait(timeout=20), 0)

    def test_our_running_job_is_interrupted(self):
        process = self.begin()
        self.assert_cancelled(process)
        self.assertEqual(len(self.server.interrupted), 1)
        self.assertIn("was stopped", self.response()["error"])
        self.assertFalse(self.outputs.exists() and any(self.outputs.iterdir()))

    def test_a_job_of_somebody_else_is_never_interrupted(self):
        for self.server.tells_task in (True, False):
            with self.subTest(tells_task=self.server.tells_task):
                done = self.server.run_foreign()
                process = self.start()
                count = len(self.server.calls)
                self.wait_for(lambda: len(self.server.calls) > count, "our call")
                time.sleep(0.1)
                self.assert_cancelled(process)
                self.assertEqual(self.server.interrupted, [])
                self.assertIn("cannot be taken back", self.response()["error"])
                done.set()

    def test_half_a_picture_after_an_interrupt_by_somebody_else_is_none(self):
        process = self.begin()
        self.server._interrupt = True
        self.wait_for(lambda: process.poll() is not None, "the end")
        self.assertEqual(process.returncode, 1)
        self.assertIn("interrupted", self.response()["error"])
