#!/usr/bin/env python3
"""Two versions of the render helper in turns on the same guides: processor time of the whole process with the embedded
drawing, and how far their pictures are apart.

drawing.py FORMER NEW GUIDE...: two folders called python, and PNG guides. Needs Pillow."""

from __future__ import annotations

import json
import os
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

from PIL import Image, ImageChops, ImageStat

RUNS = 9
PROMPT = "a fishing harbour at golden dusk, warm lantern light"


def request(helper: Path, guide: Path, folder: Path) -> Path:
    width, height = Image.open(guide).size
    members = {"workflow_path": str(helper / "workflows" / "ink_wash.json"), "output_dir": str(folder)}
    members.update(output_prefix="drawing", effective_prompt=PROMPT, reference_image=str(guide), locked_style_image="")
    path = folder / "request.json"
    path.write_text(json.dumps({**members, "status_path": str(folder / "status"), "width": width, "height": height, "frame": 1}))
    return path


def drawn(helper: Path, guide: Path, folder: Path) -> tuple[float, Image.Image]:
    """Milliseconds of both cores that one process takes, and its picture."""
    response = folder / "response.json"
    command = [sys.executable, str(helper / "quillmere_render_helper.py"), str(request(helper, guide, folder)), str(response)]
    process = subprocess.Popen(command)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode:
        raise subprocess.CalledProcessError(process.returncode, command)
    picture = Image.open(json.loads(response.read_text())["first_output"]).convert("RGB")
    return 1000 * (usage.ru_utime + usage.ru_stime), picture


def main() -> None:
    former, new, *guides = (Path(given).resolve() for given in sys.argv[1:])
    for guide in guides:
        with tempfile.TemporaryDirectory() as folder:
            runs = [[drawn(helper, guide, Path(folder)) for helper in (former, new)] for _ in range(RUNS)]
        times = [statistics.median(run[place][0] for run in runs) for place in (0, 1)]
        apart = ImageStat.Stat(ImageChops.difference(runs[0][0][1], runs[0][1][1])).mean
        print(f"{guide.name:<24} former {times[0]:5.0f} ms   new {times[1]:5.0f} ms   ratio {times[1] / times[0]:4.2f}   "
              f"pictures apart {max(apart):4.2f} of 255")


if __name__ == "__main__":
    main()
