#!/usr/bin/env python3
"""Puts guides and results side by side: contact_sheet.py OUT.png (CAPTION GUIDE RESULT)..."""

from __future__ import annotations

import argparse
from pathlib import Path

from PIL import Image, ImageDraw, ImageFont

PICTURE = (640, 360)
MARGIN = 24
CAPTION = 30
PAPER = (247, 244, 237)
INK = (52, 50, 46)


def place(sheet: Image.Image, picture: Path, left: int, top: int) -> None:
    with Image.open(picture) as opened:
        small = opened.convert("RGB")
        small.thumbnail(PICTURE, Image.LANCZOS)
    sheet.paste(small, (left + (PICTURE[0] - small.width) // 2, top + (PICTURE[1] - small.height) // 2))


def contact_sheet(rows: list[tuple[str, Path, Path]]) -> Image.Image:
    row_height = PICTURE[1] + CAPTION + MARGIN
    sheet = Image.new("RGB", (2 * PICTURE[0] + 3 * MARGIN, len(rows) * row_height + MARGIN), PAPER)
    draw = ImageDraw.Draw(sheet)
    font = ImageFont.load_default()
    for index, (caption, guide, result) in enumerate(rows):
        top = MARGIN + index * row_height
        for column, (what, picture) in enumerate((("guide", guide), ("result", result))):
            left = MARGIN + column * (PICTURE[0] + MARGIN)
            place(sheet, picture, left, top)
            draw.text((left, top + PICTURE[1] + 6), f"{caption}: {what}", font=font, fill=INK)
    return sheet


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("out", type=Path)
    parser.add_argument("rows", nargs="+", metavar="CAPTION GUIDE RESULT")
    args = parser.parse_args()
    if len(args.rows) % 3:
        parser.error("rows come in threes: caption, guide, result")
    rows = [(args.rows[i], Path(args.rows[i + 1]), Path(args.rows[i + 2])) for i in range(0, len(args.rows), 3)]
    contact_sheet(rows).save(args.out)


if __name__ == "__main__":
    main()
