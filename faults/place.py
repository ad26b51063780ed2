"""Where one run takes place: a folder with a scene, a plug-in, a home and an earlier picture, and the command in it."""

from __future__ import annotations

import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time
from typing import Callable, Optional

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tests" / "app"), str(ROOT / "tests" / "python"), str(ROOT / "python")]

from scratch_render import png  # noqa: E402
from app_case import PLUGIN, QUILLMERE, READ_REQUEST, SHELL_AS_PYTHON, processes_with, write_scene  # noqa: E402

FORMER = png(9, 7)  # lies under the name of the first frame
LONGEST = 30.0  # seconds of a run; what takes longer hangs
MOST_KEPT = 1 << 20  # bytes of what a run prints
HELPERS = {  # what makes the pictures, by name; "real" is the helper itself, with its embedded back end
    "quick": "answer",
    "slow": "say One; sleep 0.2; say Two; sleep 0.2; answer",
    "with a child": "say Child; (sleep 0.5; :) & answer; wait",
    "failing": 'printf \'{"ok": false, "error": "no luck today"}\' > "$response"; exit 1',
    "silent": "exit 1",
    "real": "",
}


class Ended:
    """How the command ended, as far as it could be seen; the texts may be cut off or unseen."""

    def __init__(self, status: Optional[int], output: str, errors: str) -> None:
        self.status, self.output, self.errors = status, output, errors


class Place:
    def __init__(self, chance: random.Random, fault: str, helper: str = "") -> None:
        """`helper`: the one to use, or empty: any."""
        self.chance, self.fault = chance, fault
        self._temporary = tempfile.TemporaryDirectory(prefix="quillmere-faults-", ignore_cleanup_errors=True)
        self.folder = pathlib.Path(self._temporary.name)
        write_scene(self.folder / "scene.glb")
        (self.folder / "bin").mkdir()
        (self.folder / "render_0000.png").write_bytes(FORMER)
        any_helper = ["quick", "quick", "slow", "slow", "with a child", "failing", "silent", "real", "real"]
        self.helper = helper or chance.choice(any_helper)
        self._make_plugin()
        self.frames = chance.randint(1, 3)
        self.environment = dict(
            os.environ,
            HOME=str(self.folder / "home"),
            XDG_DATA_HOME=str(self.folder / "data"),
            PATH=f"{self.folder / 'bin'}:{os.environ['PATH']}",
            QUILLMERE_FAULTS_MARK=self.folder.name,
            # The leak check is a process of its own, for which the checked one waits without end where it is killed.
            ASAN_OPTIONS=os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0",
        )

    def _make_plugin(self) -> None:
        plugin = self.folder / "plugin"
        plugin.mkdir()
        for entry in PLUGIN.iterdir():
            if entry.name != "python":
                (plugin / entry.name).symlink_to(entry)
        if self.helper == "real":
            (plugin / "python").symlink_to(PLUGIN / "python")
            return
        (plugin / "python" / "workflows").mkdir(parents=True)
        (plugin / "python" / "workflows" / "ink_wash.json").write_text("{}")
        (plugin / "python" / "quillmere_render_helper.py").write_text(f"{READ_REQUEST}{HELPERS[self.helper]}\n")
        (self.folder / "bin" / "python3").write_text(SHELL_AS_PYTHON)
        (self.folder / "bin" / "python3").chmod(0o755)

    @property
    def must_succeed(self) -> bool:
        return self.fault == "no fault" and self.helper in ("quick", "slow", "with a child")

    @property
    def runtime(self) -> pathlib.Path:
        return self.folder / "write" / "quillmere" / "c4d" / "runtime"

    def command(self, *more: str) -> list[str]:
        frames = ["--frames", f"0-{self.frames - 1}"] if self.frames > 1 else []
        where = ["--plugin", "plugin", "--write-dir", "write", "--output", "render_####.png", "--output-dir", "pictures"]
        return [QUILLMERE, "render", "scene.glb", *where, "--size", "32x24", *frames, *more]

    def start(
        self, *more: str, prepare: Optional[Callable[[], None]] = None, stdout: int = subprocess.PIPE
    ) -> "subprocess.Popen[bytes]":
        return subprocess.Popen(
            self.command(*more),
            cwd=self.folder,
            env=self.environment,
            stdin=subprocess.DEVNULL,
            stdout=stdout,
            stderr=subprocess.PIPE,
            start_new_session=True,
            preexec_fn=prepare,
        )

    def end_of(self, process: "subprocess.Popen[bytes]") -> Ended:
        """Waits for it; a status of None is a hang, which is ended."""
        try:
            output, errors = process.communicate(timeout=LONGEST)
            status: Optional[int] = process.returncode
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            output, errors = process.communicate()
            status = None
        texts = [(text or b"")[:MOST_KEPT].decode("utf-8", "replace") for text in (output, errors)]
        return Ended(status, *texts)

    def a_while(self, longest: float = 0.6) -> None:
        time.sleep(self.chance.random() * longest)

    def processes(self) -> list[int]:
        return [int(path.split("/")[2]) for path in processes_with(self.folder.name)]

    def close(self) -> None:
        for process in self.processes():  # all of them bear this run's own mark
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass
        self._temporary.cleanup()
