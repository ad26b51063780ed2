"""Many frames: what is kept of an earlier render, what a failure does to the others, frames in flight side by side."""

import json
import os
import pathlib
import shlex
import shutil
import signal
import subprocess
import time

from app_case import AppCase

# Leaves what the helper keeps in its pictures: the host's own facts.
WITH_RECORD = """frame=$(sed -n 's/^  "frame": \\([-0-9]*\\).*/\\1/p' "$request")
mkdir -p "$(field output_dir)"
picture="$(field output_dir)/picture_$frame.png"
record() { printf '{"helper_version": "test", "frame": %s,' "$frame"; sed 1d "$QUILLMERE_PROVENANCE_FILE"; }
succeed() {
  cp "$(field reference_image)" "$picture" && record > "$picture.json"
  printf '{"ok": true, "first_output": "%s"}' "$picture" > "$response"
}
fail() { tell "\\"message\\": \\"Asking\\", \\"failure\\": \\"$1\\""; printf '{"ok": false, "error": "no luck"}' > "$response"; exit 1; }
"""


class SequenceCase(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.helper("succeed")
        (self.folder / "ink.json").write_text("{}")

    def helper(self, script: str, looks: str = "exit") -> None:
        super().helper(WITH_RECORD + script, looks)

    def render_arguments(self, *more: str) -> list[str]:
        return super().render_arguments("--workflow", "ink.json", "-o", "shot/a_####.png", *more)

    def states(self, events: list[dict]) -> dict[int, str]:
        return {event["frame"]: event["state"] for event in events if event["event"] == "frame"}


class Resume(SequenceCase):
    def test_what_nothing_has_changed_about_is_kept_and_anything_else_is_rendered_and_why(self) -> None:
        def content(name: str, change):
            file = self.folder / name
            return lambda: file.write_bytes(change(file.read_bytes()))

        shutil.copy(self.folder / "scene.glb", self.folder / "other.glb")
        picture = self.folder / "shot/a_0001.png"
        rows = [
            ("nothing", [], None, ""),
            ("only the time stamps", [], lambda: [os.utime(self.folder / name) for name in ("scene.glb", "ink.json")], ""),
            ("the scene", [], content("scene.glb", lambda old: old.replace(b"Sail", b"Wail")), "scene"),
            ("the workflow", [], content("ink.json", lambda old: b'{"steps": 4}'), "workflow"),
            ("the camera", ["--camera", "Chart"], None, "camera"),
            ("the prompt", ["--prompt", "fog"], None, "prompt"),
            ("the system prompt", ["--system-prompt", "look"], None, "system-prompt"),
            ("a control", ["--control", "Strength=0.6"], None, "control"),
            ("the guide mode", ["--guide", "final"], None, "guide"),
            ("the style", ["--style", "ink.json"], None, "style"),
            ("the drawing", ["--exposure", "1"], None, "drawing"),
            ("the rate", ["--fps", "25"], None, "fps"),
            ("the clip", ["--clip", "Run"], None, "clip"),
            ("the size", ["--size", "40x24"], None, "its size is 32x24"),
            ("its end", [], content("shot/a_0001.png", lambda old: old[:-40]), "can't be read"),
            ("the frame", [], lambda: shutil.copy(self.folder / "shot/a_0000.png", picture), "another frame"),
            ("its record", [], lambda: picture.write_bytes((self.folder / "blank.png").read_bytes()), "nothing tells"),
        ]
        self.run_command("guide", "scene.glb", "-o", "blank.png", "--size", "32x24")
        for name, more, change, why in rows:
            with self.subTest(name):
                shutil.copy(self.folder / "other.glb", self.folder / "scene.glb")
                (self.folder / "ink.json").write_text("{}")
                self.assertEqual(self.render("--frames", "0-1", "--jobs", "1").returncode, 0)
                if change:
                    change()
                events = self.events("--frames", "0-1", "--resume", "--jobs", "1", *more)
                self.assertEqual(self.states(events)[1], "done" if why else "kept")
                self.assertIn(why, " ".join(event["text"] for event in events if event["event"] == "remark"))
                self.assertEqual((events[-1]["kept"] == 2, events[-1]["left"]), (not why, 0))


    def test_files_that_the_scene_refers_to_count_too(self) -> None:
        glb = (self.folder / "scene.glb").read_bytes()
        length = int.from_bytes(glb[12:16], "little")
        document, numbers = json.loads(glb[20 : 20 + length]), glb[28 + length :]
        document["buffers"][0]["uri"] = "num%62ers.bin"
        document["images"] = [{"uri": "later.png"}]
        (self.folder / "numbers.bin").write_bytes(numbers)
        (self.folder / "scene.glb").write_text(json.dumps(document))
        self.render()
        self.assertEqual(self.states(self.events("--resume")), {0: "kept"})
        for name, content in [("numbers.bin", numbers[3::-1] + numbers[4:]), ("later.png", b"picture")]:
            (self.folder / name).write_bytes(content)
            self.assertEqual(self.states(self.events("--resume")), {0: "done"}, name)


    def test_a_server_that_is_gone_matters_only_to_frames_that_are_left(self) -> None:
        self.render("--frames", "0-1")
        self.helper("succeed", """echo '{"ok": false, "backend": "comfyui", "problem": "no server"}'; exit 1""")
        self.assertEqual(self.render("--frames", "0-1", "--resume").returncode, 0)
        for more in (["--frames", "0-2", "--resume"], ["--frames", "0-1"]):
            done = self.render(*more)
            self.assertEqual((done.returncode, done.stderr.count("no server")), (2, 1), done.stderr)
            self.assertFalse((self.folder / "shot/a_0002.png").exists())


class Failures(SequenceCase):
    def test_what_may_pass_is_tried_again_and_what_lasts_stops_the_rest(self) -> None:
        once = 'mkdir "$(field output_dir)/tried_$frame" && '
        rows = [  # what the helper does, options, how the frames end
            (once + "fail passing; succeed", ["--retries", "1"], "done done done"),
            (once + "fail passing; succeed", [], "failed failed failed"),
            (once + "kill -9 $$; succeed", ["--retries", "3"], "done done done"),
            ("fail lasting", ["--retries", "3"], "failed"),
            ("fail lasting", ["--keep-going"], "failed failed failed"),
            ("kill -9 $$", ["--stop-at-first-failure"], "failed"),
            ("kill -9 $$", [], "failed failed failed"),
        ]
        for jobs in ("1", "2"):
            for script, options, ends in rows:
                with self.subTest(script, options=options, jobs=jobs):
                    self.helper(script)
                    shutil.rmtree(self.folder / "pictures", ignore_errors=True)
                    events = self.events("--frames", "0-2", "--output-dir", "pictures", "--jobs", jobs, *options)
                    states = [state for _, state in sorted(self.states(events).items())]
                    least = ends.split() if jobs == "1" else states[:3] if len(states) > 1 and ends == "failed" else ends.split()
                    self.assertEqual(states, least)
                    self.assertEqual(events[-1]["status"], 1 if "failed" in ends else 0)

    def test_the_command_at_the_end_renders_just_what_is_missing(self) -> None:
        self.helper('[ "$frame" = 2 ] || [ "$frame" = 4 ] && [ ! -e now ] && fail passing; succeed')
        done = self.render("--frames", "0-5", "--prompt", "it's \"dusk\"")
        self.assertEqual(done.returncode, 1)
        self.assertIn("missing: 2,4\n", done.stderr)
        told = [line.strip() for line in done.stderr.splitlines() if line.startswith("  quillmere render")]
        words = shlex.split(told[-1])
        self.assertIn('--prompt=it\'s "dusk"', words)
        (self.folder / "now").touch()
        again = self.run_command(*words[1:], "--json")
        self.assertEqual(self.states([json.loads(line) for line in again.stdout.splitlines()]), {2: "done", 4: "done"})
        self.assertEqual(len(list(self.folder.glob("shot/a_*.png"))), 6)
        log = (self.folder / "shot/a.log").read_text()
        self.assertIn("frame 4: failed", log)
        self.assertIn("frame 4: done", log)


class Log(SequenceCase):
    def test_what_the_helper_prints_of_a_frame_is_told_there_and_on_standard_error(self) -> None:
        flood = "head -c 3000000 /dev/zero | tr '\\0' x | fold -w 99; "
        self.helper(f'echo "out $frame"; [ "$frame" = 1 ] && {flood} printf "\\033[31mred $frame" >&2; succeed')
        for jobs in ("1", "2"):
            with self.subTest(jobs=jobs):
                done = self.render("--frames", "0-2", "--jobs", jobs, "--log", f"{jobs}.log")
                self.assertEqual((done.returncode, done.stderr.count("x")), (0, 3000000))
                lines = (self.folder / f"{jobs}.log").read_text().splitlines()
                for frame in range(3):
                    told = [line.split(": ", 1)[1] for line in lines if f" frame {frame}" in line]
                    self.assertEqual(told.count(f"out {frame}"), 1)
                    self.assertIn("left out" if frame == 1 else f"\ufffd[31mred {frame}", " ".join(told))
                    self.assertTrue(told[-1].startswith("done"), told[-1])
                self.assertLess((self.folder / f"{jobs}.log").stat().st_size, 1 << 20)


class SideBySide(SequenceCase):
    def workers(self) -> list[int]:
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if b"--worker" in (process / "cmdline").read_bytes() and str(self.folder.name).encode() in (process / "environ").read_bytes():
                    found.append(int(process.name))
            except OSError:
                pass
        return found

    def wait_for(self, condition) -> None:
        end = time.monotonic() + 60
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.02)

    def begin(self, *more: str) -> subprocess.Popen:
        """With helpers that wait until there is a file "go"."""
        self.helper('touch "$(field output_dir)/begun_$frame"; while [ ! -e go ]; do sleep 0.05; done; succeed')
        pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "encoding": "utf-8"}
        process = self.start("--json", "--output-dir", "pictures", "--jobs", "2", *more, **pipes)
        self.wait_for(lambda: len(list(self.folder.glob("pictures/begun_*"))) == 2)
        return process

    def test_a_viewer_sees_one_render(self) -> None:
        runtime = self.folder / "write/quillmere/c4d/runtime"
        runtime.mkdir(parents=True)
        style = str(self.folder / "style.png")
        (runtime / "render_view_state.json").write_text(json.dumps({"locked_style_image": style}))
        events = self.events("--frames", "0-5", "--jobs", "2")
        self.assertEqual(self.states(events), dict.fromkeys(range(6), "done"))
        state = json.loads((runtime / "render_view_state.json").read_text())
        self.assertEqual(state["locked_style_image"], style)
        self.assertEqual(pathlib.Path(state["reference_image"]).parent, runtime)
        self.assertEqual(pathlib.Path(state["history_dir"]).parent, runtime.parent / "history")
        for frame in range(6):
            request = self.request(frame)
            self.assertEqual(request["locked_style_image"], style)
            self.assertEqual(pathlib.Path(request["output_dir"]), self.folder / "write/quillmere/c4d/renders")
            self.assertTrue((runtime / f"reference_{frame}.png").is_file())
            entry, = (runtime.parent / "history").glob(f"*/render_f{frame}.json")
            self.assertEqual(json.loads(entry.read_text())["frame"], frame)
        self.assertEqual(self.states(self.events("--frames", "0-5", "--resume")), dict.fromkeys(range(6), "kept"))

    def test_a_style_that_is_locked_meanwhile_stays(self) -> None:
        process = self.begin("--frames", "0-1")
        state = self.folder / "write/quillmere/c4d/runtime/render_view_state.json"
        state.write_text(json.dumps({"locked_style_image": "/later.png"}))
        (self.folder / "go").touch()
        process.communicate(timeout=60)
        self.assertEqual(json.loads(state.read_text())["locked_style_image"], "/later.png")
        self.assertEqual(process.returncode, 0)

    def test_there_is_one_frame_ahead_of_all_servers(self) -> None:
        self.helper("succeed", """echo '{"ok": true, "backend": "comfyui", "servers": 3}'""")
        self.render("--frames", "0-5")
        self.assertEqual(len(list((self.folder / "write/quillmere/c4d/jobs").iterdir())), 4)

    def test_a_worker_that_dies_costs_a_try_of_its_frame(self) -> None:
        for retries, ends in [("1", {"done"}), ("0", {"done", "failed"})]:
            with self.subTest(retries=retries):
                shutil.rmtree(self.folder / "pictures", ignore_errors=True)
                (self.folder / "go").unlink(missing_ok=True)
                process = self.begin("--frames", "0-3", "--retries", retries)
                os.kill(self.workers()[0], signal.SIGKILL)
                time.sleep(0.2)
                (self.folder / "go").touch()
                output, errors = process.communicate(timeout=60)
                events = [json.loads(line) for line in output.splitlines()]
                self.assertEqual(set(self.states(events).values()), ends, errors)
                told = " ".join(event.get("error") or "" for event in events)
                self.assertIn("was killed by signal 9", told)
                self.assert_nothing_left()

    def test_a_break_with_two_in_flight_leaves_nothing_behind(self) -> None:
        process = self.begin("--frames", "0-9")
        process.send_signal(signal.SIGINT)
        output, _ = process.communicate(timeout=30)
        self.assertEqual(process.returncode, 130)
        self.assert_nothing_left()
        events = [json.loads(line) for line in output.splitlines()]
        self.assertEqual(self.states(events), {0: "stopped", 1: "stopped"})
        self.assertEqual(list(self.folder.glob("shot/*.png")), [])

    def test_nothing_outlasts_a_killed_render(self) -> None:
        process = self.begin("--frames", "0-9")
        process.kill()
        process.communicate()
        self.wait_for(lambda: not self.workers())
