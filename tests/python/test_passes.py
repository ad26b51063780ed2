"""The passes that the host has drawn: which a workflow asks for, where they go, and what is said where there are none."""

import base64
import json
import os
import subprocess
import sys
from pathlib import Path

from a1111_server import A1111Server
from comfy_case import ComfyCase
from comfy_classes import graph
from scratch_render import HELPER, RenderCase, png
from test_png import filtered, raw

from quillmere_helper.backends.comfyui.markers import passes_in
from quillmere_helper.errors import HelperError
from quillmere_helper.passes import Passes
from quillmere_helper.pictures import _rows, header_of, with_mask
from quillmere_helper.png import chunks

DEPTH, NORMAL, MATTE = (png(64, 36, (grey, grey, grey)) for grey in (40, 80, 255))


def loader(title, kind="LoadImage", **inputs):
    return {"class_type": kind, "inputs": {"image": "example.png", **inputs}, "_meta": {"title": title}}


def asking():
    """A graph that is guided by true depth, with a boat's matte as a mask."""
    asking = graph()
    asking["4"]["_meta"]["title"] = "Quillmere Depth"
    asking["11"] = loader("quillmere object mask:  Boat")
    asking["12"] = {"class_type": "ImageInvert", "inputs": {"image": ["4", 0], "mask": ["11", 1]}}
    asking["6"]["inputs"]["image"] = ["12", 0]
    return asking


class Passing(RenderCase):
    def give(self, version=1, frame=3, **changed):
        """Writes passes as the host does."""
        members = {
            "depth": {"file": self.write("depth_3.png", DEPTH), "kind": "inverse", "near": 1.5, "far": 80},
            "normal": {"file": self.write("normal_3.png", NORMAL), "kind": "bae"},
            "mattes": [{"name": "Boat", "of": "object", "file": self.write("matte_1_3.png", MATTE)}],
        }
        told = {"scene": "harbour.glb", "passes": {"version": version, "frame": frame, **members, **changed}}
        self.environment["QUILLMERE_PROVENANCE_FILE"] = self.write("provenance.json", told)

    def checked(self, content):
        command = [sys.executable, str(HELPER), "--check", self.write("asking.json", content), "--json"]
        done = subprocess.run(command, env=self.environment, capture_output=True, text=True, check=False)
        return json.loads(done.stdout)


class OfComfy(Passing, ComfyCase):
    def setUp(self):
        super().setUp()
        self.use(asking())

    def test_each_goes_into_its_loader_and_into_the_record(self):
        self.give()
        record = json.loads(Path(self.assert_rendered()["first_output"] + ".json").read_text())
        depth = {"kind": "inverse", "near": 1.5, "far": 80}
        self.assertEqual(record["passes"], {"depth": depth, "matte:Boat": {"of": "object"}})
        sent = {node: self.server.uploads[self.posted()[0][node]["inputs"]["image"]] for node in ("4", "11")}
        self.assertEqual(sent["4"], DEPTH)
        alphas = set(b"".join(channel(sent["11"], 3)))
        self.assertEqual((header_of(sent["11"]).colour, alphas), (6, {0}))  # servers make 1 - alpha of it

    def test_without_the_host_the_error_says_so_and_a_wrapper_may_let_the_guide_stand_in(self):
        self.assertIn("only the stand-alone host draws", self.run_helper()[1]["error"])
        self.assertEqual(self.server.submitted, [])
        content = graph()
        content["4"]["_meta"]["title"] = "Quillmere Depth"
        self.use({"backend": "comfyui", "graph": content, "without_passes": "guide"})
        response = self.assert_rendered()
        self.assertIn("the guide stands in", response["notes"][0])
        self.use({"backend": "comfyui", "graph": asking(), "without_passes": "guide"})
        self.assertIn('matte of "Boat"', self.run_helper()[1]["error"])  # which no guide is

    def test_what_is_asked_for_is_known_without_a_server_too(self):
        editor = {"nodes": [{"title": "Quillmere Lines"}, {"title": "Quillmere Depth", "mode": 2}]}
        editor["definitions"] = {"subgraphs": [{"nodes": [{"title": "Quillmere Normal : OpenGL"}, 5]}]}
        self.assertEqual(passes_in(editor), ["lines", "normal:opengl"])
        told = self.checked(asking())
        self.assertEqual((told["passes"], [place["part"] for place in told["places"]][:2]), (["depth", "matte:Boat"],) * 2)
        self.server.stop()
        told = self.checked(asking())
        self.assertEqual((told["ok"], told["passes"]), (False, ["depth", "matte:Boat"]))


class OfA1111(Passing):
    def test_units_are_fed_as_they_are_and_all_are_there(self):
        server = A1111Server()
        self.addCleanup(server.stop)
        self.give()
        units = [{"pass": "depth", "weight": 0.5}, {"pass": "normal", "model": "canny"}, {"pass": "guide"}]
        content = {"backend": "a1111", "url": server.url, "units": units}
        self.assertEqual(self.checked(content)["passes"], ["depth", "normal:bae"])
        self.members["workflow_path"] = self.write("workflow.json", content)
        self.assertEqual(self.run_helper()[0], 0, self.errors)
        sent = server.calls[0]["alwayson_scripts"]["controlnet"]["args"]
        guide = (self.folder / "reference_3.png").read_bytes()
        self.assertEqual([base64.b64decode(unit["image"]) for unit in sent], [DEPTH, NORMAL, guide])
        self.assertEqual([unit["module"] for unit in sent], ["none", "none", "canny"])
        self.assertEqual((sent[0]["weight"], sent[0]["model"]), (0.5, "control_depth [b2]"))
        for wrong, named in (
            ({**content, "units": [{"pass": "deep"}]}, '"pass" of unit 1'),
            ({**content, "units": [{"pass": "matte:Boat"}]}, 'has no "model"'),
            ({**content, "units": [{"pass": "lines"}]}, "lineart"),
            ({**content, "parameters": {"controlnet_weight": 1}}, "does not count"),
        ):
            self.assertIn(named, self.checked(wrong)["problem"])


class Broken(Passing):
    def test_what_the_host_tells_is_checked_before_it_is_used(self):
        os.mkfifo(self.folder / "pipe")
        for changed, named in (
            ({"version": 2}, "version 1"),
            ({"frame": 4}, "frame 3"),
            ({"depth": 5}, "Cannot read"),
            ({"depth": {"file": str(self.folder / "pipe")}}, "not a file"),
            ({"depth": {"file": self.write("text.png", b"no")}}, "signature"),
            ({"depth": {"file": self.write("small.png", png(32, 36))}}, "32 x 36"),
            ({"depth": {"file": self.write("deep.png", png(64, 36, depth=16))}}, "16 bits"),
            ({"depth": {"file": self.write("depth.png", DEPTH), "kind": "raw"}}, '"raw"'),
        ):
            with self.subTest(named):
                self.give(**changed)
                told = json.loads((self.folder / "provenance.json").read_text())["passes"]
                with self.assertRaises(HelperError) as caught:
                    Passes(told, 3).picture("depth", png(64, 36), "the workflow", True)
                self.assertIn(named, str(caught.exception))

    def test_a_mask_is_what_is_white_however_its_rows_are_stored(self):
        greys = [bytes(max(0, 40 * x - 30 * y) * (y % 3 < 2) for x in range(6)) for y in range(6) for _ in (0, 1)]
        rows = [bytes(grey for grey in row for _ in range(3)) for row in greys]
        for kind in range(5):
            with self.subTest(filter=kind):
                made = with_mask(raw(2, 8, filtered(kind, rows, 3), size=(6, 12)))
                self.assertEqual(channel(made, 0), greys)
                self.assertEqual(channel(made, 3), [bytes(255 - grey for grey in row) for row in greys])


def channel(content, number):
    packed = b"".join(bytes(data) for kind, data in chunks(content) if kind == b"IDAT")
    return list(_rows(packed, header_of(content), number))
