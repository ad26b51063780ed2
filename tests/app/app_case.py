"""What the tests of the command play on: a small scene, a plug-in folder with a scripted helper, a home of its own."""

from __future__ import annotations

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path[:0] = [str(pathlib.Path(__file__).parents[1]), str(pathlib.Path(__file__).parents[2] / "examples")]

import default_signals  # noqa: E402
from harbour.glb import GlbWriter  # noqa: E402

default_signals.restore()
QUILLMERE = os.environ["QUILLMERE"]
PLUGIN = pathlib.Path(os.environ["QUILLMERE_PLUGIN"])
SANITIZER = os.environ.get("QUILLMERE_SANITIZE", "")  # of the build

# In place of python3, so that a scripted helper starts at once; the helper is then a shell script.
SHELL_AS_PYTHON = '#!/bin/sh\n[ "$1" = -c ] && echo "$0 3.11" && exit\nexec /bin/sh "$@"\n'
READ_REQUEST = """case $1 in --*) exit;; esac
request=$1 response=$2
field() { sed -n "s/^  \\"$1\\": \\"\\(.*\\)\\",*$/\\1/p" "$request"; }
tell() { printf '{%s}' "$1" > "$(field status_path).new" && mv "$(field status_path).new" "$(field status_path)"; }
say() { tell "\\"message\\": \\"$1\\""; }
answer() {
  mkdir -p "$(field output_dir)"
  cp "$(field reference_image)" "$(field output_dir)/picture.png"
  printf '{"ok": true, "first_output": "%s"}' "$(field output_dir)/picture.png" > "$response"
}
"""


def write_scene(file: pathlib.Path) -> None:
    """A triangle that moves to the right within a second or up within two, a perspective and an orthographic camera."""
    glb, depth = GlbWriter(), {"znear": 0.1, "zfar": 100}
    corners = glb.add_positions([(-1, -1, 0), (1, -1, 0), (0, 1, 0)])
    sail = glb.add("meshes", {"primitives": [{"attributes": {"POSITION": corners}}]})
    node = glb.add_node("Sail", mesh=sail)
    clips = glb.document.setdefault("animations", [])
    for name, seconds, end in (("Run", 2, (0, 1, 0)), ("Walk", 1, (0.5, 0, 0))):
        clips.insert(0, {"name": name, "channels": [], "samplers": []})  # keys go to the first
        glb.animate(node, "translation", [0, seconds], [(0, 0, 0), end])
    for name, x, kind, lens in (("Pier", 0, "perspective", {"yfov": 0.8}), ("Chart", 0.3, "orthographic", {"xmag": 2, "ymag": 2})):
        camera = glb.add("cameras", {"type": kind, kind: {**lens, **depth}})
        glb.add_node(name, camera=camera, translation=[x, 0, 4])
    file.write_bytes(glb.to_bytes())


def processes_with(marker: str) -> list[str]:
    """The environments of the processes that hold `marker` there, however they were started; zombies have none."""
    search = ["sh", "-c", 'grep -lsz -- "$0" /proc/[0-9]*/environ', marker]
    return subprocess.run(search, capture_output=True, encoding="utf-8").stdout.split()


class AppCase(unittest.TestCase):
    """One temporary folder per test: scene.glb, home/, write/, plugin/ with a helper that answers at once."""

    def setUp(self) -> None:
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quillmere-app-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        write_scene(self.folder / "scene.glb")
        plugin = self.folder / "plugin"
        (plugin / "python" / "workflows").mkdir(parents=True)
        (plugin / "python" / "workflows" / "ink_wash.json").write_text("{}")
        for entry in PLUGIN.iterdir():
            if entry.name != "python":
                (plugin / entry.name).symlink_to(entry)
        (self.folder / "bin").mkdir()
        (self.folder / "bin" / "python3").write_text(SHELL_AS_PYTHON)
        (self.folder / "bin" / "python3").chmod(0o755)
        self.helper("answer")
        self.env = dict(
            os.environ,
            HOME=str(self.folder / "home"),
            XDG_DATA_HOME=str(self.folder / "data"),
            PATH=f"{self.folder / 'bin'}:{os.environ['PATH']}",
            QUILLMERE_TEST_MARK=self.folder.name,
        )

    def helper(self, script: str, looks: str = "exit") -> None:
        """One that renders as `script` does, and answers questions about workflows and servers as `looks` does."""
        text = f"case $1 in --*) {looks}\nexit;; esac\n{READ_REQUEST}{script}\n"
        (self.folder / "plugin" / "python" / "quillmere_render_helper.py").write_text(text)

    def catalog(self, *workflows: tuple[str, str]) -> None:
        home = self.folder / "home" / ".quillmere"
        (home / "workflows").mkdir(parents=True, exist_ok=True)
        (home / "state.json").write_text(json.dumps({"workflows": [{"id": id, "name": name} for id, name in workflows]}))
        for id, _ in workflows:
            (home / "workflows" / f"{id}.json").write_text("{}")

    def command(self, *arguments: str) -> list[str]:
        return [QUILLMERE, *arguments]

    def start(self, *arguments: str, **popen) -> subprocess.Popen:
        """A render that goes on beside the test; killed at its end at the latest."""
        process = subprocess.Popen(self.command(*self.render_arguments(*arguments)), cwd=self.folder, **{"env": self.env, **popen})
        for cleanup in (*(pipe.close for pipe in (process.stdout, process.stderr) if pipe), process.wait, process.kill):
            self.addCleanup(cleanup)
        return process

    def run_command(self, *arguments: str) -> subprocess.CompletedProcess[str]:
        return subprocess.run(
            self.command(*arguments), cwd=self.folder, env=self.env, capture_output=True, timeout=120, encoding="utf-8"
        )

    def render_arguments(self, *more: str) -> list[str]:
        size = [] if "--size" in more else ["--size", "32x24"]
        return ["render", "scene.glb", "--plugin", "plugin", "--write-dir", "write", *size, *more]

    def render(self, *more: str) -> subprocess.CompletedProcess[str]:
        return self.run_command(*self.render_arguments(*more))

    def events(self, *more: str) -> list[dict]:
        done = self.render("--json", *more)
        return [json.loads(line) for line in done.stdout.splitlines()]

    def request(self, frame: int = 0) -> dict:
        return json.loads((self.folder / "write/quillmere/c4d/runtime" / f"request_{frame}.json").read_text())

    def assert_nothing_left(self) -> None:
        self.assertEqual(processes_with(self.folder.name), [])
