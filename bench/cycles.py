#!/usr/bin/env python3
"""Grain and time of final pictures beside those of Cycles, the path tracer of Blender, on the CPU:

    cycles.py BUILD SCENE CAMERA

The two light a scene in different ways, so each is compared with what it draws itself with very many samples (kept in
the build's bench/grain-pictures until it is deleted). Errors are root mean squares of stored values, as shares of the
mean of the picture without grain. Times are of the processor, for the drawing: those of the whole process less what a
picture of a few pixels takes, which is loading the scene. Then, for each of Cycles' pictures, what it takes us to have
its error, between our pictures or beyond by the line through the two nearest."""

from __future__ import annotations

import argparse
import math
import os
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path
from typing import Dict, List, Tuple

HERE = Path(__file__).resolve().parent
FEW = "8x8"  # pixels


@dataclass
class Picture:
    samples: int
    seconds: float
    error: float


@dataclass
class Job:
    build: Path
    scene: Path
    camera: str
    size: str
    folder: Path

    def command(self, program: str, size: str, samples: int, picture: Path) -> List[str]:
        if program == "ours":
            return [str(self.build / "bin" / "quillmere"), "guide", str(self.scene), "--camera", self.camera, "--guide",
                    "final", "--size", size, "--samples", str(samples), "-o", str(picture)]
        return ["blender", "--background", "--factory-startup", "--python-exit-code", "1", "--python",
                str(HERE / "cycles_scene.py"), "--", str(self.scene), self.camera, *size.split("x"), str(samples),
                str(picture)]

    def draw(self, program: str, size: str, samples: int, picture: Path) -> float:
        """Processor seconds of the process."""
        # Debian's Blender looks for its Python's packages beside the first python3 of PATH.
        process = subprocess.Popen(self.command(program, size, samples, picture), stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, env={**os.environ, "PATH": "/usr/bin:/bin"})
        assert process.stdout is not None
        told = process.stdout.read().decode()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode:
            raise SystemExit(f"cycles: {program} cannot draw {self.scene}: {told.strip()[-400:]}")
        return usage.ru_utime + usage.ru_stime

    def truth(self, program: str, samples: int) -> Path:
        file = self.folder / f"{self.scene.stem}-{self.camera}-{program}-{self.size}-{samples}-truth.png"
        if not file.exists():
            print(f"drawing {file.name} ...", file=sys.stderr, flush=True)
            self.draw(program, self.size, samples, file)
        return file

    def error_of(self, picture: Path, truth: Path) -> float:
        told = subprocess.run([str(self.build / "bench" / "grain"), str(truth), str(picture)], stdout=subprocess.PIPE,
                              check=True).stdout.split()
        return float(told[0]) / float(told[2])

    def measure(self, program: str, samples: int, truth: Path, runs: int) -> Picture:
        file = self.folder / f"{self.scene.stem}-{self.camera}-{program}.png"
        few = self.folder / "few.png"
        whole = min(self.draw(program, self.size, samples, file) for _ in range(runs))
        seconds = whole - min(self.draw(program, FEW, 1, few) for _ in range(runs))
        return Picture(samples, max(1e-3, seconds), self.error_of(file, truth))


def seconds_for(error: float, pictures: List[Picture]) -> float:
    """By the line through the two pictures whose errors are nearest, of logarithms."""
    nearest = sorted(pictures, key=lambda picture: abs(math.log(picture.error / error)))[:2]
    (x, y), (u, v) = ((math.log(picture.error), math.log(picture.seconds)) for picture in nearest)
    return math.exp(y + (v - y) * (math.log(error) - x) / (u - x)) if u != x else math.exp(y)


def counts(text: str) -> Tuple[int, ...]:
    return tuple(int(count) for count in text.split(","))


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=Path, metavar="BUILD", help="the folder of this build, such as build/release")
    parser.add_argument("scene", type=Path, metavar="SCENE", help="a glTF file")
    parser.add_argument("camera", metavar="CAMERA", help="its name")
    parser.add_argument("--size", default="240x135", metavar="WxH")
    parser.add_argument("--samples", type=counts, default=(16, 64, 256), metavar="N,...", help="of Cycles")
    parser.add_argument("--ours", type=counts, default=(1, 4, 16, 64), metavar="N,...", help="samples of ours")
    parser.add_argument("--reference", type=int, default=4096, metavar="N", help="samples of pictures without grain")
    parser.add_argument("--runs", type=int, default=3, metavar="N")
    return parser.parse_args()


def main() -> None:
    asked = arguments()
    folder = (asked.build / "bench" / "grain-pictures").resolve()
    folder.mkdir(parents=True, exist_ok=True)
    job = Job(asked.build, asked.scene.resolve(), asked.camera, asked.size, folder)
    found: Dict[str, List[Picture]] = {}
    print(f"{'program':<8} {'samples':>7} {'draw s':>8} {'error':>8}")
    for program, samples in (("ours", asked.ours), ("cycles", asked.samples)):
        truth = job.truth(program, asked.reference)
        found[program] = [job.measure(program, count, truth, asked.runs) for count in samples]
        for picture in found[program]:
            print(f"{program:<8} {picture.samples:>7} {picture.seconds:>8.3f} {picture.error:>8.4f}", flush=True)
    for picture in found["cycles"]:
        mine = seconds_for(picture.error, found["ours"])
        print(f"the error of Cycles at {picture.samples} samples: {mine:.3f} s for us, {picture.seconds:.3f} s for Cycles,"
              f" {picture.seconds / mine:.1f} times as long")


if __name__ == "__main__":
    main()
