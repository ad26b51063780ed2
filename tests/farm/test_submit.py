"""What submit hands to engines: scripts and templates that hold on other machines, and nothing when it refuses."""

import json
import os
import re
import shutil
import subprocess
import unittest

from farm_case import PLUGIN, FarmCase
from openjd_rules import broken_rule


class Submitted(FarmCase):
    def template(self, *more: str) -> dict:
        done = self.submit("openjd", *more)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout, f"{self.folder}/job/template.json\n")
        return json.loads((self.folder / "job/template.json").read_text())

    def test_what_would_go_wrong_on_every_node_is_refused_here(self) -> None:
        (self.folder / "taken").mkdir()
        (self.folder / "taken/file").touch()
        begin = ["submit", "scene.glb", "--plugin", str(PLUGIN)]
        for arguments, told in [
            (["--to", "slurm", "--camera", "Mast"], "camera 'Mast'"),
            (["--to", "slurm", "--set", "2011=0"], "HISTORY_LIMIT"),
            (["--to", "slurm", "--workflow", "gone.json"], "workflow 'gone.json'"),
            (["--to", "slurm", "--frames", "1-4", "--output", "a.png"], "all frames would go into one file"),
            (["--to", "slurm", "-o", "taken"], "something lies there already"),
            (["--to", "openjd", "--nodes", "2"], "are Slurm's"),
            (["--to", "queue"], "slurm"),
            (["--to", "slurm", "--json"], "--json"),
            ([], "--to is required"),
        ]:
            with self.subTest(arguments):
                done = self.run_command(*begin, *arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""), done.stderr)
                self.assertIn(told, done.stderr)
        self.assertEqual(sorted(os.listdir(self.folder / "taken")), ["file"])

    def test_a_dry_run_prints_a_script_that_a_shell_can_read_and_writes_nothing(self) -> None:
        done = self.submit("slurm", "--dry-run", "--frames", "1-30", "--nodes", "3", "--view", "30,20", "--system-prompt", "it's \"$HOME\"")
        self.assertEqual(subprocess.run(["bash", "-n"], input=done.stdout, text=True).returncode, 0)
        self.assertRegex(done.stdout, r"#SBATCH --array=0-3%3\n")
        self.assertRegex(done.stdout, r"--view='30,20,[\d.]+,[-\d.,]+'")  # the same whatever a task's own frames are
        self.assertNotIn("HOME", done.stdout)
        self.assertEqual([name for name in ("job", "shots") if (self.folder / name).exists()], [])

    def test_a_task_that_is_started_twice_at_once_leaves_whole_frames(self) -> None:
        (self.folder / "bin/sbatch").write_text("#!/bin/sh\nenv > seen; echo '7;loop'\n")
        (self.folder / "bin/sbatch").chmod(0o755)
        self.env["QUILLMERE_COMFYUI_TOKEN"] = "secret"
        done = self.submit("slurm", "--frames", "1-5", "--array-size", "2", "--camera", "2", "--prompt", "fog", "--bundle")
        self.assertEqual((done.returncode, done.stdout), (0, "7\n"), done.stderr)
        self.assertNotIn("secret", (self.folder / "seen").read_text())
        self.assertEqual((self.folder / "job/frames.txt").read_text(), "1-3\n4-5\n")
        (self.folder / "scene.glb").unlink()  # the job has its own
        both = []
        for node in ("a", "b"):
            (self.folder / "tmp" / node).mkdir()
            env = dict(self.env, TMPDIR=str(self.folder / "tmp" / node), SLURM_ARRAY_JOB_ID="7", SLURM_ARRAY_TASK_ID="0")
            both.append(subprocess.Popen(["bash", "job/render.sh"], cwd=self.folder, env=env, stdout=subprocess.PIPE, stderr=subprocess.STDOUT))
        for one in both:
            output, _ = one.communicate(timeout=100)
            self.assertEqual(one.returncode, 0, output.decode())
        self.assertEqual(self.whole_frames(), [1, 2, 3])
        self.assertEqual([*(self.folder / "data").rglob("*.png")], [], "what a task leaves besides goes with it")
        shown = self.run_command("show", "shots/a_0002.png").stdout
        self.assertRegex(shown, r"prompt +fog\n(.*\n)*camera +Chart\n")

    def test_templates_keep_the_rules_whatever_stands_in_them(self) -> None:
        (self.folder / "long").write_text("a" * 2000)
        (self.folder / "{{.png").touch()
        for more in (
            ["--frames", "1-10,20"],
            ["--frames=-5-5x2", "--array-size", "2", "--bundle"],
            ["--prompt", "{{Param.X}} {{", "--control", "Label={{x}}", "--system-prompt", "other", "--style", "{{.png"],
            ["--prompt-file", "long", "--camera", "2", "--fps", "23.976"],
            ["--view", "30,20", "--exposure", "1.5", "--loop", "--no-history"],
        ):
            with self.subTest(more):
                self.assertIsNone(broken_rule(self.template(*more)))
                shutil.rmtree(self.folder / "job")

    def test_the_panel_becomes_parameters_with_limits_and_choices(self) -> None:
        template = self.template("--frames", "3-9:2", "--set", "QUILLMERE_HISTORY_LIMIT=7", "--array-size", "2", "--bundle")
        parameters = {one["name"]: one for one in template["parameterDefinitions"]}
        self.assertEqual(template["extensions"], ["TASK_CHUNKING"])
        self.assertEqual(parameters["Frames"]["default"], "3-9:2")
        limit = parameters["HistoryLimit"]
        self.assertEqual((limit["type"], limit["minValue"], limit["maxValue"], limit["default"]), ("INT", 1, 5000, 7))
        self.assertEqual(parameters["GuideMode"]["allowedValues"], ["Quick Shading", "Final Render"])
        self.assertEqual(parameters["Camera"]["allowedValues"], ["Pier", "Chart"])
        self.assertEqual((parameters["Scene"]["dataFlow"], parameters["OutputFolder"]["dataFlow"]), ("IN", "OUT"))
        self.assertTrue((self.folder / "job" / parameters["Scene"]["default"]).exists())

    def test_a_task_of_a_template_renders_its_frames_and_tells_the_engine(self) -> None:
        template = self.template("--frames", "1-4", "--array-size", "2", "--bundle")
        values = {f"Param.{one['name']}": str(one["default"]) for one in template["parameterDefinitions"]}
        for name in ("Scene", "Settings", "Workflow"):  # as engines resolve what lies in the bundle
            values[f"Param.{name}"] = str(self.folder / "job" / values[f"Param.{name}"])
        values.update({"Task.Param.Frame": "1,3-4", "Session.WorkingDirectory": str(self.folder / "tmp"), "Param.Prompt": "a {{storm}}"})
        arguments = [re.sub(r"\{\{(.*?)\}\}", lambda match: values[match[1]], one)
                     for one in template["steps"][0]["script"]["actions"]["onRun"]["args"]]
        done = self.run_command(*arguments)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.whole_frames(), [1, 3, 4])
        told = [line.split(": ", 1) for line in done.stdout.splitlines()]
        self.assertEqual([one for one in told if one[0] not in ("openjd_progress", "openjd_status", "quillmere")], [])
        percent = [float(value) for name, value in told if name == "openjd_progress"]
        self.assertEqual((percent[0], percent[-1], percent), (0.0, 100.0, sorted(percent)))
        (self.folder / "broken.json").write_text('{"backend": "none"}')
        failed = self.run_command(*("--workflow=broken.json" if one.startswith("--workflow=") else one for one in arguments))
        self.assertNotEqual(failed.returncode, 0)
        self.assertRegex(failed.stdout, "(?m)^openjd_fail: .*broken.json|^openjd_fail: frame 1: .*none")


if __name__ == "__main__":
    unittest.main()
