"""Everything but the lines: paper, washes of thinned ink, the guide's hues in them, the colours of a style image."""

from typing import NamedTuple

from PIL import Image, ImageChops, ImageFilter, ImageOps, ImageStat

from .images import Noise, curve, fade, ramp
from .prompt import Mood

LIGHT_FROM = ImageFilter.Kernel((3, 3), (-2, -1, 0, -1, 0, 1, 0, 1, 2), 3, 128)  # a lamp at the upper left
SOFTNESS = 0.05  # half the width of a tone's border, in tones of 0..1
RIM_WIDTH = 3.0  # how far a drying wash carries its pigment to the border, in pixels at a width of 1024
SHADOWS = (0.16, 0.18, 0.36)  # the colour that shade leans to whatever its own: indigo
LUMA = (0.299, 0.587, 0.114)
WHITE = (255, 255, 255)
STYLE_SAMPLE = (256, 256)  # pixels are enough for a mean and a spread
STYLE_SHARES = (0.35, 1.0, 1.0)  # of lightness and the two colour differences: the drawing keeps its own light


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


class Brush(NamedTuple):
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
    amount = 0.10 + 0.05 * brush.wetness
    swing = noise.clouds((26 + 90 * brush.wetness) * unit).point(curve(lambda value: 0.5 + 2 * amount * (value - 0.5)))
    wandering = ImageChops.add(tones, swing, 1, -128)
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


def colour(light: Image.Image, guide: Image.Image, saturation: float) -> Image.Image:
    """`light` (8-bit grey) in the hues of `guide`."""
    _, blue, red = guide.convert("YCbCr").split()
    vivid = [min(max(round(128 + 1.15 * saturation * (value - 128)), 0), 255) for value in range(256)]
    return Image.merge("YCbCr", (light, blue.point(vivid), red.point(vivid))).convert("RGB")


def thin(picture: Image.Image, bare: Image.Image, noise: Noise, unit: float) -> Image.Image:
    """Paler in irregular patches, and where `bare` (255: fully) leaves the paper out."""
    water = noise.clouds(170 * unit).point(curve(lambda value: 0.55 * min(max((value - 0.45) * 2, 0.0), 1.0)))
    pale = Image.blend(picture, Image.new("RGB", picture.size, WHITE), 0.6)
    return Image.composite(pale, picture, ImageChops.lighter(water, bare))


def left_out(guide: Image.Image, noise: Noise, unit: float) -> Image.Image:
    """Slivers of bare paper on the light side of edges, here and there."""
    light = guide.convert("L")
    narrow = light.filter(ImageFilter.GaussianBlur(0.9 * unit))
    wide = light.filter(ImageFilter.GaussianBlur(2.4 * unit))
    slivers = ImageChops.subtract(narrow, wide, 0.5).point(ramp(0.06, 0.2))
    return ImageChops.multiply(slivers, noise.clouds(40 * unit).point(ramp(0.45, 0.6)))


def graded(picture: Image.Image, mood: Mood) -> Image.Image:
    """`picture` with cool shadows and in the light of `mood`."""

    def grade(*rgb: float) -> tuple[float, ...]:
        light = sum(share * value for share, value in zip(LUMA, rgb))
        cooling = 0.38 * (1 - light) ** 1.6
        cooled = (value + (shadow - value) * cooling for value, shadow in zip(rgb, SHADOWS))
        tinted = (dark + (bright - dark) * light for dark, bright in zip(mood.shadow, mood.light))
        return tuple(value + (tint - value) * 0.6 * mood.weight for value, tint in zip(cooled, tinted))

    return picture.filter(ImageFilter.Color3DLUT.generate(9, grade))


def in_colours_of(picture: Image.Image, style: Image.Image, strength: float) -> Image.Image:
    """`picture` with the mean and the spread of each channel moved to those of `style`, by `strength` of the way."""
    wanted, there = _statistics(style), _statistics(picture)
    tables: list[int] = []
    for goal, own, share in zip(wanted, there, STYLE_SHARES):
        gain = min(max(goal[1] / max(own[1], 2.0), 0.5), 2.0)
        for value in range(256):
            moved = goal[0] + (value - own[0]) * gain
            tables.append(min(max(round(value + (moved - value) * share * strength), 0), 255))
    return picture.convert("YCbCr").point(tables).convert("RGB")


def _statistics(picture: Image.Image) -> list[tuple[float, float]]:
    """Mean and standard deviation of lightness and the two colour differences."""
    small = picture.copy()
    small.thumbnail(STYLE_SAMPLE)
    statistics = ImageStat.Stat(small.convert("YCbCr"))
    return list(zip(statistics.mean, statistics.stddev))
