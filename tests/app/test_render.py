"""Whole renders with scripted helpers: files, events, parameters, what a failing frame leaves behind."""

import fcntl
import json
import os
import re
import shutil
import socket
import subprocess
import sys
import unittest.mock

from app_case import AppCase


def picture(path) -> dict:
    """Header of a PNG."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", path
    return {"size": (int.from_bytes(data[16:20], "big"), int.from_bytes(data[20:24], "big")), "depth": data[24], "kind": data[25]}


class Render(AppCase):
    def test_json_tells_what_the_host_is_told_in_order(self) -> None:
        self.catalog(("flux", "FLUX.2 Dev"))
        self.helper("echo noise; echo noise >&2; say Inking; sleep 0.3; answer")
        events = self.events("--output", "a_####.png", "--frames", "7", "--prompt", "fog", "--prefix", "shot")
        frame = events[-2]
        texts = [event["text"] for event in events if event["event"] == "status-text"]
        self.assertEqual(texts[0], "Rendering guide from camera: Pier (Quick Shading)")
        self.assertEqual(texts[-2:], ["Inking", "Render complete"])
        self.assertEqual([event["event"] for event in events[-4:]], ["status-bar", "command", "frame", "end"])
        self.assertEqual((events[-4]["value"], events[-3]["id"]), (1.0, 1060501))
        self.assertEqual((frame["frame"], frame["result"], frame["output"]), (7, 0, "a_0007.png"))
        self.assertGreater(frame["seconds"], 0.3)

    def test_json_tells_how_far_the_helper_is(self) -> None:
        folder = self.folder / "write/quillmere/c4d/runtime"
        told = {"phase": "render", "message": "Sampling (40 %)", "progress": 0.4, "step": 8, "steps": 20, "seconds_left": 30.5, "ahead": 0}
        told["preview"] = str(folder / "preview_3.jpg")
        (self.folder / "told.json").write_text(json.dumps(told))
        self.helper(f"""[ "$QUILLMERE_PREVIEWS" = 1 ] || exit 1
echo > {folder}/preview_3.jpg; ln -s /etc/passwd {folder}/preview_3.png; echo > {folder}/preview_4.jpg
cp {self.folder}/told.json $(field status_path).new; mv $(field status_path).new $(field status_path); sleep 0.4; exit 1""")
        progress = [event for event in self.events("--frames", "3") if event["event"] == "progress"]
        self.assertEqual({**progress[-1], "time": 0}, {"event": "progress", "time": 0, "frame": 3, **told})
        self.assertEqual([file.name for file in folder.glob("preview*")], ["preview_4.jpg"], "what a frame's helper has left goes")
        self.helper('[ -z "$QUILLMERE_PREVIEWS" ] && answer')
        self.assertEqual(self.render("--quiet").returncode, 0)

    def test_the_frame_event_holds_every_parameter_in_its_type(self) -> None:
        self.catalog(("ink", "Ink"), ("flux", "FLUX.2 Dev"))
        more = ["--camera", "Chart", "--no-history", "--no-preview", "--guide", "final", "--set", "2004=later", "--set", "QUILLMERE_HISTORY_LIMIT=5"]
        parameters = self.events("--system-prompt", "Draw.", "--prompt", "fog", "--output-dir", "pictures", "--prefix", "p", *more)[-2]["parameters"]
        runs = str(self.folder / "pictures")
        expected = {
            "2000": True, "2001": "Draw.", "2002": 2, "2003": "fog", "2004": "later", "2005": "Chart", "2006": 1,
            "2007": str(self.folder / "home/.quillmere/workflows/flux.json"), "2008": "flux", "2009": runs, "2010": "p",
            "2011": 5, "2012": False, "2013": False, "2014": runs + "/picture.png", "2015": "Render complete",
        }  # fmt: skip
        self.assertEqual(parameters, expected)
        self.assertFalse((self.folder / "write/quillmere/c4d/history").exists())

    def test_a_workflow_is_found_by_name_id_or_file(self) -> None:
        self.catalog(("ink", "Ink"), ("flux", "FLUX.2 Dev"))
        (self.folder / "own.json").write_text("{}")
        kept = {"QUILLMERE_WORKFLOW": 7, "QUILLMERE_WORKFLOW_ID": "ink", "QUILLMERE_WORKFLOW_PATH": "/gone/ink.json"}
        (self.folder / "moved.json").write_text(json.dumps({"format": "quillmere settings", "version": 1, "parameters": kept}))
        home = str(self.folder / "home/.quillmere/workflows")
        rows = [
            (["--workflow", "ink"], 1, "ink", f"{home}/ink.json"),
            (["--workflow", "flux.2 dev"], 2, "flux", f"{home}/flux.json"),
            (["--set", "QUILLMERE_WORKFLOW=Ink"], 1, "ink", f"{home}/ink.json"),
            (["--workflow", "own.json"], 0, "", str(self.folder / "own.json")),
            (["--settings", "moved.json"], 1, "ink", f"{home}/ink.json"),  # from where it stood elsewhere
            (["--workflow", "None"], 0, "", ""),
            ([], 2, "flux", f"{home}/flux.json"),
        ]
        for arguments, number, identifier, path in rows:
            with self.subTest(arguments):
                frame = self.events(*arguments)[-2]
                chosen = [frame["parameters"][key] for key in ("2002", "2008", "2007")]
                self.assertEqual((chosen, frame["result"]), ([number, identifier, path], 0))

    def test_an_empty_catalog_means_the_example_and_says_so(self) -> None:
        done = self.render()
        self.assertIn("the workflow catalog is empty", done.stderr)
        self.assertEqual(self.request()["workflow_path"], str(self.folder / "plugin/python/workflows/ink_wash.json"))
        (self.folder / "plugin/python/workflows/ink_wash.json").unlink()
        done = self.render()
        self.assertEqual(done.returncode, 1)
        self.assertIn("--workflow", done.stderr)

    def test_the_ending_chooses_the_format(self) -> None:
        for name, depth in [("a.png", 8), ("a.16.png", 16)]:
            with self.subTest(name):
                self.assertEqual(self.render("--output", f"made/for/{name}").returncode, 0)
                self.assertEqual(picture(self.folder / "made/for" / name), {"size": (32, 24), "depth": depth, "kind": 2})
        self.assertEqual(self.render("--output", "a.exr").returncode, 0)
        self.assertEqual((self.folder / "a.exr").read_bytes()[:4], b"\x76\x2f\x31\x01")

    def test_several_frames_get_files_of_their_own(self) -> None:
        done = self.render("--frames", "-1-1x2", "--output", "still.png")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(sorted(file.name for file in self.folder.glob("still*.png")), ["still_-0001.png", "still_0001.png"])
        self.assertEqual(re.findall(r"output +(\S+)", done.stdout), ["still_-0001.png", "still_0001.png"])
        self.assertRegex(done.stdout, "guide +.*/reference_1.png\n +picture +.*/picture.png")
        done = self.render("--frames", "1-2", "--camera", "Chart", "--camera", "1", "--output", "f##/{camera}.png")
        self.assertEqual(done.returncode, 0, done.stderr)
        files = [f"f{frame}/{camera}.png" for camera in ("Chart", "Pier") for frame in ("01", "02")]
        self.assertEqual(re.findall(r"output +(\S+)", done.stdout), files)
        self.assertEqual(len({(self.folder / file).read_bytes() for file in files}), 4)

    def test_a_failed_frame_leaves_no_file_and_the_others_go_on(self) -> None:
        self.helper("case $request in *_1.json) printf '{\"ok\": false, \"error\": \"no ink left\"}' > $response; exit 1;; esac; answer")
        done = self.render("--frames", "0-2", "--quiet")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("quillmere: frame 1: no ink left\n", done.stderr)
        self.assertEqual(sorted(file.name for file in self.folder.glob("render*.png")), ["render_0000.png", "render_0002.png"])
        frames = [event for event in self.events("--frames", "1-2") if event["event"] == "frame"]
        self.assertEqual([(frame["result"], frame["output"]) for frame in frames], [(11, None), (0, "render_0002.png")])

    def test_a_picture_that_cannot_be_written_fails_its_frame(self) -> None:
        self.helper("mkdir render_0000.png; answer")  # behind the back of the check before the first frame
        done = self.render("--quiet")
        self.assertEqual(done.returncode, 1)
        self.assertIn("frame 0: ", done.stderr)

    def test_a_picture_that_the_effect_cannot_take_fails_its_frame(self) -> None:
        (self.folder / "torn.png").write_bytes(b"\x89PNG\r\n\x1a\n")
        for picture, reason in [("gone.png", "no such file"), ("torn.png", "torn.png"), (".", "not a regular file")]:
            with self.subTest(picture):
                self.helper(f'printf \'{{"ok": true, "first_output": "{self.folder / picture}"}}\' > "$response"')
                done = self.render()
                self.assertEqual(done.returncode, 1)
                self.assertRegex(done.stderr, f"frame 0: the helper's picture is not in the frame: .*{reason}")
                self.assertEqual(sorted(self.folder.glob("render_*")), [])
        self.helper('printf \'{"ok": true}\' > "$response"')
        done = self.render("--frames", "0-1")  # the second one could pass an earlier picture off as its own
        self.assertEqual((done.returncode, done.stderr.count("says that all went well, but names no picture;")), (1, 4), done.stderr)  # the summary again
        self.assertEqual(sorted(self.folder.glob("render_*")), [])
        self.helper("exit 1")
        self.assertIn("frame 7: Quillmere render failed; 'quillmere doctor' tells", self.render("--frames", "7").stderr)

    def test_texts_from_outside_cannot_steer_the_terminal_or_break_the_json(self) -> None:
        self.helper("printf '{\"message\": \"a\\033]0;b\\007\\377\"}' > $(field status_path); sleep 0.3; answer")
        self.assertNotRegex(self.render().stderr, "[\x1b\x07]")
        texts = [event.get("text") for event in self.events()]
        self.assertIn("a\x1b]0;b\x07\ufffd", texts)

    def test_a_prompt_file_is_taken_without_byte_order_mark_and_last_line_break(self) -> None:
        (self.folder / "prompt.txt").write_text("a harbour\nat dawn — ümlaut\n\n", encoding="utf-8-sig")
        self.render("--prompt-file", "prompt.txt")
        self.assertTrue(self.request()["effective_prompt"].endswith(". a harbour\nat dawn — ümlaut"))

    def test_texts_that_the_host_cannot_keep_are_refused(self) -> None:
        (self.folder / "latin").write_bytes(b"caf\xe9")
        (self.folder / "nul").write_bytes(b"a\0b")
        (self.folder / "long").write_bytes(b"a" * (1 << 20) + b"a")
        for arguments, reason in [
            (["--prompt-file", "latin"], "prompt file 'latin': its text is not UTF-8"),
            (["--prompt-file", "nul"], "prompt file 'nul': .*NUL"),
            (["--prompt-file", "long"], "prompt file 'long': it is larger than 1 MiB"),
            (["--prompt", "caf\udce9"], "QUILLMERE_PROMPT .2003.: .*UTF-8"),
            (["--output-dir", "caf\udce9"], "QUILLMERE_OUTPUT_DIRECTORY .2009.: .*UTF-8"),
            (["--write-dir", "caf\udce9"], "write directory .*UTF-8"),
        ]:
            with self.subTest(arguments):
                done = self.run_command("render", "scene.glb", "--plugin", "plugin", *arguments)
                self.assertEqual(done.returncode, 2)
                self.assertRegex(done.stderr, reason)
        self.assertEqual(self.run_command("guide", "scene.glb", "-o", "caf\udce9.png").returncode, 2)

    def put(self, kind: str, name: str) -> None:
        """Something else than a file of that name, and of what the effect would wait for."""
        place = self.folder / name
        place.parent.mkdir(parents=True, exist_ok=True)
        if kind == "folder":
            place.mkdir()
        elif kind == "device":
            place.symlink_to("/dev/zero")
        elif kind == "socket":
            with socket.socket(socket.AF_UNIX) as unix:
                unix.bind(str(place))
        else:
            os.mkfifo(place)

    def test_what_is_no_file_is_named_and_never_waited_for(self) -> None:
        runtime, history = "write/quillmere/c4d/runtime", "write/quillmere/c4d/history/untitled"
        one_frame, every_frame, no_command = "one frame", "every frame", "no command at all"
        for kind, name, keeps_from in [
            ("pipe", f"{runtime}/status_0.json", one_frame),
            ("socket", f"{runtime}/response_0.json", one_frame),
            ("device", f"{runtime}/request_0.json", one_frame),
            ("folder", f"{runtime}/status_0.json", one_frame),
            ("pipe", f"{runtime}/reference_0.png", one_frame),
            ("pipe", f"{runtime}/render_view_state.json", every_frame),
            ("pipe", f"{history}/quillmere_f0.json", every_frame),
            ("pipe", "home/.quillmere/workflows/ink.json", every_frame),
            ("device", "home/.quillmere/state.json", no_command),
            ("folder", "home/.quillmere/state.json", no_command),
            ("pipe", "home/.tallowcrest/state.json", no_command),
        ]:
            with self.subTest(kind=kind, name=name):
                for used in ("write", "home"):
                    shutil.rmtree(self.folder / used, ignore_errors=True)
                if keeps_from != no_command:
                    self.catalog(("ink", "Ink"))
                (self.folder / name).unlink(missing_ok=True)
                self.put(kind, name)
                done = self.render("--frames", "0-1", "--quiet")
                self.assertEqual((done.returncode, done.stdout), (2 if "ink" in name else 1, ""))
                why = f"'{self.folder / name}': it is a {kind}, not a file"
                self.assertEqual(done.stderr.count(why), 1, done.stderr)
                self.assertIn("move it away", done.stderr)
                rendered = [str(file.name) for file in self.folder.glob("render_*")]
                self.assertEqual(rendered, ["render_0001.png"] if keeps_from == one_frame else [])
                if rendered:
                    (self.folder / "render_0001.png").unlink()
                told = self.run_command("doctor", "--plugin", "plugin", "--write-dir", "write", "--json")
                broken = [check for check in json.loads(told.stdout) if check["state"] == "broken" and why in check["detail"]]
                self.assertEqual([check["remedy"] for check in broken], ["move it away"], told.stdout)
                listing = self.run_command("workflows", "--plugin", "plugin")
                self.assertEqual((listing.returncode, why in listing.stderr), (1, True) if keeps_from == no_command else (0, False))

    def test_what_would_fail_every_frame_is_told_before_the_first(self) -> None:
        self.catalog(("ink", "Ink"), ("gone", "Gone"))
        (self.folder / "home/.quillmere/workflows/gone.json").unlink()
        (self.folder / "a_0002.png").mkdir()
        no_server = """echo '{"ok": false, "backend": "b", "problem": "no server at http://a", "remedy": "start it"}'; exit 1"""
        no_answer = "echo oops >&2; exit 1"  # of a helper of another make
        for looks, arguments, status, error in [
            (no_server, [], 2, "quillmere: workflow '.*/ink.json': no server at http://a\n  start it\n$"),
            (no_server, ["--workflow", "None"], 0, "^$"),
            (no_answer, [], 0, "^$"),
            ("exit", ["--workflow", "Gone"], 2, "workflow '.*/gone.json': '.*/gone.json' is missing\n"),
            ("exit", ["--frames", "1-2", "-o", "a_####.png"], 2, "output file 'a_0002.png': it is a folder"),
            ("exit", ["-o", "scene.glb/%04d.png"], 2, "output folder 'scene.glb': '.*/scene.glb' is no folder"),
            ("exit", ["--output-dir", "scene.glb/x"], 2, "folder of the pictures .*: .*scene.glb. is no folder"),
        ]:
            with self.subTest(arguments):
                self.helper("answer; echo made >&2", looks)
                done = self.render("--quiet", *arguments)
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertRegex(done.stderr.replace("made\n", ""), error)
                self.assertEqual("made" in done.stderr, status == 0 and not arguments)
        self.assertEqual(sorted(file.name for file in self.folder.glob("home/.quillmere/workflows/*")), ["ink.json"])

    def test_a_result_that_is_no_file_is_not_waited_for(self) -> None:
        self.helper("answer; rm $(field output_dir)/picture.png; mkfifo $(field output_dir)/picture.png")
        done = self.render("--quiet")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, "picture.png': it is not a regular file")

    def test_two_renders_do_not_share_exchange_files(self) -> None:
        self.render()
        with open(self.folder / "write/quillmere/c4d/render.lock", "r+") as lock:
            fcntl.flock(lock, fcntl.LOCK_SH)  # enough to keep out one that wants it alone
            done = self.render()
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, "another render.*\n.*--write-dir")
        self.assertEqual(self.render().returncode, 0)

    def test_what_a_helper_leaves_running_serves_every_frame_until_one_fails_or_the_run_ends(self) -> None:
        keep = """served=$(field output_dir)/served
if ! kill -0 $(cat $served/process); then
  mkdir -p $served
  setsid sleep 60 >&- 2>&- & echo $! > $served/process; echo >> $served/starts
fi
"""
        for fault, status, starts in (("", 0, 1), ("case $1 in *_1.json) exit 1;; esac\n", 1, 2)):
            with self.subTest(fault):
                self.helper(keep + fault + "answer")
                folder = f"pictures{starts}"
                done = self.render("--frames", "0-2", "--output-dir", folder)
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertEqual((self.folder / folder / "served/starts").read_text(), "\n" * starts)
                self.assert_nothing_left()

    def test_a_reader_that_goes_away_ends_the_render(self) -> None:
        self.helper("sleep 0.2; answer")
        for style in [["--json"], []]:
            with self.subTest(style):
                process = self.start("--frames", "0-500", *style, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                process.stdout.readline()
                process.stdout.close()
                _, errors = process.communicate(timeout=30)
                self.assertEqual(process.returncode, 1)
                self.assertIn(b"standard output", errors)
                self.assert_nothing_left()

    def test_the_guide_is_the_one_that_the_effect_leaves(self) -> None:
        guides = set()
        for mode, camera, frame in [("quick", "Pier", "0"), ("quick", "Pier", "20"), ("quick", "Chart", "20"), ("final", "Chart", "20")]:
            with self.subTest(mode=mode, camera=camera, frame=frame):
                view = ["--camera", camera, "--guide", mode, "--size", "64x40"]
                self.assertEqual(self.run_command("guide", "scene.glb", "-o", "g.png", "--frame", frame, *view).returncode, 0)
                rendered = self.render("--frames", frame, *view)
                self.assertEqual(rendered.returncode, 0, rendered.stderr)
                guide = (self.folder / "g.png").read_bytes()
                self.assertEqual(guide, (self.folder / f"write/quillmere/c4d/runtime/reference_{frame}.png").read_bytes())
                guides.add(guide)
        self.assertEqual(len(guides), 4, "mode, camera and moment each change the picture")


class Doctor(AppCase):
    def test_each_broken_thing_is_named_with_its_remedy(self) -> None:
        self.catalog(("ink", "Ink"), ("gone", "Gone"))
        (self.folder / "home/.quillmere/workflows/gone.json").unlink()
        self.helper("", "case $2 in */ink.json) echo '{\"ok\": false, \"problem\": \"start the service\"}'; exit 1;; esac")
        done = self.run_command("doctor", "--plugin", "plugin", "--write-dir", "/proc/none", "--json")
        self.assertEqual(done.returncode, 1)
        states = {check["check"]: (check["state"], check["detail"]) for check in json.loads(done.stdout)}
        self.assertEqual(states["module"][0], "ok")
        self.assertEqual(states["catalog"], ("ok", "2 workflows"))
        self.assertEqual(states["write directory"][0], "broken")
        self.assertEqual(states["workflow Ink"], ("broken", "start the service"))
        self.assertIn("missing", states["workflow Gone"][1])

    def test_one_render_is_asked_about_by_itself(self) -> None:
        self.catalog(("ink", "Ink"), ("bad", "Bad"))
        self.helper("", """case $2 in */bad.json) echo '{"ok": false, "problem": "start it"}'; exit 1;; esac; echo '{"ok": true, "backend": "b"}'""")
        (self.folder / "broken.glb").write_text("x")
        for arguments, status, found in [
            (["--workflow", "Ink", "--scene", "scene.glb"], 0, {"workflow Ink": "ok", "scene": "ok"}),  # whatever is wrong with others
            (["--workflow", "Bad"], 1, {"workflow Bad": "broken"}),
            (["--scene", "scene.glb"], 0, {"scene": "ok"}),
            (["--workflow", "Ink", "--scene", "broken.glb"], 1, {"workflow Ink": "ok", "scene": "broken"}),
            (["--workflow", "Inc"], 1, {"workflow": "broken"}),
        ]:
            with self.subTest(arguments):
                done = self.run_command("doctor", "--plugin", "plugin", "--write-dir", "write", "--json", *arguments)
                self.assertEqual(done.returncode, status, done.stdout)
                told = {check["check"]: check["state"] for check in json.loads(done.stdout)}
                self.assertEqual({name: told.get(name) for name in found}, found)
                self.assertFalse({"catalog", "servers"} & set(told))

    def test_a_python_that_does_not_start_is_named_with_what_keeps_it(self) -> None:
        self.env["PATH"] = os.environ["PATH"]
        for variables, detail, remedy in [
            ({"PYTHONHOME": "/nowhere"}, "PYTHONHOME '/nowhere'", "unset PYTHONHOME"),
            ({"PATH": f"{self.folder}/stub:{self.env['PATH']}"}, "it does not start: install me", "before this one"),
            ({"PATH": "/nowhere"}, "No such file", "install Python"),
        ]:
            with self.subTest(variables), unittest.mock.patch.dict(self.env, variables):
                (self.folder / "stub").mkdir(exist_ok=True)
                (self.folder / "stub/python3").write_text("#!/bin/sh\necho install me >&2\nexit 1\n")
                (self.folder / "stub/python3").chmod(0o755)
                done = self.run_command("doctor", "--plugin", "plugin", "--write-dir", "write", "--json")
                found = next(check for check in json.loads(done.stdout) if check["check"] == "python3")
                self.assertEqual(found["state"], "broken")
                self.assertIn(detail, found["detail"])
                self.assertIn(remedy, found["remedy"])

    def test_what_the_shell_does_with_the_helper_is_tried(self) -> None:
        under = ["unshare", "-rm", "bash", "-c", 'mount --bind "$0" "$(readlink -f /bin/sh)" && exec "$@"']
        tried = subprocess.run(["/bin/sh", "-c", f"{sys.executable} -c 'import os; print(os.getppid())'"], capture_output=True).stdout
        shells = [(["env"], "ok", "becomes" if int(tried) == os.getpid() else "stays between")]
        if subprocess.run([*under, "/bin/bash", "true"], capture_output=True).returncode == 0:
            shells += [([*under, "/bin/bash"], "ok", "becomes"), ([*under, "/bin/false"], "broken", "does not run")]
        for shell, state, detail in shells:
            with self.subTest(shell[-1]):
                doctor = [*shell, *self.command("doctor", "--plugin", "plugin", "--write-dir", "write", "--json")]
                done = subprocess.run(doctor, cwd=self.folder, env=self.env, capture_output=True, timeout=60)
                found = next(check for check in json.loads(done.stdout) if check["check"] == "shell")
                self.assertEqual(found["state"], state)
                self.assertRegex(found["detail"], detail)

    def test_the_real_helper_passes_or_says_what_to_install(self) -> None:
        self.env["PATH"] = os.environ["PATH"]
        done = self.run_command("doctor", "--write-dir", "write")
        self.assertRegex(done.stdout, "ok +python3|broken +python3")
        self.assertRegex(done.stdout, "ok +workflow example|broken +workflow example: .*[Pp]illow")
