"""Whole renders on a ComfyUI server: the plain run, what servers refuse, and what is told without a render."""

import base64
import json
import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from comfy_case import ComfyCase
from comfy_classes import graph
from scratch_render import HELPER, RenderCase, png, png_chunks


def pixels(picture):
    return bytes(dict(png_chunks.chunks(picture))[b"IDAT"])


class Renders(ComfyCase):
    def test_a_render_brings_the_servers_picture_home_and_tells_what_made_it(self):
        self.environment["QUILLMERE_PROVENANCE"] = json.dumps(
            {"scene": "city.glb", "camera": "Street", "seed": "not ours"}
        )
        response = self.assert_rendered()
        picture = (self.outputs / "shot_f3_1.png").read_bytes()
        self.assertEqual((response["first_output"], response["seed"]), (str(self.outputs / "shot_f3_1.png"), 5))
        facts = json.loads(png_chunks.texts(picture)["quillmere"])
        self.assertEqual(facts, json.loads((self.outputs / "shot_f3_1.png.json").read_text()))
        wanted = {
            "scene": "city.glb",
            "camera": "Street",
            "seed": 5,
            "frame": 3,
            "width": 1000,
            "server_version": "0.3.64",
        }
        self.assertEqual({key: facts[key] for key in wanted}, wanted)
        self.assertEqual(facts["workflow"], graph())

    def test_the_request_is_wired_into_the_graph(self):
        self.assert_rendered()
        nodes = {identifier: node["inputs"] for identifier, node in self.posted()[0].items()}
        self.assertEqual((nodes["2"]["text"], nodes["3"]["text"]), ("a quiet street", "blurry"))
        self.assertEqual((nodes["5"]["width"], nodes["5"]["height"], nodes["7"]["seed"]), (1000, 496, 5))
        self.assertRegex(nodes["4"]["image"], "^quillmere/[0-9a-f]+/guide_[0-9a-f]+.png$")
        self.assertRegex(nodes["9"]["filename_prefix"], "^quillmere/[0-9a-f-]{36}/")

    def test_a_deep_guide_reaches_the_server_as_8_bit_rgb(self):
        self.write("reference_3.png", png(20, 10, (200, 60, 40), depth=16))
        self.assert_rendered()
        self.assertEqual([content[24:26] for content in self.server.uploads.values()], [b"\x08\x02"])

    def test_percent_never_falls_and_is_never_whole(self):
        self.server.node_time = 0.05
        self.assert_rendered()
        shares = [status["progress"] for status in self.shown if "progress" in status]
        self.assertGreater(len(set(shares)), 3)
        self.assertEqual(shares, sorted(shares))
        self.assertLess(shares[-1], 1)
        self.assertTrue(any('"Paint"' in message for message in self.messages()))

    def test_the_same_render_again_meets_no_cached_picture(self):
        for number in (1, 2):
            self.assertEqual(self.assert_rendered()["first_output"], str(self.outputs / f"shot_f3_{number}.png"))
            self.server.files.clear()
        first, second = self.posted()
        self.assertNotEqual(first["9"]["inputs"]["filename_prefix"], second["9"]["inputs"]["filename_prefix"])
        self.assertEqual(len(self.server.uploads), 1, "the same guide must not fill up the server")

    def test_two_renders_at_once_get_each_its_own_picture(self):
        processes = []
        for colour in ((10, 20, 30), (90, 80, 70)):
            name = f"{colour[0]}.png"
            self.members.update(
                reference_image=self.write(name, png(8, 8, colour)), status_path=str(self.folder / (name + ".s"))
            )
            self.response_file = self.folder / f"response_{colour[0]}.json"
            processes.append((self.start(name=f"request_{colour[0]}.json"), self.response_file))
        pictures = []
        for process, response in processes:
            self.assertEqual(process.wait(timeout=30), 0, process.stderr.read())
            pictures.append(Path(json.loads(response.read_text())["first_output"]).read_bytes())
        self.assertNotEqual(*map(pixels, pictures))

    def test_a_picture_of_eight_megapixels_comes_whole(self):
        self.server.picture = png(4000, 2000, bytes((1, 2, 3)))
        picture = Path(self.assert_rendered()["first_output"]).read_bytes()
        self.assertEqual(pixels(picture), pixels(self.server.picture))

    def test_a_picture_can_stand_in_for_the_workflow_that_made_it(self):
        self.write("beside.json", graph())
        self.use({"backend": "comfyui", "graph": "beside.json", "parameters": {"seed": 99}})
        self.members["workflow_path"] = self.assert_rendered()["first_output"]
        self.assert_rendered()
        first, second = self.posted()
        self.assertEqual((first["7"]["inputs"]["seed"], first["2"]), (99, second["2"]))
        self.assertEqual(first["7"], second["7"])


class Encrypted(ComfyCase):
    @unittest.skipUnless(shutil.which("openssl"), "NO OPENSSL: certificates are not tested")
    def test_a_certificate_that_nobody_vouches_for_is_refused(self):
        key, certificate = str(self.folder / "key.pem"), str(self.folder / "certificate.pem")
        names = ["-subj", "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1"]
        command = ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", certificate]
        subprocess.run([*command, *names], check=True, capture_output=True)
        self.server.encrypt(certificate, key)
        self.environment["QUILLMERE_COMFYUI_URL"] = self.server.url
        self.assertIn("certificate that cannot be trusted", self.render()[1]["error"])
        self.environment["SSL_CERT_FILE"] = certificate
        self.assert_rendered()


def refusal(status, body, kind="application/json"):
    return {"submit_answer": (status, kind, body if isinstance(body, bytes) else json.dumps(body).encode())}


ERROR = {
    "type": "invalid_prompt",
    "message": "Cannot execute because node Q does not exist.",
    "details": "Node ID '#3'",
}
REFUSALS = (
    # what the server does, what the error has to name
    (refusal(500, b"500 Internal Server Error\n\nServer got itself in trouble", "text/plain"), "status 500"),
    (
        refusal(
            400,
            {"error": {"type": "prompt_outputs_failed_validation", "message": "", "details": ""}, "node_errors": {}},
        ),
        "no reason",
    ),
    (refusal(400, {"error": ERROR, "node_errors": {}}), "node pack"),
    (refusal(400, {"error": "text", "node_errors": []}), "text"),
    (refusal(200, b"[]"), "status 200"),
    ({"failure": ("torch.OutOfMemoryError", "Allocation on device")}, 'ran out of memory in "Paint"'),
    ({"failure": ("OSError", "[Errno 28] No space left on device")}, "disk of the server is full"),
    ({"failure": ("ValueError", "bad\n shape " + "x" * 5000)}, "bad shape"),
    ({"login": "Basic " + base64.b64encode(b"a:b").decode()}, "QUILLMERE_COMFYUI_TOKEN"),
    ({"submit_errors": {"7": {"errors": [{"type": "x", "details": "part of it"}]}}}, "part of it"),
)


class Refusals(ComfyCase):
    def assert_refused(self, named):
        status, response = self.render()
        self.assertEqual((status, response["ok"]), (1, False))
        self.assertIn(named, response["error"])
        self.assertNotIn("unexpectedly", response["error"])
        self.assertLess(len(response["error"]), 500)

    def test_what_a_server_refuses_is_told_with_the_node_and_the_remedy(self):
        for attributes, named in REFUSALS:
            with self.subTest(named):
                plain = {name: getattr(self.server, name) for name in attributes}
                for name, value in attributes.items():
                    setattr(self.server, name, value)
                self.assert_refused(named)
                for name, value in plain.items():
                    setattr(self.server, name, value)

    def test_half_a_graph_that_would_run_is_taken_back(self):
        self.server.submit_errors = {"7": {"errors": []}}
        self.server.add_foreign()
        self.assert_refused('"Paint"')
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


class Doctor(ComfyCase):
    """What is told without a render: by --check about a workflow, by --servers about the servers."""

    def ask(self, *arguments):
        command = [sys.executable, str(HELPER), "--json", *arguments]
        done = subprocess.run(command, env=self.environment, capture_output=True, text=True, check=False)
        return done.returncode, [json.loads(line) for line in done.stdout.splitlines()]

    def test_a_workflow_is_checked_against_the_server(self):
        lacking, no_loader = graph(), graph()
        lacking["1"]["inputs"]["ckpt_name"] = "lost.safetensors"
        no_loader["6"]["inputs"]["image"] = ["8", 0]
        for content, named in ((graph(), ""), (lacking, '"lost.safetensors"'), (no_loader, "Quillmere Guide")):
            with self.subTest(named):
                status, (report,) = self.ask("--check", self.write("w.json", content))
                self.assertEqual((status, report["ok"], report["backend"]), (1 if named else 0, not named, "comfyui"))
                self.assertIn(named, report["problem"])
                self.assertEqual(self.server.submitted, [])

    def test_servers_that_answer_are_told_from_those_that_do_not(self):
        self.environment["QUILLMERE_A1111_URL"] = "http://127.0.0.1:1"
        status, reports = self.ask("--servers")
        self.assertEqual(
            (status, [(report["ok"], report["version"]) for report in reports]), (0, [(True, "0.3.64"), (False, "")])
        )
        self.assertIn("does not answer", reports[1]["problem"])


@unittest.skipUnless(os.environ.get("QUILLMERE_TEST_COMFYUI_URL"), "QUILLMERE_TEST_COMFYUI_URL names no real server")
class RealServer(RenderCase):
    def test_a_graph_without_models_brings_its_picture_home(self):
        nodes = (("LoadImage", {"image": "x"}), ("ImageInvert", {"image": ["1", 0]}))
        content = {
            str(number): {"class_type": kind, "inputs": inputs} for number, (kind, inputs) in enumerate(nodes, 1)
        }
        content["3"] = {"class_type": "SaveImage", "inputs": {"images": ["2", 0], "filename_prefix": "x"}}
        self.members.update(workflow_path=self.write("w.json", content), effective_prompt="")
        self.environment["QUILLMERE_COMFYUI_URL"] = os.environ["QUILLMERE_TEST_COMFYUI_URL"]
        status, response = self.run_helper()
        self.assertEqual((status, response["ok"]), (0, True), response)


if __name__ == "__main__":
    unittest.main()
