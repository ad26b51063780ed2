"""The colours of a style image, carried over to a drawing."""

from __future__ import annotations

from PIL import Image, ImageStat

SAMPLE = (256, 256)  # pixels are enough for a mean and a spread
CHANNEL_STRENGTH = (0.35, 1.0, 1.0)  # of lightness and the two colour differences: the drawing keeps its own light


def in_colours_of(picture: Image.Image, style: Image.Image, strength: float) -> Image.Image:
    """`picture` with the mean and the spread of each channel moved to those of `style`, by `strength` of the way."""
    wanted, there = _statistics(style), _statistics(picture)
    tables: list[int] = []
    for goal, own, share in zip(wanted, there, CHANNEL_STRENGTH):
        gain = min(max(goal[1] / max(own[1], 2.0), 0.5), 2.0)
        for value in range(256):
            moved = goal[0] + (value - own[0]) * gain
            tables.append(min(max(round(value + (moved - value) * share * strength), 0), 255))
    return picture.convert("YCbCr").point(tables).convert("RGB")


def _statistics(picture: Image.Image) -> list[tuple[float, float]]:
    """Mean and standard deviation of lightness and the two colour differences."""
    small = picture.copy()
    small.thumbnail(SAMPLE)
    statistics = ImageStat.Stat(small.convert("YCbCr"))
    return list(zip(statistics.mean, statistics.stddev))
