"""What workflow files may set, as docs/workflows.md tells it, and which seed a picture is made with."""

import json
import os
import tempfile
import unittest
from pathlib import Path
from unittest import mock

from scratch_render import ROOT

from quillmere_helper import backends, readable, transport, untrusted, web
from quillmere_helper.backends import embedded
from quillmere_helper.backends.a1111 import payload
from quillmere_helper.backends.comfyui import classes, graph, source, websocket, wiring
from quillmere_helper.errors import HelperError
from quillmere_helper.parameters import seed_for, seed_rule
from quillmere_helper.workflows import LARGEST_WORKFLOW, Workflow, read_workflow

LARGEST = (1 << 64) - 1
PAGE = (ROOT / "docs" / "workflows.md").read_text()


def table(parameters):
    rows = ["| parameter | values | default | meaning |", "| --- | --- | --- | --- |"]
    for parameter in parameters:
        default = json.dumps(parameter.default)
        rows.append(f"| `{parameter.name}` | {parameter.accepted()} | {default} | {parameter.meaning} |")
    return "\n".join(rows) + "\n\n"


class WorkflowPage(unittest.TestCase):
    def test_the_tables_of_parameters_are_those_that_are_accepted(self):
        for module in (embedded, payload, source):
            expected = table(module.PARAMETERS)
            self.assertTrue(expected in PAGE, f"docs/workflows.md has another table than\n\n{expected}")

    def test_placeholders_servers_and_variables_are_told(self):
        kinds = [kind for kind in (backends.load(name).SERVER for name in backends.MODULES) if kind]
        words = [", ".join(f"`{{{name}}}`" for name in wiring.PLACEHOLDERS)]
        words += [f"`{kind.variable(end)}`" for kind in kinds for end in ("URL", "TOKEN", "AUTH")]
        for word in [*words, *(f"`{kind.default_url}`" for kind in kinds)]:
            self.assertIn(word, PAGE)


class SecurityPage(unittest.TestCase):
    def test_the_limits_are_those_that_hold(self):
        page = (ROOT / "docs" / "security.md").read_text()
        for name, limits in (("a server's state", web.ALIVE), ("in JSON", web.ANSWER)):
            self.assertIn(f"{name} | {limits.size >> 20} MB, {limits.time:g} seconds |", page)
        moving = f"{transport.MOVED >> 10} KB in each {transport.SPAN:g} seconds"
        for row in (
            f"a graph | {LARGEST_WORKFLOW >> 20} MB; {source.MOST_NODES:,} nodes of {classes.MOST_CLASSES:,} classes |",
            f"reads or gets | {untrusted.LARGEST_PICTURE >> 20} MB |",
            f"become | {graph.LARGEST_FILLING >> 20} million characters |",
            f"with pictures | {web.PICTURES.size >> 20} MB, an hour |",
            f"a ComfyUI server | {websocket.LARGEST_MESSAGE >> 20} MB |",
            f"exchange | {web.CONNECT_TIME:g} seconds to connect, {web.ANSWER_TIME:g} without a byte, and {moving} |",
            f"a line that is shown; a log | {readable.LONGEST_LINE:,} characters; a million |",
        ):
            self.assertIn(row, page)


class Controls(unittest.TestCase):
    def test_a_control_accepts_its_limits_and_choices_and_nothing_beyond(self):
        for name, module in (("embedded", embedded), ("a1111", payload)):
            listed = backends.load(name).controls(Workflow("w.json", name, {"backend": name}))
            self.assertEqual(len(listed), len(module.PARAMETERS))
            for parameter, told in zip(module.PARAMETERS, listed):
                with self.subTest(told["name"]):
                    inside = [told["default"], *told.get("choices", []), *(told[end] for end in ("least", "most") if end in told)]
                    self.assertTrue(all(parameter.accepts(value) for value in inside), told)
                    beyond = [told["least"] - 1, told["most"] + 1] if "least" in told else [0]
                    beyond += ["other"] if "choices" in told else []
                    self.assertFalse(any(parameter.accepts(value) for value in beyond), told)
                    kinds = {float: "number", int: "whole", str: "choice" if parameter.words else "text"}
                    self.assertEqual(told["type"], "whole" if told["name"] == "seed" else kinds[type(parameter.default)])

    def test_a_wrapper_sets_controls_of_any_kind_of_workflow(self):
        graph, ours = {"1": {"class_type": "A", "inputs": {}}}, {"backend": "comfyui", "graph": "a.json", "controls": {"b": 1}}
        editors, drawing = {"nodes": []}, {"backend": "embedded", "parameters": {"line": 1, "wash": 2}}
        given = {"backend": "comfyui", "controls": {"line": 2}}
        for content, expected in (
            (graph, {**given, "graph": graph}),
            (editors, {**given, "graph": editors}),
            (ours, {**ours, "controls": {"b": 1, "line": 2}}),
            (drawing, {"backend": "embedded", "parameters": {"line": 2, "wash": 2}}),
        ):
            with self.subTest(content), tempfile.TemporaryDirectory() as folder:
                inner, outer = Path(folder, "inner.json"), Path(folder, "outer.json")
                inner.write_text(json.dumps(content))
                outer.write_text(json.dumps({"workflow": str(inner), "controls": {"line": 2}}))
                read = read_workflow(str(outer), backends.MODULES)
                self.assertEqual((read.content, read.path, read.name), (expected, str(inner), 'the workflow "inner.json"'))


class Seeds(unittest.TestCase):
    def test_the_seed_of_the_host_goes_before_every_choice(self):
        for given in (0, 12, LARGEST):
            with mock.patch.dict(os.environ, {"QUILLMERE_SEED": str(given)}):
                self.assertEqual({seed_for(choice, 3) for choice in ("random", "frame", 7)}, {given})

    def test_the_users_rule_goes_before_the_host_and_every_choice(self):
        for rule, expected in (("7", 7), ("frame", seed_for("frame", 3))):
            with mock.patch.dict(os.environ, {"QUILLMERE_SEED": "12", "QUILLMERE_SEED_RULE": rule}):
                self.assertEqual({seed_for(choice, 3) for choice in ("random", "frame", 9)}, {expected})
                self.assertNotEqual(seed_rule("workflow"), "workflow", "a graph's own seeds give way, too")
        self.assertEqual(seed_rule("workflow"), "workflow")

    def test_what_is_no_seed_is_refused(self):
        for given in ("x", "-1", "1.5", " 5", "٣", str(LARGEST + 1), "9" * 5000):
            with mock.patch.dict(os.environ, {"QUILLMERE_SEED": given}), self.subTest(given[:30]):
                with self.assertRaisesRegex(HelperError, "QUILLMERE_SEED"):
                    seed_for("frame", 3)

    def test_frames_have_seeds_of_their_own_that_stay(self):
        seeds = [seed_for("frame", frame) for frame in range(-50, 50)]
        self.assertEqual(len(set(seeds)), 100)
        apart = [bin(one ^ other).count("1") for one, other in zip(seeds, seeds[1:])]
        self.assertGreater(min(apart), 10, "neighbouring frames have too many bits of their seeds in common")
        self.assertEqual(seeds, [seed_for("frame", frame) for frame in range(-50, 50)])
        self.assertTrue(all(0 <= seed <= LARGEST for seed in seeds))
