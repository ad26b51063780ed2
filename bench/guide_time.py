#!/usr/bin/env python3
"""How long quick guides take, as whole processes: guide_time.py BUILD [--against OTHER/bin/quillmere] SCENE [CAMERA]

Draws one at 1024 x 576 and at 3840 x 2160 with each build in turn, prints the medians of processor and wall time and
their ratio to the other build's. Then eight frames with a pass in one process: what a further one takes, as a share of
a process that draws one of them. Processor time is what to compare: wall time tells of what else the machine does.
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
PASS = ["--pass", "depth", "--depth-range", "1:200"]  # guides alone are written one at a time

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
            passes = [[*seen, *PASS, "--size", size, "--frames", frames, "-o", f"{folder}/{size}_####.png"] for frames in ("0", f"0-{FRAMES - 1}")]
            times: List[List[Times]] = [[] for _ in programs]
            sequences: List[List[Times]] = [[], []]
            for _ in range(rounds):
                for program, kept in zip(programs, times):
                    kept.append(timed(program, one))
                for arguments, kept in zip(passes, sequences):
                    kept.append(timed(programs[0], arguments))
            (cpu, wall), *others = map(medians, times)
            print(f"{size:>10}  {cpu:6.3f} s CPU  {wall:6.3f} s", end="")
            for other_cpu, other_wall in others:
                print(f"  against {other_cpu:6.3f} {other_wall:6.3f}: {cpu / other_cpu:.2f} {wall / other_wall:.2f}", end="")
            alone, together = map(medians, sequences)
            further = [(many - single) / (FRAMES - 1) for single, many in zip(alone, together)]
            print(f"\n  a further frame with a pass {further[0]:6.3f} s CPU  {further[1]:6.3f} s, of a process {further[0] / alone[0]:.2f} {further[1] / alone[1]:.2f}")


if __name__ == "__main__":
    main()
