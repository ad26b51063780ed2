"""Whole renders on a ComfyUI server: the plain run, and what servers refuse."""

import json
import os
import unittest
from pathlib import Path
from unittest import mock

from comfy_case import ComfyCase
from comfy_classes import graph
from loopback_server import OPENSSL, self_signed
from scratch_render import png

from quillmere_helper.outputs import record_of
from quillmere_helper.png import texts, with_ascii_text
from quillmere_helper.request import RenderRequest
from quillmere_helper.workflows import Workflow


class Renders(ComfyCase):
    def test_a_render_fetches_the_servers_picture_and_tells_what_made_it(self):
        told = {"scene": "city.glb", "prompt": "fög " * 50_000, "seed": "not ours"}
        self.environment["QUILLMERE_PROVENANCE_FILE"] = self.write("provenance.json", told)
        self.write("beside.json", graph())
        self.use({"backend": "comfyui", "graph": "beside.json"})
        response = self.assert_rendered()
        picture = (self.outputs / "shot_f3_1.png").read_bytes()
        self.assertEqual((response["first_output"], response["seed"]), (str(self.outputs / "shot_f3_1.png"), 5))
        facts = json.loads(texts(picture, ("quillmere",))["quillmere"])
        self.assertEqual(facts, json.loads((self.outputs / "shot_f3_1.png.json").read_text()))
        wanted = {**told, "seed": 5, "frame": 3, "width": 1000, "server_version": "0.3.64"}
        self.assertEqual({key: facts[key] for key in wanted}, wanted)
        self.assertEqual(facts["workflow"], {"backend": "comfyui", "graph": graph()})
        nodes = {identifier: node["inputs"] for identifier, node in self.posted()[0].items()}
        self.assertEqual((nodes["2"]["text"], nodes["5"]["width"], nodes["5"]["height"]), ("a quiet street", 1000, 496))
        self.assertRegex(nodes["4"]["image"], "^quillmere/[0-9a-f]+/guide_[0-9a-f]+.png$")
        self.assertRegex(nodes["9"]["filename_prefix"], "^quillmere/[0-9a-f-]{36}/")

    def test_what_the_host_tells_in_another_file_than_a_json_object_costs_no_picture(self):
        os.mkfifo(self.folder / "pipe")
        self.write("large", b"{}" + b" " * (16 << 20))
        self.write("list", b"[1]")
        request = RenderRequest(**self.members)
        for name in ("lost", "", "pipe", ".", "large", "list"):
            with self.subTest(name), mock.patch.dict(os.environ, {"QUILLMERE_PROVENANCE_FILE": str(self.folder / name)}):
                self.assertNotIn("scene", record_of(request, Workflow("", "embedded", {}), 5, {}))

    def test_a_deep_guide_reaches_the_server_as_8_bit_rgb(self):
        self.write("reference_3.png", png(20, 10, (200, 60, 40), depth=16))
        self.assert_rendered()
        self.assertEqual([content[24:26] for content in self.server.uploads.values()], [b"\x08\x02"])

    def test_a_picture_beside_the_frame_that_cannot_be_had_costs_only_itself(self):
        self.use({**graph(), "10": {"class_type": "PreviewImage", "inputs": {"images": ["8", 0]}}})
        there, gone = (lambda handler, content: handler.reply(content)), (lambda handler, _: handler.reply(b"", 404))
        self.server.view_answers = [there, gone]
        response = self.assert_rendered()
        self.assertEqual((len(response["outputs"]), len(self.server.submitted)), (1, 1))
        self.assertIn("Not fetched", response["notes"][0])

    def test_what_made_a_picture_is_in_it_also_where_the_server_leaves_it_out(self):
        for self.server.writes_metadata in (True, False):
            with self.subTest(self.server.writes_metadata):
                picture = Path(self.assert_rendered()["first_output"]).read_bytes()
                self.assertEqual(json.loads(texts(picture, ("prompt",))["prompt"]), self.posted()[-1])
                self.assertEqual(picture.count(b"tEXtprompt"), 1)

    def test_a_style_without_a_place_is_told_before_the_job_is_sent(self):
        self.members["locked_style_image"] = self.write("style.png", png(8, 8))
        response = self.assert_rendered()
        told = [place for place, message in enumerate(self.messages()) if "style image is not used" in message]
        self.assertLess(told[0], self.messages().index("Submitting the job"))
        record = json.loads(Path(response["first_output"] + ".json").read_text())
        self.assertEqual(response["notes"], record["notes"])

    def test_the_same_render_again_gets_no_cached_picture(self):
        for number in (1, 2):
            self.assertEqual(self.assert_rendered()["first_output"], str(self.outputs / f"shot_f3_{number}.png"))
            self.server.files.clear()
        first, second = self.posted()
        self.assertNotEqual(first["9"]["inputs"]["filename_prefix"], second["9"]["inputs"]["filename_prefix"])
        self.assertEqual(len(self.server.uploads), 1, "the same guide must not fill up the server")


class Encrypted(ComfyCase):
    @unittest.skipUnless(OPENSSL, "NO OPENSSL: certificates are not tested")
    def test_a_certificate_that_cannot_be_trusted_is_refused(self):
        certificate, key = self_signed(self.folder)
        self.server.encrypt(certificate, key)
        self.environment["QUILLMERE_COMFYUI_URL"] = self.server.url
        self.assert_fails("certificate that cannot be trusted")
        self.environment["SSL_CERT_FILE"] = certificate
        self.assert_rendered()


def refusal(status, content, kind="application/json"):
    return {"submit_answer": (status, kind, content)}


UNKNOWN = {"type": "invalid_prompt", "message": "Cannot execute because node Q does not exist.", "details": "Node #3"}
UNTOLD = {"type": "prompt_outputs_failed_validation", "message": "", "details": ""}
REFUSALS = (
    # what the server does, what the error has to name
    (refusal(500, b"500 Internal Server Error\n\nServer got itself in trouble", "text/plain"), "status 500"),
    (refusal(400, {"error": UNTOLD, "node_errors": {}}), "run in a circle"),
    (refusal(400, {"error": UNKNOWN, "node_errors": {}}), "node pack"),
    (refusal(400, {"error": "text", "node_errors": []}), "text"),
    (refusal(200, []), "status 200"),
    ({"failure": ("torch.OutOfMemoryError", "Allocation on device")}, 'ran out of memory in "Paint"'),
    ({"failure": ("OSError", "[Errno 28] No space left on device")}, "disk of the server is full"),
    ({"failure": ("ValueError", "bad\n shape " + "x" * 5000)}, "bad shape"),
    ({"login": "Basic YTpi"}, "QUILLMERE_COMFYUI_TOKEN"),
    ({"upload_limit": 2 << 20}, "guide image, 2.4 MB, is too large for"),
    ({"upload_limit": 2 << 20, "has_features": False}, "guide image, 2.4 MB, is too large for"),
)


class Refusals(ComfyCase):
    def test_what_a_server_refuses_is_told_with_the_node_and_the_remedy(self):
        self.write("reference_3.png", with_ascii_text(png(64, 36), "Comment", "x" * 2_500_000))
        for attributes, named in REFUSALS:
            with self.subTest(named), mock.patch.multiple(self.server, **attributes):
                self.assert_fails(named)

    def test_half_a_graph_that_would_run_is_taken_back(self):
        self.use({**graph(), "10": {"class_type": "SaveImage", "inputs": {"filename_prefix": "x"}}})
        self.server.add_foreign()
        self.assert_fails("SaveImage (node 10): nothing is linked to images")
        self.assertEqual(self.server.deleted, self.server.submitted)

    def test_models_and_nodes_that_are_not_there_are_named(self):
        lacking = graph()
        lacking["1"]["inputs"]["ckpt_name"] = "lost.safetensors"
        self.use(lacking)
        self.assert_fails('"lost.safetensors"')
        lacking["1"]["class_type"] = "PackLoader"
        self.use(lacking)
        self.assert_fails("PackLoader")
        self.assertEqual(self.server.submitted, [])

    def test_a_wrong_address_is_told_at_once(self):
        self.server.stop()
        self.assert_fails(f"{self.server.url} does not answer")

    def test_an_interrupt_by_somebody_else_is_told(self):
        self.server.go_on.clear()
        process = self.start()
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        self.server._interrupt = self.server.submitted[0]
        self.watch(process)
        self.assertIn("was interrupted on the server", self.response()["error"])
