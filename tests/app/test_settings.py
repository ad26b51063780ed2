"""Settings files: what is kept comes back, and what is damaged or foreign is refused."""

from __future__ import annotations

import json

from app_case import AppCase

HEAD = {"format": "quillmere settings", "version": 1}


class Settings(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.catalog(("ink", "Ink"), ("flux", "FLUX.2 Dev"))

    def parameters(self, *more: str) -> dict:
        frame = self.events(*more)[-2]
        self.assertEqual(frame["result"], 0)
        return frame["parameters"]

    def save(self, *more: str) -> dict:
        done = self.render("--save-settings", "kept.json", *more)
        self.assertEqual(done.returncode, 0, done.stderr)
        return json.loads((self.folder / "kept.json").read_text())

    def test_a_round_trip_keeps_every_parameter(self) -> None:
        more = ["--workflow", "ink", "--camera", "Chart", "--guide", "final", "--no-history", "--no-preview", "--set", "2004=later"]
        more += ["--prompt", 'fog\n"dawn" \u2603', "--output-dir", "pictures", "--prefix", "p", "--set", "2011=7"]
        for arguments in (more, [*more, "--system-prompt", "Draw."], ["--workflow", "None"]):
            with self.subTest(arguments):
                saved = self.save(*arguments)
                self.assertEqual((saved["format"], saved["version"], len(saved["parameters"])), ("quillmere settings", 1, 16))
                again = self.parameters("--settings", "kept.json", "--save-settings", "again.json")
                self.assertEqual(again, self.parameters(*arguments))
                self.assertEqual((self.folder / "kept.json").read_text(), (self.folder / "again.json").read_text())

    def test_a_locked_system_prompt_keeps_its_own_text(self) -> None:
        self.write({"QUILLMERE_UNLOCK_SYSTEM_PROMPT": False, "QUILLMERE_SYSTEM_PROMPT": "Mine."})
        self.assertEqual(self.parameters("--settings", "kept.json")["2001"], "Mine.")

    def test_the_workflow_is_followed_through_the_catalogs_changes(self) -> None:
        self.save("--workflow", "ink")
        kept = str(self.folder / "home/.quillmere/workflows/ink.json")
        for catalog, number, note in [
            ([("flux", "FLUX.2 Dev"), ("a", "A"), ("ink", "Renamed")], 3, None),
            ([("flux", "FLUX.2 Dev")], 0, f"'ink' is not in the catalog; renders with {kept}"),
            ([], 0, f"'ink' is not in the catalog; renders with {kept}"),
        ]:
            with self.subTest(catalog):
                self.catalog(*catalog)
                done = self.run_command("panel", "--plugin", "plugin", "--settings", "kept.json", "--json")
                row = json.loads(done.stdout)[1]
                self.assertEqual((row["value"], row.get("note")), (number, note))
                stored = self.parameters("--settings", "kept.json")
                self.assertEqual((stored["2008"], stored["2007"]), ("ink", kept))

    def wrapper(self) -> dict:
        """What the helper is given for the workflow, in a file of ours."""
        self.assertEqual(self.request()["workflow_path"], str(self.folder / "write/quillmere/c4d/runtime/controls.json"))
        return json.loads((self.folder / "write/quillmere/c4d/runtime/controls.json").read_text())

    def test_controls_reach_the_helper_each_in_its_type_beside_the_workflow(self) -> None:
        given = [("a", "0.60", 0.6), ("b", ".5", 0.5), ("c", "-7", -7), ("d", str(2**64 - 1), 2**64 - 1), ("e", "true", True), ("f", "nan", "nan"),
                 ("g", "1 2", "1 2"), ("h", '"12"', "12"), ("i", "", ""), ("Ärger x", "a=b", "a=b"), ("a", "1", 1)]  # fmt: skip
        arguments = [word for name, text, _ in given for word in ("--control", f"{name}={text}")]
        self.assertEqual(self.parameters("--workflow", "ink", *arguments)["2008"], "ink")
        ink = str(self.folder / "home/.quillmere/workflows/ink.json")
        expected = {name: value for name, _, value in given}
        self.assertEqual(self.wrapper(), {"workflow": ink, "controls": expected})
        self.assertEqual([type(value) for value in self.wrapper()["controls"].values()], [type(value) for value in expected.values()])
        for arguments, why in (
            (["--control", "a"], "no value for a control\n.*workflows controls lists"),
            (["--control", "=1"], "no value for a control"),
            (["--control", "a=\udcff"], "not UTF-8"),
            (["--workflow", "None", "--control", "a=1"], "control 'a': no workflow is chosen"),
        ):
            with self.subTest(arguments):
                done = self.render(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertRegex(done.stderr, why)

    def test_controls_are_kept_with_the_workflow_that_has_them(self) -> None:
        saved = self.save("--workflow", "ink", "--control", "a=1", "--control", "b=x")
        ink = str(self.folder / "home/.quillmere/workflows/ink.json")
        self.assertEqual((saved["controls"], saved["parameters"]["QUILLMERE_WORKFLOW_PATH"]), ({"a": 1, "b": "x"}, ink))
        self.parameters("--settings", "kept.json", "--control", "A=2")
        self.assertEqual(self.wrapper(), {"workflow": ink, "controls": {"b": "x", "A": 2}})
        for other in (["--workflow", "flux"], ["--set", "QUILLMERE_WORKFLOW=2"]):
            self.parameters("--settings", "kept.json", *other)
            self.assertEqual(self.request()["workflow_path"], str(self.folder / "home/.quillmere/workflows/flux.json"))

    def test_explicit_options_win_over_the_file(self) -> None:
        self.write({"QUILLMERE_CAMERA": "Gone", "QUILLMERE_PROMPT": "old", "QUILLMERE_WORKFLOW_ID": "ink", "QUILLMERE_HISTORY_LIMIT": 9})
        stored = self.parameters("--settings", "kept.json", "--camera", "Chart", "--prompt", "new", "--workflow", "flux")
        self.assertEqual([stored[id] for id in ("2005", "2003", "2008", "2011")], ["Chart", "new", "flux", 9])

    def test_what_is_damaged_or_foreign_is_refused(self) -> None:
        rows = [
            ("", "damaged at byte 1"),
            ('{"format": "quillmere settings", "version', "damaged at byte"),
            ('{"format": 1e999}', "too large"),
            ("[" * 1000000 + "]" * 1000000, "nested"),
            (json.dumps({**HEAD, "parameters": "x"}).replace('"x"', '{"a":' * 500000 + "1" + "}" * 500000), "nested"),
            ("[]", "no settings file"),
            (json.dumps({**HEAD, "version": 2, "parameters": {}}), "has version 2, not 1"),
            (json.dumps({"format": "quillmere settings", "parameters": {}}), "has version unknown"),
            (json.dumps(HEAD), 'no "parameters"'),
            (" " * (8 * 1024 * 1024 + 1), "larger than 8 MiB"),
            (json.dumps({**HEAD, "parameters": {}, "controls": [1]}), 'its "controls" is no object'),
            (json.dumps({**HEAD, "parameters": {}, "controls": {"a": None}}), "no text, number or switch for 'a'"),
        ]
        rows += [
            (json.dumps({**HEAD, "parameters": {name: value}}), why)
            for name, value, why in [
                ("QUILLMERE_SHINE", 1, "'QUILLMERE_SHINE', which the effect doesn't have"),
                ("QUILLMERE_HISTORY_LIMIT", 0, "from 1 to 5000"),
                ("QUILLMERE_HISTORY_LIMIT", 2**70, "another type|from 1 to 5000"),
                ("QUILLMERE_UNLOCK_SYSTEM_PROMPT", 1, "another type"),
                ("QUILLMERE_PROMPT", "a\0b", "NUL"),
                ("QUILLMERE_GUIDE_MODE", 2, "0 Quick Shading"),
                ("QUILLMERE_CAMERA", "Mast", "camera 'Mast'.*\n.*'Pier', 'Chart'"),
                ("QUILLMERE_WORKFLOW", 2, "kept by its identifier"),
                ("QUILLMERE_WORKFLOW_ID", ["ink"], "another type"),
            ]
        ]
        for content, why in rows:
            with self.subTest(content[:80]):
                (self.folder / "kept.json").write_bytes(content.encode("latin-1"))
                done = self.render("--settings", "kept.json")
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertRegex(done.stderr, "quillmere: settings 'kept.json': ?(.|\n)*" + why)

    def test_a_file_that_cannot_be_written_is_named_and_nothing_is_rendered(self) -> None:
        done = self.render("--save-settings", "none/kept.json")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("none/kept.json", done.stderr)
        self.assertEqual(self.render("--settings", "none.json").returncode, 2)

    def test_how_the_host_draws_is_kept_and_overridden(self) -> None:
        saved = self.save("--exposure", "1.5", "--samples", "3", "--background", "#123", "--light", "scene", "--two-sided")
        drawing = {"exposure": 1.5, "samples": 3, "background": "#123", "light": "scene", "two_sided": True}
        self.assertEqual(saved["drawing"], drawing)
        done = self.render("--settings", "kept.json", "--save-settings", "again.json", "--light", "none", "--no-two-sided")
        self.assertEqual(done.returncode, 0, done.stderr)
        again = json.loads((self.folder / "again.json").read_text())["drawing"]
        self.assertEqual(again, {**drawing, "light": "none", "two_sided": False})
        for wrong in ({"exposure": 1e9}, {"samples": 0}, {"light": "moon"}, {"two_sided": 1}, {"fog": 1}, []):
            with self.subTest(wrong):
                (self.folder / "kept.json").write_text(json.dumps({**HEAD, "parameters": {}, "drawing": wrong}))
                self.assertEqual(self.render("--settings", "kept.json").returncode, 1)

    def write(self, parameters: dict) -> None:
        (self.folder / "kept.json").write_text(json.dumps({**HEAD, "parameters": parameters}))


class Jobs(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.catalog(("ink", "Ink"), ("flux", "FLUX.2 Dev"))

    def start_of(self, *arguments: str) -> dict:
        done = self.run_command("render", *arguments, "--plugin", "plugin", "--write-dir", "write", "--json")
        self.assertEqual(done.returncode, 0, done.stderr)
        start = json.loads(done.stdout.splitlines()[0])
        return {key: start[key] for key in ("scene", "cameras", "frames", "width", "height", "workflow", "settings")}

    def test_a_job_renders_the_same_again_from_anywhere(self) -> None:
        more = ["--size", "8x6", "--workflow", "ink", "--prompt", "fog", "--samples", "3", "--fps", "24000/1001", "--seed", "Frame"]
        (self.folder / "else").mkdir()
        for ways in (["--camera", "Chart", "--camera", "Pier", "--clip", "Run", "--loop", "--frames", "1-3x2"], ["--view", "30,20"], ["--time", "0.5"]):
            with self.subTest(ways):
                made = self.start_of("scene.glb", *more, *ways, "-o", "a_####.png", "--save-job", "else/job.json")
                self.assertEqual(self.start_of("else/job.json", "--save-job", "else/again.json"), made)
                job, again = (json.loads((self.folder / "else" / name).read_text()) for name in ("job.json", "again.json"))
                self.assertEqual(again, job)
                self.assertEqual((job["options"]["seed"], job["options"]["output"]), ("frame", str(self.folder / "a_####.png")))
                other = self.start_of("else/job.json", "--camera", "Pier", "--frames", "7", "--prompt", "rain", "--samples", "4")
                self.assertEqual((other["cameras"], other["frames"], other["settings"]["drawing"]["samples"]), (["Pier"], "7", 4))
                self.assertEqual(other["settings"]["parameters"]["QUILLMERE_PROMPT"], "rain")

    def test_a_dry_run_saves_what_is_asked_for_and_renders_nothing(self) -> None:
        told = self.events("--dry-run", "--frames", "1-3", "--save-job", "job.json", "--save-settings", "settings.json")
        self.assertEqual([event["event"] for event in told], ["start", "end"])
        self.assertEqual((told[0]["count"], told[1]["status"], told[1]["left"]), (3, 0, 3))
        formats = [json.loads((self.folder / f"{name}.json").read_text())["format"] for name in ("job", "settings")]
        self.assertEqual(formats, ["quillmere job", "quillmere settings"])
        self.assertEqual([file.name for file in self.folder.glob("*.png")] + list(self.folder.glob("write/**/*_[0-9].*")), [])
        self.assertEqual(self.render("--dry-run", "--camera", "x").returncode, 2)

    def test_paths_of_a_job_are_taken_from_its_folder(self) -> None:
        (self.folder / "jobs").mkdir()
        job = {"format": "quillmere job", "version": 1, "scene": "../scene.glb", "options": {"output": "../b.png", "size": "8x8"}, "parameters": {}}
        (self.folder / "jobs/job.json").write_text(json.dumps(job))
        self.start_of("jobs/job.json")
        self.assertTrue((self.folder / "b.png").exists())

    def test_a_job_and_a_picture_are_not_repeated_at_once(self) -> None:
        (self.folder / "job.json").write_text('{"format": "quillmere job"}')
        done = self.run_command("render", "job.json", "--like", "a.png", "--plugin", "plugin")
        self.assertEqual((done.returncode, "give one of them" in done.stderr), (2, True))

    def test_what_no_command_line_would_take_is_refused(self) -> None:
        sound = {"format": "quillmere job", "version": 1, "scene": "scene.glb", "options": {}, "parameters": {}}
        for changes, why in [
            ({"version": 2}, "version 2, not 1"),
            ({"scene": 5}, '"scene" is no text'),
            ({"scene": "gone.glb"}, "gone.glb"),
            ({"options": [1]}, '"options" are no object'),
            ({"options": {"write-dir": "/tmp"}}, 'the option "write-dir", which jobs don\'t have'),
            ({"options": {"frames": "5-1"}}, "--frames '5-1'"),
            ({"options": {"frames": 5}}, '"frames" is no text'),
            ({"options": {"size": "x" * 5000}}, '"size" is no text of at most'),
            ({"options": {"turntable": "1"}}, "--turntable"),
            ({"options": {"seed": "-1"}}, "--seed '-1'"),
            ({"options": {"clip": "a\0b"}}, "NUL"),
            ({"options": {"camera": ["Pier"] * 1001}}, "more than 1000"),
            ({"parameters": {"QUILLMERE_OTHER": 1}}, "QUILLMERE_OTHER"),
            ({"drawing": {"samples": 0}}, '"samples"'),
        ]:
            with self.subTest(str(changes)[:60]):
                (self.folder / "job.json").write_text(json.dumps({**sound, **changes}))
                done = self.run_command("render", "job.json", "--plugin", "plugin", "--write-dir", "write", "--quiet")
                self.assertIn(done.returncode, (1, 2))
                self.assertIn(why, done.stderr)
                self.assertEqual(list(self.folder.glob("*.png")), [])
