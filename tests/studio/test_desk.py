"""The studio with a scene, as a program meets it: the panel, guides and renders, and what it refuses."""

import http.client
import json
import pathlib
import re
import shlex
import signal
import subprocess
import threading
import time
import unittest
from typing import Any

from studio_case import StudioCase, until  # first: it knows where the next is
from app_case import QUILLMERE, processes_with

ROOT = pathlib.Path(__file__).parents[2]
SLOWLY = 'tell \'"phase": "generate", "message": "Inking", "progress": 0.4\'\nsleep 60\nanswer'


class DeskCase(StudioCase):
    def desk(self, *arguments: str) -> dict:
        self.studio("scene.glb", "--plugin", "plugin", "--size", "32x24", *arguments)
        return self.told("/api/desk")["job"]

    def with_options(self, job: dict, **options: Any) -> dict:
        return {**job, "options": {**job["options"], **options}}

    def rendering(self) -> bool:
        return self.told("/api/desk")["render"]["running"]

    def begin(self, job: dict, frames: str = "current") -> None:
        self.told("/api/desk/render", {"job": job, "frames": frames})
        until(lambda: any(frame.get("message") == "Inking" for frame in self.told("/api/state")["frames"]))

    def ended(self) -> dict:
        until(lambda: not self.rendering(), 60)
        return self.told("/api/desk")["render"]["end"]


class Routes(DeskCase):
    def test_every_route_refuses_strangers_and_what_it_does_not_take(self) -> None:
        page = (ROOT / "docs/studio-protocol.md").read_text()
        routes = re.findall(r"^\| (GET|POST) `(/api/[a-z/-]*)(ID|FRAME)?", page, re.M)
        code = "".join(map(pathlib.Path.read_text, (ROOT / "host/studio").glob("*.cpp")))
        coded = re.findall(r'(?:Route::Method::|http\.)(Get|Post)[,(] ?"(/api/[^"]*)"', code)
        self.assertEqual(sorted(method + path for method, path, _ in routes), sorted(method.upper() + path for method, path in coded))
        self.desk()
        for method, path, subject in routes:
            place, body = path + ("none" if subject else ""), None if method == "GET" else "{}"
            told = {"a stranger": self.ask(place, body, X_Quillmere_Token="").status,
                    "another page": self.ask(place, body, Origin="http://evil.example").status,
                    "the other method": self.ask(place, "{}" if method == "GET" else None).status}
            if method == "POST":
                told["a form"] = self.ask(place, "a=1", Content_Type="application/x-www-form-urlencoded").status
                told["no object"] = self.ask(place, "[]").status
            if subject:
                told["no such thing"] = self.ask(place).status
            expected = {"a stranger": 401, "another page": 403, "the other method": 404, "a form": 415, "no object": 400, "no such thing": 404}
            self.assertEqual(told, {what: expected[what] for what in told}, place)


class Job(DeskCase):
    def test_it_begins_with_what_the_command_line_says(self) -> None:
        self.catalog(("ink", "Ink"))
        job = self.desk("--prompt", "fog", "--camera", "2", "--frames", "3-5", "--exposure", "1.5", "--guide", "final",
                        "--control", "wash=0.6", "--output", "o_####.png")
        self.assertEqual(job["set"], {"QUILLMERE_PROMPT": "fog", "QUILLMERE_GUIDE_MODE": "1"})
        self.assertEqual((job["frame"], job["control"]), (3, {"wash": "0.6"}))
        expected = {"camera": ["Chart"], "frames": "3-5", "size": "32x24", "exposure": 1.5, "workflow": "ink",
                    "output": str(self.folder / "o_####.png")}
        self.assertEqual({name: job["options"].get(name) for name in expected}, expected)

    def test_the_panel_follows_and_refuses_as_the_command_line_does(self) -> None:
        job = self.desk()
        told = self.told("/api/desk/panel", {"job": {**job, "set": {**job["set"], "QUILLMERE_PROMPT": "--camera=x"}, "options": {"frames": "1-5x2,9"}}})
        rows = {row["name"]: row for row in told["rows"]}
        self.assertEqual(told["frames"], [1, 3, 5, 9])
        info = self.told("/api/desk/scene", {"job": self.with_options(job, fps="12")})["info"]
        self.assertEqual((info["fps"], info["clips"][0]["last_frame"]), ("12", 12))
        self.assertEqual(rows["QUILLMERE_PROMPT"]["value"], "--camera=x")
        self.assertFalse(rows["QUILLMERE_SYSTEM_PROMPT"]["enabled"])
        for what, changed, why in [
            ("a field's limits", {**job, "set": {"QUILLMERE_HISTORY_LIMIT": "0"}}, "QUILLMERE_HISTORY_LIMIT (2011): '0'"),
            ("a size", self.with_options(job, size="0x0"), "--size"),
            ("frames", self.with_options(job, frames="5-"), "--frames"),
            ("a number", self.with_options(job, samples=0), "--samples"),
            ("a camera", self.with_options(job, camera=["None such"]), "camera 'None such'"),
            ("two that exclude each other", self.with_options(job, camera=["Pier"], view="1,2"), "--view"),
        ]:
            with self.subTest(what):
                response = self.ask("/api/desk/panel", {"job": changed})
                self.assertEqual(response.status, 422)
                self.assertIn(why, json.loads(response.read())["error"])
        self.catalog(("new", "New"))
        menu = {row["name"]: row for row in self.told("/api/desk/panel", {"job": job})["rows"]}["QUILLMERE_WORKFLOW"]["choices"]
        self.assertEqual([choice["text"] for choice in menu], ["None", "New"])

    def test_what_a_page_may_not_send(self) -> None:
        job = self.desk()
        secret = self.folder / "secret.json"
        secret.write_text("not theirs")
        for what, status, path, body in [
            ("no job", 400, "panel", {}),
            ("another scene", 404, "panel", {"job": {**job, "scene": "/etc/passwd"}}),
            ("an option that isn't the page's", 400, "render", {"job": self.with_options(job, plugin="/tmp")}),
            ("another option's name in an option's", 400, "render", {"job": self.with_options(job, **{"size=1x1 --log": "x"})}),
            ("where the program writes", 400, "render", {"job": self.with_options(job, **{"write-dir": "/tmp/x"})}),
            ("a picture by its path", 404, "render", {"job": self.with_options(job, style=str(secret))}),
            ("a value of another kind", 400, "panel", {"job": self.with_options(job, size={"a": 1})}),
            ("a zero byte", 400, "panel", {"job": {**job, "set": {"QUILLMERE_PROMPT": "a\0b"}}}),
            ("more than a command line holds", 413, "panel", {"job": {**job, "set": {"QUILLMERE_PROMPT": "x" * 200_000}}}),
            ("nothing to load", 400, "load", {"job": job}),
            ("what isn't settings", 422, "load", {"job": job, "file": str(secret)}),
            ("a file that isn't theirs to replace", 422, "save", {"job": job, "file": str(secret)}),
            ("a picture that nobody knows", 404, "load", {"like": "0" * 16}),
            ("no render to break", 409, "break", {}),
            ("an option for a workflow", 422, "controls", {"workflow": "--plugin=/tmp"}),
        ]:
            with self.subTest(what):
                response = self.ask("/api/desk/" + path, body)
                self.assertEqual(response.status, status, response.read())
        self.assertEqual(secret.read_text(), "not theirs")
        for path in ("panel", "scene", "controls", "guide", "cameras", "render", "break", "load", "save", "command"):
            for status, headers in [(401, {"X_Quillmere_Token": ""}), (403, {"Origin": "http://evil.example"}),
                                    (403, {"Host": "evil.example"}), (415, {"Content_Type": "text/plain"})]:
                response = self.ask("/api/desk/" + path, {"job": job}, **headers)
                self.assertEqual(response.status, status, (path, headers, response.read()))

    def test_without_a_scene_there_is_no_desk(self) -> None:
        self.studio()
        self.assertIsNone(self.told("/api/desk")["job"])
        self.assertEqual(self.ask("/api/desk/render", {"job": {"scene": "scene.glb"}}).status, 404)

    def test_what_render_would_refuse_ends_the_studio(self) -> None:
        for arguments, why in [(["scene.glb", "--camera", "x"], "camera 'x'"), (["scene.glb", "--quiet"], "--quiet"), (["--prompt", "fog"], "no scene")]:
            done = self.run_command("studio", "--write-dir", "write", *arguments)
            self.assertNotEqual(done.returncode, 0)
            self.assertIn(why, done.stderr)

    def test_settings_and_jobs_are_kept_loaded_and_copied(self) -> None:
        job = self.desk("--prompt", "it's \"fog\"", "--frames", "1-2", "--output", "o_####.png", "--style", "")
        for kind in ("settings", "job"):
            saved = self.told("/api/desk/save", {"job": job, "as": kind, "file": f"{kind}.json"})["file"]
            self.assertEqual(json.loads(pathlib.Path(saved).read_text())["format"], f"quillmere {kind}")
            changed = {**job, "set": {}}
            for how in ({"file": saved}, {"content": json.loads(pathlib.Path(saved).read_text())}):
                loaded = self.told("/api/desk/load", {"job": changed, **how})["job"]
                self.assertEqual((loaded["set"], loaded["options"]["frames"]), (job["set"], "1-2"))
        line = self.told("/api/desk/command", {"job": job, "frames": "all"})["command"]
        words = shlex.split(line)
        self.assertEqual((words[:2], words[words.index("--style") + 1]), (["quillmere", "render"], ""))
        done = subprocess.run([QUILLMERE, *words[1:], "--dry-run", "--json"], env=self.env, cwd="/", capture_output=True, encoding="utf-8")
        start = json.loads(done.stdout.splitlines()[0])
        self.assertEqual((start["settings"]["parameters"]["QUILLMERE_PROMPT"], start["frames"]), ("it's \"fog\"", "1-2"))

    def test_a_pictures_settings_are_taken_as_like_does(self) -> None:
        workflow = self.folder / "plugin" / "python" / "workflows" / "ink_wash.json"
        made = self.picture("a.png", scene=str(self.folder / "scene.glb"), camera="Chart", frame=4, width=64, height=36, prompt="rain",
                            system_prompt="Draw.", workflow_path=str(workflow), seed=5, guide_mode="final", controls={"wash": 0.5})
        self.entry("scene.glb", 4, made)
        self.desk("--prompt", "sun")
        job = self.told("/api/desk/load", {"like": self.told("/api/history")["entries"][0]["id"]})["job"]
        prompts = {"QUILLMERE_UNLOCK_SYSTEM_PROMPT": "true", "QUILLMERE_SYSTEM_PROMPT": "Draw.", "QUILLMERE_PROMPT": "rain"}
        self.assertEqual((job["frame"], job["set"], job["control"]),
                         (4, {**prompts, "QUILLMERE_GUIDE_MODE": "1"}, {"wash": "0.5"}))
        taken = {name: job["options"][name] for name in ("camera", "size", "seed", "workflow")}
        self.assertEqual(taken, {"camera": ["Chart"], "size": "64x36", "seed": "5", "workflow": str(workflow)})


class Guides(DeskCase):
    def test_the_newest_wish_wins_and_nothing_is_drawn_twice(self) -> None:
        job = self.desk("--guide", "final")
        card = self.told("/api/desk/guide", {"job": job, "longest": 16})["picture"]
        self.assertEqual(self.ask(f"/api/picture/{card['id']}").read()[:4], b"\x89PNG")
        self.assertEqual(self.told("/api/desk/guide", {"job": job, "longest": 16})["picture"], card)
        slow = self.with_options(job, size="1920x1080", samples=5000)
        refused: list[int] = []
        older = threading.Thread(target=lambda: refused.append(self.ask("/api/desk/guide", {"job": slow}).status))
        older.start()
        until(lambda: len(processes_with(self.folder.name)) > 1)
        self.told("/api/desk/guide", {"job": {**job, "frame": 9}, "longest": 16})
        older.join()
        self.assertEqual(refused, [409])

    def test_each_camera_has_a_picture(self) -> None:
        job = self.desk()
        names = [camera["name"] for camera in self.told("/api/desk/scene", {"job": job})["info"]["cameras"]]
        cards = self.told("/api/desk/cameras", {"job": job, "names": names})["cameras"]
        self.assertEqual([card["name"] for card in cards], ["Pier", "Chart"])
        self.assertEqual(len({card["picture"]["id"] for card in cards}), 2)


class Render(DeskCase):
    def test_a_sequence_is_rendered_and_told(self) -> None:
        job = self.desk("--frames", "1-3", "--output", "o_####.png", "--jobs", "1")
        events = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        self.addCleanup(events.close)
        events.request("GET", "/api/events", headers={"X-Quillmere-Token": self.token})
        stream = events.getresponse()
        self.told("/api/desk/render", {"job": job, "frames": "all"})
        self.assertEqual(self.ask("/api/desk/render", {"job": job}).status, 409)
        seen = []
        while "end" not in seen:
            if stream.readline() == b"event: render\n":
                seen.append(json.loads(stream.readline()[6:])["event"])
        self.assertEqual((seen[0], seen.count("frame")), ("start", 3))
        self.assertEqual(self.ended()["done"], 3)
        self.assertEqual(sorted(file.name for file in self.folder.glob("o_*.png")), ["o_0001.png", "o_0002.png", "o_0003.png"])
        self.told("/api/desk/render", {"job": {**job, "frame": 7}})
        self.assertEqual(self.ended()["done"], 1)
        self.assertTrue((self.folder / "o_0007.png").exists())

    def test_a_break_stops_in_order(self) -> None:
        job = self.desk("--frames", "1-3", "--output", "o_####.png")
        self.helper(SLOWLY)
        self.begin(job, "all")
        self.told("/api/desk/break", {})
        end = self.ended()
        self.assertEqual((end["status"], end["left"]), (130, 3))

    def test_the_studio_ends_its_render_in_order(self) -> None:
        job = self.desk("--output", "o.png")
        self.helper(SLOWLY)
        self.begin(job)
        self.process.send_signal(signal.SIGINT)
        self.assertEqual(self.process.wait(20), 0)
        until(lambda: not processes_with(self.folder.name))

    def test_no_render_outlives_a_studio_that_was_killed(self) -> None:
        job = self.desk("--output", "o.png")
        self.helper(SLOWLY)
        self.begin(job)
        time.sleep(1)  # all that it says has been said
        self.process.kill()
        self.process.wait()
        until(lambda: not processes_with(self.folder.name))

    def test_json_prints_the_events_that_render_does(self) -> None:
        command = [QUILLMERE, "studio", "scene.glb", "--write-dir", "write", "--plugin", "plugin", "--size", "32x24", "--json", "--output", "o.png"]
        self.process = subprocess.Popen(command, cwd=self.folder, env=self.env, stdout=subprocess.PIPE, encoding="utf-8")
        self.addCleanup(self.process.stdout.close)
        self.addCleanup(self.process.wait)
        self.addCleanup(self.process.kill)
        self.entered(json.loads(self.process.stdout.readline())["address"])
        self.told("/api/desk/render", {"job": self.told("/api/desk")["job"]})
        printed = [json.loads(self.process.stdout.readline())["event"]]
        while printed[-1] != "end":
            printed.append(json.loads(self.process.stdout.readline())["event"])
        self.assertEqual((printed[0], printed.count("frame")), ("start", 1))

    def test_a_render_that_cannot_begin_says_why(self) -> None:
        job = self.desk("--output", "no/such/folder/o.png")
        (self.folder / "no").write_text("in the way")
        self.told("/api/desk/render", {"job": job})
        end = self.ended()
        self.assertNotEqual(end["status"], 0)
        self.assertTrue(end["error"])


if __name__ == "__main__":
    unittest.main()
