"""Seeded noise: the same seed and size give the same picture on every machine."""

from __future__ import annotations

import random

from PIL import Image


class Noise:
    """A source of 8-bit noise pictures of one size, each different from the one before."""

    def __init__(self, seed: int, size: tuple[int, int]) -> None:
        self._random = random.Random(seed)
        self._size = size

    def grains(self) -> Image.Image:
        """Every pixel by itself, evenly spread over 0 to 255."""
        return self._white(self._size)

    def clouds(self, cell: float) -> Image.Image:
        """Soft shapes about `cell` pixels across with finer ones in them, around 128."""
        coarse = self._layer(cell)
        return Image.blend(coarse, self._layer(cell / 2.7), 0.35)

    def _layer(self, cell: float) -> Image.Image:
        cells = tuple(max(2, round(side / max(cell, 1.0)) + 2) for side in self._size)
        return self._white((cells[0], cells[1])).resize(self._size, Image.BICUBIC)

    def _white(self, size: tuple[int, int]) -> Image.Image:
        count = size[0] * size[1]
        return Image.frombytes("L", size, self._random.getrandbits(8 * count).to_bytes(count, "little"))

    def between(self, least: float, most: float) -> float:
        return self._random.uniform(least, most)
