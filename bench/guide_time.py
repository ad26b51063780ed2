#!/usr/bin/env python3
"""How long quick guides take, as whole processes: guide_time.py BUILD [--against OTHER/bin/quillmere] SCENE [CAMERA]

Draws one at 1024 x 576 and at 3840 x 2160 with each build in turn, prints the medians of processor and wall time and
their ratio to the other build's. Then eight frames of the scene in one process: what a further frame takes, as a share
of a process that draws one. Processor time is what to compare: wall time tells of what else the machine does.
"""

from __future__ import annotations

import argparse
import pathlib
import resource
import statistics
import subprocess
import tempfile
import time
from typing import List, Tuple

SIZES = {"1024x576": 11, "3840x2160": 5}  # and rounds
FRAMES = 8

Times = Tuple[float, float]  # seconds of processors and by the clock


def timed(program: pathlib.Path, arguments: List[str]) -> Times:
    before, begun = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run([program, "guide", *arguments], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    took, after = time.monotonic() - begun, resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, took


def medians(times: List[Times]) -> Times:
    return statistics.median(one[0] for one in times), statistics.median(one[1] for one in times)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--against", type=pathlib.Path)
    parser.add_argument("scene")
    parser.add_argument("camera", nargs="?")
    given = parser.parse_args()
    programs = [given.build / "bin/quillmere", *([given.against] if given.against else [])]
    seen = [given.scene, *(["--camera", given.camera] if given.camera else [])]
    with tempfile.TemporaryDirectory() as folder:
        for size, rounds in SIZES.items():
            one = [*seen, "--size", size, "-o", f"{folder}/guide.png"]
            many = [*seen, "--size", size, "--frames", f"0-{FRAMES - 1}", "-o", f"{folder}/guide_####.png"]
            times: List[List[Times]] = [[] for _ in programs]
            sequences = []
            for _ in range(rounds):
                for program, kept in zip(programs, times):
                    kept.append(timed(program, one))
                sequences.append(timed(programs[0], many))
            (cpu, wall), *others = map(medians, times)
            print(f"{size:>10}  {cpu:6.3f} s CPU  {wall:6.3f} s", end="")
            for other_cpu, other_wall in others:
                print(f"  against {other_cpu:6.3f} {other_wall:6.3f}: {cpu / other_cpu:.2f} {wall / other_wall:.2f}", end="")
            further = [(a - b) / (FRAMES - 1) for a, b in zip(medians(sequences), (cpu, wall))]
            print(f"\n{'next frame':>10}  {further[0]:6.3f} s CPU  {further[1]:6.3f} s  {further[0] / cpu:.2f} {further[1] / wall:.2f} of a process")


if __name__ == "__main__":
    main()
