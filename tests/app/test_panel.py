"""The attribute panel on the command line: what it shows, and what its fields accept."""

from __future__ import annotations

import json

from app_case import AppCase

IDS = [2000, 2002, 2005, 2006, 2001, 2003, 2009, 2010, 2015, 2011, 2012, 2013]


class Panel(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.catalog(("ink", "Ink"), ("flux", "FLUX.2 Dev"), ("t1", "Twin"), ("t2", "Twin"))

    def arguments(self, *more: str) -> list[str]:
        return ["panel", "scene.glb", "--plugin", "plugin", "--write-dir", "write", *more]

    def rows(self, *more: str) -> dict[int, dict]:
        done = self.run_command(*self.arguments("--json", *more))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return {row["id"]: row for row in json.loads(done.stdout)}

    def test_json_has_every_row_in_the_panels_order(self) -> None:
        rows = self.rows("--prompt", "fog\nat dawn")
        self.assertEqual(list(rows), IDS)
        menu = ["None", "Ink", "FLUX.2 Dev", "Twin", "Twin"]
        # label, type, value, enabled, choices; the rows that are not here are like others
        expected = {
            2000: ("Unlock System Prompt", "bool", False, True, []),
            2002: ("Workflow", "choice", 2, True, list(enumerate(menu))),
            2005: ("Camera", "camera", None, True, [("Pier", "Pier"), ("Chart", "Chart")]),
            2006: ("Guide Mode", "choice", 0, True, [(0, "Quick Shading"), (1, "Final Render")]),
            2003: ("Prompt", "text", "fog\nat dawn", True, []),
            2009: ("Output Directory", "file", str(self.folder / "write/quillmere/c4d/renders"), True, []),
            2015: ("Status", "read-only", "Idle", True, []),
            2011: ("History Limit", "integer", 200, True, []),
            2012: ("Open Preview After Render", "bool", True, True, []),
        }
        for id, row in rows.items():
            with self.subTest(row["name"]):
                choices = [(choice["value"], choice["text"]) for choice in row["choices"]]
                shown = (row["label"], row["type"], row["value"], row["enabled"], choices)
                self.assertEqual((row.get("min"), row.get("max")), (1, 5000) if id == 2011 else (None, None))
                self.assertEqual(shown, expected.get(id, shown))

    def test_the_table_marks_choices_limits_and_what_is_greyed_out(self) -> None:
        table = self.run_command(*self.arguments("--camera", "Chart", "--prompt", "fog\x1b[2J\nat dawn")).stdout
        for line in [
            "  2002  Workflow                      0 None\n",
            "                                    * 2 FLUX.2 Dev\n",
            "                                    * Chart\n",
            "  2003  Prompt                      fog\N{REPLACEMENT CHARACTER}[2J\n                                    at dawn\n",
            "  2001  System Prompt (greyed out)  Lock camera angle",
            "  2011  History Limit               200 (from 1 to 5000)\n",
        ]:
            self.assertIn(line, table)

    def test_fields_are_written_in_the_panels_order_and_the_last_word_counts(self) -> None:
        for arguments, id, value in [
            (["--set", "2001=Draw.", "--set", "2000=on"], 2001, "Draw."),
            (["--system-prompt", "Draw."], 2000, True),
            (["--camera", "Pier", "--set", "quillmere_camera=chart"], 2005, "Chart"),
            (["--camera", "Pier", "--set", "QUILLMERE_CAMERA="], 2005, None),
            (["--set", "QUILLMERE_WORKFLOW=ink", "--set", "2002=3"], 2002, 3),
            (["--workflow", "ink", "--set", "2002=FLUX.2 Dev"], 2002, 2),
            (["--set", "QUILLMERE_GUIDE_MODE=Final Render"], 2006, 1),
            (["--set", "2011=5000"], 2011, 5000),
            (["--output-dir", "pictures"], 2009, None),
        ]:
            with self.subTest(arguments):
                expected = str(self.folder / "pictures") if id == 2009 else value
                self.assertEqual(self.rows(*arguments)[id]["value"], expected)

    def test_what_a_field_does_not_take_is_refused_with_what_it_takes(self) -> None:
        for arguments, why in [
            (["--set", "2000=true", "--set", "2001=a", "--set", "2000=false"], "greyed out"),
            (["--set", "2002=5"], "'5' is no value.*\n.*\n    0 None"),
            (["--set", "2002=Twin"], "several choices are named 'Twin'\n.*number(.|\n)*3 Twin"),
            (["--set", "2011=5001"], "from 1 to 5000"),
            (["--set", "2011=99999999999"], "from 1 to 5000"),
            (["--set", "2011=2.5"], "from 1 to 5000"),
            (["--set", "2007=/a.json"], r"WORKFLOW_PATH \(2007\): it follows the workflow\n.*--workflow"),
            (["--set", "2008=ink"], "follows the workflow"),
            (["--set", "2014=/a.png"], "the effect writes it"),
        ]:
            for command in (self.arguments(*arguments), self.render_arguments(*arguments)):
                with self.subTest(" ".join(command)):
                    done = self.run_command(*command)
                    self.assertEqual((done.returncode, done.stdout), (2, ""))
                    self.assertRegex(done.stderr, why)

    def test_the_menu_says_none_for_a_workflow_outside_the_catalog_and_the_note_tells(self) -> None:
        row = self.rows("--workflow", "scene.glb")[2002]
        self.assertEqual((row["value"], row["note"]), (0, "renders with " + str(self.folder / "scene.glb")))
        self.assertNotIn("note", self.rows("--workflow", "None")[2002])

    def test_without_a_scene_there_is_no_camera_to_choose(self) -> None:
        done = self.run_command("panel", "--plugin", "plugin", "--json")
        self.assertEqual([row["choices"] for row in json.loads(done.stdout) if row["id"] == 2005], [[]])
        self.assertFalse((self.folder / "data").exists(), "looking at the panel writes nothing")
