#!/usr/bin/env python3
"""Whole processes of the command: wall time and peak memory of guides, medians of several runs.

processes.py QUILLMERE SCENE CAMERA: an empty camera name means the scene's first one."""

from __future__ import annotations

import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

RUNS = 11


def measured(command: list[str]) -> tuple[float, float]:
    """Seconds and peak resident megabytes of one run; raises when it fails."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode:
        raise subprocess.CalledProcessError(process.returncode, command)
    return seconds, usage.ru_maxrss / 1024


def report(name: str, command: list[str]) -> None:
    runs = [measured(command) for _ in range(RUNS)]
    seconds = [run[0] for run in runs]
    print(f"{name:<44} median {statistics.median(seconds):6.3f} s   least {min(seconds):6.3f} s   "
          f"peak {max(run[1] for run in runs):6.0f} MB")


def main() -> None:
    quillmere, scene, camera = sys.argv[1:]
    print(f"\nwhole processes, {RUNS} runs each, {os.cpu_count()} cores")
    report("quillmere --version", [quillmere, "--version"])
    with tempfile.TemporaryDirectory() as folder:
        for size in ("1024x576", "1920x1080"):
            command = [quillmere, "guide", scene, "--size", size, "-o", str(Path(folder) / "guide.png")]
            report(f"quillmere guide {Path(scene).name} {size}", command + (["--camera", camera] if camera else []))


if __name__ == "__main__":
    main()
