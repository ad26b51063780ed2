"""What the helper relies on in a ComfyUI server. Always run against the protocol server, and against a real one where
QUILLMERE_TEST_COMFYUI_URL names it (docs/building.md): no model is needed, only nodes that every server has."""

import contextlib
import json
import os
import random
import subprocess
import threading
import unittest
import urllib.request

from comfy_case import AnyComfyCase, ComfyCase

from quillmere_helper.png import texts

URL, RESTART = os.environ.get("QUILLMERE_TEST_COMFYUI_URL"), os.environ.get("QUILLMERE_TEST_COMFYUI_RESTART")
LONG = 40  # nodes that take about half a second each


def node(kind, **inputs):
    return {"class_type": kind, "inputs": inputs}


def work(nodes):
    """So much to do that a server is busy for a while, whatever it calculates with, and nothing that it still knows."""
    graph = {"50": node("EmptyImage", width=1024, height=1024, batch_size=16, color=random.randrange(1 << 24))}
    for number in range(nodes):
        place = {"x": number % 24, "y": number // 24}
        graph[str(100 + number)] = node("ImageCrop", image=["50", 0], width=1000, height=1000, **place)
        graph[str(200 + number)] = node("PreviewImage", images=[str(100 + number), 0])
    return graph


def inverted(**changes):
    """A graph that inverts the guide, with nodes replaced or added (node7=...)."""
    graph = {
        "1": {**node("LoadImage", image="guide"), "_meta": {"title": "Quillmere Guide"}},
        "2": node("ImageInvert", image=["1", 0]),
        "3": saving("2"),
    }
    return {**graph, **{name[4:]: value for name, value in changes.items()}}


def saving(source, slot=0):
    return node("SaveImage", images=[source, slot], filename_prefix="x")


EDITOR = {
    "nodes": [
        {"id": 4, "type": "LoadImage", "widgets_values": ["example.png", "image"], "outputs": [{"links": [1]}]},
        {"id": 5, "type": "Reroute", "inputs": [{"name": "", "link": 1}], "outputs": [{"links": [2]}]},
        {"id": 6, "type": "ImageInvert", "inputs": [{"name": "image", "link": 2}], "outputs": [{"links": [3]}]},
        {"id": 7, "type": "SaveImage", "widgets_values": ["x"], "inputs": [{"name": "images", "link": 3}]},
    ],
    "links": [[1, 4, 0, 5, 0, "*"], [2, 5, 0, 6, 0, "IMAGE"], [3, 6, 0, 7, 0, "IMAGE"]],
    "version": 0.4,
}


class Conformance:
    """`url` and `restart` are the server's."""

    def setUp(self):
        super().setUp()
        self.environment.update(QUILLMERE_COMFYUI_URL=self.url, QUILLMERE_SERVER_PATIENCE="300")
        self.members["effective_prompt"] = ""
        self.stopped = threading.Event()
        self.addCleanup(self.stopped.set)

    def call(self, path, content=None):
        body = None if content is None else json.dumps(content).encode()
        with urllib.request.urlopen(self.url + path, body, timeout=30) as answer:
            return json.loads(answer.read() or b"null")

    def foreign(self, nodes=1):
        """A job of somebody else; its ID."""
        return self.call("/prompt", {"prompt": work(nodes), "client_id": "somebody"})["prompt_id"]

    def jobs(self, state):
        return [item[1] for item in self.call("/queue")[f"queue_{state}"]]

    def traffic(self):
        """Jobs of somebody else, one after the other, until the test ends."""

        def post():
            while not self.stopped.wait(0.5):
                with contextlib.suppress(OSError):
                    self.foreign()

        threading.Thread(target=post, daemon=True).start()

    def rendered(self, graph):
        self.use(graph)
        return self.assert_rendered(seconds=300)

    def begun(self, graph, word):
        self.use(graph)
        process = self.start()
        self.wait_for(lambda: word in self.message(), word)
        return process

    def test_every_picture_comes_the_saved_one_first_and_carries_its_graph(self):
        response = self.rendered(inverted(node9=node("PreviewImage", images=["1", 0])))
        self.assertEqual((len(response["outputs"]), response["seed"]), (2, None))
        with open(response["first_output"], "rb") as file:
            found = texts(file.read(), ("prompt", "workflow", "quillmere"))
        self.assertEqual(json.loads(found["prompt"])["3"]["class_type"], "SaveImage")
        record = json.loads(found["quillmere"])
        self.assertEqual((record["node"], record["others"]), ("SaveImage (node 3)", ["PreviewImage (node 9)"]))
        self.assertEqual(record["seed"], None)

    def test_the_editors_graph_is_converted_and_kept(self):
        with open(self.rendered(EDITOR)["first_output"], "rb") as file:
            found = texts(file.read(), ("prompt", "workflow", "quillmere"))
        self.assertEqual(len(json.loads(found["prompt"])), 3)
        self.assertEqual(len(json.loads(found["workflow"])["nodes"]), 4)

    def test_previews_are_kept_while_it_runs(self):
        if not self.call("/object_info/SaveImageWebsocket"):
            self.skipTest("the server lacks SaveImageWebsocket, which sends previews without a model")
        self.environment["QUILLMERE_PREVIEWS"] = "1"
        path = self.folder / "preview_3.png"
        process = self.begun({**inverted(node9=node("SaveImageWebsocket", images=["2", 0])), **work(4)}, "")
        self.wait_for(path.exists, "a preview")
        self.assertTrue(path.read_bytes().startswith(b"\x89PNG"))
        self.watch(process, 300)
        self.assertEqual((process.returncode, path.exists()), (0, False), self.response())
        self.assertIn(str(path), [status.get("preview") for status in self.shown])

    def test_what_it_refuses_is_told_by_node_and_input(self):
        large = node("EmptyImage", width=99999, height=8, batch_size=1, color=0)
        for changes, *named in (
            ({"node2": node("ImageInvert", image=["99", 0])}, "ImageInvert (node 2)", "linked to node 99, which is not"),
            ({"node3": saving("99")}, "SaveImage (node 3)", "linked to node 99, which is not"),
            ({"node3": saving("2", 7)}, "SaveImage (node 3)", "an output that the other node does not have"),
            ({"node3": saving("1", 1)}, "SaveImage (node 3)", "images takes IMAGE and is linked to MASK"),
            ({"node4": large, "node5": saving("4")}, "EmptyImage (node 4)", "width cannot be 99999"),
            ({"node4": node("LoadImage", image="lost.png"), "node5": saving("4")}, "(node 4)", "lost.png", "upload"),
            ({"node4": node("ImageInvert"), "node5": saving("4")}, "(node 4)", "nothing is linked to image"),
        ):
            with self.subTest(changes):
                self.use(inverted(**changes))
                self.assert_fails(*named)
                self.assertEqual(self.jobs("running") + self.jobs("pending"), [])

    def test_a_break_takes_the_job_back_in_each_state_and_no_other(self):
        for what, ahead, word, told in (
            ("waiting", LONG, "ahead", "was taken out of the queue"),
            ("running", 0, "PreviewImage", "was stopped"),
        ):
            with self.subTest(what):
                foreign = self.foreign(ahead) if ahead else ""
                process = self.begun({**inverted(), **work(LONG)}, word)
                behind = self.foreign()
                self.assert_cancelled(process)
                self.assertRegex(self.response()["error"], f"{told}|told to stop")
                if foreign:
                    self.assertEqual((self.jobs("running"), self.jobs("pending")), ([foreign], [behind]))
                    self.call("/interrupt", {"prompt_id": foreign})
                self.wait_for(lambda job=behind: self.call(f"/history/{job}"), "the job behind it", 300)

    def test_a_job_that_somebody_takes_out_of_the_queue_is_not_sent_again(self):
        foreign = self.foreign(LONG)
        process = self.begun({**inverted(), **work(1)}, "ahead")
        self.assertEqual(json.loads(self.status_file.read_text())["ahead"], 1)
        self.call("/queue", {"delete": self.jobs("pending")})
        self.watch(process, 60)
        self.assertIn("took the job of the workflow", self.response()["error"])
        self.assertEqual(self.jobs("pending"), [])
        self.call("/interrupt", {"prompt_id": foreign})
        self.wait_for(lambda: not self.jobs("running"), "the end of the other job", 300)

    def test_a_restart_beside_other_peoples_jobs_costs_no_picture(self):
        self.traffic()
        process = self.begun({**inverted(), **work(4)}, "Running")
        running = self.call("/queue")["queue_running"]
        self.assertNotIn("somebody", [item[3]["client_id"] for item in running])
        self.restart()
        self.watch(process, 300)
        self.assertEqual(process.returncode, 0, self.response())
        self.assertEqual([self.call(f"/history/{item[1]}") for item in running], [{}], "what a restart forgets")


class ProtocolServer(Conformance, ComfyCase):
    def setUp(self):
        super().setUp()
        self.server.node_time = 0.15

    url = property(lambda self: self.server.url)

    def test_a_break_takes_the_job_back_in_each_state_and_no_other(self):
        for self.server.version in ("0.3.64", "0.3.0"):  # that interrupts what it is told to, or whatever runs
            super().test_a_break_takes_the_job_back_in_each_state_and_no_other()

    def restart(self):
        self.server.stop()
        self.server.start()


@unittest.skipUnless(URL, "QUILLMERE_TEST_COMFYUI_URL names no real server")
class RealServer(Conformance, AnyComfyCase):
    url = URL

    def restart(self):
        subprocess.run(RESTART, shell=True, check=True, timeout=300)

    @unittest.skipUnless(RESTART, "NO RESTART: QUILLMERE_TEST_COMFYUI_RESTART holds no command that does it")
    def test_a_restart_beside_other_peoples_jobs_costs_no_picture(self):
        super().test_a_restart_beside_other_peoples_jobs_costs_no_picture()
