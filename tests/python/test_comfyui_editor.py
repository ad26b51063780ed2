"""Graphs as the editor saves them, in each of its formats: what they become, and what is written back into them."""

import copy
import functools
import json
import operator
import sys
import unittest

import comfy_classes
from comfy_classes import CLASSES, class_info
from scratch_render import ROOT

sys.path.insert(0, str(ROOT / "python"))

from quillmere_helper.backends.comfyui import convert
from quillmere_helper.backends.comfyui.classes import Classes
from quillmere_helper.backends.comfyui.control import set_controls
from quillmere_helper.backends.comfyui.graph import read_api
from quillmere_helper.backends.comfyui.wiring import GraphValues, wire
from quillmere_helper.errors import HelperError
from quillmere_helper.workflows import is_graph

WANTED = GraphValues("a red barn", "guide.png", "", 64, 32, 3, 9, "quillmere/job/picture")


def node(identifier, kind, values=(), wires=(), **more):
    """`wires` are slots by name, each with the node and the output that it is linked to; a star in front of the name
    stands for a widget, a type follows behind a colon."""
    slots = []
    for name, source in dict(wires).items():
        name, _, told = name.partition(":")
        known = CLASSES.get(kind, ({}, 0))[0].get(name.strip("*"), ["*"])[0]
        slot = {"name": name.strip("*"), "type": told or (known if isinstance(known, str) else "COMBO"), "link": source}
        slots.append({**slot, "widget": {"name": slot["name"]}} if name.startswith("*") else slot)
    made = [{"type": output} for output in CLASSES.get(kind, ({}, more.pop("makes", [])))[1]]
    values = values if isinstance(values, dict) else list(values)
    return {"id": identifier, "type": kind, "widgets_values": values, "inputs": slots, "outputs": made, **more}


def graph(*nodes, outs=(), version=0.4, **more):
    """Numbers the links. `outs` are the sources of a subgraph's outputs."""
    nodes, links = copy.deepcopy(list(nodes)), []
    ends = [(one["id"], place, slot) for one in nodes for place, slot in enumerate(one["inputs"])]
    for target, place, slot in [*ends, *((-20, place, {"link": source}) for place, source in enumerate(outs))]:
        if slot["link"] is not None:
            links.append([len(links) + 1, *slot["link"], target, place, "*"])
            slot["link"] = len(links)
    names = ("id", "origin_id", "origin_slot", "target_id", "target_slot", "type")
    links = [dict(zip(names, link)) for link in links] if version == 1 else links
    return {"nodes": nodes, "links": links, "version": version, **more}


def subgraph(name, inputs, *nodes, outs=(), **more):
    named = [{"name": one, "type": "*"} for one in inputs]
    return graph(*nodes, outs=outs, version=1, id=name, name=f"The {name}", inputs=named, **more)


def converted(content):
    return convert.to_graph(content, Classes(class_info), "w.json")


LOADER = node(1, "CheckpointLoaderSimple", ["base.safetensors"])
SHOWER = node(15, "PreviewImage", [], {"images": (4, 0)})
GUIDE = node(4, "LoadImage", ["a.png", "image"])
SAVER = node(9, "SaveImage", ["x"], {"images": (8, 0)})


def usual(**more):
    """A graph with everything that no server sees: a reroute, a primitive, notes, muted and bypassed nodes."""
    wires = {"model": (1, 0), "positive": (6, 0), "negative": (6, 1), "latent_image": (5, 0)}
    guided = {"positive": (2, 0), "negative": (3, 0), "image": (4, 0)}
    return graph(
        LOADER,
        node(2, "CLIPTextEncode", ["ignored"], {"clip": (1, 1), "*text": (12, 0)}, title="Words"),
        node(3, "CLIPTextEncode", {"text": "blurry"}, {"clip": (1, 1)}),
        node(4, "LoadImage", ["example.png", "image"]),
        node(5, "EmptyLatentImage", [512, 256, 1]),
        node(6, "ControlNetApplyAdvanced", [], guided, mode=4),
        node(7, "KSampler", [5, "randomize", 4], wires),
        node(8, "VAEDecode", [], {"samples": (11, 0), "vae": (1, 2)}),
        SAVER,
        node(10, "PreviewImage", [], {"images": (8, 0)}, mode=2),
        node(11, "Reroute", [], {"": (7, 0)}, makes=["LATENT"]),
        node(12, "PrimitiveNode", ["a house", "fixed"], makes=["STRING"]),
        node(13, "MarkdownNote", ["remember"], title="Quillmere, how to use it"),
        node(14, "Label (pack)", ["Part one"]),
        SHOWER,
        **more,
    )


FULL = {"seed": 5, "steps": 20, "cfg": 8, "sampler_name": "euler", "scheduler": "normal", "denoise": 1}
EULER = "euler"
REST = [20, 8, "euler", "normal", 1]
OLD_SAMPLER = node(7, "FullSampler", [5, True, *REST])
LOST = {"*seed": None, "*by": None, "*old:FLOAT": None}
VALUES = (
    # what, the node, its inputs
    ("a tick beside the seed, as in 2023", OLD_SAMPLER, FULL),
    ("a word beside the seed", node(7, "FullSampler", [5, "increment", *REST]), FULL),
    ("nothing beside the seed", node(7, "FullSampler", [5, *REST]), FULL),
    ("an input that the node has gained since", node(7, "FullSampler", [5, "fixed", *REST[:4]]), FULL),
    ("a model that is not there", node(7, "CheckpointLoaderSimple", ["lost.ckpt"]), {"ckpt_name": "lost.ckpt"}),
    ("a tick and a switch", node(7, "Steps", [10, True, False, EULER]), {"seed": 10, "on": False, "by": EULER}),
    ("a switch that is no tick", node(7, "Steps", [10, False, EULER]), {"seed": 10, "on": False, "by": EULER}),
    ("a whole number with a point", node(7, "FullSampler", [5, "fixed", 20.0, *REST[1:]]), FULL),
    ("a button in between", node(7, "LoadImageMask", ["a.png", "image", "red"]), {"image": "a.png", "channel": "red"}),
    ("a button and its file", node(7, "LoadImage", ["a.png", "image"]), {"image": "a.png"}),
    ("what the editor keeps is left out", node(7, "LoadImage", ["a.png", "image", {"mask": 1}]), {"image": "a.png"}),
    ("values by name", node(7, "FullSampler", {**FULL, "denoise": None, "preview": {}}), FULL),
    ("a choice of numbers", node(7, "Numbers", [1]), {"scale": 1}),
    ("a word that is a text", node(7, "StringNode", ["fixed"]), {"value": "fixed"}),
    ("gained in the middle", node(7, "Grown", ["a", "b"]), {"first": "a", "gained": 3, "last": "b"}),
    ("listed inputs", node(7, "Unclear", [1, "x"], {"*b": None, "*d": None}), {"a": "", "b": 1, "c": 0, "d": "x"}),
    (
        "an input of an input",
        node(7, "Grown", ["a", 1, 4, "b"], {"*first": None, "*gained": None, "*gained.by:INT": None, "*last": None}),
        {"first": "a", "gained": 1, "last": "b", "gained.by": 4},
    ),
    (
        "a widget that was linked",
        node(7, "Unclear", ["x", [1], 2, "y"], {"*b": (7, 0)}),
        {"a": "x", "b": ["7", 0], "c": 2, "d": "y"},
    ),
    ("a lost input is left out", node(7, "Steps", [10, EULER, 7.5], LOST), {"seed": 10, "on": True, "by": EULER}),
    ("another name of the only picture", node(7, "ImageInvert", [], {"pixels:IMAGE": (4, 0)}), {"image": ["4", 0]}),
    ("a node that takes any name", node(7, "IntNode", [1], {"any:IMAGE": (4, 0)}), {"value": 1, "any": ["4", 0]}),
)
REFUSED = (
    # the node, what the error has to name
    (node(7, "Unclear", ["x", 1, "y"]), "Unclear (node 7)", '"y" cannot be "c"'),
    (node(7, "FullSampler", ["5", "fixed", *REST]), '"5" cannot be "seed"'),
    (node(7, "FullSampler", {**FULL, "steps": [20]}), '"steps" (INT) cannot be a list'),
    (node(7, "StringNode", [["a"]]), "value"),
    (node(7, "Numbers", [True]), "true cannot be", '"scale"'),
    (node(7, "IntNode", [10**400]), "many digits", '"value"'),
    (node(7, "StringNode", ["x"], {"*words:STRING": None}), '"words"', '"value"'),
    (node(7, "TwoGuides", [], {"old:CONDITIONING": (7, 0)}), '"old"', '"cond1", "cond2"'),
    (node(7, "SetNode", ["x"], {"any": (4, 0)}), "does not know SetNode (node 7)", "Export (API)"),
    (node(7, "ImageInvert", [], {"image": (99, 0)}), '"image" of ImageInvert (node 7)', "node 99, which is not there"),
    (node(7, "Reroute", [], {"": (7, 0)}), "circle"),
    (node(7, "ImageInvert", [], {"image": (4, -1)}), '"links" cannot be'),
    (node(9, "SaveImage"), "two nodes with the number 9"),
)


class Conversion(unittest.TestCase):
    def test_both_formats_become_the_servers(self):
        for version in (0.4, 1):
            with self.subTest(version):
                made = converted(usual(version=version))
                nodes = made.nodes
                self.assertEqual(sorted(nodes, key=int), ["1", "2", "3", "4", "5", "7", "8", "9", "15"])
                self.assertEqual(nodes["2"].inputs, {"text": "a house", "clip": ["1", 1]})
                self.assertEqual((nodes["2"].title, nodes["3"].inputs["text"]), ("Words", "blurry"))
                self.assertEqual(nodes["5"].inputs, {"width": 512, "height": 256, "batch_size": 1})
                sampler = {"seed": 5, "steps": 4, "model": ["1", 0], "positive": ["2", 0], "negative": ["3", 0]}
                self.assertEqual(nodes["7"].inputs, {**sampler, "latent_image": ["5", 0]})
                self.assertEqual(nodes["8"].inputs["samples"], ["7", 0])
                self.assertIn("Label (pack)", made.notes[0])

    def test_values_find_the_inputs_of_today(self):
        for what, one, inputs in VALUES:
            with self.subTest(what):
                made = converted(graph(one, GUIDE))
                self.assertEqual(len(made.notes), what.endswith("left out"))
                found = made.nodes["7"].inputs
                self.assertEqual(json.dumps(found, sort_keys=True), json.dumps(inputs, sort_keys=True))

    def test_what_cannot_be_decided_is_refused_by_node_and_input(self):
        for one, *named in REFUSED:
            with self.subTest(named), self.assertRaises(HelperError) as caught:
                converted(graph(one, SAVER, node(8, "ImageInvert", [], {"image": (7, 0)}), GUIDE))
            for part in named:
                self.assertIn(part, str(caught.exception))

    def test_a_chain_of_reroutes_of_any_length_is_followed(self):
        chain = [node(number, "Reroute", [], {"": (number - 1, 0)}) for number in range(101, 5101)]
        content = graph(node(100, "LoadImage", ["a.png"]), *chain, node(9, "SaveImage", ["x"], {"images": (5100, 0)}))
        self.assertEqual(converted(content).nodes["9"].inputs["images"], ["100", 0])


def instance(identifier, values, wires, proxies=None, kind="inner", **more):
    properties = {} if proxies is None else {"proxyWidgets": proxies}
    return node(identifier, kind, values, wires, makes=["LATENT"], properties=properties, **more)


def inner(**more):
    """A text encoder and a sampler, whose text and steps are linked to the inputs of the subgraph."""
    words = node(2, "CLIPTextEncode", ["own words"], {"clip": (-10, 0), "*text": (-10, 1)}, title="Words")
    wires = {"model": (-10, 2), "positive": (2, 0), "negative": (2, 0), "*steps": (-10, 3), "latent_image": (4, 0)}
    sampler, latent = node(3, "KSampler", [5, "fixed", 4], wires), node(4, "EmptyLatentImage", [8, 8, 1])
    return subgraph("inner", ["clip", "text", "model", "steps"], words, sampler, latent, outs=[(3, 0)], **more)


BOTH = {"clip": (1, 1), "model": (1, 0), "*text": None, "*steps": None}
SHOWN = (
    # how an instance holds values for the nodes inside: its values, links, properties; the text and the steps inside
    ("none", [], BOTH, None, "own words", 4),
    ("in the order of its inputs", ["outer words", 30, None], BOTH, None, "outer words", 30),
    ("of inputs that are not linked", [30], {**BOTH, "*text": (12, 0)}, None, "linked words", 30),
    ("of linked ones too", ["ignored", 30], {**BOTH, "*text": (12, 0)}, None, "linked words", 30),
    ("by inner node", [30, "outer words"], BOTH, [["3", "steps"], ["2", "text"]], "outer words", 30),
    ("by its own inputs", ["outer words", 30], BOTH, [["-1", "text"], ["-1", "steps"]], "outer words", 30),
    ("by name, without a value", [None], BOTH, [["-1", "text"]], "own words", 4),
)


def with_instance(one, *definitions, **more):
    words = node(12, "PrimitiveNode", ["linked words"], makes=["STRING"])
    decoder = node(8, "VAEDecode", [], {"samples": (20, 0), "vae": (1, 2)})
    definitions = {"subgraphs": list(definitions or [inner()])}
    return graph(LOADER, words, one, decoder, SAVER, GUIDE, SHOWER, definitions=definitions, **more)


class Subgraphs(unittest.TestCase):
    def test_values_come_from_the_instance_in_each_of_its_forms(self):
        for what, values, wires, proxies, text, steps in SHOWN:
            with self.subTest(what):
                nodes = converted(with_instance(instance(20, values, wires, proxies))).nodes
                self.assertEqual(sorted(nodes), ["1", "15", "20:2", "20:3", "20:4", "4", "8", "9"])
                self.assertEqual(nodes["20:2"].inputs, {"clip": ["1", 1], "text": text})
                self.assertEqual((nodes["20:2"].title, nodes["20:3"].inputs["steps"]), ("Words", steps))
                self.assertEqual(nodes["8"].inputs["samples"], ["20:3", 0])

    def nested(self, values, proxies=None, again=(), **more):
        within = {"clip": (-10, 0), "*text": (-10, 1), "model": (-10, 2), "*steps": None}
        middle = instance(5, ["middle words", 40][proxies is not None :], within, **more)
        definitions = {"subgraphs": [inner()]}
        outer = subgraph("outer", ["clip", "text", "model"], middle, outs=[(5, 0)], definitions=definitions)
        wires = {"clip": (1, 1), "text": None, "model": (1, 0)}
        return converted(with_instance(instance(20, values, wires, proxies, kind="outer"), outer, *again)).nodes

    def test_the_outermost_value_counts(self):
        for values, proxies, again, text, steps in (
            (["outer words"], None, [], "outer words", 40),
            ([], None, [inner()], "middle words", 40),
            (["outer words", 50], [["-1", "text"], ["5", "steps"]], [], "outer words", 50),
        ):
            with self.subTest(values):
                nodes = self.nested(values, proxies, again)
                self.assertEqual(nodes["20:5:2"].inputs, {"clip": ["1", 1], "text": text})
                self.assertEqual(nodes["20:5:3"].inputs["steps"], steps)
                self.assertEqual(nodes["8"].inputs["samples"], ["20:5:3", 0])

    def test_instances_that_are_off_act_like_nodes(self):
        latent = {**BOTH, "picture:LATENT": (30, 0)}
        for mode, samples in ((2, None), (4, ["30", 0])):
            one = instance(20, [], latent, mode=mode)
            content = with_instance(one)
            content["nodes"].append(node(30, "EmptyLatentImage", [8, 8, 1]))
            made = converted(content).nodes
            self.assertEqual((made["8"].inputs.get("samples"), "20:2" in made), (samples, False))

    def test_subgraphs_without_an_end_are_refused(self):
        itself = subgraph("inner", [], instance(5, [], {}))
        double = [subgraph(f"s{n}", [], *(instance(i, [], {}, kind=f"s{n + 1}") for i in (1, 2))) for n in range(40)]
        alone = instance(20, [], {}, kind="0a1b2c3d-0000-4000-8000-000000000000")
        for what, content in (
            ("holds itself", with_instance(instance(20, [], {}), itself)),
            ("too many", with_instance(instance(20, [], {}, kind="s0"), *double)),
            ("values of the subgraph", with_instance(instance(20, [1, 2, 3], BOTH))),
            ("definition", with_instance(alone)),
            ("no ID of its own", with_instance(alone, inner(), subgraph("inner", ["clip"]))),
        ):
            with self.subTest(what), self.assertRaisesRegex(HelperError, what):
                converted(content)

    def test_a_marker_that_the_server_would_never_see_is_refused(self):
        for place, identifier in ((1, 12), (2, 20)):
            content = with_instance(instance(20, [], BOTH))
            content["nodes"][place]["title"] = "Quillmere Prompt"
            with self.assertRaisesRegex(HelperError, f"node {identifier}.* editor alone"):
                wire(converted(content), Classes(class_info), WANTED, "w.json")


class WrittenBack(unittest.TestCase):
    def test_values_inside_of_subgraphs_are_written_where_they_count(self):
        for what, values, wires, proxies, *_ in SHOWN[:-1]:
            with self.subTest(what):
                content = with_instance(instance(20, values, wires, proxies))
                made, kept = converted(content), copy.deepcopy(content)
                wire(made, Classes(class_info), WANTED, "w.json")
                again = converted(made.to_editor()).nodes
                self.assertEqual(content, kept, "the file's own graph must stay as it was")
                self.assertEqual((again["20:2"].inputs["text"], again["20:3"].inputs["seed"]), ("a red barn", 9))

    def test_two_uses_of_one_subgraph_keep_what_they_share(self):
        content = with_instance(instance(20, [], BOTH, title="Words"))
        content["nodes"].append({**content["nodes"][2], "id": 21})
        made = converted(content)
        made.nodes["20:2"].inputs["text"] = "changed"
        for identifier in ("20:3", "21:3"):
            made.nodes[identifier].inputs["seed"] = 77
        again = converted(made.to_editor()).nodes
        self.assertEqual((again["20:2"].inputs["text"], again["21:3"].inputs["seed"]), ("own words", 77))


HOSTILE = (None, True, -1, 1.5, 1e999, 10**400, "x", "9" * 500, [], [[]], [-1, {}], {}, {"name": []})


def places_in(value, place=()):
    """Of every value in a JSON value."""
    members = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, member in members:
        yield (*place, key)
        yield from places_in(member, (*place, key))


class Damaged(unittest.TestCase):
    def test_whatever_stands_in_a_file_ends_in_a_graph_or_an_error(self):
        count = 0
        titled = comfy_classes.graph()
        titled["7"]["_meta"]["title"] = "Quillmere Control: Steps=steps"
        instances = instance(20, ["words", 3], BOTH), instance(20, *SHOWN[4][1:4])
        for content in (titled, usual(), *map(with_instance, instances)):
            text = json.dumps(content)
            cases = [(place, hostile) for n, place in enumerate(places_in(content)) for hostile in HOSTILE[n % 3 :: 3]]
            for place, hostile in cases:
                changed = json.loads(text)
                owner = functools.reduce(operator.getitem, place[:-1], changed)
                owner[place[-1]] = hostile
                if not is_graph(changed):
                    continue
                try:
                    made = converted(changed) if "nodes" in changed else read_api(changed, "w.json")
                    set_controls(made, Classes(class_info), {"Steps": 3} if content is titled else {}, "w.json")
                    wire(made, Classes(class_info), WANTED, "w.json")
                    made.to_editor()
                except HelperError as error:
                    self.assertLess(len(str(error)), 900)
                    count += 1
                except Exception as error:  # noqa: BLE001
                    raise AssertionError(f"{place} as {type(hostile)}") from error
        self.assertGreater(count, 300)
