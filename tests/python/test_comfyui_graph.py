"""Graphs: from the editor's format to the server's, and how a request finds its place in one."""

import contextlib
import copy
import dataclasses
import sys
import unittest

from comfy_classes import CLASSES, class_info, graph
from scratch_render import ROOT

sys.path.insert(0, str(ROOT / "python"))

from quillmere_helper.backends.comfyui import convert
from quillmere_helper.backends.comfyui.classes import Classes
from quillmere_helper.backends.comfyui.graph import read_api
from quillmere_helper.backends.comfyui.wiring import GraphValues, wire
from quillmere_helper.errors import HelperError


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


def prompted(text):
    return "2", "CLIPTextEncode", {"text": text, "clip": ["1", 1]}


class Wiring(unittest.TestCase):
    def test_each_part_of_a_request_finds_its_place(self):
        elsewhere = ("30", "StringNode", {"value": "old"}), prompted(["30", 0])
        numbers = ("31", "IntNode", {"value": 1}), ("32", "IntNode", {"value": 2})
        filled = changed(prompted("{prompt}, frame {frame}, {a|b}"))
        upscaled = ("52", "EmptyLatentImage", {"width": 8, "height": 8, "samples": ["5", 0]})
        second_latent = upscaled, ("53", "PreviewImage", {"images": ["52", 0]})
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
            ("size by shape", graph(), {}, "5", "width", 640),
            ("size in the server's steps", graph(), {"width": 1001}, "5", "width", 1000),
            ("width by title", changed(*numbers, node31="Quillmere Width"), {}, "31", "value", 640),
            ("then the latent stays", changed(*numbers, node31="Quillmere Width"), {}, "5", "width", 512),
            ("a latent made from another gives no size", changed(*second_latent), {}, "5", "width", 640),
            ("frame by title", changed(*numbers, node32="Quillmere Frame"), {}, "32", "value", 12),
            ("a number by placeholder", changed(("31", "IntNode", {"value": "{height}"})), {}, "31", "value", 360),
            ("seed of 64 bits", graph(), {"seed": (1 << 64) - 1}, "7", "seed", (1 << 64) - 1),
            ("the graph's own seed", graph(), {}, "7", "seed", 5),
            ("seed by title", changed(*numbers, node31="Quillmere Seed"), {"seed": 9}, "31", "value", 9),
            ("seed by placeholder", changed(("31", "IntNode", {"value": "{seed}"})), {"seed": 9}, "31", "value", 9),
            ("then the sampler's stays", changed(("31", "IntNode", {"value": "{seed}"})), {"seed": 9}, "7", "seed", 5),
            ("a folder of its own", graph(), {}, "9", "filename_prefix", "quillmere/job/picture"),
        ):
            with self.subTest(what):
                self.assertEqual(wired(content, **changes)[0][node][name], value)

    def test_the_seed_that_runs_and_a_style_without_place_are_told(self):
        self.assertEqual(wired(graph())[1].seed, 5)
        self.assertEqual(wired(graph(), seed=77)[1].seed, 77)
        self.assertIn("style image is not used", wired(graph(), style="s.png")[1].notes[0])

    def test_pictures_come_from_the_marked_node_else_from_the_last_that_saves(self):
        saver = ("10", "SaveImage", {"images": ["8", 0], "filename_prefix": "x"})
        shower = ("11", "PreviewImage", {"images": ["8", 0]})
        self.assertEqual(wired(changed(saver, shower))[1].outputs, ["10", "9"])
        self.assertEqual(wired(changed(saver, shower, node11="Quillmere Result"))[1].outputs, ["11"])

    def test_what_is_not_clear_is_asked_with_the_candidates(self):
        second_sampler = (
            ("40", "CLIPTextEncode", {"text": "sky", "clip": ["1", 1]}),
            ("41", "KSampler", {**graph()["7"]["inputs"], "positive": ["40", 0]}),
            ("42", "PreviewImage", {"images": ["41", 0]}),
        )
        latent = ("50", "EmptyLatentImage", {"width": 8, "height": 8}), ("51", "PreviewImage", {"images": ["50", 0]})
        control = {"positive": ["2", 0], "negative": ["3", 0]}
        loop = ("6", "ControlNetApplyAdvanced", {**control, "positive": ["6", 0], "image": ["4", 0]})
        for content, *named in (
            (two_loaders(), "node 4", "node 20", '"Quillmere Guide"'),
            (changed(*second_sampler), "node 2", "node 40", '"Quillmere Prompt"'),
            (changed(*latent), "node 5", "node 50", '"Quillmere Size"'),
            (changed(("6", "ControlNetApplyAdvanced", control)), '"Load Image"'),
            (changed(loop), '"Quillmere Prompt"'),
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


def editor_graph(links_as_objects=False):
    """The usual graph as the editor saves it, with a reroute, a primitive, a note, a muted and a bypassed node."""

    def node(identifier, kind, values=(), inputs=(), outputs=(), **more):
        slots = [{"name": name, "link": link} for name, link in inputs]
        made = [{"type": output} for output in outputs or CLASSES.get(kind, ({}, []))[1]]
        return {"id": identifier, "type": kind, "widgets_values": values, "inputs": slots, "outputs": made, **more}

    nodes = [
        node(1, "CheckpointLoaderSimple", ["base.safetensors"]),
        node(2, "CLIPTextEncode", ["ignored"], [("clip", 1), ("text", 20)], title="Words"),
        node(3, "CLIPTextEncode", {"text": "blurry"}, [("clip", 2)]),
        node(4, "LoadImage", ["example.png", "image"]),
        node(5, "EmptyLatentImage", [512, 256, 1]),
        node(6, "ControlNetApplyAdvanced", [], [("positive", 3), ("negative", 4), ("image", 5)], mode=4),
        node(7, "KSampler", [5, "randomize", 4], [("model", 6), ("positive", 7), ("negative", 8), ("latent_image", 9)]),
        node(8, "VAEDecode", [], [("samples", 10), ("vae", 11)]),
        node(9, "SaveImage", ["ComfyUI"], [("images", 12)]),
        node(10, "PreviewImage", [], [("images", 13)], mode=2),
        node(11, "Reroute", [], [("", 14)], ["LATENT"]),
        node(12, "PrimitiveNode", ["a house", "fixed"], [], ["STRING"]),
        node(13, "MarkdownNote", ["remember"]),
    ]
    nodes[5]["outputs"] = [{"type": "CONDITIONING"}, {"type": "CONDITIONING"}]
    for place, kind in enumerate(("CONDITIONING", "CONDITIONING", "IMAGE")):
        nodes[5]["inputs"][place]["type"] = kind
    ends = {1: (1, 1), 2: (1, 1), 3: (2, 0), 4: (3, 0), 5: (4, 0), 6: (1, 0), 7: (6, 0), 8: (6, 1), 9: (5, 0)}
    ends.update({10: (11, 0), 11: (1, 2), 12: (8, 0), 13: (8, 0), 14: (7, 0), 20: (12, 0)})
    links = [[link, origin, slot, 0, 0, "X"] for link, (origin, slot) in ends.items()]
    if links_as_objects:
        links = [{"id": link, "origin_id": origin, "origin_slot": slot} for link, origin, slot, *_ in links]
    return {"nodes": nodes, "links": links, "version": 0.4}


class Conversion(unittest.TestCase):
    def convert(self, content):
        return convert.to_graph(content, Classes(class_info), "w.json")

    def test_the_editors_format_becomes_the_servers(self):
        for links_as_objects in (False, True):
            with self.subTest(links_as_objects=links_as_objects):
                nodes = self.convert(editor_graph(links_as_objects)).nodes
                self.assertEqual(sorted(nodes, key=int), ["1", "2", "3", "4", "5", "7", "8", "9"])
                self.assertEqual(nodes["2"].inputs, {"text": "a house", "clip": ["1", 1]})
                self.assertEqual(nodes["2"].title, "Words")
                self.assertEqual(nodes["3"].inputs["text"], "blurry")
                self.assertEqual(nodes["4"].inputs, {"image": "example.png"})
                self.assertEqual(nodes["5"].inputs, {"width": 512, "height": 256, "batch_size": 1})
                sampler = {"seed": 5, "steps": 4, "model": ["1", 0], "positive": ["2", 0], "negative": ["3", 0]}
                self.assertEqual(nodes["7"].inputs, {**sampler, "latent_image": ["5", 0]})
                self.assertEqual(nodes["8"].inputs["samples"], ["7", 0])

    def test_what_only_the_editor_can_do_is_refused_by_name(self):
        for kind, named in (("SetNode", '"SetNode"'), ("0a-1b", 'subgraph "Relight"')):
            with self.subTest(kind):
                content = editor_graph()
                content["nodes"][0]["type"] = kind
                content["definitions"] = {"subgraphs": [{"id": "0a-1b", "name": "Relight"}]}
                with self.assertRaisesRegex(HelperError, named + ".*Export \\(API\\)"):
                    self.convert(content)

    def test_damaged_graphs_end_in_an_error_and_never_in_a_loop(self):
        reroutes = {"nodes": [{"id": 1, "type": "Reroute", "inputs": [{"link": 1}]}], "links": [[1, 1, 0]]}
        reroutes["nodes"].append({"id": 2, "type": "SaveImage", "inputs": [{"name": "images", "link": 1}]})
        self.assertEqual(self.convert(reroutes).nodes["2"].inputs, {})
        hostile_link = {"id": 1, "type": "SaveImage", "inputs": [{"name": "images", "link": [1]}, 3]}
        hostile_node = {"id": [], "type": "IntNode", "widgets_values": 3, "inputs": "x"}
        for content in (
            {"nodes": [7, None, hostile_link], "links": 5},
            {"nodes": [hostile_node], "links": [[[], 1, 2], {"id": {}}]},
            {"nodes": [{"type": "VAEDecode", "mode": "4"}], "definitions": {"subgraphs": 3}},
        ):
            with self.subTest(str(content)[:40]):
                with contextlib.suppress(HelperError):
                    self.convert(content)
