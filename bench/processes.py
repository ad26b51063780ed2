#!/usr/bin/env python3
"""Whole processes of the command: wall time and peak memory of guides, medians of several runs.

processes.py QUILLMERE [SCENE [CAMERA]]: without a scene, the harbour of examples/ is made first."""

from __future__ import annotations

import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

RUNS = 11
EXAMPLE = Path(__file__).resolve().parent.parent / "examples" / "make_harbour.py"


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
    quillmere, *rest = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        scene = rest[0] if rest else str(Path(folder) / "harbour.glb")
        if not rest:
            subprocess.run([sys.executable, str(EXAMPLE), scene], check=True)
        camera = ["--camera", rest[1]] if len(rest) > 1 else []
        print(f"\nwhole processes, {RUNS} runs each, {os.cpu_count()} cores")
        report("quillmere --version", [quillmere, "--version"])
        for size in ("1024x576", "1920x1080"):
            command = [quillmere, "guide", scene, *camera, "--size", size, "-o", str(Path(folder) / "guide.png")]
            report(f"quillmere guide {Path(scene).name} {size}", command)


if __name__ == "__main__":
    main()
