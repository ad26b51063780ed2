"""What the command answers to its arguments: one line a case."""

import json
import pathlib
import re
import shutil
import subprocess

from app_case import QUILLMERE, AppCase

SCENE = ["scene.glb", "--plugin", "plugin", "--write-dir", "write", "--size", "8x8"]

# arguments, exit status, pattern in standard output, pattern in standard error
CASES = [
    ([], 2, "", "quillmere: arguments: A subcommand is required"),
    (["--help"], 0, "render.*guide.*cameras.*workflows.*show.*doctor", "^$"),
    (["--version"], 0, r"^quillmere \d+\.\d+\.\d+\n$", "^$"),
    (["render", "--help"], 0, r"Examples.*\n  SCENE  .*--frames,--frame A\|A-B\|A-BxSTEP,\.\.\.=0\s.*--no-history  .*--plugin DIR  ", "^$"),
    (["render", "--help"], 0, r"--json   .*; not with --quiet\n", "^$"),
    (["doctor", "--help"], 0, "Exit status 1", "^$"),
    (["paint"], 2, "", "command .paint.: there is none.*\n  the commands: render, guide"),
    (["render"], 2, "", "quillmere: render: SCENE is required\n  see quillmere render --help"),
    (["render", "none.glb"], 2, "", "none.glb"),
    (["render", *SCENE, "--shiny"], 2, "", "--shiny\n  see"),
    (["render", *SCENE, "--frmaes", "1"], 2, "", "did you mean '--frames'\\? see quillmere render --help"),
    (["redner"], 2, "", "did you mean 'render'\\? the commands: "),
    (["guide", "bare.gltf", "-o", "a.png", "--guide", "QUICK"], 0, "^$", "no camera"),
    (["render", *SCENE, "--frames", "5-1"], 2, "", "--frames '5-1': the last frame comes before the first"),
    (["render", *SCENE, "--frames=-3--1x2", "--quiet"], 0, "^$", "example|^$"),
    (["render", *SCENE, "--frames", "-2", "--quiet"], 0, "^$", "example|^$"),
    (["render", "scene.glb", "--size", "0x9"], 2, "", "--size '0x9'"),
    (["render", *SCENE, "--fps", "0"], 2, "", "--fps"),
    (["render", *SCENE, "--fps", "0.5"], 2, "", "--fps '0.5': no rate from 1 to 100000"),
    (["render", *SCENE, "--time", "1", "--frames", "3"], 2, "", "--frames excludes --time"),
    (["render", *SCENE, "--view", "30"], 2, "", "--view '30': not a view.*DISTANCE"),
    (["render", *SCENE, "--view", "30,20", "--camera", "Pier"], 2, "", "--camera excludes --view"),
    (["render", *SCENE, "--clip", "Wlak"], 2, "", "clip 'Wlak'.*\n  did you mean 'Walk'\\? its clips: 'Walk', 'Run'"),
    (["render", *SCENE, "--frames", "0-40x40", "--clip", "walk"], 0, "done", "lasts from frame 0 to 30; the frames after hold its last pose, --loop"),
    (["render", *SCENE, "--frames", "0-40x40", "--loop"], 0, "done", "^(?!.*lasts from).*are played: 'Walk'; others, for --clip: 'Run'"),
    (["render", *SCENE, "--output", "a_%s.png"], 2, "", "'%s' stands for nothing"),
    (["render", *SCENE, "--output", "a.jpg"], 2, "", r"--output 'a.jpg'.*\n.*\.png"),
    (["render", "scene.glb", "--plugin", "plugin", "--write-dir", "/dev/null/x"], 1, "", "directory '/dev/null/x': cannot be written.*--write-dir"),
    (["render", *SCENE, "--output", "/proc/x/a.png"], 2, "", "'/proc/x': cannot be made.*give one"),
    (["render", *SCENE, "--camera", "Mast"], 2, "", "camera 'Mast'.*\n.*'Pier', 'Chart'"),
    (["render", *SCENE, "--camera", "Peir"], 2, "", "did you mean 'Pier'"),
    (["render", *SCENE, "--camera", "2"], 0, "done", "Rendering guide from camera: Chart"),
    (["render", *SCENE, "--camera", "pier"], 0, "done", "Rendering guide from camera: Pier"),
    (["render", *SCENE, "--workflow", "sepia"], 2, "", "workflow 'sepia'.*\n.*Ink \\(ink\\)\n.*FLUX"),
    (["render", *SCENE, "--workflow", "Twin"], 2, "", "several of that name.*\n.*choose by ID"),
    (["render", *SCENE, "--prompt", "a", "--prompt-file", "home/.quillmere/state.json"], 2, "", "--prompt"),
    (["render", *SCENE, "--prompt=", "--quiet"], 0, "^$", "^$"),
    (["render", *SCENE, "--json=", "--quiet"], 2, "", "--quiet"),
    (["render", *SCENE, "--frames=", "--quiet"], 2, "", "--frames ''"),
    (["render", *SCENE, "--json", "--quiet"], 2, "", "--quiet"),
    (["render", *SCENE, "--guide", "slow"], 2, "", "quick.*final"),
    (["render", *SCENE, "--set", "2011"], 2, "", "--set '2011': not an assignment"),
    (["render", *SCENE, "--set", "2099=1"], 2, "", "parameter '2099'.*\n.*2000 QUILLMERE_UNLOCK_SYSTEM_PROMPT"),
    (["render", *SCENE, "--set", "2011=0"], 2, "", "HISTORY_LIMIT.*'0' is no value.*\n.*from 1 to 5000"),
    (["render", *SCENE, "--set", "2006=Sketch"], 2, "", "0 Quick Shading\n.*1 Final Render"),
    (["render", *SCENE, "--set", "2013=maybe"], 2, "", "true or false"),
    (["render", *SCENE, "--set", "QUILLMERE_STATUS=Done"], 2, "", "shown only"),
    (["render", *SCENE, "--set", "2001=Draw"], 2, "", "greyed out\n.*QUILLMERE_UNLOCK_SYSTEM_PROMPT=true"),
    (["render", "scene.glb", "--plugin", "nowhere"], 2, "", "nowhere"),
    (["render", "scene.glb", "--plugin", "home"], 1, "", "quillmere: .*home"),
    (["render", "broken.glb", "--plugin", "plugin"], 1, "", "quillmere: .*broken.glb"),
    (["guide", "scene.glb"], 2, "", "--output"),
    (["guide", "scene.glb", "-o", "a.jpg"], 2, "", r"-o 'a.jpg'.*\n.*\.png"),
    (["guide", "scene.glb", "-o", "none/a.png"], 1, "", "none/a.png"),
    (["guide", "scene.glb", "-o", "a.png", "--camera", "Mast"], 2, "", "'Pier', 'Chart'"),
    (["guide", "scene.glb", "-o", "a.png", "--frame", "1-2"], 2, "", "a guide is drawn of one frame"),
    (["cameras", "scene.glb"], 0, "^Pier\tperspective\nChart\torthographic\n$", "^$"),
    (["cameras", "scene.glb", "--json"], 0, r'^\[{"name":"Pier","kind":"perspective","animated":false,"of_host":false},', "^$"),
    (["cameras", "bare.gltf"], 0, "^Default\tperspective\tmade by the host\n$", "^$"),
    (["render", "bare.gltf", *SCENE[1:], "--quiet"], 0, "^$", "^[^,]*$"),
    (["guide", "bare.gltf", "-o", "a.png"], 0, "^$", "no camera: it is seen through the host's own, --view 30,20,"),
    (["info", "scene.glb"], 0, r"size       2 x 2 x 0 m.*triangles  1\n.*clip       Walk\t1 s, frames 0 to 30\n.*Run\t2 s, frames 0 to 60, not played"
        r"\ncamera     Pier\tperspective, 28.\d+ mm \(45.8\d+ degrees\), from 0.1 to 100 m\n", "^$"),
    (["info", "scene.glb", "--json", "--clip", "Run", "--fps", "24"], 0, '"last_frame":48,"played":true', "^$"),
    (["cameras", "broken.glb"], 1, "^$", "broken.glb"),
    (["workflows", "--plugin", "plugin"], 0, r"  1\tInk\tink\t.*/home/\.quillmere/workflows/ink\.json\n\* 2\tFLUX\.2 Dev\tflux", "^$"),
    (["workflows", "--plugin", "plugin", "--json"], 0, '"number":2,"id":"flux","name":"FLUX.2 Dev".*"exists":true,"preferred":true', "^$"),
    (["workflows", "list", "--plugin", "plugin", "--json"], 0, '^\\[{"number":1,"id":"ink"', "^$"),
    (["workflows", "add", "--help"], 0, r"add \[OPTIONS\] FILE\n.*Example.*\n  FILE  .*--no-check", "^$"),
    (["workflows", "paint"], 2, "", "command .paint.: there is none.*\n  the commands: list, check, controls, add, rename, remove, move"),
    (["workflows", "rename", "ink"], 2, "", "workflows rename: NAME is required\n  see quillmere workflows rename --help"),
    (["workflows", "add", "scene.glb", "--name=", "--plugin", "plugin"], 2, "", "name ''"),
    (["doctor", "--plugin", "home"], 1, "broken  render helper.*\n.*broken  module", "^$"),
    (["doctor", "--plugin", "plugin", "--module"], 0, r"^identifier  net\.quillmere\.renderer\nunit        register\.cpp\n.*"
        r"entity      \.reflection in \[reflection registration\]\nframework   net\.maxon\.asset\.framework\n", "^$"),
    (["doctor", "--plugin", "home", "--module"], 1, "^$", "holds no module"),
    (["help", "workflows", "add"], 0, r"^Copy.*Usage: quillmere workflows add .*\nExample:.*\n  FILE  .*--no-check", "^$"),
    (["help", "paint"], 2, "", "command 'paint': there is none"),
    (["help", "--man"], 0, r"^\.TH QUILLMERE 1 .*\n\.SS render\n.*\n\.B \\-\\-frames,.*\n\.SS workflows add\n", "^$"),
    (["completion", "fish"], 0, "complete -c quillmere", "^$"),
    (["completion", "tcsh"], 2, "", "bash"),
]


class CommandLine(AppCase):
    def test_every_case_gives_its_status_and_texts(self) -> None:
        self.catalog(("ink", "Ink"), ("flux", "FLUX.2 Dev"), ("t1", "Twin"), ("t2", "Twin"))
        (self.folder / "bare.gltf").write_text('{"asset": {"version": "2.0"}, "scenes": [{}]}')
        (self.folder / "broken.glb").write_bytes(b"glTF\x02\0\0\0\xff\xff\xff\xff")
        for arguments, status, output, errors in CASES:
            with self.subTest(" ".join(arguments)):
                done = self.run_command(*arguments)
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertTrue(re.search(output, done.stdout, re.DOTALL), done.stdout)
                self.assertTrue(re.search(errors, done.stderr, re.DOTALL), done.stderr)

    def test_the_catalog_is_listed_as_the_effect_reads_it(self) -> None:
        home = self.folder / "home"
        plain = '{"workflows": [{"id": "ink", "name": "Ink", "on": true}, {"id": "caf\\u00e9", "name": "Caf\\u00e9"}]}'
        for folder, state, expected in [
            (".quillmere", plain, [("ink", "Ink"), ("caf\\u00e9", "Caf\\u00e9")]),
            (".quillmere", '[{"id": "a/b", "name": "A"}, {"id": "c/d", "name": "C"}, {"id": "e", "name": "E"}]',
             [("a/b", "A"), ("c/d", "C"), ("e", "E")]),
            (".quillmere", '[{"id": "a", "name": "A"}, {"id": "c/d", "name": "C"}]', [("a", "A"), ("c/d", "C")]),
            (".quillmere", '[{"id": "a", "name": "A {1}"}, {"id": "b", "name": "B"}]', [("a", "A {1}"), ("b", "B")]),
            (".quillmere", '[{"id": "old", "id": "new", "name": "N"}, {"name": "no", "id": "no"}]', [("new", "N")]),
            (".tallowcrest", plain, [("ink", "Ink"), ("caf\\u00e9", "Caf\\u00e9")]),
        ]:
            with self.subTest(state, folder=folder):
                shutil.rmtree(home, ignore_errors=True)
                (home / folder).mkdir(parents=True)
                (home / folder / "state.json").write_text(state)
                listed = json.loads(self.run_command("workflows", "--plugin", "plugin", "--json").stdout)
                self.assertEqual([(one["id"], one["name"]) for one in listed], expected)
                paths = [str(home / ".quillmere/workflows" / f"{id.split('/')[-1]}.json") for id, _ in expected]
                self.assertEqual([one["path"] for one in listed], paths)
                self.assertEqual([one["preferred"] for one in listed], [True] + [False] * (len(expected) - 1))

    def test_a_user_without_a_home_is_told_what_to_give(self) -> None:
        del self.env["HOME"], self.env["XDG_DATA_HOME"]
        done = self.run_command("render", "scene.glb", "--plugin", "plugin")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, "write directory: HOME is not set.*\n.*--write-dir")

    def test_a_listing_that_cannot_be_written_is_a_failure(self) -> None:
        for command in (["cameras", "scene.glb"], ["panel", "--plugin", "plugin"], ["completion", "bash"]):
            with self.subTest(command[0]), open("/dev/full", "w") as full:
                done = subprocess.run(self.command(*command), cwd=self.folder, env=self.env, stdout=full, stderr=subprocess.PIPE)
                self.assertEqual(done.returncode, 1)
                self.assertIn(b"quillmere: standard output: cannot be written", done.stderr)

    def test_completion_for_bash_offers_what_help_lists(self) -> None:
        script = self.run_command("completion", "bash").stdout
        self.catalog(("ink", "Ink and Wash"))
        path = {**self.env, "PATH": f"{pathlib.Path(QUILLMERE).parent}:{self.env['PATH']}"}
        ask = 'COMP_WORDS=(quillmere {0}); COMP_CWORD={1}; _quillmere; echo "${{COMPREPLY[*]}}"'
        for words, index, expected in [
            ("ren", 1, "render"),
            ("render --frames", 2, "--frames"),
            ("doctor --x", 2, ""),
            ("workflows re", 2, "rename remove"),
            ("workflows add --n", 3, "--name --no-check"),
            ("render --guide ''", 3, "quick final"),
            ("render scene.glb --camera ''", 4, "Pier Chart"),
            ("render scene.glb --clip R", 4, "Run"),
            ("render none.glb --camera ''", 4, ""),
            ("workflows --plugin plugin remove ''", 5, "Ink\\ and\\ Wash"),
            ("render --plugin plugin --set QUILLMERE_PR", 5, "QUILLMERE_PROMPT="),
        ]:
            with self.subTest(words):
                shell = ["bash", "-c", script + ask.format(words, index)]
                done = subprocess.run(shell, cwd=self.folder, env=path, capture_output=True, encoding="utf-8", timeout=20)
                self.assertEqual(done.stdout, expected + "\n")
