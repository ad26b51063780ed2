"""What is told of a job while it runs: its progress, its previews, and when the server is asked."""

import json
import os
import struct
import tempfile
import time
import unittest
from pathlib import Path
from unittest import mock

from comfy_classes import graph
from scratch_render import png

from quillmere_helper.backends.comfyui import follow
from quillmere_helper.backends.comfyui.client import State, Ticket
from quillmere_helper.backends.comfyui.graph import Node, read_api
from quillmere_helper.backends.comfyui.previews import LARGEST, Previews
from quillmere_helper.backends.comfyui.progress import News, Progress
from quillmere_helper.backends.comfyui.weights import is_sampler, steps_of
from quillmere_helper.exchange import Status
from quillmere_helper.png import with_ascii_text

INPUTS = {**graph()["7"]["inputs"], "steps": 20}
GRAPH = read_api({**graph(), "7": {**graph()["7"], "inputs": INPUTS}}, "w.json")
BEFORE = ["1", "2", "3", "4", "5", "6"]


def message(kind, job="ours", **data):
    return {"type": kind, "data": {**data, **({"prompt_id": job} if job else {})}}


def states(**nodes):
    told = {name[4:]: {"state": state, "value": value, "max": most} for name, (state, value, most) in nodes.items()}
    return message("progress_state", nodes=told)


class Told(unittest.TestCase):
    def test_percent_follows_the_work_and_names_the_step(self):
        cached = message("execution_cached", nodes=BEFORE)
        loaded = [message("executing", node=node) for node in BEFORE]
        sampler, tenth = message("executing", node="7"), message("progress", node="7", value=10, max=20)
        by_state, decoder = states(node7=("running", 10, 20)), message("executing", node="8")
        back = states(node7=("running", 1, 20))
        fewer = states(node7=("running", 5, 10))
        next_one = states(node7=("finished", 1, 1), node8=("running", 0, 1))
        untold = message("progress", "", value=10, max=20)
        done = [message("executed", node=node) for node in "789"]
        half = 'Running "Paint", step 10 of 20', 10.5 / 24, (10, 20)
        for what, messages, expected in (  # a sampler weighs 1 and its steps, the decoder 2, the loader of models 3
            ("nothing is done for what is known", [cached], ("Running on the server", 0, None)),
            ("loading is little of it", loaded, ('Running "ControlNetApplyAdvanced"', 7 / 32, None)),
            ("half of the steps", [cached, sampler, tenth], half),
            ("the same by states", [cached, by_state], half),
            ("several at a time", [cached, by_state, decoder], ('Running "VAEDecode"', 10.5 / 24, None)),
            ("it never falls", [cached, sampler, tenth, back], ('Running "Paint", step 1 of 20', 10.5 / 24, (1, 20))),
            ("the server counts otherwise", [cached, fewer], ('Running "Paint", step 5 of 10', 5.5 / 14, (5, 10))),
            ("old servers leave out what it is of", [cached, sampler, untold], half),
            ("after a break too", [message("executing", "", node="8")], ('Running "VAEDecode"', 0, None)),
            ("of another's making", [message("executing", node="7.1", display_node="7")], ('Running "Paint"', 0, None)),
            ("others finish before", [cached, next_one], ('Running "VAEDecode"', 21 / 24, None)),
            ("all but the picture", [cached, *done], ("Running on the server", 0.99, None)),
        ):
            with self.subTest(what):
                progress = Progress(GRAPH, ["9"], Ticket("ours", "us"))
                for one in messages:
                    self.assertEqual(progress.take(one, 0.0), News.OURS)
                line = progress.line
                self.assertEqual((line.message, round(line.share, 9)), (expected[0], round(expected[1], 9)))
                self.assertEqual(line.more, dict(zip(("step", "steps"), expected[2] or ())))

    def test_no_status_tells_of_the_whole(self):
        with tempfile.TemporaryDirectory() as folder:
            Status(f"{folder}/status").tell("write", "Writing", 1.0, {"ahead": 2})
            told = json.loads(Path(folder, "status").read_text())
        self.assertEqual(told, {"phase": "write", "message": "Writing (99 %)", "ahead": 2, "progress": 0.99})

    def test_what_is_left_is_told_once_two_steps_were_timed(self):
        progress = Progress(GRAPH, ["9"], Ticket("ours", "us"))
        progress.take(message("execution_cached", nodes=BEFORE), 0.0)
        told = []
        for step in range(1, 21):
            progress.take(states(node7=("running", step, 20)), 100.0 + 2 * step)
            told.append(progress.line.more.get("seconds_left"))
        self.assertEqual((told[:2], told[2], told[-1]), ([None, None], 42, 6))  # 24 - 3.15, and 3, of two seconds each

    def test_messages_of_others_and_broken_ones_change_nothing(self):
        progress = Progress(GRAPH, ["9"], Ticket("ours", "us"))
        for one in (
            message("progress", "theirs", node="7", value=1, max=2),
            message("progress", "", node="7", value=1, max=2),  # nothing of ours runs yet
            message("executing", "", node=None),
            message("executing", "", node=["7"]),
            message("crystools.monitor", "", cpu=3),
            {"type": ["progress"], "data": 7},
            {},
        ):
            self.assertEqual((progress.take(one, 0.0), progress.line), (News.FOREIGN, None), one)
        self.assertEqual(progress.take(message("status", ""), 0.0), News.QUEUE)
        for value, most in ((float("nan"), 5), (1, 0), (10**400, 3), ("1", "2"), (None, 9), (-5, 5), (True, 2)):
            progress.take(message("progress", node="7", value=value, max=most), 0.0)
            progress.take(states(node7=("running", value, most)), 0.0)
            self.assertEqual(progress.line.share, 0, (value, most))

    def test_samplers_are_known_by_their_inputs(self):
        def made(**inputs):
            return Node("1", "Any", inputs)

        nodes = read_api({"2": {"class_type": "BasicScheduler", "inputs": {"steps": 8, "model": ["9", 0]}}}, "w.json")
        nodes.nodes["3"] = Node("3", "Int", {"value": 7})
        for node, steps in (
            (made(latent_image=["9", 0], steps=30), 30),
            (made(latent_image=["9", 0], steps=30, start_at_step=5, end_at_step=15), 10),
            (made(latent_image=["9", 0], steps=30, start_at_step=20, end_at_step=10000), 10),
            (made(guider=["9", 0], sigmas=["2", 0]), 8),
            (made(positive=["9", 0], steps=["3", 0]), 7),
            (made(positive=["9", 0], steps=["9", 0]), 20),
            (made(latent_image=["9", 0], steps=10**9), 1000),
            (nodes.nodes["2"], None),
            (made(image="x"), None),
        ):
            with self.subTest(node):
                self.assertEqual(steps_of(nodes, node) if is_sampler(node) else None, steps)


class Kept(unittest.TestCase):
    def test_previews_of_both_forms_are_kept_and_nothing_else(self):
        def told(picture, job="ours"):
            text = json.dumps({"prompt_id": job}).encode()
            return struct.pack(">II", 4, len(text)) + text + picture

        small, jpeg = png(2, 2), b"\xff\xd8\xff" + bytes(9) + b"\xff\xd9"
        large = with_ascii_text(small, "k", "x" * LARGEST)
        kept = struct.pack(">II", 1, 2) + small
        for what, content, expected in (
            ("the older form", struct.pack(">II", 1, 1) + jpeg, {"preview_3.jpg": jpeg}),
            ("the newer form", told(small), {"preview_3.png": small}),
            ("of another job", told(small, "theirs"), {}),
            ("cut off", told(small[:-3]), {}),
            ("too large", told(large), {}),
            ("no picture", told(b"<html>"), {}),
            ("another event", struct.pack(">II", 3, 2) + small, {}),
            ("too short", b"\0\0", {}),
            ("a length without end", b"\0\0\0\4\xff\xff\xff\xff{", {}),
        ):
            shown = mock.patch.dict(os.environ, QUILLMERE_PREVIEWS="1")
            with self.subTest(what), tempfile.TemporaryDirectory() as folder, shown:
                Path(folder, "preview_3.png").write_bytes(b"of a run that was killed")
                previews = Previews(f"{folder}/status_3.json", 3)
                self.assertEqual(previews.take(content, "ours", 100.0), bool(expected))
                self.assertEqual({path.name: path.read_bytes() for path in Path(folder).iterdir()}, expected)
                previews.take(kept, "ours", 200.0)
                self.assertEqual([str(path) for path in Path(folder).iterdir()], [previews.path], "one at a time")
                previews.remove()
                self.assertEqual(list(Path(folder).iterdir()), [])

    def test_nobody_who_shows_them_or_no_status_means_none(self):
        for status, shown in (("status_3.json", ""), ("", "1")):
            with tempfile.TemporaryDirectory() as folder, mock.patch.dict(os.environ, QUILLMERE_PREVIEWS=shown):
                previews = Previews(status and f"{folder}/{status}", 3)
                with mock.patch("os.unlink") as unlink:
                    self.assertFalse(previews.take(struct.pack(">II", 1, 2) + png(2, 2), "ours", 1.0))
                    previews.remove()
                self.assertTrue(all(call.args[0].startswith(folder) for call in unlink.call_args_list))


class Asked(unittest.TestCase):
    def test_no_stream_of_messages_keeps_the_server_from_being_asked(self):
        for what, sent in (
            ("of others", message("crystools.monitor", "", cpu=3)),
            ("about the queue", message("status", "", status={})),
            ("about a job that it does not know any more", message("progress", node="7", value=1, max=2)),
        ):
            with self.subTest(what):
                comfy, tell, socket = mock.Mock(), mock.Mock(), mock.Mock()
                comfy.state.side_effect = [State(runs=True)] * 2 + [State()] * 9
                socket.receive.side_effect = lambda seconds, sent=sent: time.sleep(0.001) or json.dumps(sent)
                spans = {"ASK_CONNECTED": 0.1, "LONGEST_UNASKED": 0.3, "ASK_DISCONNECTED": 0.05}
                with mock.patch.multiple(follow, WebSocket=lambda *_: socket, **spans):
                    follower = follow.Follower(comfy, "us", tell, mock.Mock(wanted=False))
                    started = time.monotonic()
                    with self.assertRaises(follow.LostJob):
                        follower.until_ended(Ticket("ours", "us", taken=True), GRAPH, ["9"], "w.json")
                    self.assertLess(time.monotonic() - started, 3)
                self.assertLess(comfy.state.call_count, 6)
