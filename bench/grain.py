#!/usr/bin/env python3
"""How far final pictures are from those without grain, beside another build of the command.

Each scene is drawn through its first camera by both programs in turn, and compared with what the same program draws
with very many samples, which is kept in FOLDER. The other program is then drawn with as many samples as take it as long
as this one: the last column is how many times its error ours is at the same time. Times are of the processor, which
other work on the machine changes least: of the whole process, and of the drawing, less what a picture of one pixel
takes. RMSE is of stored values, 0 to 1; SSIM is the mean structural similarity."""

from __future__ import annotations

import argparse
import os
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path

from grain_scenes import write_scenes

HERE = Path(__file__).resolve().parent


@dataclass
class Program:
    name: str
    file: Path


@dataclass
class Picture:
    samples: int
    whole: float  # seconds
    drawing: float
    rmse: float = 0.0
    ssim: float = 0.0


@dataclass
class Bench:
    compare: Path  # the program that measures pictures
    folder: Path
    size: str
    reference: int
    runs: int

    def draw(self, program: Program, scene: Path, size: str, samples: int, picture: Path) -> float:
        """Processor seconds; raises when the program fails."""
        command = [str(program.file), "guide", str(scene), "--guide", "final", "--size", size,
                   "--samples", str(samples), "-o", str(picture)]
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        assert process.stderr is not None
        told = process.stderr.read().decode()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode:
            raise SystemExit(f"grain: {program.file} cannot draw {scene}: {told.strip()}")
        return usage.ru_utime + usage.ru_stime

    def truth(self, program: Program, scene: Path) -> Path:
        """The picture without grain, drawn once: it is drawn anew when scene or program are younger."""
        file = self.folder / f"{scene.stem}-{program.name}-{self.size}-{self.reference}.png"
        newest = max(scene.stat().st_mtime, program.file.stat().st_mtime)
        if not file.exists() or file.stat().st_mtime < newest:
            print(f"drawing {file.name} ...", file=sys.stderr, flush=True)
            self.draw(program, scene, self.size, self.reference, file)
        return file

    def pictures(self, scene: Path, asked: list[tuple[Program, int]]) -> list[Picture]:
        """Of the least of several runs each, in turn."""
        best: list[Picture] = []
        for run in range(self.runs):
            for i, (program, samples) in enumerate(asked):
                file = self.folder / f"{scene.stem}-{program.name}-{i}.png"
                whole = self.draw(program, scene, self.size, samples, file)
                drawing = max(0.001, whole - self.draw(program, scene, "1x1", 1, self.folder / "pixel.png"))
                if run == 0:
                    best.append(Picture(samples, whole, drawing, *self.errors(self.truth(program, scene), file)))
                best[i].whole = min(best[i].whole, whole)
                best[i].drawing = min(best[i].drawing, drawing)
        return best

    def errors(self, truth: Path, picture: Path) -> tuple[float, float]:
        told = subprocess.run([str(self.compare), str(truth), str(picture)], stdout=subprocess.PIPE, check=True)
        rmse, ssim, _ = told.stdout.split()
        return float(rmse), float(ssim)


def row(scene: Path, program: Program, picture: Picture, more: str = "") -> None:
    print(f"{scene.stem:<18} {program.name:<7} {picture.samples:>7} {picture.whole:>8.3f} {picture.drawing:>8.3f}"
          f" {picture.rmse:>8.5f} {picture.ssim:>8.4f} {more}", flush=True)


def measure(bench: Bench, scene: Path, ours: Program, other: Program | None, samples: int) -> None:
    if other is None:
        row(scene, ours, bench.pictures(scene, [(ours, samples)])[0])
        return
    mine, theirs = bench.pictures(scene, [(ours, samples), (other, samples)])
    row(scene, other, theirs)
    row(scene, ours, mine, f"{mine.rmse / theirs.rmse:.2f} of the error, {mine.drawing / theirs.drawing:.2f} of the time")
    alike = max(1, round(samples * mine.drawing / theirs.drawing))
    mine, theirs = bench.pictures(scene, [(ours, samples), (other, alike)])
    row(scene, other, theirs, f"{mine.rmse / theirs.rmse:.2f} of the error, {mine.drawing / theirs.drawing:.2f} of the time")


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=Path, metavar="BUILD", help="the folder of this build, such as build/release")
    parser.add_argument("scenes", type=Path, nargs="*", metavar="SCENE", help="glTF files with a camera (default: the "
                        "harbour of examples/ and the scenes of grain_scenes.py)")
    parser.add_argument("--against", type=Path, metavar="PROGRAM", help="another build's quillmere")
    parser.add_argument("--size", default="240x135", metavar="WxH")
    parser.add_argument("--samples", type=int, default=16, metavar="N")
    parser.add_argument("--reference", type=int, default=4096, metavar="N", help="samples of the picture without grain")
    parser.add_argument("--runs", type=int, default=3, metavar="N")
    return parser.parse_args()


def main() -> None:
    asked = arguments()
    bench = Bench(asked.build / "bench" / "grain", asked.build / "bench" / "grain-pictures", asked.size,
                  asked.reference, asked.runs)
    bench.folder.mkdir(parents=True, exist_ok=True)
    scenes = asked.scenes
    if not scenes:
        harbour = bench.folder / "harbour.glb"
        if not harbour.exists():
            subprocess.run([sys.executable, str(HERE.parent / "examples" / "make_harbour.py"), str(harbour)], check=True)
        scenes = [harbour, *write_scenes(bench.folder)]
    other = Program("other", asked.against) if asked.against else None
    print(f"{'scene':<18} {'program':<7} {'samples':>7} {'whole s':>8} {'draw s':>8} {'RMSE':>8} {'SSIM':>8}")
    for scene in scenes:
        measure(bench, scene, Program("ours", asked.build / "bin" / "quillmere"), other, asked.samples)


if __name__ == "__main__":
    main()
