"""The workflow list, kept by the command: what changes, what never does, and what is refused."""

from __future__ import annotations

import json
import os
import pathlib
import signal
import stat
import subprocess
import time

from app_case import PLUGIN, AppCase

SOUND = """echo '{"ok": true, "backend": "embedded", "problem": ""}'"""
FOREIGN = """{
\t"format":3, "workflows":[{"id":"ink","name":"Ink","tags":["a","b"]},
\t  {"id": "wash", "rank": 1.50, "name": "Wash \\u00e9"}],
\t"window": {"size": [1, 2], "title": "a {prompt} b"}
}"""


class WorkflowList(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.helper("answer", SOUND)
        (self.folder / "sea.json").write_text('{"backend": "embedded"}')
        self.manager = self.folder / "home/.quillmere"
        self.state = self.manager / "state.json"

    def foreign(self, text: str = FOREIGN) -> None:
        self.manager.mkdir(parents=True, exist_ok=True)
        self.state.write_bytes(text.encode())

    def edit(self, *arguments: str, plugin: str = "plugin") -> subprocess.CompletedProcess[str]:
        return self.run_command("workflows", *arguments, "--plugin", plugin)

    def test_a_hundred_thousand_workflows_are_listed_and_chosen_among(self) -> None:
        """Within the time that any command has: by comparing each with each it would take hours."""
        entries = [{"id": f"w{place}", "name": f"Workflow {place}"} for place in range(100_000)]
        self.foreign(json.dumps({"workflows": entries}))
        self.assertTrue(self.edit("list").stdout.rstrip().endswith("w99999.json\t(missing)"))
        chosen = self.run_command("panel", "--plugin", "plugin", "--workflow", "w99998", "--json").stdout
        self.assertIn('"value":99999', chosen)

    def edited(self, *arguments: str) -> list[tuple[str, str]]:
        """The list that a change prints."""
        done = self.edit(*arguments, "--json")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return [(entry["id"], entry["name"]) for entry in json.loads(done.stdout)]

    def kept(self) -> dict[str, bytes]:
        """What the person has; the lock is nobody's."""
        files = [file for file in (self.folder / "home").rglob("*") if file.is_file() and file.name != "state.lock"]
        return {str(file.relative_to(self.folder)): file.read_bytes() for file in files}

    def test_a_list_from_its_first_workflow_to_its_last(self) -> None:
        self.assertEqual(self.edited("add", "sea.json"), [("sea", "sea")])
        self.assertEqual(self.edited("add", "sea.json", "--id=b", "--name", "Läufe"), [("sea", "sea"), ("b", "Läufe")])
        self.assertEqual(self.edited("move", "Läufe", "1"), [("b", "Läufe"), ("sea", "sea")])
        self.assertEqual(self.edited("rename", "2", "The Sea, at night"), [("b", "Läufe"), ("sea", "The Sea, at night")])
        before = self.state.read_bytes()
        self.assertEqual(self.render("--workflow", "the sea, at night", "--quiet").returncode, 0)
        self.assertEqual(self.request()["workflow_path"], str(self.manager / "workflows/sea.json"))
        removed = self.edit("remove", "b")
        self.assertEqual((removed.returncode, removed.stderr), (0, f"quillmere: its file stays: '{self.manager}/workflows/b.json'\n"))
        self.assertIn("* 1\tThe Sea, at night\tsea\t", removed.stdout)
        self.assertEqual((self.manager / "state.json.bak").read_bytes(), before)
        self.assertEqual((self.manager / "workflows/b.json").read_bytes(), (self.folder / "sea.json").read_bytes())
        self.assertEqual(self.edited("add", str(self.manager / "workflows/b.json")), [("sea", "The Sea, at night"), ("b", "b")])
        self.assertEqual(list(self.folder.rglob("*.part")), [])

    def test_another_programs_file_keeps_every_other_byte(self) -> None:
        self.foreign()
        self.state.chmod(0o600)
        self.state.rename(self.folder / "elsewhere.json")
        self.state.symlink_to(self.folder / "elsewhere.json")
        self.assertEqual(self.edited("rename", "ink", "Tusche"), [("ink", "Tusche"), ("wash", "Wash \\u00e9")])
        self.assertEqual(self.state.read_text(), FOREIGN.replace('"Ink"', '"Tusche"'))
        self.assertEqual(self.edited("add", "sea.json"), [("ink", "Tusche"), ("wash", "Wash \\u00e9"), ("sea", "sea")])
        self.assertTrue(self.state.is_symlink())
        for file in (self.state, self.manager / "state.json.bak"):
            self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600)

    def test_the_former_list_is_taken_over_and_stays(self) -> None:
        former = self.folder / "home/.tallowcrest/state.json"
        former.parent.mkdir(parents=True)
        former.write_text(FOREIGN)
        done = self.edit("rename", "wash", "Wash")
        self.assertEqual(done.returncode, 0)
        self.assertRegex(done.stderr, f"'{former}' were taken over into '{self.state}'")
        self.assertEqual((former.read_text(), self.state.read_text()), (FOREIGN, FOREIGN.replace("Wash \\u00e9", "Wash")))
        self.assertFalse((self.manager / "state.json.bak").exists())

    def test_only_workflows_are_added_and_what_keeps_one_from_running_is_told(self) -> None:
        def answer(**told: object) -> str:
            problem = {"ok": False, "backend": "", "problem": "It is bad; really", "remedy": "mend it"}
            return "echo '" + json.dumps({**problem, **told}) + "'; exit 1"

        for script, arguments, status, errors in [
            (SOUND, [], 0, "^$"),
            (answer(backend="comfyui"), [], 0, "warning: 'sea' can be chosen, but not be rendered yet: It is bad; really\n  mend it"),
            (answer(), [], 1, "not added: It is bad; really\n  mend it"),
            ("echo oops >&2; exit 1", [], 1, "'sea.json': it cannot be checked: oops\n  add it all the same with --no-check"),
            ("", [], 1, "it cannot be checked: the helper ended without an answer"),
            ("echo oops >&2; exit 1", ["--no-check"], 0, "^$"),
        ]:
            with self.subTest(script=script, arguments=arguments):
                self.helper("", script)
                self.foreign()
                before = self.kept()
                done = self.edit("add", "sea.json", *arguments)
                self.assertEqual(done.returncode, status)
                self.assertRegex(done.stderr, errors)
                self.assertEqual(self.kept() == before, status == 1)
                (self.manager / "workflows/sea.json").unlink(missing_ok=True)

    def test_the_real_helper_tells_a_workflow_from_anything_else(self) -> None:
        self.env.update(PATH=os.environ["PATH"], QUILLMERE_COMFYUI_URL="http://127.0.0.1:1")
        graph = {"1": {"class_type": "LoadImage", "inputs": {}}}
        for content, status, errors in [
            ({"backend": "comfyui", "graph": graph}, 0, "does not answer"),
            ({"backend": "comfyui", "graph": "there.json"}, 1, "the file of its graph.*\n.*put the graph itself"),
            ({"backend": "oil"}, 1, 'not added: .*names the back end "oil"'),
        ]:
            with self.subTest(content):
                self.foreign()
                (self.folder / "there.json").write_text(json.dumps(graph))
                (self.folder / "made.json").write_text("\n" + json.dumps(content))
                done = self.edit("add", "made.json", plugin=str(PLUGIN))
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertRegex(done.stderr, errors)

    def test_what_the_list_would_lose_or_misplace_is_refused(self) -> None:
        self.foreign(FOREIGN.replace('"wash"', '"ink wash"'))
        (self.manager / "workflows").mkdir()
        (self.manager / "workflows/there.json").write_text("another")
        os.mkfifo(self.folder / "pipe.json")
        rename = [(["rename", "ink", name], 2, why) for name, why in [
            ("", "empty"), (" ", "empty"), ("a ", "ends with a blank"), ('a "b"', "double quote"), ("a\\b", "backslash"),
            ("{a}", "brace"), ("a\nb", "can't be shown"), ("\x1b[2J", "can't be shown"), ("\u202ea", "can't be shown"),
            ("None", "no workflow"), ("x" * 201, "longer than 200"), ("\udcff", "not UTF-8"),
        ]]
        identifier = [(["add", "sea.json", "--id", id], 2, why) for id, why in [
            ("", "empty"), ("..", "begins with a dot"), ("../x", "something else"), ("a/b", "something else"), ('a"', "something else"),
            ("é", "something else"), ("x" * 201, "longer than 200"),
        ]]
        for arguments, status, why in [
            *rename,
            *identifier,
            (["add", "sea.json", "--id", "Ink"], 1, "'Ink' is that of 'Ink'"),
            (["add", "sea.json", "--id", "there"], 1, "another file is where its copy belongs"),
            (["add", "sea.json", "--name", "a\tb"], 2, "can't be shown"),
            (["add", "none.json"], 1, "there is no such file"),
            (["add", "pipe.json"], 1, "it is a pipe"),
            (["add", "home"], 1, "it is a folder"),
            (["remove", "oil"], 2, "none of this name.*\n  the names: 'Ink', 'Wash"),
            (["move", "ink", "0"], 2, "place from 1 to 2"),
            (["move", "ink", "3"], 2, "place from 1 to 2"),
        ]:
            with self.subTest(arguments):
                before = self.kept()
                done = self.edit(*arguments)
                self.assertEqual((done.returncode, done.stdout), (status, ""))
                self.assertRegex(done.stderr, why)
                self.assertEqual(self.kept(), before)

    def test_hostile_lists_are_left_alone(self) -> None:
        for text, arguments, why in [
            ('{"workflows": [', ["add", "sea.json"], "no JSON in UTF-8 from byte"),
            ('[{"id": "a", "name": "A"}, {"id": "a", "name": "A"}]', ["remove", "a"], "several have this name"),
            ('[{"id": "a", "note": "}", "name": "A"}]', ["rename", "a", "B"], "reads other workflows in it than stand there"),
            ('[{"id": "{", "id": "a", "name": "A"}]', ["rename", "a", "B"], "reads other workflows in it than stand there"),
            ('["{", {"id": "a", "name": "A", "x": {}}]', ["add", "sea.json"], "a form that the effect doesn't read"),
            ('[{"note": "{", "x": {}}, "}", {"id": "a", "name": "A"}]', ["rename", "a", "B"], None),
            ('{"id": "z", "list": [{"id": "a", "name": "A"}], "name": "Z"}', ["remove", "a"], "more of this change than was asked"),
            ('{"id": "z", "name": "Z", "workflows": []}', ["add", "sea.json"], "more of this change than was asked"),
            ('{"id": "z", "name": "Z"}', ["add", "sea.json"], "no element of a list"),
        ]:
            with self.subTest(text):
                self.foreign(text)
                before = self.kept()
                done = self.edit(*arguments)
                self.assertEqual(done.returncode == 0, why is None, done.stderr)
                if why is not None:
                    self.assertRegex(done.stderr, why)
                    self.assertEqual(self.kept(), before)

    def test_changes_at_the_same_time_are_all_kept(self) -> None:
        adding = [["workflows", "add", "sea.json", "--id", f"sea{number}", "--plugin", "plugin"] for number in range(6)]
        started = [
            subprocess.Popen(self.command(*one), cwd=self.folder, env=self.env, stdout=subprocess.DEVNULL) for one in adding
        ]
        self.assertEqual([process.wait(60) for process in started], [0] * 6)
        self.assertEqual(sorted(entry["id"] for entry in json.loads(self.state.read_text())["workflows"]), [f"sea{n}" for n in range(6)])

    def test_what_another_program_writes_meanwhile_is_not_lost(self) -> None:
        self.foreign()
        self.env["TMPDIR"] = str(self.folder / "scratch")
        scratch = pathlib.Path(self.env["TMPDIR"])
        scratch.mkdir()
        for _ in range(20):  # until the change is met between its reading and its writing
            self.foreign()
            command = self.command("workflows", "rename", "ink", "Tusche", "--plugin", "plugin")
            process = subprocess.Popen(command, cwd=self.folder, env=self.env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            while process.poll() is None and not any(scratch.glob("quillmere-*")):
                time.sleep(0.0005)
            process.send_signal(signal.SIGSTOP)
            met = "Tusche" not in self.state.read_text()
            self.foreign(FOREIGN + "\n")
            process.send_signal(signal.SIGCONT)
            errors = process.communicate(timeout=30)[1]
            if met:
                break
        self.assertEqual(process.returncode, 1)
        self.assertIn(b"another program has just changed it", errors)
        self.assertEqual(self.state.read_text(), FOREIGN + "\n")


PLACES = [
    {"part": "guide", "node": "4", "title": "Load Image", "kind": "LoadImage", "input": "image", "how": "shape", "marker": "Quillmere Guide"},
    {"part": "prompt", "node": "6:2", "title": "Quillmere Prompt", "kind": "CLIPTextEncode", "input": "text", "how": "marker"},
    {"part": "seed\x1b[2J", "node": 7, "title": None, "how": "by chance"},
    "nothing",
]
RESULTS = [{"node": "9", "title": "Save", "kind": "Save", "frame": True}, {"node": "10", "title": "Depth", "frame": "true"}]
MISSING = {"nodes": ["LostNode", 1], "files": [{"node": "1", "title": "Model", "input": "ckpt_name", "value": "lost.safetensors"}]}
CHECKED = """guide     to image of node 4 "Load Image" (LoadImage)              found by the graph itself; the title "Quillmere Guide" would go before that
prompt    to text of node 6:2 "Quillmere Prompt" (CLIPTextEncode)  found by its title
seed\ufffd[2J  to                                                       by chance
result    from node 9 "Save"                                       becomes the frame
result    from node 10 "Depth"                                     kept beside it
missing   node LostNode
missing   file "lost.safetensors"                                  ckpt_name of node 1 "Model"
note: title it
"""
CONTROLS = [
    {"name": "Strength", "type": "number", "default": 0.6, "least": 0, "most": 1.5, "step": 0.05, "node": "3", "title": "Sampler", "input": "denoise"},
    {"name": "Seed", "type": "whole", "default": "frame", "least": 0, "most": 2**64 - 1, "choices": ["frame", "random"]},
    {"name": "Model", "type": "choice", "default": "m0", "choices": [f"m{number}" for number in range(300)]},
    {"name": "Tiled", "type": "switch", "default": True},
    {"name": "Extra", "type": "text", "default": "a\nb" + "c" * 60, "note": "no server"},
    {"name": "More", "type": "text", "default": "", "note": "no server"},
]
LISTED = """Strength  0.6                       a number from 0 to 1.5 in steps of 0.05                          denoise of node 3 "Sampler"
Seed      frame                     a whole number from 0 to 18446744073709551615, or frame, random
Model     m0                        one of m0, m1, m2, m3, m4, m5, m6, m7 and 292 more
Tiled     true                      true or false
Extra     a bcccccccccccccccccc...  a text
More                                a text
note: no server
"""


class WorkflowLooks(AppCase):
    def look(self, what: str, answer: object, *more: str, status: int = 0) -> subprocess.CompletedProcess[str]:
        """What the command makes of that answer; the helper sees to being asked for the right thing."""
        (self.folder / "answer.json").write_text(json.dumps(answer))
        self.helper("", f'[ "$1" = --json ] && [ "${{2%%=*}}" = --{what} ] && cat {self.folder}/answer.json; exit {status}')
        return self.run_command("workflows", what, "--plugin", "plugin", "--write-dir", "write", *(more or ["scene.glb"]))

    def test_where_everything_goes_is_told_before_a_job_is_sent(self) -> None:
        facts = {"places": PLACES, "results": RESULTS, "missing": MISSING, "notes": ["title\nit", {}]}
        good = {"ok": True, "backend": "comfyui", "server": "http://a", "version": "1", **facts}
        done = self.look("check", good)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(done.stdout, "workflow scene.glb: runs on comfyui at http://a, version 1\n" + CHECKED)
        bad = {**good, "ok": False, "problem": "It lacks nodes; many", "remedy": "install them"}
        done = self.look("check", bad, status=1)
        self.assertEqual((done.returncode, done.stdout), (1, CHECKED))
        self.assertEqual(done.stderr, "quillmere: workflow scene.glb: It lacks nodes; many\n  install them\n")
        for answer, status in ((good, 0), (bad, 1)):
            done = self.look("check", answer, "scene.glb", "--json", status=status)
            self.assertEqual((done.returncode, json.loads(done.stdout), done.stderr), (status, answer, ""))

    def test_controls_are_listed_with_what_they_take(self) -> None:
        head = {"ok": True, "backend": "comfyui", "controls": CONTROLS}
        self.assertEqual(self.look("controls", head).stdout, "workflow scene.glb: runs on comfyui\n" + LISTED)
        two = self.look("check", {"ok": True, "results": [{"node": "1"}, {"node": "2"}]}).stdout
        self.assertIn("from node 2  may become the frame", two)
        self.assertEqual(json.loads(self.look("controls", head, "scene.glb", "--json").stdout), head)
        done = self.look("controls", {**head, "controls": []})
        self.assertEqual((done.returncode, done.stdout.count("\n")), (0, 2))
        self.assertIn("no controls; docs/workflows.md", done.stdout)
        done = self.look("controls", {"ok": False, "problem": "It is bad", "remedy": "mend it", "controls": []}, status=1)
        self.assertEqual((done.stdout, done.stderr), ("", "quillmere: workflow scene.glb: It is bad\n  mend it\n"))

    def test_an_answer_that_is_none_and_a_workflow_that_is_none_are_told(self) -> None:
        self.catalog(("ink", "Ink"))
        for answer, workflow, status, why in (
            ([1], "scene.glb", 1, "workflow scene.glb: the helper ended without an answer"),
            ({"ok": False, "missing": 1, "places": {}, "notes": "x", "results": [1]}, "scene.glb", 1, "without an answer"),
            ({"ok": True, "controls": {}, "places": None, "missing": {"files": [[]], "nodes": {}}}, "Ink", 0, "^$"),
            ({}, "oil", 2, "workflow 'oil': neither in the catalog nor a file"),
            ({}, "None", 2, "it means no workflow"),
            ({}, "home", 1, "it is a folder, not a file"),
        ):
            with self.subTest(answer=answer, workflow=workflow):
                done = self.look("check", answer, workflow, status=status)
                self.assertEqual(done.returncode, status)
                self.assertRegex(done.stderr, why)
                for ended in (0, 1) if "without" in why else (1,) if status == 1 else ():
                    done = self.look("check", answer, workflow, "--json", status=ended if answer == [1] else 1)
                    self.assertEqual((done.returncode, json.loads(done.stdout)["ok"]), (1, False))
