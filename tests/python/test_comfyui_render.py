"""Whole renders on a ComfyUI server: the plain run, and what servers refuse."""

import json
import os
import shutil
import subprocess
import unittest
from pathlib import Path
from unittest import mock

from comfy_case import ComfyCase
from comfy_classes import graph
from scratch_render import png

from quillmere_helper.outputs import record_of
from quillmere_helper.png import chunks, texts, with_ascii_text
from quillmere_helper.request import RenderRequest
from quillmere_helper.workflows import Workflow


def pixels(picture):
    return bytes(dict(chunks(picture))[b"IDAT"])


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

    def test_percent_never_falls_and_is_never_whole(self):
        self.server.node_time = 0.05
        self.server.add_foreign()
        process = self.start()
        self.wait_for(lambda: "ahead" in self.message(), "the place in the queue")
        self.assertEqual(json.loads(self.status_file.read_text())["ahead"], 1)
        self.server.foreign_done.set()
        self.watch(process)
        shares = [status["progress"] for status in self.shown if "progress" in status]
        self.assertGreater(len(set(shares)), 3)
        self.assertEqual(shares, sorted(shares))
        self.assertLess(shares[-1], 1)
        third = [status for status in self.shown if '"Paint", step 3 of 4' in status["message"]]
        self.assertEqual((third[0]["step"], third[0]["steps"]), (3, 4))

    def test_of_several_outputs_the_last_that_saves_is_the_frame_and_all_are_kept(self):
        def saver(source, kind="SaveImage", title="", **prefix):
            return {"class_type": kind, "inputs": {"images": [source, 0], **prefix}, "_meta": {"title": title}}

        prefix = {"filename_prefix": "x"}
        nodes = {"13": ("4", "PreviewImage"), "20": ("4", "SaveImage"), "30": ("8", "PreviewImage")}
        for title, place, frame in (("", "", "9"), ("Quillmere Result", "13", "13"), ("quillmere result ", "20", "20")):
            with self.subTest(title):
                content = graph()
                for name, (source, kind) in nodes.items():
                    more = prefix if kind == "SaveImage" else {}
                    content[name] = saver(source, kind, title if name == place else "", **more)
                self.use(content)
                response = self.assert_rendered()
                self.assertEqual(response["first_output"], response["outputs"][0])
                records = [json.loads(Path(f"{path}.json").read_text()) for path in response["outputs"]]
                named = [record["node"].split("node ")[1].rstrip(")") for record in records]
                self.assertEqual((named[0], sorted(named)), (frame, ["13", "20", "30", "9"]))
                self.assertEqual(records[0]["others"], [record["node"] for record in records[1:]])
                self.assertNotIn("others", records[1])

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

    def test_two_renders_at_once_get_each_its_own_picture(self):
        processes, pictures = [], []
        for colour in ((10, 20, 30), (90, 80, 70)):
            name = str(colour[0])
            self.response_file, self.status_file = self.folder / f"{name}.response", self.folder / f"{name}.status"
            guide = self.write(f"{name}.png", png(8, 8, colour))
            self.members.update(reference_image=guide, status_path=str(self.status_file))
            processes.append((self.start(name=f"{name}.request"), self.response_file))
        for process, response in processes:
            self.assertEqual(process.wait(timeout=30), 0, process.stderr.read())
            pictures.append(Path(json.loads(response.read_text())["first_output"]).read_bytes())
        self.assertNotEqual(*map(pixels, pictures))


class Encrypted(ComfyCase):
    @unittest.skipUnless(shutil.which("openssl"), "NO OPENSSL: certificates are not tested")
    def test_a_certificate_that_cannot_be_trusted_is_refused(self):
        key, certificate = str(self.folder / "key.pem"), str(self.folder / "certificate.pem")
        names = ["-subj", "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1"]
        command = ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", certificate]
        subprocess.run([*command, *names], check=True, capture_output=True)
        self.server.encrypt(certificate, key)
        self.environment["QUILLMERE_COMFYUI_URL"] = self.server.url
        self.assertIn("certificate that cannot be trusted", self.render()[1]["error"])
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
    def assert_refused(self, named):
        status, response = self.render()
        self.assertEqual((status, response["ok"]), (1, False))
        self.assertIn(named, response["error"])
        self.assertNotIn("unexpectedly", response["error"])
        self.assertLess(len(response["error"]), 500)

    def test_what_a_server_refuses_is_told_with_the_node_and_the_remedy(self):
        self.write("reference_3.png", with_ascii_text(png(64, 36), "Comment", "x" * 2_500_000))
        for attributes, named in REFUSALS:
            with self.subTest(named), mock.patch.multiple(self.server, **attributes):
                self.assert_refused(named)

    def test_half_a_graph_that_would_run_is_taken_back(self):
        self.use({**graph(), "10": {"class_type": "SaveImage", "inputs": {"filename_prefix": "x"}}})
        self.server.add_foreign()
        self.assert_refused("SaveImage (node 10): nothing is linked to images")
        self.assertEqual(self.server.deleted, self.server.submitted)

    def test_models_and_nodes_that_are_not_there_are_named(self):
        lacking = graph()
        lacking["1"]["inputs"]["ckpt_name"] = "lost.safetensors"
        self.use(lacking)
        self.assert_refused('"lost.safetensors"')
        lacking["1"]["class_type"] = "PackLoader"
        self.use(lacking)
        self.assert_refused("PackLoader")
        self.assertEqual(self.server.submitted, [])

    def test_a_wrong_address_is_told_at_once(self):
        self.server.stop()
        self.assert_refused(f"{self.server.url} does not answer")

    def test_an_interrupt_by_somebody_else_is_told(self):
        self.server.go_on.clear()
        process = self.start()
        self.wait_for(lambda: "Paint" in self.message(), "the sampler")
        self.server._interrupt = self.server.submitted[0]
        self.watch(process)
        self.assertIn("was interrupted on the server", self.response()["error"])
