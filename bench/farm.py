#!/usr/bin/env python3
"""Frames an hour of array jobs in a Slurm of one node, with 1, 2 and 4 tasks at a time, and what of the tasks' time went into
starting and ending them.

farm.py QUILLMERE SCENE [FRAMES [SIZE]]"""

from __future__ import annotations

import datetime
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "tests/farm"))

from loopback_slurm import LoopbackSlurm, missing  # noqa: E402


def times(pattern: str, text: str) -> list[float]:
    return [datetime.datetime.fromisoformat(time).timestamp() for time in re.findall(pattern, text, re.MULTILINE)]


def measured(slurm: LoopbackSlurm, quillmere: str, scene: str, frames: int, size: str, tasks: int) -> tuple[float, float]:
    """Seconds from the first task's start to the last one's end, and the share of the tasks' time that was in no frame."""
    with tempfile.TemporaryDirectory() as folder:
        job = pathlib.Path(folder) / "job"
        submit = [quillmere, "submit", scene, "--frames", f"1-{frames}", "--size", size, "--output", f"{folder}/a_####.png",
                  "--to", "slurm", "--array-size", str(tasks), "-o", str(job), "--", "--wait"]
        subprocess.run(submit, check=True, env={**os.environ, **slurm.env}, capture_output=True)
        told = "\n".join(log.read_text() for log in (job / "logs").glob("*.log") if not log.name.endswith(".frames.log"))
        starts, ends = times(r"^(\S+) \S+ start", told), times(r"^(\S+) end after", told)
        in_frames = sum(float(seconds) for seconds in re.findall(r"frame -?\d+ done in ([\d.]+) s", told))
        return max(ends) - min(starts), 1 - in_frames / (sum(ends) - sum(starts))


def main() -> None:
    quillmere, scene, *rest = sys.argv[1:]
    frames, size = int(rest[0]) if rest else 24, rest[1] if len(rest) > 1 else "1024x576"
    if missing():
        print(f"\nfarm: left out, not installed: {', '.join(missing())}")
        return
    print(f"\n{frames} frames of {size} in a Slurm of one node, {os.cpu_count()} cores")
    with tempfile.TemporaryDirectory() as folder:
        slurm = LoopbackSlurm(pathlib.Path(folder) / "slurm", 4)
        try:
            slurm.start()
            for tasks in (1, 2, 4):
                seconds, lost = measured(slurm, quillmere, scene, frames, size, tasks)
                print(f"{tasks} tasks at a time  {frames / seconds * 3600:8.0f} frames an hour   {lost:6.1%} of the tasks' time not in frames")
        finally:
            slurm.stop()


if __name__ == "__main__":
    main()
