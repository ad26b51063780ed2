"""What the tests of farms play on: the real helper, behind an interpreter that notes each frame that it is started for."""

from __future__ import annotations

import collections
import os
import pathlib
import re
import shutil
import sys

sys.path[:0] = [str(pathlib.Path(__file__).parents[1] / "app")]

from app_case import PLUGIN, AppCase  # noqa: E402
import png_pixels  # noqa: E402

NOTING_PYTHON = """#!/bin/sh
case $2 in */request_*.json) echo "$2" >> "{calls}" ;; esac
exec "{python}" "$@"
"""


class FarmCase(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.calls = self.folder / "calls"
        self.calls.touch()
        python = shutil.which("python3", path="/usr/bin:/bin:" + os.environ["PATH"])
        (self.folder / "bin/python3").write_text(NOTING_PYTHON.format(calls=self.calls, python=python))
        (self.folder / "tmp").mkdir()
        self.env.pop("SLURM_TMPDIR", None)
        self.env["TMPDIR"] = str(self.folder / "tmp")

    def submit(self, engine: str, *more: str):
        return self.run_command("submit", "scene.glb", "--plugin", str(PLUGIN), "--size", "64x36", "--output", "shots/a_####.png", "--to", engine, "-o", "job", *more)

    def starts(self) -> dict[int, int]:
        """How often the helper was started for each frame."""
        return collections.Counter(int(frame) for frame in re.findall(r"request_(-?\d+)\.json", self.calls.read_text()))

    def whole_frames(self) -> list[int]:
        frames = []
        for file in sorted((self.folder / "shots").glob("a_*.png")):
            self.assertEqual(len(png_pixels.read(file)), 36)
            frames.append(int(file.stem[2:]))
        return frames
