"""Washes: a few layers of thinned ink, each covering what is darker than its tone."""

from __future__ import annotations

from dataclasses import dataclass

from PIL import Image, ImageChops, ImageFilter

from .curves import curve, fade, ramp
from .noise import Noise

SOFTNESS = 0.05  # half the width of a tone's border, in tones of 0..1
RIM_WIDTH = 3.0  # how far a drying wash carries its pigment to the border, in pixels at a width of 1024


@dataclass(frozen=True)
class Brush:
    """How wash is laid on: in how many `layers`, and the `strength` of all of them together."""

    layers: int
    strength: float
    wetness: float
    granulation: float


def wash(layer: int, tones: Image.Image, relief: Image.Image, noise: Noise, unit: float, brush: Brush) -> Image.Image:
    """The light that one layer lets through (255: all of it), for `tones` spread over 0..255.

    Layer 0 covers all but the lightest tones, the last one only the darkest. Borders wander only where the tones run
    smoothly into each other; a sharp border of the guide stays where it is.
    """
    border = 1 - (layer + 0.7) / (brush.layers + 0.4)
    wandering = _disturb(tones, noise.clouds((26 + 90 * brush.wetness) * unit), 0.10 + 0.05 * brush.wetness)
    covered = wandering.point(ramp(border + SOFTNESS, border - SOFTNESS))
    return _dried(covered, relief, noise, unit, brush)


def _dried(covered: Image.Image, relief: Image.Image, noise: Noise, unit: float, brush: Brush) -> Image.Image:
    """Where the pigment ends up: in pools, along the border, in the valleys of the paper."""
    body = 0.86 * brush.strength / brush.layers
    pools = noise.clouds(150 * unit).point(curve(lambda value: 1 - 0.75 * brush.wetness + 0.75 * value))
    rim = ImageChops.subtract(covered, covered.filter(ImageFilter.GaussianBlur(RIM_WIDTH * unit)))
    grains = ImageChops.multiply(covered, relief.point(curve(lambda value: 1.5 * (0.5 - value))))
    light = ImageChops.multiply(covered, pools).point(fade(body))
    light = ImageChops.multiply(light, rim.point(fade(2.2 * body)))
    return ImageChops.multiply(light, grains.point(fade(0.4 * body * brush.granulation)))


def _disturb(tones: Image.Image, clouds: Image.Image, amount: float) -> Image.Image:
    swing = clouds.point(curve(lambda value: 0.5 + 2 * amount * (value - 0.5)))
    return ImageChops.add(tones, swing, 1, -128)
