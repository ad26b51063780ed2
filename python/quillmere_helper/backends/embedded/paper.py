"""The sheet: its relief, in which pigment settles, and its colour."""

from __future__ import annotations

from PIL import Image, ImageChops, ImageFilter, ImageOps

from .curves import curve
from .noise import Noise

LIGHT_FROM = ImageFilter.Kernel((3, 3), (-2, -1, 0, -1, 0, 1, 0, 1, 2), 3, 128)  # a lamp at the upper left


class Paper:
    """One sheet of cold-pressed paper; `unit` is the length in pixels that is 1 in a picture 1024 wide."""

    def __init__(self, noise: Noise, unit: float, roughness: float) -> None:
        grain = noise.grains().filter(ImageFilter.GaussianBlur(0.6 * unit))
        tooth = noise.grains().filter(ImageFilter.GaussianBlur(1.7 * unit))
        relief = ImageChops.add(ImageOps.autocontrast(grain, 0.5), ImageOps.autocontrast(tooth, 0.5), 2)
        self.relief = ImageOps.autocontrast(relief, 0.5)  # valleys 0, hills 255
        self._roughness = roughness

    def sheet(self, colour: tuple[int, int, int]) -> Image.Image:
        """The empty sheet under a slanting light."""
        shade = self.relief.filter(LIGHT_FROM)
        depth = 0.11 * self._roughness
        light = shade.point(curve(lambda value: 1 - depth * max(0.0, 0.62 - value)))
        return ImageChops.multiply(Image.new("RGB", self.relief.size, colour), Image.merge("RGB", (light,) * 3))
