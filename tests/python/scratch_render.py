"""A folder with everything that one run of the helper needs, and the run as a process of its own."""

import json
import os
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import zlib
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HELPER = ROOT / "python" / "quillmere_render_helper.py"
sys.path[:0] = [str(ROOT / "python"), str(ROOT / "tests")]

import default_signals  # noqa: E402

from quillmere_helper import interpreter  # noqa: E402
from quillmere_helper.png import file_of  # noqa: E402

default_signals.restore()


def with_pillow():
    """An interpreter that can draw, or None."""
    if interpreter.can_import(sys.executable, "PIL.Image"):
        return sys.executable
    return interpreter.find("PIL.Image") or None


def without_pillow(folder):
    """An interpreter that cannot draw: a virtual environment in `folder` without any package."""
    home = Path(folder) / "bare"
    (home / "bin").mkdir(parents=True)
    (home / "pyvenv.cfg").write_text(f"home = {Path(sys.executable).parent}\ninclude-system-site-packages = false\n")
    (home / "bin" / "python3").symlink_to(sys.executable)
    return str(home / "bin" / "python3")


def png(width, height, colour=(200, 60, 40), depth=8):
    """An RGB PNG of one colour, made without any picture library."""
    samples = bytes(colour) if depth == 8 else b"".join(bytes((sample, sample)) for sample in colour)
    header = struct.pack(">IIBBBBB", width, height, depth, 2, 0, 0, 0)
    return file_of((b"IHDR", header), (b"IDAT", zlib.compress((b"\0" + samples * width) * height, 1)))


class RenderCase(unittest.TestCase):
    """A test with a scratch folder; `members` is the request that the next run is given."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="quillmere-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.outputs = self.folder / "outputs"
        self.response_file = self.folder / "response_3.json"
        self.status_file = self.folder / "status_3.json"
        self.environment = dict(os.environ)
        self.write("reference_3.png", png(64, 36))
        self.members = {
            "workflow_path": str(ROOT / "python" / "workflows" / "ink_wash.json"),
            "output_dir": str(self.outputs),
            "output_prefix": "shot",
            "effective_prompt": "a quiet street",
            "reference_image": str(self.folder / "reference_3.png"),
            "locked_style_image": "",
            "status_path": str(self.status_file),
            "width": 64,
            "height": 36,
            "frame": 3,
        }

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else json.dumps(content).encode())
        return str(path)

    def start(self, python=None, request=None, name="request_3.json", **popen):
        """Starts the helper on `request`, or on `members`, after the status that the effect leaves for it."""
        path = self.write(name, self.members if request is None else request)
        self.write(self.status_file.name, {"phase": "prepare", "message": "Preparing Quillmere render"})
        command = [python or sys.executable, str(HELPER), path, str(self.response_file)]
        process = subprocess.Popen(command, env=self.environment, stderr=subprocess.PIPE, text=True, **popen)
        self.addCleanup(lambda: (process.poll() is None and process.kill(), process.wait(), process.stderr.close()))
        return process

    def run_helper(self, **start):
        """Runs the helper to its end; returns its exit status and its response (None when there is none)."""
        process = self.start(**start)
        self.errors = process.communicate(timeout=60)[1]
        return process.returncode, self.response()

    def assert_rendered(self, **start):
        status, response = self.run_helper(**start)
        self.assertEqual((status, response["ok"]), (0, True), (response, self.errors))
        self.assert_no_leftovers()
        return response

    def assert_fails(self, *named, **start):
        """The answer of a render that fails names all this and is for people."""
        status, response = self.run_helper(**start)
        self.assertEqual((status, response["ok"]), (1, False), self.errors)
        for part in named:
            self.assertIn(part, response["error"])
        self.assertNotRegex(response["error"], "unexpectedly|[\\\\\n]")
        self.assertLess(len(response["error"]), 1000)
        self.assert_no_leftovers()

    def response(self):
        return json.loads(self.response_file.read_text("utf-8")) if self.response_file.exists() else None

    def message(self):
        return json.loads(self.status_file.read_text("utf-8"))["message"] if self.status_file.exists() else ""

    def wait_for(self, condition, what, seconds=60):
        end = time.monotonic() + seconds
        while not condition():
            self.assertLess(time.monotonic(), end, f"waited in vain for {what}; the last message is {self.message()!r}")
            time.sleep(0.005)

    def assert_cancelled(self, process):
        """Sends signal 15: the helper is gone within a second and leaves an answer, but no half-written file."""
        process.send_signal(signal.SIGTERM)
        sent = time.monotonic()
        process.wait(timeout=20)
        self.assertLess(time.monotonic() - sent, 1.0, "seconds from the signal to the end")
        self.assertNotEqual(process.returncode, 0)
        self.assertFalse(self.response()["ok"])
        self.assertTrue(self.response()["error"])
        self.assert_no_leftovers()

    def assert_no_leftovers(self):
        self.assertEqual([str(path) for path in self.folder.rglob("*.part")], [])
