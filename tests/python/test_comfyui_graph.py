"""How a request finds its place in a graph, and what can be set in one."""

import copy
import dataclasses
import os
import unittest
from unittest import mock

from comfy_classes import class_info, graph
from comfy_server import ComfyServer

from quillmere_helper.backends import comfyui
from quillmere_helper.backends.comfyui import control
from quillmere_helper.backends.comfyui.classes import Classes
from quillmere_helper.backends.comfyui.graph import read_api
from quillmere_helper.backends.comfyui.wiring import GraphValues, wire
from quillmere_helper.errors import HelperError
from quillmere_helper.workflows import Workflow


WANTED = GraphValues("a red barn", "q/guide.png", "", 640, 360, 12, None, "quillmere/job/picture")


def wired(content, **changes):
    result = read_api(copy.deepcopy(content), "w.json")
    outcome = wire(result, Classes(class_info), dataclasses.replace(WANTED, **changes), "w.json")
    return {node.id: node.inputs for node in result.nodes.values()}, outcome


def changed(*changes, **titles):
    """The usual graph with nodes replaced (ID, class, inputs) and titles set (node7="...")."""
    content = graph()
    for identifier, kind, inputs in changes:
        content[identifier] = {"class_type": kind, "inputs": inputs}
    for name, title in titles.items():
        content[name[4:]]["_meta"] = {"title": title}
    return content


def two_loaders(**titles):
    shower = ("21", "PreviewImage", {"images": ["20", 0]})
    return changed(("20", "LoadImage", {"image": "other.png"}), shower, **titles)


def prompted(text, identifier="2"):
    return identifier, "CLIPTextEncode", {"text": text, "clip": ["1", 1]}


def positive(kind, inputs):
    """A node in the place of the text that leads to the sampler."""
    return ("30", kind, inputs), ("6", "ControlNetApplyAdvanced", {**graph()["6"]["inputs"], "positive": ["30", 0]})


def guided():
    """A guider and its sampler in the place of the usual sampler."""
    guider = ("40", "TwoGuides", {"model": ["1", 0], "cond1": ["2", 0], "cond2": ["41", 0], "negative": ["3", 0]})
    sampler = {"guider": ["40", 0], "latent_image": ["5", 0], "noise_seed": 5}
    return guider, ("7", "GuidedSampler", sampler), prompted("second", "41"), ("6", "StringNode", {"value": ""}), GUIDED


GUIDED = ("20", "PreviewImage", {"images": ["4", 0]})
JOINED = positive("Join", {"string_a": "old", "string_b": "in oil", "delimiter": ", "})
ENCODERS = positive("Encoders", {"clip": ["1", 1], "clip_l": "old", "t5xxl": "old", "guidance": 3.5})
SIDES = positive("TwoSides", {"positive": "old", "negative": "worse"})
LARGEST = (1 << 64) - 1


class Wiring(unittest.TestCase):
    def test_each_part_of_a_request_finds_its_place(self):
        elsewhere = ("30", "StringNode", {"value": "old"}), prompted(["30", 0])
        numbers = ("31", "IntNode", {"value": 1}), ("32", "IntNode", {"value": 2})
        filled = changed(prompted("{prompt}, frame {frame}, {a|b}"))
        upscaled = ("52", "EmptyLatentImage", {"width": 8, "height": 8, "samples": ["5", 0]})
        second_latent = upscaled, ("53", "PreviewImage", {"images": ["52", 0]})
        twice = changed(prompted("x", "50"), node50="Quillmere Prompt", node2="Quillmere Prompt")
        STEPS = ("31", "Steps", {"seed": 20, "on": True})
        unused = changed(("20", "LoadImage", {"image": "other.png"}))
        styled = two_loaders(node20="Quillmere Style")
        for what, content, changes, node, name, value in (
            ("guide by shape", graph(), {}, "4", "image", "q/guide.png"),
            ("guide by title", two_loaders(node4=" quillmere GUIDE"), {}, "4", "image", "q/guide.png"),
            ("the other loader stays", two_loaders(node4="Quillmere Guide"), {}, "20", "image", "other.png"),
            ("style by title", styled, {"style": "s.jpg"}, "20", "image", "s.jpg"),
            ("no style", styled, {}, "20", "image", "other.png"),
            ("an unused loader is no candidate", unused, {}, "4", "image", "q/guide.png"),
            ("prompt by shape", graph(), {}, "2", "text", "a red barn"),
            ("what not to show stays", graph(), {}, "3", "text", "blurry"),
            ("prompt where the text comes from", changed(*elsewhere), {}, "30", "value", "a red barn"),
            ("prompt by title", changed(*elsewhere, node3="Quillmere Prompt"), {}, "3", "text", "a red barn"),
            ("prompt by placeholder", filled, {}, "2", "text", "a red barn, frame 12, {a|b}"),
            ("a prompt with braces", filled, {"prompt": "{frame}"}, "2", "text", "{frame}, frame 12, {a|b}"),
            ("no prompt", graph(), {"prompt": ""}, "2", "text", "a house"),
            ("prompt for each encoder", changed(*ENCODERS), {}, "30", "clip_l", "a red barn"),
            ("prompt for the other encoder", changed(*ENCODERS), {}, "30", "t5xxl", "a red barn"),
            ("prompt for one side of a node", changed(*SIDES), {}, "30", "positive", "a red barn"),
            ("the other side stays", changed(*SIDES), {}, "30", "negative", "worse"),
            ("prompt before a guider", changed(*guided()), {}, "2", "text", "a red barn"),
            ("what comes second stays", changed(*guided()), {}, "41", "text", "second"),
            ("prompt by the title that is used", twice, {}, "2", "text", "a red barn"),
            ("size by shape", graph(), {}, "5", "width", 640),
            ("size below a step", graph(), {"width": 3}, "5", "width", 8),
            ("size in the server's steps", graph(), {"width": 1001}, "5", "width", 1000),
            ("width by title", changed(*numbers, node31="Quillmere Width"), {}, "31", "value", 640),
            ("then the latent stays", changed(*numbers, node31="Quillmere Width"), {}, "5", "width", 512),
            ("a latent made from another gives no size", changed(*second_latent), {}, "5", "width", 640),
            ("frame by title", changed(*numbers, node32="Quillmere Frame"), {}, "32", "value", 12),
            ("a number by placeholder", changed(("31", "IntNode", {"value": "{height}"})), {}, "31", "value", 360),
            ("seed of 64 bits", graph(), {"seed": LARGEST}, "7", "seed", LARGEST),
            ("seed within limits", changed(*guided()), {"seed": LARGEST}, "7", "noise_seed", LARGEST >> 1),
            ("seed in steps", changed(STEPS, node31="Quillmere Seed"), {"seed": 123}, "31", "seed", 30),
            ("the graph's own seed", graph(), {}, "7", "seed", 5),
            ("seed by title", changed(*numbers, node31="Quillmere Seed"), {"seed": 9}, "31", "value", 9),
            ("seed by placeholder", changed(("31", "IntNode", {"value": "{seed}"})), {"seed": 9}, "31", "value", 9),
            ("then the sampler's stays", changed(("31", "IntNode", {"value": "{seed}"})), {"seed": 9}, "7", "seed", 5),
            ("a folder of its own", graph(), {}, "9", "filename_prefix", "quillmere/job/picture"),
        ):
            with self.subTest(what):
                self.assertEqual(wired(content, **changes)[0][node][name], value)

    def test_the_seed_that_runs_is_told_and_what_it_became(self):
        for content, seed, told, fitted in (
            (graph(), None, 5, []),
            (graph(), 77, 77, []),
            (changed(*guided()), LARGEST, LARGEST, [LARGEST >> 1]),
            (changed(("7", "ImageInvert", {"image": ["4", 0]})), 77, None, []),
        ):
            wiring = wired(content, seed=seed)[1]
            self.assertEqual(wiring.seed, told)
            self.assertEqual([fit["sent"] for fit in wiring.facts.get("seed_fitted", [])], fitted)

    def test_what_has_no_place_is_told(self):
        loop = ("6", "ControlNetApplyAdvanced", {**graph()["6"]["inputs"], "positive": ["6", 0]})
        optional = ("20", "ImageInvert", {"image": ["4", 0]}), ("21", "PreviewImage", {"images": ["20", 0]})
        for content, changes, text in (
            (graph(), {"style": "s.png"}, "style image is not used"),
            (changed(("7", "ImageInvert", {"image": ["4", 0]})), {}, "prompt is not used"),
            (changed(loop), {}, "prompt is not used"),
            (changed(*optional), {}, ""),
        ):
            notes = wired(content, **changes)[1].notes
            self.assertEqual([text in note for note in notes], [True] * bool(text), notes)
        starved = changed(("20", "VAEDecode", {}), ("21", "PreviewImage", {"images": ["20", 0]}))
        for editor, outputs in ((None, ["9", "21"]), ({"nodes": []}, ["9"])):  # where it may come of a muted node
            made = read_api(starved, "w.json")
            made.editor = editor
            self.assertEqual(wire(made, Classes(class_info), WANTED, "w.json").outputs, outputs)

    def test_pictures_come_from_the_marked_node_else_from_the_last_that_saves(self):
        saver = ("10", "SaveImage", {"images": ["8", 0], "filename_prefix": "x"})
        shower = ("11", "PreviewImage", {"images": ["8", 0]})
        self.assertEqual(wired(changed(saver, shower))[1].outputs, ["10", "9", "11"])
        marked = wired(changed(saver, shower, node11="Quillmere Result"))[1]
        self.assertEqual((marked.outputs, marked.result), (["11", "10", "9"], "11"))

    def test_what_is_not_clear_is_asked_with_the_candidates(self):
        second_sampler = (
            ("40", "CLIPTextEncode", {"text": "sky", "clip": ["1", 1]}),
            ("41", "KSampler", {**graph()["7"]["inputs"], "positive": ["40", 0]}),
            ("42", "PreviewImage", {"images": ["41", 0]}),
        )
        latent = ("50", "EmptyLatentImage", {"width": 8, "height": 8}), ("51", "PreviewImage", {"images": ["50", 0]})
        control = {"positive": ["2", 0], "negative": ["3", 0]}
        hanging = ("9", "SaveImage", {"images": ["99", 0], "filename_prefix": "x"})
        odd = ("9", "SaveImage", {"images": ["8", -1], "filename_prefix": "x"})
        P = "Quillmere Prompt"
        for content, *named in (
            (two_loaders(), "node 4) with \"example.png\"", "node 20) with \"other.png\"", '"Quillmere Guide"'),
            (changed(*JOINED), "Join (node 30)", '("string_a", "string_b")', "{prompt}"),
            (changed(*JOINED, node30=P), "Join, node 30", '("string_a", "string_b")', "{prompt}"),
            (changed(node2=P, node3=P.lower()), "node 2 (CLIPTextEncode), node 3", "{prompt} into the others"),
            (changed(node9="Quillmere Result", node8="quillmere result"), "node 8", "node 9"),
            (changed(node2="Quillmere Promt"), '"Quillmere Promt" of node 2', '"Quillmere Prompt"'),
            (changed(node2="Quillmere"), "of node 2", "no marker"),
            (changed(node8="Quillmere Result"), "node 8", '"Save Image"'),
            (changed(hanging), '"images" of SaveImage (node 9)', "node 99", "link it again"),
            (changed(odd), "output -1 of VAEDecode"),
            (changed(*second_sampler), "node 2", "node 40", '"Quillmere Prompt"'),
            (changed(*latent), "node 5", "node 50", '"Quillmere Size"'),
            (changed(("6", "ControlNetApplyAdvanced", control)), '"Load Image"'),
            (changed(("9", "VAEDecode", {"samples": ["7", 0]})), '"Save Image"'),
            (changed(node8="Quillmere Guide"), "loads no picture"),
            (changed(node8="Quillmere Seed"), "no number"),
            (changed(prompted("{seed}")), '"seed" in the parameters'),
        ):
            with self.subTest(named):
                with self.assertRaises(HelperError) as caught:
                    wired(content)
                for part in named:
                    self.assertIn(part, str(caught.exception))


CONTROL = "Quillmere Control: "


def controlled(**titles):
    return changed(**{name: CONTROL + title for name, title in titles.items()})


class Controls(unittest.TestCase):
    def of(self, content):
        return control.controls_of(read_api(content, "w.json"), Classes(class_info), "w.json")

    def test_titles_make_controls_with_what_the_server_tells(self):
        content = controlled(node2="Words=text", node5="Wide = width, Many=batch_size", node1="Model", node4="Picture")
        told = {one.name: one.told() for one in self.of(content)}
        model = {"type": "choice", "default": "base.safetensors", "choices": ["base.safetensors", "xl.safetensors"]}
        wide = {"node": "5", "input": "width", "type": "whole", "default": 512, "least": 16, "most": 16384, "step": 8}
        for name, members in (
            ("Words", {"type": "text", "default": "a house", "input": "text", "kind": "CLIPTextEncode"}),
            ("Wide", wide),
            ("Many", {"type": "whole", "default": 1}),
            ("Picture", {"type": "text", "default": "example.png"}),
            ("Model", {**model, "title": CONTROL + "Model"}),
        ):
            self.assertEqual({key: told[name][key] for key in members}, members)
        self.assertNotIn("least", told["Many"])

    def test_titles_that_say_too_little_are_refused(self):
        for titles, *named in (
            ({"node7": "Strength"}, "node 7", '"seed", "steps"'),
            ({"node7": "Strength=stepps"}, '"stepps"', '"seed", "steps"'),
            ({"node7": "Strength=model"}, '"model"', "linked"),
            ({"node8": "Strength"}, "no value"),
            ({"node8": ""}, "names no control"),
            ({"node2": "Words, "}, "names no control"),
            ({"node2": "Words", "node3": "words"}, '"words"', "2 and 3"),
        ):
            with self.subTest(titles), self.assertRaises(HelperError) as caught:
                self.of(controlled(**titles))
            for part in named:
                self.assertIn(part, str(caught.exception))

    def test_what_is_set_is_checked_and_stays(self):
        content = controlled(node2="Words", node5="Wide=width", node1="Model", node7="Steps=steps, Seed=seed")
        for given, named in (
            ({"wide": 640.0, "Words": "a {frame}", "Model": "xl.safetensors", "Seed": 9}, ""),
            ({"Wide": 8}, "a whole number from 16 up to 16384"),
            ({"Wide": 20.5}, "a whole number"),
            ({"Wide": True}, '"Wide" (width of'),
            ({"Wide": float("inf")}, "a whole number"),
            ({"Words": 3}, "a text"),
            ({"Model": "lost"}, 'one of "base.safetensors", "xl.safetensors"'),
            ({"Step": 3}, 'did you mean "Steps"?'),
        ):
            made = read_api(content, "w.json")
            with self.subTest(given):
                try:
                    control.set_controls(made, Classes(class_info), given, "w.json")
                except HelperError as error:
                    self.assertIn(named or "nothing", str(error))
                    continue
                self.assertEqual(named, "")
                wiring = wire(made, Classes(class_info), dataclasses.replace(WANTED, seed=77), "w.json")
                inputs = {**made.nodes["7"].inputs, **made.nodes["2"].inputs, **made.nodes["5"].inputs}
                self.assertEqual((inputs["width"], inputs["height"], type(inputs["width"])), (640, 360, int))
                self.assertEqual((inputs["text"], inputs["seed"], wiring.seed), ("a 12", 9, 9))
                self.assertIn("prompt is not used", wiring.notes[0])
                self.assertEqual(wiring.facts["controls"], {name.title(): value for name, value in given.items()})


class Checks(unittest.TestCase):
    def setUp(self):
        self.server = ComfyServer()
        self.addCleanup(self.server.stop)
        environment = mock.patch.dict(os.environ, {"QUILLMERE_COMFYUI_URL": self.server.url})
        environment.start()
        self.addCleanup(environment.stop)

    def checked(self, content):
        return comfyui.check(Workflow("w.json", "comfyui", content))

    def test_a_check_tells_where_everything_goes_before_a_job_is_sent(self):
        saver = ("10", "SaveImage", {"images": ["8", 0], "filename_prefix": "x"})
        unused = ("30", "CheckpointLoaderSimple", {"ckpt_name": "lost.safetensors"})
        facts = self.checked(changed(saver, unused, prompted("{prompt}, frame {frame}"), node5="Quillmere Size"))
        self.assertEqual((facts["server"], facts["version"]), (self.server.url, "0.3.64"))
        places = {(place["part"], place["node"], place["input"], place["how"]) for place in facts["places"]}
        sizes = {("size", "5", name, "marker") for name in ("width", "height")}
        texts = {(part, "2", "text", "placeholder") for part in ("prompt", "frame")}
        self.assertEqual(places, {("guide", "4", "image", "shape"), *sizes, *texts})
        guide = next(place for place in facts["places"] if place["part"] == "guide")
        self.assertEqual((guide["marker"], guide["kind"]), ("Quillmere Guide", "LoadImage"))
        results = [(result["node"], result["frame"]) for result in facts["results"]]
        self.assertEqual(results, [("10", True), ("9", False)])
        self.assertIn("style image is not used", facts["notes"][0])
        self.assertIn("runs later", facts["notes"][1])
        self.assertEqual((facts["problem"], self.server.submitted), ("", []))

    def test_a_check_tells_what_is_missing_and_what_is_not_clear(self):
        lost = ("1", "CheckpointLoaderSimple", {"ckpt_name": "lost.safetensors"})
        second = ("20", "LoadImage", {"image": "lost.png"}), ("21", "PreviewImage", {"images": ["20", 0]})
        file = {"node": "1", "title": "", "kind": lost[1], "input": "ckpt_name", "value": "lost.safetensors"}
        for content, missing, problem in (
            (changed(("8", "PackNode", {})), {"nodes": ["PackNode"], "files": []}, "PackNode"),
            (changed(lost), {"nodes": [], "files": [file]}, "lost.safetensors"),
            (changed(*second, node4="Quillmere Guide"), None, "lost.png"),
            (two_loaders(), {"nodes": [], "files": []}, "node 20"),
            ({"backend": "comfyui", "graph": graph(), "controls": {"Lost": 1}}, None, 'no control "Lost"'),
        ):
            with self.subTest(problem):
                facts = self.checked(content)
                self.assertIn(problem, facts["problem"])
                self.assertIn(missing, (None, facts["missing"]))

    def test_controls_are_told_with_a_server_and_without(self):
        for least, note in ((16, None), (None, "without limits")):
            told = comfyui.controls(Workflow("w.json", "comfyui", controlled(node5="Wide=width")))[0]
            self.assertEqual((told["default"], told["type"], told.get("least")), (512, "whole", least))
            self.assertEqual(told.get("note", "")[:14] or None, note)
            with self.assertRaisesRegex(HelperError, "cannot be (8|true)"):
                comfyui.controls(Workflow("w.json", "comfyui", controlled(node5="Wide=width"), {"wide": True if note else 8}))
            self.server.stop()
        with self.assertRaisesRegex(HelperError, "does not answer"):
            comfyui.controls(Workflow("w.json", "comfyui", {"nodes": [{"id": 1, "type": "SaveImage"}]}))
