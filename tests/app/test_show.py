"""What made a picture: shown, and rendered again, with the real helper and its embedded back end."""

import json
import os
import struct
import subprocess
import sys
import zlib

from app_case import PLUGIN, AppCase

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "python"))

import scratch_render  # noqa: E402
from comfy_classes import graph  # noqa: E402
from a1111_server import A1111Server  # noqa: E402
from comfy_server import ComfyServer  # noqa: E402
from quillmere_helper.png import chunk  # noqa: E402

RANDOM_INK = {"backend": "embedded", "parameters": {"seed": "random"}}
RECORD = {"helper_version": "0.1.0", "frame": 2, "width": 24, "height": 16, "seed": 5, "prompt": "fog", "system_prompt": ""}


def png(*chunks: bytes) -> bytes:
    """One pixel, with `chunks` before its data."""
    plain = scratch_render.png(1, 1)
    return plain[:33] + b"".join(chunks) + plain[33:]


def text(content: bytes, keyword: bytes = b"quillmere") -> bytes:
    return chunk(b"iTXt", keyword + b"\0\0\0\0\0" + content)


def packed(content: bytes) -> bytes:
    return chunk(b"iTXt", b"quillmere\0\1\0\0\0" + zlib.compress(content))


class RealHelper(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.env["PATH"] = os.environ["PATH"]
        for name in ("QUILLMERE_PROVENANCE_FILE", "QUILLMERE_SEED", "QUILLMERE_SEED_RULE", "QUILLMERE_STYLE", "QUILLMERE_A1111_URL"):
            self.env.pop(name, None)
        self.write("ink.json", json.dumps(RANDOM_INK).encode())

    def write(self, name: str, content: bytes) -> str:
        (self.folder / name).write_bytes(content)
        return name

    def rendered(self, *arguments: str) -> dict:
        """Renders into a.png and p/, and returns what made the picture."""
        done = self.repeated(*arguments)
        self.assertEqual(done.returncode, 0, done.stderr)
        return json.loads(self.run_command("show", "a.png", "--json").stdout)

    def repeated(self, *arguments: str, output: str = "a.png") -> subprocess.CompletedProcess:
        where = ["--plugin", str(PLUGIN), "--write-dir", "write", "--output-dir", "p", "--quiet"]
        return self.run_command("render", *where, "--output", output, *arguments)

    def first(self, *more: str) -> dict:
        arguments = ["--workflow", "ink.json", "--frames", "2", "--camera", "Chart", "--guide", "final", "--size", "48x32"]
        return self.rendered("scene.glb", *arguments, *more)

    def generated(self) -> list:
        return sorted(f"p/{file.name}" for file in (self.folder / "p").glob("*.png"))

    def bytes_of(self, *names: str) -> list:
        return [(self.folder / name).read_bytes() for name in names]


class Show(RealHelper):
    def test_a_picture_tells_what_made_it(self) -> None:
        record = self.first("--prompt", "fog\nand \x1b[2Jrain", "--system-prompt", "Draw.")
        expected = {
            "scene": str(self.folder / "scene.glb"), "camera": "Chart", "fps": 30, "guide_mode": "final", "workflow_id": "",
            "system_prompt": "Draw.", "prompt": "fog\nand \x1b[2Jrain", "effective_prompt": "Draw. fog\nand \x1b[2Jrain",
            "frame": 2, "width": 48, "height": 32, "workflow_path": str(self.folder / "ink.json"), "workflow": RANDOM_INK,
        }  # fmt: skip
        self.assertEqual({key: record[key] for key in expected}, expected)
        lines = self.run_command("show", self.generated()[0]).stdout
        self.assertRegex(lines, "prompt +fog and \ufffd\\[2Jrain\n(.|\n)*seed +%d\n" % record["seed"])
        self.repeated("scene.glb", "--size", "8x8", output="a.exr")
        self.assertRegex(self.run_command("show", "a.exr").stdout, "width +8\n")
        (self.folder / "b.exr.json").mkdir()  # the frame is whole all the same
        done = self.repeated("scene.glb", "--size", "8x8", output="b.exr")
        self.assertEqual((done.returncode, (self.folder / "b.exr").exists()), (0, True))
        self.assertRegex(done.stderr, "^quillmere: warning: frame 0: .*b.exr.json': .* so nothing tells what made the frame\n$")

    def test_of_picture_and_side_file_the_picture_goes_first(self) -> None:
        self.write("a.jpg.json", json.dumps({**RECORD, "prompt": "side"}).encode())
        self.write("a.png.json", json.dumps({**RECORD, "prompt": "side"}).encode())
        inside = text(json.dumps({**RECORD, "prompt": "inside"}).encode())
        strange = chunk(b"zTXt", b"Comment\0\0" + zlib.compress(bytes(30 << 20)))
        for name, content, prompt in (
            ("a.jpg", b"\xff\xd8\xff", "side"),
            ("a.png", png(), "side"),
            ("a.png", png(inside), "inside"),
            ("a.png", png(text(b"{}", b"prompt"), inside, text(b"{}")), "inside"),
            ("a.png", png(packed(json.dumps({**RECORD, "prompt": "inside"}).encode())), "inside"),
            ("a.png", png(strange * 500, inside), "inside"),  # 15 GB, if it were unpacked
        ):
            with self.subTest(name, content=content[:99]):
                self.assertRegex(self.run_command("show", self.write(name, content)).stdout, f"prompt +{prompt}\n")

    def test_what_does_not_tell_is_refused_with_its_reason(self) -> None:
        os.mkfifo(self.folder / "pipe.png")
        sound = text(json.dumps(RECORD).encode())
        rows = [
            ("none.png", None, "no such file"),
            ("pipe.png", None, "not a regular file"),
            ("empty.png", b"", "nothing tells what made it\n.*'empty.png.json'"),
            ("plain.png", png(), "nothing tells"),
            ("a.png", png(text(b"{}", b"parameters")), "nothing tells"),
            ("a.png", png(sound)[:80], "too early"),
            ("a.png", png(sound.replace(b"fog", b"fig")), "nothing tells|CRC"),
            ("a.png", b"\x89PNG\r\n\x1a\n" + struct.pack(">I", 0x7FFFFFFF) + b"iTXtquillmere", "cannot read picture"),
            ("a.png", png(struct.pack(">I", 0x7FFFFFF0) + b"iTXtquillmere\0\0\0\0\0{"), "nothing tells|cannot read picture"),
            ("a.png", png(packed(b" " * (100 << 20))), "nothing tells|cannot read picture|not JSON"),
            ("a.png", png(text(b"{}")), "not written by"),
            ("a.png", png(text(b'{"helper_version": 1}')), "not written by"),
            ("a.png", png(text(b"[]")), "no JSON object"),
            ("a.png", png(text(b'{"a":\xff')), "damaged at byte 6"),
            ("a.png", png(text(b'{"a":1e999}')), "picture 'a.png': it holds a number that is too large"),
            ("a.png", png(text(b'{"a":' * 500_000 + b"1" + b"}" * 500_000)), "nested more than 100"),
            ("side.jpg", b"", "side file 'side.jpg.json': it is damaged"),
        ]
        self.write("side.jpg.json", b"{")
        for name, content, why in rows:
            with self.subTest(name, content=(content or b"")[33:120], why=why):
                done = self.run_command("show", name if content is None else self.write(name, content))
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertRegex(done.stderr, "quillmere: (.|\n)*" + why)
                self.assertRegex(done.stderr, "; |\n  ")


class Like(RealHelper):
    def test_a_repeated_picture_is_the_same(self) -> None:
        seed = self.first("--prompt", "fog")["seed"]
        self.assertNotEqual(self.first("--prompt", "fog")["seed"], seed)
        one, two = self.generated()
        frame = self.bytes_of("a.png")
        self.rendered("--like", two)
        again = self.generated()[2]
        self.assertEqual(*self.bytes_of(two, again))
        self.assertEqual(self.bytes_of("a.png"), frame)
        self.assertNotEqual(*self.bytes_of(one, again))

    def test_what_is_seen_when_is_repeated(self) -> None:
        for arguments, told in (
            (["--view", "90,10", "--clip", "2", "--time", "0.3"], {"camera": "Default", "clip": "Run", "time": 0.3, "frame": 9}),
            (["--turntable", "8", "--fps", "23.976", "--loop", "--frames", "40"], {"turntable": 8, "fps": "24000/1001", "loop": True}),
            (["--camera", "2", "--frames", "3"], {"camera": "Chart", "frame": 3}),
        ):
            with self.subTest(arguments):
                made = self.rendered("scene.glb", "--workflow", "ink.json", "--size", "48x32", *arguments)
                self.assertEqual({key: made.get(key) for key in told}, told)
                frame = self.bytes_of("a.png")
                again = self.rendered("--like", "a.png")
                self.assertEqual(self.bytes_of("a.png"), frame)
                self.assertEqual({**again, "guide": ""}, {**made, "guide": ""})

    def test_a_server_is_given_the_same_graph_again(self) -> None:
        server = ComfyServer()
        self.addCleanup(server.stop)
        self.env["QUILLMERE_COMFYUI_URL"] = server.url
        self.write("beside.json", json.dumps(graph()).encode())
        for seed in ("random", "workflow"):
            with self.subTest(seed):
                server.log.clear()
                workflow = {"backend": "comfyui", "graph": "beside.json", "parameters": {"seed": seed}}
                self.write("comfy.json", json.dumps(workflow).encode())
                made = self.rendered("scene.glb", "--workflow", "comfy.json", "--size", "64x32")
                self.assertEqual((made["server"], made["server_version"]), (server.url, "0.3.64"))
                self.assertEqual(self.repeated("--like", "a.png").stderr, "")
                first, second = (json.loads(body)["prompt"] for _, path, _, body in server.log if path == "/prompt")
                self.assertEqual(first["7"]["inputs"]["seed"], made["seed"])
                for node in ("4", "9"):  # the guide and the result have names of their own in each job
                    del first[node]["inputs"], second[node]["inputs"]
                self.assertEqual(first, second)

    def test_the_workflows_controls_are_kept_and_repeated(self) -> None:
        made = self.first("--control", "line=2.5", "--control", "seed=frame")
        self.assertEqual((made["controls"], made["workflow_path"]), ({"line": 2.5, "seed": "frame"}, str(self.folder / "ink.json")))
        self.assertEqual(made["workflow"], {"backend": "embedded", "parameters": {"seed": "frame", "line": 2.5}})
        self.assertRegex(self.run_command("show", "a.png").stdout, "\ncontrols +line=2.5, seed=frame\n")
        os.rename(self.folder / "a.png", self.folder / "b.png")
        for arguments, controls, same in (
            ([], made["controls"], True),
            (["--control", "line=0"], {**made["controls"], "line": 0}, False),
            (["--control", "seed=5"], {**made["controls"], "seed": 5}, False),
            (["--workflow", "b.png"], None, True),  # holds them
            (["--workflow", "ink.json"], None, False),
        ):
            with self.subTest(arguments):
                done = self.repeated("--like", "b.png", *arguments)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                again = json.loads(self.run_command("show", "a.png", "--json").stdout)
                self.assertEqual(again.get("controls"), controls)
                self.assertEqual(self.bytes_of(self.generated()[0])[0][-500:] == self.bytes_of(self.generated()[-1])[0][-500:], same)
        self.write("ink.json", b'{"backend": "embedded", "parameters": {"wash": 2}}')
        self.assertIn("has changed", self.repeated("--like", "b.png").stderr)
        self.assertRegex(self.repeated("--like", "b.png", "--control", "lime=1").stderr, '"lime" in the workflow "ink.json"\n  did you mean "line"')

    def test_what_is_given_goes_before_what_the_picture_tells(self) -> None:
        made = self.first("--prompt", "fog", "--system-prompt", "Draw.")
        self.write("other.json", b'{"backend": "embedded"}')
        (self.folder / "moved").mkdir()
        os.rename(self.folder / "scene.glb", self.folder / "moved/scene.glb")
        for arguments, changes in (
            (["--prompt", "rain"], {"prompt": "rain"}),
            (["--set", "QUILLMERE_PROMPT=rain", "--guide", "quick"], {"prompt": "rain", "guide_mode": "quick"}),
            (["--size", "20x10", "--fps", "25"], {"width": 20, "height": 10, "fps": 25}),
            (["--frames", "7", "--camera", "Pier"], {"frame": 7, "camera": "Pier"}),
            (["--workflow", "other.json"], {"workflow_path": str(self.folder / "other.json"), "workflow": {"backend": "embedded"}}),
        ):
            with self.subTest(arguments):
                self.write("like.png", png(text(json.dumps(made).encode())))
                again = self.rendered("moved/scene.glb", "--like", "like.png", *arguments)
                expected = {**made, "scene": str(self.folder / "moved/scene.glb"), **changes}
                for record in (again, expected):
                    del record["guide"], record["effective_prompt"], record["inputs"]
                self.assertEqual(again, expected)

    def test_the_style_image_is_repeated_replaced_or_left_out(self) -> None:
        self.write("style.png", scratch_render.png(8, 8))
        self.assertEqual(self.first("--style", "style.png")["style"], str(self.folder / "style.png"))
        os.rename(self.folder / "a.png", self.folder / "b.png")
        self.write("write/quillmere/c4d/runtime/render_view_state.json", b'{"locked_style_image": "lost.png"}')
        for arguments, style, same in (([], "style.png", True), (["--style", "b.png"], "b.png", False), (["--style", ""], None, False)):
            with self.subTest(arguments):
                again = self.rendered("--like", "b.png", *arguments)
                self.assertEqual(again["style"], str(self.folder / style) if style else "")
                self.assertEqual(self.bytes_of(self.generated()[0]) == self.bytes_of(self.generated()[-1]), same)
        os.unlink(self.folder / "style.png")
        self.assertRegex(self.repeated("--like", "b.png").stderr, "style image, '.*style.png', is gone(.|\n)*--style ''")
        self.assertRegex(self.repeated("scene.glb", "--style", "style.png").stderr, "--style 'style.png': no such picture")

    def test_a_prompt_too_long_for_an_environment_variable_is_kept_and_repeated(self) -> None:
        (self.folder / "long.txt").write_text("fög " * 60_000)
        made = self.first("--prompt-file", "long.txt", "--system-prompt", "Draw.")
        self.assertEqual((made["prompt"], made["system_prompt"]), ("fög " * 60_000, "Draw."))
        again = self.rendered("--like", "a.png")
        self.assertEqual([again[key] for key in ("prompt", "effective_prompt")], [made[key] for key in ("prompt", "effective_prompt")])

    def test_a_changed_or_lost_workflow_can_be_had_from_the_picture(self) -> None:
        self.first()
        os.rename(self.folder / "a.png", self.folder / "b.png")
        before = self.bytes_of("ink.json")[0]
        for content, status, told in ((before, 0, "^$"), (b'{"backend": "embedded"}', 0, "has changed"), (None, 1, "gone")):
            with self.subTest(told):
                self.write("ink.json", content) if content else (self.folder / "ink.json").unlink()
                done = self.repeated("--like", "b.png")
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertRegex(done.stderr, told if content == before else f"{told}(.|\n)*--workflow 'b.png'")
        self.assertEqual(self.rendered("--like", "b.png", "--workflow", "b.png")["workflow"], RANDOM_INK)

    def test_a_workflow_is_compared_without_the_controls_that_were_set(self) -> None:
        self.env["QUILLMERE_COMFYUI_URL"] = "http://127.0.0.1:1"
        bare, ran = graph(), {"backend": "comfyui", "graph": graph(), "controls": {"Steps": 3, "Size": 1}}
        made = {**RECORD, "scene": str(self.folder / "scene.glb"), "workflow_path": str(self.folder / "comfy.json"), "controls": {"Steps": 3}}
        for workflow, present, changed in (
            (ran, bare, False),
            (ran, {**bare, "99": bare["1"]}, True),
            (ran, {**ran, "controls": {"Steps": 5, "Size": 1}}, False),
            (ran, {**ran, "url": "http://127.0.0.1:2"}, True),
            ({"backend": "embedded", "parameters": {"Steps": 3}}, {"backend": "embedded"}, False),
        ):
            with self.subTest(present=present):
                self.write("like.png", png(text(json.dumps({**made, "workflow": workflow}).encode())))
                self.write("comfy.json", json.dumps(present).encode())
                self.assertEqual("has changed" in self.repeated("--like", "like.png").stderr, changed)

    def test_what_a_picture_lacks_or_lies_about_is_named(self) -> None:
        sound = {**RECORD, "scene": str(self.folder / "scene.glb"), "workflow_path": str(self.folder / "ink.json")}
        self.write("like.png", png(text(json.dumps(sound).encode())))
        self.assertEqual(self.repeated("--like", "like.png").returncode, 0)
        self.write("like.png", png(text(json.dumps({**sound, "seed": None}).encode())))
        self.assertRegex(self.run_command("show", "like.png").stdout, "seed +none\n")
        made = [self.rendered("--like", "like.png")["seed"] for _ in range(2)]
        self.assertEqual(len({5, *made}), 3)  # the workflow's own choice, which is random
        (self.folder / "a.png").unlink()
        self.write("like.png", png(text(json.dumps({key: sound[key] for key in sound if key != "seed"}).encode())))
        self.assertRegex(self.repeated("--like", "like.png").stderr, "does not tell its seed")
        for changes, why in (
            ({"scene": None}, "does not tell its scene\n.*render SCENE --like"),
            ({"scene": "/dev/zero"}, "'/dev/zero', is gone"),
            ({"scene": ["a"]}, '"scene" .* is no text'),
            ({"camera": "Mast"}, "camera 'Mast'.*\n.*'Pier'"),
            ({"workflow_path": None}, "does not tell its workflow"),
            ({"prompt": "a\0b"}, '"prompt" .* no text that can be given'),
            ({"frame": 1 << 31}, '"frame" .* no whole number'),
            ({"frame": 1 << 63}, '"frame" .* no whole number'),
            ({"width": 0}, '"width" .* no whole number from 1'),
            ({"height": 1.5}, '"height" .* no whole number'),
            ({"controls": ["a"]}, '"controls" .* is no object'),
            ({"controls": {"a": {}}}, "no text, number or switch for 'a'"),
            ({"seed": -1}, '"seed" .* no whole number'),
            ({"seed": 1 << 64}, '"seed" .* no whole number'),
        ):
            with self.subTest(changes):
                self.write("like.png", png(text(json.dumps({**sound, **changes}).encode())))
                done = self.repeated("--like", "like.png")
                self.assertIn(done.returncode, (1, 2))
                self.assertRegex(done.stderr, why)
                self.assertFalse((self.folder / "a.png").exists())


class Seed(RealHelper):
    def test_the_rule_goes_before_the_workflows_and_is_recorded(self) -> None:
        for rule, kept in (("7", True), ("frame", True), ("random", False)):
            made, again = self.first("--seed", rule), self.first("--seed", rule)
            self.assertEqual((made["seed"] == again["seed"], made["seed_rule"]), (kept, rule))
        self.assertEqual(self.first("--seed", "7")["seed"], 7)
        self.assertEqual(self.rendered("--like", "a.png", "--seed", "8")["seed"], 8)


class Check(RealHelper):
    def test_a_name_that_is_no_utf8_keeps_no_workflow_from_being_checked(self) -> None:
        os.link(self.folder / "ink.json", os.fsencode(self.folder) + b"/caf\xe9.json")
        for environment in ({}, {"LC_ALL": "C", "PYTHONUTF8": "0", "PYTHONCOERCECLOCALE": "0"}):
            self.env.update(environment)
            done = self.run_command("workflows", "check", "caf\udce9.json", "--plugin", str(PLUGIN), "--json")
            told = json.loads(done.stdout)
            self.assertEqual((done.returncode, told["workflow"], told["backend"]), (0, "./caf?.json", "embedded"), done.stderr)


class Doctor(RealHelper):
    def test_servers_and_the_workflows_that_they_can_run(self) -> None:
        server, other = ComfyServer(), A1111Server()
        self.addCleanup(server.stop)
        self.addCleanup(other.stop)
        self.catalog(("good", "Good"), ("model", "No Model"), ("node", "No Node"), ("guide", "Wrong Guide"))
        for name, node, changes in (
            ("good", "1", {}),
            ("model", "1", {"inputs": {"ckpt_name": "lost.safetensors"}}),
            ("node", "9", {"class_type": "LostNode"}),
            ("guide", "8", {"_meta": {"title": "Quillmere Guide"}}),
        ):
            made = graph()
            made[node].update(changes)
            self.write(f"home/.quillmere/workflows/{name}.json", json.dumps(made).encode())
        self.env["QUILLMERE_A1111_URL"] = "http://127.0.0.1:1"
        workflows = ["workflow Good", "workflow No Model", "workflow No Node", "workflow Wrong Guide"]
        names = ["server ComfyUI", "server A1111-compatible", *workflows]
        for url, states in (
            (server.url, ["ok", "note", "ok", "broken", "broken", "broken"]),
            (other.url, ["broken", "note"] + ["note"] * 4),  # one server is the wrong one, not four workflows
            ("http://127.0.0.1:1", ["broken", "note"] + ["note"] * 4),
        ):
            self.env["QUILLMERE_COMFYUI_URL"] = url
            done = self.run_command("doctor", "--plugin", str(PLUGIN), "--write-dir", "write", "--json")
            found = {entry["check"]: entry for entry in json.loads(done.stdout)}
            self.assertEqual([found[name]["state"] for name in names], states, found)
            self.assertEqual(done.returncode, 1)
            for name, state in zip(names, states):
                needs = url != server.url and name in workflows
                self.assertEqual(found[name]["detail"] == "needs the server ComfyUI", needs)
                self.assertTrue(state == "ok" or needs or found[name]["remedy"] or "; " in found[name]["detail"], found[name])
            if url == server.url:
                for name, told in zip(names, ("0.3.64", "does not answer", url, "lost.safetensors", "LostNode", "loads no picture")):
                    self.assertIn(told, found[name]["detail"])
        self.assertEqual(server.submitted, [])
