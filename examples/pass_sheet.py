#!/usr/bin/env python3
"""pass_sheet.py PASSES.png SHEET: the pictures that `quillmere guide --pass all -o PASSES.png` has written, on one sheet."""

from __future__ import annotations

import sys
from pathlib import Path

from PIL import Image

PASSES = ("depth", "normal", "object", "material", "albedo", "lines")
COLUMNS, WIDTH, GAP = 3, 400, 6  # pixels


def main(passes: Path, sheet: Path) -> None:
    pictures = [Image.open(passes.with_name(f"{passes.stem}_{name}{passes.suffix}")).convert("RGB") for name in PASSES]
    height = round(WIDTH * pictures[0].height / pictures[0].width)
    rows = len(PASSES) // COLUMNS
    page = Image.new("RGB", (COLUMNS * (WIDTH + GAP) - GAP, rows * (height + GAP) - GAP), "white")
    for index, picture in enumerate(pictures):
        place = (index % COLUMNS * (WIDTH + GAP), index // COLUMNS * (height + GAP))
        page.paste(picture.resize((WIDTH, height), Image.LANCZOS), place)
    page.save(sheet, quality=88)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(Path(sys.argv[1]), Path(sys.argv[2]))
